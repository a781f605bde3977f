// SPDX-License-Identifier: MIT
#include "platform/linux/PropertyListJSON.h"

#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <random>
#include <tuple>

namespace qz::platform {
namespace {

using Array = PropertyList::Array;
using Dictionary = PropertyList::Dictionary;

std::string errorOf(std::string_view text) {
    const JSONReading reading = propertyListFromJSON(text);
    EXPECT_EQ(reading.value.has_value(), reading.error.empty()) << text;
    return reading.error;
}

TEST(PropertyListJSONText, SaysWhereATextIsNoJSON) {
    EXPECT_EQ(errorOf(""), "line 1, column 1: not JSON");
    EXPECT_EQ(errorOf("{\"a\": 1,\n \"b\": tru }"), "line 2, column 10: not JSON");
    EXPECT_EQ(errorOf("{\"a\": 1}\n}"), "line 2, column 1: not JSON");
    EXPECT_EQ(errorOf("[1, 1e400]"), "line 1, column 9: a number beyond all limits");
}

TEST(PropertyListJSONText, RefusesWhatIsNoJSON) {
    for (const char* const text : {" ",
                                   "{",
                                   "}",
                                   "[1,]",
                                   "{\"a\":1,}",
                                   "{a: 1}",
                                   "{'a': 1}",
                                   "[01]",
                                   "[1.]",
                                   "[.5]",
                                   "[+1]",
                                   "[NaN]",
                                   "[Infinity]",
                                   "[0x10]",
                                   "// comment\n1",
                                   "/* */ 1",
                                   "[1] [2]",
                                   "[1] x",
                                   "\"\x01\"",
                                   "\"\n\"",
                                   R"("\x")",
                                   R"("\u12")",
                                   R"("\ud800")",
                                   R"("\udc00")",
                                   R"("\ud800\u0041")",
                                   "\"\xff\"",
                                   "\"\xc3\"",
                                   "\"\xed\xa0\x80\"",
                                   "\xff\xfe[\0",
                                   "True",
                                   "nil"}) {
        EXPECT_NE(errorOf(text), "") << text;
    }
    EXPECT_NE(errorOf(std::string_view("[1]\0", 4)), "");
    EXPECT_NE(errorOf(std::string_view("\0", 1)), "");
}

TEST(PropertyListJSONText, ReadsEscapesAndPassesOverAByteOrderMark) {
    EXPECT_EQ(propertyListFromJSON(R"("\u0000\u00e4\ud83c\udfae\/")").value,
              PropertyList(std::string("\0\xc3\xa4\xf0\x9f\x8e\xae/", 8)));
    EXPECT_EQ(propertyListFromJSON("\xef\xbb\xbf{\"a\": 1}").value, PropertyList(Dictionary{{"a", 1}}));
    EXPECT_NE(errorOf("\xef\xbb\xbf"), "");
    EXPECT_NE(errorOf("\xef\xbb{}"), "");
}

TEST(PropertyListJSONText, RefusesAKeyThatStandsTwice) {
    EXPECT_EQ(errorOf(R"({"a": 1, "b": 2, "a": 3})"), "the key \"a\" stands twice in one object");
    EXPECT_EQ(errorOf(R"({"a": 1, "a": 1})"), "the key \"a\" stands twice in one object");
    EXPECT_EQ(errorOf(R"({"x": [{"a": 1, "\u0061": 2}]})"), "the key \"a\" stands twice in one object");
    EXPECT_EQ(errorOf(R"({"a": {"a": 1}, "b": {"a": 1}, "A": 1})"), "");
}

TEST(PropertyListJSONText, ShowsOnlyTheBeginningOfALongKey) {
    std::string key;
    while (key.size() < 10'000) {
        key += "\xe2\x82\xac"; // three bytes, so that a cut by bytes would go through one
    }
    const std::string error = errorOf("{\"" + key + "\": 1, \"" + key + "\": 2}");
    EXPECT_LT(error.size(), 200U);
    EXPECT_TRUE(propertyListFromJSON("\"" + key + "\"").value.has_value());
    EXPECT_TRUE(
        nlohmann::json::accept(nlohmann::json(error).dump(-1, ' ', false, nlohmann::json::error_handler_t::ignore)));
    EXPECT_EQ(nlohmann::json(error).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace).find("\xef\xbf\xbd"),
              std::string::npos);
}

std::string repeated(std::string_view text, std::size_t count) {
    std::string result;
    for (std::size_t i = 0; i < count; ++i) {
        result += text;
    }
    return result;
}

TEST(PropertyListJSONText, LimitsNesting) {
    const auto lists = [](std::size_t depth) { return repeated("[", depth) + repeated("]", depth); };
    EXPECT_EQ(errorOf(lists(deepestJSONNesting)), "");
    EXPECT_EQ(errorOf(lists(deepestJSONNesting + 1)), "nested deeper than 128 levels");
    EXPECT_EQ(errorOf(lists(100'000)), "nested deeper than 128 levels");
    EXPECT_EQ(errorOf(repeated("[", 100'000)), "nested deeper than 128 levels");
    EXPECT_EQ(errorOf(repeated("{\"a\":", 100'000) + "1" + repeated("}", 100'000)), "nested deeper than 128 levels");
    EXPECT_EQ(errorOf("[" + repeated("[],", 100'000) + "[]]"), "") << "breadth is not depth";
}

TEST(PropertyListJSONText, RefusesADocumentCutAnywhere) {
    const std::string text = jsonFromDictionary({{"a", Array{1, -2.5, true, "\xe2\x82\xac\n", Dictionary{}}},
                                                 {"b", Dictionary{{"c", PropertyList::foreign("null")}}}})
                                 .text;
    for (std::size_t length = 0; length + 1 < text.size(); ++length) {
        EXPECT_NE(errorOf(std::string_view(text).substr(0, length)), "") << length;
    }
    EXPECT_EQ(errorOf(text), "");
}

/// The same value in the JSON library's own form, for comparison.
nlohmann::json libraryForm(const PropertyList& value) {
    if (const auto* const dictionary = value.dictionary()) {
        auto result = nlohmann::json::object();
        for (const auto& [key, entry] : *dictionary) {
            result[key] = libraryForm(entry);
        }
        return result;
    }
    if (const auto* const array = value.array()) {
        auto result = nlohmann::json::array();
        for (const PropertyList& entry : *array) {
            result.push_back(libraryForm(entry));
        }
        return result;
    }
    if (value.string() != nullptr) {
        return *value.string();
    }
    if (value.foreignText() != nullptr) {
        return nlohmann::json::parse(*value.foreignText());
    }
    if (value.integer()) {
        return *value.integer();
    }
    return value.boolean() ? nlohmann::json(*value.boolean()) : nlohmann::json(value.floatingPoint().value_or(0));
}

PropertyList randomValue(std::mt19937& random, int depth) {
    const auto below = [&](unsigned limit) { return static_cast<unsigned>(random()) % limit; };
    const auto text = [&] {
        const std::vector<std::string> parts = {"a", "Z", "\"", "\\", "\n", "\x01", "\xc3\xa4", "\xf0\x9f\x8e\xae",
                                                "/"};
        std::string result;
        for (unsigned i = below(6); i > 0; --i) {
            result += parts[below(static_cast<unsigned>(parts.size()))];
        }
        return result;
    };
    switch (below(depth > 0 ? 8 : 6)) {
    case 0:
        return below(2) == 0;
    case 1:
        return static_cast<std::int64_t>((std::uint64_t{random()} << 32U) | random());
    case 2:
        return static_cast<double>(static_cast<int>(random())) / 1024;
    case 3:
        return PropertyList::foreign(below(2) == 0 ? "null" : "18446744073709551615");
    case 6: {
        Array array;
        for (unsigned i = below(5); i > 0; --i) {
            array.push_back(randomValue(random, depth - 1));
        }
        return array;
    }
    case 7: {
        Dictionary dictionary;
        for (unsigned i = below(5); i > 0; --i) {
            dictionary.insert_or_assign(text(), randomValue(random, depth - 1));
        }
        return dictionary;
    }
    default:
        return text();
    }
}

TEST(PropertyListJSONText, AgreesWithTheJSONLibraryOnRandomValues) {
    std::mt19937 random(2);
    for (int i = 0; i < 3'000; ++i) {
        const PropertyList value = randomValue(random, 5);
        const JSONWriting writing = jsonFromPropertyList(value);
        const nlohmann::json same = libraryForm(value);
        ASSERT_TRUE(writing.exact);
        ASSERT_EQ(nlohmann::json::parse(writing.text), same) << writing.text;
        ASSERT_EQ(propertyListFromJSON(same.dump()).value, value) << same.dump();
        ASSERT_EQ(propertyListFromJSON(writing.text).value, value) << writing.text;
    }
}

/// Whether the text was accepted. One that is accepted must come back from its own writing unchanged, and the JSON
/// library must accept it too; one that is not must have a reason on one line.
bool checkReading(const std::string& text) {
    const JSONReading reading = propertyListFromJSON(text);
    const bool known = nlohmann::json::accept(text);
    if (!reading.value) {
        EXPECT_EQ(reading.error.find('\n'), std::string::npos);
        // The library takes a zero byte for the end of a text, whatever follows.
        const bool refusedHere = reading.error.starts_with("the key ") || reading.error.starts_with("nested ") ||
                                 text.find('\0') != std::string::npos;
        EXPECT_TRUE(!known || refusedHere) << text;
        return false;
    }
    EXPECT_TRUE(known) << text;
    const JSONWriting writing = jsonFromPropertyList(*reading.value);
    EXPECT_TRUE(writing.exact) << text;
    EXPECT_EQ(propertyListFromJSON(writing.text).value, reading.value) << text;
    return true;
}

TEST(PropertyListJSONText, BearsRandomBytes) {
    std::mt19937 random(3);
    for (int i = 0; i < 3'000; ++i) {
        std::string text;
        for (std::size_t length = random() % 64; length > 0; --length) {
            text += static_cast<char>(random());
        }
        checkReading(text);
    }
}

TEST(PropertyListJSONText, BearsDamagedDocuments) {
    std::mt19937 random(4);
    constexpr std::string_view tokens = "{}[]:,\"\\0123456789-+.eEtrufalsn \n\x80\xff";
    int accepted = 0;
    for (int i = 0; i < 5'000; ++i) {
        std::string text = jsonFromPropertyList(randomValue(random, 4)).text;
        for (std::size_t changes = random() % 3 + 1; changes > 0; --changes) {
            const std::size_t place = random() % text.size();
            const char token = tokens[random() % tokens.size()];
            switch (random() % 3) {
            case 0:
                text[place] = token;
                break;
            case 1:
                text.insert(place, 1, token);
                break;
            default:
                text.erase(place, 1);
                text += text.empty() ? "1" : "";
            }
        }
        accepted += checkReading(text) ? 1 : 0;
    }
    EXPECT_GT(accepted, 250) << "the damage should leave some documents readable";
    EXPECT_LT(accepted, 4'750);
}

/// Makes a locale in `directory` whose decimal point is `point`, in localedef's notation, and selects it for numbers.
bool selectDecimalPoint(const std::string& point, const std::string& directory) {
    tests::writeFile(directory + "/source", "comment_char %\nescape_char /\nLC_NUMERIC\ndecimal_point \"" + point +
                                                "\"\nthousands_sep \".\"\ngrouping 3\nEND LC_NUMERIC\n");
    const std::string command =
        "localedef -c -f UTF-8 -i " + directory + "/source " + directory + "/xx_XX >/dev/null 2>&1";
    std::ignore = std::system(command.c_str()); // warns of the categories that it is not given
    return ::setenv("LOCPATH", directory.c_str(), 1) == 0 && std::setlocale(LC_NUMERIC, "xx_XX") != nullptr;
}

TEST(PropertyListJSONText, DoesNotDependOnTheLocale) {
    for (const char* const point : {"<U002C>", "<U066B>"}) { // a comma, and a sign of two bytes
        const tests::TemporaryDirectory directory;
        const std::string result = tests::inChild([&]() -> std::string {
            if (!selectDecimalPoint(point, directory.path())) {
                return "no locale";
            }
            const std::string selected = std::localeconv()->decimal_point;
            const JSONReading reading = propertyListFromJSON("[3.25, -1.5e3, 18446744073709551616]");
            const PropertyList expected(Array{3.25, -1500.0, PropertyList::foreign("18446744073709551616")});
            const bool good = selected != "." && reading.value == expected &&
                              jsonFromPropertyList(3.25).text == "3.25\n" &&
                              std::localeconv()->decimal_point == selected;
            return good ? "good" : "bad";
        });
        if (result == "no locale") {
            std::puts("not run here: localedef cannot make a locale");
        } else {
            EXPECT_EQ(result, "good") << point;
        }
    }
}

} // namespace
} // namespace qz::platform
