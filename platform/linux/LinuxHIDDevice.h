// SPDX-License-Identifier: MIT
#pragma once

#include "platform/linux/HIDSysfs.h"
#include "platform/linux/SystemCalls.h"
#include "platform/report/ReportDevice.h"

#include <span>
#include <string>

namespace qz::platform {

/// The status code for an error of the system that opening a node met.
IOReturn statusOfOpening(int error) noexcept;

/// A HID device behind a node. It owns the node's descriptor while that is open; what closes it at the latest is the
/// manager's end, although a client may keep the object longer.
class LinuxHIDDevice final : public ReportDevice {
public:
    LinuxHIDDevice(SystemCalls& calls, ReportDescriptor descriptor);
    ~LinuxHIDDevice() override;

    /// Finds out where sysfs has the device, and reads of its properties those that cost nothing more.
    void locate(const std::string& classDirectory, const std::string& name);
    /// The place in sysfs below the root of all devices, which no other device ever has; empty when not known.
    const std::string& sysfsPath() const noexcept { return path_.path; }

    /// Opens the node for reading; the number of the system's error, or 0.
    int openNode(const std::string& path);
    void closeNode() noexcept;
    bool isOpen() const noexcept { return descriptor_ >= 0; }
    int descriptor() const noexcept { return descriptor_; }

    /// Whether the node that was opened has been deleted. Its name may be another's by now.
    bool isNodeDeleted() const;

    /// Reads the properties that are still to be read: all that nobody has asked for yet.
    void loadProperties() override;

    /// No longer asks the system for anything. The device is gone, or its manager goes.
    void detach() noexcept;
    using HIDDevice::markGone;

private:
    SystemCalls& calls_;
    HIDDevicePath path_;
    int descriptor_ = -1;
    bool isComplete_ = true;
};

} // namespace qz::platform
