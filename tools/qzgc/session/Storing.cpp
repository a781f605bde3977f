// SPDX-License-Identifier: MIT
#include "tools/qzgc/session/Storing.h"

namespace qz::tools {

using namespace platform;

void storeOrTakeBack(Session& session, const std::string& key, const std::function<void()>& store) {
    UserDefaults& defaults = session.platform().userDefaults();
    const PropertyList* const known = defaults.objectForKey(key);
    const std::optional<PropertyList> before = known != nullptr ? std::optional(*known) : std::nullopt;
    store();
    try {
        session.expectSaved();
    } catch (const Failure&) {
        if (before) {
            defaults.setObjectForKey(*before, key);
        } else {
            defaults.removeObjectForKey(key);
        }
        throw;
    }
}

void storeMappings(Session& session) {
    storeOrTakeBack(session, "QZGameControllerConfig", [&] { session.configuration()->saveUserDefaults(); });
}

} // namespace qz::tools
