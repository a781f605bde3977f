// SPDX-License-Identifier: MIT
#include "tools/qzgc/terminal/CanvasPicture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qz::tools {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST(CanvasPicture, PutsTextInItsColumnsAndEscapesIt) {
    Canvas canvas(2, 20);
    canvas.put(1, 3, "a<b & c>ä", {.bold = true});
    const std::string picture = canvasPicture(canvas, "x < y");
    EXPECT_THAT(picture, StartsWith("<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 180 56\""));
    EXPECT_THAT(picture, HasSubstr("<title>x &lt; y</title>"));
    EXPECT_THAT(picture, HasSubstr("x=\"34\" y=\"41\" textLength=\"72\""));
    EXPECT_THAT(picture, HasSubstr("font-weight=\"bold\">a&lt;b &amp; c&gt;ä</text>"));
}

TEST(CanvasPicture, DrawsBlocksAsTheirEighths) {
    Canvas canvas(1, 10);
    canvas.put(0, 2, "███▍", {.colour = Colour::Cyan});
    canvas.put(0, 6, "▏", {.colour = Colour::Cyan, .reverse = true});
    const std::string picture = canvasPicture(canvas, "");
    EXPECT_THAT(picture, HasSubstr(R"(<rect x="26" y="10" width="24" height="18" fill="#5ccfe6"/>)"));
    EXPECT_THAT(picture, HasSubstr(R"(<rect x="50" y="10" width="3" height="18" fill="#5ccfe6"/>)"));
    EXPECT_THAT(picture, HasSubstr(R"(<rect x="58" y="10" width="8" height="18" fill="#5ccfe6"/>)"));
    EXPECT_THAT(picture, HasSubstr(R"(<rect x="58" y="10" width="1" height="18" fill="#1d2026"/>)"));
    EXPECT_THAT(picture, Not(HasSubstr("<text")));
}

TEST(CanvasPicture, PutsAGroundUnderReversedBlanks) {
    Canvas canvas(1, 4);
    canvas.put(0, 1, "  ", {.reverse = true});
    EXPECT_THAT(canvasPicture(canvas, ""), HasSubstr(R"(<rect x="18" y="10" width="16" height="18" fill="#d7dae0"/>)"));
}

} // namespace
} // namespace qz::tools
