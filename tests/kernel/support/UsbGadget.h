// SPDX-License-Identifier: MIT
#pragma once

#include "tests/kernel/support/FileDescriptor.h"
#include "tests/kernel/support/HIDNodes.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace qz::tests {

/// A USB device for the kernel's own USB host to find.
struct UsbDescription {
    std::string manufacturer;
    std::string product;
    std::string serialNumber; ///< empty: none
    std::uint16_t vendorID = 0;
    std::uint16_t productID = 0;
    std::uint16_t release = 0;
    std::uint16_t reportBytes = 0; ///< length of a report
    std::vector<std::uint8_t> descriptor;
};

/// A USB device with one HID interface, made by the kernel's gadget framework and plugged into the emulated host
/// controller (dummy_hcd) of the same kernel: its reports come over USB, through usbhid.
class UsbGadget {
public:
    /// `name` tells it from other gadgets. It is not plugged in yet.
    UsbGadget(const std::string& name, const UsbDescription& description);
    UsbGadget(const UsbGadget&) = delete;
    UsbGadget& operator=(const UsbGadget&) = delete;
    ~UsbGadget();

    /// Plugs the device into a port: each port, from 0 on, is the only one of a host controller. When this returns the
    /// nodes are there. Throws when the kernel does not take the device.
    void plug(int port);
    void unplug();

    const HIDNodes& nodes() const noexcept { return nodes_; }

    /// Sends a report and waits until it has left; someone has to have a node open. False after five seconds.
    bool send(std::span<const std::uint8_t> report) const;

    /// How many ports there are.
    static int ports();

private:
    void write(const std::string& file, std::string_view text) const;

    std::string directory_;
    FileDescriptor device_;
    HIDNodes nodes_;
};

} // namespace qz::tests
