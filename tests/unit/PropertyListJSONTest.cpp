// SPDX-License-Identifier: MIT
#include "platform/linux/PropertyListJSON.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>

namespace qz::platform {
namespace {

using Array = PropertyList::Array;
using Dictionary = PropertyList::Dictionary;

/// The value after its way through a document; the text is checked to be exact.
PropertyList throughText(const PropertyList& value) {
    const JSONWriting writing = jsonFromPropertyList(value);
    EXPECT_TRUE(writing.exact) << writing.text;
    JSONReading reading = propertyListFromJSON(writing.text);
    EXPECT_EQ(reading.error, "") << writing.text;
    return reading.value.value_or("unreadable");
}

std::string textOf(const PropertyList& value) {
    return jsonFromPropertyList(value).text;
}

TEST(PropertyListJSON, WritesSortedKeysOneEntryToALine) {
    const PropertyList value(Dictionary{
        {"b", Array{3, 252, -127}},
        {"a", Dictionary{{"z", true}, {"Z", false}, {"y", "text"}}},
        {"empty", Array{Array{}, Dictionary{}}},
        {"", 3.0},
    });
    EXPECT_EQ(textOf(value), R"({
  "": 3.0,
  "a": {
    "Z": false,
    "y": "text",
    "z": true
  },
  "b": [
    3,
    252,
    -127
  ],
  "empty": [
    [],
    {}
  ]
}
)");
    EXPECT_EQ(throughText(value), value);
}

TEST(PropertyListJSON, KeepsEmptyContainersAndStrings) {
    for (const PropertyList& value : {PropertyList(Array{}), PropertyList(Dictionary{}), PropertyList(""),
                                      PropertyList(Array{"", Array{}, Dictionary{{"", Dictionary{}}}})}) {
        EXPECT_EQ(throughText(value), value);
    }
}

TEST(PropertyListJSON, KeepsIntegersToBothEnds) {
    for (const std::int64_t integer :
         {std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::min() + 1, std::int64_t{-1},
          std::int64_t{0}, std::int64_t{1}, (std::int64_t{1} << 53) + 1, std::numeric_limits<std::int64_t>::max() - 1,
          std::numeric_limits<std::int64_t>::max()}) {
        EXPECT_EQ(throughText(integer), PropertyList(integer));
        EXPECT_EQ(textOf(integer), std::to_string(integer) + "\n");
    }
}

TEST(PropertyListJSON, KeepsWholeNumbersFloatingPoint) {
    EXPECT_EQ(textOf(3.0), "3.0\n");
    EXPECT_EQ(textOf(-0.0), "-0.0\n");
    EXPECT_EQ(textOf(0.1), "0.1\n");
    EXPECT_EQ(throughText(3.0).floatingPoint(), 3.0);
    EXPECT_EQ(throughText(3).integer(), 3);
    EXPECT_TRUE(std::signbit(throughText(-0.0).floatingPoint().value_or(1)));
    EXPECT_FALSE(std::signbit(throughText(0.0).floatingPoint().value_or(-1)));
}

TEST(PropertyListJSON, KeepsEveryBitOfAFloatingPointNumber) {
    using Limits = std::numeric_limits<double>;
    std::vector<double> numbers = {Limits::max(),
                                   -Limits::max(),
                                   Limits::min(),
                                   Limits::denorm_min(),
                                   -Limits::denorm_min(),
                                   1e22,
                                   1e23,
                                   123456789012345678.0,
                                   1.0 + Limits::epsilon(),
                                   5e-324,
                                   2.2250738585072011e-308,
                                   9007199254740993.0};
    std::mt19937_64 random(1);
    while (numbers.size() < 20'000) {
        if (const auto number = std::bit_cast<double>(random()); std::isfinite(number)) {
            numbers.push_back(number);
        }
    }
    for (const double number : numbers) {
        const auto back = throughText(number).floatingPoint();
        ASSERT_TRUE(back.has_value()) << number;
        ASSERT_EQ(std::bit_cast<std::uint64_t>(*back), std::bit_cast<std::uint64_t>(number)) << number;
    }
}

TEST(PropertyListJSON, TellsTheKindOfANumberByItsForm) {
    EXPECT_EQ(propertyListFromJSON("100").value, PropertyList(100));
    EXPECT_EQ(propertyListFromJSON("-0").value, PropertyList(0));
    EXPECT_EQ(propertyListFromJSON("1e2").value, PropertyList(100.0));
    EXPECT_EQ(propertyListFromJSON("1E2").value, PropertyList(100.0));
    EXPECT_EQ(propertyListFromJSON("100.0").value, PropertyList(100.0));
    EXPECT_EQ(propertyListFromJSON("1e-400").value, PropertyList(0.0));
}

TEST(PropertyListJSON, KeepsEveryAsciiCharacterInStringsAndKeys) {
    std::string all;
    for (char character = 0;; ++character) {
        all += character;
        const std::string one(1, character);
        EXPECT_EQ(throughText(one), PropertyList(one)) << int{character};
        if (character == 0x7f) {
            break;
        }
    }
    const PropertyList value(Dictionary{{all, all}, {std::string(1, '\0'), std::string(2, '\0')}});
    EXPECT_EQ(throughText(value), value);
    EXPECT_EQ(textOf(std::string("\0\x1f\x7f\"\\/\b\f\n\r\t", 11)),
              "\"\\u0000\\u001f\\u007f\\\"\\\\/\\b\\f\\n\\r\\t\"\n");
}

void appendUTF8(std::string& text, unsigned codePoint) {
    const auto tail = [](unsigned bits) { return static_cast<char>(0x80U | (bits & 0x3fU)); };
    if (codePoint < 0x80) {
        text += static_cast<char>(codePoint);
    } else if (codePoint < 0x800) {
        text += {static_cast<char>(0xc0U | (codePoint >> 6U)), tail(codePoint)};
    } else if (codePoint < 0x10000) {
        text += {static_cast<char>(0xe0U | (codePoint >> 12U)), tail(codePoint >> 6U), tail(codePoint)};
    } else {
        text += {static_cast<char>(0xf0U | (codePoint >> 18U)), tail(codePoint >> 12U), tail(codePoint >> 6U),
                 tail(codePoint)};
    }
}

TEST(PropertyListJSON, KeepsEveryCharacterOfUnicode) {
    std::string all;
    for (unsigned codePoint = 0; codePoint <= 0x10ffff; ++codePoint) {
        if (codePoint < 0xd800 || codePoint > 0xdfff) {
            appendUTF8(all, codePoint);
        }
    }
    EXPECT_TRUE(throughText(all) == PropertyList(all));
    // Line separators are ordinary characters of a string.
    EXPECT_EQ(textOf("\xe2\x80\xa8\xe2\x80\xa9"), "\"\xe2\x80\xa8\xe2\x80\xa9\"\n");
}

TEST(PropertyListJSON, WritesTheReplacementCharacterForEachIllFormedPart) {
    const std::string mark = "\xef\xbf\xbd";
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"\xff", mark},
        {"a\x80"
         "b",
         "a" + mark + "b"},
        {"\xc0\xaf", mark + mark},            // an overlong slash
        {"\xc3", mark},                       // cut
        {"\xc3(", mark + "("},                // cut by another character
        {"\xe0\x80\xaf", mark + mark + mark}, // overlong
        {"\xed\xa0\x80", mark + mark + mark}, // a surrogate
        {"\xe2\x82", mark},                   // cut after two of three
        {"\xe2\x82(", mark + "("},
        {"\xf0\x9f\x8e", mark}, // cut after three of four
        {"\xf0\x80\x80\xaf", mark + mark + mark + mark},
        {"\xf4\x90\x80\x80", mark + mark + mark + mark}, // beyond U+10FFFF
        {"\xf5\x80", mark + mark},
        {"\xe2\x82\xac\xe2\x82\xe2\x82\xac", "\xe2\x82\xac" + mark + "\xe2\x82\xac"},
    };
    for (const auto& [bytes, expected] : cases) {
        const JSONWriting writing = jsonFromPropertyList(Array{bytes, "unharmed"});
        EXPECT_FALSE(writing.exact);
        EXPECT_EQ(propertyListFromJSON(writing.text).value, PropertyList(Array{expected, "unharmed"}));
    }
}

TEST(PropertyListJSON, NeverWritesAKeyTwiceWhenRepairMakesThemEqual) {
    const std::string mark = "\xef\xbf\xbd";
    const JSONWriting writing =
        jsonFromDictionary({{"\xfe", 1}, {"\xff", 2}, {mark, 3}, {"z", 4}, {"a\xff", 5}, {"\xc3\xa4", 6}});
    EXPECT_FALSE(writing.exact);
    EXPECT_EQ(propertyListFromJSON(writing.text).value,
              PropertyList(Dictionary{{mark, 3}, {"z", 4}, {"a" + mark, 5}, {"\xc3\xa4", 6}}));
    const JSONWriting ill = jsonFromDictionary({{"\xff", 2}, {"\xfe", 1}});
    EXPECT_EQ(propertyListFromJSON(ill.text).value, PropertyList(Dictionary{{mark, 1}}));
}

TEST(PropertyListJSON, RepairsKeysOnEveryLevel) {
    const std::string mark = "\xef\xbf\xbd";
    PropertyList value = 0;
    PropertyList expected = 0;
    for (std::size_t depth = 0; depth < deepestJSONNesting; ++depth) {
        value = Dictionary{{"inner", value}, {"\xfe", 1}, {"\xff", 2}};
        expected = Dictionary{{"inner", expected}, {mark, 1}};
    }
    const JSONWriting writing = jsonFromPropertyList(value);
    EXPECT_FALSE(writing.exact);
    EXPECT_TRUE(propertyListFromJSON(writing.text).value == expected);
}

TEST(PropertyListJSON, WritesPiecesOfAnyLength) {
    for (std::size_t length = 1; length < 9'000; length += length < 4'000 || length > 4'200 ? 61 : 1) {
        const std::string text = std::string(length / 2, 'a') + "\n" + std::string(length - length / 2, 'b');
        const PropertyList value(Array{text, "end", 1});
        EXPECT_TRUE(throughText(value) == value) << length;
    }
}

TEST(PropertyListJSON, WritesNothingOfWhatItsBufferHeld) {
    for (const std::size_t length : {std::size_t{0}, std::size_t{3}, std::size_t{100'000}}) {
        EXPECT_EQ(jsonFromDictionary({{"a", 1}}, std::string(length, 'x')).text, "{\n  \"a\": 1\n}\n");
        EXPECT_EQ(jsonFromDictionary({{"\xff", 1}}, std::string(length, 'x')).text, "{\n  \"\xef\xbf\xbd\": 1\n}\n");
    }
}

TEST(PropertyListJSON, WritesNullForNumbersThatJSONCannotExpressAndLosesNothingElse) {
    using Limits = std::numeric_limits<double>;
    const JSONWriting writing = jsonFromPropertyList(Dictionary{
        {"before", 1}, {"list", Array{1.5, Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity(), 2}}});
    EXPECT_FALSE(writing.exact);
    const PropertyList null = PropertyList::foreign("null");
    EXPECT_EQ(propertyListFromJSON(writing.text).value,
              PropertyList(Dictionary{{"before", 1}, {"list", Array{1.5, null, null, null, 2}}}));
}

TEST(PropertyListJSON, KeepsWhatNoKindHolds) {
    const std::string text = R"([
  null,
  9223372036854775808,
  18446744073709551615,
  18446744073709551616,
  -9223372036854775809,
  123456789012345678901234567890
]
)";
    const JSONReading reading = propertyListFromJSON(text);
    ASSERT_TRUE(reading.value.has_value()) << reading.error;
    ASSERT_NE(reading.value->array(), nullptr);
    ASSERT_EQ(reading.value->array()->size(), 6U);
    for (const PropertyList& value : *reading.value->array()) {
        EXPECT_NE(value.foreignText(), nullptr);
        EXPECT_FALSE(value.boolean() || value.integer() || value.floatingPoint());
        EXPECT_TRUE(value.string() == nullptr && value.array() == nullptr && value.dictionary() == nullptr);
    }
    const JSONWriting writing = jsonFromPropertyList(*reading.value);
    EXPECT_EQ(writing.text, text);
    EXPECT_TRUE(writing.exact);
}

TEST(PropertyListJSON, WritesNoForeignTextThatWouldSpoilTheDocument) {
    for (const char* const text : {"", "nul", "]", "1.5", "-", "- 1", "99999999999999999999x", "\"", "1e400"}) {
        const JSONWriting writing = jsonFromPropertyList(Array{PropertyList::foreign(text), 7});
        EXPECT_FALSE(writing.exact) << text;
        EXPECT_EQ(propertyListFromJSON(writing.text).value, PropertyList(Array{PropertyList::foreign("null"), 7}));
    }
    EXPECT_FALSE(jsonFromPropertyList(PropertyList::foreign("12")).exact) << "it would come back as an integer";
}

/// A list in a list in a list: `depth` of them.
PropertyList nestedLists(std::size_t depth) {
    PropertyList value = "innermost";
    for (std::size_t i = 0; i < depth; ++i) {
        Array around;
        around.push_back(std::move(value));
        value = std::move(around);
    }
    return value;
}

TEST(PropertyListJSON, WritesNestingToItsLimitAndNullBeyond) {
    const PropertyList deepest = nestedLists(deepestJSONNesting);
    EXPECT_EQ(throughText(deepest), deepest);
    const JSONWriting tooDeep = jsonFromPropertyList(Dictionary{{"deep", nestedLists(1000)}, {"other", 1}});
    EXPECT_FALSE(tooDeep.exact);
    const JSONReading reading = propertyListFromJSON(tooDeep.text);
    ASSERT_TRUE(reading.value.has_value()) << reading.error;
    EXPECT_EQ(reading.value->dictionary()->at("other"), PropertyList(1));
    std::size_t depth = 0;
    const PropertyList* value = &reading.value->dictionary()->at("deep");
    while (value->array() != nullptr) {
        value = &value->array()->front();
        ++depth;
    }
    EXPECT_EQ(depth, deepestJSONNesting - 1);
    EXPECT_EQ(*value, PropertyList::foreign("null"));
}

} // namespace
} // namespace qz::platform
