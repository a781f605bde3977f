// SPDX-License-Identifier: MIT
#include "tests/unit/LinuxHIDFixture.h"

#include <algorithm>
#include <map>

namespace qz::platform::tests {
namespace {

using ::testing::ElementsAre;

/// Several devices that send at once.
class LinuxHIDOfManyDevices : public LinuxHIDFixture {
protected:
    void SetUp() override { setUp(); }

    void plug(std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            pads.push_back(plugReported(fakeSticks(1)));
        }
    }
    void sendFromAll() {
        ++position;
        for (const int pad : pads) {
            kernel.send(pad, {position});
        }
    }
    /// How often each call comes in one turn.
    std::map<std::string, std::size_t> callsOfATurn() {
        std::map<std::string, std::size_t> calls;
        kernel.setScript([&](std::string_view call) { return ++calls[std::string(call)], 0; });
        handled = dispatch();
        kernel.setScript(nullptr);
        return calls;
    }

    std::vector<int> pads;
    std::uint8_t position = 0;
    std::size_t handled = 0;
};

TEST_F(LinuxHIDOfManyDevices, ReadsEachOnceAndAsksTheKernelOnceWhoHasMore) {
    plug(32);
    for (int i = 0; i < 3; ++i) {
        sendFromAll();
        auto calls = callsOfATurn();
        EXPECT_EQ(handled, 32U);
        EXPECT_EQ(calls["read"], 32U);
        EXPECT_LE(calls["epollWait"], 2U);
        EXPECT_EQ(calls.size(), 2U) << "no other calls";
    }
    EXPECT_FALSE(wouldWake());
}

TEST_F(LinuxHIDOfManyDevices, EndsAFullTurnWithoutTellingItselfWhatTheKernelTells) {
    plug(32);
    for (int i = 0; i < 5; ++i) {
        sendFromAll();
    }
    auto calls = callsOfATurn();
    EXPECT_EQ(handled, 128U) << "four of each";
    EXPECT_EQ(calls["read"], 128U);
    EXPECT_LE(calls["epollWait"], 4U);
    EXPECT_EQ(calls.size(), 2U);
    EXPECT_TRUE(wouldWake());
    calls = callsOfATurn();
    EXPECT_EQ(handled, 32U);
    EXPECT_EQ(calls["read"], 32U);
    EXPECT_FALSE(wouldWake());
}

TEST_F(LinuxHIDOfManyDevices, DeliversAllOfEachInItsOrderHoweverMuchEachHas) {
    plug(40); // more than the kernel tells of in one call
    std::map<IOHIDDeviceRef, std::vector<std::int64_t>> values;
    client.onValue = [&](IOHIDValueRef value) {
        values[IOHIDElementGetDevice(IOHIDValueGetElement(value))].push_back(IOHIDValueGetIntegerValue(value));
    };
    for (std::size_t i = 0; i < pads.size(); ++i) {
        for (std::size_t number = 1; number <= 1 + i % 7; ++number) {
            kernel.send(pads[i], {static_cast<std::uint8_t>(number)});
        }
    }
    turn();
    ASSERT_EQ(values.size(), pads.size());
    std::map<std::size_t, std::size_t> devicesOfLength;
    for (const auto& [device, all] : values) {
        ++devicesOfLength[all.size()];
        for (std::size_t i = 0; i < all.size(); ++i) {
            EXPECT_EQ(all[i], static_cast<std::int64_t>(i + 1));
        }
    }
    EXPECT_THAT(devicesOfLength,
                ElementsAre(::testing::Pair(1, 6), ::testing::Pair(2, 6), ::testing::Pair(3, 6), ::testing::Pair(4, 6),
                            ::testing::Pair(5, 6), ::testing::Pair(6, 5), ::testing::Pair(7, 5)));
}

TEST_F(LinuxHIDOfManyDevices, TakesTurnsAmongThemFromOneTurnToTheNext) {
    plug(20); // so that a turn ends within a round
    for (int i = 0; i < 20; ++i) {
        sendFromAll();
    }
    std::map<IOHIDDeviceRef, std::size_t> values;
    client.onValue = [&](IOHIDValueRef value) { ++values[IOHIDElementGetDevice(IOHIDValueGetElement(value))]; };
    for (int i = 0; i < 3; ++i) {
        dispatch();
        ASSERT_EQ(values.size(), pads.size());
        const auto [least, most] =
            std::ranges::minmax_element(values, {}, [](const auto& each) { return each.second; });
        EXPECT_LE(most->second - least->second, 1U + static_cast<std::size_t>(i));
    }
}

TEST_F(LinuxHIDOfManyDevices, DrainsOneThatHasGoneWhileTheOthersGoOn) {
    plug(4);
    for (int i = 0; i < 10; ++i) {
        sendFromAll();
    }
    kernel.unplug(pads.front());
    EventLog log = turnAndTold();
    EXPECT_EQ(log.size(), 41U);
    EXPECT_EQ(std::ranges::count(log, "removed sticks"), 1);
}

TEST_F(LinuxHIDOfManyDevices, DrainsOneWhoseNodeIsDeletedAlsoWhenNothingHangsUp) {
    plug(4);
    for (int i = 0; i < 10; ++i) {
        sendFromAll();
    }
    kernel.removeNode(pads.front());
    EventLog log = turnAndTold();
    EXPECT_EQ(log.size(), 41U);
    EXPECT_EQ(std::ranges::count(log, "removed sticks"), 1);
}

TEST_F(LinuxHIDOfManyDevices, WakesItselfForOneThatTheKernelDoesNotWatch) {
    plug(2);
    kernel.refusesAdditions = true;
    plug(1);
    for (int i = 0; i < 200; ++i) {
        kernel.send(pads.back(), {static_cast<std::uint8_t>(i + 1)});
    }
    dispatch();
    EXPECT_TRUE(wouldWake());
    turn();
    EXPECT_EQ(told().size(), 200U) << "all that it has sent, after a turn that had enough";
}

} // namespace
} // namespace qz::platform::tests
