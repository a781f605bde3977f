// SPDX-License-Identifier: MIT
#pragma once

#include "HIDWrapper/QZGCHIDManager.h"
#include "HIDWrapper/QZGCHIDManagerDelegate.h"

#include <array>
#include <functional>
#include <set>
#include <string>
#include <vector>

namespace qz::tests {

/// What happened, in order, one line for each event. It belongs to the test and outlives who writes into it.
using EventLog = std::vector<std::string>;

/// The callbacks of a QZGCHIDManagerDelegate.
enum class Callback : std::uint8_t { ShouldConnect, Connected, Disconnected, RawValue, ActionValue, Error };

/// A delegate that writes down what it is told and runs any action inside any callback.
///
/// The lines: "should connect pad -> yes", "should connect pad -> no", "connected pad", "disconnected pad",
/// "disconnected null", "raw pad 9:1 1" (usage page, usage and value), "action Fire 0.5", "error -536870203". Devices
/// go by their product name.
class RecordingDelegate final : public QZGCHIDManagerDelegate {
public:
    using Action = std::function<void(QZGCHIDManager&)>;

    explicit RecordingDelegate(EventLog& events) : events_(events) {}

    /// What it answers when it is asked about the device of this name; it accepts at first.
    void refuse(const std::string& name) { refused_.insert(name); }
    void accept(const std::string& name) { refused_.erase(name); }

    /// Runs `action` inside every such callback from now on, after its line has been written; none: no longer.
    void inside(Callback callback, Action action);

    /// Runs `action` inside the next such callback alone.
    void onceInside(Callback callback, Action action);

    bool hidManagerShouldConnectDevice(QZGCHIDManager& manager, qz::platform::IOHIDDeviceRef device) override;
    void hidManagerDeviceConnected(QZGCHIDManager& manager, const std::shared_ptr<QZHIDDevice>& device) override;
    void hidManagerDeviceDisconnected(QZGCHIDManager& manager, const std::shared_ptr<QZHIDDevice>& device) override;
    void hidManagerElementNewRawValue(QZGCHIDManager& manager, const std::shared_ptr<QZHIDElement>& element,
                                      std::int64_t newRawValue) override;
    void hidManagerActionNewValue(QZGCHIDManager& manager, const std::string& action, double newValue) override;
    void hidManagerHidError(QZGCHIDManager& manager, qz::platform::IOReturn error) override;

private:
    void happened(Callback callback, QZGCHIDManager& manager, std::string line);

    EventLog& events_;
    std::set<std::string> refused_;
    std::array<Action, 6> actions_;
};

/// The product name of a handle's device; "unnamed" when it has none, "null" for the null handle.
std::string nameOf(qz::platform::IOHIDDeviceRef device);
std::string nameOf(const std::shared_ptr<QZHIDDevice>& device);

/// The names of the manager's devices, in its order.
std::vector<std::string> namesOfDevices(const QZGCHIDManager& manager);

} // namespace qz::tests
