// SPDX-License-Identifier: MIT
#include "tools/qzgc/ScenarioReader.h"
#include "tools/qzgc/ScenarioRunner.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

// docs/scenarios.md against the tool.

namespace qz::tools {
namespace {

/// Takes the next code block from the front of `markdown`.
std::string takeCodeBlock(std::string& markdown) {
    const std::size_t begin = markdown.find('\n', markdown.find("\n```") + 1) + 1;
    const std::size_t end = markdown.find("\n```", begin) + 1;
    const std::string block = markdown.substr(begin, end - begin);
    markdown.erase(0, end + 3);
    return block;
}

TEST(ScenarioDocument, ShowsAnExampleWithTheOutputItGives) {
    std::ifstream file(QZGC_TEST_DATA "/../docs/scenarios.md", std::ios::binary);
    std::string markdown{std::istreambuf_iterator<char>(file), {}};
    ASSERT_FALSE(markdown.empty());
    const std::string scenario = takeCodeBlock(markdown);
    const std::string shown = takeCodeBlock(markdown);
    std::string output;
    runScenario(readScenario(scenario), [&](const std::string& line) { output += line + '\n'; });
    EXPECT_EQ(output, shown);
    EXPECT_NE(output.find("newValue"), std::string::npos);
}

} // namespace
} // namespace qz::tools
