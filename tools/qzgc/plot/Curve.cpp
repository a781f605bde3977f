// SPDX-License-Identifier: MIT
#include "tools/qzgc/plot/Curve.h"

#include "tools/qzgc/plot/ValueTap.h"

#include <algorithm>

namespace qz::tools {

namespace {

/// The ends of the axis: all of the logical range and all values seen, and of the observed range what is not so far off
/// that nothing could be told from the picture.
std::pair<std::int64_t, std::int64_t> axisOf(const QZHIDElement& element, const SeenValues& seen) {
    std::int64_t low = element.theoreticalMin();
    std::int64_t high = std::max(low, element.theoreticalMax());
    if (!seen.empty()) {
        low = std::min(low, seen.least());
        high = std::max(high, seen.greatest());
    }
    const std::int64_t span = high - low;
    const auto [least, greatest] = std::minmax({element.observedMin(), element.observedMax()});
    const std::int64_t axisLow = std::min(low, std::max(least, low - span));
    const std::int64_t axisHigh = std::max(high, std::min(greatest, high + span));
    return {axisLow, std::max(axisHigh, axisLow + 1)};
}

std::vector<CurvePoint> lineOf(const QZHIDElement& element, std::int64_t low, std::int64_t high) {
    std::vector<std::int64_t> corners = {low, high};
    for (const std::int64_t raw : {element.observedMin(), element.observedNeutral(), element.observedMax()}) {
        if (raw > low && raw < high) {
            corners.push_back(raw);
        }
    }
    std::ranges::sort(corners);
    corners.erase(std::unique(corners.begin(), corners.end()), corners.end());
    std::vector<CurvePoint> line;
    line.reserve(corners.size());
    for (const std::int64_t raw : corners) {
        line.push_back({raw, element.normalizedValue(raw), 0});
    }
    return line;
}

bool isObservedRangeNarrowed(const QZHIDElement& element) {
    const std::int64_t middle = (element.theoreticalMin() + element.theoreticalMax()) / 2;
    return element.observedMin() != element.theoreticalMin() || element.observedMax() != element.theoreticalMax() ||
           element.observedNeutral() != middle;
}

/// Follows the one control, and what it triggers.
class CurveListener final : public ChosenControllerListener {
public:
    CurveListener(SessionOptions options, ControllerIdentity chosen, std::string_view control,
                  std::optional<double> hysteresis)
        : ChosenControllerListener(std::move(chosen)), options_(std::move(options)), control_(control),
          hysteresis_(hysteresis) {}

    void hidManagerDeviceConnected(QZGCHIDManager& /*manager*/, const std::shared_ptr<QZHIDDevice>& device) override {
        element_ = findControl(*device, control_, options_);
        element_->setHysteresis(hysteresis_.value_or(element_->hysteresis()));
        device_ = device;
    }

    void elementValue(const QZHIDElement& element, std::int64_t raw) {
        if (&element == element_.get()) {
            seen_.add(raw);
        }
    }

    Curve curve(QZGCConfigurationManager& configuration) const {
        Curve curve = curveOf(*element_, seen_);
        curve.device = chosen();
        if (const auto action = configuration.action(*element_)) {
            curve.action = action->rawValue();
        }
        curve.isReversed = configuration.mustReverseDirection(*element_);
        return curve;
    }

private:
    SessionOptions options_;
    std::string control_;
    std::optional<double> hysteresis_;
    std::shared_ptr<QZHIDDevice> device_; ///< kept when it is unplugged, and its elements with it
    std::shared_ptr<QZHIDElement> element_;
    SeenValues seen_;
};

} // namespace

Curve curveOf(const QZHIDElement& element, const SeenValues& seen) {
    const auto [low, high] = axisOf(element, seen);
    Curve curve;
    curve.control = controlName(element);
    curve.cookie = element.cookie();
    curve.logicalMin = element.theoreticalMin();
    curve.logicalMax = element.theoreticalMax();
    curve.observedMin = element.observedMin();
    curve.observedMax = element.observedMax();
    curve.isCalibrated = element.isSubjectToCalibration() && isObservedRangeNarrowed(element);
    if (const std::int64_t rest = element.observedNeutral(); element.isMovingControl()) {
        curve.rest = CurvePoint{rest, element.normalizedValue(rest), 0};
    }
    curve.springsBack = element.hasPreferredState();
    const auto device = element.device();
    const bool isLimited = device && device->isInLimitedVRMode();
    curve.hysteresis = isLimited ? device->limitedVRHysteresis() : element.hysteresis();
    curve.line = lineOf(element, low, high);
    for (const auto& [number, group] : seen.groups()) {
        curve.seen.push_back({group.raw, element.normalizedValue(group.raw), group.count});
    }
    curve.seenCount = seen.count();
    curve.seenMin = seen.least();
    curve.seenMax = seen.greatest();
    return curve;
}

Curve gatherCurve(const SessionOptions& options, std::string_view device, std::string_view control,
                  std::optional<double> hysteresis) {
    const auto listener =
        std::make_shared<CurveListener>(options, chooseController(options, device), control, hysteresis);
    Session session(options);
    session.start(listener);
    const ValueTap tap(session,
                       [&](const QZHIDElement& element, std::int64_t raw) { listener->elementValue(element, raw); });
    session.settle();
    while (!session.source().hasEnded()) {
        session.source().turn();
    }
    return listener->curve(*session.configuration());
}

} // namespace qz::tools
