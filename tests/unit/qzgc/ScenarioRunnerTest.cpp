// SPDX-License-Identifier: MIT
#include "tools/qzgc/ScenarioRunner.h"
#include "tools/qzgc/JSONDocument.h"
#include "tools/qzgc/ScenarioReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

// What a pair of files in tests/scenarios cannot say.

namespace qz::tools {
namespace {

std::vector<std::string> play(const std::string& text) {
    std::vector<std::string> lines;
    runScenario(readScenario(text), [&](const std::string& line) { lines.push_back(line); });
    return lines;
}

TEST(ScenarioRunner, GivesTheSameLinesEveryTime) {
    std::ifstream file(QZGC_TEST_DATA "/scenarios/15-restart.json", std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    const std::vector<std::string> lines = play(text);
    EXPECT_GT(lines.size(), 20U);
    for (int i = 0; i < 5; ++i) {
        const std::string inTheWay(1U << (4 * i), 'x'); // the devices' handles lie elsewhere each time
        EXPECT_EQ(play(text), lines);
    }
}

TEST(ScenarioRunner, PlaysPreferencesNestedToTheLimit) {
    std::string value = "1";
    std::string printed = "1";
    for (std::size_t i = 2; i < maximumNesting; ++i) {
        value = i % 2 == 0 ? "[" + value + "]" : "{\"k\": " + value + "}";
        printed = i % 2 == 0 ? "[" + printed + "]" : "{\"k\":" + printed + "}";
    }
    const std::vector<std::string> lines = play(
        R"({"actions": {}, "devices": {}, "steps": [{"do": "restart"}, {"do": "preferences"}], "preferences": {"a": )" +
        value + "}}");
    EXPECT_THAT(lines, testing::ElementsAre(R"({"event":"setup","result":0})", R"({"event":"setup","result":0})",
                                            R"({"result":"preferences","values":{"a":)" + printed + "}}"));
}

} // namespace
} // namespace qz::tools
