// SPDX-License-Identifier: MIT
#include "tools/qzgc/terminal/Canvas.h"

#include <algorithm>
#include <array>

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

/// The code point of a character in UTF-8.
unsigned codePoint(std::string_view character) {
    const auto lead = static_cast<unsigned char>(character.front());
    const std::size_t length = character.size();
    unsigned code = length == 1 ? lead : lead & (0xFFU >> (length + 1));
    for (const char each : character.substr(1)) {
        code = code << 6U | (static_cast<unsigned char>(each) & 0x3FU);
    }
    return code;
}

/// Whether a character surely takes one column: Latin, Greek, Cyrillic, punctuation, arrows, boxes and blocks do. Wide,
/// combining, invisible and unassigned ones, on which terminals disagree, and those that turn the direction of writing,
/// lie between these ranges.
bool isOneColumnWide(std::string_view character) {
    struct Range {
        unsigned first;
        unsigned last;
    };
    constexpr std::array ranges = {
        Range{0x20, 0x7E},     Range{0xA0, 0xAC},     Range{0xAE, 0x2FF},    Range{0x370, 0x377},
        Range{0x37A, 0x37F},   Range{0x384, 0x38A},   Range{0x38C, 0x38C},   Range{0x38E, 0x3A1},
        Range{0x3A3, 0x482},   Range{0x48A, 0x52F},   Range{0x2010, 0x2027}, Range{0x2030, 0x205E},
        Range{0x2070, 0x2071}, Range{0x2074, 0x208E}, Range{0x20A0, 0x20BF}, Range{0x2100, 0x218B},
        Range{0x2190, 0x2319}, Range{0x231C, 0x2328}, Range{0x232B, 0x23E8}, Range{0x23ED, 0x23EF},
        Range{0x23F1, 0x23F2}, Range{0x23F4, 0x2426}, Range{0x2440, 0x244A}, Range{0x2460, 0x25FC},
        Range{0x25FF, 0x25FF}};
    const unsigned code = codePoint(character);
    // A longer way to write a character than its shortest is none (RFC 3629).
    const std::size_t shortest = code < 0x80 ? 1 : code < 0x800 ? 2 : 3;
    return character.size() == shortest &&
           std::ranges::any_of(ranges, [code](const Range& each) { return code >= each.first && code <= each.last; });
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

void Canvas::repeat(int row, int from, int to, std::string_view character, Style style) {
    for (int column = from; column < to; ++column) {
        put(row, column, character, style);
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
