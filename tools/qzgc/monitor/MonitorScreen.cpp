// SPDX-License-Identifier: MIT
#include "tools/qzgc/monitor/MonitorScreen.h"

#include "tools/qzgc/monitor/MonitorListener.h"
#include "tools/qzgc/monitor/MonitorView.h"
#include "tools/qzgc/session/EventLoop.h"
#include "tools/qzgc/terminal/KeyHelp.h"
#include "tools/qzgc/terminal/Screen.h"

#include <algorithm>
#include <unistd.h>

using std::chrono::milliseconds;

namespace qz::tools {

namespace {

/// Thirty pictures a second at the most.
constexpr milliseconds betweenPictures(33);
/// How soon a change of rates alone is shown, and what becomes of meters when nothing happens any more.
constexpr milliseconds betweenRates(250);

class MonitorScreen {
public:
    explicit MonitorScreen(const MonitorOptions& options)
        : isFast_(options.session.fast), session_(options.session), loop_(session_.source()),
          listener_(std::make_shared<MonitorListener>(
              options.device, [this] { return now(); }, [this](bool soon) { changed(soon); })) {
        loop_.staysAfterSource();
        loop_.endAfter(options.session);
        loop_.onReadable(STDIN_FILENO, [this] { takeKeys(); });
        loop_.onResize([this] {
            screen_.resize();
            changed(true);
        });
    }

    void run() {
        listener_->follow(session_.manager());
        session_.start(listener_);
        changed(true);
        loop_.run();
    }

private:
    /// A recording that is played without waiting has a time of its own, so that its last picture is always the same.
    Moment now() {
        return isFast_ ? session_.source().time() : std::chrono::duration_cast<Moment>(Clock::now() - begin_);
    }

    void changed(bool soon) {
        const auto at = std::max(latestPicture_ + (soon ? betweenPictures : betweenRates), Clock::time_point{});
        if (nextPicture_ && *nextPicture_ <= at) {
            return;
        }
        nextPicture_ = at;
        const auto delay = std::chrono::ceil<milliseconds>(at - Clock::now());
        loop_.after(std::max(delay, milliseconds(0)), [this] {
            if (nextPicture_ && *nextPicture_ <= Clock::now()) {
                draw();
            }
        });
    }

    void draw() {
        nextPicture_.reset();
        latestPicture_ = Clock::now();
        listener_->refresh();
        MonitorModel& model = listener_->model();
        model.sourceHasEnded = session_.source().hasEnded();
        Canvas canvas = screen_.canvas();
        if (help_.isShown()) {
            help_.draw(canvas);
        } else {
            window_ = drawMonitor(canvas, model, now());
        }
        screen_.show(canvas);
        if (!isFast_ && model.changesByItself(now())) {
            changed(false);
        }
    }

    void takeKeys() {
        bool any = false;
        while (const auto key = screen_.takeKey()) {
            if (!help_.take(*key)) {
                take(*key);
            }
            any = true;
        }
        if (any) {
            changed(true);
        } else if (screen_.isGone()) {
            loop_.hangUp();
        }
    }

    void take(int key) {
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
    EventLoop loop_; // before the screen, which leaves the signals alone that are taken already
    Screen screen_{"use --lines"};
    std::shared_ptr<MonitorListener> listener_;
    KeyHelp help_{{{"q, Esc", "end"},
                   {"Tab, Right", "the next controller"},
                   {"Shift-Tab, Left", "the one before"},
                   {"Up, Down, k, j", "scroll"},
                   {"Page Up, Page Down", "scroll by a page"},
                   {"Home, End", "scroll to the ends"},
                   {"Ctrl-Z", "stop, until fg"}}};
    MonitorWindow window_;
    Clock::time_point latestPicture_;
    std::optional<Clock::time_point> nextPicture_;
};

} // namespace

ExitStatus watchControllers(const MonitorOptions& options) {
    MonitorScreen(options).run();
    return exitSuccess;
}

} // namespace qz::tools
