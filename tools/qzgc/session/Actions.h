// SPDX-License-Identifier: MIT
#pragma once

#include "QZGameController/QZGameController.h"
#include "tools/qzgc/ObjectReader.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qz::tools {

/// The names of an application's actions, as QZGCConfigurationManager::create takes them.
struct ActionNames {
    std::vector<std::string> x;
    std::vector<std::string> y;
    std::vector<std::string> buttons;
    std::optional<std::vector<std::string>> legacyX;
    std::optional<std::vector<std::string>> legacyY;
    std::optional<std::vector<std::string>> legacyButtons;
};

/// What serves when the application's own actions are not named: those of a flight simulation.
ActionNames builtInActions();

/// The object that describes them. Throws ScenarioError.
ActionNames readActions(const JSONValue& json, const Place& place);

/// Reads an application's actions: one JSON object with the arrays "x", "y" and "buttons" of names, and "legacyX",
/// "legacyY" and "legacyButtons" of those that an earlier version of the application used; each may be absent. Throws
/// FileError.
ActionNames readActionsFile(const std::string& name);

std::shared_ptr<QZGCConfigurationManager> makeConfigurationManager(const ActionNames& names,
                                                                   platform::Platform& platform);

} // namespace qz::tools
