// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/plot/Curve.h"
#include "tools/qzgc/plot/Layout.h"

#include <string>

namespace qz::tools {

/// SVG documents. The same input gives the same bytes.
std::string pictureOf(const TimeLine& line, const TimeLineLayout& layout);
std::string pictureOf(const Curve& curve);

} // namespace qz::tools
