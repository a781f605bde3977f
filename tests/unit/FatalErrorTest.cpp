// SPDX-License-Identifier: MIT
#include "platform/FatalError.h"

#include <gmock/gmock.h>

#include <csignal>

namespace qz::platform {
namespace {

using ::testing::Eq;
using ::testing::KilledBySignal;

TEST(FatalErrorDeathTest, WritesOneLineAndAborts) {
    EXPECT_EXIT(fatalError("the list is too short"), KilledBySignal(SIGABRT),
                Eq("QZGameController: fatal error: the list is too short\n"));
}

TEST(FatalErrorDeathTest, WritesLineBreaksAsBlanks) {
    EXPECT_EXIT(fatalError("one\ntwo\rthree\r\nfour\n"), KilledBySignal(SIGABRT),
                Eq("QZGameController: fatal error: one two three  four \n"));
}

TEST(FatalErrorDeathTest, WritesMessagesAsTheyAre) {
    EXPECT_EXIT(fatalError(""), KilledBySignal(SIGABRT), Eq("QZGameController: fatal error: \n"));
    EXPECT_EXIT(fatalError("100 %s %n \xc3\xa4"), KilledBySignal(SIGABRT),
                Eq("QZGameController: fatal error: 100 %s %n \xc3\xa4\n"));
    EXPECT_EXIT(fatalError(std::string_view("longer than it seems").substr(0, 6)), KilledBySignal(SIGABRT),
                Eq("QZGameController: fatal error: longer\n"));
}

} // namespace
} // namespace qz::platform
