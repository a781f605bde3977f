// SPDX-License-Identifier: MIT
#include "tools/qzgc/JSONText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <random>

using qz::platform::PropertyList;

namespace qz::tools {
namespace {

TEST(JSONText, WritesDoublesWithTheFewestDigitsAndAlwaysAsDoubles) {
    struct Case {
        double number;
        const char* text;
    };
    constexpr std::array cases{
        Case{0.0, "0.0"},
        Case{-0.0, "-0.0"},
        Case{1.0, "1.0"},
        Case{-1.0, "-1.0"},
        Case{0.5, "0.5"},
        Case{0.1, "0.1"},
        Case{0.1 + 0.2, "0.30000000000000004"},
        Case{1.0 / 3.0, "0.3333333333333333"},
        Case{100.0, "100.0"},
        Case{12.5, "12.5"},
        Case{-12.5, "-12.5"},
        Case{255.0, "255.0"},
        Case{1234567.0, "1234567.0"},
        Case{0.001, "0.001"},
        Case{1234567890123456.5, "1234567890123456.5"},
        // without an exponent from 0.0001 ...
        Case{0.0001, "0.0001"},
        Case{-0.00012345, "-0.00012345"},
        Case{9.999999999999999e-05, "9.999999999999999e-05"},
        Case{0.00001, "1e-05"},
        Case{-1.5e-7, "-1.5e-07"},
        // ... up to below 1e16
        Case{1e15, "1000000000000000.0"},
        Case{9999999999999998.0, "9999999999999998.0"},
        Case{1e16, "1e+16"},
        Case{10000000000000002.0, "1.0000000000000002e+16"},
        Case{25e15, "2.5e+16"},
        Case{-25e15, "-2.5e+16"},
        Case{1e22, "1e+22"},
        Case{1e23, "1e+23"},
        Case{1e100, "1e+100"},
        Case{5e-324, "5e-324"},
        Case{2.2250738585072014e-308, "2.2250738585072014e-308"},
        Case{std::numeric_limits<double>::max(), "1.7976931348623157e+308"},
    };
    for (const auto& [number, text] : cases) {
        EXPECT_EQ(numberText(number), text);
    }
}

TEST(JSONText, WritesDoublesThatReadBackToTheSame) {
    std::mt19937_64 random(20); // any bits: the exponents are spread evenly
    for (int i = 0; i < 100000; ++i) {
        const auto number = std::bit_cast<double>(random());
        if (std::isfinite(number)) {
            const std::string text = numberText(number);
            ASSERT_EQ(std::bit_cast<std::uint64_t>(std::strtod(text.c_str(), nullptr)),
                      std::bit_cast<std::uint64_t>(number))
                << text;
            ASSERT_NE(text.find_first_of(".e"), std::string::npos) << text;
        }
    }
}

TEST(JSONText, HasNoWordForWhatIsNotFinite) {
    EXPECT_EQ(numberText(std::numeric_limits<double>::infinity()), "null");
    EXPECT_EQ(numberText(-std::numeric_limits<double>::infinity()), "null");
    EXPECT_EQ(numberText(std::numeric_limits<double>::quiet_NaN()), "null");
}

TEST(JSONText, EscapesWhatJSONWantsEscapedAndNothingElse) {
    EXPECT_EQ(jsonString(""), R"("")");
    EXPECT_EQ(jsonString(R"(a "b" \ c/d)"), R"("a \"b\" \\ c/d")");
    EXPECT_EQ(jsonString("\b\f\n\r\t"), R"("\b\f\n\r\t")");
    EXPECT_EQ(jsonString(std::string_view("\0\x01\x07\x0b\x1b\x1f", 6)), R"("\u0000\u0001\u0007\u000b\u001b\u001f")");
    EXPECT_EQ(jsonString("\x20\x7f"), "\"\x20\x7f\"");
    EXPECT_EQ(jsonString("é\u2028π😀"), "\"é\u2028π😀\"");
}

TEST(JSONText, SeparatesMembersAndElements) {
    JSONText text;
    text.beginObject()
        .member("string", "s")
        .member("truth", true)
        .member("lie", false)
        .member("least", std::numeric_limits<std::int64_t>::min())
        .member("most", std::numeric_limits<std::uint32_t>::max())
        .member("half", 0.5)
        .member("nothing", std::optional<std::string>())
        .member("something", std::optional<double>(2.0))
        .key("empty")
        .beginArray()
        .endArray()
        .key("list")
        .beginArray()
        .value(1)
        .beginObject()
        .endObject()
        .value(std::nullopt)
        .endArray()
        .endObject();
    EXPECT_EQ(text.text(), R"({"string":"s","truth":true,"lie":false,"least":-9223372036854775808,"most":4294967295,)"
                           R"("half":0.5,"nothing":null,"something":2.0,"empty":[],"list":[1,{},null]})");
}

TEST(JSONText, WritesPropertyListsWithTheirKeysInTheOrderOfTheirBytes) {
    const PropertyList::Dictionary values{
        {"é", 1},
        {"a", PropertyList::Array{true, 1, 1.0, "1", PropertyList::Array{}, PropertyList::Dictionary{}}},
        {"Z", PropertyList::Dictionary{{"b", false}, {"a", -0.0}}},
        {"", "empty"}};
    JSONText text;
    text.beginObject().member("values", values).member("after", PropertyList(7)).endObject();
    EXPECT_EQ(text.text(), R"({"values":{"":"empty","Z":{"a":-0.0,"b":false},"a":[true,1,1.0,"1",[],{}],"é":1},)"
                           R"("after":7})");
}

} // namespace
} // namespace qz::tools
