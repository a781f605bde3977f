// SPDX-License-Identifier: MIT
#include "tools/qzgc/session/Text.h"

#include <algorithm>
#include <cctype>

namespace qz::tools {

namespace {

/// How many bytes a character beyond ASCII takes at the beginning of `text` that steers a terminal: a control character
/// (U+0080 to U+009F), or one that ends lines or turns the direction of writing (U+200E, U+200F, U+2028 to U+202E,
/// U+2066 to U+2069, U+061C). 0 where there is none.
std::size_t steeringLength(std::string_view text) {
    const auto isBetween = [text](std::size_t index, char first, char last) {
        return index < text.size() && text[index] >= first && text[index] <= last;
    };
    if (text.starts_with('\xC2')) {
        return isBetween(1, '\x80', '\x9F') ? 2 : 0;
    }
    if (text.starts_with("\xE2\x80")) {
        return isBetween(2, '\x8E', '\x8F') || isBetween(2, '\xA8', '\xAE') ? 3 : 0;
    }
    if (text.starts_with("\xE2\x81")) {
        return isBetween(2, '\xA6', '\xA9') ? 3 : 0;
    }
    return text.starts_with("\xD8\x9C") ? 2 : 0;
}

} // namespace

std::string countText(std::size_t count, std::string_view noun) {
    return std::to_string(count).append(" ").append(noun).append(count == 1 ? "" : "s");
}

std::string rangeText(std::int64_t low, std::int64_t high) {
    return std::to_string(low) + ".." + std::to_string(high);
}

std::string joined(const std::vector<std::string>& parts) {
    std::string text;
    for (const std::string& each : parts) {
        text += (&each == &parts.front() ? "" : ", ") + each;
    }
    return text;
}

std::string withoutControlCharacters(std::string text) {
    std::ranges::replace_if(
        text, [](unsigned char each) { return each < ' ' || each == 0x7f; }, ' ');
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (const std::size_t length = steeringLength(std::string_view(text).substr(at)); length > 0) {
            text.replace(at, length, " ");
        }
    }
    return text;
}

std::string shellWord(std::string_view text) {
    constexpr std::string_view plain = "_@%+:,./-";
    const bool isShown = withoutControlCharacters(std::string(text)) == text;
    std::string word;
    for (const char each : text) {
        const auto byte = static_cast<unsigned char>(each);
        const bool isPlain = std::isalnum(byte) != 0 || plain.find(each) != std::string_view::npos;
        if (!isShown && !isPlain) {
            word += {'\\', static_cast<char>('0' + (byte >> 6)), static_cast<char>('0' + (byte >> 3 & 7)),
                     static_cast<char>('0' + (byte & 7))};
        } else {
            word.append(isPlain || byte >= 0x80 ? "" : "\\").append(1, each);
        }
    }
    return isShown ? word.empty() ? "\"\"" : word : "$'" + word + '\'';
}

} // namespace qz::tools
