// SPDX-License-Identifier: MIT
#include "tests/support/Hosts.h"
#include "tests/support/PlatformClient.h"

#include <gmock/gmock.h>

#include <utility>

using namespace qz::platform;

namespace qz::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

/// What HID.h promises of the order in which devices come and go.
class PlatformOrder : public ::testing::TestWithParam<HostKind> {
protected:
    EventLog told() { return std::exchange(events, {}); }

    std::unique_ptr<Host> host = GetParam().make();
    EventLog events;
    PlatformClient client{host->platform(), events};
};
QZ_TELL_OVER_ALL_HOSTS(PlatformOrder);

TEST_P(PlatformOrder, CallsBackFromTheRunLoopOnly) {
    host->plug(gamePad("present"));
    client.schedule();
    EXPECT_EQ(client.open(), kIOReturnSuccess);
    EXPECT_THAT(told(), IsEmpty());
    EXPECT_EQ(host->turn(), 1U);
    EXPECT_THAT(told(), ElementsAre("matched present"));
    const DeviceId pad = host->plug(gamePad("pad"));
    EXPECT_THAT(told(), IsEmpty());
    EXPECT_EQ(host->turn(), 1U);
    EXPECT_THAT(told(), ElementsAre("matched pad"));
    host->unplug(pad);
    EXPECT_THAT(told(), IsEmpty());
    EXPECT_EQ(host->turn(), 1U);
    EXPECT_THAT(told(), ElementsAre("removed pad"));
    EXPECT_EQ(host->turn(), 0U);
}

TEST_P(PlatformOrder, ReportsDevicesAlsoToAManagerThatIsNotOpen) {
    host->plug(gamePad("present"));
    client.schedule();
    host->turn();
    const DeviceId pad = host->plug(gamePad("pad"));
    host->turn();
    host->unplug(pad);
    host->turn();
    EXPECT_THAT(told(), ElementsAre("matched present", "matched pad", "removed pad"));
}

TEST_P(PlatformOrder, ReportsNothingToAManagerThatIsNotScheduled) {
    host->plug(gamePad("pad"));
    EXPECT_EQ(client.open(), kIOReturnSuccess);
    host->turn();
    host->turn(NSModalPanelRunLoopMode);
    EXPECT_THAT(told(), IsEmpty());
}

TEST_P(PlatformOrder, ReportsNothingWhileItIsUnscheduledAndThenWhatIsNew) {
    client.schedule();
    const DeviceId first = host->plug(gamePad("first"));
    host->plug(gamePad("second"));
    host->turn();
    EXPECT_THAT(told(), ElementsAre("matched first", "matched second"));
    client.unschedule();
    host->unplug(first);
    host->turn();
    host->plug(gamePad("third"));
    host->turn();
    EXPECT_THAT(told(), IsEmpty());
    client.schedule();
    host->turn();
    EXPECT_THAT(told(), UnorderedElementsAre("removed first", "matched third"));
}

TEST_P(PlatformOrder, IsServedInEveryModeItIsScheduledIn) {
    client.schedule(kCFRunLoopDefaultMode);
    client.schedule(NSModalPanelRunLoopMode);
    host->plug(gamePad("first"));
    host->turn(kCFRunLoopDefaultMode);
    EXPECT_THAT(told(), ElementsAre("matched first"));
    host->plug(gamePad("second"));
    host->turn(NSModalPanelRunLoopMode);
    EXPECT_THAT(told(), ElementsAre("matched second"));
    client.unschedule(kCFRunLoopDefaultMode);
    host->plug(gamePad("third"));
    host->turn(kCFRunLoopDefaultMode);
    EXPECT_THAT(told(), IsEmpty());
    host->turn(NSModalPanelRunLoopMode);
    EXPECT_THAT(told(), ElementsAre("matched third"));
}

TEST_P(PlatformOrder, TakesASecondSchedulingInOneModeForOne) {
    client.schedule();
    client.schedule();
    host->plug(gamePad("pad"));
    host->turn();
    EXPECT_THAT(told(), ElementsAre("matched pad"));
    client.unschedule();
    host->plug(gamePad("other"));
    host->turn();
    EXPECT_THAT(told(), IsEmpty());
}

TEST_P(PlatformOrder, IgnoresAnUnschedulingFromAModeItIsNotIn) {
    client.schedule(kCFRunLoopDefaultMode);
    client.unschedule(NSModalPanelRunLoopMode);
    host->plug(gamePad("pad"));
    host->turn();
    EXPECT_THAT(told(), ElementsAre("matched pad"));
}

TEST_P(PlatformOrder, ReportsNothingWithoutCriteria) {
    IOHIDManagerSetDeviceMatchingMultiple(client.manager(), {});
    client.schedule();
    host->plug(gamePad("pad"));
    host->turn();
    EXPECT_THAT(told(), IsEmpty());
}

TEST_P(PlatformOrder, ReportsWhatNewCriteriaAddAndNothingTwice) {
    client.schedule();
    host->plug(gamePad("pad"));
    host->plug(deviceOfKind("mouse", 1, 2));
    host->turn();
    EXPECT_THAT(told(), ElementsAre("matched pad"));
    std::vector<HIDMatchingDictionary> wider = gameControllers();
    wider.push_back({{"DeviceUsagePage", 1}, {"DeviceUsage", 2}});
    IOHIDManagerSetDeviceMatchingMultiple(client.manager(), wider);
    EXPECT_THAT(told(), IsEmpty());
    host->turn();
    EXPECT_THAT(told(), ElementsAre("matched mouse"));
}

TEST_P(PlatformOrder, ReportsTheRemovalOfADeviceThatMatchesNoLonger) {
    client.schedule();
    const DeviceId pad = host->plug(gamePad("pad"));
    host->turn();
    IOHIDManagerSetDeviceMatchingMultiple(client.manager(), {});
    host->unplug(pad);
    host->turn();
    EXPECT_THAT(told(), ElementsAre("matched pad", "removed pad"));
}

TEST_P(PlatformOrder, NoLongerCallsWhatIsUnregistered) {
    client.schedule();
    IOHIDManagerRegisterDeviceMatchingCallback(client.manager(), nullptr, nullptr);
    const DeviceId silent = host->plug(gamePad("silent"));
    host->turn();
    host->unplug(silent);
    host->turn();
    EXPECT_THAT(told(), ElementsAre("removed silent"));
}

TEST_P(PlatformOrder, NoLongerCallsAnUnregisteredRemovalCallback) {
    client.schedule();
    IOHIDManagerRegisterDeviceRemovalCallback(client.manager(), nullptr, nullptr);
    host->unplug(host->plug(gamePad("gone")));
    const DeviceId pad = host->plug(gamePad("pad"));
    host->turn();
    host->unplug(pad);
    host->turn();
    EXPECT_THAT(told(), ElementsAre("matched pad"));
}

TEST_P(PlatformOrder, ReportsARemovalBeforeTheHandleDies) {
    client.schedule();
    const DeviceId pad = host->plug(gamePad("pad"));
    IOHIDDeviceRef reported = nullptr;
    client.onMatched = [&](IOHIDDeviceRef device) { reported = device; };
    client.onRemoved = [&](IOHIDDeviceRef device) {
        EXPECT_EQ(device, reported);
        EXPECT_EQ(nameOf(reported), "pad");
        EXPECT_TRUE(IOHIDDeviceCopyMatchingElements(reported).has_value());
    };
    host->turn();
    host->unplug(pad);
    // Between the unplugging and its report the handle still answers.
    EXPECT_EQ(nameOf(reported), "pad");
    host->turn();
    EXPECT_THAT(told(), ElementsAre("matched pad", "removed pad"));
}

TEST_P(PlatformOrder, ServesTwoManagersIndependently) {
    EventLog otherEvents;
    PlatformClient other(host->platform(), otherEvents);
    client.schedule();
    const DeviceId pad = host->plug(gamePad("pad"));
    host->turn();
    EXPECT_THAT(told(), ElementsAre("matched pad"));
    EXPECT_THAT(otherEvents, IsEmpty());
    other.schedule();
    host->turn();
    EXPECT_THAT(told(), IsEmpty());
    EXPECT_THAT(otherEvents, ElementsAre("matched pad"));
    client.release();
    host->unplug(pad);
    host->turn();
    EXPECT_THAT(told(), IsEmpty());
    EXPECT_THAT(otherEvents, ElementsAre("matched pad", "removed pad"));
}

TEST_P(PlatformOrder, ServesOtherManagersInANestedTurn) {
    EventLog otherEvents;
    PlatformClient other(host->platform(), otherEvents);
    client.schedule(kCFRunLoopDefaultMode);
    other.schedule(NSModalPanelRunLoopMode);
    host->plug(gamePad("first"));
    host->plug(gamePad("second"));
    client.onMatched = [&](IOHIDDeviceRef) {
        client.onMatched = nullptr;
        host->turn(NSModalPanelRunLoopMode);
        EXPECT_THAT(otherEvents, ElementsAre("matched first", "matched second"));
        host->turn(kCFRunLoopDefaultMode);
        EXPECT_THAT(events, ElementsAre("matched first"));
    };
    host->turn(kCFRunLoopDefaultMode);
    EXPECT_THAT(told(), ElementsAre("matched first", "matched second"));
}

TEST_P(PlatformOrder, BearsUnschedulingInsideACallback) {
    client.schedule();
    host->plug(gamePad("first"));
    host->plug(gamePad("second"));
    client.onMatched = [&](IOHIDDeviceRef) { client.unschedule(); };
    host->turn();
    host->turn();
    EXPECT_THAT(told(), ElementsAre("matched first"));
    client.schedule();
    host->turn();
    EXPECT_THAT(told(), ElementsAre("matched second"));
}

TEST_P(PlatformOrder, BeginsNoCallbackOfAManagerThatWasReleasedInsideOne) {
    client.schedule();
    host->plug(gamePad("first"));
    host->plug(gamePad("second"));
    client.onMatched = [&](IOHIDDeviceRef device) {
        client.release();
        EXPECT_EQ(nameOf(device), "first");
        host->turn();
    };
    host->turn();
    host->turn();
    EXPECT_THAT(told(), ElementsAre("matched first"));
}

TEST_P(PlatformOrder, BearsTheReleaseOfAnotherManagerInsideACallback) {
    EventLog otherEvents;
    auto other = std::make_unique<PlatformClient>(host->platform(), otherEvents);
    client.schedule();
    other->schedule();
    host->plug(gamePad("pad"));
    // Whichever of the two is served first ends the other.
    client.onMatched = [&](IOHIDDeviceRef) { other.reset(); };
    other->onMatched = [&](IOHIDDeviceRef) { client.release(); };
    host->turn();
    host->turn();
    EXPECT_EQ(events.size() + otherEvents.size(), 1U);
}

TEST_P(PlatformOrder, ServesAManagerThatWasMadeInsideACallback) {
    EventLog otherEvents;
    std::unique_ptr<PlatformClient> other;
    client.schedule();
    host->plug(gamePad("pad"));
    client.onMatched = [&](IOHIDDeviceRef) {
        other = std::make_unique<PlatformClient>(host->platform(), otherEvents);
        other->schedule();
        EXPECT_THAT(otherEvents, IsEmpty());
    };
    host->turn();
    EXPECT_THAT(told(), ElementsAre("matched pad"));
    EXPECT_THAT(otherEvents, ElementsAre("matched pad"));
}

} // namespace
} // namespace qz::tests
