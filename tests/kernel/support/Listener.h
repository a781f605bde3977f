// SPDX-License-Identifier: MIT
#pragma once

#include "HIDWrapper/QZGCHIDManager.h"
#include "HIDWrapper/QZGCHIDManagerDelegate.h"

#include <functional>
#include <string>
#include <vector>

namespace qz::tests {

/// A delegate that counts what it is told and passes it on: cheap enough for loads.
class Listener final : public QZGCHIDManagerDelegate {
public:
    std::size_t connected = 0;
    std::size_t disconnected = 0;
    std::size_t values = 0;
    std::size_t actions = 0;
    std::vector<qz::platform::IOReturn> errors;

    std::function<void(const std::shared_ptr<QZHIDDevice>&)> onConnected;
    std::function<void(const std::shared_ptr<QZHIDElement>&, std::int64_t)> onValue;
    std::function<void(const std::string&, double)> onAction;
    std::function<void(qz::platform::IOReturn)> onError;

    bool hidManagerShouldConnectDevice(QZGCHIDManager& /*manager*/, qz::platform::IOHIDDeviceRef /*device*/) override {
        return true;
    }
    void hidManagerDeviceConnected(QZGCHIDManager& /*manager*/, const std::shared_ptr<QZHIDDevice>& device) override {
        ++connected;
        if (onConnected) {
            onConnected(device);
        }
    }
    void hidManagerDeviceDisconnected(QZGCHIDManager& /*manager*/,
                                      const std::shared_ptr<QZHIDDevice>& /*device*/) override {
        ++disconnected;
    }
    void hidManagerElementNewRawValue(QZGCHIDManager& /*manager*/, const std::shared_ptr<QZHIDElement>& element,
                                      std::int64_t newRawValue) override {
        ++values;
        if (onValue) {
            onValue(element, newRawValue);
        }
    }
    void hidManagerActionNewValue(QZGCHIDManager& /*manager*/, const std::string& action, double newValue) override {
        ++actions;
        if (onAction) {
            onAction(action, newValue);
        }
    }
    void hidManagerHidError(QZGCHIDManager& /*manager*/, qz::platform::IOReturn error) override {
        errors.push_back(error);
        if (onError) {
            onError(error);
        }
    }
};

} // namespace qz::tests
