// SPDX-License-Identifier: MIT
#include "platform/HID.h"
#include "platform/Platform.h"
#include "platform/RunLoop.h"

#include <gtest/gtest.h>

#include <thread>

namespace qz::platform {
namespace {

TEST(StandardPlatform, IsAlwaysTheSame) {
    EXPECT_EQ(&Platform::standard(), &Platform::standard());
}

TEST(StandardPlatform, GivesEachThreadARunLoopOfItsOwn) {
    const CFRunLoopRef here = CFRunLoopGetCurrent(Platform::standard());
    EXPECT_EQ(here, CFRunLoopGetCurrent(Platform::standard()));
    CFRunLoopRef there = nullptr;
    std::thread([&] { there = CFRunLoopGetCurrent(Platform::standard()); }).join();
    ASSERT_NE(there, nullptr);
    EXPECT_NE(there, here);
    EXPECT_NE(there->fileDescriptor(kCFRunLoopDefaultMode), here->fileDescriptor(kCFRunLoopDefaultMode));
}

} // namespace
} // namespace qz::platform
