// SPDX-License-Identifier: MIT
#pragma once

#include "platform/linux/SystemCalls.h"
#include "platform/report/ReportDevice.h"

#include <string>
#include <string_view>
#include <vector>

/// What sysfs tells about HID devices. All of it is text that a stranger's hardware may have written: bytes that are
/// not UTF-8 are replaced in properties, and no file is read beyond its first page.
namespace qz::platform {

/// Whether a file in the directory of device nodes is one of a HID device: "hidraw" and a number.
bool isHIDRawName(std::string_view name);

/// Puts the names of the nodes that the kernel lists in `classDirectory` into `names`, by their numbers. False when the
/// list is not complete. Where there is none, on a kernel without this class of devices or in a sandbox, it is empty.
bool listHIDRawNodes(SystemCalls& calls, const std::string& classDirectory, std::vector<std::string>& names);

/// Where the device behind a node is, read once: the number in a node's name is soon another device's.
struct HIDDevicePath {
    std::string directory; ///< the device's directory, for reading
    std::string path;      ///< below /sys, from the root of all devices to the node; empty when the kernel does not say
};
HIDDevicePath readDevicePath(SystemCalls& calls, const std::string& classDirectory, const std::string& name);

/// The report descriptor of a device, or the first byte too many and all before it. Answers the number of the system's
/// error, or 0.
int readReportDescriptor(SystemCalls& calls, const HIDDevicePath& device, std::vector<std::uint8_t>& bytes);

/// What the name of the device's directory tells without another look: "VendorID", "ProductID", "Transport". Nothing
/// when the name is no such name.
HIDProperties propertiesInName(const HIDDevicePath& device);

/// Puts all properties that sysfs tells into `properties`; those it does not are absent. False, and none are put there,
/// when it may tell more at another time, because the system had no resources left.
bool readProperties(SystemCalls& calls, const HIDDevicePath& device, HIDProperties& properties);

/// What the location of a device is computed from.
struct HIDPlace {
    bool isBluetooth = false;
    std::string phys; ///< the kernel's name for where the device is plugged, such as "usb-0000:00:14.0-1/input0"
    std::string uniq; ///< over Bluetooth the device's address
    std::string path; ///< that of HIDDevicePath
};

/// A number from 1 to 0x7fffffff for the place of a device: the same after replugging and after restarting the machine,
/// and whatever else is plugged. It is part of the names that users' settings are kept under, so it never changes for a
/// given place.
std::int64_t locationID(const HIDPlace& place);

} // namespace qz::platform
