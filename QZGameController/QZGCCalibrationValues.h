// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Export.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace qz::platform {
class UserDefaults;
}

/// The calibrated raw ranges of one device model's elements by their cookie, as the preferences keep them.
class QZGC_EXPORT QZGCCalibrationValues {
public:
    /// An empty store.
    QZGCCalibrationValues();

    /// What `userDefaults` holds under `prefKey`; empty when that is anything but a dictionary of arrays of integers.
    QZGCCalibrationValues(std::string_view prefKey, const qz::platform::UserDefaults& userDefaults);

    /// Stores the range and rest value of an element, in raw values, in place of earlier ones.
    void setElement(std::int64_t cookie, std::int64_t minimum, std::int64_t maximum, std::int64_t neutral);

    /// The stored number; 0 without an entry. An entry from the preferences that is too short ends the process.
    std::int64_t minimum(std::int64_t cookie) const;
    std::int64_t maximum(std::int64_t cookie) const;
    std::int64_t neutral(std::int64_t cookie) const;

    bool contains(std::int64_t cookie) const;

    /// Replaces what `userDefaults` holds under `key` and brings it to the disk at once. An empty store is saved as an
    /// empty dictionary.
    void saveToPrefs(std::string_view key, qz::platform::UserDefaults& userDefaults) const;

private:
    const std::vector<std::int64_t>* find(std::int64_t cookie) const;
    std::int64_t number(std::int64_t cookie, std::size_t position) const;

    /// By the cookie in decimal: minimum, maximum, neutral; from the preferences any number of integers under any key.
    std::map<std::string, std::vector<std::int64_t>, std::less<>> calibrationValues_;
};
