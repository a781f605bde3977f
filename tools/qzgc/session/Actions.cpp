// SPDX-License-Identifier: MIT
#include "tools/qzgc/session/Actions.h"

#include "tools/qzgc/TextFile.h"

#include <algorithm>

namespace qz::tools {

namespace {

using Action = QZGCConfigurationManager::Action;
using Actions = QZGCConfigurationManager::Actions;
using Names = std::vector<std::string>;

Actions actionsNamed(const Names& names) {
    Actions actions;
    for (const std::string& name : names) {
        actions.emplace_back(name);
    }
    return actions;
}

std::optional<Actions> actionsNamed(const std::optional<Names>& names) {
    return names ? std::optional(actionsNamed(*names)) : std::nullopt;
}

} // namespace

ActionNames builtInActions() {
    ActionNames names;
    names.x = {"roll", "yaw"};
    names.y = {"pitch", "throttle"};
    names.buttons = {"fire",   "second fire", "gear",  "brake", "flaps up", "flaps down",
                     "lights", "change view", "pause", "menu",  "previous", "next"};
    return names;
}

ActionNames readActions(const JSONValue& json, const Place& place) {
    const ObjectReader object(json, place);
    object.expectKeys({}, "x y buttons legacyX legacyY legacyButtons");
    ActionNames names;
    names.x = object.getOptional<Names>("x").value_or(Names{});
    names.y = object.getOptional<Names>("y").value_or(Names{});
    names.buttons = object.getOptional<Names>("buttons").value_or(Names{});
    names.legacyX = object.getOptional<Names>("legacyX");
    names.legacyY = object.getOptional<Names>("legacyY");
    names.legacyButtons = object.getOptional<Names>("legacyButtons");
    return names;
}

ActionNames readActionsFile(const std::string& name) {
    const std::string text = readFile(name);
    try {
        const Place place("actions");
        ActionNames names = readActions(readJSON(text), place);
        for (const Names* const each : {&names.x, &names.y, &names.buttons}) {
            if (std::ranges::find(*each, "") != each->end()) {
                throw FileError(name, "an action's name is empty; give it one");
            }
        }
        return names;
    } catch (const ScenarioError& error) {
        throw FileError(name, error.what());
    }
}

std::shared_ptr<QZGCConfigurationManager> makeConfigurationManager(const ActionNames& names,
                                                                   platform::Platform& platform) {
    return QZGCConfigurationManager::create(actionsNamed(names.x), actionsNamed(names.y), actionsNamed(names.buttons),
                                            actionsNamed(names.legacyX), actionsNamed(names.legacyY),
                                            actionsNamed(names.legacyButtons), platform);
}

} // namespace qz::tools
