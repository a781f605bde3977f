// SPDX-License-Identifier: MIT
#include "tools/qzgc/session/Mapping.h"

#include "tools/qzgc/session/Controllers.h"

#include <algorithm>
#include <iterator>

namespace qz::tools {

namespace {

using Action = QZGCConfigurationManager::Action;
using Actions = QZGCConfigurationManager::Actions;

bool contains(const Actions& actions, std::string_view name) {
    return std::ranges::any_of(actions, [&](const Action& each) { return each.rawValue() == name; });
}

bool canTriggerActions(const QZHIDElement& element) {
    return element.isMovingControl() || element.isPushButton() || element.isConsumerElement();
}

} // namespace

Mapping::Mapping(std::shared_ptr<QZGCConfigurationManager> configuration, std::shared_ptr<QZHIDDevice> device)
    : configuration_(std::move(configuration)) {
    setDevice(std::move(device));
}

void Mapping::setDevice(std::shared_ptr<QZHIDDevice> device) {
    device_ = std::move(device);
    configuration_->existingOrDefaultConfiguration(*device_);
    labels_ = labelsOf(controlsOf(*device_));
}

const std::string& Mapping::label(const QZHIDElement& element) const {
    return labels_.at(element.cookie());
}

std::optional<std::string> Mapping::action(const QZHIDElement& element) const {
    const auto action = configuration_->action(element);
    return action ? std::optional(action->rawValue()) : std::nullopt;
}

bool Mapping::isReversible(const QZHIDElement& element) const {
    const auto configuration = configuration_->existingOrDefaultConfiguration(*device_);
    return configuration->elements().find(element.cookie()) != configuration->elements().end();
}

MappedControl Mapping::controlOf(const std::shared_ptr<QZHIDElement>& element) const {
    return {.element = element,
            .label = label(*element),
            .action = action(*element),
            .reversed = isReversed(*element),
            .reversible = isReversible(*element)};
}

std::vector<MappedControl> Mapping::controls() const {
    std::vector<MappedControl> controls;
    for (const auto& each : controlsOf(*device_)) {
        if (canTriggerActions(*each) || action(*each)) {
            controls.push_back(controlOf(each));
        }
    }
    return controls;
}

std::vector<MappedControl> Mapping::controlsWith(std::string_view action) const {
    return with(action, controls());
}

std::vector<MappedControl> Mapping::with(std::string_view action, const std::vector<MappedControl>& controls) {
    std::vector<MappedControl> found;
    std::ranges::copy_if(controls, std::back_inserter(found),
                         [&](const MappedControl& each) { return each.action == action; });
    return found;
}

std::vector<ActionConflict> Mapping::conflicts() const {
    std::vector<ActionConflict> conflicts;
    std::map<std::string, std::size_t> places;
    for (MappedControl& each : controls()) {
        if (!each.action) {
            continue;
        }
        const std::size_t place = places.try_emplace(*each.action, conflicts.size()).first->second;
        if (place == conflicts.size()) {
            conflicts.push_back({.action = *each.action, .controls = {}});
        }
        conflicts[place].controls.push_back(std::move(each));
    }
    std::erase_if(conflicts, [](const ActionConflict& each) { return each.controls.size() < 2; });
    return conflicts;
}

std::vector<std::string> Mapping::actions() const {
    std::vector<std::string> names;
    for (const Action& each : configuration_->allActions()) {
        if (std::ranges::find(names, each.rawValue()) == names.end()) {
            names.push_back(each.rawValue());
        }
    }
    return names;
}

std::vector<std::string> Mapping::fittingActions(const QZHIDElement& element) const {
    std::vector<std::string> names = actions();
    std::erase_if(names, [&](const std::string& each) { return !fits(element, each); });
    return names;
}

bool Mapping::fits(const QZHIDElement& element, const std::string& action) const {
    return configuration_->isElementCompatible(element, Action(action));
}

bool Mapping::isXAction(std::string_view action) const {
    return contains(configuration_->xActions(), action);
}

bool Mapping::isYAction(std::string_view action) const {
    return contains(configuration_->yActions(), action);
}

void Mapping::set(const QZHIDElement& element, const std::string& action) {
    const std::vector<std::string> known = actions();
    if (std::ranges::find(known, action) == known.end()) {
        throw WrongUse(withoutControlCharacters(
            "no action is called \"" + action + "\"; " +
            (known.empty() ? "the application has no actions: name a file that has some with --actions FILE"
                           : "there is " + listOf(known))));
    }
    if (!fits(element, action)) {
        const std::vector<std::string> fitting = fittingActions(element);
        throw WrongUse(withoutControlCharacters(
            label(element) + " cannot trigger \"" + action + "\"; " +
            (fitting.empty() ? "it can trigger no action" : "what it can is " + listOf(fitting))));
    }
    configuration_->setMapping(element, Action(action));
}

void Mapping::setReversed(const QZHIDElement& element, bool reversed) {
    if (!isReversible(element)) {
        std::vector<std::string> labels;
        for (const MappedControl& each : controls()) {
            if (each.reversible) {
                labels.push_back(each.label);
            }
        }
        throw WrongUse("no direction is kept for " + label(element) + "; " +
                       (labels.empty() ? "the controller has no control that can be reversed"
                                       : "what can be reversed is " + listOf(labels)));
    }
    configuration_->setReverseDirection(reversed, element);
}

std::string quoted(const std::string& action) {
    return '"' + action + '"';
}

std::string listOf(const std::vector<std::string>& names) {
    return names.empty() ? "none" : joined(names);
}

std::string labelsOf(const std::vector<MappedControl>& controls) {
    std::vector<std::string> labels;
    labels.reserve(controls.size());
    for (const MappedControl& each : controls) {
        labels.push_back(each.label);
    }
    return listOf(labels);
}

std::string conflictText(const ActionConflict& conflict) {
    return withoutControlCharacters(quoted(conflict.action)) +
           " is on several controls: " + labelsOf(conflict.controls);
}

void appendMembers(JSONText& json, const Mapping& mapping) {
    json.key("controls").beginArray();
    for (const MappedControl& each : mapping.controls()) {
        json.beginObject()
            .member("cookie", each.element->cookie())
            .member("name", each.element->name())
            .member("nameKey", each.element->nameKey())
            .member("action", each.action)
            .member("reversed", each.reversed)
            .member("reversible", each.reversible)
            .endObject();
    }
    json.endArray().key("conflicts").beginArray();
    for (const ActionConflict& conflict : mapping.conflicts()) {
        json.beginObject().member("action", conflict.action).key("controls").beginArray();
        for (const MappedControl& each : conflict.controls) {
            json.value(each.element->cookie());
        }
        json.endArray().endObject();
    }
    json.endArray();
}

} // namespace qz::tools
