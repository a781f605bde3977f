// SPDX-License-Identifier: MIT
#include "tests/support/CountedAllocations.h"
#include "tests/support/Hex.h"
#include "tests/unit/LinuxHIDFixture.h"

#include <algorithm>
#include <stdexcept>
#include <unistd.h>

namespace qz::platform::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class LinuxHIDReading : public LinuxHIDFixture {
protected:
    void SetUp() override { setUp(); }
};

TEST_F(LinuxHIDReading, DeliversAllValuesOfAReportBeforeItReadsTheNext) {
    const int sticks = plugReported(fakeSticks(3));
    kernel.send(sticks, {1, 2, 3});
    kernel.send(sticks, {1, 9, 3});
    kernel.send(sticks, {7, 9, 8});
    EXPECT_THAT(turnAndTold(), ElementsAre("value sticks 1:48 1", "value sticks 1:48 2", "value sticks 1:48 3",
                                           "value sticks 1:48 9", "value sticks 1:48 7", "value sticks 1:48 8"));
}

TEST_F(LinuxHIDReading, HandsReportsToWhoAsksForThemBeforeTheirValues) {
    const int pad = plugReported(fakePad("pad"));
    const int hidden = kernel.plug(fakePad("mouse", 2));
    kernel.send(pad, button(true));
    EXPECT_THAT(turnAndTold(), ElementsAre("value pad 9:1 1")) << "nobody asks";
    client.listenToReports();
    client.onReport = [&](IOHIDDeviceRef device) { EXPECT_EQ(device, handle); };
    kernel.send(pad, button(true));
    kernel.send(pad, {9, 9});
    kernel.send(pad, {1, 0, 5});
    kernel.send(hidden, button(true));
    EXPECT_THAT(turnAndTold(),
                ElementsAre("report pad 01 01", "report pad 09 09", "report pad 01 00 05", "value pad 9:1 0"));
    IOHIDManagerRegisterInputReportCallback(client.manager(), nullptr, nullptr);
    kernel.send(pad, button(true));
    EXPECT_THAT(turnAndTold(), ElementsAre("value pad 9:1 1"));
}

TEST_F(LinuxHIDReading, KnowsTheValuesOfAReportWhenItHandsItOver) {
    const int pad = plugReported(fakePad("pad"));
    client.listenToReports();
    client.onReport = [&](IOHIDDeviceRef device) {
        HIDValue value;
        EXPECT_EQ(IOHIDDeviceGetValueWithOptions(device, IOHIDDeviceCopyMatchingElements(device)->at(1), value,
                                                 kIOHIDDeviceGetValueWithoutUpdateOption),
                  kIOReturnSuccess);
        EXPECT_EQ(value.integerValue, 1);
    };
    kernel.send(pad, button(true));
    EXPECT_THAT(turnAndTold(), ElementsAre("report pad 01 01", "value pad 9:1 1"));
}

TEST_F(LinuxHIDReading, LeavesTheValuesOfAReportToTheNextTurnWhenItMovesInsideTheReport) {
    const int pad = plugReported(fakePad("pad"));
    client.listenToReports();
    client.onReport = [&](IOHIDDeviceRef) {
        client.unschedule(kCFRunLoopDefaultMode);
        client.schedule(NSModalPanelRunLoopMode);
    };
    kernel.send(pad, button(true));
    dispatch();
    EXPECT_THAT(told(), ElementsAre("report pad 01 01"));
    host.turn(NSModalPanelRunLoopMode);
    EXPECT_THAT(told(), ElementsAre("value pad 9:1 1"));
}

TEST_F(LinuxHIDReading, LeavesTheValuesOfAReportWaitingForTheCallbackOfTheReport) {
    const int pad = plugReported(fakePad("pad"));
    client.listenToReports();
    client.onReport = [&](IOHIDDeviceRef) {
        client.onReport = nullptr;
        EXPECT_EQ(turn(), 0U);
        events.emplace_back("ran the loop");
        throw std::runtime_error("out of the callback");
    };
    kernel.send(pad, button(true));
    EXPECT_THROW(dispatch(), std::runtime_error);
    EXPECT_THAT(told(), ElementsAre("report pad 01 01", "ran the loop"));
    EXPECT_THAT(turnAndTold(), ElementsAre("value pad 9:1 1"));
}

TEST_F(LinuxHIDReading, KeepsTheValuesOfAReportBackWhenItIsClosedInsideIt) {
    const int pad = plugReported(fakePad("pad"));
    client.listenToReports();
    client.onReport = [&](IOHIDDeviceRef) { client.close(); };
    kernel.send(pad, button(true));
    EXPECT_THAT(turnAndTold(), ElementsAre("report pad 01 01"));
    client.onReport = nullptr;
    EXPECT_EQ(client.open(), kIOReturnSuccess);
    kernel.send(pad, button(true));
    EXPECT_THAT(turnAndTold(), ElementsAre("report pad 01 01", "value pad 9:1 1"));
}

TEST_F(LinuxHIDReading, BearsItsReleaseInsideAReport) {
    const int pad = plugReported(fakePad("pad"));
    client.listenToReports();
    client.onReport = [&](IOHIDDeviceRef) { client.release(); };
    kernel.send(pad, button(true));
    EXPECT_THAT(turnAndTold(), ElementsAre("report pad 01 01"));
    EXPECT_EQ(kernel.openNodes(), 0U);
}

TEST_F(LinuxHIDReading, LeavesTheRestOfAReportWaitingDuringACallback) {
    const int sticks = plugReported(fakeSticks(2));
    client.onValue = [&](IOHIDValueRef) {
        client.onValue = nullptr;
        EXPECT_EQ(turn(), 0U);
        events.emplace_back("ran the loop");
    };
    kernel.send(sticks, {1, 2});
    kernel.send(sticks, {3, 2});
    EXPECT_THAT(turnAndTold(),
                ElementsAre("value sticks 1:48 1", "ran the loop", "value sticks 1:48 2", "value sticks 1:48 3"));
}

TEST_F(LinuxHIDReading, WakesNoLoopThatWaitsInsideACallback) {
    const int pad = plugReported(fakePad("pad"));
    client.onValue = [&](IOHIDValueRef) {
        client.onValue = nullptr;
        EXPECT_EQ(dispatch(), 0U);
        EXPECT_FALSE(wouldWake()) << "nothing can be done before the callback ends";
        kernel.plug(fakePad("other"));
        EXPECT_FALSE(wouldWake());
    };
    kernel.send(pad, button(true));
    kernel.send(pad, button(false));
    EXPECT_THAT(turnAndTold(), ElementsAre("value pad 9:1 1", "value pad 9:1 0", "matched other"));
    kernel.send(pad, button(true));
    EXPECT_TRUE(wouldWake());
}

TEST_F(LinuxHIDReading, HearsAgainAfterALoopInsideACallbackWhateverTheKernelHasLeft) {
    const int sticks = plugReported(fakeSticks(1));
    client.onValue = [&](IOHIDValueRef) {
        client.onValue = nullptr;
        kernel.send(sticks, {2});
        EXPECT_EQ(turn(), 0U);
        kernel.refusesAdditions = true;
    };
    kernel.send(sticks, {1});
    EXPECT_THAT(turnAndTold(), ElementsAre("value sticks 1:48 1", "value sticks 1:48 2"));
    kernel.send(sticks, {3});
    EXPECT_TRUE(wouldWake());
    EXPECT_THAT(turnAndTold(), ElementsAre("value sticks 1:48 3"));
}

TEST_F(LinuxHIDReading, StaysUnscheduledWhenALoopRanInsideTheCallbackThatDidIt) {
    const int pad = plugReported(fakePad("pad"));
    client.onValue = [&](IOHIDValueRef) {
        client.onValue = nullptr;
        dispatch();
        client.unschedule();
    };
    kernel.send(pad, button(true));
    kernel.send(pad, button(false));
    EXPECT_THAT(turnAndTold(), ElementsAre("value pad 9:1 1"));
    EXPECT_FALSE(wouldWake());
    client.schedule();
    EXPECT_THAT(turnAndTold(), ElementsAre("value pad 9:1 0"));
}

TEST_F(LinuxHIDReading, GoesOnWithinAReportAfterACallbackThatThrew) {
    const int sticks = plugReported(fakeSticks(2));
    client.onValue = [&](IOHIDValueRef) {
        client.onValue = nullptr;
        throw std::runtime_error("out of the callback");
    };
    kernel.send(sticks, {1, 2});
    EXPECT_THROW(turn(), std::runtime_error);
    EXPECT_TRUE(wouldWake()) << "something is left, though nothing is in the kernel";
    told();
    EXPECT_THAT(turnAndTold(), ElementsAre("value sticks 1:48 2"));
    EXPECT_FALSE(wouldWake());
}

TEST_F(LinuxHIDReading, LetsNoDeviceStarveAnother) {
    const int flood = plugReported(fakePad("flood"));
    const int calm = plugReported(fakePad("calm"));
    bool pressed = false;
    std::size_t floods = 0;
    client.onValue = [&](IOHIDValueRef value) {
        if (IOHIDElementGetDevice(IOHIDValueGetElement(value)) != handle && ++floods < 10000) {
            kernel.send(flood, button(pressed = !pressed));
        }
    };
    for (int i = 0; i < 63; ++i) {
        kernel.send(flood, button(pressed = !pressed));
    }
    kernel.send(calm, button(true));
    const std::size_t handled = dispatch();
    EXPECT_LT(handled, 1000U) << "a turn ends although the flood does not";
    const auto place = std::ranges::find(events, "value calm 9:1 1") - events.begin();
    EXPECT_LE(place, 2) << "it takes turns";
    EXPECT_TRUE(wouldWake());
}

TEST_F(LinuxHIDReading, LetsNoDeviceStarveOneThatSendsInALaterTurn) {
    const int flood = plugReported(fakePad("flood"));
    const int calm = plugReported(fakePad("calm"));
    bool pressed = false;
    const auto fill = [&] {
        for (int i = 0; i < 200; ++i) {
            kernel.send(flood, button(pressed = !pressed));
        }
    };
    fill();
    dispatch();
    for (int i = 0; i < 5; ++i) {
        told();
        fill();
        kernel.send(calm, button(i % 2 == 0));
        dispatch();
        EXPECT_THAT(events, ::testing::Contains(::testing::StartsWith("value calm")));
    }
}

TEST_F(LinuxHIDReading, LetsNoFloodHoldBackArrivalsAndRemovals) {
    const int flood = plugReported(fakePad("flood"));
    const int calm = plugReported(fakePad("calm"));
    bool pressed = false;
    std::size_t floods = 0;
    client.onValue = [&](IOHIDValueRef) {
        if (++floods < 10000) {
            kernel.send(flood, button(pressed = !pressed));
        }
    };
    for (int i = 0; i < 200; ++i) {
        kernel.send(flood, button(pressed = !pressed));
    }
    dispatch();
    kernel.unplug(calm);
    kernel.plug(fakePad("new"));
    dispatch();
    EXPECT_THAT(events, ::testing::IsSupersetOf({"removed calm", "matched new"}));
}

TEST_F(LinuxHIDReading, EndsATurnAlsoWhenReportsBringNothingNew) {
    const int pad = plugReported(fakePad("pad"));
    for (int i = 0; i < 200; ++i) {
        kernel.send(pad, button(true));
    }
    EXPECT_EQ(dispatch(), 1U);
    EXPECT_TRUE(wouldWake());
    while (wouldWake()) {
        dispatch();
    }
    EXPECT_THAT(told(), ElementsAre("value pad 9:1 1"));
}

TEST_F(LinuxHIDReading, DrainsWhatADeviceSentBeforeItWentAndThenRemovesIt) {
    const int pad = plugReported(fakePad("pad"));
    kernel.send(pad, button(true));
    kernel.send(pad, button(false));
    kernel.unplug(pad);
    EXPECT_THAT(turnAndTold(), ElementsAre("value pad 9:1 1", "value pad 9:1 0", "removed pad"));
    EXPECT_EQ(kernel.openNodes(), 0U);
    EXPECT_FALSE(wouldWake());
}

TEST_F(LinuxHIDReading, RemovesADeviceThatHangsUpWhateverBecomesOfItsNode) {
    const int pad = plugReported(fakePad("pad"));
    kernel.hangUp(pad);
    EXPECT_THAT(turnAndTold(), ElementsAre("removed pad"));
    EXPECT_FALSE(wouldWake());
}

TEST_F(LinuxHIDReading, RemovesADeviceThatHasHungUpAlsoWhenReadingDoesNotSaySo) {
    const int pad = plugReported(fakePad("pad"));
    kernel.hangUp(pad);
    kernel.setScript([](std::string_view call) { return call == "read" ? EAGAIN : 0; });
    dispatch();
    EXPECT_THAT(told(), ElementsAre("removed pad"));
}

TEST_F(LinuxHIDReading, RemovesADeviceWhoseNodeIsDeletedAlsoWhenNothingHangsUp) {
    const int pad = plugReported(fakePad("pad"));
    kernel.send(pad, button(true));
    kernel.removeNode(pad);
    EXPECT_THAT(turnAndTold(), ElementsAre("value pad 9:1 1", "removed pad"));
    EXPECT_EQ(kernel.openNodes(), 0U);
    EXPECT_FALSE(wouldWake());
}

TEST_F(LinuxHIDReading, RemovesADeviceWhoseNodeIsDeletedAlsoWhenItSendsWithoutEnd) {
    const int flood = plugReported(fakePad("flood"));
    bool pressed = false;
    std::size_t values = 0;
    for (int i = 0; i < 63; ++i) { // as many as the kernel keeps
        kernel.send(flood, button(pressed = !pressed));
    }
    client.onValue = [&](IOHIDValueRef) {
        ++values;
        kernel.send(flood, button(pressed = !pressed));
    };
    kernel.removeNode(flood);
    kernel.plug(fakePad("new"));
    for (int i = 0; i < 3; ++i) {
        dispatch();
    }
    std::erase(events, "value flood 9:1 0");
    std::erase(events, "value flood 9:1 1");
    EXPECT_THAT(told(), ElementsAre("removed flood", "matched new"));
    EXPECT_GE(values, 63U) << "what it had sent before";
    EXPECT_LE(values, 66U);
    EXPECT_EQ(kernel.openNodes(), 1U);
    EXPECT_FALSE(wouldWake());
}

TEST_F(LinuxHIDReading, RemovesADeviceThatHasHungUpAlsoWhenItIsClosedBeforeAllIsRead) {
    const int pad = plugReported(fakePad("pad"));
    kernel.send(pad, button(true));
    kernel.send(pad, button(false));
    kernel.hangUp(pad); // its node stays
    client.onValue = [&](IOHIDValueRef) { client.close(); };
    EXPECT_THAT(turnAndTold(), ElementsAre("value pad 9:1 1", "removed pad"));
    EXPECT_EQ(kernel.openNodes(), 0U);
}

TEST_F(LinuxHIDReading, RemovesADeviceOnceForAllThatSaysItIsGone) {
    const int pad = plugReported(fakePad("pad"));
    kernel.setScript([](std::string_view call) { return call == "read" ? EIO : 0; });
    kernel.send(pad, button(true));
    EXPECT_EQ(dispatch(), 1U);
    kernel.setScript(nullptr);
    kernel.unplug(pad);
    EXPECT_THAT(turnAndTold(), ElementsAre("removed pad"));
}

TEST_F(LinuxHIDReading, KeepsNoDescriptorThatOnlyFails) {
    for (const int error : {EIO, ENODEV, ESHUTDOWN, EBADF, ENOMEM, EINVAL}) {
        const int pad = plugReported(fakePad("pad"));
        kernel.send(pad, button(true));
        kernel.setScript([error](std::string_view call) { return call == "read" ? error : 0; });
        dispatch();
        EXPECT_THAT(told(), ElementsAre("removed pad")) << error;
        EXPECT_EQ(kernel.openNodes(), 0U);
        kernel.setScript(nullptr);
        kernel.unplug(pad);
        EXPECT_THAT(turnAndTold(), IsEmpty());
        EXPECT_FALSE(wouldWake());
    }
}

TEST_F(LinuxHIDReading, ReadsAgainWhenASignalInterruptsIt) {
    const int pad = plugReported(fakePad("pad"));
    int interruptions = 3;
    kernel.setScript([&](std::string_view call) { return call == "read" && interruptions-- > 0 ? EINTR : 0; });
    kernel.send(pad, button(true));
    EXPECT_THAT(turnAndTold(), ElementsAre("value pad 9:1 1"));
    EXPECT_LE(interruptions, 0);
}

TEST_F(LinuxHIDReading, WaitsOnWhenThereIsNothingToReadAfterAll) {
    const int pad = plugReported(fakePad("pad"));
    kernel.send(pad, button(true));
    kernel.setScript([](std::string_view call) { return call == "read" ? EAGAIN : 0; });
    EXPECT_EQ(dispatch(), 0U);
    kernel.setScript(nullptr);
    EXPECT_THAT(turnAndTold(), ElementsAre("value pad 9:1 1"));
}

TEST_F(LinuxHIDReading, TakesTheBeginningOfAReportThatIsLongerThanAnyMayBe) {
    const int sticks = plugReported(fakeSticks(2));
    std::vector<std::uint8_t> report(40000, 0xff);
    report[0] = 1;
    report[1] = 2;
    kernel.send(sticks, report);
    kernel.send(sticks, {3, 2});
    EXPECT_THAT(turnAndTold(), ElementsAre("value sticks 1:48 1", "value sticks 1:48 2", "value sticks 1:48 3"));
}

TEST_F(LinuxHIDReading, IsNotWokenByADescriptorThatAChildProcessKeeps) {
    const int pad = plugReported(fakePad("pad"));
    // What a child that did not execute another program yet has.
    ASSERT_THAT(kernel.descriptors(), ::testing::SizeIs(1));
    const int copy = ::dup(kernel.descriptors().front());
    kernel.unplug(pad);
    EXPECT_THAT(turnAndTold(), ElementsAre("removed pad"));
    EXPECT_FALSE(wouldWake());
    ::close(copy);
}

TEST_F(LinuxHIDReading, DeliversAfterTheNextOpeningWhatAClosingKeptBack) {
    setUp();
    FakeHIDDevice device = fakePad("stick");
    // A joystick with X and Y of one byte each.
    device.descriptor = test::bytes("05 01 09 04 a1 01 15 00 26 ff 00 75 08 95 02 09 30 09 31 81 02 c0");
    const int stick = plugReported(device);
    client.onValue = [&](IOHIDValueRef) { client.close(); };
    kernel.send(stick, {10, 11});
    EXPECT_THAT(turnAndTold(), ElementsAre("value stick 1:48 10"));
    client.onValue = nullptr;
    client.open();
    kernel.send(stick, {10, 11});
    EXPECT_THAT(turnAndTold(), ElementsAre("value stick 1:49 11"));
}

/// Turns that wait, which have to find everything that turns of a foreign loop find.
class LinuxHIDWaiting : public LinuxHIDReading {
protected:
    std::size_t run(std::chrono::milliseconds timeout = std::chrono::milliseconds(-1)) {
        return host.platform().currentRunLoop().runInMode(kCFRunLoopDefaultMode, timeout);
    }
};

TEST_F(LinuxHIDWaiting, ReportsAndRemovesDevicesAndDeliversValues) {
    const int pad = kernel.plug(fakePad("pad"));
    while (events.empty()) {
        run();
    }
    kernel.send(pad, button(true));
    kernel.send(pad, button(false));
    while (events.size() < 3) {
        run();
    }
    kernel.unplug(pad);
    while (events.size() < 4) {
        run();
    }
    EXPECT_THAT(told(), ElementsAre("matched pad", "value pad 9:1 1", "value pad 9:1 0", "removed pad"));
    EXPECT_EQ(run(std::chrono::milliseconds(0)), 0U);
}

TEST_F(LinuxHIDWaiting, AsksTheKernelTwiceForAReportThatComesAndOnceMoreWhetherThereIsAnother) {
    const int pad = plugReported(fakePad("pad"));
    kernel.send(pad, button(true));
    std::vector<std::string> calls;
    kernel.setScript([&](std::string_view call) { return calls.emplace_back(call), 0; });
    client.onValue = [&](IOHIDValueRef) { calls.emplace_back("value"); };
    EXPECT_EQ(run(), 1U);
    EXPECT_THAT(calls, ElementsAre("poll", "read", "value", "read"));
}

TEST_F(LinuxHIDWaiting, TakesAnyNumberOfDevices) {
    std::vector<int> pads;
    for (int i = 0; i < 12; ++i) {
        pads.push_back(plugReported(fakePad("pad")));
        for (const int pad : pads) {
            kernel.send(pad, button(pads.size() % 2 != 0));
            EXPECT_EQ(run(), 1U) << pad << " of " << pads.size();
        }
        told();
    }
    while (!pads.empty()) {
        kernel.unplug(pads.back());
        pads.pop_back();
        while (events.empty()) {
            run();
        }
        EXPECT_THAT(told(), ElementsAre("removed pad"));
        turn();
    }
}

TEST_F(LinuxHIDWaiting, DoesNotWaitWhileSomethingIsLeftToDo) {
    const int sticks = plugReported(fakeSticks(2));
    client.onValue = [&](IOHIDValueRef) {
        client.onValue = nullptr;
        throw std::runtime_error("out of the callback");
    };
    kernel.send(sticks, {1, 2});
    EXPECT_THROW(run(), std::runtime_error);
    EXPECT_EQ(run(), 1U);
    EXPECT_THAT(told(), ElementsAre("value sticks 1:48 1", "value sticks 1:48 2"));
}

TEST_F(LinuxHIDWaiting, LeavesInputWaitingInsideACallback) {
    const int pad = plugReported(fakePad("pad"));
    client.onValue = [&](IOHIDValueRef) {
        client.onValue = nullptr;
        kernel.send(pad, button(false));
        EXPECT_EQ(run(std::chrono::milliseconds(0)), 0U);
        int waited = -2;
        kernel.setScript([&](std::string_view call) { return call == "epollWait" ? ++waited, 0 : 0; });
        EXPECT_EQ(run(std::chrono::milliseconds(0)), 0U);
        EXPECT_EQ(waited, -1) << "once, and woken by nothing";
        kernel.setScript(nullptr);
        events.emplace_back("ran the loop");
    };
    kernel.send(pad, button(true));
    EXPECT_EQ(run(), 2U);
    EXPECT_THAT(told(), ElementsAre("value pad 9:1 1", "ran the loop", "value pad 9:1 0"));
}

TEST_F(LinuxHIDWaiting, EndsWithNothingHandledWhenASignalComes) {
    plugReported(fakePad("pad"));
    kernel.setScript([](std::string_view call) { return call == "poll" ? EINTR : 0; });
    EXPECT_EQ(run(), 0U);
}

TEST_F(LinuxHIDReading, AsksTheKernelTwiceForAReportInATurnThatDoesNotWait) {
    const int sticks = plugReported(fakeSticks(1));
    kernel.send(sticks, {1});
    turn();
    kernel.send(sticks, {2});
    std::vector<std::string> calls;
    kernel.setScript([&](std::string_view call) { return calls.emplace_back(call), 0; });
    EXPECT_EQ(dispatch(), 1U);
    EXPECT_THAT(calls, ElementsAre("read", "epollWait"));
}

TEST_F(LinuxHIDReading, AllocatesNothing) {
    const int sticks = plugReported(fakeSticks(8));
    std::vector<std::uint8_t> report(8, 1);
    std::size_t values = 0;
    IOHIDManagerRegisterInputValueCallback(
        client.manager(),
        [](void* context, IOReturn, void*, IOHIDValueRef) { *static_cast<std::size_t*>(context) += 1; }, &values);
    kernel.send(sticks, report);
    turn();
    for (std::uint8_t i = 2; i < 60; ++i) {
        std::ranges::fill(report, i);
        kernel.send(sticks, report);
    }
    const ::qz::test::CountedAllocations allocations;
    dispatch();
    EXPECT_EQ(allocations.count(), 0U);
    EXPECT_EQ(values, 8U * 59U);
}

TEST_F(LinuxHIDReading, LetsTheHandleDieWithTheRemoval) {
    const int pad = plugReported(fakePad("pad"));
    const std::weak_ptr<HIDDevice> watch = handle->weak_from_this();
    kernel.send(pad, button(true));
    turn();
    kernel.unplug(pad);
    client.onRemoved = [&](IOHIDDeviceRef) { EXPECT_FALSE(watch.expired()); };
    turn();
    EXPECT_TRUE(watch.expired());
}

TEST_F(LinuxHIDReading, ClosesEverythingWithTheManagerWhateverAClientKeeps) {
    plugReported(fakePad("pad"));
    const auto kept = pin(handle);
    client.release();
    EXPECT_EQ(kernel.openNodes(), 0U);
    EXPECT_NE(kept->property("Product"), nullptr);
    EXPECT_EQ(kept->property("SerialNumber"), nullptr);
}

} // namespace
} // namespace qz::platform::tests
