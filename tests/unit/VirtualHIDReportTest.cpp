// SPDX-License-Identifier: MIT
#include "platform/virtual/VirtualPlatform.h"
#include "tests/support/Hex.h"
#include "tests/support/PlatformClient.h"

#include <gmock/gmock.h>

#include <utility>

namespace qz::platform {
namespace {

using test::bytes;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using tests::EventLog;
using tests::PlatformClient;

// A joystick with X and Y of one byte each.
constexpr std::string_view stickDescriptor = "05 01 09 04 a1 01 15 00 26 ff 00 75 08 95 02 09 30 09 31 81 02 c0";

std::shared_ptr<VirtualDevice> makeStick() {
    return std::make_shared<VirtualDevice>(std::get<ReportDescriptor>(parseReportDescriptor(bytes(stickDescriptor))),
                                           HIDProperties{{"Product", "stick"}});
}

class VirtualHIDReports : public ::testing::Test {
protected:
    VirtualHIDReports() {
        client.schedule();
        client.open();
        services.plug(stick);
        turn();
        told();
    }

    std::size_t turn() { return platform.currentRunLoop().dispatch(kCFRunLoopDefaultMode); }
    std::vector<std::string> told() { return std::exchange(events, {}); }
    void send(std::string_view hex) { services.sendReport(stick, bytes(hex)); }

    VirtualPlatform platform;
    VirtualHIDServices& services = platform.hidServices();
    EventLog events;
    PlatformClient client{platform, events};
    std::shared_ptr<VirtualDevice> stick = makeStick();
};

TEST_F(VirtualHIDReports, AreTakenInWholeAndDeliveredValueByValue) {
    std::optional<std::int64_t> secondDuringFirst;
    client.onValue = [&](IOHIDValueRef) {
        if (!secondDuringFirst) {
            secondDuringFirst = stick->lastKnownValue(stick->element(2));
        }
    };
    send("0a 0b");
    EXPECT_FALSE(stick->lastKnownValue(stick->element(1))) << "not before it is delivered";
    EXPECT_EQ(turn(), 2U);
    EXPECT_THAT(told(), ElementsAre("value stick 1:48 10", "value stick 1:49 11"));
    EXPECT_EQ(secondDuringFirst, 11);
    send("0a 0b");
    send("0a 0c");
    EXPECT_EQ(turn(), 1U);
    EXPECT_THAT(told(), ElementsAre("value stick 1:49 12"));
}

TEST_F(VirtualHIDReports, LeaveTheRestToTheNextTurnWhenTheManagerMoves) {
    client.onValue = [&](IOHIDValueRef) {
        client.unschedule(kCFRunLoopDefaultMode);
        client.schedule(kCFRunLoopDefaultMode);
        client.onValue = nullptr;
    };
    send("0a 0b");
    EXPECT_EQ(turn(), 1U);
    EXPECT_EQ(turn(), 1U);
    EXPECT_THAT(told(), ElementsAre("value stick 1:48 10", "value stick 1:49 11"));
}

TEST_F(VirtualHIDReports, EndWithTheClosingOfTheManager) {
    client.onValue = [&](IOHIDValueRef) { client.close(); };
    send("0a 0b");
    send("0c 0d");
    turn();
    EXPECT_THAT(told(), ElementsAre("value stick 1:48 10"));
    send("0e 0f");
    EXPECT_EQ(turn(), 0U) << "lost, because nobody reads";
    client.onValue = nullptr;
    client.open();
    send("0a 0b");
    turn();
    EXPECT_THAT(told(), ElementsAre("value stick 1:49 11")) << "it had been kept back";
}

TEST_F(VirtualHIDReports, ReachEveryManagerThatIsOpen) {
    EventLog otherEvents;
    PlatformClient other(platform, otherEvents);
    other.schedule();
    other.open();
    turn();
    otherEvents.clear();
    send("0a 0b");
    send("0a 0c");
    turn();
    EXPECT_THAT(told(), ElementsAre("value stick 1:48 10", "value stick 1:49 11", "value stick 1:49 12"));
    EXPECT_THAT(otherEvents, ElementsAre("value stick 1:48 10", "value stick 1:49 11", "value stick 1:49 12"));
}

TEST_F(VirtualHIDReports, ReachWhoAsksForThemBeforeTheirValues) {
    client.listenToReports();
    client.onReport = [&](IOHIDDeviceRef device) {
        EXPECT_EQ(device, stick.get());
        EXPECT_TRUE(stick->lastKnownValue(stick->element(1)));
    };
    send("0a 0b");
    send("0a 0b");
    send("");
    send("0a 0c 0d");
    EXPECT_EQ(turn(), 7U);
    EXPECT_THAT(told(),
                ElementsAre("report stick 0a 0b", "value stick 1:48 10", "value stick 1:49 11", "report stick 0a 0b",
                            "report stick", "report stick 0a 0c 0d", "value stick 1:49 12"));
}

TEST_F(VirtualHIDReports, ReachEveryManagerThatAsksForThem) {
    EventLog otherEvents;
    PlatformClient other(platform, otherEvents);
    other.listenToReports();
    other.schedule();
    other.open();
    turn();
    otherEvents.clear();
    send("0a 0b");
    turn();
    EXPECT_THAT(told(), ElementsAre("value stick 1:48 10", "value stick 1:49 11"));
    EXPECT_THAT(otherEvents, ElementsAre("report stick 0a 0b", "value stick 1:48 10", "value stick 1:49 11"));
}

TEST_F(VirtualHIDReports, AreFollowedByTheirValuesAtTheNextTurnWhenTheManagerMoves) {
    client.listenToReports();
    client.onReport = [&](IOHIDDeviceRef) {
        client.unschedule(kCFRunLoopDefaultMode);
        client.schedule(kCFRunLoopDefaultMode);
    };
    send("0a 0b");
    EXPECT_EQ(turn(), 1U);
    EXPECT_THAT(told(), ElementsAre("report stick 0a 0b"));
    EXPECT_EQ(turn(), 2U);
    EXPECT_THAT(told(), ElementsAre("value stick 1:48 10", "value stick 1:49 11"));
}

TEST_F(VirtualHIDReports, KeepTheirValuesBackWhenTheManagerIsClosedInsideTheirCallback) {
    client.listenToReports();
    client.onReport = [&](IOHIDDeviceRef) { client.close(); };
    send("0a 0b");
    send("0a 0c");
    turn();
    EXPECT_THAT(told(), ElementsAre("report stick 0a 0b"));
    client.onReport = nullptr;
    client.open();
    send("0a 0b");
    turn();
    EXPECT_THAT(told(), ElementsAre("report stick 0a 0b", "value stick 1:48 10", "value stick 1:49 11"));
}

TEST_F(VirtualHIDReports, AreTheLastThatIsHeardOfAManagerReleasedInsideTheirCallback) {
    client.listenToReports();
    client.onReport = [&](IOHIDDeviceRef) { client.release(); };
    send("0a 0b");
    EXPECT_EQ(turn(), 1U);
    EXPECT_THAT(told(), ElementsAre("report stick 0a 0b"));
}

TEST_F(VirtualHIDReports, DeliveredAtOnceReachWhoAsksForThem) {
    client.listenToReports();
    services.deliverReport(stick, bytes("0a 0b"));
    services.deliverReport(stick, bytes("0a 0b"));
    EXPECT_THAT(told(),
                ElementsAre("report stick 0a 0b", "value stick 1:48 10", "value stick 1:49 11", "report stick 0a 0b"));
    client.onReport = [&](IOHIDDeviceRef) {
        client.onReport = nullptr;
        stick.reset();
        client.release();
    };
    services.deliverReport(stick, bytes("0a 0c"));
    EXPECT_THAT(told(), ElementsAre("report stick 0a 0c"));
}

TEST_F(VirtualHIDReports, AreComparedWithLastKnownValuesSetByHand) {
    send("0a 0b");
    turn();
    told();
    stick->setLastKnownValue(1, std::nullopt);
    stick->setLastKnownValue(2, 12);
    send("0a 0b");
    turn();
    EXPECT_THAT(told(), ElementsAre("value stick 1:48 10", "value stick 1:49 11"));
}

TEST_F(VirtualHIDReports, AreNothingToADeviceOfHandMadeElementsAndToOneThatIsGone) {
    const auto pad = services.plug(VirtualDeviceDescription{
        .properties = {{"Product", "pad"}, {"PrimaryUsagePage", std::int64_t{1}}, {"PrimaryUsage", std::int64_t{5}}},
        .elements = std::vector<VirtualElement>{{.cookie = 1, .type = 3, .children = std::nullopt}},
        .usagePairs = {}});
    EXPECT_FALSE(pad->takesReports());
    EXPECT_TRUE(stick->takesReports());
    services.sendReport(pad, bytes("01 02"));
    services.unplug(stick);
    send("0a 0b");
    turn();
    EXPECT_THAT(told(), ElementsAre("matched pad", "removed stick"));
}

TEST_F(VirtualHIDReports, CallBackAtOnceWhenTheyAreToldToBreakTheOrder) {
    services.deliverReport(stick, bytes("0a 0b"));
    EXPECT_THAT(told(), ElementsAre("value stick 1:48 10", "value stick 1:49 11"));
    client.onValue = [&](IOHIDValueRef value) {
        if (value->integerValue == 1) {
            services.deliverReport(stick, bytes("02 03"));
        }
    };
    services.deliverReport(stick, bytes("01 0c"));
    EXPECT_THAT(told(),
                ElementsAre("value stick 1:48 1", "value stick 1:48 2", "value stick 1:49 3", "value stick 1:49 12"));
    client.onValue = [&](IOHIDValueRef) {
        services.unplug(stick);
        stick = nullptr;
    };
    services.deliverReport(stick, bytes("04 05"));
    EXPECT_THAT(told(), ElementsAre("value stick 1:48 4", "value stick 1:49 5"));
}

} // namespace
} // namespace qz::platform
