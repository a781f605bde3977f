// SPDX-License-Identifier: MIT
#pragma once

#include "QZGameController/QZGameController.h"
#include "tools/qzgc/JSONText.h"

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>

namespace qz::tools {

/// Takes one line of output, without its line break.
using LineSink = std::function<void(const std::string& line)>;

/// The names of the devices by their handle.
using DeviceNames = std::map<platform::IOHIDDeviceRef, std::string>;

/// The application's side of a scenario: answers for the devices and turns all that it is told into lines.
class PrintingDelegate final : public QZGCHIDManagerDelegate {
public:
    /// Both must outlive the delegate.
    PrintingDelegate(const DeviceNames& names, const LineSink& lines) : names_(names), lines_(lines) {}

    /// What it answers for the device from now on; it admits every device at first.
    void setAdmits(platform::IOHIDDeviceRef device, bool admits);

    bool hidManagerShouldConnectDevice(QZGCHIDManager& manager, platform::IOHIDDeviceRef device) override;
    void hidManagerDeviceConnected(QZGCHIDManager& manager, const std::shared_ptr<QZHIDDevice>& device) override;
    void hidManagerDeviceDisconnected(QZGCHIDManager& manager, const std::shared_ptr<QZHIDDevice>& device) override;
    void hidManagerElementNewRawValue(QZGCHIDManager& manager, const std::shared_ptr<QZHIDElement>& element,
                                      std::int64_t newRawValue) override;
    void hidManagerActionNewValue(QZGCHIDManager& manager, const std::string& action, double newValue) override;
    void hidManagerHidError(QZGCHIDManager& manager, platform::IOReturn error) override;

private:
    std::optional<std::string> name(const std::shared_ptr<QZHIDDevice>& device) const;

    const DeviceNames& names_;
    const LineSink& lines_;
    std::set<platform::IOHIDDeviceRef> refused_;
};

} // namespace qz::tools
