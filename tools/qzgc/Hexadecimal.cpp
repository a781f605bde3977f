// SPDX-License-Identifier: MIT
#include "tools/qzgc/Hexadecimal.h"

namespace qz::tools {

namespace {

constexpr std::string_view digits = "0123456789abcdef0123456789ABCDEF";

} // namespace

std::optional<std::vector<std::uint8_t>> bytesOfHexadecimal(std::string_view text) {
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (blanks.find(text[i]) != std::string_view::npos) {
            continue;
        }
        const auto high = digits.find(text[i]);
        const auto low = i + 1 < text.size() ? digits.find(text[i + 1]) : std::string_view::npos;
        if (high == std::string_view::npos || low == std::string_view::npos) {
            return std::nullopt;
        }
        bytes.push_back(static_cast<std::uint8_t>((high % 16) << 4U | low % 16));
        ++i;
    }
    return bytes;
}

std::size_t findNoHexadecimal(std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (digits.find(text[i]) == std::string_view::npos && blanks.find(text[i]) == std::string_view::npos) {
            return i;
        }
    }
    return std::string_view::npos;
}

} // namespace qz::tools
