// SPDX-License-Identifier: MIT
#include "platform/virtual/VirtualHID.h"

#include <gtest/gtest.h>

namespace qz::platform {
namespace {

constexpr std::int32_t collection = 513;

/// A device of collections with these members each.
std::shared_ptr<VirtualDevice> device(const std::vector<std::vector<std::size_t>>& members) {
    VirtualDeviceDescription description;
    for (std::uint32_t i = 0; i < members.size(); ++i) {
        description.elements->push_back({.cookie = i + 1, .type = collection, .children = members[i]});
    }
    return std::make_shared<VirtualDevice>(std::move(description));
}

TEST(VirtualMembershipsDeathTest, ACollectionThatContainsItselfEndsTheProcess) {
    EXPECT_DEATH(device({{0}}), "^QZGameController: fatal error: a collection of a virtual device contains itself\n$");
    EXPECT_DEATH(device({{1}, {2}, {3}, {1}}), "contains itself");
}

TEST(VirtualMembershipsDeathTest, MoreMembershipsThanTheLimitEndTheProcess) {
    // Each collection holds the next one twice: the k-th from the end stands for 2^(k+1) - 1 objects.
    std::vector<std::vector<std::size_t>> doubling(64);
    for (std::size_t i = 0; i + 1 < doubling.size(); ++i) {
        doubling[i] = {i + 1, i + 1};
    }
    EXPECT_DEATH(device(doubling), "more than 1048576 memberships");
}

TEST(VirtualMemberships, WhatTwoCollectionsShareIsNoCycle) {
    const auto shared = device({{1, 2}, {3}, {3}, {}});
    ASSERT_TRUE(shared->elements());
    EXPECT_EQ((*shared->elements())[1].children->front(), (*shared->elements())[2].children->front());
}

TEST(VirtualMemberships, MembersBeyondTheEndAreLeftOut) {
    const auto cut = device({{1, 7}, {}});
    EXPECT_EQ((*cut->elements())[0].children->size(), 1U);
}

} // namespace
} // namespace qz::platform
