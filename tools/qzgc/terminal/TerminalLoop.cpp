// SPDX-License-Identifier: MIT
#include "tools/qzgc/terminal/TerminalLoop.h"

#include <algorithm>
#include <unistd.h>

using std::chrono::milliseconds;

namespace qz::tools {

namespace {

/// Thirty frames a second at the most.
constexpr milliseconds betweenFrames(33);
constexpr milliseconds betweenSlowFrames(250);

} // namespace

TerminalLoop::TerminalLoop(Source& source, const std::string& remedy, Draw draw, Press press)
    : draw_(std::move(draw)), press_(std::move(press)), loop_(source), screen_(remedy) {
    loop_.staysAfterSource();
    loop_.onReadable(STDIN_FILENO, [this] { readKeys(); });
    loop_.onResize([this] {
        screen_.resize();
        wake();
    });
}

void TerminalLoop::wake() {
    drawAfter(betweenFrames);
}

void TerminalLoop::wakeSlowly() {
    drawAfter(betweenSlowFrames);
}

void TerminalLoop::drawAfter(milliseconds sinceLatest) {
    const auto at = latestFrame_ + sinceLatest;
    if (nextFrame_ && *nextFrame_ <= at) {
        return;
    }
    nextFrame_ = at;
    const auto delay = std::chrono::ceil<milliseconds>(at - Clock::now());
    loop_.after(std::max(delay, milliseconds(0)), [this] {
        if (nextFrame_ && *nextFrame_ <= Clock::now()) {
            drawFrame();
        }
    });
}

EventLoop::End TerminalLoop::run() {
    wake();
    return loop_.run();
}

void TerminalLoop::stop() {
    isStopped_ = true;
    loop_.stop();
}

void TerminalLoop::readKeys() {
    bool isEmpty = true;
    while (!isStopped_) {
        const auto key = screen_.takeKey();
        if (!key) {
            break;
        }
        isEmpty = false;
        press_(*key);
    }
    if (!isEmpty) {
        wake();
    } else if (screen_.isGone()) {
        loop_.hangUp();
    }
}

void TerminalLoop::drawFrame() {
    nextFrame_.reset();
    latestFrame_ = Clock::now();
    Canvas canvas = screen_.canvas();
    draw_(canvas);
    screen_.show(canvas);
}

} // namespace qz::tools
