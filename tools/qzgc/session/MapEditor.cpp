// SPDX-License-Identifier: MIT
#include "tools/qzgc/session/MapEditor.h"

#include "tools/qzgc/session/Controllers.h"
#include "tools/qzgc/terminal/Screen.h"

#include <algorithm>

namespace qz::tools {

namespace {

using Direction = BindingDetector::Direction;
using Kind = BindingDetector::Kind;

std::string quoted(const std::string& name) {
    return '"' + name + '"';
}

/// Dials and wheels that send steps have a range around 0; the platform does not tell them apart in another way.
bool isTurning(const QZHIDElement& element) {
    constexpr std::int64_t dial = 0x37; // HID Usage Tables 1.5, section 4
    constexpr std::int64_t wheel = 0x38;
    return (element.usage() == dial || element.usage() == wheel) && element.theoreticalMin() < 0 &&
           element.theoreticalMax() > 0;
}

std::optional<Kind> kindOf(const QZHIDElement& element) {
    if (element.isMovingControl()) {
        return isTurning(element) ? Kind::Turning : Kind::Moving;
    }
    if (element.isPushButton() || element.isConsumerElement() || element.isPartOfDirectionPad()) {
        return Kind::Button;
    }
    return isHat(element) ? std::optional(Kind::Hat) : std::nullopt;
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
        if (const auto kind = kindOf(*each)) {
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

MapEditor::MapEditor(Mapping& mapping, Save save) : mapping_(mapping), save_(std::move(save)) {
    refreshActions();
}

void MapEditor::refreshActions() {
    actions_ = mapping_.actions();
    for (const MappedControl& each : mapping_.controls()) {
        if (each.action && std::ranges::find(actions_, *each.action) == actions_.end()) {
            actions_.push_back(*each.action);
        }
    }
    selected_ = std::min(selected_, actions_.empty() ? 0 : actions_.size() - 1);
}

void MapEditor::press(int key, Time now) {
    if (hasEnded_) {
        return;
    }
    if (key == keyEscape && mode_ != Mode::Choosing) {
        cancel();
        return;
    }
    switch (mode_) {
    case Mode::Choosing:
        choose(key, now);
        break;
    case Mode::Listening:
        break;
    case Mode::Conflict:
        answerConflict(key);
        break;
    case Mode::Reversing:
        if (key == 'y' || key == 'n') {
            bind(key == 'y');
        }
        break;
    case Mode::Resetting:
        if (key == 'y') {
            mapping_.reset();
            isChanged_ = true;
            refreshActions();
            said_ = "This is the default mapping again.";
        }
        mode_ = key == 'y' || key == 'n' ? Mode::Choosing : mode_;
        break;
    case Mode::Quitting:
        if (key == 'y') {
            save();
        }
        hasEnded_ = key == 'n' || (key == 'y' && !isChanged_);
        mode_ = key == 'y' && isChanged_ ? Mode::Choosing : mode_;
        break;
    }
}

void MapEditor::choose(int key, Time now) {
    constexpr std::ptrdiff_t page = 10;
    if (key == 'q' || key == keyEscape) {
        quit();
        return;
    }
    if (key == 's') {
        save();
        return;
    }
    if (key == 'R') {
        said_.clear();
        mode_ = Mode::Resetting;
        return;
    }
    if (actions_.empty()) {
        return;
    }
    switch (key) {
    case keyUp:
    case keyDown:
        move(key == keyUp ? -1 : 1);
        break;
    case keyPageUp:
    case keyPageDown:
        move(key == keyPageUp ? -page : page);
        break;
    case keyHome:
    case keyEnd:
        selected_ = key == keyHome ? 0 : actions_.size() - 1;
        break;
    case 'n':
        selectUnmapped();
        break;
    case keyEnter:
        listen(now);
        break;
    case 'c':
        clearSelected();
        break;
    case 'r':
        reverseSelected();
        break;
    default:
        break;
    }
}

void MapEditor::move(std::ptrdiff_t by) {
    const auto last = static_cast<std::ptrdiff_t>(actions_.size()) - 1;
    selected_ =
        static_cast<std::size_t>(std::clamp<std::ptrdiff_t>(static_cast<std::ptrdiff_t>(selected_) + by, 0, last));
    said_.clear();
}

void MapEditor::selectUnmapped() {
    for (std::size_t i = 1; i <= actions_.size(); ++i) {
        const std::size_t next = (selected_ + i) % actions_.size();
        if (mapping_.controlsWith(actions_[next]).empty()) {
            selected_ = next;
            said_.clear();
            return;
        }
    }
    said_ = "Every action has a control.";
}

void MapEditor::clearSelected() {
    const auto controls = mapping_.controlsWith(action());
    for (const MappedControl& each : controls) {
        mapping_.clear(*each.element);
    }
    isChanged_ = isChanged_ || !controls.empty();
    said_ = controls.empty() ? "No control triggers " + quoted(action()) + '.'
                             : quoted(action()) + " has no control any more.";
}

void MapEditor::reverseSelected() {
    std::string done;
    for (const MappedControl& each : mapping_.controlsWith(action())) {
        if (each.reversible) {
            mapping_.setReversed(*each.element, !each.reversed);
            isChanged_ = true;
            done += each.label + (each.reversed ? " works in its own direction again. " : " is reversed now. ");
        } else {
            done += "No direction is kept for " + each.label + ". ";
        }
    }
    said_ = done.empty() ? "No control triggers " + quoted(action()) + '.' : done;
}

void MapEditor::save() {
    const std::string failure = save_();
    isChanged_ = isChanged_ && !failure.empty();
    said_ = failure.empty() ? "Saved." : failure;
}

void MapEditor::quit() {
    said_.clear();
    if (isChanged_) {
        mode_ = Mode::Quitting;
    } else {
        hasEnded_ = true;
    }
}

void MapEditor::listen(Time now) {
    const auto known = mapping_.actions();
    if (std::ranges::find(known, action()) == known.end()) {
        said_ = "The application has no action " + quoted(action()) + "; it can only be cleared.";
        return;
    }
    said_.clear();
    mode_ = Mode::Listening;
    detector_.emplace(detectable(mapping_, action()), now);
}

void MapEditor::see(const QZHIDElement& element, std::int64_t raw, Time now) {
    if (mode_ == Mode::Listening) {
        detector_->see(element.cookie(), raw, now);
    }
}

void MapEditor::tick(Time now) {
    if (mode_ != Mode::Listening || !isThere_) {
        return;
    }
    if (const auto found = detector_->found(now)) {
        take(*found);
    }
}

void MapEditor::unplugged() {
    isThere_ = false;
}

void MapEditor::pluggedIn(std::shared_ptr<QZHIDDevice> device, Time now) {
    isThere_ = true;
    mapping_.setDevice(std::move(device));
    if (mode_ == Mode::Listening) {
        listen(now); // nothing is known of where its controls are
    } else if (mode_ == Mode::Conflict || mode_ == Mode::Reversing) {
        cancel();
    }
}

std::vector<MappedControl> MapEditor::otherControls() const {
    std::vector<MappedControl> others = mapping_.controlsWith(action());
    std::erase_if(others, [&](const MappedControl& each) { return each.element->cookie() == pending_.cookie; });
    return others;
}

std::optional<std::string> MapEditor::otherAction() const {
    const auto element = pendingElement();
    const auto current = element ? mapping_.action(*element) : std::nullopt;
    return current != action() ? current : std::nullopt;
}

void MapEditor::take(const BindingDetector::Found& found) {
    detector_.reset();
    pending_ = {.cookie = found.cookie, .direction = found.direction, .from = found.from, .to = found.to};
    if (otherAction() || !otherControls().empty()) {
        mode_ = Mode::Conflict;
    } else {
        considerDirection();
    }
}

void MapEditor::answerConflict(int key) {
    if (key == 'r' || (key == 'k' && canKeepBoth())) {
        pending_.replaces = key == 'r';
        considerDirection();
    }
}

void MapEditor::considerDirection() {
    const auto element = pendingElement();
    if (element == nullptr || pending_.direction == Direction::None ||
        wantsReversal() == mapping_.isReversed(*element)) {
        bind(false);
    } else if (!mapping_.isReversible(*element)) {
        bind(false);
        said_ += " It went the other way, but no direction is kept for this control.";
    } else {
        mode_ = Mode::Reversing;
    }
}

void MapEditor::bind(bool turnsRound) {
    mode_ = Mode::Choosing;
    const auto element = pendingElement();
    if (element == nullptr) {
        said_ = "The controller has changed: nothing was bound.";
        return;
    }
    const bool hadIt = mapping_.action(*element) == action();
    if (hadIt && !turnsRound && !pending_.replaces) {
        said_ = mapping_.label(*element) + " triggers " + quoted(action()) + " already" + wayText() + '.';
        return;
    }
    if (pending_.replaces) {
        for (const MappedControl& each : otherControls()) {
            mapping_.clear(*each.element);
        }
    }
    mapping_.set(*element, action());
    if (turnsRound) {
        mapping_.setReversed(*element, wantsReversal());
    }
    isChanged_ = true;
    said_ = mapping_.label(*element) + " triggers " + quoted(action()) + " now" +
            (turnsRound ? wantsReversal() ? ", reversed" : ", no longer reversed" : "") + wayText() + '.';
}

std::string MapEditor::wayText() const {
    return pending_.direction == Direction::None ? ""
           : wantsReversal()                     ? " (towards its minimum)"
                                                 : " (towards its maximum)";
}

void MapEditor::cancel() {
    const bool wasBinding = mode_ == Mode::Listening || mode_ == Mode::Conflict || mode_ == Mode::Reversing;
    detector_.reset();
    mode_ = Mode::Choosing;
    said_ = wasBinding ? "Nothing was bound." : "";
}

std::string MapEditor::message(Time now) {
    std::string text = isThere_ ? ""
                                : "The controller is unplugged; plug it in again. Nothing is lost. 'qzgc list' "
                                  "tells why one that is there is refused. ";
    switch (mode_) {
    case Mode::Choosing:
        return text + said_;
    case Mode::Listening:
        return isThere_ ? listeningText(now) : text;
    case Mode::Conflict:
        return text + conflictQuestion();
    case Mode::Reversing:
        return text + directionQuestion();
    case Mode::Resetting:
        return text + "Go back to the default mapping of this controller?";
    case Mode::Quitting:
        return text + "Changes are not saved. Save them?";
    }
    return text;
}

std::string MapEditor::listeningText(Time now) {
    if (detector_->isTakingBaseline(now)) {
        return "Let go of all controls ...";
    }
    std::string rivals;
    for (const std::int64_t cookie : detector_->rivals(now)) {
        const auto element = mapping_.device().elementWithCookie(cookie);
        rivals += (rivals.empty() ? "" : " and ") + mapping_.label(*element);
    }
    if (!rivals.empty()) {
        return rivals + " are moved at the same time: move one of them alone.";
    }
    if (const auto cookie = detector_->misfit(now)) {
        return mapping_.label(*mapping_.device().elementWithCookie(*cookie)) + " cannot trigger " + quoted(action()) +
               '.';
    }
    if (mapping_.isXAction(action())) {
        return "Move the control for " + quoted(action()) + " to the right.";
    }
    return (mapping_.isYAction(action()) ? "Move the control for " + quoted(action()) + " up or forward."
                                         : "Press the button for " + quoted(action()) + '.');
}

std::string MapEditor::conflictQuestion() const {
    const std::string label = mapping_.label(*pendingElement());
    const auto others = otherControls();
    std::string text;
    if (const auto other = otherAction()) {
        text += label + " triggers " + quoted(*other) + " so far. ";
    }
    if (!others.empty()) {
        text += quoted(action()) + " is on " + labelsOf(others) + " so far. ";
    }
    return text + "Let " + label + " trigger " + quoted(action()) + "?";
}

std::string MapEditor::directionQuestion() const {
    const std::string way = wantsReversal() ? "minimum" : "maximum";
    return mapping_.label(*pendingElement()) + " went towards its " + way + ", from " + std::to_string(pending_.from) +
           " to " + std::to_string(pending_.to) + ", so " + quoted(action()) + " falls. " +
           (wantsReversal() ? "Reverse it?" : "Take its reversal back?");
}

std::optional<BindingDetector::Found> MapEditor::leader(Time now) {
    return mode_ == Mode::Listening && isThere_ ? detector_->leader(now) : std::nullopt;
}

} // namespace qz::tools
