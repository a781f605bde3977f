// SPDX-License-Identifier: MIT
#include "tools/qzgc/terminal/KeyHelp.h"

#include <algorithm>

namespace qz::tools {

bool KeyHelp::take(int key) {
    const bool wasShown = isShown_;
    isShown_ = !wasShown && (key == '?' || key == 'h');
    return wasShown || isShown_;
}

void KeyHelp::draw(Canvas& canvas) const {
    int width = 0;
    for (const Line& each : lines_) {
        width = std::max(width, widthOf(each.keys));
    }
    int row = 0;
    canvas.put(row++, 1, "Keys", {.bold = true});
    for (const Line& each : lines_) {
        if (row < canvas.rows() - 1) {
            canvas.put(row, 1, each.keys, {.bold = true});
            canvas.put(row++, width + 3, each.what);
        }
    }
    canvas.put(canvas.rows() - 1, 1, "any key goes back", {.dim = true});
}

} // namespace qz::tools
