// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/session/Session.h"

#include <optional>
#include <vector>

namespace qz::tools {

/// A range and a position of rest, in raw values.
struct CalibratedRange {
    std::int64_t minimum = 0;
    std::int64_t maximum = 0;
    std::int64_t rest = 0;

    friend bool operator==(const CalibratedRange&, const CalibratedRange&) = default;
};

/// "0..255, rest 127"
std::string rangeText(const CalibratedRange& range);

/// How far the calibration of one moving control has come.
struct CalibrationRow {
    std::int64_t cookie = 0;
    std::string label = {}; ///< its name, with the cookie where several have that name
    std::string name = {};
    std::string nameKey = {};
    bool springsBack = false;
    std::int64_t logicalMinimum = 0; ///< what the controller declares
    std::int64_t logicalMaximum = 0;
    std::optional<std::int64_t> value = std::nullopt; ///< the last one known
    bool isSeen = false;                              ///< whether there is a travel, from seenMinimum to seenMaximum
    std::int64_t seenMinimum = 0;
    std::int64_t seenMaximum = 0;
    bool isMoved = false;       ///< whether that travel is long enough to count
    bool isMovedLittle = false; ///< whether it counts, but is less than half of what the controller declares
    CalibratedRange before = {};
    CalibratedRange after = {}; ///< what would be stored now

    bool isChanged() const noexcept { return before != after; }
};

/// A calibration of the controllers that the session has admitted, from construction on. Nothing is stored unless
/// `save` is called.
class Calibration {
public:
    /// Throws Failure when the device has no control that is calibrated.
    Calibration(Session& session, std::shared_ptr<QZHIDDevice> device);
    Calibration(const Calibration&) = delete;
    Calibration& operator=(const Calibration&) = delete;
    ~Calibration();

    std::vector<CalibrationRow> rows() const;

    /// Lets the library end the calibration and store it. What only jittered keeps the range that it had, where the
    /// library would take the jitter for its whole travel. Throws Failure.
    void save();

private:
    struct Control {
        std::shared_ptr<QZHIDElement> element;
        std::string label;
        CalibratedRange before;
    };

    Session& session_;
    std::shared_ptr<QZHIDDevice> device_;
    std::vector<Control> controls_;
};

bool isAnyMoved(const std::vector<CalibrationRow>& rows);
/// "X, Slider": the labels of those that were moved, or of those that were not; empty when there are none.
std::string labelsOf(const std::vector<CalibrationRow>& rows, bool moved);

/// Whether it counts as moved, but over less than three quarters of what the controller declares.
bool isMovedPartly(const CalibrationRow& row);
/// Whether it would be stored with a rest in the outer quarters of its travel: where it was let go of becomes the
/// middle of its values, which is wrong for a lever that stays where it is put.
bool restsFarOff(const CalibrationRow& row);

/// What becomes of a control, in words; empty where the ranges say it all.
std::string remarkOn(const CalibrationRow& row);
/// What to do about those that rest far off; empty where none does.
std::string adviceOn(const std::vector<CalibrationRow>& rows);

} // namespace qz::tools
