// SPDX-License-Identifier: MIT
#include "platform/linux/PropertyListJSON.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <system_error>

namespace qz::platform {

namespace {

constexpr std::string_view replacementCharacter = "\xef\xbf\xbd";

/// The bytes at the beginning of a text that belong together: a well-formed character of UTF-8, or as much of one as is
/// there (Unicode 15, section 3.9, table 3-7 and "maximal subpart").
struct Sequence {
    std::size_t length;
    bool wellFormed;
};

Sequence leadingSequence(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned lead = byte(0);
    if (lead < 0x80) {
        return {1, true};
    }
    if (lead < 0xc2 || lead > 0xf4) {
        return {1, false};
    }
    const std::size_t length = lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
    // No longer form than needed, no surrogates, nothing above U+10FFFF: the second byte tells.
    const unsigned lowest = lead == 0xe0 ? 0xa0 : lead == 0xf0 ? 0x90 : 0x80;
    const unsigned highest = lead == 0xed ? 0x9f : lead == 0xf4 ? 0x8f : 0xbf;
    for (std::size_t i = 1; i < length; ++i) {
        if (i >= text.size() || byte(i) < (i == 1 ? lowest : 0x80) || byte(i) > (i == 1 ? highest : 0xbf)) {
            return {i, false};
        }
    }
    return {length, true};
}

bool isWellFormed(std::string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        const Sequence sequence = leadingSequence(text.substr(i));
        if (!sequence.wellFormed) {
            return false;
        }
        i += sequence.length;
    }
    return true;
}

std::string repaired(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size();) {
        const Sequence sequence = leadingSequence(text.substr(i));
        result += sequence.wellFormed ? text.substr(i, sequence.length) : replacementCharacter;
        i += sequence.length;
    }
    return result;
}

/// What stands for an ASCII character in a string: itself (0), a backslash and this letter, or a number ('u').
constexpr std::array<char, 128> escapes = [] {
    std::array<char, 128> table{};
    std::fill_n(table.begin(), 0x20, 'u');
    table[0x7f] = 'u'; // needs none by the standard, but nobody sees it
    table['\b'] = 'b';
    table['\f'] = 'f';
    table['\n'] = 'n';
    table['\r'] = 'r';
    table['\t'] = 't';
    table['"'] = '"';
    table['\\'] = '\\';
    return table;
}();

/// What every line but the first of a container begins with; those in it are indented by two blanks for each level.
constexpr auto lineStart = [] {
    std::array<char, 2 + 2 * deepestJSONNesting> text{};
    text.fill(' ');
    text[0] = ',';
    text[1] = '\n';
    return text;
}();

class Writer {
public:
    enum class Keys {
        asTheyAre, ///< and it is noted when one is ill-formed
        repaired,
    };

    /// Writes in the memory of `buffer`.
    Writer(std::string buffer, Keys keys) : text_(std::move(buffer)), keys_(keys) { text_.clear(); }

    void writeDictionary(const PropertyList::Dictionary& dictionary, std::size_t depth);
    void writeValue(const PropertyList& value, std::size_t depth);
    bool hasIllFormedKey() const { return illFormedKey_; }
    JSONWriting finish() && {
        put('\n');
        flush();
        return {std::move(text_), exact_};
    }

private:
    void writeEntries(const PropertyList::Dictionary& dictionary, std::size_t depth);
    void writeRepaired(const PropertyList::Dictionary& dictionary, std::size_t depth);
    void writeEntry(std::string_view key, const PropertyList& value, std::size_t depth, bool& first);
    void writeArray(const PropertyList::Array& array, std::size_t depth);
    void writeScalar(const PropertyList& value);
    bool writeString(std::string_view string);
    bool writeSpecial(std::string_view& rest);
    void writeNumber(double number);
    void writeForeign(const std::string& foreign);
    void beginLine(std::size_t depth, bool& first);
    void endContainer(std::size_t depth, bool empty, char bracket);
    void put(char character);
    void put(std::string_view piece);
    void flush();

    std::string text_;
    Keys keys_;
    bool exact_ = true;
    bool illFormedKey_ = false;
    /// The end of the text: most pieces are of a few bytes, for which a string does too much.
    std::array<char, 4096> end_{};
    std::size_t endLength_ = 0;
};

void Writer::put(char character) {
    if (endLength_ == end_.size()) {
        flush();
    }
    end_[endLength_++] = character;
}

void Writer::put(std::string_view piece) {
    if (piece.size() > end_.size() - endLength_) {
        flush();
        if (piece.size() > end_.size()) {
            text_ += piece;
            return;
        }
    }
    std::ranges::copy(piece, end_.begin() + static_cast<std::ptrdiff_t>(endLength_));
    endLength_ += piece.size();
}

void Writer::flush() {
    text_.append(end_.data(), endLength_);
    endLength_ = 0;
}

void Writer::beginLine(std::size_t depth, bool& first) {
    put(std::string_view(lineStart.data(), 2 + 2 * depth).substr(first ? 1 : 0));
    first = false;
}

void Writer::endContainer(std::size_t depth, bool empty, char bracket) {
    if (!empty) {
        put(std::string_view(lineStart.data() + 1, 1 + 2 * (depth - 1)));
    }
    put(bracket);
}

void Writer::writeEntry(std::string_view key, const PropertyList& value, std::size_t depth, bool& first) {
    beginLine(depth, first);
    illFormedKey_ = !writeString(key) || illFormedKey_;
    put(": ");
    writeValue(value, depth + 1);
}

/// `depth` counts the containers around what is written, itself included.
void Writer::writeDictionary(const PropertyList::Dictionary& dictionary, std::size_t depth) {
    if (keys_ == Keys::asTheyAre ||
        std::ranges::all_of(dictionary, [](const auto& entry) { return isWellFormed(entry.first); })) {
        writeEntries(dictionary, depth);
    } else {
        writeRepaired(dictionary, depth);
    }
}

void Writer::writeEntries(const PropertyList::Dictionary& dictionary, std::size_t depth) {
    put('{');
    bool first = true;
    for (const auto& [key, value] : dictionary) {
        writeEntry(key, value, depth, first);
    }
    endContainer(depth, dictionary.empty(), '}');
}

/// Repaired keys can fall together, and none may stand twice.
void Writer::writeRepaired(const PropertyList::Dictionary& dictionary, std::size_t depth) {
    exact_ = false;
    std::map<std::string, const PropertyList*> entries;
    for (const bool wellFormed : {true, false}) {
        for (const auto& [key, value] : dictionary) {
            if (isWellFormed(key) == wellFormed) {
                entries.emplace(repaired(key), &value);
            }
        }
    }
    put('{');
    bool first = true;
    for (const auto& [key, value] : entries) {
        writeEntry(key, *value, depth, first);
    }
    endContainer(depth, false, '}');
}

void Writer::writeArray(const PropertyList::Array& array, std::size_t depth) {
    put('[');
    bool first = true;
    for (const PropertyList& value : array) {
        beginLine(depth, first);
        writeValue(value, depth + 1);
    }
    endContainer(depth, array.empty(), ']');
}

void Writer::writeValue(const PropertyList& value, std::size_t depth) {
    const PropertyList::Dictionary* const dictionary = value.dictionary();
    const PropertyList::Array* const array = value.array();
    if (dictionary == nullptr && array == nullptr) {
        writeScalar(value);
    } else if (depth > deepestJSONNesting) {
        exact_ = false;
        put("null");
    } else if (dictionary != nullptr) {
        writeDictionary(*dictionary, depth);
    } else {
        writeArray(*array, depth);
    }
}

void Writer::writeScalar(const PropertyList& value) {
    if (const std::string* const string = value.string(); string != nullptr) {
        writeString(*string);
    } else if (const auto integer = value.integer()) {
        std::array<char, 20> digits{};
        const char* const end = std::to_chars(digits.data(), digits.data() + digits.size(), *integer).ptr;
        put(std::string_view(digits.data(), static_cast<std::size_t>(end - digits.data())));
    } else if (const auto number = value.floatingPoint()) {
        writeNumber(*number);
    } else if (const auto boolean = value.boolean()) {
        put(*boolean ? "true" : "false");
    } else if (const std::string* const foreign = value.foreignText(); foreign != nullptr) {
        writeForeign(*foreign);
    }
}

/// Answers whether the string is well-formed.
bool Writer::writeString(std::string_view string) {
    const auto plain = [](char character) {
        const auto byte = static_cast<unsigned char>(character);
        return byte < escapes.size() && escapes[byte] == 0;
    };
    bool wellFormed = true;
    put('"');
    while (!string.empty()) {
        const auto end = std::ranges::find_if_not(string, plain);
        const auto length = static_cast<std::size_t>(end - string.begin());
        put(string.substr(0, length));
        string.remove_prefix(length);
        if (!string.empty()) {
            wellFormed = writeSpecial(string) && wellFormed;
        }
    }
    put('"');
    exact_ = exact_ && wellFormed;
    return wellFormed;
}

/// Writes the first character of `rest`, which is no plain one, and takes it off; answers whether it is well-formed.
bool Writer::writeSpecial(std::string_view& rest) {
    const Sequence sequence = leadingSequence(rest);
    const auto byte = static_cast<unsigned char>(rest.front());
    if (!sequence.wellFormed) {
        put(replacementCharacter);
    } else if (byte >= escapes.size()) {
        put(rest.substr(0, sequence.length));
    } else if (escapes[byte] == 'u') {
        constexpr std::string_view digits = "0123456789abcdef";
        put("\\u00");
        put(digits[byte >> 4U]);
        put(digits[byte & 0xfU]);
    } else {
        put('\\');
        put(escapes[byte]);
    }
    rest.remove_prefix(sequence.length);
    return sequence.wellFormed;
}

void Writer::writeNumber(double number) {
    if (!std::isfinite(number)) {
        exact_ = false;
        put("null");
        return;
    }
    // The shortest text that reads back as the same number. The longest one, of a denormal number, has 24 characters.
    std::array<char, 32> digits{};
    const char* const end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    const std::string_view text(digits.data(), static_cast<std::size_t>(end - digits.data()));
    put(text);
    if (text.find_first_of(".e") == std::string_view::npos) {
        put(".0");
    }
}

/// Only what a document can have held; anything else would make the whole document unreadable.
void Writer::writeForeign(const std::string& foreign) {
    const char* const end = foreign.data() + foreign.size();
    std::int64_t number = 0;
    const auto [rest, result] = std::from_chars(foreign.data(), end, number);
    if (rest == end && result == std::errc::result_out_of_range) {
        put(foreign);
        return;
    }
    exact_ = exact_ && foreign == "null";
    put("null");
}

/// What `write` writes. Ill-formed keys are rare, and looking for them takes a walk through the whole tree: only when
/// one was met is everything written again.
template<typename Write>
JSONWriting written(std::string buffer, const Write& write) {
    Writer writer(std::move(buffer), Writer::Keys::asTheyAre);
    write(writer);
    if (!writer.hasIllFormedKey()) {
        return std::move(writer).finish();
    }
    Writer repairing(std::move(writer).finish().text, Writer::Keys::repaired);
    write(repairing);
    return std::move(repairing).finish();
}

} // namespace

JSONWriting jsonFromPropertyList(const PropertyList& value) {
    return written({}, [&](Writer& writer) { writer.writeValue(value, 1); });
}

JSONWriting jsonFromDictionary(const PropertyList::Dictionary& dictionary, std::string buffer) {
    return written(std::move(buffer), [&](Writer& writer) { writer.writeDictionary(dictionary, 1); });
}

} // namespace qz::platform
