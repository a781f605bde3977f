// SPDX-License-Identifier: MIT
#include "tools/qzgc/session/BindingDetector.h"

#include <algorithm>
#include <cstdlib>

namespace qz::tools {

namespace {

using Control = BindingDetector::Control;
using Direction = BindingDetector::Direction;
using Kind = BindingDetector::Kind;
using Time = BindingDetector::Time;

/// A press counts on for this long after the release, so that one between two looks is not missed.
constexpr Time pressCounts{150'000};
/// Steps that are farther apart do not belong together.
constexpr Time stepsPause{500'000};
constexpr int stepsThatAreWhole = 4;
constexpr int stepsThatAreClear = 3;
/// What is this many times farther from its rest than all others is ahead.
constexpr double clearlyAhead = 1.5;

std::int64_t travel(const Control& control) {
    return std::max<std::int64_t>(control.maximum - control.minimum, 1);
}

bool isPressedAt(const Control& control, std::int64_t raw) {
    if (control.kind == Kind::Hat) {
        return raw >= control.minimum && raw <= control.maximum;
    }
    return 2 * (raw - control.minimum) >= travel(control); // buttons that tell the pressure included
}

} // namespace

BindingDetector::BindingDetector(const std::vector<Control>& controls, Time begin) : begin_(begin) {
    for (const Control& each : controls) {
        Tracked tracked{.control = each, .since = begin, .last = begin};
        if (each.known && each.kind != Kind::Turning) {
            tracked.value = each.known;
            tracked.low = tracked.high = *each.known;
            tracked.isPressed = isPressedAt(each, *each.known);
        }
        controls_.push_back(tracked);
    }
}

void BindingDetector::see(std::int64_t cookie, std::int64_t raw, Time now) {
    settle(now);
    for (Tracked& each : controls_) {
        if (each.control.cookie != cookie) {
            continue;
        }
        switch (each.control.kind) {
        case Kind::Button:
        case Kind::Hat:
            seeSwitch(each, isPressedAt(each.control, raw), now);
            break;
        case Kind::Turning:
            seeSteps(each, raw, now);
            break;
        case Kind::Moving:
            seePosition(each, raw, now);
            break;
        }
        each.value = raw;
        each.last = now;
    }
}

void BindingDetector::seeSwitch(Tracked& tracked, bool isPressed, Time now) {
    if (isTakingBaseline(now)) {
        // The first report tells of controls that nobody has touched, too.
        tracked.changes += tracked.value && isPressed != tracked.isPressed ? 1 : 0;
    } else if (isPressed && !tracked.isPressed) {
        tracked.pressed = now; // what was held at the beginning has to be let go of first
    }
    tracked.isPressed = isPressed;
}

void BindingDetector::seePosition(Tracked& tracked, std::int64_t raw, Time now) {
    if (!tracked.value) {
        tracked.low = tracked.high = raw;
        tracked.since = now;
        // One that has been silent so far rests where it is first seen.
        if (!isTakingBaseline(now)) {
            tracked.rest = raw;
        }
        return;
    }
    const std::int64_t low = std::min(tracked.low, raw);
    const std::int64_t high = std::max(tracked.high, raw);
    // Before the baseline is there, what moves far is on its way; after it, what moves at all is.
    const std::int64_t still =
        tracked.rest ? std::max(travel(tracked.control) / 32, tracked.noise) : travel(tracked.control) / 8;
    const bool isStill = high - low <= still;
    tracked.low = isStill ? low : raw;
    tracked.high = isStill ? high : raw;
    tracked.since = isStill ? tracked.since : now;
}

void BindingDetector::seeSteps(Tracked& tracked, std::int64_t raw, Time now) {
    if (isTakingBaseline(now)) {
        return;
    }
    const bool continues = now - tracked.last <= stepsPause && (tracked.steps > 0) == (raw > 0);
    tracked.steps = (continues ? tracked.steps : 0) + raw;
}

void BindingDetector::settle(Time now) {
    for (Tracked& each : controls_) {
        if (each.control.kind == Kind::Moving && each.value && now - each.since >= baseline) {
            settle(each, now);
        }
    }
}

void BindingDetector::settle(Tracked& tracked, Time now) {
    // One that is kept where the user has moved it is not at rest there; one that drifts is.
    if (tracked.rest && std::abs(*tracked.value - *tracked.rest) > travel(tracked.control) / 8) {
        return;
    }
    tracked.noise = std::max(tracked.noise, tracked.high - tracked.low);
    tracked.rest = tracked.low + (tracked.high - tracked.low) / 2;
    tracked.low = tracked.high = *tracked.value;
    tracked.since = now;
}

double BindingDetector::excursion(const Tracked& tracked, Time now) {
    switch (tracked.control.kind) {
    case Kind::Button:
    case Kind::Hat: {
        const bool counts = tracked.pressed && (tracked.isPressed || now - *tracked.pressed <= pressCounts);
        return counts && tracked.changes < 2 ? 1.0 : 0.0; // one that flickers by itself has no say
    }
    case Kind::Turning:
        return now - tracked.last > stepsPause
                   ? 0.0
                   : std::min(1.0, static_cast<double>(std::abs(tracked.steps)) / stepsThatAreWhole);
    default:
        break;
    }
    if (!tracked.rest || !tracked.value) {
        return 0.0;
    }
    const std::int64_t distance = std::abs(*tracked.value - *tracked.rest);
    return distance <= tracked.noise
               ? 0.0
               : std::min(1.0, static_cast<double>(distance) / static_cast<double>(travel(tracked.control)));
}

bool BindingDetector::isClear(const Tracked& tracked, Time now) {
    const double far = excursion(tracked, now);
    if (tracked.control.kind == Kind::Turning) {
        return far * stepsThatAreWhole >= stepsThatAreClear;
    }
    if (tracked.control.kind != Kind::Moving || far == 0.0) {
        return far > 0.0;
    }
    const std::int64_t distance = std::abs(*tracked.value - *tracked.rest);
    const std::int64_t end = *tracked.value > *tracked.rest ? tracked.control.maximum : tracked.control.minimum;
    return 4 * distance >= travel(tracked.control) && 2 * distance >= std::abs(end - *tracked.rest) &&
           distance > 3 * tracked.noise;
}

BindingDetector::Found BindingDetector::describe(const Tracked& tracked, Time now) {
    const std::int64_t to = tracked.value.value_or(0);
    const bool hasPosition = tracked.control.kind == Kind::Moving;
    const std::int64_t from = hasPosition ? tracked.rest.value_or(to) : 0;
    const bool rises = hasPosition ? to > from : tracked.steps > 0;
    const bool hasDirection = hasPosition || tracked.control.kind == Kind::Turning;
    const Direction direction = !hasDirection ? Direction::None : rises ? Direction::ToMaximum : Direction::ToMinimum;
    return {.cookie = tracked.control.cookie,
            .direction = direction,
            .from = from,
            .to = to,
            .excursion = excursion(tracked, now)};
}

const BindingDetector::Tracked* BindingDetector::farthest(bool fits, Time now) const {
    const Tracked* best = nullptr;
    for (const Tracked& each : controls_) {
        const double far = excursion(each, now);
        if (each.control.fits == fits && far > 0.0 && (best == nullptr || far > excursion(*best, now))) {
            best = &each;
        }
    }
    return best;
}

std::optional<BindingDetector::Found> BindingDetector::found(Time now) {
    settle(now);
    const Tracked* const best = isTakingBaseline(now) ? nullptr : farthest(true, now);
    if (best == nullptr || !isClear(*best, now)) {
        return std::nullopt;
    }
    const bool isAhead = std::ranges::all_of(controls_, [&](const Tracked& each) {
        return &each == best || !each.control.fits || excursion(*best, now) >= clearlyAhead * excursion(each, now);
    });
    return isAhead ? std::optional(describe(*best, now)) : std::nullopt;
}

std::optional<BindingDetector::Found> BindingDetector::leader(Time now) {
    settle(now);
    const Tracked* const best = isTakingBaseline(now) ? nullptr : farthest(true, now);
    return best != nullptr ? std::optional(describe(*best, now)) : std::nullopt;
}

std::vector<std::int64_t> BindingDetector::rivals(Time now) {
    settle(now);
    std::vector<std::int64_t> cookies;
    const Tracked* const best = isTakingBaseline(now) ? nullptr : farthest(true, now);
    if (best == nullptr || !isClear(*best, now)) {
        return cookies;
    }
    for (const Tracked& each : controls_) {
        if (each.control.fits && excursion(*best, now) < clearlyAhead * excursion(each, now)) {
            cookies.push_back(each.control.cookie);
        }
    }
    return cookies.size() > 1 ? cookies : std::vector<std::int64_t>{};
}

std::optional<std::int64_t> BindingDetector::misfit(Time now) {
    settle(now);
    const Tracked* const best = isTakingBaseline(now) ? nullptr : farthest(false, now);
    return best != nullptr && isClear(*best, now) && farthest(true, now) == nullptr
               ? std::optional(best->control.cookie)
               : std::nullopt;
}

} // namespace qz::tools
