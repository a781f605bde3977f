// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qz::tools {

/// "1 hat", "2 hats"; for nouns that do with an s.
std::string countText(std::size_t count, std::string_view noun);

/// "0..255"
std::string rangeText(std::int64_t low, std::int64_t high);

/// "roll, pitch, fire"
std::string joined(const std::vector<std::string>& parts);

/// `text` on one line: with blanks in place of control characters and of those that turn the direction of writing.
std::string withoutControlCharacters(std::string text);

/// `text` as one word of a shell's command line, with backslashes, so that it can stand in a message between quotes.
/// What a message cannot show as it is becomes $'...'.
std::string shellWord(std::string_view text);

} // namespace qz::tools
