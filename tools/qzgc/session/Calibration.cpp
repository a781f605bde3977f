// SPDX-License-Identifier: MIT
#include "tools/qzgc/session/Calibration.h"

#include "tools/qzgc/session/Controllers.h"
#include "tools/qzgc/session/Storing.h"

#include <algorithm>

namespace qz::tools {

namespace {

CalibratedRange rangeOf(const QZHIDElement& element) {
    return {.minimum = element.observedMin(), .maximum = element.observedMax(), .rest = element.observedNeutral()};
}

/// A worn control moves by itself, and a sleeve touches what nobody meant to move: a travel counts from this part of
/// the range on.
constexpr std::uint64_t movedPart = 8;

/// 0 for a range that has none; stored ranges may have any ends.
std::uint64_t lengthOf(std::int64_t minimum, std::int64_t maximum) {
    return minimum < maximum ? static_cast<std::uint64_t>(maximum) - static_cast<std::uint64_t>(minimum) : 0;
}

std::uint64_t travelOf(const QZHIDElement& element) {
    return lengthOf(element.calibrationMin(), element.calibrationMax());
}

std::uint64_t declaredLengthOf(const QZHIDElement& element) {
    return lengthOf(element.theoreticalMin(), element.theoreticalMax());
}

/// `before` may be small where the control uses a small part of the declared range.
bool isMoved(const QZHIDElement& element, const CalibratedRange& before) {
    const std::uint64_t declared = declaredLengthOf(element);
    const std::uint64_t used = lengthOf(before.minimum, before.maximum);
    const std::uint64_t travel = travelOf(element);
    return travel > 0 && travel >= (std::min(declared, used > 0 ? used : declared) + movedPart - 1) / movedPart;
}

bool isMovedLittle(const QZHIDElement& element) {
    return travelOf(element) < (declaredLengthOf(element) + 1) / 2;
}

/// What the library would make of the control, by letting it do so and taking that back.
CalibratedRange preview(QZHIDElement& element) {
    const CalibratedRange now = rangeOf(element);
    element.endCalibration();
    const CalibratedRange after = rangeOf(element);
    element.setObservedMin(now.minimum);
    element.setObservedMax(now.maximum);
    element.setObservedNeutral(now.rest);
    return after;
}

} // namespace

std::string rangeText(const CalibratedRange& range) {
    return rangeText(range.minimum, range.maximum) + ", rest " + std::to_string(range.rest);
}

Calibration::Calibration(Session& session, std::shared_ptr<QZHIDDevice> device)
    : session_(session), device_(std::move(device)) {
    std::vector<std::shared_ptr<QZHIDElement>> elements = elementsOf(*device_);
    std::erase_if(elements, [](const auto& each) { return !each->isSubjectToCalibration(); });
    if (elements.empty()) {
        throw Failure("the controller has no axis, slider, dial or wheel: there is nothing to calibrate");
    }
    const auto labels = labelsOf(elements);
    for (const auto& each : elements) {
        controls_.push_back({.element = each, .label = labels.at(each->cookie()), .before = rangeOf(*each)});
    }
    session_.manager().startCalibration();
}

Calibration::~Calibration() {
    session_.manager().setCalibrationMode(false); // unlike the end of a calibration this stores nothing
}

std::vector<CalibrationRow> Calibration::rows() const {
    std::vector<CalibrationRow> rows;
    for (const Control& each : controls_) {
        QZHIDElement& element = *each.element;
        const bool moved = isMoved(element, each.before);
        rows.push_back({.cookie = element.cookie(),
                        .label = each.label,
                        .name = element.name(),
                        .nameKey = element.nameKey(),
                        .springsBack = element.hasPreferredState(),
                        .logicalMinimum = element.theoreticalMin(),
                        .logicalMaximum = element.theoreticalMax(),
                        .value = lastKnownValue(*device_, element),
                        .isSeen = element.calibrationMin() < element.calibrationMax(),
                        .seenMinimum = element.calibrationMin(),
                        .seenMaximum = element.calibrationMax(),
                        .isMoved = moved,
                        .isMovedLittle = moved && isMovedLittle(element),
                        .before = each.before,
                        .after = moved ? preview(element) : rangeOf(element)});
    }
    return rows;
}

void Calibration::save() {
    const auto connected = session_.manager().devices();
    if (std::ranges::find(connected, device_) == connected.end()) {
        throw Failure("the controller is unplugged: nothing was saved; plug it in and begin again");
    }
    if (!isAnyMoved(rows())) {
        throw Failure("no control was moved: nothing was saved");
    }
    for (const Control& each : controls_) {
        if (!isMoved(*each.element, each.before)) {
            each.element->startCalibration();
        }
    }
    storeOrTakeBack(session_.stored(), device_->calibrationsPrefKey(), [&] { session_.manager().endCalibration(); });
}

bool isAnyMoved(const std::vector<CalibrationRow>& rows) {
    return std::ranges::any_of(rows, &CalibrationRow::isMoved);
}

std::string labelsOf(const std::vector<CalibrationRow>& rows, bool moved) {
    std::vector<std::string> labels;
    for (const CalibrationRow& each : rows) {
        if (each.isMoved == moved) {
            labels.push_back(each.label);
        }
    }
    return joined(labels);
}

namespace {

double shareOfRange(const CalibrationRow& row) {
    const std::uint64_t declared = lengthOf(row.logicalMinimum, row.logicalMaximum);
    const auto seen = static_cast<double>(lengthOf(row.seenMinimum, row.seenMaximum));
    return declared > 0 ? seen / static_cast<double>(declared) : 1.0;
}

std::string travelRemark(const CalibrationRow& row) {
    if (row.isMovedLittle) {
        return "moved little";
    }
    return isMovedPartly(row) ? "moved over " + std::to_string(static_cast<int>(shareOfRange(row) * 100)) + " %" : "";
}

} // namespace

bool isMovedPartly(const CalibrationRow& row) {
    return row.isMoved && shareOfRange(row) < 0.75;
}

bool restsFarOff(const CalibrationRow& row) {
    const std::uint64_t travel = lengthOf(row.after.minimum, row.after.maximum);
    const std::uint64_t nearer =
        std::min(lengthOf(row.after.minimum, row.after.rest), lengthOf(row.after.rest, row.after.maximum));
    return row.isMoved && row.springsBack && nearer < travel / 4;
}

std::string remarkOn(const CalibrationRow& row) {
    if (!row.isMoved) {
        return "not moved";
    }
    const std::string travel = travelRemark(row);
    const std::string rest = restsFarOff(row) ? "rest far off" : "";
    const std::string remark = travel + (travel.empty() || rest.empty() ? "" : ", ") + rest;
    return !remark.empty() || row.isChanged() ? remark : "unchanged";
}

std::string adviceOn(const std::vector<CalibrationRow>& rows) {
    std::string labels;
    for (const CalibrationRow& each : rows) {
        if (restsFarOff(each)) {
            labels += (labels.empty() ? "" : ", ") + each.label;
        }
    }
    return labels.empty() ? ""
                          : "At rest far from the middle of its travel: " + labels +
                                ". A lever that stays where it is left must be left in its middle, or not be saved.";
}

} // namespace qz::tools
