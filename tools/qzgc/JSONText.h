// SPDX-License-Identifier: MIT
#pragma once

#include "platform/PropertyList.h"

#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qz::tools {

/// `text` as a JSON string with its quotation marks. UTF-8 stays as it is; quotation mark, reverse solidus and the
/// characters below U+0020 are escaped, with the short escapes where JSON has one.
std::string jsonString(std::string_view text);

/// `number` with the fewest digits that read back to the same double, always with a "." or an exponent: 0.5, 1.0,
/// 1e-05, 2.5e+16. Without an exponent from 0.0001 up to below 1e16. JSON has no word for what is not finite: null.
std::string numberText(double number);

/// One JSON text without blanks, written from front to back. Nothing checks that what is begun is ended.
class JSONText {
public:
    JSONText& beginObject() { return begin('{'); }
    JSONText& endObject() { return end('}'); }
    JSONText& beginArray() { return begin('['); }
    JSONText& endArray() { return end(']'); }
    JSONText& key(std::string_view key);

    JSONText& value(std::nullopt_t /*null*/) { return raw("null"); }
    JSONText& value(std::integral auto number) {
        if constexpr (std::same_as<decltype(number), bool>) {
            return raw(number ? "true" : "false");
        } else {
            return raw(std::to_string(number));
        }
    }
    JSONText& value(std::floating_point auto number) { return raw(numberText(number)); }
    JSONText& value(const std::convertible_to<std::string_view> auto& text) { return raw(jsonString(text)); }
    /// The keys of dictionaries are written in the order of their bytes.
    JSONText& value(const platform::PropertyList& value);
    JSONText& value(const platform::PropertyList::Dictionary& values);
    /// Null when there is nothing.
    template<typename Value>
    JSONText& value(const std::optional<Value>& optional) {
        return optional ? value(*optional) : value(std::nullopt);
    }

    template<typename Value>
    JSONText& member(std::string_view name, const Value& itsValue) {
        return key(name).value(itsValue);
    }

    const std::string& text() const noexcept { return text_; }

private:
    JSONText& begin(char bracket);
    JSONText& end(char bracket);
    JSONText& raw(std::string_view text);

    std::string text_;
    bool separates_ = false; ///< whether a comma comes before the next key or value
};

} // namespace qz::tools
