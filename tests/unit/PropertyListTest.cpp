// SPDX-License-Identifier: MIT
#include "platform/PropertyList.h"

#include <gtest/gtest.h>

#include <limits>

namespace qz::platform {
namespace {

TEST(PropertyList, KindsNeverMix) {
    EXPECT_EQ(PropertyList(true).boolean(), true);
    EXPECT_FALSE(PropertyList(true).integer());
    EXPECT_FALSE(PropertyList(1).boolean());
    EXPECT_FALSE(PropertyList(3.0).integer());
    EXPECT_FALSE(PropertyList(3).floatingPoint());
    EXPECT_EQ(PropertyList("1").integer(), std::nullopt);
    EXPECT_EQ(PropertyList(1).string(), nullptr);
    EXPECT_EQ(PropertyList(PropertyList::Array{}).dictionary(), nullptr);
    EXPECT_EQ(PropertyList(PropertyList::Dictionary{}).array(), nullptr);
}

TEST(PropertyList, KeepsIntegersToBothEnds) {
    EXPECT_EQ(PropertyList(std::numeric_limits<std::int64_t>::min()).integer(),
              std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(PropertyList(std::numeric_limits<std::int64_t>::max()).integer(),
              std::numeric_limits<std::int64_t>::max());
}

TEST(PropertyList, ComparesByKindAndContent) {
    EXPECT_EQ(PropertyList(1), PropertyList(1));
    EXPECT_NE(PropertyList(1), PropertyList(1.0));
    EXPECT_NE(PropertyList(1), PropertyList(true));
    EXPECT_NE(PropertyList(""), PropertyList(PropertyList::Array{}));
    const PropertyList tree(PropertyList::Dictionary{{"a", PropertyList::Array{1, "x", false}}});
    EXPECT_EQ(tree, PropertyList(PropertyList::Dictionary{{"a", PropertyList::Array{1, "x", false}}}));
    EXPECT_NE(tree, PropertyList(PropertyList::Dictionary{{"a", PropertyList::Array{1, "y", false}}}));
}

TEST(PropertyList, AnswersNoQuestionAboutAForeignValue) {
    const PropertyList value = PropertyList::foreign("null");
    EXPECT_FALSE(value.boolean() || value.integer() || value.floatingPoint());
    EXPECT_TRUE(value.string() == nullptr && value.array() == nullptr && value.dictionary() == nullptr);
    ASSERT_NE(value.foreignText(), nullptr);
    EXPECT_EQ(*value.foreignText(), "null");
    EXPECT_EQ(PropertyList("null").foreignText(), nullptr);
    EXPECT_EQ(value, PropertyList::foreign("null"));
    EXPECT_NE(value, PropertyList::foreign("1"));
    EXPECT_NE(value, PropertyList("null"));
}

TEST(PropertyList, LetsItsContainersBeChangedInPlace) {
    PropertyList value(PropertyList::Dictionary{{"list", PropertyList::Array{1}}});
    value.dictionary()->at("list").array()->push_back(2);
    EXPECT_EQ(value, PropertyList(PropertyList::Dictionary{{"list", PropertyList::Array{1, 2}}}));
}

} // namespace
} // namespace qz::platform
