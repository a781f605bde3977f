// SPDX-License-Identifier: MIT
#pragma once

#include "HIDWrapper/QZGCHIDManager.h"
#include "HIDWrapper/QZHIDDevice.h"
#include "HIDWrapper/QZHIDElement.h"
#include "QZGameController/QZGCConfigurationManager.h"
#include "QZGameController/QZGCDeviceConfiguration.h"
#include "platform/virtual/VirtualPlatform.h"

#include <gmock/gmock.h>

#include <initializer_list>

/// What the configuration keeps to itself, for the tests that have to look at it.
struct QZGCConfigurationInternals {
    using Action = QZGCConfigurationManager::Action;
    using Dictionary = qz::platform::PropertyList::Dictionary;

    static Action convertLegacyToModern(const QZGCConfigurationManager& manager, const Action& action) {
        return manager.convertLegacyToModern(action);
    }
    static std::shared_ptr<QZGCDeviceConfiguration> defaultConfiguration(const QZGCConfigurationManager& manager,
                                                                         const QZHIDDevice& device) {
        return manager.defaultConfiguration(device);
    }
    static Dictionary configPList(const QZGCConfigurationManager& manager) { return manager.configPList(); }
    static std::shared_ptr<QZGCConfigurationManager> configManager(const QZGCDeviceConfiguration& configuration) {
        return configuration.configManager_.lock();
    }
    static const auto& mappings(const QZGCDeviceConfiguration& configuration) { return configuration.mappings_; }
    static void setReversedDirection(QZGCDeviceConfiguration& configuration, std::int64_t cookie, bool reversed) {
        configuration.setReversedDirection(cookie, reversed);
    }
};

namespace qz::test {

using platform::PropertyList;
using platform::VirtualDevice;
using platform::VirtualDeviceDescription;
using platform::VirtualElement;
using platform::VirtualPlatform;
using Action = QZGCConfigurationManager::Action;
using Actions = QZGCConfigurationManager::Actions;
using Dictionary = PropertyList::Dictionary;
using Internals = QZGCConfigurationInternals;

inline constexpr const char* configKey = "QZGameControllerConfig";
inline constexpr const char* legacyConfigKey = "EkinorBindings";

inline Actions actions(std::initializer_list<const char*> names) {
    return {names.begin(), names.end()};
}

inline std::vector<std::string> namesOf(const Actions& actions) {
    std::vector<std::string> names;
    for (const Action& action : actions) {
        names.push_back(action.rawValue());
    }
    return names;
}

// The elements that hand-made devices of these tests consist of.

inline VirtualElement element(std::uint32_t cookie, std::int32_t type, std::uint32_t usagePage, std::uint32_t usage,
                              std::int64_t min, std::int64_t max) {
    VirtualElement made;
    made.cookie = cookie;
    made.type = type;
    made.usagePage = usagePage;
    made.usage = usage;
    made.min = min;
    made.max = max;
    return made;
}
inline VirtualElement button(std::uint32_t cookie, std::uint32_t number = 1,
                             std::int32_t type = QZHIDElementTypeButton) {
    return element(cookie, type, 0x09, number, 0, 1);
}
inline VirtualElement axis(std::uint32_t cookie, std::uint32_t usage, std::int32_t type = QZHIDElementTypeAxis) {
    return element(cookie, type, 0x01, usage, 0, 256);
}
inline VirtualElement hat(std::uint32_t cookie) {
    return element(cookie, QZHIDElementTypeMisc, 0x01, 0x39, 0, 7);
}
inline VirtualElement consumerControl(std::uint32_t cookie, std::int32_t type = QZHIDElementTypeButton) {
    return element(cookie, type, 0x0C, 0xE9, 0, 1);
}
/// An application collection for gamepads, with the elements at these positions as its members.
inline VirtualElement collection(std::uint32_t cookie, std::vector<std::size_t> members) {
    VirtualElement made = element(cookie, QZHIDElementTypeCollection, 0x01, 0x05, 0, 0);
    made.children = std::move(members);
    return made;
}
inline constexpr std::uint32_t usageX = 0x30;
inline constexpr std::uint32_t usageY = 0x31;
inline constexpr std::uint32_t usageZ = 0x32;
inline constexpr std::uint32_t usageRx = 0x33;
inline constexpr std::uint32_t usageRy = 0x34;
inline constexpr std::uint32_t usageRz = 0x35;
inline constexpr std::uint32_t usageSlider = 0x36;

/// A gamepad of vendor 121 and product 305 with this serial number.
inline VirtualDeviceDescription gamepad(const std::string& serialNumber, std::vector<VirtualElement> elements) {
    return {.properties = {{"VendorID", std::int64_t{121}},
                           {"ProductID", std::int64_t{305}},
                           {"SerialNumber", serialNumber},
                           {"PrimaryUsagePage", std::int64_t{1}},
                           {"PrimaryUsage", std::int64_t{5}}},
            .elements = std::move(elements),
            .usagePairs = {}};
}

/// A stored device: the elements 1 and 3 configured, with this flag, and element 1 mapped to `action`.
inline Dictionary storedDevice(const char* action, const char* reversed) {
    const Dictionary flag{{"QZGCReversedDirection", reversed}};
    return {{"QZGCElementSpecifications", Dictionary{{"1", flag}, {"3", flag}}},
            {"QZGCMappings", Dictionary{{"1", action}}}};
}

inline bool isReversed(const QZGCDeviceConfiguration& configuration, std::int64_t cookie) {
    return configuration.elements().at(cookie).reversedDirection();
}

inline std::string mapped(const QZGCDeviceConfiguration& configuration, std::int64_t cookie) {
    return Internals::mappings(configuration).at(cookie).rawValue();
}

/// Device objects and configuration managers over a platform of their own.
class ConfigurationFixture : public testing::Test {
protected:
    std::shared_ptr<QZHIDDevice> device(VirtualDeviceDescription description) {
        handles_.push_back(std::make_shared<VirtualDevice>(std::move(description)));
        return QZHIDDevice::create(handles_.back().get(), hidManager_);
    }

    /// A gamepad with two buttons (cookies 1 and 2), an X axis (3) and an Rx axis (4), which no default covers.
    std::shared_ptr<QZHIDDevice> pad(const std::string& serialNumber) {
        return device(gamepad(serialNumber, {button(1, 1), button(2, 2), axis(3, usageX), axis(4, usageRx)}));
    }

    /// The platform's side of the device made last.
    VirtualDevice& lastHandle() { return *handles_.back(); }

    /// A manager over what the platform's preferences hold now.
    std::shared_ptr<QZGCConfigurationManager> manager(Actions x = actions({"x1", "x2"}),
                                                      Actions y = actions({"y1", "y2"}),
                                                      Actions buttons = actions({"b1", "b2"})) {
        return QZGCConfigurationManager::create(std::move(x), std::move(y), std::move(buttons), std::nullopt,
                                                std::nullopt, std::nullopt, platform_);
    }

    void store(Dictionary configuration) {
        platform_.userDefaults().setObjectForKey(std::move(configuration), configKey);
    }

    VirtualPlatform platform_;

private:
    std::shared_ptr<QZGCHIDManager> hidManager_ = QZGCHIDManager::create(nullptr, platform_);
    std::vector<std::shared_ptr<VirtualDevice>> handles_;
};

} // namespace qz::test
