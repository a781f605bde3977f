// SPDX-License-Identifier: MIT
#include "platform/linux/PropertyListJSON.h"

#include <algorithm>
#include <clocale>
#include <limits>
#include <nlohmann/json.hpp>
#include <vector>

namespace qz::platform {

namespace {

/// Has the calling thread read numbers with a point, whatever locale the application has chosen: nlohmann-json reads
/// them with strtod and takes one byte of the locale's separator only.
class PlainNumbers {
public:
    PlainNumbers() : plain_(::newlocale(LC_NUMERIC_MASK, "C", nullptr)) {
        if (plain_ != nullptr) {
            former_ = ::uselocale(plain_);
        }
    }
    PlainNumbers(const PlainNumbers&) = delete;
    PlainNumbers& operator=(const PlainNumbers&) = delete;
    ~PlainNumbers() {
        if (plain_ != nullptr) {
            ::uselocale(former_);
            ::freelocale(plain_);
        }
    }

private:
    locale_t plain_;
    locale_t former_ = nullptr;
};

/// The beginning of `text`, short enough for a message, with whole characters only.
std::string shortened(const std::string& text) {
    std::size_t length = 60;
    if (text.size() <= length) {
        return text;
    }
    while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xc0U) == 0x80U) {
        --length;
    }
    return text.substr(0, length) + "...";
}

/// Where in `text` its byte number `offset` stands, for a person.
std::string placeOf(std::string_view text, std::size_t offset) {
    const std::string_view before = text.substr(0, std::min(offset, text.size()));
    const auto line = std::count(before.begin(), before.end(), '\n') + 1;
    const std::size_t lineStart = before.rfind('\n') + 1; // npos + 1 is 0
    return "line " + std::to_string(line) + ", column " + std::to_string(before.size() - lineStart + 1);
}

/// Makes the property list while nlohmann-json reads the text, without a tree of its own in between. The operations and
/// their names are those of nlohmann-json's SAX interface; false ends the reading.
class PropertyListBuilder {
public:
    explicit PropertyListBuilder(std::string_view text) : text_(text) {}

    bool null() { return add(PropertyList::foreign("null")); }
    bool boolean(bool value) { return add(value); }
    bool number_integer(std::int64_t value) { return add(value); }
    bool number_unsigned(std::uint64_t value);
    bool number_float(double value, const std::string& token);
    bool string(std::string& value) { return add(std::move(value)); }
    bool binary(nlohmann::json::binary_t&) { return refuse("binary data"); }
    bool key(std::string& key);
    bool start_object(std::size_t) { return begin(PropertyList::Dictionary{}); }
    bool end_object() { return end(); }
    bool start_array(std::size_t) { return begin(PropertyList::Array{}); }
    bool end_array() { return end(); }
    bool parse_error(std::size_t position, const std::string& token, const nlohmann::json::exception& error);

    PropertyList takeValue() { return std::move(root_); }
    std::string takeError() { return std::move(error_); }

private:
    /// A dictionary or an array that is being filled; the other pointer is null.
    struct Container {
        PropertyList::Dictionary* dictionary;
        PropertyList::Array* array;
    };

    PropertyList& put(PropertyList value);
    bool add(PropertyList value);
    bool begin(PropertyList container);
    bool end();
    bool refuse(std::string reason);

    std::string_view text_;
    PropertyList root_ = false;
    /// The containers around the next value, the innermost last. A container does not move while it stands here: only
    /// the innermost one grows.
    std::vector<Container> open_;
    PropertyList* entry_ = nullptr; ///< in a dictionary, where the next value goes
    std::string error_;
};

bool PropertyListBuilder::refuse(std::string reason) {
    error_ = std::move(reason);
    return false;
}

PropertyList& PropertyListBuilder::put(PropertyList value) {
    if (open_.empty()) {
        return root_ = std::move(value);
    }
    if (PropertyList::Array* const array = open_.back().array; array != nullptr) {
        return array->emplace_back(std::move(value));
    }
    return *entry_ = std::move(value);
}

bool PropertyListBuilder::add(PropertyList value) {
    put(std::move(value));
    return true;
}

bool PropertyListBuilder::begin(PropertyList container) {
    if (open_.size() == deepestJSONNesting) {
        return refuse("nested deeper than " + std::to_string(deepestJSONNesting) + " levels");
    }
    PropertyList& placed = put(std::move(container));
    open_.push_back({placed.dictionary(), placed.array()});
    return true;
}

bool PropertyListBuilder::end() {
    open_.pop_back();
    return true;
}

bool PropertyListBuilder::key(std::string& key) {
    PropertyList::Dictionary& dictionary = *open_.back().dictionary;
    // Documents are written in the order of their keys, so the end is nearly always the place.
    const std::size_t before = dictionary.size();
    const auto placed = dictionary.try_emplace(dictionary.end(), std::move(key), false);
    if (dictionary.size() == before) {
        return refuse("the key \"" + shortened(placed->first) + "\" stands twice in one object");
    }
    entry_ = &placed->second;
    return true;
}

bool PropertyListBuilder::number_unsigned(std::uint64_t value) {
    if (value > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
        return add(PropertyList::foreign(std::to_string(value)));
    }
    return add(static_cast<std::int64_t>(value));
}

bool PropertyListBuilder::number_float(double value, const std::string& token) {
    // Integers that fit no 64 bits come here too.
    if (token.find_first_not_of("-0123456789") == std::string::npos) {
        return add(PropertyList::foreign(token));
    }
    return add(value);
}

bool PropertyListBuilder::parse_error(std::size_t position, const std::string&,
                                      const nlohmann::json::exception& error) {
    constexpr int numberOverflow = 406;
    // The library counts the bytes it has read, the one at fault among them.
    return refuse(placeOf(text_, position > 0 ? position - 1 : 0) +
                  (error.id == numberOverflow ? ": a number beyond all limits" : ": not JSON"));
}

} // namespace

JSONReading propertyListFromJSON(std::string_view text) {
    // The library takes a zero byte for the end of the text; what follows it would be lost.
    if (const std::size_t zero = text.find('\0'); zero != std::string_view::npos) {
        return {std::nullopt, placeOf(text, zero) + ": not JSON"};
    }
    const PlainNumbers plainNumbers;
    PropertyListBuilder builder(text);
    if (!nlohmann::json::sax_parse(text.begin(), text.end(), &builder)) {
        return {std::nullopt, builder.takeError()};
    }
    return {builder.takeValue(), {}};
}

} // namespace qz::platform
