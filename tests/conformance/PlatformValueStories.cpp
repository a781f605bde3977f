// SPDX-License-Identifier: MIT
#include "tests/support/Hosts.h"
#include "tests/support/PlatformClient.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

using namespace qz::platform;

namespace qz::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// What HID.h promises of values.
class PlatformValues : public ::testing::TestWithParam<HostKind> {
protected:
    EventLog told() { return std::exchange(events, {}); }

    /// A pad that has been reported to the client, which is scheduled and open.
    DeviceId plugReported() {
        client.schedule();
        EXPECT_EQ(client.open(), kIOReturnSuccess);
        const DeviceId pad = host->plug(gamePad("pad"));
        client.onMatched = [this](IOHIDDeviceRef device) { handle = pin(device); };
        host->turn();
        EXPECT_THAT(told(), ElementsAre("matched pad"));
        return pad;
    }

    /// The handle of the pad's button.
    IOHIDElementRef button() const {
        const auto elements = IOHIDDeviceCopyMatchingElements(handle.get());
        const auto found = std::ranges::find_if(elements.value(), [](IOHIDElementRef element) {
            return IOHIDElementGetUsagePage(element) == 9 && IOHIDElementGetUsage(element) == 1;
        });
        return found != elements->end() ? *found : nullptr;
    }

    IOReturn read(std::int64_t& value) const {
        HIDValue answer;
        const IOReturn result =
            IOHIDDeviceGetValueWithOptions(handle.get(), button(), answer, kIOHIDDeviceGetValueWithoutUpdateOption);
        value = answer.integerValue;
        return result;
    }

    std::unique_ptr<Host> host = GetParam().make();
    EventLog events;
    PlatformClient client{host->platform(), events};
    std::shared_ptr<HIDDevice> handle;
};
QZ_TELL_OVER_ALL_HOSTS(PlatformValues);

TEST_P(PlatformValues, ArriveFromTheRunLoopInTheOrderOfTheirSending) {
    const DeviceId pad = plugReported();
    host->send(pad, 0, 1);
    host->send(pad, 0, 0);
    host->send(pad, 0, 1);
    EXPECT_THAT(told(), IsEmpty());
    host->turn();
    EXPECT_THAT(told(), ElementsAre("value pad 9:1 1", "value pad 9:1 0", "value pad 9:1 1"));
}

TEST_P(PlatformValues, NameTheElementOfTheDeviceThatSent) {
    const DeviceId pad = plugReported();
    client.onValue = [this](IOHIDValueRef value) {
        EXPECT_EQ(IOHIDValueGetElement(value), button());
        EXPECT_EQ(IOHIDElementGetDevice(IOHIDValueGetElement(value)), handle.get());
    };
    host->send(pad, 0, 1);
    host->turn();
    EXPECT_THAT(told(), ElementsAre("value pad 9:1 1"));
}

TEST_P(PlatformValues, ArriveOnlyInTheModeInWhichTheManagerIsScheduled) {
    const DeviceId pad = plugReported();
    host->send(pad, 0, 1);
    host->turn(NSModalPanelRunLoopMode);
    EXPECT_THAT(told(), IsEmpty());
    client.unschedule(kCFRunLoopDefaultMode);
    client.schedule(NSModalPanelRunLoopMode);
    host->turn(kCFRunLoopDefaultMode);
    EXPECT_THAT(told(), IsEmpty());
    host->turn(NSModalPanelRunLoopMode);
    EXPECT_THAT(told(), ElementsAre("value pad 9:1 1"));
}

TEST_P(PlatformValues, SentBeforeTheOpeningNeverArrive) {
    client.schedule();
    const DeviceId pad = host->plug(gamePad("pad"));
    host->turn();
    host->send(pad, 0, 1);
    host->turn();
    host->send(pad, 0, 0);
    EXPECT_EQ(client.open(), kIOReturnSuccess);
    host->turn();
    EXPECT_THAT(told(), ElementsAre("matched pad"));
    host->send(pad, 0, 1);
    host->turn();
    EXPECT_THAT(told(), ElementsAre("value pad 9:1 1"));
}

TEST_P(PlatformValues, SentBeforeTheClosingOrWhileClosedNeverArriveAfterIt) {
    const DeviceId pad = plugReported();
    host->send(pad, 0, 1);
    EXPECT_EQ(client.close(), kIOReturnSuccess);
    host->turn();
    EXPECT_THAT(told(), IsEmpty());
    host->send(pad, 0, 0);
    EXPECT_EQ(client.open(), kIOReturnSuccess);
    host->turn();
    EXPECT_THAT(told(), IsEmpty());
    host->send(pad, 0, 1);
    host->turn();
    EXPECT_THAT(told(), ElementsAre("value pad 9:1 1"));
}

TEST_P(PlatformValues, OfADeviceArriveAfterItsReportAlone) {
    EXPECT_EQ(client.open(), kIOReturnSuccess);
    const DeviceId pad = host->plug(gamePad("pad"));
    host->send(pad, 0, 1);
    client.schedule();
    host->turn();
    // Whether a value that was sent before the report arrives is the host's affair; that it does not come first is not.
    ASSERT_FALSE(events.empty());
    EXPECT_EQ(events.front(), "matched pad");
    EXPECT_EQ(std::ranges::count(events, "matched pad"), 1);
}

TEST_P(PlatformValues, OfARemovedDeviceDoNotArrive) {
    const DeviceId pad = plugReported();
    host->unplug(pad);
    host->send(pad, 0, 1);
    host->turn();
    host->send(pad, 0, 0);
    host->turn();
    EXPECT_THAT(told(), ElementsAre("removed pad"));
}

TEST_P(PlatformValues, OfADeviceThatDoesNotMatchDoNotArrive) {
    client.schedule();
    EXPECT_EQ(client.open(), kIOReturnSuccess);
    const DeviceId mouse = host->plug(deviceOfKind("mouse", 1, 2));
    host->turn();
    host->send(mouse, 0, 1);
    host->turn();
    EXPECT_THAT(told(), IsEmpty());
}

TEST_P(PlatformValues, ReachNoCallbackOnceItIsUnregistered) {
    const DeviceId pad = plugReported();
    IOHIDManagerRegisterInputValueCallback(client.manager(), nullptr, nullptr);
    host->send(pad, 0, 1);
    host->turn();
    EXPECT_THAT(told(), IsEmpty());
}

TEST_P(PlatformValues, CanBeReadAgainOnceTheyHaveArrived) {
    const DeviceId pad = plugReported();
    std::int64_t value = -1;
    EXPECT_EQ(read(value), kIOReturnError);
    host->send(pad, 0, 1);
    host->turn();
    EXPECT_EQ(read(value), kIOReturnSuccess);
    EXPECT_EQ(value, 1);
    host->send(pad, 0, 0);
    host->turn();
    EXPECT_EQ(read(value), kIOReturnSuccess);
    EXPECT_EQ(value, 0);
}

TEST_P(PlatformValues, AreTheLastKnownOnesAlreadyInsideTheirCallback) {
    const DeviceId pad = plugReported();
    std::int64_t seen = -1;
    client.onValue = [&](IOHIDValueRef) { EXPECT_EQ(read(seen), kIOReturnSuccess); };
    host->send(pad, 0, 1);
    host->turn();
    EXPECT_EQ(seen, 1);
}

TEST_P(PlatformValues, AreNoLongerReadFromADeviceThatIsGoneWhileItsDescriptionAnswers) {
    const DeviceId pad = plugReported();
    host->send(pad, 0, 1);
    host->turn();
    const IOHIDElementRef element = button();
    host->unplug(pad);
    host->turn();
    std::int64_t value = -1;
    EXPECT_EQ(read(value), kIOReturnNoDevice);
    EXPECT_EQ(value, 0);
    EXPECT_EQ(nameOf(handle.get()), "pad");
    EXPECT_EQ(IOHIDElementGetUsagePage(element), 9U);
    EXPECT_EQ(IOHIDElementGetLogicalMax(element), 1);
    EXPECT_EQ(IOHIDElementGetDevice(element), handle.get());
}

TEST_P(PlatformValues, WaitInANestedTurnUntilTheOneBeforeIsDispatched) {
    const DeviceId pad = plugReported();
    client.onValue = [&](IOHIDValueRef) {
        client.onValue = nullptr;
        EXPECT_EQ(host->turn(), 0U);
        events.emplace_back("ran the loop");
    };
    host->send(pad, 0, 1);
    host->send(pad, 0, 0);
    host->turn();
    EXPECT_THAT(told(), ElementsAre("value pad 9:1 1", "ran the loop", "value pad 9:1 0"));
}

TEST_P(PlatformValues, AfterOneWhoseCallbackThrewStillArrive) {
    const DeviceId pad = plugReported();
    client.onValue = [&](IOHIDValueRef) {
        client.onValue = nullptr;
        throw std::runtime_error("out of the callback");
    };
    host->send(pad, 0, 1);
    host->send(pad, 0, 0);
    EXPECT_THROW(host->turn(), std::runtime_error);
    EXPECT_THAT(told(), ElementsAre("value pad 9:1 1"));
    host->turn();
    EXPECT_THAT(told(), ElementsAre("value pad 9:1 0"));
}

TEST_P(PlatformValues, StopWithTheClosingInsideACallback) {
    const DeviceId pad = plugReported();
    client.onValue = [&](IOHIDValueRef) { client.close(); };
    host->send(pad, 0, 1);
    host->send(pad, 0, 0);
    host->turn();
    EXPECT_THAT(told(), ElementsAre("value pad 9:1 1"));
}

TEST_P(PlatformValues, StopWithTheReleaseInsideACallback) {
    const DeviceId pad = plugReported();
    client.onValue = [&](IOHIDValueRef) { client.release(); };
    host->send(pad, 0, 1);
    host->send(pad, 0, 0);
    host->turn();
    host->turn();
    EXPECT_THAT(told(), ElementsAre("value pad 9:1 1"));
}

TEST_P(PlatformValues, ReachEveryManagerThatIsOpen) {
    const DeviceId pad = plugReported();
    EventLog otherEvents;
    PlatformClient other(host->platform(), otherEvents);
    other.schedule();
    EXPECT_EQ(other.open(), kIOReturnSuccess);
    host->turn();
    host->send(pad, 0, 1);
    host->turn();
    EXPECT_THAT(told(), ElementsAre("value pad 9:1 1"));
    EXPECT_THAT(otherEvents, ElementsAre("matched pad", "value pad 9:1 1"));
}

} // namespace
} // namespace qz::tests
