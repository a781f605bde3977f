// SPDX-License-Identifier: MIT
#include "tools/qzgc/plot/Axis.h"
#include "tools/qzgc/plot/Pictures.h"
#include "tools/qzgc/plot/Svg.h"

#include <algorithm>
#include <array>

namespace qz::tools {

namespace {

using Layout = TimeLineLayout;

constexpr const char* style = "text{font:12px sans-serif;fill:#1f2328}\n"
                              ".ground{fill:#fff;stroke:#d0d7de}\n"
                              ".title{font-size:16px;font-weight:bold}\n"
                              ".device{font-size:13px;font-weight:bold}\n"
                              ".label{text-anchor:end}\n"
                              ".small{font-size:9px;fill:#57606a}\n"
                              ".scale{font-size:8px;fill:#57606a;text-anchor:end}\n"
                              ".tick{font-size:11px;text-anchor:middle}\n"
                              ".grid{stroke:#d8dee4;stroke-width:.5}\n"
                              ".lane{fill:#f6f8fa}\n"
                              ".middle{stroke:#d0d7de;stroke-dasharray:2 3}\n"
                              ".curve{fill:none;stroke:#0b57d0;stroke-width:1.2}\n"
                              ".switch{fill:#a8c7fa;stroke:#0b57d0;stroke-width:.8}\n"
                              ".hat{fill:none;stroke:#0b57d0;stroke-width:3.6}\n"
                              ".action{fill:none;stroke:#a8430b;stroke-width:1.2}\n"
                              ".trigger{fill:#f7cfb0;stroke:#a8430b;stroke-width:.8}\n"
                              ".absent{fill:#e7e9ec}\n"
                              ".mark{stroke:#57606a;stroke-dasharray:4 2;fill:none}\n"
                              ".axis{stroke:#57606a}\n"
                              ".arrow{fill:#57606a}\n";

double xOf(int column) {
    return Layout::left + column;
}

/// What a lane shows, whichever of the two kinds it is.
struct Shown {
    const std::string& name;
    LaneKind kind;
    const Trace& trace;
    bool isAction;
};

Shown shownBy(const Layout::Lane& lane) {
    return lane.control != nullptr ? Shown{lane.control->name, lane.control->kind, lane.control->trace, false}
                                   : Shown{lane.action->action, lane.action->kind, lane.action->trace, true};
}

double yOf(const Layout::Lane& lane, double value) {
    return lane.bottom() - 1 - value * (lane.height - 2);
}

/// Up and down through what the column holds, to its last value.
void visit(PathData& path, const Layout::Lane& lane, const Trace::Column& column) {
    if (column.low != column.last) {
        path.verticalTo(yOf(lane, column.low));
    }
    if (column.high != column.last) {
        path.verticalTo(yOf(lane, column.high));
    }
    path.verticalTo(yOf(lane, column.last));
}

PathData stepsOf(const Layout::Lane& lane, const Trace& trace, bool isFilled) {
    PathData path;
    const auto finish = [&](double x) {
        path.horizontalTo(x);
        if (isFilled) {
            path.verticalTo(yOf(lane, 0)).close();
        }
    };
    for (const Trace::Column& column : trace.columns()) {
        const double x = xOf(column.index);
        if (column.begins) {
            path.moveTo(x, yOf(lane, isFilled ? 0 : column.low));
        } else {
            path.horizontalTo(x);
        }
        if (!column.begins || isFilled || column.low != column.high) {
            visit(path, lane, column);
        }
        if (column.ends) {
            finish(x + 1);
        }
    }
    if (!trace.columns().empty() && !trace.columns().back().ends) {
        finish(Layout::right);
    }
    return path;
}

constexpr int directions = 8;

double rowOf(const Layout::Lane& lane, int direction) {
    return lane.top + (direction + 0.5) * lane.height / directions;
}

/// A row for each direction, filled while the hat points there.
PathData rowsOf(const Layout::Lane& lane, const Trace& trace) {
    PathData path;
    const auto& columns = trace.columns();
    for (int direction = 0; direction < directions; ++direction) {
        double filledTo = 0;
        const auto fill = [&](double from, double to) {
            if (from > filledTo || path.empty()) {
                path.moveTo(from, rowOf(lane, direction));
            }
            path.horizontalTo(to);
            filledTo = to;
        };
        for (std::size_t i = 0; i < columns.size(); ++i) {
            const Trace::Column& column = columns[i];
            const double next = i + 1 < columns.size() ? xOf(columns[i + 1].index) : Layout::right;
            if (column.last == direction && !column.ends) {
                fill(xOf(column.index), next);
            } else if ((column.seen >> static_cast<unsigned>(direction) & 1U) != 0) {
                fill(xOf(column.index), xOf(column.index) + 1);
            }
        }
    }
    return path;
}

void drawLabels(Svg& svg, const Layout::Lane& lane, const Shown& shown) {
    const double middle = lane.top + lane.height / 2;
    constexpr std::size_t width = 24;
    constexpr double end = Layout::left - 24;
    std::string detail = shown.kind == LaneKind::Hat ? "hat" : "";
    if (shown.isAction) {
        for (const std::string& name : lane.action->controls) {
            detail += (detail.empty() ? "" : ", ") + name;
        }
        detail += lane.action->isReversed ? ", reversed" : "";
    }
    if (detail.empty() || shown.kind == LaneKind::Switch) {
        const std::string suffix = detail.empty() ? "" : " (" + detail + ')';
        svg.text(end, middle + 4, shown.name + suffix, "label", width);
    } else {
        svg.text(end, middle - 2, shown.name, "label", width);
        svg.text(end, middle + 11, detail, "label small", width + 8);
    }
    if (shown.kind == LaneKind::Moving) {
        svg.text(Layout::left - 4, lane.top + 7, "1", "scale");
        svg.text(Layout::left - 4, lane.bottom(), "0", "scale");
    }
    if (shown.kind == LaneKind::Hat) {
        constexpr std::array names = {"N", "NE", "E", "SE", "S", "SW", "W", "NW"};
        for (int direction = 0; direction < directions; direction += 2) {
            svg.text(Layout::left - 4, rowOf(lane, direction) + 3, names.at(static_cast<std::size_t>(direction)),
                     "scale");
        }
    }
}

void drawLane(Svg& svg, const Layout::Lane& lane) {
    const Shown shown = shownBy(lane);
    drawLabels(svg, lane, shown);
    switch (shown.kind) {
    case LaneKind::Switch:
        svg.path(stepsOf(lane, shown.trace, true), shown.isAction ? "trigger" : "switch");
        break;
    case LaneKind::Moving:
        svg.line(Layout::left, yOf(lane, 0.5), Layout::right, yOf(lane, 0.5), "middle");
        svg.path(stepsOf(lane, shown.trace, false), shown.isAction ? "action" : "curve");
        break;
    case LaneKind::Hat:
        svg.path(rowsOf(lane, shown.trace), "hat");
        break;
    }
}

/// A triangle and a line where a controller came or went, and grey while it was not there.
class PresenceDrawing {
public:
    PresenceDrawing(Svg& svg, const Layout::Group& group) : svg_(svg), group_(group) {}

    void absences() {
        double from = Layout::left;
        for (const Trace::Column& column : group_.device->presence.columns()) {
            const double x = xOf(column.index);
            if (column.begins && x > from) {
                absent(from, x);
            }
            from = column.ends ? x + 1 : Layout::right;
        }
        absent(from, Layout::right);
    }

    void marks() {
        bool wasThere = group_.device->wasThere;
        for (const Trace::Column& column : group_.device->presence.columns()) {
            const double x = xOf(column.index);
            if ((column.begins && !wasThere) || column.paused) {
                mark(x, true);
            }
            if (column.ends || column.paused) {
                mark(x, false);
            }
            wasThere = false;
        }
    }

private:
    void absent(double from, double to) {
        if (from < to) {
            svg_.rectangle(from, group_.top, to - from, group_.bottom - group_.top, "absent");
        }
    }

    void mark(double x, bool comes) {
        const double tip = comes ? group_.top + 4 : group_.top + 13;
        const double base = comes ? group_.top + 13 : group_.top + 4;
        PathData arrow;
        arrow.moveTo(x - 5, base).lineTo(x + 5, base).lineTo(x, tip).close();
        svg_.path(arrow, "arrow");
        svg_.line(x, group_.top + 13, x, group_.bottom, "mark");
        constexpr double room = 64;
        if (x >= nextText_ && x + room < Layout::right) {
            svg_.text(x + 8, group_.top + 12, comes ? "plugged in" : "unplugged", "small");
            nextText_ = x + room;
        }
    }

    Svg& svg_;
    const Layout::Group& group_;
    double nextText_ = 0;
};

void drawGroup(Svg& svg, const Layout::Group& group) {
    for (const Layout::Lane& lane : group.lanes) {
        svg.rectangle(Layout::left, lane.top, Layout::columns, lane.height, "lane");
    }
    if (group.device == nullptr) {
        svg.text(16, group.top + 14, "Actions", "device");
    } else {
        const ControllerIdentity& identity = group.device->identity;
        const std::string empty = group.lanes.empty() ? " (nothing changed)" : "";
        PresenceDrawing(svg, group).absences();
        svg.text(16, group.top + 14, identity.name + empty, "device", 26);
    }
}

void drawTime(Svg& svg, const TimeLine& line, const Layout& layout) {
    constexpr int mostTicks = 10;
    constexpr int microsecondDigits = 6;
    for (const Tick& tick : ticksBetween(0, line.scale.span.count(), mostTicks, microsecondDigits)) {
        const double x = Layout::left + static_cast<double>(tick.value) * Layout::columns /
                                            static_cast<double>(line.scale.span.count());
        svg.line(x, layout.groups.front().lanesTop(), x, layout.axis + 4, "grid");
        svg.text(x, layout.axis + 16, tick.label, "tick");
    }
    svg.line(Layout::left, layout.axis, Layout::right, layout.axis, "axis");
    svg.text(Layout::left + Layout::columns / 2.0, layout.axis + 34, "time in seconds", "tick");
}

std::string titleOf(const TimeLine& line) {
    std::string names;
    for (const DeviceLanes& device : line.devices) {
        names += (names.empty() ? "" : ", ") + device.identity.name;
    }
    return "Time line of " + names;
}

std::string descriptionOf(const TimeLine& line) {
    std::string text = "What the controls of the controllers did";
    text += line.actions.empty() ? "" : ", and the values of the actions that they triggered";
    text += ", over " + decimalText(line.scale.span.count(), 6, 3) + " seconds.";
    for (const DeviceLanes& device : line.devices) {
        text += ' ' + device.identity.name + " (" + device.identity.instanceID + "):";
        for (const ControlLane& lane : device.controls) {
            text += (&lane == &device.controls.front() ? " " : ", ") + lane.name;
        }
        text += device.controls.empty() ? " nothing changed." : ".";
    }
    for (const ActionLane& lane : line.actions) {
        text += (&lane == &line.actions.front() ? " Actions: " : ", ") + lane.action;
    }
    return text;
}

} // namespace

std::string pictureOf(const TimeLine& line, const Layout& layout) {
    const std::string title = titleOf(line);
    Svg svg(Layout::width, layout.height, title, descriptionOf(line), style);
    svg.text(16, 28, title, "title", 90);
    for (const Layout::Group& group : layout.groups) {
        drawGroup(svg, group);
    }
    drawTime(svg, line, layout);
    for (const Layout::Group& group : layout.groups) {
        for (const Layout::Lane& lane : group.lanes) {
            drawLane(svg, lane);
        }
        if (group.device != nullptr) {
            PresenceDrawing(svg, group).marks();
        }
    }
    return svg.finish();
}

} // namespace qz::tools
