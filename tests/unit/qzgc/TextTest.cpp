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
}

} // namespace
