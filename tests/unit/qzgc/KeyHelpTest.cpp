// SPDX-License-Identifier: MIT
#include "tools/qzgc/terminal/KeyHelp.h"

#include <gtest/gtest.h>

namespace qz::tools {
namespace {

TEST(KeyHelp, IsShownByItsKeysAndLeftByAny) {
    KeyHelp help(std::vector<KeyHelp::Line>{{"q", "end"}});
    EXPECT_FALSE(help.take('q'));
    for (const int key : {static_cast<int>('?'), static_cast<int>('h')}) {
        EXPECT_TRUE(help.take(key));
        EXPECT_TRUE(help.isShown());
        EXPECT_TRUE(help.take('q')) << "the view does not get it";
        EXPECT_FALSE(help.isShown());
    }
    EXPECT_TRUE(help.take('?'));
    EXPECT_TRUE(help.take('?'));
    EXPECT_FALSE(help.isShown());
}

TEST(KeyHelp, ListsTheKeys) {
    const KeyHelp help(std::vector<KeyHelp::Line>{{"q, Esc", "end"}, {"s", "save"}});
    Canvas canvas(5, 30);
    help.draw(canvas);
    EXPECT_EQ(canvas.text(), " Keys\n q, Esc  end\n s       save\n\n any key goes back\n");
}

TEST(KeyHelp, GoesOnInTheNextRowWhereItIsNarrow) {
    const KeyHelp help(std::vector<KeyHelp::Line>{{"q, Esc", "end, or go back to the view"}, {"s", "save"}});
    Canvas canvas(5, 25);
    help.draw(canvas);
    EXPECT_EQ(canvas.text(), " Keys\n q, Esc  end, or go back\n         to the view\n s       save\n"
                             " any key goes back\n");
}

TEST(KeyHelp, SaysWhereThereAreMoreKeysThanRows) {
    const KeyHelp help(std::vector<KeyHelp::Line>{{"q, Esc", "end"}, {"s", "save"}});
    Canvas canvas(3, 40);
    help.draw(canvas);
    EXPECT_EQ(canvas.text(), " Keys\n q, Esc  end\n any key goes back; there are more\n");
}

} // namespace
} // namespace qz::tools
