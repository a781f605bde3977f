// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/monitor/MonitorModel.h"
#include "tools/qzgc/terminal/Canvas.h"

namespace qz::tools {

/// How much of the selected controller has been drawn.
struct MonitorWindow {
    int rows = 0;    ///< that its controls take
    int visible = 0; ///< rows that there is space for

    int mostScrolled() const noexcept { return rows > visible ? rows - visible : 0; }
};

/// Draws the monitor on the whole of the canvas.
MonitorWindow drawMonitor(Canvas& canvas, const MonitorModel& model, Moment now);

/// Draws a moving control: its way from end to end, the calibrated range in brackets, the rest mark, and a bar from
/// there, or from the lower end, to where it is. At least 3 columns wide.
void drawBar(Canvas& canvas, int row, int column, int width, const MonitoredControl& control);

} // namespace qz::tools
