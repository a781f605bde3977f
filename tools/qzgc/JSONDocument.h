// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace qz::tools {

/// A JSON value as it was written: integers and floating-point numbers are two kinds, members keep their order.
struct JSONValue {
    struct Member;
    using Array = std::vector<JSONValue>;
    using Object = std::vector<Member>;

    std::variant<std::nullptr_t, bool, std::int64_t, double, std::string, Array, Object> value;

    template<typename Kind>
    const Kind* as() const noexcept {
        return std::get_if<Kind>(&value);
    }
};

struct JSONValue::Member {
    std::string key;
    JSONValue value;
};

/// Arrays and objects within each other. Trees are walked and taken down by recursion, which takes up to two kilobytes
/// of stack a level in a build with sanitizers; nothing that an application stores comes near.
inline constexpr std::size_t maximumNesting = 1000;

/// Reads one JSON text (RFC 8259, UTF-8). Throws ScenarioError for anything else, and for what scenarios do not take: a
/// key twice in one object, an integer beyond 64 bits, a number beyond the range of a double, deeper nesting.
JSONValue readJSON(std::string_view text);

} // namespace qz::tools
