// SPDX-License-Identifier: MIT
#include "QZGameController/QZGCCalibrationValues.h"

#include "platform/FatalError.h"
#include "platform/Text.h"
#include "platform/UserDefaults.h"

using namespace qz::platform;

QZGCCalibrationValues::QZGCCalibrationValues() = default;

QZGCCalibrationValues::QZGCCalibrationValues(std::string_view prefKey, const UserDefaults& userDefaults) {
    const PropertyList::Dictionary* const stored = userDefaults.dictionaryForKey(prefKey);
    if (stored == nullptr) {
        return;
    }
    // One value that does not fit voids the whole: half a calibration would be worse than none.
    decltype(calibrationValues_) values;
    for (const auto& [key, value] : *stored) {
        const PropertyList::Array* const array = value.array();
        if (array == nullptr) {
            return;
        }
        std::vector<std::int64_t> numbers;
        numbers.reserve(array->size());
        for (const PropertyList& member : *array) {
            const auto number = member.integer();
            if (!number) {
                return;
            }
            numbers.push_back(*number);
        }
        values.emplace_hint(values.end(), key, std::move(numbers));
    }
    calibrationValues_ = std::move(values);
}

void QZGCCalibrationValues::setElement(std::int64_t cookie, std::int64_t minimum, std::int64_t maximum,
                                       std::int64_t neutral) {
    calibrationValues_.insert_or_assign(std::to_string(cookie), std::vector{minimum, maximum, neutral});
}

const std::vector<std::int64_t>* QZGCCalibrationValues::find(std::int64_t cookie) const {
    const auto found = calibrationValues_.find(std::string_view(DecimalText(cookie)));
    return found != calibrationValues_.end() ? &found->second : nullptr;
}

std::int64_t QZGCCalibrationValues::number(std::int64_t cookie, std::size_t position) const {
    const std::vector<std::int64_t>* const numbers = find(cookie);
    if (numbers == nullptr) {
        return 0;
    }
    if (position >= numbers->size()) {
        fatalError("a stored calibration holds fewer than the three numbers minimum, maximum and neutral");
    }
    return (*numbers)[position];
}

std::int64_t QZGCCalibrationValues::minimum(std::int64_t cookie) const {
    return number(cookie, 0);
}

std::int64_t QZGCCalibrationValues::maximum(std::int64_t cookie) const {
    return number(cookie, 1);
}

std::int64_t QZGCCalibrationValues::neutral(std::int64_t cookie) const {
    return number(cookie, 2);
}

bool QZGCCalibrationValues::contains(std::int64_t cookie) const {
    return find(cookie) != nullptr;
}

void QZGCCalibrationValues::saveToPrefs(std::string_view key, UserDefaults& userDefaults) const {
    PropertyList::Dictionary stored;
    for (const auto& [cookie, numbers] : calibrationValues_) {
        stored.emplace_hint(stored.end(), cookie, PropertyList::Array(numbers.begin(), numbers.end()));
    }
    userDefaults.setObjectForKey(std::move(stored), key);
    userDefaults.synchronize();
}
