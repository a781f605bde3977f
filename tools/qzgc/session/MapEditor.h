// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/session/Binding.h"

#include <functional>

namespace qz::tools {

/// A user who edits a mapping: what is chosen, what is asked, what the keys do; actions are bound by pressing. It draws
/// nothing and waits for nothing. Times are the caller's, and never fall.
class MapEditor {
public:
    using Time = Binding::Time;
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

    /// `listing` is the command that tells of the same controllers, in quotes.
    MapEditor(Mapping& mapping, Save save, std::string listing = "'qzgc list'");

    /// A key as Screen::takeKey answers it.
    void press(int key, Time now);
    /// A control has a new value.
    void see(const QZHIDElement& element, std::int64_t raw, Time now);
    /// Looks whether a control has been found.
    void tick(Time now);
    void unplugged();
    void pluggedIn(std::shared_ptr<QZHIDDevice> device, Time now);

    const Mapping& mapping() const noexcept { return mapping_; }
    Mode mode() const noexcept;
    /// The application's actions, and after them others that the controller has.
    const std::vector<std::string>& actions() const noexcept { return actions_; }
    std::size_t selected() const noexcept { return selected_; }
    bool isChanged() const noexcept { return isChanged_; }
    bool hasEnded() const noexcept { return hasEnded_; }

    /// In a conflict: whether the action can be on both controls.
    bool canKeepBoth() const { return binding_ && binding_->canKeepBoth(); }

    /// What is to be said or asked now.
    std::string message(Time now);
    /// While it listens: the control that is farthest from its rest.
    std::optional<BindingDetector::Found> leader(Time now);

private:
    const std::string& action() const { return actions_[selected_]; }

    void choose(int key, Time now);
    void move(std::ptrdiff_t by);
    void selectUnmapped();
    void clearSelected();
    void reverseSelected();
    void save();
    void quit();

    void listen(Time now);
    /// A binding that has ended is over.
    void noteOutcome();
    void cancel();
    void refreshActions();

    Mapping& mapping_;
    Save save_;
    std::string listing_;
    Mode mode_ = Mode::Choosing;
    std::vector<std::string> actions_;
    std::size_t selected_ = 0;
    std::optional<Binding> binding_; ///< its mode goes before `mode_`
    std::string said_;
    bool isThere_ = true;
    bool isChanged_ = false;
    bool hasEnded_ = false;
};

} // namespace qz::tools
