// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/session/MapEditor.h"
#include "tools/qzgc/terminal/Canvas.h"

namespace qz::tools {

/// Draws the actions of an application with their controls, and what the editor says or asks, over the whole canvas.
void drawMap(Canvas& canvas, MapEditor& editor, const std::string& controller, MapEditor::Time now);

} // namespace qz::tools
