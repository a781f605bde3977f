// SPDX-License-Identifier: MIT
#include "tests/support/RecordingDelegate.h"

#include "HIDWrapper/QZHIDDevice.h"
#include "HIDWrapper/QZHIDElement.h"

#include <sstream>
#include <utility>

using namespace qz::platform;

namespace qz::tests {

void RecordingDelegate::inside(Callback callback, Action action) {
    actions_.at(static_cast<std::size_t>(callback)) = std::move(action);
}

void RecordingDelegate::onceInside(Callback callback, Action action) {
    inside(callback, [this, callback, action = std::move(action)](QZGCHIDManager& manager) {
        inside(callback, nullptr);
        action(manager);
    });
}

void RecordingDelegate::happened(Callback callback, QZGCHIDManager& manager, std::string line) {
    events_.push_back(std::move(line));
    // A copy: the action may put another in its place.
    if (const Action action = actions_.at(static_cast<std::size_t>(callback))) {
        action(manager);
    }
}

bool RecordingDelegate::hidManagerShouldConnectDevice(QZGCHIDManager& manager, IOHIDDeviceRef device) {
    const std::string name = nameOf(device);
    const bool answer = !refused_.contains(name);
    happened(Callback::ShouldConnect, manager, "should connect " + name + " -> " + (answer ? "yes" : "no"));
    return answer;
}

void RecordingDelegate::hidManagerDeviceConnected(QZGCHIDManager& manager, const std::shared_ptr<QZHIDDevice>& device) {
    happened(Callback::Connected, manager, "connected " + nameOf(device));
}

void RecordingDelegate::hidManagerDeviceDisconnected(QZGCHIDManager& manager,
                                                     const std::shared_ptr<QZHIDDevice>& device) {
    happened(Callback::Disconnected, manager, "disconnected " + nameOf(device));
}

void RecordingDelegate::hidManagerElementNewRawValue(QZGCHIDManager& manager,
                                                     const std::shared_ptr<QZHIDElement>& element,
                                                     std::int64_t newRawValue) {
    happened(Callback::RawValue, manager,
             "raw " + nameOf(element->device()) + " " + std::to_string(element->usagePage()) + ":" +
                 std::to_string(element->usage()) + " " + std::to_string(newRawValue));
}

void RecordingDelegate::hidManagerActionNewValue(QZGCHIDManager& manager, const std::string& action, double newValue) {
    std::ostringstream line;
    line << "action " << action << ' ' << newValue;
    happened(Callback::ActionValue, manager, line.str());
}

void RecordingDelegate::hidManagerHidError(QZGCHIDManager& manager, IOReturn error) {
    happened(Callback::Error, manager, "error " + std::to_string(error));
}

std::string nameOf(IOHIDDeviceRef device) {
    if (device == nullptr) {
        return "null";
    }
    const PropertyValue* const product = IOHIDDeviceGetProperty(device, "Product");
    const auto* const name = product != nullptr ? std::get_if<std::string>(product) : nullptr;
    return name != nullptr ? *name : "unnamed";
}

std::string nameOf(const std::shared_ptr<QZHIDDevice>& device) {
    return device ? device->productName().value_or("unnamed") : "null";
}

std::vector<std::string> namesOfDevices(const QZGCHIDManager& manager) {
    std::vector<std::string> names;
    for (const auto& device : manager.devices()) {
        names.push_back(nameOf(device));
    }
    return names;
}

} // namespace qz::tests
