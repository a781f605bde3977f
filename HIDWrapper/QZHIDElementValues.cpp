// SPDX-License-Identifier: MIT
#include "HIDWrapper/QZHIDDevice.h"
#include "HIDWrapper/QZHIDElement.h"
#include "platform/FatalError.h"

#include <cmath>

namespace {

std::int64_t difference(std::int64_t a, std::int64_t b) {
    std::int64_t result = 0;
    if (__builtin_sub_overflow(a, b, &result)) {
        qz::platform::fatalError("arithmetic overflow in the range mapping of a control's value");
    }
    return result;
}

} // namespace

double QZHIDElement::normalizedValueInRange(std::int64_t rawLow, std::int64_t rawHigh, double normalizedLow,
                                            double normalizedHigh, std::int64_t rawValue) {
    const std::int64_t span = difference(rawHigh, rawLow);
    if (span < 1) {
        return normalizedLow;
    }
    const std::int64_t offset = difference(rawValue, rawLow);
    // The order of these operations is part of the result, to the last bit; so is that nothing fuses them.
    const double fraction = static_cast<double>(offset) / static_cast<double>(span);
    const double mapped = (normalizedHigh - normalizedLow) * fraction + normalizedLow;
    if (mapped > normalizedHigh) {
        return normalizedHigh;
    }
    return mapped < normalizedLow ? normalizedLow : mapped;
}

[[gnu::hot]] double QZHIDElement::normalizedValue(std::int64_t raw) const {
    if (isMovingControl() && observedNeutral_ < observedMax_ && observedMin_ < observedNeutral_) {
        if (raw < observedNeutral_) {
            return normalizedValueInRange(observedMin_, observedNeutral_, normalizedMin(), normalizedNeutral(), raw);
        }
        if (raw == observedNeutral_) {
            return normalizedNeutral();
        }
        return normalizedValueInRange(observedNeutral_, observedMax_, normalizedNeutral(), normalizedMax(), raw);
    }
    return normalizedValueInRange(observedMin_, observedMax_, normalizedMin(), normalizedMax(), raw);
}

std::optional<double> QZHIDElement::neutralValue() const {
    return hasPreferredState() ? std::optional(normalizedValue(observedNeutral_)) : std::nullopt;
}

[[gnu::hot]] bool QZHIDElement::valueQualifiesForReporting(double value) {
    const double last = lastReportedValue_;
    if (last == value) {
        return false;
    }
    const auto qualifies = [&] {
        if (twoState_) {
            return (value == normalizedMin()) != (last == normalizedMin());
        }
        const QZHIDDevice* const itsDevice = liveDevice();
        if (itsDevice == nullptr) {
            return false;
        }
        const double change = std::fabs(value - last);
        if (itsDevice->isInLimitedVRMode()) {
            return itsDevice->limitedVRHysteresis() < change;
        }
        if (hysteresis_ < change || value == normalizedMin() || value == normalizedMax()) {
            return true;
        }
        return hasPreferredState() && value == normalizedValue(observedNeutral_);
    };
    if (!qualifies()) {
        return false;
    }
    lastReportedValue_ = value;
    return true;
}
