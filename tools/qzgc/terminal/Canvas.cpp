// SPDX-License-Identifier: MIT
#include "tools/qzgc/terminal/Canvas.h"

#include <algorithm>

namespace qz::tools {

namespace {

/// The length of the UTF-8 character that `text` begins with (RFC 3629); 0 when it begins with none.
std::size_t characterLength(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text.front());
    const std::size_t length = lead < 0x80   ? 1
                               : lead < 0xC2 ? 0
                               : lead < 0xE0 ? 2
                               : lead < 0xF0 ? 3
                               : lead < 0xF5 ? 4
                                             : 0;
    const bool isWhole =
        length <= text.size() && std::ranges::all_of(text.substr(1, length - std::min(length, std::size_t{1})),
                                                     [](unsigned char each) { return (each & 0xC0U) == 0x80; });
    return isWhole ? length : 0;
}

/// Whether a character surely takes one column: Latin, Greek, Cyrillic, punctuation, arrows, boxes and blocks do. Wide,
/// combining and unassigned ones, on which terminals disagree, lie elsewhere.
bool isOneColumnWide(std::string_view character) {
    if (character.size() == 1) {
        return character.front() >= ' ' && character.front() != 0x7f;
    }
    if (character.size() == 2) {
        const auto lead = static_cast<unsigned char>(character[0]);
        const auto next = static_cast<unsigned char>(character[1]);
        const unsigned code = (lead & 0x1FU) << 6U | (next & 0x3FU);
        return code >= 0xA0 && code != 0xAD &&
               (code < 0x300 || (code >= 0x370 && code < 0x483) || (code >= 0x48A && code < 0x530));
    }
    // U+2010 to U+25FF: punctuation, arrows, mathematics, technical, boxes, blocks, shapes.
    return character >= "\xE2\x80\x90" && character <= "\xE2\x97\xBF" && character.size() == 3;
}

/// Takes the next character off the front of `text`: itself, or "?".
std::string_view takeCharacter(std::string_view& text, bool unicode) {
    const std::size_t length = characterLength(text);
    const std::string_view character = text.substr(0, std::max<std::size_t>(length, 1));
    text.remove_prefix(character.size());
    const bool canBeShown = length != 0 && isOneColumnWide(character) && (unicode || length == 1);
    return canBeShown ? character : "?";
}

} // namespace

Canvas::Canvas(int rows, int columns, bool unicode)
    : rows_(std::max(rows, 0)), columns_(std::max(columns, 0)), unicode_(unicode),
      cells_(static_cast<std::size_t>(rows_) * static_cast<std::size_t>(columns_)) {}

int Canvas::put(int row, int column, std::string_view text, Style style, int width) {
    const int end = width < 0 ? columns_ : std::min(columns_, column + width);
    for (; !text.empty() && column < end; ++column) {
        const std::string_view character = takeCharacter(text, unicode_);
        if (row >= 0 && row < rows_ && column >= 0) {
            cells_[index(row, column)] = {std::string(character), style};
        }
    }
    return column;
}

void Canvas::putRight(int row, int column, std::string_view text, Style style) {
    put(row, column - widthOf(text), text, style);
}

void Canvas::line(int row, int from, int to, Style style) {
    for (int column = from; column < to; ++column) {
        put(row, column, unicode_ ? "─" : "-", style, 1);
    }
}

void Canvas::copyRow(int row, const Canvas& from, int fromRow) {
    for (int column = 0; column < std::min(columns_, from.columns_); ++column) {
        cells_[index(row, column)] = from.cell(fromRow, column);
    }
}

std::string Canvas::text() const {
    std::string text;
    for (int row = 0; row < rows_; ++row) {
        std::string line;
        for (int column = 0; column < columns_; ++column) {
            line += cell(row, column).text;
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + '\n';
    }
    return text;
}

int widthOf(std::string_view text) {
    int width = 0;
    for (; !text.empty(); ++width) {
        takeCharacter(text, true);
    }
    return width;
}

} // namespace qz::tools
