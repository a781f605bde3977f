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

/// Where the dictionary is that the value answers from.
const PropertyList::Dictionary* placeOf(const PropertyList& value) {
    return value.dictionary();
}

TEST(PropertyList, SharesADictionaryWithItsCopiesUntilOneOfThemMayBeChanged) {
    PropertyList value(PropertyList::Dictionary{{"a", PropertyList::Dictionary{{"b", 1}}}});
    const PropertyList before = value;
    const PropertyList list(PropertyList::Array{value, value});
    EXPECT_EQ(placeOf(before), placeOf(value));
    EXPECT_EQ(placeOf(list.array()->front()), placeOf(list.array()->back()));
    value.dictionary()->at("a").dictionary()->at("b") = 2;
    EXPECT_NE(placeOf(before), placeOf(value));
    EXPECT_EQ(value, PropertyList(PropertyList::Dictionary{{"a", PropertyList::Dictionary{{"b", 2}}}}));
    EXPECT_EQ(before, PropertyList(PropertyList::Dictionary{{"a", PropertyList::Dictionary{{"b", 1}}}}));
    EXPECT_EQ(list, PropertyList(PropertyList::Array{before, before}));
}

TEST(PropertyList, CopiesADictionaryThatMayBeChangedAtAnyTime) {
    PropertyList value(PropertyList::Dictionary{{"a", 1}});
    PropertyList::Dictionary& entries = *value.dictionary();
    const PropertyList copy = value;
    PropertyList assigned = false;
    assigned = value;
    entries.at("a") = 2;
    EXPECT_EQ(value, PropertyList(PropertyList::Dictionary{{"a", 2}}));
    EXPECT_EQ(copy, PropertyList(PropertyList::Dictionary{{"a", 1}}));
    EXPECT_EQ(assigned, copy);
    assigned.dictionary()->clear();
    EXPECT_EQ(copy, PropertyList(PropertyList::Dictionary{{"a", 1}}));
}

TEST(PropertyList, ComparesTheContentOfSharedDictionariesToo) {
    const PropertyList value(PropertyList::Dictionary{{"n", std::numeric_limits<double>::quiet_NaN()}});
    const PropertyList copy = value;
    EXPECT_NE(copy, value) << "a NaN equals nothing";
}

TEST(PropertyList, IsAnEmptyDictionaryAfterItsDictionaryWasMovedAway) {
    PropertyList value(PropertyList::Dictionary{{"a", 1}});
    const PropertyList taken = std::move(value);
    EXPECT_EQ(taken, PropertyList(PropertyList::Dictionary{{"a", 1}}));
    ASSERT_NE(placeOf(value), nullptr);
    EXPECT_TRUE(placeOf(value)->empty());
    const PropertyList copy = value;
    EXPECT_EQ(copy, PropertyList(PropertyList::Dictionary{}));
    value.dictionary()->emplace("b", 2);
    EXPECT_EQ(value, PropertyList(PropertyList::Dictionary{{"b", 2}}));
    EXPECT_EQ(copy, PropertyList(PropertyList::Dictionary{}));
}

} // namespace
} // namespace qz::platform
