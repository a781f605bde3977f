// SPDX-License-Identifier: MIT
#pragma once

#include "platform/PropertyList.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace qz::platform {

/// How deep dictionaries and arrays may stand in each other in a document. The library's own values need 5 levels;
/// reading, writing and destroying a tree take stack for each of its levels, and a thread may have as little as 128
/// KiB.
inline constexpr std::size_t deepestJSONNesting = 128;

/// What a JSON text came to: a value, or else one line that says what is wrong with the text.
struct JSONReading {
    std::optional<PropertyList> value;
    std::string error;
};

/// Reads a JSON text (RFC 8259); a UTF-8 byte order mark before it is passed over.
///
/// A number without fraction and exponent is an integer, any other floating-point. null and integers beyond 64 bits are
/// foreign values. Refused, besides what is no JSON: a key that stands twice in one object, a floating-point number
/// beyond the range of double, text that is not UTF-8, and nesting deeper than `deepestJSONNesting`.
JSONReading propertyListFromJSON(std::string_view text);

/// A property list as JSON text, and whether reading that text gives an equal one.
struct JSONWriting {
    std::string text;
    bool exact;
};

/// Writes a property list: keys in the order of their bytes, one entry to a line, indented by two blanks for each
/// level, a line break at the end.
///
/// JSON has no form for some values; the text is then not exact. NaN, infinities and what is nested deeper than
/// `deepestJSONNesting` are written as null, so that everything else keeps its place. Each ill-formed part of a string
/// becomes U+FFFD; of keys that become equal that way the first one stays, a well-formed one before all others.
JSONWriting jsonFromPropertyList(const PropertyList& value);

/// The same for a dictionary. The text is built in the memory of `buffer`, whose content is lost.
JSONWriting jsonFromDictionary(const PropertyList::Dictionary& dictionary, std::string buffer = {});

} // namespace qz::platform
