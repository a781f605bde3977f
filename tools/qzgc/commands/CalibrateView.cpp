// SPDX-License-Identifier: MIT
#include "tools/qzgc/commands/CalibrateView.h"

#include "tools/qzgc/terminal/TextFlow.h"

#include <algorithm>
#include <iterator>

namespace qz::tools {

namespace {

using Step = CalibrationGuide::Step;

constexpr Style emphasis{.bold = true};
constexpr Style faint{.dim = true};
constexpr int numberWidth = 8;
constexpr std::size_t instructionLines = 3;
constexpr int barsBegin = 5; ///< below the title, the instruction and the heads of the columns

struct Columns {
    int bar;
    int barEnd;
    bool hasValue;
};

Columns columnsFor(const Canvas& canvas, const CalibrationGuide& guide) {
    int width = 7;
    for (const CalibrationRow& each : guide.rows()) {
        width = std::max(width, widthOf(each.label));
    }
    width = std::min(width, canvas.columns() / 4);
    const bool hasValue = canvas.columns() >= 60;
    return {.bar = width + 2, .barEnd = canvas.columns() - (hasValue ? 3 : 2) * numberWidth - 1, .hasValue = hasValue};
}

/// In which cell of a bar of this length a value lies.
int cellOf(const CalibrationRow& row, std::int64_t value, int length) {
    const std::int64_t range = std::max<std::int64_t>(row.logicalMaximum - row.logicalMinimum, 1);
    const std::int64_t cell = (value - row.logicalMinimum) * (length - 1) / range;
    return static_cast<int>(std::clamp<std::int64_t>(cell, 0, length - 1));
}

void drawBar(Canvas& canvas, int line, const CalibrationRow& row, const Columns& columns) {
    const int length = columns.barEnd - columns.bar;
    if (length <= 0) {
        return;
    }
    const int from = row.isSeen ? cellOf(row, row.seenMinimum, length) : 0;
    const int to = row.isSeen ? cellOf(row, row.seenMaximum, length) + 1 : 0;
    canvas.dots(line, columns.bar, columns.barEnd, faint);
    canvas.blocks(line, columns.bar + from, columns.bar + to,
                  {.colour = row.isMoved ? Colour::Green : Colour::Default});
    if (row.value) {
        const int at = cellOf(row, *row.value, length);
        canvas.mark(line, columns.bar + at, {.bold = true, .reverse = at >= from && at < to});
    }
}

void drawBars(Canvas& canvas, CalibrationGuide& guide, int room) {
    const Columns columns = columnsFor(canvas, guide);
    const int first = columns.barEnd + 1;
    canvas.put(barsBegin - 1, 0, "control", faint);
    canvas.put(barsBegin - 1, columns.bar, "travel", faint, columns.barEnd - columns.bar);
    canvas.putRight(barsBegin - 1, first + numberWidth, "minimum", faint);
    canvas.putRight(barsBegin - 1, first + 2 * numberWidth, "maximum", faint);
    if (columns.hasValue) {
        canvas.putRight(barsBegin - 1, first + 3 * numberWidth, "value", faint);
    }
    const int count = static_cast<int>(guide.rows().size());
    guide.keepScrolledBelow(count - room);
    for (int i = 0; i < std::min(room, count); ++i) {
        const CalibrationRow& row = *(guide.rows().begin() + guide.scrolled() + i);
        const int line = barsBegin + i;
        canvas.put(line, 0, shortened(row.label, columns.bar - 2), row.isMoved ? Style{} : faint);
        drawBar(canvas, line, row, columns);
        canvas.putRight(line, first + numberWidth, row.isSeen ? std::to_string(row.seenMinimum) : "-");
        canvas.putRight(line, first + 2 * numberWidth, row.isSeen ? std::to_string(row.seenMaximum) : "-");
        if (columns.hasValue) {
            canvas.putRight(line, first + 3 * numberWidth, row.value ? std::to_string(*row.value) : "-");
        }
    }
}

struct Line {
    std::string text;
    Style style;
};

/// Before and after side by side, or, where that is too wide, one below the other.
std::vector<Line> comparisonOf(const Canvas& canvas, const std::vector<CalibrationRow>& rows) {
    int labels = 7;
    int ranges = 6;
    int remarks = 12;
    for (const CalibrationRow& each : rows) {
        labels = std::max(labels, widthOf(each.label));
        ranges = std::max({ranges, widthOf(rangeText(each.before)), widthOf(rangeText(each.after))});
        remarks = std::max(remarks, widthOf(remarkOn(each)));
    }
    const auto padded = [](std::string text, int width) {
        text.append(static_cast<std::size_t>(std::max(width - widthOf(text), 0)), ' ');
        return text + "  ";
    };
    std::vector<Line> lines;
    if (labels + 2 * ranges + remarks + 6 <= canvas.columns()) {
        lines.push_back({padded("control", labels) + padded("before", ranges) + "after", faint});
        for (const CalibrationRow& each : rows) {
            lines.push_back({padded(each.label, labels) + padded(rangeText(each.before), ranges) +
                                 padded(rangeText(each.after), ranges) + remarkOn(each),
                             each.isChanged() ? emphasis : Style{}});
        }
        return lines;
    }
    for (const CalibrationRow& each : rows) {
        const std::string remark = remarkOn(each);
        lines.push_back({each.label + (remark.empty() ? "" : ": " + remark), emphasis});
        lines.push_back({"  before " + rangeText(each.before), {}});
        if (each.isChanged()) {
            lines.push_back({"  after  " + rangeText(each.after), {}});
        }
    }
    return lines;
}

void drawInstruction(Canvas& canvas, const std::vector<std::string>& lines) {
    for (std::size_t i = 0; i < std::min(lines.size(), instructionLines); ++i) {
        canvas.put(1 + static_cast<int>(i), 0, lines[i]);
    }
}

/// An instruction that is too long for its place is scrolled with what is below it.
void drawComparison(Canvas& canvas, CalibrationGuide& guide, const std::vector<std::string>& instruction) {
    std::vector<Line> lines = comparisonOf(canvas, guide.rows());
    int begin = barsBegin - 1;
    if (instruction.size() <= instructionLines) {
        drawInstruction(canvas, instruction);
    } else {
        begin = 1;
        std::ranges::transform(instruction, std::inserter(lines, lines.begin()), [](const std::string& each) {
            return Line{each, {}};
        });
    }
    const int count = static_cast<int>(lines.size());
    const int room = std::max(canvas.rows() - begin - 1, 0);
    guide.keepScrolledBelow(count - room);
    for (int i = 0; i < std::min(room, count); ++i) {
        const Line& line = *(lines.begin() + guide.scrolled() + i);
        canvas.put(begin + i, 0, line.text, line.style);
    }
}

std::string keysText(Step step, bool isNarrow) {
    switch (step) {
    case Step::Moving:
        return isNarrow ? "Enter done  Esc cancel  ? keys"
                        : "Enter when all have been moved  Esc cancel  Up Down scroll  ? keys";
    case Step::LettingGo:
        return isNarrow ? "Enter do not wait  Esc cancel  ? keys"
                        : "Enter do not wait  Esc cancel  Up Down scroll  ? keys";
    case Step::Confirming:
        return isNarrow ? "y save  m move more  n cancel  ? keys"
                        : "y or Enter save  m move more  n or Esc cancel  ? keys";
    }
    return "";
}

} // namespace

void drawCalibration(Canvas& canvas, CalibrationGuide& guide, const std::string& controller) {
    const std::string step = "step " + std::to_string(static_cast<int>(guide.step()) + 1) + " of 3";
    canvas.put(0, 0, shortened("qzgc calibrate  " + controller, canvas.columns() - widthOf(step) - 2), emphasis);
    canvas.putRight(0, canvas.columns(), step);
    const auto instruction = wrapped(guide.instruction(), canvas.columns());
    if (guide.step() == Step::Confirming) {
        drawComparison(canvas, guide, instruction);
    } else {
        drawInstruction(canvas, instruction);
        drawBars(canvas, guide, std::max(canvas.rows() - barsBegin - 1, 0));
    }
    const int last = canvas.rows() - 1;
    canvas.put(last, 0, keysText(guide.step(), canvas.columns() < 68), faint);
    guide.noteShown();
}

} // namespace qz::tools
