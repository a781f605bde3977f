// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace qz::tests {

/// The nodes that the kernel has made for one HID device, found below the device's directory and not by their numbers,
/// which belong to whoever comes first.
struct HIDNodes {
    std::string directory;           ///< such as "/sys/devices/virtual/misc/uhid/0003:04D2:162E.0001"
    std::string hidraw;              ///< "/dev/hidraw0"
    std::vector<std::string> events; ///< of its input devices, "/dev/input/event3"; a device may have none
};

/// The nodes of the device with this directory, which has found its driver. Throws when there is no hidraw node.
HIDNodes nodesOf(const std::string& directory);

} // namespace qz::tests
