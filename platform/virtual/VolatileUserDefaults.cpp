// SPDX-License-Identifier: MIT
#include "platform/virtual/VolatileUserDefaults.h"

namespace qz::platform {

const PropertyList* VolatileUserDefaults::objectForKey(std::string_view key) const {
    const auto found = values_.find(key);
    return found != values_.end() ? &found->second : nullptr;
}

void VolatileUserDefaults::setObjectForKey(PropertyList object, std::string_view key) {
    values_.insert_or_assign(std::string(key), std::move(object));
}

void VolatileUserDefaults::removeObjectForKey(std::string_view key) {
    if (const auto found = values_.find(key); found != values_.end()) {
        values_.erase(found);
    }
}

} // namespace qz::platform
