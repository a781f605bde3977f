// SPDX-License-Identifier: MIT
#include "tools/qzgc/JSONText.h"

#include <array>
#include <charconv>
#include <cmath>

using qz::platform::PropertyList;

namespace qz::tools {

namespace {

/// The escape for a character that has one of its own, or 0.
char shortEscape(char character) {
    switch (character) {
    case '"':
    case '\\':
        return character;
    case '\b':
        return 'b';
    case '\f':
        return 'f';
    case '\n':
        return 'n';
    case '\r':
        return 'r';
    case '\t':
        return 't';
    default:
        return 0;
    }
}

/// `digits`, the first of which stands for 10^exponent, written out with a ".".
std::string positional(std::string digits, int exponent) {
    if (exponent < 0) {
        return "0." + std::string(static_cast<std::size_t>(-exponent - 1), '0') + digits;
    }
    const auto before = static_cast<std::size_t>(exponent) + 1;
    if (digits.size() <= before) {
        return digits + std::string(before - digits.size(), '0') + ".0";
    }
    return digits.insert(before, 1, '.');
}

} // namespace

std::string jsonString(std::string_view text) {
    constexpr std::string_view hexadecimalDigits = "0123456789abcdef";
    std::string result = "\"";
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (const char escape = shortEscape(character); escape != 0) {
            result += {'\\', escape};
        } else if (byte < 0x20) {
            result += {'\\', 'u', '0', '0', hexadecimalDigits[byte >> 4U], hexadecimalDigits[byte & 15U]};
        } else {
            result += character;
        }
    }
    return result + '"';
}

std::string numberText(double number) {
    if (!std::isfinite(number)) {
        return "null";
    }
    std::array<char, 32> buffer{}; // a sign, 17 digits, a ".", and an exponent of three digits at the most
    const auto end =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), number, std::chars_format::scientific).ptr;
    std::string scientific(buffer.data(), end);
    const std::size_t mark = scientific.find('e');
    int exponent = 0;
    std::from_chars(scientific.data() + mark + 2, scientific.data() + scientific.size(), exponent);
    if (scientific[mark + 1] == '-') {
        exponent = -exponent;
    }
    if (exponent < -4 || exponent >= 16) {
        return scientific;
    }
    const std::size_t sign = std::signbit(number) ? 1 : 0;
    std::string digits = scientific.substr(sign, mark - sign);
    std::erase(digits, '.');
    return scientific.substr(0, sign) + positional(std::move(digits), exponent);
}

JSONText& JSONText::key(std::string_view key) {
    raw(jsonString(key));
    text_ += ':';
    separates_ = false;
    return *this;
}

JSONText& JSONText::value(const PropertyList& value) {
    if (const auto boolean = value.boolean()) {
        return this->value(*boolean);
    }
    if (const auto integer = value.integer()) {
        return this->value(*integer);
    }
    if (const auto number = value.floatingPoint()) {
        return this->value(*number);
    }
    if (const auto* const string = value.string()) {
        return this->value(*string);
    }
    if (const auto* const dictionary = value.dictionary()) {
        return this->value(*dictionary);
    }
    beginArray();
    for (const PropertyList& each : *value.array()) {
        this->value(each);
    }
    return endArray();
}

JSONText& JSONText::value(const PropertyList::Dictionary& values) {
    beginObject();
    for (const auto& [name, each] : values) {
        key(name).value(each);
    }
    return endObject();
}

JSONText& JSONText::begin(char bracket) {
    raw({&bracket, 1});
    separates_ = false;
    return *this;
}

JSONText& JSONText::end(char bracket) {
    text_ += bracket;
    separates_ = true;
    return *this;
}

JSONText& JSONText::raw(std::string_view text) {
    if (separates_) {
        text_ += ',';
    }
    text_ += text;
    separates_ = true;
    return *this;
}

} // namespace qz::tools
