// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace qz::tools {

inline constexpr std::string_view blanks = " \t\r\n";

/// The bytes that hexadecimal digits stand for, two for each, with blanks allowed between bytes; nothing when the text
/// is anything else.
std::optional<std::vector<std::uint8_t>> bytesOfHexadecimal(std::string_view text);

/// Where the first character is that is neither a hexadecimal digit nor a blank; npos when there is none.
std::size_t findNoHexadecimal(std::string_view text);

} // namespace qz::tools
