// SPDX-License-Identifier: MIT
#pragma once

#include "tests/kernel/support/FileDescriptor.h"
#include "tests/kernel/support/HIDNodes.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace qz::tests {

/// A device for the kernel to make.
struct UhidDescription {
    std::string name;
    std::string phys; ///< empty: one that no other device has
    std::string uniq;
    std::uint16_t bus = 3; ///< BUS_USB in linux/input.h
    std::uint32_t vendor = 0;
    std::uint32_t product = 0;
    std::uint32_t version = 0;
    std::vector<std::uint8_t> descriptor;
};

/// A HID device of the kernel's, played by this process through /dev/uhid. It goes with its owner.
class UhidDevice {
public:
    /// Plugs the device in; when this returns its nodes are there and reports reach them. Throws when the kernel does
    /// not take it.
    explicit UhidDevice(const UhidDescription& description);
    UhidDevice(UhidDevice&&) = default;
    UhidDevice& operator=(UhidDevice&&) = default;
    ~UhidDevice();

    const HIDNodes& nodes() const noexcept { return nodes_; }
    const std::string& phys() const noexcept { return phys_; }

    /// Has the device send a report, its ID in front if it has any. When this returns the report is in the queue of
    /// everyone who has a node open. False once the device is unplugged.
    bool send(std::span<const std::uint8_t> report);

    /// Unplugs the device; when this returns its nodes are gone.
    void unplug();

private:
    void answer() const;

    FileDescriptor uhid_;
    std::string phys_;
    HIDNodes nodes_;
};

} // namespace qz::tests
