// SPDX-License-Identifier: MIT
#include "tools/qzgc/commands/MapView.h"

#include "tools/qzgc/terminal/TextFlow.h"

#include <algorithm>
#include <cmath>

namespace qz::tools {

namespace {

using Mode = MapEditor::Mode;

constexpr Style emphasis{.bold = true};
constexpr Style faint{.dim = true};
constexpr Style warning{.colour = Colour::Yellow};

/// Below the table: a line, what is said, a control on its way, the keys.
constexpr int messageLines = 3;
constexpr int headRows = 2;
constexpr int footRows = messageLines + 2;

/// Which control an action wants.
std::string wanted(const Mapping& mapping, const std::string& action) {
    if (mapping.isXAction(action)) {
        return "right";
    }
    if (mapping.isYAction(action)) {
        return "up";
    }
    const auto known = mapping.actions();
    return std::ranges::find(known, action) != known.end() ? "press" : "unknown";
}

std::string controlsText(const std::vector<MappedControl>& controls) {
    std::string text;
    for (const MappedControl& each : controls) {
        text += (text.empty() ? "" : ", ") + each.label + (each.reversed ? " (reversed)" : "");
    }
    return text.empty() ? "-" : text;
}

using Controls = std::vector<MappedControl>;

struct Columns {
    int action;
    int kind; ///< 0: no room for it
    int controls;
};

Columns columnsFor(const Canvas& canvas, const MapEditor& editor) {
    int width = 6;
    for (const std::string& each : editor.actions()) {
        width = std::max(width, widthOf(each));
    }
    width = std::min(width, canvas.columns() * 2 / 5);
    const bool hasKind = canvas.columns() >= 60;
    const int after = 3 + width + 2;
    return {.action = 3, .kind = hasKind ? after : 0, .controls = after + (hasKind ? 9 : 0)};
}

void drawRow(Canvas& canvas, int row, const MapEditor& editor, const Controls& all, std::size_t index,
             const Columns& columns) {
    const std::string& action = editor.actions()[index];
    const Controls controls = Mapping::with(action, all);
    const bool isSelected = index == editor.selected();
    const Style style = {.colour = controls.size() > 1 ? Colour::Yellow : Colour::Default,
                         .dim = controls.empty() && !isSelected,
                         .reverse = isSelected};
    if (isSelected) {
        canvas.put(row, 0, std::string(static_cast<std::size_t>(canvas.columns()), ' '), style);
        canvas.put(row, 0, ">", style);
    }
    canvas.put(row, 1, controls.size() > 1 ? "!" : " ", style);
    const int width = (columns.kind > 0 ? columns.kind : columns.controls) - columns.action - 2;
    canvas.put(row, columns.action, shortened(action, width), style);
    if (columns.kind > 0) {
        canvas.put(row, columns.kind, wanted(editor.mapping(), action), style);
    }
    canvas.put(row, columns.controls, shortened(controlsText(controls), canvas.columns() - columns.controls), style);
}

void drawTable(Canvas& canvas, const MapEditor& editor, const Controls& all) {
    const Columns columns = columnsFor(canvas, editor);
    canvas.put(1, columns.action, "action", faint);
    if (columns.kind > 0) {
        canvas.put(1, columns.kind, "wants", faint);
    }
    canvas.put(1, columns.controls, "controls", faint);
    const int room = std::max(canvas.rows() - headRows - footRows, 1);
    const int count = static_cast<int>(editor.actions().size());
    if (count == 0) {
        canvas.put(headRows, columns.action, "The application has no actions.");
    }
    const int first = firstShown(count, room, static_cast<int>(editor.selected()));
    for (int i = 0; i < std::min(room, count); ++i) {
        drawRow(canvas, headRows + i, editor, all, static_cast<std::size_t>(first) + static_cast<std::size_t>(i),
                columns);
    }
    if (count > room) {
        canvas.putRight(1, canvas.columns(),
                        std::to_string(first + 1) + '-' + std::to_string(first + room) + " of " + std::to_string(count),
                        faint);
    }
}

std::string keysText(const MapEditor& editor, bool isNarrow) {
    switch (editor.mode()) {
    case Mode::Choosing:
        return isNarrow ? "Enter bind  c clear  r rev  s save  q  ?"
                        : "Enter bind  n next free  c clear  r reverse  R reset  s save  q quit  ? keys";
    case Mode::Listening:
        return "Esc cancel";
    case Mode::Conflict:
        return editor.canKeepBoth() ? "r replace  k keep both  Esc cancel" : "r replace  Esc cancel";
    case Mode::Reversing:
        return "y yes  n no  Esc cancel";
    case Mode::Resetting:
        return "y yes  n no";
    case Mode::Quitting:
        return "y save  n discard  Esc go on";
    }
    return "";
}

/// In few rows the foot lies over the table, and a mix of the two could not be read.
int putOver(Canvas& canvas, int row, const std::string& text, Style style) {
    canvas.put(row, 0, std::string(static_cast<std::size_t>(canvas.columns()), ' '));
    return canvas.put(row, 0, text, style);
}

void drawLeader(Canvas& canvas, int row, MapEditor& editor, MapEditor::Time now) {
    const auto leader = editor.leader(now);
    if (!leader) {
        return;
    }
    const auto element = editor.mapping().device().elementWithCookie(leader->cookie);
    constexpr int length = 20;
    const int filled = static_cast<int>(std::lround(leader->excursion * length));
    const int column = putOver(canvas, row, editor.mapping().label(*element) + "  ", emphasis);
    canvas.dots(row, column, column + length);
    canvas.blocks(row, column, column + std::min(filled, length));
    canvas.put(row, column + length + 1, std::to_string(std::lround(leader->excursion * 100)) + " %");
}

void drawFoot(Canvas& canvas, MapEditor& editor, const Controls& all, MapEditor::Time now) {
    const int top = canvas.rows() - footRows;
    canvas.line(top, 0, canvas.columns(), faint);
    const bool asks = editor.mode() != Mode::Choosing;
    std::string text = editor.message(now);
    if (text.empty() && !editor.actions().empty()) {
        const auto& action = editor.actions()[editor.selected()];
        const Controls controls = Mapping::with(action, all);
        text = controls.size() > 1 ? "! " + conflictText({action, controls}) : "";
    }
    int row = top + 1;
    for (const std::string& each : wrapped(text, canvas.columns())) {
        if (row <= top + messageLines) {
            putOver(canvas, row++, each, asks ? emphasis : Style{});
        }
    }
    if (row <= top + messageLines) {
        drawLeader(canvas, row, editor, now);
    }
    if (canvas.rows() - 1 > headRows) {
        putOver(canvas, canvas.rows() - 1, keysText(editor, canvas.columns() < 76), faint);
    }
}

} // namespace

void drawMap(Canvas& canvas, MapEditor& editor, const std::string& controller, MapEditor::Time now) {
    const std::string state = editor.isChanged() ? "not saved" : "";
    const int room = canvas.columns() - widthOf(state) - 2;
    canvas.put(0, 0, shortened("qzgc map  " + controller, room), emphasis);
    canvas.putRight(0, canvas.columns(), state, warning);
    const Controls controls = editor.mapping().controls(); // once a frame: there may be thousands
    drawTable(canvas, editor, controls);
    drawFoot(canvas, editor, controls, now);
}

} // namespace qz::tools
