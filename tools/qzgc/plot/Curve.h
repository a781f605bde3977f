// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/plot/SeenValues.h"
#include "tools/qzgc/session/Controllers.h"

#include <optional>
#include <string>
#include <vector>

namespace qz::tools {

/// A raw value and what the library makes of it.
struct CurvePoint {
    std::int64_t raw;
    double normalized;
    std::size_t count; ///< how often it came up; 0 for a corner of the line

    friend bool operator==(const CurvePoint&, const CurvePoint&) = default;
};

/// How a control's raw values become normalised ones, and which of them came up.
struct Curve {
    ControllerIdentity device;
    std::string control;
    std::int64_t cookie = 0;
    std::int64_t logicalMin = 0;
    std::int64_t logicalMax = 0;
    std::int64_t observedMin = 0;
    std::int64_t observedMax = 0;
    bool isCalibrated = false;
    std::optional<CurvePoint> rest; ///< of a moving control
    bool springsBack = false;
    double hysteresis = 0.0; ///< the change that a value has to exceed to be reported
    std::optional<std::string> action;
    bool isReversed = false;
    std::vector<CurvePoint> line; ///< the corners, by raw value; the first and the last are the ends of the axis
    std::vector<CurvePoint> seen; ///< by raw value
    std::size_t seenCount = 0;
    std::int64_t seenMin = 0;
    std::int64_t seenMax = 0;
};

/// What there is to know of an element, with the values seen.
Curve curveOf(const QZHIDElement& element, const SeenValues& seen);

/// Plays the recording that the options name through the library and answers the curve of one control, as `device` and
/// `control` on the command line mean it. `hysteresis` is what an application would set. Throws FileError, WrongUse and
/// Failure.
Curve gatherCurve(const SessionOptions& options, std::string_view device, std::string_view control,
                  std::optional<double> hysteresis = std::nullopt);

} // namespace qz::tools
