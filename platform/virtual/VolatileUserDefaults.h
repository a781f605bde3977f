// SPDX-License-Identifier: MIT
#pragma once

#include "platform/UserDefaults.h"

namespace qz::platform {

/// Preferences that live in memory alone.
class QZGC_EXPORT VolatileUserDefaults final : public UserDefaults {
public:
    VolatileUserDefaults() = default;
    explicit VolatileUserDefaults(PropertyList::Dictionary values) : values_(std::move(values)) {}

    const PropertyList* objectForKey(std::string_view key) const override;
    void setObjectForKey(PropertyList object, std::string_view key) override;
    void removeObjectForKey(std::string_view key) override;
    bool synchronize() override { return true; }
    const PropertyList::Dictionary& dictionaryRepresentation() const override { return values_; }
    std::string lastError() const override { return {}; }

private:
    PropertyList::Dictionary values_;
};

} // namespace qz::platform
