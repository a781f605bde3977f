// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace qz::test {

/// The bytes that hexadecimal digits stand for, two for each; anything else between them is skipped.
inline std::vector<std::uint8_t> bytes(std::string_view hex) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::vector<std::uint8_t> result;
    std::size_t count = 0;
    for (const char each : hex) {
        const auto digit = digits.find(each);
        if (digit == std::string_view::npos) {
            continue;
        }
        if (count++ % 2 == 0) {
            result.push_back(static_cast<std::uint8_t>(digit << 4U));
        } else {
            result.back() = static_cast<std::uint8_t>(result.back() | digit);
        }
    }
    return result;
}

} // namespace qz::test
