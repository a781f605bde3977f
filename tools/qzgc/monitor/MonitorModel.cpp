// SPDX-License-Identifier: MIT
#include "tools/qzgc/monitor/MonitorModel.h"

#include <algorithm>

namespace qz::tools {

namespace {

/// Worn potentiometers jitter by a percent or two; who moves a control moves it further within a second.
constexpr double mostNoise = 3.0; // percent of the range

} // namespace

double MonitoredControl::percentOfRange(std::uint64_t units) const {
    const double range = static_cast<double>(calibratedMax) - static_cast<double>(calibratedMin);
    return range > 0.0 ? 100.0 * static_cast<double>(units) / range : 0.0;
}

std::optional<std::uint64_t> MonitoredControl::noise(Moment now) const {
    const auto units = spread.spread(now);
    // One unit may be more than that share of a coarse range.
    return units && (*units <= 1 || percentOfRange(*units) <= mostNoise) ? units : std::nullopt;
}

bool MonitoredControl::isMoving(Moment now) const {
    return spread.spread(now) && !noise(now);
}

Direction directionOf(const MonitoredControl& hat) {
    return hat.raw ? directionOf(hat.logicalMin, hat.logicalMax, *hat.raw) : Direction::Centre;
}

const MonitoredController* MonitorModel::selectedController() const {
    return selected < controllers.size() ? controllers[selected].get() : nullptr;
}

void MonitorModel::add(std::shared_ptr<MonitoredController> controller) {
    controllers.push_back(std::move(controller));
}

void MonitorModel::remove(const MonitoredController* controller) {
    const auto found = std::ranges::find(controllers, controller, &std::shared_ptr<MonitoredController>::get);
    if (found == controllers.end()) {
        return;
    }
    const auto index = static_cast<std::size_t>(found - controllers.begin());
    controllers.erase(found);
    if (index == selected) {
        scrolled = 0;
    }
    if (index < selected || selected == controllers.size()) {
        selected -= selected > 0 ? 1 : 0;
    }
}

void MonitorModel::select(int step) {
    if (controllers.size() > 1) {
        const std::size_t count = controllers.size();
        selected = (selected + (step > 0 ? 1 : count - 1)) % count;
        scrolled = 0;
    }
}

bool MonitorModel::changesByItself(Moment now) const {
    return std::ranges::any_of(controllers, [&](const auto& each) {
        return each->reports.changesByItself(now) ||
               std::ranges::any_of(each->controls, [&](const MonitoredControl& control) {
                   return control.kind == ControlKind::Moving && control.spread.changesByItself(now);
               });
    });
}

} // namespace qz::tools
