// SPDX-License-Identifier: MIT
#include "tools/qzgc/session/Storing.h"

namespace qz::tools {

using namespace platform;

void expectSaved(UserDefaults& defaults) {
    if (!defaults.synchronize()) {
        throw Failure("not saved: " + defaults.lastError());
    }
}

void storeOrTakeBack(UserDefaults& defaults, const std::string& key, const std::function<void()>& store) {
    const PropertyList* const known = defaults.objectForKey(key);
    const std::optional<PropertyList> before = known != nullptr ? std::optional(*known) : std::nullopt;
    store();
    try {
        expectSaved(defaults);
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
    storeOrTakeBack(session.stored(), "QZGameControllerConfig", [&] { session.configuration()->saveUserDefaults(); });
}

bool removeStored(UserDefaults& defaults, const std::string& key) {
    // Preferences that could not be read look like empty ones.
    if (!defaults.synchronize()) {
        throw Failure("nothing was removed: " + defaults.lastError());
    }
    if (defaults.objectForKey(key) == nullptr) {
        return false;
    }
    storeOrTakeBack(defaults, key, [&] { defaults.removeObjectForKey(key); });
    return true;
}

} // namespace qz::tools
