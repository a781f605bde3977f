// SPDX-License-Identifier: MIT
#include "tools/qzgc/terminal/Canvas.h"

#include <gtest/gtest.h>

// What views are drawn on: characters of one column each, cut at the edges.

namespace {

using namespace qz::tools;

std::string drawn(std::string_view text, bool unicode = true) {
    Canvas canvas(1, 20, unicode);
    canvas.put(0, 0, text);
    std::string line = canvas.text();
    line.pop_back();
    return line;
}

TEST(Canvas, ShowsWhatTakesOneColumn) {
    for (const char* const text : {"Button 1", "Knüppel", "Ωμέγα", "Рычаг", "←↑→↓", "─│█▌░", "±½…€™", "∞≤", "●○◆"}) {
        EXPECT_EQ(drawn(text), text);
    }
}

TEST(Canvas, ShowsAMarkForWhatTerminalsDisagreeOn) {
    EXPECT_EQ(drawn("e\u0301"), "e?") << "combining";
    EXPECT_EQ(drawn("\u6905\u5B50"), "??") << "wide";
    EXPECT_EQ(drawn("\U0001F3AE"), "?") << "wide, of four bytes";
    EXPECT_EQ(drawn("\u231A\u23F0\u25FD"), "???") << "wide among narrow ones";
    EXPECT_EQ(drawn("a\u200Bb\u2060c\u00ADd"), "a?b?c?d") << "invisible";
    EXPECT_EQ(drawn("a\u2028b\u2029c"), "a?b?c") << "line ends";
    EXPECT_EQ(drawn("\u202Eabc\u2066"), "?abc?") << "the other way round";
    EXPECT_EQ(drawn("a\u20D7"), "a?") << "combining, for symbols";
    EXPECT_EQ(drawn("\u0483\u0378"), "??") << "combining, and unassigned";
}

TEST(Canvas, ShowsAMarkForEachByteThatIsNoUTF8) {
    EXPECT_EQ(drawn("a\xFFz"), "a?z");
    EXPECT_EQ(drawn("a\x80z"), "a?z");
    EXPECT_EQ(drawn("a\xC3"), "a?") << "cut off";
    EXPECT_EQ(drawn("a\xE2\x82"), "a??") << "cut off";
    EXPECT_EQ(drawn("\xC3z"), "?z");
    EXPECT_EQ(drawn("\xC1\x81"), "??") << "longer than it has to be";
    EXPECT_EQ(drawn("\xE0\x81\x81"), "?") << "likewise, well formed otherwise";
    EXPECT_EQ(drawn("\xF5\x80\x80\x80"), "????") << "beyond U+10FFFF";
}

TEST(Canvas, ShowsAMarkForControlCharacters) {
    EXPECT_EQ(drawn("a\x1B[31m\tb\nc\x7F"), "a?[31m?b?c?");
    EXPECT_EQ(drawn("a\xC2\x9B"), "a?") << "a control character beyond ASCII";
}

TEST(Canvas, ShowsASCIIAloneWhereThereIsNoMore) {
    EXPECT_EQ(drawn("Knüppel ↑", false), "Kn?ppel ?");
    Canvas canvas(1, 4, false);
    canvas.line(0, 1, 3);
    EXPECT_EQ(canvas.text(), " --\n");
    Canvas unicode(1, 4);
    unicode.line(0, 1, 3);
    EXPECT_EQ(unicode.text(), " ──\n");
}

TEST(Canvas, CutsAtItsEdgesAndAtAGivenWidth) {
    Canvas canvas(2, 6);
    EXPECT_EQ(canvas.put(0, 3, "abcdef"), 6);
    EXPECT_EQ(canvas.put(1, -2, "abcdef"), 4);
    EXPECT_EQ(canvas.text(), "   abc\ncdef\n");
    Canvas narrow(1, 9);
    EXPECT_EQ(narrow.put(0, 1, "äöüß", {}, 2), 3);
    EXPECT_EQ(narrow.put(0, 5, "none", {}, 0), 5);
    EXPECT_EQ(narrow.put(0, 9, "none"), 9);
    EXPECT_EQ(narrow.put(0, 12, "none"), 12);
    narrow.put(1, 0, "below");
    narrow.put(-1, 0, "above");
    narrow.line(0, 7, 100);
    EXPECT_EQ(narrow.text(), " äö    ──\n");
}

TEST(Canvas, WritesTextThatEndsBeforeAColumn) {
    Canvas canvas(2, 6);
    canvas.putRight(0, 6, "äb\u0301");
    canvas.putRight(1, 3, "abcdef");
    EXPECT_EQ(canvas.text(), "   äb?\ndef\n");
    EXPECT_EQ(widthOf("äb\u0301\xFF"), 4);
    EXPECT_EQ(widthOf(""), 0);
}

TEST(Canvas, KeepsStyleAndCharacterOfEachPlace) {
    Canvas canvas(1, 3);
    const Style lit = {.colour = Colour::Green, .bold = true};
    canvas.put(0, 1, "ü", lit);
    EXPECT_EQ(canvas.cell(0, 0), (Canvas::Cell{" ", {}}));
    EXPECT_EQ(canvas.cell(0, 1), (Canvas::Cell{"ü", lit}));
}

TEST(Canvas, MayBeOfNoSize) {
    Canvas canvas(-1, 5);
    EXPECT_EQ(canvas.rows(), 0);
    canvas.put(0, 0, "abc");
    canvas.line(0, 0, 5);
    EXPECT_EQ(canvas.text(), "");
    Canvas thin(2, 0);
    thin.put(0, 0, "abc");
    EXPECT_EQ(thin.text(), "\n\n");
}

} // namespace
