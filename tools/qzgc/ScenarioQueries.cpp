// SPDX-License-Identifier: MIT
#include "tools/qzgc/ScenarioQueries.h"

#include <map>
#include <string>

using qz::platform::PropertyList;

namespace qz::tools {

namespace {

void writeChildren(const QZHIDElement& element, JSONText& text) {
    text.key("children");
    if (!element.ownedElements()) {
        text.value(std::nullopt);
        return;
    }
    text.beginArray();
    for (const auto& child : *element.ownedElements()) {
        text.value(child->cookie());
    }
    text.endArray();
}

void writeElement(const QZHIDElement& element, JSONText& text) {
    text.beginObject()
        .member("cookie", element.cookie())
        .member("name", element.name())
        .member("nameKey", element.nameKey())
        .member("type", element.type())
        .member("collectionType", element.collectionType())
        .member("usagePage", element.usagePage())
        .member("usage", element.usage())
        .member("theoreticalMin", element.theoreticalMin())
        .member("theoreticalMax", element.theoreticalMax())
        .member("observedMin", element.observedMin())
        .member("observedMax", element.observedMax())
        .member("observedNeutral", element.observedNeutral())
        .member("calibrationMin", element.calibrationMin())
        .member("calibrationMax", element.calibrationMax())
        .member("hasPreferredState", element.hasPreferredState())
        .member("isPushButton", element.isPushButton())
        .member("isMovingControl", element.isMovingControl())
        .member("isPartOfDirectionPad", element.isPartOfDirectionPad())
        .member("isConsumerElement", element.isConsumerElement())
        .member("twoState", element.twoState())
        .member("hysteresis", element.hysteresis())
        .member("lastReportedValue", element.lastReportedValue())
        .member("neutralValue", element.neutralValue());
    writeChildren(element, text);
    text.endObject();
}

/// The directions of the configured elements and the mappings, as tables from cookie text.
void writeTables(const QZGCDeviceConfiguration& configuration, JSONText& text) {
    PropertyList::Dictionary directions; // in the order of the texts, not of the numbers
    for (const auto& [cookie, element] : configuration.elements()) {
        directions.emplace(std::to_string(cookie), element.reversedDirection());
    }
    const PropertyList::Dictionary stored = configuration.configPList();
    text.beginObject().member("elements", directions).member("mappings", stored.at("QZGCMappings")).endObject();
}

void writeConfigurations(const QZGCConfigurationManager::DeviceConfigurations& configurations, JSONText& text) {
    text.beginObject();
    for (const auto& [deviceID, configuration] : configurations) {
        text.key(deviceID);
        writeTables(*configuration, text);
    }
    text.endObject();
}

} // namespace

void describeDevice(const QZHIDDevice& device, JSONText& text) {
    const QZHIDUserPrefIDs ids = device.userPrefIDs();
    text.member("kind", device.kind())
        .member("productName", device.productName())
        .member("typeID", ids.aDeviceTypeID)
        .member("instanceID", ids.aInstanceID)
        .member("calibrationsPrefKey", device.calibrationsPrefKey())
        .key("elements");
    if (!device.ownedElements()) {
        text.value(std::nullopt);
        return;
    }
    text.beginArray();
    for (const auto& element : *device.ownedElements()) {
        writeElement(*element, text);
    }
    text.endArray();
}

void describeConfiguration(const QZGCConfigurationManager& manager, JSONText& text) {
    text.key("types");
    writeConfigurations(manager.deviceTypeConfigs(), text);
    text.key("instances");
    writeConfigurations(manager.deviceInstanceConfigs(), text);
}

void describeActions(const QZGCConfigurationManager& manager, JSONText& text) {
    text.key("actions").beginArray();
    for (const auto& action : manager.allActions()) {
        text.value(action.rawValue());
    }
    text.endArray().member("count", manager.actionCount());
}

} // namespace qz::tools
