// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/plot/Trace.h"
#include "tools/qzgc/session/Controllers.h"

#include <memory>
#include <string>
#include <vector>

namespace qz::tools {

enum class LaneKind : std::uint8_t {
    Switch, ///< off and on: 0.0 and 1.0
    Moving, ///< the normalised scale
    Hat,    ///< directions, 0 to 7 clockwise from the top, 8 in the centre
};

/// What one control did, before reversal and filter.
struct ControlLane {
    std::int64_t cookie;
    std::string name;
    LaneKind kind;
    Trace trace;
};

/// One controller with those of its controls that changed, in the order of their cookies.
struct DeviceLanes {
    ControllerIdentity identity;
    bool wasThere; ///< from the beginning on
    Trace presence;
    std::vector<ControlLane> controls;
};

/// What the application was told of one action.
struct ActionLane {
    std::string action;
    LaneKind kind;
    std::vector<std::string> controls; ///< the names of those that triggered it
    bool isReversed;                   ///< whether one of them works in the reversed direction
    Trace trace;
};

/// A recording over time: what the controllers did and what the application heard of it.
struct TimeLine {
    TimeScale scale;
    std::vector<DeviceLanes> devices;
    std::vector<ActionLane> actions; ///< in the order of the application's lists
};

/// Plays the recording that the options name through the library, with the controllers that `device` means (empty:
/// all), and keeps as much as `columns` columns show. Throws FileError, WrongUse and Failure.
TimeLine gatherTimeLine(const SessionOptions& options, std::string_view device, int columns);

} // namespace qz::tools
