// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/plot/TimeLine.h"

namespace qz::tools {

/// Where the parts of a picture of a time line stand.
struct TimeLineLayout {
    static constexpr double width = 1000;
    static constexpr double left = 200; ///< of the columns; labels stand before them
    static constexpr int columns = 776;
    static constexpr double right = left + columns;

    struct Lane {
        double top;
        double height;
        const ControlLane* control; ///< one of the two
        const ActionLane* action;

        double bottom() const noexcept { return top + height; }
    };
    struct Group {
        double top;
        double bottom;
        const DeviceLanes* device; ///< null: the actions
        std::vector<Lane> lanes;

        double lanesTop() const noexcept { return top + heading; }
    };

    static constexpr double heading = 24;

    std::vector<Group> groups;
    double axis = 0; ///< of the time
    double height = 0;
};

/// Lays a time line out, which must live as long as the answer.
TimeLineLayout layOut(const TimeLine& line);

} // namespace qz::tools
