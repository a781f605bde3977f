// SPDX-License-Identifier: MIT
#pragma once

#include "tests/kernel/support/FileDescriptor.h"

#include <cstdint>
#include <map>
#include <vector>

namespace qz::tests {

/// A node of the kernel's input layer, and what is known of the state of the device behind it.
class EvdevNode {
public:
    /// Opens the node and has the kernel report every change of an axis, however small.
    explicit EvdevNode(const std::string& path);

    /// A key or button, or an axis, as the kernel keeps it now.
    struct Code {
        std::uint16_t type = 0;
        std::uint16_t code = 0;
        friend auto operator<=>(const Code&, const Code&) = default;
    };

    /// Takes in the events that wait. False when the kernel has dropped some, so that the state is no longer known.
    bool update();

    /// The last value of a code. For a relative one what the last `update` brought, all together.
    std::int32_t value(Code code) const;

    /// Whether the device has such an event at all.
    bool has(Code code) const;

    /// For each key that the kernel has made of a HID usage the usage (page in the upper half) and the key's code, in
    /// the order of the fields: EVIOCGKEYCODE_V2, which hid-input answers by its own table.
    struct MappedKey {
        std::uint32_t usage = 0;
        std::uint16_t code = 0;
    };
    std::vector<MappedKey> mappedKeys() const;

private:
    FileDescriptor node_;
    std::map<Code, std::int32_t> values_;
};

} // namespace qz::tests
