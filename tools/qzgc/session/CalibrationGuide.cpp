// SPDX-License-Identifier: MIT
#include "tools/qzgc/session/CalibrationGuide.h"

#include "tools/qzgc/terminal/Screen.h"

#include <algorithm>
#include <cstdlib>

namespace qz::tools {

namespace {

constexpr std::int64_t stillPart = 50; ///< of a range: what moves less is still
constexpr std::int64_t awayPart = 20;  ///< what moves more than this afterwards is in use again

} // namespace

CalibrationGuide::CalibrationGuide(Look look) : look_(std::move(look)), rows_(look_()) {}

void CalibrationGuide::press(int key, Time now) {
    if (hasEnded_) {
        return;
    }
    said_.clear();
    switch (key) {
    case keyUp:
    case keyPageUp:
        scrolled_ = std::max(scrolled_ - (key == keyUp ? 1 : 10), 0);
        return;
    case keyDown:
    case keyPageDown:
        scrolled_ += key == keyDown ? 1 : 10;
        return;
    case 'q':
    case keyEscape:
        cancel();
        return;
    case keyEnter:
    case 'y':
    case 'm':
        if (!isShown_) {
            return; // it was meant for the step before
        }
        break;
    default:
        break;
    }
    switch (step_) {
    case Step::Moving:
        if (key == keyEnter && isAnyMoved(rows_)) {
            go(Step::LettingGo, now);
        } else if (key == keyEnter) {
            said_ = "Nothing has been moved yet. ";
        }
        break;
    case Step::LettingGo:
        if (key == keyEnter) {
            waits_ = false;
            go(Step::Confirming, now);
        }
        break;
    case Step::Confirming:
        if (key == 'n') {
            cancel();
        } else if (key == 'm') {
            waits_ = true;
            go(Step::Moving, now);
        } else if (key == 'y' || key == keyEnter) {
            isConfirmed_ = true;
            hasEnded_ = true;
        }
        break;
    }
}

void CalibrationGuide::cancel() {
    hasEnded_ = true;
}

void CalibrationGuide::go(Step step, Time now) {
    isShown_ = isShown_ && step_ == step;
    step_ = step;
    scrolled_ = 0;
    stillSince_ = now;
    stillAt_.clear();
    for (const CalibrationRow& each : rows_) {
        stillAt_.push_back(each.value);
    }
}

bool CalibrationGuide::isStillWithin(std::int64_t part) const {
    for (std::size_t i = 0; i < rows_.size(); ++i) {
        const CalibrationRow& row = rows_[i];
        const std::int64_t way = row.value && stillAt_[i] ? std::abs(*row.value - *stillAt_[i]) : 0;
        if (part * way > row.logicalMaximum - row.logicalMinimum || row.value.has_value() != stillAt_[i].has_value()) {
            return false;
        }
    }
    return true;
}

void CalibrationGuide::tick(Time now) {
    rows_ = look_();
    if (step_ == Step::LettingGo) {
        if (!isStillWithin(stillPart)) {
            go(Step::LettingGo, now);
        } else if (now - stillSince_ >= stillness) {
            go(Step::Confirming, now);
        }
    } else if (step_ == Step::Confirming && waits_ && !isStillWithin(awayPart)) {
        go(Step::LettingGo, now);
    }
}

void CalibrationGuide::keepScrolledBelow(int end) noexcept {
    scrolled_ = std::clamp(scrolled_, 0, std::max(end, 0));
}

std::string CalibrationGuide::instruction() const {
    switch (step_) {
    case Step::Moving:
        return said_ + "Move every axis, slider, dial and wheel to both of its ends, there and back again.";
    case Step::LettingGo:
        return "Let go of everything, and wait until nothing moves any more.";
    case Step::Confirming:
        break;
    }
    const std::string kept = labelsOf(rows_, false);
    const std::string advice = adviceOn(rows_);
    return "This is to be saved." + (advice.empty() ? "" : ' ' + advice) +
           (kept.empty() ? "" : " Not moved, and so as before: " + kept + '.');
}

} // namespace qz::tools
