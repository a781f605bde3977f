// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/session/EventLoop.h"
#include "tools/qzgc/terminal/Screen.h"

namespace qz::tools {

/// A full-screen view at work: keys, sizes, and frames that are drawn at most 30 times a second and only when something
/// has happened. The terminal has it from construction to destruction.
class TerminalLoop {
public:
    using Draw = std::function<void(Canvas&)>;
    using Press = std::function<void(int key)>;

    /// `remedy` as for Screen. `draw` may do what is due before it draws. What the functions throw passes through
    /// `run`.
    TerminalLoop(Source& source, const std::string& remedy, Draw draw, Press press);

    /// Lets a frame be drawn soon. Called while one is drawn it keeps the view awake.
    void wake();
    /// The same a few times a second, for what need not be seen at once.
    void wakeSlowly();

    /// As for EventLoop.
    void endAfter(const SessionOptions& options) { loop_.endAfter(options); }

    EventLoop::End run();
    /// Ends `run`; what has been typed after the key that did so is left unread.
    void stop();

private:
    void readKeys();
    void drawAfter(std::chrono::milliseconds sinceLatest);
    void drawFrame();

    Draw draw_;
    Press press_;
    EventLoop loop_;
    Screen screen_;
    Clock::time_point latestFrame_;
    std::optional<Clock::time_point> nextFrame_; ///< nothing: none is to be drawn
    bool isStopped_ = false;
};

} // namespace qz::tools
