// SPDX-License-Identifier: MIT
#include "tools/qzgc/ScenarioReader.h"
#include "tools/qzgc/ScenarioRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

// Scenarios with something broken in them are either still scenarios or refused with one line; nothing in between.

namespace qz::tools {
namespace {

std::string scenarioText(const std::string& name) {
    std::ifstream file(QZGC_TEST_DATA "/scenarios/" + name + ".json", std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

enum class Answer { Played, Refused };

/// What becomes of `text`. The scenarios of this file stay far from what ends a process, also with any one byte
/// changed.
Answer answer(const std::string& text) {
    try {
        runScenario(readScenario(text), [](const std::string& line) {
            EXPECT_TRUE(line.starts_with('{') && line.ends_with('}')) << line;
            EXPECT_EQ(line.find('\n'), std::string::npos) << line;
        });
        return Answer::Played;
    } catch (const ScenarioError& error) {
        const std::string reason = error.what();
        EXPECT_THAT(reason, testing::HasSubstr(": "));
        EXPECT_EQ(reason.find_first_of("\r\n"), std::string::npos) << reason;
        return Answer::Refused;
    }
}

class ScenarioMutation : public testing::TestWithParam<const char*> {};

TEST_P(ScenarioMutation, EveryPrefixIsRefusedUpToTheLastBracket) {
    const std::string text = scenarioText(GetParam());
    const std::size_t end = text.rfind('}') + 1;
    ASSERT_NE(end, 0U);
    for (std::size_t size = 0; size < end; ++size) {
        ASSERT_EQ(answer(text.substr(0, size)), Answer::Refused) << size;
    }
    EXPECT_EQ(answer(text.substr(0, end)), Answer::Played);
    EXPECT_EQ(answer(text), Answer::Played);
}

TEST_P(ScenarioMutation, EveryChangeOfOneByteIsPlayedOrRefused) {
    const std::string text = scenarioText(GetParam());
    constexpr std::string_view replacements("\0\n\"\\,:]}-9e\xff", 12);
    std::size_t played = 0;
    std::size_t refused = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        for (const char replacement : replacements) {
            std::string changed = text;
            changed[i] = replacement;
            ++(answer(changed) == Answer::Played ? played : refused);
        }
    }
    EXPECT_GT(played, 0U); // blanks and names may change
    EXPECT_GT(refused, text.size());
}

TEST_P(ScenarioMutation, EveryByteMayBeMissingOrTwice) {
    const std::string text = scenarioText(GetParam());
    for (std::size_t i = 0; i < text.size(); ++i) {
        std::string changed = text;
        answer(changed.insert(i, 1, text[i]));
        answer(changed.erase(i, 2));
    }
}

INSTANTIATE_TEST_SUITE_P(Scenarios, ScenarioMutation, testing::Values("01-connection", "12b-both-forms", "15-restart"),
                         [](const auto& scenario) {
                             std::string name = scenario.param;
                             std::ranges::replace(name, '-', '_');
                             return name;
                         });

} // namespace
} // namespace qz::tools
