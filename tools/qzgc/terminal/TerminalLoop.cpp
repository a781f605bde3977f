// SPDX-License-Identifier: MIT
#include "tools/qzgc/terminal/TerminalLoop.h"

#include <unistd.h>

namespace qz::tools {

namespace {

constexpr std::chrono::milliseconds frame{33};

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
    if (!isDue_) {
        isDue_ = true;
        loop_.after(frame, [this] {
            isDue_ = false;
            drawFrame();
        });
    }
}

void TerminalLoop::stayAwake(bool awake) {
    staysAwake_ = awake;
    if (awake) {
        wake();
    }
}

EventLoop::End TerminalLoop::run() {
    drawFrame();
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
    if (isEmpty && screen_.isGone()) {
        loop_.hangUp();
    }
    wake();
}

void TerminalLoop::drawFrame() {
    Canvas canvas = screen_.canvas();
    draw_(canvas);
    screen_.show(canvas);
    if (staysAwake_) {
        wake();
    }
}

} // namespace qz::tools
