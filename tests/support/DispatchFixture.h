// SPDX-License-Identifier: MIT
#pragma once

#include "HIDWrapper/QZGCHIDManagerDelegate.h"
#include "platform/Text.h"
#include "tests/support/ConfigurationFixture.h"

#include <charconv>
#include <functional>

namespace qz::test {

/// A delegate that notes every call and then does what a test asks of it.
class ScriptedDelegate final : public QZGCHIDManagerDelegate {
public:
    std::vector<std::string> events;

    /// What is done in each call, after it has been noted.
    std::function<bool()> onShouldConnect = [] { return true; };
    std::function<void()> onConnected;
    std::function<void()> onDisconnected;
    std::function<void()> onRawValue;
    std::function<void()> onAction;
    std::function<void()> onError;

    bool hidManagerShouldConnectDevice(QZGCHIDManager& /*manager*/, platform::IOHIDDeviceRef /*device*/) override {
        events.emplace_back("should connect?");
        const auto script = onShouldConnect;
        return script();
    }
    void hidManagerDeviceConnected(QZGCHIDManager& /*manager*/, const std::shared_ptr<QZHIDDevice>& device) override {
        events.push_back("connected " + device->serialNo().value_or("?"));
        run(onConnected);
    }
    void hidManagerDeviceDisconnected(QZGCHIDManager& /*manager*/,
                                      const std::shared_ptr<QZHIDDevice>& device) override {
        events.push_back("disconnected " + (device ? device->serialNo().value_or("?") : "null"));
        run(onDisconnected);
    }
    void hidManagerElementNewRawValue(QZGCHIDManager& /*manager*/, const std::shared_ptr<QZHIDElement>& element,
                                      std::int64_t newRawValue) override {
        events.push_back("raw " + std::to_string(element->cookie()) + " = " + std::to_string(newRawValue));
        run(onRawValue);
    }
    void hidManagerActionNewValue(QZGCHIDManager& /*manager*/, const std::string& action, double newValue) override {
        events.push_back("action " + action + " = " + text(newValue));
        run(onAction);
        lastAction = action; // after the script: the name is promised to be valid to the end of the call
    }
    void hidManagerHidError(QZGCHIDManager& /*manager*/, platform::IOReturn error) override {
        events.push_back("error 0x" + platform::hexadecimal(static_cast<std::uint32_t>(error)));
        run(onError);
    }

    std::vector<std::string> takeEvents() { return std::exchange(events, {}); }

    std::string lastAction;

private:
    // A copy is run: a script may replace itself.
    static void run(std::function<void()> script) {
        if (script) {
            script();
        }
    }
    static std::string text(double value) {
        std::array<char, 32> buffer{};
        return {buffer.data(), std::to_chars(buffer.data(), buffer.data() + buffer.size(), value).ptr};
    }
};

/// A manager that has been set up over virtual devices. Axes have the range 0 to 256 and rest at 128, so that a raw
/// value is its normalised one times 256.
class DispatchFixture : public ConfigurationFixture {
protected:
    void SetUp() override { ASSERT_EQ(hidManager_->setupWithDelegate(delegate_), platform::kIOReturnSuccess); }

    /// Plugs a gamepad in and lets it be admitted: a button (index 0, cookie 1, "b1"), X and Y (indices 1 and 2,
    /// cookies 2 and 3, "x1" and "y1"), and Rx (index 3, cookie 4), which has no action.
    std::shared_ptr<VirtualDevice> plug(const std::string& serialNumber = "A") {
        auto device = platform_.hidServices().plug(
            gamepad(serialNumber, {button(1), axis(2, usageX), axis(3, usageY), axis(4, usageRx)}));
        turn();
        delegate_->takeEvents();
        return device;
    }

    void turn() { platform_.currentRunLoop().dispatch(platform::kCFRunLoopDefaultMode); }

    void send(const std::shared_ptr<VirtualDevice>& device, std::size_t index, std::int64_t raw) {
        platform_.hidServices().send(device, index, raw);
        turn();
    }

    /// What the delegate was told because of one value.
    std::vector<std::string> eventsOf(const std::shared_ptr<VirtualDevice>& device, std::size_t index,
                                      std::int64_t raw) {
        delegate_->takeEvents();
        send(device, index, raw);
        return delegate_->takeEvents();
    }

    /// Hands a value over as the platform does, but at once and whatever its device.
    void deliver(platform::IOHIDElementRef element, std::int64_t raw) {
        const platform::HIDValue value{element, raw};
        platform_.hidServices().deliverInputValue(platform::kIOReturnSuccess, &value);
    }

    std::shared_ptr<QZHIDDevice> admitted(const std::shared_ptr<VirtualDevice>& device) {
        const auto* const found = hidManager_->connectedHIDDevices().find(device.get());
        return found != nullptr ? *found : nullptr;
    }
    std::shared_ptr<QZHIDElement> element(const std::shared_ptr<VirtualDevice>& device, std::int64_t cookie) {
        return admitted(device)->elementWithCookie(cookie);
    }

    std::shared_ptr<QZGCConfigurationManager> configurations_ = manager();
    std::shared_ptr<QZGCHIDManager> hidManager_ = QZGCHIDManager::create(configurations_, platform_);
    std::shared_ptr<ScriptedDelegate> delegate_ = std::make_shared<ScriptedDelegate>();
};

} // namespace qz::test
