// SPDX-License-Identifier: MIT
#include "platform/UserDefaults.h"

namespace qz::platform {

UserDefaults::~UserDefaults() = default;

const PropertyList::Dictionary* UserDefaults::dictionaryForKey(std::string_view key) const {
    const PropertyList* const object = objectForKey(key);
    return object != nullptr ? object->dictionary() : nullptr;
}

bool UserDefaults::setApplicationIdentifier(std::string_view) {
    return true;
}

} // namespace qz::platform
