// SPDX-License-Identifier: MIT
#include "tools/qzgc/terminal/CanvasPicture.h"

#include <array>

namespace qz::tools {

namespace {

// All in whole pixels but the eighths of a cell; the font is stretched to its columns, whichever it is.
constexpr int cellWidth = 8;
constexpr int cellHeight = 18;
constexpr int baseline = 13; // below the upper edge of a row
constexpr int margin = 10;
constexpr std::string_view ground = "#1d2026";
constexpr std::string_view ink = "#d7dae0";
constexpr std::array<std::string_view, 7> colours = {ink,       "#f07178", "#9ccc65", "#ffcb6b",
                                                     "#82aaff", "#c792ea", "#5ccfe6"};

std::string escaped(std::string_view text) {
    std::string result;
    for (const char each : text) {
        switch (each) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        default:
            result += each;
        }
    }
    return result;
}

/// How many eighths of the cell the character fills from the left, with nothing else in it; 0 for other characters.
int eighthsOf(std::string_view character) {
    const bool isBlock = character.size() == 3 && character.starts_with("\xE2\x96");
    const int last = isBlock ? static_cast<unsigned char>(character[2]) : 0;
    return last >= 0x88 && last <= 0x8F ? 0x90 - last : 0; // U+2588 to U+258F
}

std::string quoted(std::string_view name, std::string_view value) {
    return ' ' + std::string(name) + "=\"" + std::string(value) + '"';
}

class Picture {
public:
    explicit Picture(const Canvas& canvas) : canvas_(canvas) {}

    std::string draw(std::string_view title) {
        const std::string width = std::to_string(canvas_.columns() * cellWidth + 2 * margin);
        const std::string height = std::to_string(canvas_.rows() * cellHeight + 2 * margin);
        text_ = "<svg" + quoted("xmlns", "http://www.w3.org/2000/svg") +
                quoted("viewBox", "0 0 " + width + ' ' + height) + quoted("width", width) + quoted("height", height) +
                quoted("font-family", "ui-monospace, Menlo, Consolas, 'DejaVu Sans Mono', monospace") +
                quoted("font-size", "13") + ">\n<title>" + escaped(title) + "</title>\n<rect" + quoted("width", width) +
                quoted("height", height) + quoted("rx", "6") + quoted("fill", ground) + "/>\n";
        for (int row = 0; row < canvas_.rows(); ++row) {
            drawRow(row);
        }
        return text_ + "</svg>\n";
    }

private:
    void drawRow(int row) {
        for (int from = 0; from < canvas_.columns();) {
            const Canvas::Cell& first = canvas_.cell(row, from);
            int to = from + 1;
            const auto belongs = [&](int column) {
                const Canvas::Cell& cell = canvas_.cell(row, column);
                return cell.style == first.style && eighthsOf(cell.text) == eighthsOf(first.text);
            };
            while (to < canvas_.columns() && belongs(to)) {
                ++to;
            }
            drawRun(row, from, to);
            from = to;
        }
    }

    void drawRun(int row, int from, int to) {
        const Style& style = canvas_.cell(row, from).style;
        const std::string_view colour = colours[static_cast<std::size_t>(style.colour)];
        if (style.reverse) {
            drawRectangle(row, from, (to - from) * 8, colour);
        }
        const std::string_view front = style.reverse ? ground : colour;
        if (const int eighths = eighthsOf(canvas_.cell(row, from).text); eighths == 8) {
            drawRectangle(row, from, (to - from) * 8, front);
        } else if (eighths > 0) {
            for (int column = from; column < to; ++column) {
                drawRectangle(row, column, eighths, front);
            }
        } else {
            drawText(row, from, to, front);
        }
    }

    void drawRectangle(int row, int column, int eighths, std::string_view colour) {
        static_assert(cellWidth == 8, "an eighth of a cell is a pixel");
        text_ += "<rect" + quoted("x", std::to_string(margin + column * cellWidth)) +
                 quoted("y", std::to_string(margin + row * cellHeight)) + quoted("width", std::to_string(eighths)) +
                 quoted("height", std::to_string(cellHeight)) + quoted("fill", colour) + "/>\n";
    }

    void drawText(int row, int from, int to, std::string_view colour) {
        const auto isBlank = [&](int column) { return canvas_.cell(row, column).text == " "; };
        while (from < to && isBlank(from)) {
            ++from;
        }
        while (from < to && isBlank(to - 1)) {
            --to;
        }
        if (from == to) {
            return;
        }
        std::string characters;
        for (int column = from; column < to; ++column) {
            characters += canvas_.cell(row, column).text;
        }
        const Style& style = canvas_.cell(row, from).style;
        text_ += "<text xml:space=\"preserve\"" + quoted("x", std::to_string(margin + from * cellWidth)) +
                 quoted("y", std::to_string(margin + row * cellHeight + baseline)) +
                 quoted("textLength", std::to_string((to - from) * cellWidth)) +
                 quoted("lengthAdjust", "spacingAndGlyphs") + quoted("fill", colour) +
                 (style.bold ? quoted("font-weight", "bold") : "") + (style.dim ? quoted("opacity", "0.6") : "") + '>' +
                 escaped(characters) + "</text>\n";
    }

    const Canvas& canvas_;
    std::string text_;
};

} // namespace

std::string canvasPicture(const Canvas& canvas, std::string_view title) {
    return Picture(canvas).draw(title);
}

} // namespace qz::tools
