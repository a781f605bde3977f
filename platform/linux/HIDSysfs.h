// SPDX-License-Identifier: MIT
#pragma once

#include "platform/linux/SystemCalls.h"
#include "platform/report/HIDIdentity.h"

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

/// What the place of the device tells without another look: its three numbers and the path. The numbers are 0 when the
/// name of its directory is no such name.
HIDIdentity identityInName(const HIDDevicePath& device);

/// Finds out what sysfs tells: who the device is, and all its properties; those it does not tell are absent. False, and
/// nothing is changed, when it may tell more at another time, because the system had no resources left. True also when
/// it never will.
///
/// Of a USB device `uniq` becomes the serial number that the device itself has.
bool readProperties(SystemCalls& calls, const HIDDevicePath& device, HIDProperties& properties, HIDIdentity& identity);

} // namespace qz::platform
