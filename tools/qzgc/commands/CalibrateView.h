// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/session/CalibrationGuide.h"
#include "tools/qzgc/terminal/Canvas.h"

namespace qz::tools {

/// Draws a step of a calibration over the whole canvas: what to do, how far the controls have come or what would be
/// saved, and the keys.
void drawCalibration(Canvas& canvas, CalibrationGuide& guide, const std::string& controller);

} // namespace qz::tools
