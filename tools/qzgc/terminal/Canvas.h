// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qz::tools {

enum class Colour : std::uint8_t { Default, Red, Green, Yellow, Blue, Magenta, Cyan };

/// How a character looks. Nothing is told by a colour alone: terminals without colours are served too.
struct Style {
    Colour colour = Colour::Default;
    bool bold = false;
    bool dim = false;
    bool reverse = false;

    friend bool operator==(const Style&, const Style&) = default;
};

/// A page of characters that a view is drawn on, before it goes to a terminal, a test or a picture. Drawing beyond the
/// edges is cut off.
class Canvas {
public:
    struct Cell {
        std::string text = " "; ///< one character in UTF-8, one column wide
        Style style = {};

        friend bool operator==(const Cell&, const Cell&) = default;
    };

    /// `unicode`: whether characters beyond ASCII can be shown; where not, "?" stands for them.
    Canvas(int rows, int columns, bool unicode = true);

    int rows() const noexcept { return rows_; }
    int columns() const noexcept { return columns_; }
    bool unicode() const noexcept { return unicode_; }

    /// Writes UTF-8 text from a place on, at most `width` columns wide (below 0: to the edge), and answers the column
    /// after it. What is not valid, or not one column wide, is shown as "?".
    int put(int row, int column, std::string_view text, Style style = {}, int width = -1);

    /// Writes text that ends before `column`.
    void putRight(int row, int column, std::string_view text, Style style = {});

    /// A horizontal line, from a column to before another; and what bars are made of: dots, full blocks, marks across.
    void line(int row, int from, int to, Style style = {}) { repeat(row, from, to, unicode_ ? "─" : "-", style); }
    void dots(int row, int from, int to, Style style = {}) { repeat(row, from, to, unicode_ ? "·" : ".", style); }
    void blocks(int row, int from, int to, Style style = {}) { repeat(row, from, to, unicode_ ? "█" : "#", style); }
    void mark(int row, int column, Style style = {}) { put(row, column, unicode_ ? "│" : "|", style); }

    /// Puts a row of another page, which is as wide, in the place of one of this.
    void copyRow(int row, const Canvas& from, int fromRow);

    const Cell& cell(int row, int column) const { return cells_[index(row, column)]; }

    /// The page as lines of text without the blanks at their ends, and without its styles.
    std::string text() const;

private:
    void repeat(int row, int from, int to, std::string_view character, Style style);
    std::size_t index(int row, int column) const {
        return static_cast<std::size_t>(row) * static_cast<std::size_t>(columns_) + static_cast<std::size_t>(column);
    }

    int rows_;
    int columns_;
    bool unicode_;
    std::vector<Cell> cells_;
};

/// How many columns a text takes on a canvas.
int widthOf(std::string_view text);

} // namespace qz::tools
