// SPDX-License-Identifier: MIT
#include "tools/qzgc/plot/Layout.h"

#include <algorithm>

namespace qz::tools {

namespace {

constexpr double top = 44; // below the title
constexpr double gap = 6;
constexpr double groupGap = 10;
constexpr double axisHeight = 44;

double heightOf(LaneKind kind) {
    switch (kind) {
    case LaneKind::Switch:
        return 14;
    case LaneKind::Moving:
        return 44;
    case LaneKind::Hat:
        return 40;
    }
    return 0;
}

/// Adds lanes below one another from `y` on and answers where the next one would stand.
template<typename Lanes, typename Place>
double stack(TimeLineLayout::Group& group, const Lanes& lanes, double y, const Place& place) {
    for (const auto& lane : lanes) {
        TimeLineLayout::Lane placed{y, heightOf(lane.kind), nullptr, nullptr};
        place(placed, lane);
        group.lanes.push_back(placed);
        y = placed.bottom() + gap;
    }
    return y;
}

} // namespace

TimeLineLayout layOut(const TimeLine& line) {
    TimeLineLayout layout;
    double y = top;
    for (const DeviceLanes& device : line.devices) {
        TimeLineLayout::Group group{y, y, &device, {}};
        y = stack(group, device.controls, group.lanesTop(),
                  [](TimeLineLayout::Lane& placed, const ControlLane& lane) { placed.control = &lane; });
        group.bottom = y;
        layout.groups.push_back(std::move(group));
        y += groupGap;
    }
    if (!line.actions.empty()) {
        TimeLineLayout::Group group{y, y, nullptr, {}};
        y = stack(group, line.actions, group.lanesTop(),
                  [](TimeLineLayout::Lane& placed, const ActionLane& lane) { placed.action = &lane; });
        group.bottom = y;
        layout.groups.push_back(std::move(group));
        y += groupGap;
    }
    layout.axis = y;
    layout.height = y + axisHeight;
    return layout;
}

} // namespace qz::tools
