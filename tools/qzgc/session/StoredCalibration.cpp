// SPDX-License-Identifier: MIT
#include "tools/qzgc/session/StoredCalibration.h"

#include "QZGameController/QZGameController.h"
#include "platform/virtual/VirtualPlatform.h"
#include "tools/qzgc/session/Controllers.h"

#include <algorithm>
#include <limits>

namespace qz::tools {

namespace {

using platform::PropertyList;
using Numbers = std::vector<std::int64_t>;

bool hasDifference(std::int64_t a, std::int64_t b) {
    std::int64_t difference = 0;
    return !__builtin_sub_overflow(a, b, &difference);
}

/// What a control of 32 bits can send, signed or not.
constexpr std::int64_t leastRaw = std::numeric_limits<std::int32_t>::min();
constexpr std::int64_t mostRaw = std::numeric_limits<std::uint32_t>::max();

/// Whether values from `least` to `most` can be normalised in a range.
bool isBorne(std::int64_t low, std::int64_t high, std::int64_t least, std::int64_t most) {
    if (least > most) {
        return true;
    }
    return hasDifference(high, low) && (high - low < 1 || (hasDifference(least, low) && hasDifference(most, low)));
}

bool isBorne(const Numbers& numbers) {
    const std::int64_t minimum = numbers[0];
    const std::int64_t maximum = numbers[1];
    const std::int64_t rest = numbers[2];
    if (minimum < rest && rest < maximum) {
        return isBorne(minimum, rest, leastRaw, std::min(mostRaw, rest - 1)) &&
               isBorne(rest, maximum, std::max(leastRaw, rest + 1), mostRaw);
    }
    // The rest point is normalised too.
    return isBorne(minimum, maximum, std::min(leastRaw, rest), std::max(mostRaw, rest));
}

/// The numbers stored under each cookie; nothing when one entry is of another kind, which voids them all.
std::optional<std::map<std::string, Numbers>> numbersIn(const PropertyList::Dictionary& stored) {
    std::map<std::string, Numbers> all;
    for (const auto& [cookie, value] : stored) {
        const PropertyList::Array* const array = value.array();
        if (array == nullptr) {
            return std::nullopt;
        }
        Numbers& numbers = all[cookie];
        for (const PropertyList& each : *array) {
            if (!each.integer()) {
                return std::nullopt;
            }
            numbers.push_back(*each.integer());
        }
    }
    return all;
}

} // namespace

void expectUsableCalibration(platform::IOHIDDeviceRef device, const platform::UserDefaults& defaults,
                             const SessionOptions& options) {
    // Beside preferences that hold nothing, so that the device can be looked at.
    platform::VirtualPlatform beside;
    const auto manager = QZGCHIDManager::create(nullptr, beside);
    const auto looked = QZHIDDevice::create(device, manager);
    const std::string key = looked->calibrationsPrefKey();
    const PropertyList::Dictionary* const stored = defaults.dictionaryForKey(key);
    const auto numbers = stored != nullptr ? numbersIn(*stored) : std::nullopt;
    if (!numbers) {
        return;
    }
    for (const auto& element : elementsOf(*looked)) {
        const std::string cookie = std::to_string(element->cookie());
        const auto found = numbers->find(cookie);
        if (!element->isSubjectToCalibration() || found == numbers->end()) {
            continue;
        }
        const bool isShort = found->second.size() < 3;
        if (isShort || !isBorne(found->second)) {
            // Not the file, whose name the platform makes of the application's.
            const std::string& application = options.application;
            std::string message = "the calibration stored in ";
            message.append(application.empty() ? "qzgc's own preferences"
                                               : "the preferences of \"" + application + '"');
            message.append(" cannot be used: \"").append(key);
            message.append("\" has for control ").append(cookie);
            message.append(isShort ? " fewer than three numbers" : " numbers that are too far apart");
            const std::string removal = "calibrate " + shellWord(looked->userPrefIDs().aInstanceID) + " --reset" +
                                        (application.empty() ? "" : " --application " + shellWord(application));
            throw Failure(message + "; " + commandText(removal, options) + " removes it");
        }
    }
}

} // namespace qz::tools
