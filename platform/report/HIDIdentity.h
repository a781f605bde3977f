// SPDX-License-Identifier: MIT
#pragma once

#include "platform/report/ReportDevice.h"

#include <string>

/// Who a device is, in the terms of the Linux kernel, and what follows from it. It stands here and not with the back
/// end because a recording keeps the same, and a device that is made of one has to be known under the same names.
namespace qz::platform {

struct RecordedDevice;

/// What the kernel says of a HID device. The texts are a stranger's and may be any bytes.
struct HIDIdentity {
    std::uint32_t bus = 0; ///< BUS_USB and so on in linux/input.h
    std::uint32_t vendor = 0;
    std::uint32_t product = 0;
    std::string name = {};
    std::string phys = {}; ///< where it is plugged in, such as "usb-0000:00:14.0-1/input0"
    std::string uniq = {}; ///< its serial number or, over Bluetooth, its address
    std::string path = {}; ///< of its node below /sys, from the root of all devices on; empty when not known
};

/// The identity of a recorded device, whose path is that of a device made through uhid: nearly all other devices have
/// a `phys`, and then the path does not matter.
HIDIdentity identityOf(const RecordedDevice& device);

/// Whether the device is a USB device or one behind it.
bool isUSB(const HIDIdentity& identity) noexcept;

/// The properties that follow from an identity: "VendorID", "ProductID", "Transport", "Product", "SerialNumber" and
/// "LocationID". What is empty or unknown is absent.
HIDProperties propertiesOf(const HIDIdentity& identity);

/// What "Transport" says; empty when the bus is none of those that have a name.
std::string_view transportOf(const HIDIdentity& identity) noexcept;

/// Sets a property to a text, of which bytes that are not UTF-8 are replaced; an empty text is none.
void setText(HIDProperties& properties, const char* key, std::string_view text);

/// What the location of a device is computed from, of HIDIdentity.
struct HIDPlace {
    bool isBluetooth = false;
    std::string_view phys;
    std::string_view uniq;
    std::string_view path;
};

/// A number from 1 to 0x7fffffff for the place of a device: the same after replugging and after restarting the machine,
/// and whatever else is plugged. It is part of the names that users' settings are kept under, so it never changes for a
/// given place.
std::int64_t locationID(const HIDPlace& place);

} // namespace qz::platform
