// SPDX-License-Identifier: MIT
// Controllers come and go on the virtual back end: one is let in, another is kept out. Needs no hardware.
#include <QZGameController/QZGameController.h>
#include <platform/virtual/VirtualPlatform.h>

#include <iostream>

using namespace qz::platform;

namespace {

std::string textProperty(IOHIDDeviceRef device, const char* key) {
    const PropertyValue* const value = IOHIDDeviceGetProperty(device, key);
    const auto* const text = value != nullptr ? std::get_if<std::string>(value) : nullptr;
    return text != nullptr ? *text : "nameless";
}

/// An application that flies with joysticks alone.
class Cockpit final : public QZGCHIDManagerDelegate {
public:
    bool hidManagerShouldConnectDevice(QZGCHIDManager& /*manager*/, IOHIDDeviceRef device) override {
        const PropertyValue* const usage = IOHIDDeviceGetProperty(device, "PrimaryUsage");
        const bool isJoystick = usage != nullptr && *usage == PropertyValue(std::int64_t{0x04});
        std::cout << "  Is the " << textProperty(device, "Product") << " welcome? " << (isJoystick ? "Yes" : "No")
                  << ".\n";
        return isJoystick;
    }

    void hidManagerDeviceConnected(QZGCHIDManager& manager, const std::shared_ptr<QZHIDDevice>& device) override {
        std::cout << "  Connected: " << device->productName().value_or("nameless") << ", a " << device->kind()
                  << " whose settings are kept under " << device->userPrefIDs().aInstanceID << ".\n";
        count(manager);
    }

    void hidManagerDeviceDisconnected(QZGCHIDManager& manager, const std::shared_ptr<QZHIDDevice>& device) override {
        std::cout << "  Disconnected: " << (device ? device->productName().value_or("nameless") : "nothing") << ".\n";
        count(manager);
    }

    void hidManagerElementNewRawValue(QZGCHIDManager& /*manager*/, const std::shared_ptr<QZHIDElement>& /*element*/,
                                      std::int64_t /*newRawValue*/) override {}
    void hidManagerActionNewValue(QZGCHIDManager& /*manager*/, const std::string& /*action*/,
                                  double /*newValue*/) override {}
    void hidManagerHidError(QZGCHIDManager& /*manager*/, IOReturn error) override {
        std::cout << "  The platform reports error " << error << ".\n";
    }

private:
    static void count(const QZGCHIDManager& manager) {
        std::cout << "  Devices connected: " << manager.devices().size() << ".\n";
    }
};

VirtualDeviceDescription controller(const char* product, std::int64_t usage, std::int64_t productID,
                                    const char* serialNumber) {
    VirtualDeviceDescription description;
    description.properties = {
        {"Product", product},           {"VendorID", std::int64_t{0x1209}},       {"ProductID", productID},
        {"SerialNumber", serialNumber}, {"PrimaryUsagePage", std::int64_t{0x01}}, {"PrimaryUsage", usage}};
    return description;
}

} // namespace

int main() {
    VirtualPlatform platform;
    const auto runLoop = [&] {
        while (platform.currentRunLoop().dispatch(kCFRunLoopDefaultMode) > 0) {
        }
    };

    const auto cockpit = std::make_shared<Cockpit>();
    const auto manager = QZGCHIDManager::create(nullptr, platform);
    if (manager->setupWithDelegate(cockpit) != kIOReturnSuccess) {
        std::cerr << "The manager cannot be set up.\n";
        return 1;
    }

    std::cout << "A joystick is plugged in.\n";
    const auto stick = platform.hidServices().plug(controller("Cloud Stick", 0x04, 0x0001, "A7"));
    runLoop();

    std::cout << "A gamepad is plugged in.\n";
    const auto pad = platform.hidServices().plug(controller("Thumb Pad", 0x05, 0x0002, "B3"));
    runLoop();

    std::cout << "The joystick is unplugged.\n";
    platform.hidServices().unplug(stick);
    runLoop();

    std::cout << "The gamepad, which was never connected, is unplugged.\n";
    platform.hidServices().unplug(pad);
    runLoop();
}
