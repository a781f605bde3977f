// SPDX-License-Identifier: MIT
#include "tools/qzgc/JSONDocument.h"

#include "tools/qzgc/ScenarioError.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <limits>
#include <unordered_set>

namespace qz::tools {

namespace {

/// Lines and columns count from 1, columns in bytes.
std::string textPosition(std::string_view text, std::size_t offset) {
    const std::string_view before = text.substr(0, offset);
    const auto line = 1 + std::ranges::count(before, '\n');
    const std::size_t lineStart = before.rfind('\n') + 1; // npos + 1 is 0
    return "line " + std::to_string(line) + ", column " + std::to_string(1 + before.size() - lineStart);
}

/// The last characters of `text`, of one line and in ASCII, for a message.
std::string endInPrint(std::string_view text) {
    constexpr std::size_t longest = 20;
    constexpr std::string_view hexadecimalDigits = "0123456789abcdef";
    const std::string_view before = text.substr(0, text.size() - 1);
    const std::size_t lineStart = before.rfind('\n') + 1; // npos + 1 is 0
    std::string result;
    for (const char character : text.substr(std::max(lineStart, text.size() - std::min(longest, text.size())))) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte >= 0x20 && byte < 0x7f) {
            result += character;
        } else {
            result += {'\\', 'x', hexadecimalDigits[byte >> 4U], hexadecimalDigits[byte & 15U]};
        }
    }
    return result;
}

/// Puts the tree together from what the parser finds, and knows at any time where in the document that is.
class TreeBuilder final : public nlohmann::json_sax<nlohmann::json> {
public:
    explicit TreeBuilder(std::string_view text) : text_(text) {}

    JSONValue takeDocument() { return std::move(document_); }

    bool null() override { return add({nullptr}); }
    bool boolean(bool value) override { return add({value}); }
    bool number_integer(std::int64_t value) override { return add({value}); }

    bool number_unsigned(std::uint64_t value) override {
        if (value > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
            refuseNumber(std::to_string(value));
        }
        return add({static_cast<std::int64_t>(value)});
    }

    bool number_float(double value, const std::string& digits) override {
        if (isInteger(digits)) {
            refuseNumber(digits);
        }
        return add({value});
    }

    bool string(std::string& value) override { return add({std::move(value)}); }
    bool binary(nlohmann::json::binary_t& /*not in text*/) override { return false; }

    bool start_object(std::size_t /*unknown*/) override { return begin(JSONValue{JSONValue::Object{}}); }
    bool start_array(std::size_t /*unknown*/) override { return begin(JSONValue{JSONValue::Array{}}); }
    bool end_object() override { return end(); }
    bool end_array() override { return end(); }

    bool key(std::string& key) override {
        Frame& frame = open_.back();
        frame.key = key;
        if (!frame.keys.insert(key).second) {
            throw ScenarioError(place(), "the key occurs twice in the object");
        }
        return true;
    }

    bool parse_error(std::size_t position, const std::string& lastToken,
                     const nlohmann::json::exception& error) override {
        constexpr int numberOverflow = 406;
        if (error.id == numberOverflow) {
            refuseNumber(lastToken);
        }
        if (position > text_.size()) {
            throw ScenarioError(textPosition(text_, text_.size()), "not valid JSON: the text ends too early");
        }
        throw ScenarioError(textPosition(text_, position - 1),
                            "not valid JSON at the end of '" + endInPrint(text_.substr(0, position)) + "'");
    }

private:
    struct Frame {
        JSONValue value;
        std::string key; ///< of the member that comes next
        std::unordered_set<std::string> keys;
    };

    static bool isInteger(std::string_view digits) { return digits.find_first_of(".eE") == std::string_view::npos; }

    [[noreturn]] void refuseNumber(std::string_view digits) const {
        throw ScenarioError(place(), isInteger(digits) ? "the integer does not fit into 64 bits"
                                                       : "the number is beyond the range of floating-point numbers");
    }

    bool begin(JSONValue value) {
        if (open_.size() == maximumNesting) {
            throw ScenarioError(place(), "nested deeper than " + std::to_string(maximumNesting) + " levels");
        }
        open_.push_back({.value = std::move(value), .key = {}, .keys = {}});
        return true;
    }

    bool end() {
        JSONValue value = std::move(open_.back().value);
        open_.pop_back();
        return add(std::move(value));
    }

    bool add(JSONValue value) {
        if (open_.empty()) {
            document_ = std::move(value);
        } else if (auto* const array = std::get_if<JSONValue::Array>(&open_.back().value.value)) {
            array->push_back(std::move(value));
        } else {
            auto& object = std::get<JSONValue::Object>(open_.back().value.value);
            object.push_back({std::move(open_.back().key), std::move(value)});
        }
        return true;
    }

    std::string place() const {
        std::string text;
        for (const Frame& frame : open_) {
            if (const auto* const array = frame.value.as<JSONValue::Array>()) {
                Place::append(text, array->size());
            } else {
                Place::append(text, frame.key);
            }
        }
        return text.empty() ? Place().text() : text;
    }

    std::string_view text_;
    JSONValue document_;
    std::vector<Frame> open_;
};

} // namespace

JSONValue readJSON(std::string_view text) {
    // The parser would take it for the end of the text.
    if (const std::size_t nul = text.find('\0'); nul != std::string_view::npos) {
        throw ScenarioError(textPosition(text, nul), "not valid JSON: a NUL character");
    }
    TreeBuilder builder(text);
    nlohmann::json::sax_parse(text.begin(), text.end(), &builder);
    return builder.takeDocument();
}

} // namespace qz::tools
