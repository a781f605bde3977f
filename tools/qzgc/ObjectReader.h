// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/JSONDocument.h"
#include "tools/qzgc/ScenarioError.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qz::tools {

/// `json` as a `Value`; throws ScenarioError when it is of another kind or out of range. The kinds never mix, but for
/// integers in the place of floating-point numbers.
template<typename Value>
Value read(const JSONValue& json, const Place& place);

template<>
bool read(const JSONValue& json, const Place& place);
template<>
std::int64_t read(const JSONValue& json, const Place& place);
template<>
std::int32_t read(const JSONValue& json, const Place& place);
template<>
std::uint32_t read(const JSONValue& json, const Place& place);
template<>
double read(const JSONValue& json, const Place& place);
template<>
std::string read(const JSONValue& json, const Place& place);
template<>
std::vector<std::string> read(const JSONValue& json, const Place& place);
/// An even number of hexadecimal digits in a string.
template<>
std::vector<std::uint8_t> read(const JSONValue& json, const Place& place);

const JSONValue::Array& readArray(const JSONValue& json, const Place& place);

/// An object whose keys are fixed.
class ObjectReader {
public:
    /// Throws ScenarioError when `json` is no object. Both must live as long as the reader.
    ObjectReader(const JSONValue& json, const Place& place);
    ObjectReader(const JSONValue& json, const Place&& place) = delete;

    /// Throws ScenarioError unless every key of `required` is there and no key besides those of `required` and
    /// `optional`, lists with single blanks between the keys.
    void expectKeys(std::string_view required, std::string_view optional = {}) const;

    const JSONValue::Object& members() const noexcept { return *object_; }
    const Place& place() const noexcept { return place_; }
    Place placeOf(std::string_view key) const { return {place_, key}; }

    /// The value under `key`, or null.
    const JSONValue* find(std::string_view key) const;

    /// The value under `key`, or nothing.
    template<typename Value>
    std::optional<Value> getOptional(std::string_view key) const {
        const JSONValue* const found = find(key);
        return found != nullptr ? std::optional(read<Value>(*found, placeOf(key))) : std::nullopt;
    }

    /// The value under a key that must be there.
    const JSONValue& at(std::string_view key) const;
    template<typename Value>
    Value get(std::string_view key) const {
        return read<Value>(at(key), placeOf(key));
    }

private:
    const JSONValue::Object* object_;
    const Place& place_;
};

} // namespace qz::tools
