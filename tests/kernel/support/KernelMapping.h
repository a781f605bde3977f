// SPDX-License-Identifier: MIT
#pragma once

#include "tests/kernel/support/EvdevNode.h"

#include <cstdint>
#include <string>
#include <vector>

namespace qz::tests {

/// A usage of one field and the event that the kernel's input layer has made of it.
struct MappedUsage {
    std::uint32_t usage = 0; ///< its page in the upper half
    EvdevNode::Code code = {};
};

/// What the kernel says of its own mapping, in the order of its fields: keys and buttons by the device's key table,
/// axes by the table in debugfs (drivers/hid/hid-debug.c). `directory` is the HID device's.
std::vector<MappedUsage> kernelMapping(const std::string& directory, const EvdevNode& node);

} // namespace qz::tests
