// SPDX-License-Identifier: MIT
#include "tools/qzgc/session/Text.h"

#include <algorithm>

namespace qz::tools {

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
    return text;
}

} // namespace qz::tools
