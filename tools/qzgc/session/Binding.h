// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/session/BindingDetector.h"
#include "tools/qzgc/session/Mapping.h"

namespace qz::tools {

/// A user who binds one action by moving a control: what is listened to, what is asked, and what becomes of it. Times
/// are the caller's, and never fall.
class Binding {
public:
    using Time = BindingDetector::Time;

    enum class Step : std::uint8_t {
        Listening, ///< to the controls
        Conflict,  ///< asks what to do about one
        Reversing, ///< asks whether to turn the direction round
        Ended,
    };

    Binding(Mapping& mapping, std::string action, Time now);

    /// A key as Screen::takeKey answers it.
    void press(int key);
    /// A control has a new value.
    void see(const QZHIDElement& element, std::int64_t raw, Time now);
    /// Looks whether a control has been found.
    void tick(Time now);

    Step step() const noexcept { return step_; }
    /// At the end: whether the mapping is another one now, and what is to be said of it.
    bool hasChanged() const noexcept { return hasChanged_; }
    const std::string& outcome() const noexcept { return outcome_; }

    /// In a conflict: whether the action can be on both controls.
    bool canKeepBoth() const { return !otherControls().empty(); }

    /// What is to be said or asked now.
    std::string message(Time now);
    /// While it listens: the control that is farthest from its rest.
    std::optional<BindingDetector::Found> leader(Time now);

private:
    std::shared_ptr<QZHIDElement> element() const { return mapping_.device().elementWithCookie(found_.cookie); }
    std::vector<MappedControl> otherControls() const;
    std::optional<std::string> otherAction() const;
    bool wantsReversal() const { return found_.direction == BindingDetector::Direction::ToMinimum; }

    void answerConflict(int key);
    void considerDirection();
    void bind(bool turnsRound);

    std::string listeningText(Time now);
    std::string conflictQuestion() const;
    std::string directionQuestion() const;
    /// Which way the control went; empty for what has no direction.
    std::string wayText() const;

    Mapping& mapping_;
    std::string action_;
    BindingDetector detector_;
    Step step_ = Step::Listening;
    BindingDetector::Found found_{};
    bool replaces_ = false;
    bool hasChanged_ = false;
    std::string outcome_;
};

} // namespace qz::tools
