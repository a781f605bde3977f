// SPDX-License-Identifier: MIT
#include "tools/qzgc/monitor/MonitorView.h"

#include "tools/qzgc/terminal/TextFlow.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace qz::tools {

namespace {

using Kind = ControlKind;

constexpr Style titleStyle{.bold = true, .reverse = true};
constexpr Style dimStyle{.dim = true};
constexpr Style heldStyle{.colour = Colour::Green, .bold = true, .reverse = true};
constexpr Style warningStyle{.colour = Colour::Red, .bold = true};

std::string fixed(double number, int decimals) {
    std::array<char, 64> buffer{};
    const int length = std::snprintf(buffer.data(), buffer.size(), "%.*f", decimals, number);
    return {buffer.data(), static_cast<std::size_t>(length)};
}

std::string actionText(const MonitoredControl& control) {
    return control.action.empty() ? "" : (control.reversed ? "-" : "") + control.action;
}

struct DirectionText {
    std::string_view arrow;
    std::string_view ascii;
    std::string_view words;
};
constexpr std::array<DirectionText, 9> directionTexts = {{{"↑", "^", "up"},
                                                          {"↗", "/", "up right"},
                                                          {"→", ">", "right"},
                                                          {"↘", "\\", "down right"},
                                                          {"↓", "v", "down"},
                                                          {"↙", "/", "down left"},
                                                          {"←", "<", "left"},
                                                          {"↖", "\\", "up left"},
                                                          {"·", "o", "centre"}}};

/// "Button 3" is "3" where all the others around it are buttons too.
std::string shortName(const MonitoredControl& control) {
    constexpr std::string_view prefix = "Button ";
    return control.name.starts_with(prefix) ? control.name.substr(prefix.size()) : control.name;
}

/// The columns of a page, from the widths that its controls need.
struct Columns {
    Columns(const MonitoredController& controller, int width) {
        isWide = width >= 60;
        int longestName = isWide ? 8 : 3; // the headings and a blank
        int longestAction = 0;
        for (const MonitoredControl& each : controller.controls) {
            if (each.kind == Kind::Moving || each.kind == Kind::Hat) {
                longestName = std::max(longestName, widthOf(each.name));
                longestAction = std::max(longestAction, widthOf(actionText(each)));
                rawWidth = std::max(
                    {rawWidth, widthOf(std::to_string(each.logicalMin)), widthOf(std::to_string(each.logicalMax))});
            }
        }
        name = std::min(longestName, isWide ? 16 : 6);
        action = std::min(isWide && longestAction > 0 ? std::max(longestAction, 7) : longestAction, isWide ? 16 : 8);
        value = isWide ? 7 : 6;
        noise = width >= 70 ? 14 : 0;
        noiseEnd = width;
        valueEnd = width - noise;
        placeBar();
        if (barWidth < leastBar) {
            action = 0;
            placeBar();
        }
        if (barWidth < leastBar) {
            value = 0;
            placeBar();
        }
    }

    void placeBar() {
        bar = name + 1 + (action > 0 ? action + 1 : 0);
        rawEnd = valueEnd - value;
        barWidth = rawEnd - rawWidth - 1 - bar;
    }

    static constexpr int leastBar = 3; ///< two ends and a cell between them

    bool isWide;
    int name;
    int action;
    int rawWidth = 3;
    int value; ///< 0: left out
    int noise;
    int bar; ///< where it begins
    int barWidth;
    int rawEnd;
    int valueEnd;
    int noiseEnd;
};

/// Draws the controls of one controller on a canvas that is as high as they need.
class ControlsPainter {
public:
    ControlsPainter(const MonitoredController& controller, int width, bool unicode, Moment now)
        : controller_(controller), columns_(controller, width), now_(now),
          canvas_(static_cast<int>(std::ranges::count_if(controller.controls, isShown)) + 8, width, unicode) {}

    /// With `hasHeadings` a row tells what the columns are.
    Canvas draw(bool hasHeadings) {
        if (hasHeadings) {
            drawHeadings();
        }
        for (const MonitoredControl& each : controller_.controls) {
            if (each.kind == Kind::Moving) {
                drawMoving(each);
            }
        }
        for (const MonitoredControl& each : controller_.controls) {
            if (each.kind == Kind::Hat) {
                drawHat(each);
            }
        }
        drawPacked(Kind::Button, "buttons");
        drawPacked(Kind::Other, "others");
        if (controller_.controls.empty()) {
            canvas_.put(row_++, 0, "It has no controls.", dimStyle);
        }
        return canvas_;
    }
    int rows() const noexcept { return row_; }

private:
    /// Some devices declare thousands of values of their maker's that they never send.
    static bool isShown(const MonitoredControl& control) { return control.kind != Kind::Other || control.raw; }

    void drawHeadings() {
        canvas_.put(row_, 0, "control", dimStyle, columns_.bar);
        if (columns_.action > 0) {
            canvas_.put(row_, columns_.name + 1, "action", dimStyle);
        }
        canvas_.put(row_, columns_.bar, "travel", dimStyle, std::max(columns_.barWidth, 0));
        canvas_.putRight(row_, columns_.rawEnd, "raw", dimStyle);
        if (columns_.value > 0) {
            canvas_.putRight(row_, columns_.valueEnd, "value", dimStyle);
        }
        if (columns_.noise > 0) {
            canvas_.putRight(row_, columns_.noiseEnd, "noise", dimStyle);
        }
        ++row_;
    }

    void drawNames(const MonitoredControl& control) {
        canvas_.put(row_, 0, control.name, {}, columns_.name);
        canvas_.put(row_, columns_.name + 1, shortened(actionText(control), columns_.action), {}, columns_.action);
    }

    void drawValues(const MonitoredControl& control) {
        canvas_.putRight(row_, columns_.rawEnd, control.raw ? std::to_string(*control.raw) : "-", {.bold = true});
        if (columns_.value > 0) {
            canvas_.putRight(row_, columns_.valueEnd, control.raw ? fixed(control.value(), 3) : "-", {.bold = true});
        }
    }

    void drawMoving(const MonitoredControl& control) {
        drawNames(control);
        drawBar(canvas_, row_, columns_.bar, columns_.barWidth, control);
        drawValues(control);
        if (columns_.noise > 0) {
            const auto noise = control.noise(now_);
            canvas_.putRight(row_, columns_.noiseEnd,
                             noise ? std::to_string(*noise) + "  " + fixed(control.percentOfRange(*noise), 1) + '%'
                             : control.isMoving(now_) ? "moving"
                                                      : "-",
                             dimStyle);
        }
        ++row_;
    }

    void drawHat(const MonitoredControl& control) {
        drawNames(control);
        const DirectionText& text = directionTexts[static_cast<std::size_t>(directionOf(control))];
        const Style style = directionOf(control) == Direction::Centre ? Style{} : Style{.bold = true};
        canvas_.put(row_, columns_.bar + 1, canvas_.unicode() ? text.arrow : text.ascii, style);
        canvas_.put(row_, columns_.bar + 3, text.words, style, std::max(columns_.barWidth - 3, 0));
        drawValues(control);
        ++row_;
    }

    std::string packedText(const MonitoredControl& control, const MonitoredControl* previous) const {
        if (control.kind == Kind::Other) {
            const std::string value = std::to_string(control.raw.value_or(0));
            return previous != nullptr && previous->name == control.name ? value : control.name + '=' + value;
        }
        const std::string action = columns_.isWide ? actionText(control) : "";
        return shortName(control) + (action.empty() ? "" : ' ' + action);
    }

    void drawPacked(Kind kind, std::string_view heading) {
        const int indent = columns_.isWide ? std::max(columns_.name, widthOf(heading)) + 1 : 0;
        int column = indent;
        const MonitoredControl* previous = nullptr;
        for (const MonitoredControl& each : controller_.controls) {
            if (each.kind != kind || !isShown(each)) {
                continue;
            }
            if (previous == nullptr && indent > 0) {
                canvas_.put(row_, 0, heading, dimStyle);
            }
            const std::string text = packedText(each, previous);
            previous = &each;
            if (column > indent && column + widthOf(text) + 2 > canvas_.columns()) {
                ++row_;
                column = indent;
            }
            const bool isLit = kind == Kind::Button && each.isHeld();
            const std::string framed = isLit ? '[' + text + ']' : ' ' + text + ' ';
            column = canvas_.put(row_, column, framed, isLit ? heldStyle : Style{});
        }
        row_ += previous != nullptr ? 1 : 0;
    }

    const MonitoredController& controller_;
    Columns columns_;
    Moment now_;
    Canvas canvas_;
    int row_ = 0;
};

class MonitorPainter {
public:
    MonitorPainter(Canvas& canvas, const MonitorModel& model, Moment now)
        : canvas_(canvas), model_(model), now_(now), end_(canvas.rows() - 1) {}

    MonitorWindow draw() {
        drawTitle();
        if (!model_.latestError.empty() && end_ > row_) {
            canvas_.put(--end_, 1, model_.latestError, warningStyle);
        }
        drawList();
        MonitorWindow window;
        if (const MonitoredController* const controller = model_.selectedController()) {
            window = drawControls(*controller);
        } else {
            drawWaiting();
        }
        drawFooter(window);
        return window;
    }

private:
    void drawWaiting() {
        const int row = row_ + (end_ - row_) / 2;
        const auto centred = [&](int line, std::string_view text, Style style) {
            canvas_.put(line, std::max((canvas_.columns() - widthOf(text)) / 2, 0), text, style);
        };
        if (model_.sourceHasEnded) {
            centred(row, "No controller is left in the recording.", {.bold = true});
            return;
        }
        const std::string called = model_.wanted.empty() ? "" : " called \"" + model_.wanted + '"';
        centred(row, "Waiting for a controller" + called + '.', {.bold = true});
        if (row + 1 < end_) {
            centred(row + 1, model_.listing + " tells why one is refused.", dimStyle);
        }
    }
    std::string rateText(const MonitoredController& controller) const {
        return std::to_string(controller.reports.perSecond(now_)) + (isWide() ? " reports/s" : "/s");
    }
    bool isWide() const { return canvas_.columns() >= 60; }

    void drawTitle() {
        canvas_.put(row_, 0, std::string(static_cast<std::size_t>(canvas_.columns()), ' '), titleStyle);
        const MonitoredController* const controller = model_.selectedController();
        if (controller == nullptr) {
            canvas_.put(row_++, 1, "qzgc monitor", titleStyle);
            return;
        }
        const ControllerIdentity& identity = controller->identity;
        const std::string rate = rateText(*controller) + ' ';
        const std::string details =
            isWide() ? (identity.bus.empty() ? "" : ", " + identity.bus) + ", " + identity.instanceID : "";
        canvas_.put(row_, 1, identity.name + details, titleStyle, canvas_.columns() - widthOf(rate) - 2);
        canvas_.putRight(row_++, canvas_.columns(), rate, titleStyle);
    }

    /// The controllers, when there are several, and those that cannot be used; as many rows as leave most for controls.
    void drawList() {
        const int space = std::max(2, canvas_.rows() / 4);
        const int listed = model_.controllers.size() > 1 ? static_cast<int>(model_.controllers.size()) : 0;
        const int unusable = static_cast<int>(model_.unusable.size());
        const int rowsForUnusable = std::min(unusable, std::max(space - listed, listed > 0 ? space / 2 : space));
        const int rowsForListed = std::min(listed, space - rowsForUnusable);
        const int first = std::clamp(static_cast<int>(model_.selected) - rowsForListed / 2, 0, listed - rowsForListed);
        for (int i = first; i < first + rowsForListed; ++i) {
            drawListed(static_cast<std::size_t>(i));
        }
        for (int i = 0; i < rowsForUnusable; ++i) {
            const UnusableController& each = model_.unusable[static_cast<std::size_t>(i)];
            const std::string more = i + 1 == rowsForUnusable && unusable > rowsForUnusable
                                         ? " (and " + std::to_string(unusable - rowsForUnusable) + " more)"
                                         : "";
            canvas_.put(row_++, 1, "! " + each.identity.name + more + ": " + each.reason, warningStyle);
        }
        if (rowsForListed + rowsForUnusable > 0 && row_ < end_) {
            canvas_.line(row_++, 0, canvas_.columns(), dimStyle);
        }
    }

    void drawListed(std::size_t index) {
        const MonitoredController& each = *model_.controllers[index];
        const bool isSelected = index == model_.selected;
        const std::string rate = rateText(each) + ' ';
        canvas_.put(row_, 0, isSelected ? ">" : " ", {.bold = true});
        canvas_.put(row_, 2, std::to_string(each.number) + "  " + each.identity.name, {.bold = isSelected},
                    canvas_.columns() - widthOf(rate) - 3);
        canvas_.putRight(row_++, canvas_.columns(), rate, dimStyle);
    }

    MonitorWindow drawControls(const MonitoredController& controller) {
        ControlsPainter painter(controller, canvas_.columns(), canvas_.unicode(), now_);
        const Canvas page = painter.draw(canvas_.rows() >= 16);
        const MonitorWindow window{.rows = painter.rows(), .visible = std::max(end_ - row_, 0)};
        const int top = std::clamp(model_.scrolled, 0, window.mostScrolled());
        for (int row = 0; row < std::min(window.visible, window.rows - top); ++row) {
            canvas_.copyRow(row_ + row, page, top + row);
        }
        return window;
    }

    void drawFooter(const MonitorWindow& window) {
        const int row = canvas_.rows() - 1;
        std::string keys = " q quit  ? keys";
        keys += model_.controllers.size() > 1 ? "  Tab next" : "";
        keys += window.mostScrolled() > 0 ? (canvas_.unicode() ? "  ↑↓ scroll" : "  arrows scroll") : "";
        int column = canvas_.put(row, 0, keys, dimStyle);
        std::string state;
        if (window.mostScrolled() > 0) {
            const int top = std::clamp(model_.scrolled, 0, window.mostScrolled());
            state = std::to_string(top + 1) + '-' + std::to_string(top + window.visible) + " of " +
                    std::to_string(window.rows) + ' ';
        } else if (model_.sourceHasEnded) {
            state = "recording over ";
        }
        canvas_.putRight(row, std::max(canvas_.columns(), column + 1 + widthOf(state)), state, dimStyle);
    }

    Canvas& canvas_;
    const MonitorModel& model_;
    Moment now_;
    int row_ = 0;
    int end_; ///< the row after those of the page
};

} // namespace

MonitorWindow drawMonitor(Canvas& canvas, const MonitorModel& model, Moment now) {
    return MonitorPainter(canvas, model, now).draw();
}

} // namespace qz::tools
