// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qz::tools {

/// `text` in lines of at most `width` columns, broken at blanks; a longer word stays whole.
std::vector<std::string> wrapped(std::string_view text, int width);

/// `text` cut to `width` columns; one that is cut ends with "...".
std::string shortened(const std::string& text, int width);

/// The first of `count` lines to show in `room` of them, so that `selected` is among them and not at the edge.
int firstShown(int count, int room, int selected);

} // namespace qz::tools
