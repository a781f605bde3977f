// SPDX-License-Identifier: MIT
#include "tools/qzgc/session/Binding.h"

#include "tools/qzgc/session/Controllers.h"

#include <algorithm>

namespace qz::tools {

namespace {

using Direction = BindingDetector::Direction;
using Kind = BindingDetector::Kind;

/// Dials and wheels that send steps have a range around 0; the platform does not tell them apart in another way.
bool isTurning(const QZHIDElement& element) {
    constexpr std::int64_t dial = 0x37; // HID Usage Tables 1.5, section 4
    constexpr std::int64_t wheel = 0x38;
    return (element.usage() == dial || element.usage() == wheel) && element.theoreticalMin() < 0 &&
           element.theoreticalMax() > 0;
}

/// Nothing for what cannot be detected.
std::optional<Kind> detectedAs(const QZHIDElement& element) {
    switch (kindOf(element)) {
    case ControlKind::Moving:
        return isTurning(element) ? Kind::Turning : Kind::Moving;
    case ControlKind::Hat:
        return Kind::Hat;
    case ControlKind::Other:
        return std::nullopt;
    default:
        return Kind::Button;
    }
}

/// The calibrated travel as far as the controller declares it: what is stored may have any ends, and what lies beyond
/// can never be reached.
std::pair<std::int64_t, std::int64_t> travelOf(const QZHIDElement& element) {
    const std::int64_t minimum = std::max(element.observedMin(), element.theoreticalMin());
    const std::int64_t maximum = std::min(element.observedMax(), element.theoreticalMax());
    return minimum < maximum ? std::pair(minimum, maximum)
                             : std::pair(element.theoreticalMin(), element.theoreticalMax());
}

std::vector<BindingDetector::Control> detectable(const Mapping& mapping, const std::string& action) {
    std::vector<BindingDetector::Control> controls;
    for (const auto& each : controlsOf(mapping.device())) {
        if (const auto kind = detectedAs(*each)) {
            const auto [minimum, maximum] =
                *kind == Kind::Moving ? travelOf(*each) : std::pair(each->theoreticalMin(), each->theoreticalMax());
            controls.push_back({.cookie = each->cookie(),
                                .kind = *kind,
                                .minimum = minimum,
                                .maximum = maximum,
                                .fits = mapping.fits(*each, action),
                                .known = lastKnownValue(mapping.device(), *each)});
        }
    }
    return controls;
}

} // namespace

Binding::Binding(Mapping& mapping, std::string action, Time now)
    : mapping_(mapping), action_(std::move(action)), detector_(detectable(mapping_, action_), now) {}

void Binding::press(int key) {
    if (step_ == Step::Conflict) {
        answerConflict(key);
    } else if (step_ == Step::Reversing && (key == 'y' || key == 'n')) {
        bind(key == 'y');
    }
}

void Binding::see(const QZHIDElement& element, std::int64_t raw, Time now) {
    if (step_ == Step::Listening) {
        detector_.see(element.cookie(), raw, now);
    }
}

void Binding::tick(Time now) {
    const auto found = step_ == Step::Listening ? detector_.found(now) : std::nullopt;
    if (!found) {
        return;
    }
    found_ = *found;
    if (otherAction() || !otherControls().empty()) {
        step_ = Step::Conflict;
    } else {
        considerDirection();
    }
}

std::vector<MappedControl> Binding::otherControls() const {
    std::vector<MappedControl> others = mapping_.controlsWith(action_);
    std::erase_if(others, [&](const MappedControl& each) { return each.element->cookie() == found_.cookie; });
    return others;
}

std::optional<std::string> Binding::otherAction() const {
    const auto control = element();
    const auto current = control ? mapping_.action(*control) : std::nullopt;
    return current != action_ ? current : std::nullopt;
}

void Binding::answerConflict(int key) {
    if (key == 'r' || (key == 'k' && canKeepBoth())) {
        replaces_ = key == 'r';
        considerDirection();
    }
}

void Binding::considerDirection() {
    const auto control = element();
    if (control == nullptr || found_.direction == Direction::None || wantsReversal() == mapping_.isReversed(*control)) {
        bind(false);
    } else if (!mapping_.isReversible(*control)) {
        bind(false);
        outcome_ += " It went the other way, but no direction is kept for this control.";
    } else {
        step_ = Step::Reversing;
    }
}

void Binding::bind(bool turnsRound) {
    step_ = Step::Ended;
    const auto control = element();
    if (control == nullptr) {
        outcome_ = "The controller has changed: nothing was bound.";
        return;
    }
    const bool hadIt = mapping_.action(*control) == action_;
    if (hadIt && !turnsRound && !replaces_) {
        outcome_ = mapping_.label(*control) + " triggers " + quoted(action_) + " already" + wayText() + '.';
        return;
    }
    if (replaces_) {
        for (const MappedControl& each : otherControls()) {
            mapping_.clear(*each.element);
        }
    }
    mapping_.set(*control, action_);
    if (turnsRound) {
        mapping_.setReversed(*control, wantsReversal());
    }
    hasChanged_ = true;
    outcome_ = mapping_.label(*control) + " triggers " + quoted(action_) + " now" +
               (turnsRound ? wantsReversal() ? ", reversed" : ", no longer reversed" : "") + wayText() + '.';
}

std::string Binding::wayText() const {
    return found_.direction == Direction::None ? ""
           : wantsReversal()                   ? " (towards its minimum)"
                                               : " (towards its maximum)";
}

std::string Binding::message(Time now) {
    switch (step_) {
    case Step::Listening:
        return listeningText(now);
    case Step::Conflict:
        return conflictQuestion();
    case Step::Reversing:
        return directionQuestion();
    case Step::Ended:
        return outcome_;
    }
    return "";
}

std::string Binding::listeningText(Time now) {
    if (detector_.isTakingBaseline(now)) {
        return "Let go of all controls ...";
    }
    std::string rivals;
    for (const std::int64_t cookie : detector_.rivals(now)) {
        const auto element = mapping_.device().elementWithCookie(cookie);
        rivals += (rivals.empty() ? "" : " and ") + mapping_.label(*element);
    }
    if (!rivals.empty()) {
        return rivals + " are moved at the same time: move one of them alone.";
    }
    if (const auto cookie = detector_.misfit(now)) {
        return mapping_.label(*mapping_.device().elementWithCookie(*cookie)) + " cannot trigger " + quoted(action_) +
               '.';
    }
    if (mapping_.isXAction(action_)) {
        return "Move the control for " + quoted(action_) + " to the right.";
    }
    return (mapping_.isYAction(action_) ? "Move the control for " + quoted(action_) + " up or forward."
                                        : "Press the button for " + quoted(action_) + '.');
}

std::string Binding::conflictQuestion() const {
    const std::string label = mapping_.label(*element());
    const auto others = otherControls();
    std::string text;
    if (const auto other = otherAction()) {
        text += label + " triggers " + quoted(*other) + " so far. ";
    }
    if (!others.empty()) {
        text += quoted(action_) + " is on " + labelsOf(others) + " so far. ";
    }
    return text + "Let " + label + " trigger " + quoted(action_) + "?";
}

std::string Binding::directionQuestion() const {
    const std::string way = wantsReversal() ? "minimum" : "maximum";
    return mapping_.label(*element()) + " went towards its " + way + ", from " + std::to_string(found_.from) + " to " +
           std::to_string(found_.to) + ", so " + quoted(action_) + " falls. " +
           (wantsReversal() ? "Reverse it?" : "Take its reversal back?");
}

std::optional<BindingDetector::Found> Binding::leader(Time now) {
    return step_ == Step::Listening ? detector_.leader(now) : std::nullopt;
}

} // namespace qz::tools
