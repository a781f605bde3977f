// SPDX-License-Identifier: MIT
// Controllers come, send and go on the virtual back end: one is let in and flown with, another is kept out. Needs no
// hardware.
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
    void hidManagerActionNewValue(QZGCHIDManager& /*manager*/, const std::string& action, double newValue) override {
        std::cout << "  " << action << " " << newValue << "\n";
    }
    void hidManagerHidError(QZGCHIDManager& /*manager*/, IOReturn error) override {
        std::cout << "  The platform reports error " << error << ".\n";
    }

private:
    static void count(const QZGCHIDManager& manager) {
        std::cout << "  Devices connected: " << manager.devices().size() << ".\n";
    }
};

using Action = QZGCConfigurationManager::Action;

// The cookies of the controls that every controller here has; a control's place in the list of elements is one less.
constexpr std::uint32_t xAxis = 1;
constexpr std::uint32_t yAxis = 2;
constexpr std::uint32_t trigger = 3;

// The usage is what makes it a joystick (4) or a gamepad (5); without one no manager would look at it.
VirtualDeviceDescription controller(const char* product, std::int64_t usage, std::int64_t productID,
                                    const char* serialNumber) {
    VirtualDeviceDescription description;
    description.properties = {
        {"Product", product},           {"VendorID", std::int64_t{0x1209}},       {"ProductID", productID},
        {"SerialNumber", serialNumber}, {"PrimaryUsagePage", std::int64_t{0x01}}, {"PrimaryUsage", usage}};
    const auto axis = [](std::uint32_t cookie, std::uint32_t axisUsage) {
        return VirtualElement{.cookie = cookie,
                              .type = kIOHIDElementTypeInput_Axis,
                              .usagePage = 0x01,
                              .usage = axisUsage,
                              .min = -100,
                              .max = 100};
    };
    const VirtualElement button{
        .cookie = trigger, .type = kIOHIDElementTypeInput_Button, .usagePage = 0x09, .usage = 1, .max = 1};
    description.elements = {axis(xAxis, 0x30), axis(yAxis, 0x31), button};
    return description;
}

/// Plugs controllers in, works their controls, and lets the library see what happened.
class Desk {
public:
    explicit Desk(VirtualPlatform& platform) : platform_(platform) {}

    std::shared_ptr<VirtualDevice> plug(VirtualDeviceDescription description) {
        auto device = platform_.hidServices().plug(std::move(description));
        runLoop();
        return device;
    }

    void unplug(const std::shared_ptr<VirtualDevice>& device) {
        platform_.hidServices().unplug(device);
        runLoop();
    }

    void move(const std::shared_ptr<VirtualDevice>& device, std::uint32_t cookie, std::int64_t raw) {
        platform_.hidServices().send(device, cookie - 1, raw);
        runLoop();
    }

private:
    void runLoop() {
        while (platform_.currentRunLoop().dispatch(kCFRunLoopDefaultMode) > 0) {
        }
    }

    VirtualPlatform& platform_;
};

} // namespace

int main() {
    VirtualPlatform platform;
    Desk desk(platform);
    const auto cockpit = std::make_shared<Cockpit>();
    const auto configuration = QZGCConfigurationManager::create({Action("roll")}, {Action("pitch")},
                                                                {Action("fire"), Action("gear")}, platform);
    const auto manager = QZGCHIDManager::create(configuration, platform);
    if (manager->setupWithDelegate(cockpit) != kIOReturnSuccess) {
        std::cerr << "The manager cannot be set up.\n";
        return 1;
    }

    std::cout << "A joystick is plugged in.\n";
    const auto stick = desk.plug(controller("Cloud Stick", 0x04, 0x0001, "A7"));

    std::cout << "It is moved all the way to the right, half the way forward, and its trigger is pulled.\n";
    desk.move(stick, xAxis, 100);
    desk.move(stick, yAxis, -50);
    desk.move(stick, trigger, 1);

    std::cout << "It is let go.\n";
    desk.move(stick, xAxis, 0);
    desk.move(stick, yAxis, 0);
    desk.move(stick, trigger, 0);

    std::cout << "The pilot turns the direction of the roll round and gives the trigger the gear; the same again.\n";
    const auto device = manager->devices().front();
    configuration->setReverseDirection(true, *device->elementWithCookie(xAxis));
    configuration->setMapping(*device->elementWithCookie(trigger), Action("gear"));
    desk.move(stick, xAxis, 100);
    desk.move(stick, trigger, 1);

    std::cout << "A gamepad is plugged in.\n";
    const auto pad = desk.plug(controller("Thumb Pad", 0x05, 0x0002, "B3"));

    std::cout << "The joystick is unplugged.\n";
    desk.unplug(stick);

    std::cout << "The gamepad is unplugged; about a device that was refused the question is put once more then.\n";
    desk.unplug(pad);
}
