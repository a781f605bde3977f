// SPDX-License-Identifier: MIT
#pragma once

#include "QZGameController/QZGameController.h"
#include "tools/qzgc/JSONText.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qz::tools {

/// What one control does for the application.
struct MappedControl {
    std::shared_ptr<QZHIDElement> element;
    std::string label;                 ///< its name, with the cookie where several have that name
    std::optional<std::string> action; ///< nothing: it triggers none
    bool reversed = false;
    bool reversible = false; ///< whether the library keeps a direction for it
};

/// One action that several controls trigger.
struct ActionConflict {
    std::string action;
    std::vector<MappedControl> controls;
};

/// The configuration of one controller. Edits go through the configuration manager and are kept by its
/// `saveUserDefaults` alone.
class Mapping {
public:
    /// As for an application, a controller without a configuration gets its default one.
    Mapping(std::shared_ptr<QZGCConfigurationManager> configuration, std::shared_ptr<QZHIDDevice> device);

    const QZHIDDevice& device() const noexcept { return *device_; }
    /// The same controller, after it has been plugged in again.
    void setDevice(std::shared_ptr<QZHIDDevice> device);
    const std::string& label(const QZHIDElement& element) const;

    /// The controls that can trigger actions, and any that do so.
    std::vector<MappedControl> controls() const;
    std::vector<MappedControl> controlsWith(std::string_view action) const;
    /// Those of `controls` that trigger `action`.
    static std::vector<MappedControl> with(std::string_view action, const std::vector<MappedControl>& controls);
    std::vector<ActionConflict> conflicts() const;
    std::optional<std::string> action(const QZHIDElement& element) const;
    bool isReversed(const QZHIDElement& element) const { return configuration_->mustReverseDirection(element); }
    /// Whether the library keeps a direction for it: not for what the default mapping passes over.
    bool isReversible(const QZHIDElement& element) const;

    /// The application's actions in their order, each once.
    std::vector<std::string> actions() const;
    std::vector<std::string> fittingActions(const QZHIDElement& element) const;
    bool fits(const QZHIDElement& element, const std::string& action) const;
    bool isXAction(std::string_view action) const;
    bool isYAction(std::string_view action) const;

    /// Throws WrongUse when the application has no such action or the control cannot trigger it.
    void set(const QZHIDElement& element, const std::string& action);
    void clear(const QZHIDElement& element) { configuration_->clearMapping(element); }
    /// Throws WrongUse when the library keeps no direction for the control.
    void setReversed(const QZHIDElement& element, bool reversed);
    void reset() { configuration_->makeAndRegisterDefaultConfiguration(*device_); }

private:
    MappedControl controlOf(const std::shared_ptr<QZHIDElement>& element) const;

    std::shared_ptr<QZGCConfigurationManager> configuration_;
    std::shared_ptr<QZHIDDevice> device_;
    std::map<std::int64_t, std::string> labels_; ///< by cookie
};

/// The name of an action as messages have it.
std::string quoted(const std::string& action);
/// "roll, pitch, fire"
std::string listOf(const std::vector<std::string>& names);
std::string labelsOf(const std::vector<MappedControl>& controls);

/// `"fire" is on several controls: Button 1, Button 3`
std::string conflictText(const ActionConflict& conflict);

/// The members "controls" and "conflicts" of a JSON object.
void appendMembers(JSONText& json, const Mapping& mapping);

} // namespace qz::tools
