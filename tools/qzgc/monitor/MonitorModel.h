// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/monitor/Meters.h"
#include "tools/qzgc/session/Controllers.h"

#include <memory>
#include <string>
#include <vector>

namespace qz::tools {

/// One control as the monitor shows it.
struct MonitoredControl {
    ControlKind kind = ControlKind::Other; ///< Moving, Hat, Button or Other
    std::int64_t cookie = 0;
    std::string name = {};
    std::string action = {}; ///< empty: none
    bool reversed = false;
    std::int64_t logicalMin = 0;
    std::int64_t logicalMax = 0;
    std::int64_t calibratedMin = 0;
    std::int64_t calibratedMax = 0;
    std::int64_t rest = 0;
    std::optional<std::int64_t> raw = std::nullopt; ///< nothing before the first value
    double normalized = 0.0;                        ///< of `raw`, before reversal
    SpreadMeter spread = {};

    /// Whether values are normalised in two halves around the rest point.
    bool hasRest() const noexcept { return calibratedMin < rest && rest < calibratedMax; }
    /// What the application receives.
    double value() const noexcept { return reversed ? 1.0 - normalized : normalized; }
    bool isHeld() const noexcept { return raw && normalized > 0.0; }
    /// How much the control that nobody touches moves, in raw units: nothing while it is not known, and while it moves
    /// more than noise does.
    std::optional<std::uint64_t> noise(Moment now) const;
    bool isMoving(Moment now) const;
    /// `units` in percent of the calibrated range.
    double percentOfRange(std::uint64_t units) const;
};

using Direction = HatDirection;

/// Where the hat points; the centre before its first value.
Direction directionOf(const MonitoredControl& hat);

struct MonitoredController {
    ControllerIdentity identity = {};
    std::size_t number = 0; ///< in the order of connection, from 1
    std::vector<MonitoredControl> controls = {};
    RateMeter reports = {};
};

struct UnusableController {
    ControllerIdentity identity = {};
    std::string reason = {};
    const void* handle = nullptr; ///< tells it from others that look the same
};

/// What a monitor shows, and where its user has scrolled to.
struct MonitorModel {
    std::vector<std::shared_ptr<MonitoredController>> controllers = {};
    std::vector<UnusableController> unusable = {};
    std::string latestError = {};
    std::string wanted = {};             ///< DEVICE; empty: any
    std::string listing = "'qzgc list'"; ///< the command that tells of the same controllers
    bool sourceHasEnded = false;
    std::size_t selected = 0; ///< among the controllers
    int scrolled = 0;         ///< rows of the selected controller that are above the window

    const MonitoredController* selectedController() const;
    void add(std::shared_ptr<MonitoredController> controller);
    /// The selection stays on its controller, or goes to the one that takes its place.
    void remove(const MonitoredController* controller);
    /// The next one (1) or the one before (-1), round and round.
    void select(int step);
    /// Whether it will look different later without anything's happening.
    bool changesByItself(Moment now) const;
};

} // namespace qz::tools
