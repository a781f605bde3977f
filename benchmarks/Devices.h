// SPDX-License-Identifier: MIT
#pragma once

#include "QZGameController/QZGameController.h"
#include "platform/virtual/VirtualPlatform.h"

#include <array>
#include <chrono>

namespace qz::bench {

using Action = QZGCConfigurationManager::Action;

/// A delegate that takes what it gets.
class Delegate final : public QZGCHIDManagerDelegate {
public:
    bool hidManagerShouldConnectDevice(QZGCHIDManager&, platform::IOHIDDeviceRef) override { return true; }
    void hidManagerDeviceConnected(QZGCHIDManager&, const std::shared_ptr<QZHIDDevice>&) override {}
    void hidManagerDeviceDisconnected(QZGCHIDManager&, const std::shared_ptr<QZHIDDevice>&) override {}
    void hidManagerElementNewRawValue(QZGCHIDManager&, const std::shared_ptr<QZHIDElement>&, std::int64_t) override {}
    void hidManagerActionNewValue(QZGCHIDManager&, const std::string&, double newValue) override {
        ++values;
        sum += newValue;
    }
    void hidManagerHidError(QZGCHIDManager&, platform::IOReturn) override {}

    std::int64_t values = 0;
    double sum = 0;
};

/// A gamepad with the axes X, Y, Z and Rz as elements 0 to 3 and 15 buttons after them, the unit with this number.
inline platform::VirtualDeviceDescription gamepad(std::int64_t unit) {
    platform::VirtualDeviceDescription description;
    description.properties = {{"VendorID", std::int64_t{1}},
                              {"ProductID", unit + 1},
                              {"LocationID", unit + 1},
                              {"PrimaryUsagePage", std::int64_t{1}},
                              {"PrimaryUsage", std::int64_t{5}}};
    std::uint32_t cookie = 1;
    for (const std::uint32_t usage : {0x30U, 0x31U, 0x32U, 0x35U}) {
        description.elements->push_back({.cookie = cookie++, .type = 3, .usagePage = 1, .usage = usage, .max = 255});
    }
    for (std::uint32_t button = 1; button <= 15; ++button) {
        description.elements->push_back({.cookie = cookie++, .type = 2, .usagePage = 9, .usage = button, .max = 1});
    }
    return description;
}

inline QZGCConfigurationManager::Actions actions(std::initializer_list<const char*> names) {
    QZGCConfigurationManager::Actions list;
    for (const char* const name : names) {
        list.emplace_back(name);
    }
    return list;
}

/// Preferences with the configurations of this many models that are not connected.
inline platform::PropertyList::Dictionary storedConfigurations(std::int64_t count) {
    platform::PropertyList::Dictionary devices;
    for (std::int64_t i = 0; i < count; ++i) {
        platform::PropertyList::Dictionary device{{"QZGCElementSpecifications", platform::PropertyList::Dictionary{}},
                                                  {"QZGCMappings", platform::PropertyList::Dictionary{{"5", "fire"}}}};
        devices.emplace("9-" + std::to_string(i), std::move(device));
    }
    return {{"QZGameControllerConfig", std::move(devices)}};
}

/// An application with its controllers, set up and connected.
class Application {
public:
    Application(std::int64_t connected, std::int64_t stored) : platform(storedConfigurations(stored)) {
        configuration = QZGCConfigurationManager::create(
            actions({"turn", "strafe"}), actions({"move", "look"}),
            actions({"fire", "jump", "duck", "reload", "use", "map", "menu", "left", "right", "zoom"}), std::nullopt,
            std::nullopt, std::nullopt, platform);
        manager = QZGCHIDManager::create(configuration, platform);
        manager->setupWithDelegate(delegate);
        for (std::int64_t i = 0; i < connected; ++i) {
            devices.push_back(platform.hidServices().plug(gamepad(i)));
        }
        platform.currentRunLoop().dispatch(platform::kCFRunLoopDefaultMode);
        // The first value of a device that has no configuration makes one; that is over now.
        for (std::size_t i = 0; i < devices.size(); ++i) {
            send(i, 0, 1);
        }
    }

    void send(std::size_t device, std::size_t element, std::int64_t raw) {
        const platform::HIDValue value{devices[device]->element(element), raw};
        inputValueCallback(manager.get(), platform::kIOReturnSuccess, nullptr, &value);
    }

    platform::VirtualPlatform platform;
    std::shared_ptr<QZGCConfigurationManager> configuration;
    std::shared_ptr<Delegate> delegate = std::make_shared<Delegate>();
    std::shared_ptr<QZGCHIDManager> manager;
    std::vector<std::shared_ptr<platform::VirtualDevice>> devices;
};

/// The application with so many connected and stored devices, made once: the library of benchmarks calls each benchmark
/// many times.
inline Application& sharedApplication(std::int64_t connected, std::int64_t stored) {
    static std::map<std::pair<std::int64_t, std::int64_t>, std::unique_ptr<Application>> applications;
    auto& application = applications[{connected, stored}];
    if (!application) {
        application = std::make_unique<Application>(connected, stored);
    }
    return *application;
}

} // namespace qz::bench
