// SPDX-License-Identifier: MIT
#pragma once

#include "platform/linux/SystemCalls.h"
#include "platform/report/HIDIdentity.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// What sysfs tells about HID devices. All of it is text that a stranger's hardware may have written: bytes that are
/// not UTF-8 are replaced in properties, and no file is read beyond its first page.
namespace qz::platform {

/// Whether a file in the directory of device nodes is one of a HID device: "hidraw" and a number.
bool isHIDRawName(std::string_view name);

/// Where the device behind a node is, read once: the number in a node's name is soon another device's.
struct HIDDevicePath {
    std::string directory; ///< the device's directory, for reading
    std::string path;      ///< below /sys, from the root of all devices to the node; empty when the kernel does not say
};

/// The directory of sysfs that has an entry for each node.
class HIDRawClass {
public:
    HIDRawClass(SystemCalls& calls, std::string directory) : calls_(calls), directory_(std::move(directory)) {}
    HIDRawClass(const HIDRawClass&) = delete;
    HIDRawClass& operator=(const HIDRawClass&) = delete;
    ~HIDRawClass() { close(); }

    /// Puts the names of the nodes that the kernel lists into `names`, by their numbers. False when the list is not
    /// complete. Where there is none, on a kernel without this class of devices or in a sandbox, it is empty.
    ///
    /// The directory stays open until `close`, which says whether it was: an entry is found sooner from there than from
    /// the root.
    bool list(std::vector<std::string>& names);
    bool close() noexcept;

    HIDDevicePath devicePath(const std::string& name) const;

private:
    SystemCalls& calls_;
    std::string directory_;
    int descriptor_ = -1;
};

/// The report descriptor of a device, or the first byte too many and all before it. Answers the number of the system's
/// error, or 0.
int readReportDescriptor(SystemCalls& calls, const HIDDevicePath& device, std::vector<std::uint8_t>& bytes);

/// The three numbers that the name of the device's directory tells without another look; 0 when it is no such name.
HIDIdentity numbersInName(const HIDDevicePath& device);

/// Finds out what sysfs tells: who the device is, and all its properties; those it does not tell are absent. False, and
/// nothing is changed, when it may tell more at another time, because the system had no resources left. True also when
/// it never will.
///
/// Of a USB device `uniq` becomes the serial number that the device itself has.
bool readProperties(SystemCalls& calls, const HIDDevicePath& device, HIDProperties& properties, HIDIdentity& identity);

} // namespace qz::platform
