// SPDX-License-Identifier: MIT
#include "tools/qzgc/monitor/MonitorView.h"

#include <algorithm>
#include <cmath>

namespace qz::tools {

namespace {

constexpr Style barStyle{.colour = Colour::Cyan};
constexpr Style trackStyle{.dim = true};
constexpr Style markStyle{.bold = true};

/// A block that fills so many eighths of its cell, from the left: U+258F to U+2588.
std::string leftBlock(int eighths) {
    return {'\xE2', '\x96', static_cast<char>(0x90 - eighths)};
}

class Bar {
public:
    Bar(Canvas& canvas, int row, int column, int width, const MonitoredControl& control)
        : canvas_(canvas), row_(row), begin_(column + 1), cells_(width - 2), control_(control),
          low_(static_cast<double>(std::min(control.logicalMin, control.calibratedMin))),
          high_(static_cast<double>(std::max(control.logicalMax, control.calibratedMax))) {}

    void draw() const {
        drawRange();
        if (control_.raw) {
            drawValue(position(*control_.raw));
        }
        if (control_.hasRest()) {
            canvas_.mark(row_, begin_ + cellOf(position(control_.rest)), markStyle);
        }
    }

private:
    /// In cells from the low end.
    double position(std::int64_t raw) const {
        const double share = high_ > low_ ? (static_cast<double>(raw) - low_) / (high_ - low_) : 0.0;
        return std::clamp(share, 0.0, 1.0) * cells_;
    }
    int cellOf(double position) const { return std::min(static_cast<int>(position), cells_ - 1); }

    void drawRange() const {
        const int from = static_cast<int>(position(control_.calibratedMin));
        const int to = static_cast<int>(std::ceil(position(control_.calibratedMax)));
        canvas_.dots(row_, begin_ + from, begin_ + to, trackStyle);
        canvas_.put(row_, begin_ + from - 1, "[");
        canvas_.put(row_, begin_ + to, "]");
    }

    void drawValue(double value) const {
        const int cell = cellOf(value);
        const int eighths = static_cast<int>((value - cell) * 8.0);
        const int rest = control_.hasRest() ? cellOf(position(control_.rest)) : -1;
        if (cell > rest) {
            fill(rest + 1, cell);
            drawPart(cell, eighths, false);
        } else if (cell < rest) {
            drawPart(cell, 8 - eighths, true);
            fill(cell + 1, rest);
        }
    }

    void fill(int from, int to) const { canvas_.blocks(row_, begin_ + from, begin_ + to, barStyle); }

    /// Fills a part of a cell, from its left or its right end.
    void drawPart(int cell, int eighths, bool fromRight) const {
        if (!canvas_.unicode()) {
            if (eighths >= 4) {
                canvas_.put(row_, begin_ + cell, "#", barStyle);
            }
        } else if (eighths == 8 || (eighths > 0 && !fromRight)) {
            canvas_.put(row_, begin_ + cell, leftBlock(eighths), barStyle);
        } else if (eighths > 0) {
            // There are no blocks that begin at the right: what one from the left leaves over, the other way round.
            Style reversed = barStyle;
            reversed.reverse = true;
            canvas_.put(row_, begin_ + cell, leftBlock(8 - eighths), reversed);
        }
    }

    Canvas& canvas_;
    int row_;
    int begin_;
    int cells_;
    const MonitoredControl& control_;
    double low_;
    double high_;
};

} // namespace

void drawBar(Canvas& canvas, int row, int column, int width, const MonitoredControl& control) {
    Bar(canvas, row, column, std::max(width, 3), control).draw();
}

} // namespace qz::tools
