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
    /// The device that sysfs has at `path`. Of its properties those are there that cost no further look.
    /// `bytes` are those that `descriptor` was made of.
    LinuxHIDDevice(SystemCalls& calls, std::vector<std::uint8_t> bytes, ReportDescriptor descriptor,
                   HIDDevicePath path);
    ~LinuxHIDDevice() override;

    /// The place in sysfs below the root of all devices, which no other device ever has; empty when not known.
    const std::string& sysfsPath() const noexcept { return path_.path; }

    /// Opens the node for reading; the number of the system's error, or 0.
    int openNode(const std::string& path);
    void closeNode() noexcept;
    bool isOpen() const noexcept { return descriptor_ >= 0; }
    int descriptor() const noexcept { return descriptor_; }

    /// Whether the node that was opened has been deleted. Its name may be another's by now.
    bool isNodeDeleted() const;

    std::optional<RecordedDevice> recordedDevice() override;

    /// Reads the properties that are still to be read: all that nobody has asked for yet.
    void loadProperties() override;

    bool hasAllProperties() const noexcept { return isComplete_; }

    /// No longer asks the system for anything. The device is gone, or its manager goes.
    void detach() noexcept;
    using HIDDevice::markGone;
    using ReportDevice::forgetValues;

private:
    SystemCalls& calls_;
    HIDDevicePath path_;
    std::vector<std::uint8_t> bytes_; ///< of the report descriptor
    HIDIdentity identity_;
    int descriptor_ = -1;
    bool isComplete_ = false; ///< whether the properties have been read, or never will be
};

} // namespace qz::platform
