// SPDX-License-Identifier: MIT
#include "tools/qzgc/monitor/MonitorScreen.h"

#include "tools/qzgc/monitor/MonitorListener.h"
#include "tools/qzgc/monitor/MonitorView.h"
#include "tools/qzgc/terminal/KeyHelp.h"
#include "tools/qzgc/terminal/TerminalLoop.h"

#include <algorithm>

namespace qz::tools {

namespace {

class MonitorScreen {
public:
    explicit MonitorScreen(const MonitorOptions& options)
        : isFast_(options.session.fast), session_(options.session),
          loop_(
              session_.source(), "use --lines", [this](Canvas& canvas) { draw(canvas); },
              [this](int key) { take(key); }),
          listener_(std::make_shared<MonitorListener>(
              options.device, [this] { return now(); },
              [this](bool soon) { soon ? loop_.wake() : loop_.wakeSlowly(); })) {
        loop_.endAfter(options.session);
        listener_->model().listing = commandText("list", options.session);
    }

    void run() {
        listener_->follow(session_.manager());
        session_.start(listener_);
        loop_.run();
    }

private:
    /// A recording that is played without waiting has a time of its own, so that its last picture is always the same.
    Moment now() {
        return isFast_ ? session_.source().time() : std::chrono::duration_cast<Moment>(Clock::now() - begin_);
    }

    void draw(Canvas& canvas) {
        listener_->refresh();
        MonitorModel& model = listener_->model();
        model.sourceHasEnded = session_.source().hasEnded();
        if (help_.isShown()) {
            help_.draw(canvas);
        } else {
            window_ = drawMonitor(canvas, model, now());
        }
        if (!isFast_ && model.changesByItself(now())) {
            loop_.wakeSlowly();
        }
    }

    void take(int key) {
        if (help_.take(key)) {
            return;
        }
        MonitorModel& model = listener_->model();
        switch (key) {
        case 'q':
        case 'Q':
        case keyEscape:
            loop_.stop();
            return;
        case '\t':
        case keyRight:
            model.select(1);
            return;
        case keyBackTab:
        case keyLeft:
            model.select(-1);
            return;
        default:
            scroll(model, key);
        }
    }

    void scroll(MonitorModel& model, int key) const {
        const int page = std::max(window_.visible - 1, 1);
        const int step = key == keyDown || key == 'j' ? 1
                         : key == keyUp || key == 'k' ? -1
                         : key == keyPageDown         ? page
                         : key == keyPageUp           ? -page
                         : key == keyEnd              ? window_.rows
                         : key == keyHome             ? -window_.rows
                                                      : 0;
        model.scrolled = std::clamp(model.scrolled + step, 0, window_.mostScrolled());
    }

    bool isFast_;
    Clock::time_point begin_ = Clock::now();
    Session session_;
    TerminalLoop loop_;
    std::shared_ptr<MonitorListener> listener_;
    KeyHelp help_{{{"q, Esc", "end"},
                   {"Tab, Right", "the next controller"},
                   {"Shift-Tab, Left", "the one before"},
                   {"Up, Down, k, j", "scroll"},
                   {"Page Up, Page Down", "scroll by a page"},
                   {"Home, End", "scroll to the ends"},
                   {"Ctrl-Z", "stop, until fg"}}};
    MonitorWindow window_;
};

} // namespace

ExitStatus watchControllers(const MonitorOptions& options) {
    MonitorScreen(options).run();
    return exitSuccess;
}

} // namespace qz::tools
