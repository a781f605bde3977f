// SPDX-License-Identifier: MIT
#include "platform/virtual/VirtualHID.h"

#include "platform/virtual/VirtualPlatform.h"
#include "tests/support/PlatformClient.h"

#include <gmock/gmock.h>

#include <stdexcept>
#include <utility>

namespace qz::platform {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using tests::EventLog;
using tests::PlatformClient;

VirtualDeviceDescription describe(std::string name, std::int64_t usage = 5) {
    VirtualDeviceDescription description;
    description.properties = {
        {"Product", std::move(name)}, {"PrimaryUsagePage", std::int64_t{1}}, {"PrimaryUsage", usage}};
    description.elements = {
        {.cookie = 10, .type = 2, .usagePage = 9, .usage = 1, .max = 1, .children = std::nullopt},
        {.cookie = 20, .type = 3, .usagePage = 1, .usage = 48, .max = 255, .children = std::nullopt}};
    return description;
}

TEST(VirtualDevice, IsWhatItsDescriptionSays) {
    VirtualDeviceDescription description = describe("pad");
    description.elements->push_back({.cookie = 30,
                                     .type = 513,
                                     .collectionType = 2,
                                     .usagePage = 1,
                                     .usage = 57,
                                     .min = -3,
                                     .max = 4,
                                     .preferredState = false,
                                     .children = std::vector<std::size_t>{1, 0}});
    const auto device = std::make_shared<VirtualDevice>(description);
    EXPECT_EQ(*device->property("Product"), PropertyValue("pad"));
    ASSERT_EQ(device->elements()->size(), 3U);
    const IOHIDElementRef collection = device->element(2);
    EXPECT_EQ(collection, &device->elements()->at(2));
    EXPECT_EQ(IOHIDElementGetCookie(collection), 30U);
    EXPECT_EQ(IOHIDElementGetType(collection), 513);
    EXPECT_EQ(IOHIDElementGetCollectionType(collection), 2);
    EXPECT_EQ(IOHIDElementGetUsagePage(collection), 1U);
    EXPECT_EQ(IOHIDElementGetUsage(collection), 57U);
    EXPECT_EQ(IOHIDElementGetLogicalMin(collection), -3);
    EXPECT_EQ(IOHIDElementGetLogicalMax(collection), 4);
    EXPECT_FALSE(IOHIDElementHasPreferredState(collection));
    EXPECT_TRUE(IOHIDElementHasPreferredState(device->element(0)));
    EXPECT_THAT(IOHIDElementGetChildren(collection).value(), ElementsAre(device->element(1), device->element(0)));
    EXPECT_EQ(device->element(3), nullptr);
}

TEST(VirtualDevice, MatchesByItsUsagePairsOrElseByThePrimaryUsage) {
    VirtualDeviceDescription description = describe("pad", 6);
    const HIDMatchingDictionary gamePad{{"DeviceUsagePage", 1}, {"DeviceUsage", 5}};
    EXPECT_FALSE(std::make_shared<VirtualDevice>(description)->matches(gamePad));
    description.usagePairs = {{1, 6}, {1, 5}};
    EXPECT_TRUE(std::make_shared<VirtualDevice>(description)->matches(gamePad));
}

TEST(VirtualDevice, MayHaveNoElementList) {
    VirtualDeviceDescription description = describe("pad");
    description.elements = std::nullopt;
    const auto device = std::make_shared<VirtualDevice>(description);
    EXPECT_FALSE(device->elements().has_value());
    EXPECT_EQ(device->element(0), nullptr);
    device->setLastKnownValue(0, 1);
}

class VirtualHID : public ::testing::Test {
protected:
    EventLog told() { return std::exchange(events, {}); }
    std::size_t turn() { return platform.currentRunLoop().dispatch(kCFRunLoopDefaultMode); }

    VirtualPlatform platform;
    VirtualHIDServices& services = platform.hidServices();
    EventLog events;
    PlatformClient client{platform, events};
};

TEST_F(VirtualHID, NamesTheManagerAsTheSenderOfItsCallbacks) {
    void* sender = nullptr;
    IOHIDManagerRegisterDeviceMatchingCallback(
        client.manager(),
        [](void* context, IOReturn, void* calling, IOHIDDeviceRef) { *static_cast<void**>(context) = calling; },
        &sender);
    client.schedule();
    services.plug(describe("pad"));
    turn();
    EXPECT_EQ(sender, client.manager());
}

TEST_F(VirtualHID, LetsTheHandleDieWithItsRemoval) {
    client.schedule();
    client.open();
    auto device = services.plug(describe("pad"));
    const std::weak_ptr<VirtualDevice> watch = device;
    turn();
    services.send(device, 0, 1);
    services.unplug(device);
    device.reset();
    EXPECT_FALSE(watch.expired());
    turn();
    EXPECT_TRUE(watch.expired());
}

TEST_F(VirtualHID, AttachesADeviceThatTheCallerMade) {
    const auto device = std::make_shared<VirtualDevice>(describe("pad"));
    client.schedule();
    services.plug(device);
    services.plug(device);
    turn();
    EXPECT_THAT(told(), ElementsAre("matched pad"));
    services.unplug(device);
    services.unplug(device);
    turn();
    EXPECT_THAT(told(), ElementsAre("removed pad"));
}

TEST_F(VirtualHID, IgnoresTheUnpluggingOfADeviceThatIsNotPlugged) {
    client.schedule();
    const auto device = std::make_shared<VirtualDevice>(describe("pad"));
    services.unplug(device);
    EXPECT_FALSE(device->isGone());
    EXPECT_EQ(turn(), 0U);
}

TEST_F(VirtualHID, NeverBringsADeviceBackThatHasBeenUnplugged) {
    const auto device = services.plug(describe("pad"));
    services.unplug(device);
    EXPECT_TRUE(device->isGone());
    client.schedule();
    services.plug(device);
    turn();
    EXPECT_THAT(told(), IsEmpty());
}

TEST_F(VirtualHID, SendsNothingForAnElementThatDoesNotExistOrADeviceThatIsGone) {
    client.schedule();
    client.open();
    const auto device = services.plug(describe("pad"));
    turn();
    told();
    services.send(device, 2, 1);
    EXPECT_EQ(turn(), 0U);
    services.unplug(device);
    services.send(device, 0, 1);
    turn();
    EXPECT_THAT(told(), ElementsAre("removed pad"));
}

TEST_F(VirtualHID, DeliversValuesOfAnySizeAndNeedsNoChange) {
    client.schedule();
    client.open();
    const auto device = services.plug(describe("pad"));
    turn();
    told();
    services.send(device, 1, std::numeric_limits<std::int64_t>::min());
    services.send(device, 1, std::numeric_limits<std::int64_t>::max());
    services.send(device, 1, std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(turn(), 3U);
    EXPECT_THAT(told(), ElementsAre("value pad 1:48 -9223372036854775808", "value pad 1:48 9223372036854775807",
                                    "value pad 1:48 9223372036854775807"));
    EXPECT_EQ(device->lastKnownValue(device->element(1)), std::numeric_limits<std::int64_t>::max());
}

TEST_F(VirtualHID, MakesAValueTheLastKnownOneWhenItIsDelivered) {
    client.schedule();
    client.open();
    const auto device = services.plug(describe("pad"));
    services.send(device, 0, 1);
    EXPECT_EQ(device->lastKnownValue(device->element(0)), std::nullopt);
    turn();
    EXPECT_EQ(device->lastKnownValue(device->element(0)), 1);
}

TEST_F(VirtualHID, AnswersTheOpeningAsItIsToldTo) {
    client.schedule();
    const auto device = services.plug(describe("pad"));
    services.setOpenResult(kIOReturnNotPermitted);
    EXPECT_EQ(client.open(), kIOReturnNotPermitted);
    turn();
    services.send(device, 0, 1);
    turn();
    EXPECT_THAT(told(), ElementsAre("matched pad"));
    services.setOpenResult(kIOReturnSuccess);
    EXPECT_EQ(client.open(), kIOReturnSuccess);
    services.send(device, 0, 1);
    turn();
    EXPECT_THAT(told(), ElementsAre("value pad 9:1 1"));
    services.setOpenResult(kIOReturnIOError);
    EXPECT_EQ(client.open(), kIOReturnIOError);
    services.send(device, 0, 0);
    turn();
    EXPECT_THAT(told(), ElementsAre("value pad 9:1 0")) << "what is open stays open";
}

TEST_F(VirtualHID, ReportsFailuresInOrderWithEverythingElse) {
    client.schedule();
    services.plug(describe("first"));
    services.fail(nullptr, -1);
    services.plug(describe("second"));
    services.fail(std::make_shared<VirtualDevice>(describe("broken")), kIOReturnExclusiveAccess);
    EXPECT_THAT(told(), IsEmpty());
    EXPECT_EQ(turn(), 4U);
    EXPECT_THAT(told(), ElementsAre("matched first", "error -1", "matched second", "error -536870203"));
}

TEST_F(VirtualHID, CallsBackAtOnceWhenItIsToldToBreakTheOrder) {
    const auto stranger = std::make_shared<VirtualDevice>(describe("stranger"));
    const auto device = std::make_shared<VirtualDevice>(describe("pad"));
    const HIDValue value{stranger->element(0), 7};
    services.deliverInputValue(kIOReturnSuccess, &value);
    services.deliverRemoval(kIOReturnSuccess, device.get());
    services.deliverMatching(kIOReturnSuccess, device.get());
    services.deliverMatching(kIOReturnSuccess, device.get());
    services.deliverMatching(kIOReturnSuccess, nullptr);
    services.deliverMatching(1, device.get());
    services.deliverRemoval(2, nullptr);
    services.deliverInputValue(3, nullptr);
    EXPECT_THAT(told(), ElementsAre("value stranger 9:1 7", "removed pad", "matched pad", "matched pad", "matched null",
                                    "error 1", "error 2", "error 3"));
}

TEST_F(VirtualHID, EndsATurnAlsoWhenEveryCallbackSetsOffAnotherOne) {
    client.schedule();
    client.open();
    const auto device = services.plug(describe("pad"));
    turn();
    told();
    constexpr std::size_t all = 10000;
    std::size_t values = 0;
    client.onValue = [&](IOHIDValueRef) {
        if (++values < all) {
            services.send(device, 1, static_cast<std::int64_t>(values % 2));
        }
    };
    services.send(device, 1, 1);
    const std::size_t handled = turn();
    EXPECT_GT(handled, 0U);
    EXPECT_LT(handled, all);
    EXPECT_EQ(values, handled);
    while (turn() > 0) {
    }
    EXPECT_EQ(values, all) << "what is left comes in the turns after it";
}

TEST_F(VirtualHID, CallsEveryManagerBackThatIsStillThere) {
    EventLog otherEvents;
    auto other = std::make_unique<PlatformClient>(platform, otherEvents);
    client.onMatched = [&](IOHIDDeviceRef) { other.reset(); };
    const auto device = std::make_shared<VirtualDevice>(describe("pad"));
    services.deliverMatching(kIOReturnSuccess, device.get());
    EXPECT_THAT(told(), ElementsAre("matched pad"));
    EXPECT_THAT(otherEvents, IsEmpty());
    client.onMatched = nullptr;
    PlatformClient third(platform, otherEvents);
    services.deliverMatching(kIOReturnSuccess, device.get());
    EXPECT_THAT(otherEvents, ElementsAre("matched pad"));
}

TEST_F(VirtualHID, BearsTheReleaseOfTheManagerThatItCallsBack) {
    client.onMatched = [&](IOHIDDeviceRef) { client.release(); };
    services.deliverMatching(kIOReturnSuccess, nullptr);
    services.deliverMatching(kIOReturnSuccess, nullptr);
    EXPECT_THAT(told(), ElementsAre("matched null"));
}

TEST_F(VirtualHID, PassesAnExceptionToWhoBrokeTheOrder) {
    client.onMatched = [](IOHIDDeviceRef) { throw std::runtime_error("out of the callback"); };
    EXPECT_THROW(services.deliverMatching(kIOReturnSuccess, nullptr), std::runtime_error);
    client.onMatched = nullptr;
    client.schedule();
    services.plug(describe("pad"));
    turn();
    EXPECT_THAT(told(), ElementsAre("matched null", "matched pad"));
}

} // namespace
} // namespace qz::platform
