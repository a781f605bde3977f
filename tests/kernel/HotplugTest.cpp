// SPDX-License-Identifier: MIT
#include "HIDWrapper/QZHIDDevice.h"
#include "HIDWrapper/QZHIDElement.h"
#include "tests/kernel/support/CounterPad.h"
#include "tests/kernel/support/KernelApplication.h"
#include "tests/kernel/support/Results.h"

#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <malloc.h>
#include <optional>

namespace qz::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// What the process holds of the system and of its heap.
struct Holdings {
    std::size_t descriptors = 0;
    std::size_t heapBytes = 0;

    static Holdings now() {
        const auto open = std::filesystem::directory_iterator("/proc/self/fd");
        return {static_cast<std::size_t>(std::distance(begin(open), end(open))), ::mallinfo2().uordblks};
    }
};

class Hotplug : public ::testing::Test {
protected:
    void SetUp() override {
        application.manager->setReportRawValues(true);
        ASSERT_TRUE(application.setUp());
    }
    /// Whatever comes and goes, and whenever, is no error.
    void TearDown() override { EXPECT_THAT(told().errors, IsEmpty()); }
    Listener& told() { return *application.listener; }
    bool turnUntilConnected(std::size_t count) {
        return application.turnUntil([&] { return told().connected == count; });
    }
    bool turnUntilDisconnected(std::size_t count) {
        return application.turnUntil([&] { return told().disconnected == count; });
    }

    KernelApplication application;
};

/// One connection and disconnection each, in the ways in which the news of them can meet the turns of the loop.
TEST_F(Hotplug, AThousandTimesLeavesNothingBehind) {
    allowSeconds(300);
    constexpr std::size_t warmUp = 40;
    constexpr std::size_t rounds = 1000;
    Holdings before;
    const auto start = std::chrono::steady_clock::now();
    for (std::size_t round = 1; round <= warmUp + rounds; ++round) {
        CounterPad pad("storm");
        ASSERT_TRUE(turnUntilConnected(round));
        if (round % 2 == 0) {
            pad.press(1);
            ASSERT_TRUE(pad.send());
        }
        if (round % 4 == 0) {
            application.turn();
        }
        pad.device().unplug();
        ASSERT_TRUE(turnUntilDisconnected(round)) << round;
        ASSERT_THAT(application.manager->devices(), SizeIs(0));
        if (round == warmUp) {
            before = Holdings::now();
        }
    }
    const Holdings after = Holdings::now();
    EXPECT_EQ(after.descriptors, before.descriptors);
    // A device that is kept takes several kilobytes.
    EXPECT_LE(after.heapBytes, before.heapBytes + 4096);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    tellFormatted("Hot-plug storm: %zu connections and disconnections in %.1f s; descriptors %zu before, %zu after; "
                  "heap %zu bytes before, %zu after",
                  rounds, took.count(), before.descriptors, after.descriptors, before.heapBytes, after.heapBytes);
}

TEST_F(Hotplug, TooQuickForTheLoopIsNeverSeenAndLeavesNothingBehind) {
    Holdings before;
    for (int round = 0; round < 60; ++round) {
        CounterPad("passing").device().unplug();
        application.turn();
        if (round == 10) {
            before = Holdings::now();
        }
    }
    EXPECT_EQ(told().connected, 0U);
    EXPECT_EQ(told().disconnected, 0U);
    EXPECT_EQ(Holdings::now().descriptors, before.descriptors);
    EXPECT_LE(Holdings::now().heapBytes, before.heapBytes + 4096);
}

TEST_F(Hotplug, OfSixteenAtOnceReportsEveryOne) {
    for (std::size_t round = 1; round <= 10; ++round) {
        std::vector<CounterPad> pads;
        for (int i = 0; i < 16; ++i) {
            pads.emplace_back("many", std::to_string(i));
        }
        ASSERT_TRUE(turnUntilConnected(16 * round));
        for (CounterPad& pad : pads) {
            pad.send();
            pad.device().unplug();
        }
        ASSERT_TRUE(turnUntilDisconnected(16 * round));
    }
}

TEST_F(Hotplug, BetweenReportsAndTheirReadingBringsThemAllAndThenTheRemoval) {
    std::optional<CounterPad> pad(std::in_place, "brief");
    ASSERT_TRUE(turnUntilConnected(1));
    std::vector<std::int64_t> numbers;
    told().onValue = [&](const std::shared_ptr<QZHIDElement>& element, std::int64_t value) {
        EXPECT_EQ(told().disconnected, 0U);
        if (element->isXAxis()) {
            numbers.push_back(value);
        }
    };
    for (int i = 0; i < 5; ++i) {
        pad->send();
    }
    pad->device().unplug();
    ASSERT_TRUE(turnUntilDisconnected(1));
    EXPECT_THAT(numbers, ElementsAre(1, 2, 3, 4, 5));
    application.turn();
    EXPECT_THAT(numbers, SizeIs(5));
    EXPECT_EQ(told().disconnected, 1U);
    EXPECT_FALSE(application.wait(200)) << "a node that is gone keeps the loop awake";
}

TEST_F(Hotplug, DuringCalibrationEndsTheCalibrationOfTheDeviceAlone) {
    std::optional<CounterPad> pad(std::in_place, "calibrated");
    CounterPad other("other", "other");
    ASSERT_TRUE(turnUntilConnected(2));
    application.manager->startCalibration();
    for (int i = 0; i < 10; ++i) {
        pad->send();
        other.send();
    }
    application.turn();
    EXPECT_EQ(told().values, 0U);
    pad->send();
    pad->device().unplug();
    ASSERT_TRUE(turnUntilDisconnected(1));
    pad.emplace("calibrated");
    ASSERT_TRUE(turnUntilConnected(3));
    pad->send();
    other.send();
    application.turn();
    application.manager->endCalibration();
    EXPECT_EQ(told().values, 0U);
    pad->send();
    other.send();
    EXPECT_TRUE(application.turnUntil([&] { return told().values >= 2; }));
}

/// While someone has the node open the kernel gives its number to nobody else, but right after that.
TEST_F(Hotplug, ThatReusesTheNodesNumberIsAnotherDevice) {
    std::string node;
    for (std::size_t round = 1; round <= 20; ++round) {
        const std::string name = round % 2 == 0 ? "even" : "odd";
        CounterPad pad(name);
        EXPECT_TRUE(round == 1 || pad.device().nodes().hidraw == node) << "another number: this tests nothing";
        node = pad.device().nodes().hidraw;
        ASSERT_TRUE(turnUntilConnected(round));
        ASSERT_THAT(application.manager->devices(), SizeIs(1));
        EXPECT_EQ(application.manager->devices().front()->productName(), name);
        const std::size_t before = told().values;
        pad.send();
        EXPECT_TRUE(application.turnUntil([&] { return told().values > before; }));
        pad.device().unplug();
        ASSERT_TRUE(turnUntilDisconnected(round));
    }
}

/// Of a node that is not open the number is another device's at once, before anybody has heard of the first one's end.
TEST(HotplugWithoutOpening, ThatReusesTheNodesNumberAtOnceIsAnotherDevice) {
    KernelApplication application;
    Listener& told = *application.listener;
    application.manager->setDelegate(application.listener);
    application.manager->matchWithGameControllers();
    application.manager->registerConnectionCallbacks();
    application.manager->scheduleWithRunLoop();
    std::optional<CounterPad> pad(std::in_place, "before");
    ASSERT_TRUE(application.turnUntil([&] { return told.connected == 1; }));
    for (std::size_t round = 2; round <= 20; ++round) {
        const std::string name = round % 2 == 0 ? "even" : "odd";
        const std::string node = pad->device().nodes().hidraw;
        pad->device().unplug();
        pad.emplace(name);
        EXPECT_EQ(pad->device().nodes().hidraw, node) << "another number: this tests nothing";
        ASSERT_TRUE(application.turnUntil([&] { return told.connected == round; }));
        EXPECT_EQ(told.disconnected, round - 1);
        ASSERT_THAT(application.manager->devices(), SizeIs(1));
        EXPECT_EQ(application.manager->devices().front()->productName(), name);
    }
    EXPECT_THAT(told.errors, IsEmpty());
}

} // namespace
} // namespace qz::tests
