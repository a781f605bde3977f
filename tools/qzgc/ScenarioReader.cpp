// SPDX-License-Identifier: MIT
#include "tools/qzgc/ScenarioReader.h"

using qz::platform::IOReturn;
using qz::platform::PropertyList;

namespace qz::tools {

namespace {

PropertyList readPropertyList(const JSONValue& json, const Place& place);

PropertyList::Dictionary readDictionary(const JSONValue::Object& object, const Place& place) {
    PropertyList::Dictionary dictionary;
    for (const auto& [key, value] : object) {
        dictionary.emplace(key, readPropertyList(value, {place, key}));
    }
    return dictionary;
}

/// The counterpart of each kind of JSON value.
struct PropertyListReader {
    const Place& place;

    PropertyList operator()(std::nullptr_t) const { place.refuse("null is no preference value"); }
    PropertyList operator()(const JSONValue::Object& object) const { return readDictionary(object, place); }
    PropertyList operator()(const JSONValue::Array& array) const {
        PropertyList::Array values;
        for (const JSONValue& each : array) {
            values.push_back(readPropertyList(each, {place, values.size()}));
        }
        return values;
    }
    PropertyList operator()(const auto& plain) const { return plain; }
};

PropertyList readPropertyList(const JSONValue& json, const Place& place) {
    return std::visit(PropertyListReader{place}, json.value);
}

std::vector<DeviceDefinition> readDevices(const JSONValue& json, const Place& place) {
    std::vector<DeviceDefinition> devices;
    for (const auto& [name, definition] : ObjectReader(json, place).members()) {
        devices.push_back(readDevice(name, definition, {place, name}));
    }
    return devices;
}

std::vector<Step> readSteps(const JSONValue& json, const Place& place, std::span<const DeviceDefinition> devices) {
    std::vector<Step> steps;
    for (const JSONValue& step : readArray(json, place)) {
        steps.push_back(readStep(step, {place, steps.size()}, devices));
    }
    return steps;
}

} // namespace

Scenario readScenario(std::string_view text) {
    const JSONValue document = readJSON(text);
    const Place place;
    const ObjectReader object(document, place);
    object.expectKeys("actions devices steps", "preferences delegate openResult");
    Scenario scenario;
    scenario.actions = readActions(object.at("actions"), object.placeOf("actions"));
    if (const JSONValue* const preferences = object.find("preferences")) {
        const Place preferencesPlace = object.placeOf("preferences");
        scenario.preferences = readDictionary(ObjectReader(*preferences, preferencesPlace).members(), preferencesPlace);
    }
    scenario.devices = readDevices(object.at("devices"), object.placeOf("devices"));
    scenario.hasDelegate = object.getOptional<bool>("delegate").value_or(true);
    scenario.openResult = object.getOptional<IOReturn>("openResult").value_or(platform::kIOReturnSuccess);
    scenario.steps = readSteps(object.at("steps"), object.placeOf("steps"), scenario.devices);
    return scenario;
}

} // namespace qz::tools
