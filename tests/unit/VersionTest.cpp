// SPDX-License-Identifier: MIT
#include "QZGameController/QZGameController.h"

#include <gmock/gmock.h>

#include <string>
#include <type_traits>

namespace {

TEST(Version, NumberIsADoubleOfOne) {
    static_assert(std::is_same_v<decltype(QZGameControllerVersionNumber), const double>);
    EXPECT_EQ(QZGameControllerVersionNumber, 1.0);
}

TEST(Version, StringNamesTheLibraryItsVersionAndTheBuild) {
    EXPECT_THAT(std::string(QZGameControllerVersionString),
                ::testing::MatchesRegex(R"(QZGameController [0-9]+\.[0-9]+\.[0-9]+ \(.+\))"));
}

} // namespace
