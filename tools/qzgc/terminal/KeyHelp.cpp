// SPDX-License-Identifier: MIT
#include "tools/qzgc/terminal/KeyHelp.h"

#include "tools/qzgc/terminal/TextFlow.h"

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
    const int last = canvas.rows() - 1;
    bool isCut = false;
    for (const Line& each : lines_) {
        if (row < last) {
            canvas.put(row, 1, each.keys, {.bold = true});
        }
        for (const std::string& text : wrapped(each.what, std::max(canvas.columns() - width - 3, 1))) {
            isCut = isCut || row >= last;
            if (row < last) {
                canvas.put(row++, width + 3, text);
            }
        }
    }
    const int end = canvas.put(last, 1, "any key goes back", {.dim = true});
    if (isCut) {
        canvas.put(last, end, "; there are more", {.dim = true});
    }
}

} // namespace qz::tools
