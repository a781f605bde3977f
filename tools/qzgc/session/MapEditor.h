// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/session/BindingDetector.h"
#include "tools/qzgc/session/Mapping.h"

#include <functional>

namespace qz::tools {

/// A user who binds actions by pressing: what is chosen, what is asked, what the keys and the controls do. It draws
/// nothing and waits for nothing. Times are the caller's, and never fall.
class MapEditor {
public:
    using Time = BindingDetector::Time;
    /// Stores the mapping, and answers why it could not; empty when it could.
    using Save = std::function<std::string()>;

    enum class Mode : std::uint8_t {
        Choosing,  ///< an action
        Listening, ///< to the controls
        Conflict,  ///< asks what to do about one
        Reversing, ///< asks whether to turn the direction round
        Resetting, ///< asks whether to go back to the default mapping
        Quitting,  ///< asks what to do with changes that are not saved
    };

    MapEditor(Mapping& mapping, Save save);

    /// A key as Screen::takeKey answers it.
    void press(int key, Time now);
    /// A control has a new value.
    void see(const QZHIDElement& element, std::int64_t raw, Time now);
    /// Looks whether a control has been found.
    void tick(Time now);
    void unplugged();
    void pluggedIn(std::shared_ptr<QZHIDDevice> device, Time now);

    const Mapping& mapping() const noexcept { return mapping_; }
    Mode mode() const noexcept { return mode_; }
    /// The application's actions, and after them others that the controller has.
    const std::vector<std::string>& actions() const noexcept { return actions_; }
    std::size_t selected() const noexcept { return selected_; }
    bool isChanged() const noexcept { return isChanged_; }
    bool hasEnded() const noexcept { return hasEnded_; }

    /// In a conflict: whether the action can be on both controls.
    bool canKeepBoth() const { return !otherControls().empty(); }

    /// What is to be said or asked now.
    std::string message(Time now);
    /// While it listens: the control that is farthest from its rest.
    std::optional<BindingDetector::Found> leader(Time now);

private:
    struct Pending {
        std::int64_t cookie;
        BindingDetector::Direction direction;
        std::int64_t from;
        std::int64_t to;
        bool replaces = false;
    };

    const std::string& action() const { return actions_[selected_]; }
    std::shared_ptr<QZHIDElement> pendingElement() const {
        return mapping_.device().elementWithCookie(pending_.cookie);
    }
    std::vector<MappedControl> otherControls() const;
    std::optional<std::string> otherAction() const;
    bool wantsReversal() const { return pending_.direction == BindingDetector::Direction::ToMinimum; }

    void choose(int key, Time now);
    void move(std::ptrdiff_t by);
    void selectUnmapped();
    void clearSelected();
    void reverseSelected();
    void save();
    void quit();

    void listen(Time now);
    void take(const BindingDetector::Found& found);
    void answerConflict(int key);
    void considerDirection();
    void bind(bool turnsRound);
    void cancel();
    void refreshActions();

    std::string listeningText(Time now);
    std::string conflictQuestion() const;
    std::string directionQuestion() const;
    /// Which way the control went that is being bound; empty for what has no direction.
    std::string wayText() const;

    Mapping& mapping_;
    Save save_;
    Mode mode_ = Mode::Choosing;
    std::vector<std::string> actions_;
    std::size_t selected_ = 0;
    std::optional<BindingDetector> detector_; ///< while it listens
    Pending pending_{};
    std::string said_;
    bool isThere_ = true;
    bool isChanged_ = false;
    bool hasEnded_ = false;
};

} // namespace qz::tools
