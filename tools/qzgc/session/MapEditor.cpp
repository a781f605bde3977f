// SPDX-License-Identifier: MIT
#include "tools/qzgc/session/MapEditor.h"

#include "tools/qzgc/terminal/Screen.h"

#include <algorithm>

namespace qz::tools {

MapEditor::MapEditor(Mapping& mapping, Save save, std::string listing)
    : mapping_(mapping), save_(std::move(save)), listing_(std::move(listing)) {
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

MapEditor::Mode MapEditor::mode() const noexcept {
    if (!binding_) {
        return mode_;
    }
    switch (binding_->step()) {
    case Binding::Step::Listening:
        return Mode::Listening;
    case Binding::Step::Conflict:
        return Mode::Conflict;
    default:
        return Mode::Reversing;
    }
}

void MapEditor::press(int key, Time now) {
    if (hasEnded_) {
        return;
    }
    if (key == keyEscape && mode() != Mode::Choosing) {
        cancel();
        return;
    }
    if (binding_) {
        binding_->press(key);
        noteOutcome();
        return;
    }
    switch (mode_) {
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
    default:
        choose(key, now);
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
    binding_.emplace(mapping_, action(), now);
}

void MapEditor::see(const QZHIDElement& element, std::int64_t raw, Time now) {
    if (binding_) {
        binding_->see(element, raw, now);
    }
}

void MapEditor::tick(Time now) {
    if (binding_ && isThere_) {
        binding_->tick(now);
        noteOutcome();
    }
}

void MapEditor::noteOutcome() {
    if (binding_->step() == Binding::Step::Ended) {
        said_ = binding_->outcome();
        isChanged_ = isChanged_ || binding_->hasChanged();
        binding_.reset();
    }
}

void MapEditor::unplugged() {
    isThere_ = false;
}

void MapEditor::pluggedIn(std::shared_ptr<QZHIDDevice> device, Time now) {
    isThere_ = true;
    mapping_.setDevice(std::move(device));
    if (mode() == Mode::Listening) {
        listen(now); // nothing is known of where its controls are
    } else if (binding_) {
        cancel();
    }
}

void MapEditor::cancel() {
    said_ = binding_ ? "Nothing was bound." : "";
    binding_.reset();
    mode_ = Mode::Choosing;
}

std::string MapEditor::message(Time now) {
    std::string text = isThere_ ? ""
                                : "The controller is unplugged; plug it in again. Nothing is lost. " + listing_ +
                                      " tells why one that is there is refused. ";
    switch (mode()) {
    case Mode::Choosing:
        return text + said_;
    case Mode::Listening:
        return isThere_ ? binding_->message(now) : text;
    case Mode::Conflict:
    case Mode::Reversing:
        return text + binding_->message(now);
    case Mode::Resetting:
        return text + "Go back to the default mapping of this controller?";
    case Mode::Quitting:
        return text + "Changes are not saved. Save them?";
    }
    return text;
}

std::optional<BindingDetector::Found> MapEditor::leader(Time now) {
    return binding_ && isThere_ ? binding_->leader(now) : std::nullopt;
}

} // namespace qz::tools
