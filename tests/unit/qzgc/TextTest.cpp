// SPDX-License-Identifier: MIT
#include "tools/qzgc/session/Text.h"

#include <gtest/gtest.h>

#include <limits>

// What messages are made of.

namespace {

using namespace qz::tools;

TEST(Text, CountsThings) {
    EXPECT_EQ(countText(0, "hat"), "0 hats");
    EXPECT_EQ(countText(1, "moving control"), "1 moving control");
    EXPECT_EQ(countText(12, "moving control"), "12 moving controls");
}

TEST(Text, NamesRanges) {
    using Limits = std::numeric_limits<std::int64_t>;
    EXPECT_EQ(rangeText(-127, 0), "-127..0");
    EXPECT_EQ(rangeText(Limits::min(), Limits::max()), "-9223372036854775808..9223372036854775807");
}

TEST(Text, ListsNames) {
    EXPECT_EQ(joined({}), "");
    EXPECT_EQ(joined({"roll"}), "roll");
    EXPECT_EQ(joined({"", "pitch", ""}), ", pitch, ");
}

TEST(Text, IsOfOneLineWithoutControlCharacters) {
    EXPECT_EQ(withoutControlCharacters("a\x1B[31m\n\tb\x7F\xC3\xBC"), "a [31m  b \xC3\xBC");
    EXPECT_EQ(withoutControlCharacters("\xC2\x80"
                                       "a\xC2\x9B"
                                       "31m\xC2\x9F\xC2\xA0\xC2"),
              " a 31m \xC2\xA0\xC2");
    EXPECT_EQ(withoutControlCharacters("\xE2\x80\xA8\xE2\x80\xAE"
                                       "a\xE2\x81\xA6\xE2\x81\xA9\xE2\x80\x8F\xD8\x9C"),
              "  a    ");
    const std::string kept = "\xE2\x80\xA6\xE2\x80\xAF\xE2\x81\xA5\xE2\x81\xAA\xE2\x80\x90\xD8\x9B\xE2\x80";
    EXPECT_EQ(withoutControlCharacters(kept), kept) << "their neighbours, and a beginning of one";
}

TEST(Text, IsAWordOfAShell) {
    EXPECT_EQ(shellWord("dir/flight-1_2.hid"), "dir/flight-1_2.hid");
    EXPECT_EQ(shellWord(""), R"("")");
    EXPECT_EQ(shellWord("it's $(a) \\ \"b\" #~*;=!"), R"(it\'s\ \$\(a\)\ \\\ \"b\"\ \#\~\*\;\=\!)");
    EXPECT_EQ(shellWord("Kn\xC3\xBCppel"), "Kn\xC3\xBCppel");
    EXPECT_EQ(shellWord("a\n'b\xC2\x9B"
                        "7"),
              R"($'a\012\047b\302\2337')")
        << "what a message shows as a blank";
}

} // namespace
