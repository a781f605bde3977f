// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/terminal/Canvas.h"

namespace qz::tools {

/// The page as a terminal shows it, as an SVG picture: light text on a dark ground. The same page always gives the same
/// bytes.
std::string canvasPicture(const Canvas& canvas, std::string_view title);

} // namespace qz::tools
