// SPDX-License-Identifier: MIT
#include "tools/qzgc/terminal/TextFlow.h"

#include "tools/qzgc/terminal/Canvas.h"

#include <algorithm>

namespace qz::tools {

std::vector<std::string> wrapped(std::string_view text, int width) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(' '), text.size());
        const std::string word(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (word.empty()) {
            continue;
        }
        if (lines.empty() || widthOf(lines.back()) + 1 + widthOf(word) > width) {
            lines.push_back(word);
        } else {
            lines.back() += ' ' + word;
        }
    }
    return lines;
}

std::string shortened(const std::string& text, int width) {
    if (widthOf(text) <= width) {
        return text;
    }
    Canvas line(1, std::max(width - 3, 0));
    line.put(0, 0, text);
    std::string kept;
    for (int column = 0; column < line.columns(); ++column) {
        kept += line.cell(0, column).text;
    }
    return kept + "...";
}

int firstShown(int count, int room, int selected) {
    return std::clamp(selected - room / 2, 0, std::max(count - room, 0));
}

} // namespace qz::tools
