// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>

namespace qz::platform {

/// `number` in lower-case hexadecimal, without prefix, with at least `digits` digits.
inline std::string hexadecimal(std::uint64_t number, std::size_t digits = 1) {
    std::array<char, 16> buffer{};
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number, 16).ptr;
    std::string text(buffer.data(), end);
    if (text.size() < digits) {
        text.insert(0, digits - text.size(), '0');
    }
    return text;
}

/// What tells one object from another in descriptions: its class and address, such as "<QZHIDDevice: 0x55d0c0de>".
inline std::string identityText(std::string_view className, const void* object) {
    return "<" + std::string(className) + ": 0x" + hexadecimal(reinterpret_cast<std::uintptr_t>(object)) + ">";
}

} // namespace qz::platform
