// SPDX-License-Identifier: MIT
#include "tools/qzgc/ObjectReader.h"

#include "tools/qzgc/Hexadecimal.h"
#include "tools/qzgc/JSONText.h"

#include <algorithm>
#include <limits>

namespace qz::tools {

namespace {

template<typename Kind>
const Kind& expect(const JSONValue& json, const Place& place, const char* kind) {
    const Kind* const found = json.as<Kind>();
    if (found == nullptr) {
        place.refuse(std::string("expected ") + kind);
    }
    return *found;
}

template<typename Integer>
Integer readInteger(const JSONValue& json, const Place& place) {
    constexpr std::int64_t lowest = std::numeric_limits<Integer>::min();
    constexpr std::int64_t highest = std::numeric_limits<Integer>::max();
    const auto integer = expect<std::int64_t>(json, place, "an integer");
    if (integer < lowest || integer > highest) {
        place.refuse("expected an integer from " + std::to_string(lowest) + " to " + std::to_string(highest));
    }
    return static_cast<Integer>(integer);
}

/// Takes the first of the words, which have single blanks between them.
std::string_view takeWord(std::string_view& words) {
    const std::size_t end = std::min(words.find(' '), words.size());
    const std::string_view word = words.substr(0, end);
    words.remove_prefix(std::min(end + 1, words.size()));
    return word;
}

bool contains(std::string_view words, std::string_view word) {
    while (!words.empty()) {
        if (takeWord(words) == word) {
            return true;
        }
    }
    return false;
}

} // namespace

template<>
bool read(const JSONValue& json, const Place& place) {
    return expect<bool>(json, place, "true or false");
}

template<>
std::int64_t read(const JSONValue& json, const Place& place) {
    return expect<std::int64_t>(json, place, "an integer");
}

template<>
std::int32_t read(const JSONValue& json, const Place& place) {
    return readInteger<std::int32_t>(json, place);
}

template<>
std::uint32_t read(const JSONValue& json, const Place& place) {
    return readInteger<std::uint32_t>(json, place);
}

template<>
double read(const JSONValue& json, const Place& place) {
    if (const auto* const integer = json.as<std::int64_t>()) {
        return static_cast<double>(*integer);
    }
    return expect<double>(json, place, "a number");
}

template<>
std::string read(const JSONValue& json, const Place& place) {
    return expect<std::string>(json, place, "a string");
}

template<>
std::vector<std::string> read(const JSONValue& json, const Place& place) {
    std::vector<std::string> strings;
    for (const JSONValue& each : readArray(json, place)) {
        strings.push_back(read<std::string>(each, {place, strings.size()}));
    }
    return strings;
}

template<>
std::vector<std::uint8_t> read(const JSONValue& json, const Place& place) {
    const auto digits = read<std::string>(json, place);
    auto bytes = bytesOfHexadecimal(digits);
    if (!bytes || digits.find_first_of(blanks) != std::string::npos) {
        place.refuse("expected two hexadecimal digits for each byte");
    }
    return *std::move(bytes);
}

const JSONValue::Array& readArray(const JSONValue& json, const Place& place) {
    return expect<JSONValue::Array>(json, place, "an array");
}

ObjectReader::ObjectReader(const JSONValue& json, const Place& place)
    : object_(&expect<JSONValue::Object>(json, place, "an object")), place_(place) {}

void ObjectReader::expectKeys(std::string_view required, std::string_view optional) const {
    for (const auto& [key, value] : *object_) {
        if (!contains(required, key) && !contains(optional, key)) {
            placeOf(key).refuse("unknown key; correct it, or leave it out");
        }
    }
    while (!required.empty()) {
        at(takeWord(required));
    }
}

const JSONValue* ObjectReader::find(std::string_view key) const {
    const auto found = std::ranges::find(*object_, key, &JSONValue::Member::key);
    return found != object_->end() ? &found->value : nullptr;
}

const JSONValue& ObjectReader::at(std::string_view key) const {
    const JSONValue* const found = find(key);
    if (found == nullptr) {
        placeOf(key).refuse("missing");
    }
    return *found;
}

} // namespace qz::tools
