// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <charconv>
#include <cstdint>
#include <initializer_list>
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

/// An integer in decimal, in place of a string where none is to be allocated.
class DecimalText {
public:
    explicit DecimalText(std::int64_t number)
        : length_(static_cast<std::size_t>(std::to_chars(buffer_.data(), buffer_.data() + buffer_.size(), number).ptr -
                                           buffer_.data())) {}

    operator std::string_view() const { return {buffer_.data(), length_}; }

private:
    std::array<char, 20> buffer_{}; // a sign and 19 digits
    std::size_t length_;
};

/// The parts one after the other.
inline std::string joined(std::initializer_list<std::string_view> parts) {
    std::size_t size = 0;
    for (const std::string_view part : parts) {
        size += part.size();
    }
    std::string text;
    text.reserve(size);
    for (const std::string_view part : parts) {
        text += part;
    }
    return text;
}

/// What tells one object from another in descriptions: its class and address, such as "<QZHIDDevice: 0x55d0c0de>".
inline std::string identityText(std::string_view className, const void* object) {
    return joined({"<", className, ": 0x", hexadecimal(reinterpret_cast<std::uintptr_t>(object)), ">"});
}

} // namespace qz::platform
