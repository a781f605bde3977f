// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Export.h"

#include <concepts>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace qz::platform {

/// A value that preferences keep: a tree of dictionaries with string keys, arrays, strings, integers, floating-point
/// numbers and booleans. The kinds never mix: the boolean true is no integer, and 3.0 is none either.
///
/// Strings are UTF-8 by intention; nothing checks it here. Dictionaries are walked in the order of their keys' bytes.
///
/// Copies are independent. A dictionary that nobody may change is shared by its copies, so that copying one, or storing
/// it in many places, costs neither time nor memory.
///
/// A store may hold more than these kinds, such as the null of JSON. Such a foreign value answers no question about its
/// kind, so that who reads it passes over it like over any value of a wrong kind; the store it came from writes it back
/// as it was.
class QZGC_EXPORT PropertyList {
public:
    using Array = std::vector<PropertyList>;
    using Dictionary = std::map<std::string, PropertyList, std::less<>>;

    template<std::same_as<bool> Boolean>
    PropertyList(Boolean value) : value_(value) {}
    template<std::integral Integer>
    requires(!std::same_as<Integer, bool> && (std::signed_integral<Integer> || sizeof(Integer) < sizeof(std::int64_t)))
        PropertyList(Integer value)
        : value_(static_cast<std::int64_t>(value)) {}
    PropertyList(double value) : value_(value) {}
    PropertyList(const char* value) : value_(std::string(value)) {}
    PropertyList(std::string_view value) : value_(std::string(value)) {}
    PropertyList(std::string value) : value_(std::move(value)) {}
    PropertyList(Array value) : value_(std::move(value)) {}
    PropertyList(Dictionary value) : value_(SharedDictionary(std::move(value))) {}

    /// A foreign value, which its store writes as `text`.
    static PropertyList foreign(std::string text);

    /// The value when it is of the kind asked for; nothing, or null, when it is of another kind.
    std::optional<bool> boolean() const;
    std::optional<std::int64_t> integer() const;
    std::optional<double> floatingPoint() const;
    const std::string* string() const noexcept { return std::get_if<std::string>(&value_); }
    const Array* array() const noexcept { return std::get_if<Array>(&value_); }
    const Dictionary* dictionary() const noexcept;
    Array* array() noexcept { return std::get_if<Array>(&value_); }
    /// To be changed in place: from now on this value shares its dictionary with no copy.
    Dictionary* dictionary();

    /// What the store of a foreign value writes for it; null for a value of one of the kinds.
    const std::string* foreignText() const noexcept;

    /// Equal in kind and content; a NaN equals nothing.
    friend bool operator==(const PropertyList&, const PropertyList&) = default;

private:
    struct Foreign {
        std::string text;
        friend bool operator==(const Foreign&, const Foreign&) = default;
    };

    /// A dictionary that is shared as long as nobody can change it.
    class QZGC_EXPORT SharedDictionary {
    public:
        explicit SharedDictionary(Dictionary entries);
        SharedDictionary(const SharedDictionary& other);
        SharedDictionary(SharedDictionary&& other) noexcept = default;
        SharedDictionary& operator=(const SharedDictionary& other);
        SharedDictionary& operator=(SharedDictionary&& other) noexcept = default;
        ~SharedDictionary();

        const Dictionary& entries() const noexcept;
        Dictionary& changeableEntries();
        friend bool operator==(const SharedDictionary& a, const SharedDictionary& b) {
            return a.entries() == b.entries();
        }

    private:
        struct Content;
        std::shared_ptr<Content> content_; ///< null when moved from: no entries
    };

    std::variant<bool, std::int64_t, double, std::string, Array, SharedDictionary, Foreign> value_;
};

} // namespace qz::platform
