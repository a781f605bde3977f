// SPDX-License-Identifier: MIT
#pragma once

#include "platform/HIDManager.h"
#include "platform/linux/SystemCalls.h"

#include <string>

namespace qz::platform {

/// Where the system has its HID devices.
struct LinuxHIDPaths {
    std::string classDirectory = "/sys/class/hidraw";
    std::string deviceDirectory = "/dev";
};

/// The HID devices of the kernel, through the nodes of its hidraw driver. No daemon and no library takes part: sysfs
/// says which devices there are and what they are, and inotify tells when a node comes, changes and goes.
class LinuxHIDServices final : public HIDServices {
public:
    explicit LinuxHIDServices(LinuxHIDPaths paths = {}, SystemCalls& calls = SystemCalls::kernel());
    ~LinuxHIDServices() override;

    /// Never null: what a manager needs of the kernel it gets when it is scheduled or opened.
    IOHIDManagerRef createManager(IOOptionBits options) override;

private:
    LinuxHIDPaths paths_;
    SystemCalls& calls_;
};

} // namespace qz::platform
