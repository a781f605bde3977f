// SPDX-License-Identifier: MIT
#include "platform/HID.h"
#include "HIDWrapper/QZHIDElementType.h"

#include "platform/virtual/VirtualPlatform.h"
#include "tests/support/FakeHIDManager.h"

#include <gmock/gmock.h>

#include <array>

namespace qz::platform {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using tests::FakeHIDManager;

void deviceCallback(void* /*context*/, IOReturn /*result*/, void* /*sender*/, IOHIDDeviceRef /*device*/) {}
void valueCallback(void* /*context*/, IOReturn /*result*/, void* /*sender*/, IOHIDValueRef /*value*/) {}
void reportCallback(void* /*context*/, IOReturn /*result*/, void* /*sender*/, IOHIDDeviceRef /*device*/,
                    std::span<const std::uint8_t> /*report*/) {}

TEST(StatusCodes, HaveTheirPlatformValues) {
    EXPECT_EQ(kIOReturnSuccess, 0);
    EXPECT_EQ(static_cast<std::uint32_t>(kIOReturnError), 0xe00002bcU);
    EXPECT_EQ(static_cast<std::uint32_t>(kIOReturnNoResources), 0xe00002beU);
    EXPECT_EQ(static_cast<std::uint32_t>(kIOReturnNoDevice), 0xe00002c0U);
    EXPECT_EQ(static_cast<std::uint32_t>(kIOReturnBadArgument), 0xe00002c2U);
    EXPECT_EQ(static_cast<std::uint32_t>(kIOReturnExclusiveAccess), 0xe00002c5U);
    EXPECT_EQ(static_cast<std::uint32_t>(kIOReturnUnsupported), 0xe00002c7U);
    EXPECT_EQ(static_cast<std::uint32_t>(kIOReturnIOError), 0xe00002caU);
    EXPECT_EQ(static_cast<std::uint32_t>(kIOReturnNotPermitted), 0xe00002e2U);
}

TEST(NullManager, IsABadArgumentToOpeningAndClosing) {
    EXPECT_EQ(IOHIDManagerOpen(nullptr, kIOHIDOptionsTypeNone), kIOReturnBadArgument);
    EXPECT_EQ(IOHIDManagerClose(nullptr, kIOHIDOptionsTypeNone), kIOReturnBadArgument);
}

TEST(NullManager, TakesEveryOtherOperationAndDoesNothing) {
    VirtualPlatform platform;
    const std::array<HIDMatchingDictionary, 1> criteria;
    IOHIDManagerSetDeviceMatchingMultiple(nullptr, criteria);
    IOHIDManagerRegisterDeviceMatchingCallback(nullptr, deviceCallback, &platform);
    IOHIDManagerRegisterDeviceRemovalCallback(nullptr, deviceCallback, &platform);
    IOHIDManagerRegisterInputValueCallback(nullptr, valueCallback, &platform);
    IOHIDManagerRegisterInputReportCallback(nullptr, reportCallback, &platform);
    IOHIDManagerScheduleWithRunLoop(nullptr, CFRunLoopGetCurrent(platform), kCFRunLoopDefaultMode);
    IOHIDManagerUnscheduleFromRunLoop(nullptr, CFRunLoopGetCurrent(platform), kCFRunLoopDefaultMode);
    CFRelease(nullptr);
    EXPECT_EQ(platform.currentRunLoop().dispatch(kCFRunLoopDefaultMode), 0U);
}

TEST(NullRunLoop, IsNeitherScheduledOnNorUnscheduledFrom) {
    FakeHIDManager manager;
    IOHIDManagerScheduleWithRunLoop(&manager, nullptr, kCFRunLoopDefaultMode);
    IOHIDManagerUnscheduleFromRunLoop(&manager, nullptr, kCFRunLoopDefaultMode);
    EXPECT_THAT(manager.scheduled, IsEmpty());
    EXPECT_THAT(manager.unscheduled, IsEmpty());
}

TEST(NullDevice, HasNoPropertiesElementsOrValues) {
    EXPECT_EQ(IOHIDDeviceGetProperty(nullptr, "Product"), nullptr);
    EXPECT_EQ(IOHIDDeviceGetPropertyRevision(nullptr), 0U);
    EXPECT_EQ(IOHIDDeviceCopyMatchingElements(nullptr), std::nullopt);
    EXPECT_EQ(pin(IOHIDDeviceRef{}), nullptr);
    const HIDElement element;
    HIDValue value{nullptr, 7};
    EXPECT_EQ(IOHIDDeviceGetValueWithOptions(nullptr, &element, value, kIOHIDDeviceGetValueWithoutUpdateOption),
              kIOReturnBadArgument);
    EXPECT_EQ(value.integerValue, 7);
}

TEST(NullElement, ReadsAsZeroAndAbsent) {
    const IOHIDElementRef none = nullptr;
    EXPECT_EQ(IOHIDElementGetCookie(none), 0U);
    EXPECT_EQ(IOHIDElementGetType(none), 0);
    EXPECT_EQ(IOHIDElementGetCollectionType(none), 0);
    EXPECT_EQ(IOHIDElementGetUsagePage(none), 0U);
    EXPECT_EQ(IOHIDElementGetUsage(none), 0U);
    EXPECT_EQ(IOHIDElementGetLogicalMin(none), 0);
    EXPECT_EQ(IOHIDElementGetLogicalMax(none), 0);
    EXPECT_FALSE(IOHIDElementHasPreferredState(none));
    EXPECT_EQ(IOHIDElementGetDevice(none), nullptr);
    EXPECT_FALSE(IOHIDElementGetChildren(none).has_value());
    EXPECT_EQ(pin(none), nullptr);
}

TEST(NullValue, ReadsAsZeroAndAbsent) {
    EXPECT_EQ(IOHIDValueGetElement(nullptr), nullptr);
    EXPECT_EQ(IOHIDValueGetIntegerValue(nullptr), 0);
}

TEST(Operations, ReachTheManagerWithTheirArguments) {
    FakeHIDManager manager;
    VirtualPlatform platform;
    int context = 0;

    const std::array<HIDMatchingDictionary, 2> criteria{HIDMatchingDictionary{{"A", 1}, {"B", 2}},
                                                        HIDMatchingDictionary{{"C", 3}}};
    IOHIDManagerSetDeviceMatchingMultiple(&manager, criteria);
    EXPECT_THAT(manager.criteria, ElementsAre(criteria[0], criteria[1]));

    IOHIDManagerRegisterDeviceMatchingCallback(&manager, deviceCallback, &context);
    EXPECT_EQ(manager.matching.function, deviceCallback);
    EXPECT_EQ(manager.matching.context, &context);
    EXPECT_EQ(manager.removal.function, nullptr);
    IOHIDManagerRegisterDeviceRemovalCallback(&manager, deviceCallback, &context);
    EXPECT_EQ(manager.removal.function, deviceCallback);
    EXPECT_EQ(manager.removal.context, &context);
    IOHIDManagerRegisterInputValueCallback(&manager, valueCallback, &context);
    EXPECT_EQ(manager.inputValue.function, valueCallback);
    EXPECT_EQ(manager.inputValue.context, &context);
    IOHIDManagerRegisterInputReportCallback(&manager, reportCallback, &context);
    EXPECT_EQ(manager.inputReport.function, reportCallback);
    EXPECT_EQ(manager.inputReport.context, &context);

    const CFRunLoopRef runLoop = CFRunLoopGetCurrent(platform);
    EXPECT_EQ(runLoop, &platform.currentRunLoop());
    IOHIDManagerScheduleWithRunLoop(&manager, runLoop, NSModalPanelRunLoopMode);
    EXPECT_THAT(manager.scheduled, ElementsAre(FakeHIDManager::Schedule{runLoop, NSModalPanelRunLoopMode}));
    IOHIDManagerUnscheduleFromRunLoop(&manager, runLoop, kCFRunLoopDefaultMode);
    EXPECT_THAT(manager.unscheduled, ElementsAre(FakeHIDManager::Schedule{runLoop, kCFRunLoopDefaultMode}));

    manager.openResult = kIOReturnNoResources;
    EXPECT_EQ(IOHIDManagerOpen(&manager, 5), kIOReturnNoResources);
    EXPECT_THAT(manager.opened, ElementsAre(5U));
    manager.closeResult = kIOReturnIOError;
    EXPECT_EQ(IOHIDManagerClose(&manager, 6), kIOReturnIOError);
    EXPECT_THAT(manager.closed, ElementsAre(6U));

    CFRelease(&manager);
    EXPECT_EQ(manager.released, 1);
}

TEST(Creation, AnswersNullWhenThePlatformCannotMakeAManager) {
    VirtualPlatform platform;
    platform.hidServices().setCreationFails(true);
    EXPECT_EQ(IOHIDManagerCreate(platform, kIOHIDOptionsTypeNone), nullptr);
    platform.hidServices().setCreationFails(false);
    const IOHIDManagerRef manager = IOHIDManagerCreate(platform, kIOHIDOptionsTypeNone);
    EXPECT_NE(manager, nullptr);
    CFRelease(manager);
}

TEST(ElementRecord, IsReadFieldByField) {
    const std::array<IOHIDElementRef, 2> members{nullptr, nullptr};
    const HIDElement element{.cookie = 0xffffffffU,
                             .type = -2,
                             .collectionType = 3,
                             .usagePage = 0xff01U,
                             .usage = 0x30U,
                             .hasPreferredState = true,
                             .logicalMin = std::numeric_limits<std::int64_t>::min(),
                             .logicalMax = std::numeric_limits<std::int64_t>::max(),
                             .children = std::span<const IOHIDElementRef>(members),
                             .device = nullptr};
    EXPECT_EQ(IOHIDElementGetCookie(&element), 0xffffffffU);
    EXPECT_EQ(IOHIDElementGetType(&element), -2);
    EXPECT_EQ(IOHIDElementGetCollectionType(&element), 3);
    EXPECT_EQ(IOHIDElementGetUsagePage(&element), 0xff01U);
    EXPECT_EQ(IOHIDElementGetUsage(&element), 0x30U);
    EXPECT_TRUE(IOHIDElementHasPreferredState(&element));
    EXPECT_EQ(IOHIDElementGetLogicalMin(&element), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(IOHIDElementGetLogicalMax(&element), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(IOHIDElementGetChildren(&element)->size(), 2U);
    const HIDValue value{&element, -9};
    EXPECT_EQ(IOHIDValueGetElement(&value), &element);
    EXPECT_EQ(IOHIDValueGetIntegerValue(&value), -9);
}

/// A virtual device with a collection that holds a button, and a second button beside it.
class DeviceOperations : public ::testing::Test {
protected:
    static VirtualElement button(std::uint32_t cookie) {
        return {.cookie = cookie, .type = 2, .usagePage = 9, .usage = cookie, .max = 1, .children = std::nullopt};
    }
    static VirtualDeviceDescription description() {
        VirtualDeviceDescription made;
        made.properties = {{"Product", "pad"}};
        made.elements = {{.cookie = 1, .type = QZHIDElementTypeCollection, .children = std::vector<std::size_t>{1}},
                         button(2),
                         button(3)};
        return made;
    }
    IOReturn read(IOHIDDeviceRef from, IOHIDElementRef element) {
        return IOHIDDeviceGetValueWithOptions(from, element, value, kIOHIDDeviceGetValueWithoutUpdateOption);
    }

    std::shared_ptr<VirtualDevice> device = std::make_shared<VirtualDevice>(description());
    HIDValue value{nullptr, 77};
};

TEST_F(DeviceOperations, ListTheElementsInOrderAndByIdentity) {
    const auto elements = IOHIDDeviceCopyMatchingElements(device.get());
    ASSERT_TRUE(elements.has_value());
    EXPECT_THAT(*elements, ElementsAre(device->element(0), device->element(1), device->element(2)));
    EXPECT_EQ(IOHIDElementGetDevice(elements->at(1)), device.get());
    EXPECT_THAT(IOHIDElementGetChildren(elements->at(0)).value(), ElementsAre(elements->at(1)));
}

TEST_F(DeviceOperations, TellNoListFromAnEmptyOne) {
    VirtualDeviceDescription none;
    none.elements = std::nullopt;
    EXPECT_EQ(IOHIDDeviceCopyMatchingElements(std::make_shared<VirtualDevice>(none).get()), std::nullopt);
    EXPECT_THAT(IOHIDDeviceCopyMatchingElements(std::make_shared<VirtualDevice>(VirtualDeviceDescription{}).get()),
                ::testing::Optional(IsEmpty()));
}

TEST_F(DeviceOperations, ReadTheLastKnownValueOnceThereIsOne) {
    EXPECT_EQ(read(device.get(), device->element(1)), kIOReturnError);
    EXPECT_EQ(value.integerValue, 77);
    device->setLastKnownValue(1, -5);
    EXPECT_EQ(read(device.get(), device->element(1)), kIOReturnSuccess);
    EXPECT_EQ(value.element, device->element(1));
    EXPECT_EQ(value.integerValue, -5);
    EXPECT_EQ(read(device.get(), device->element(2)), kIOReturnError);
    device->setLastKnownValue(1, std::nullopt);
    EXPECT_EQ(read(device.get(), device->element(1)), kIOReturnError);
    EXPECT_EQ(value.integerValue, -5);
}

TEST_F(DeviceOperations, DoNotPoll) {
    device->setLastKnownValue(1, 1);
    EXPECT_EQ(IOHIDDeviceGetValueWithOptions(device.get(), device->element(1), value, kIOHIDOptionsTypeNone),
              kIOReturnUnsupported);
    EXPECT_EQ(IOHIDDeviceGetValueWithOptions(device.get(), device->element(1), value, 0x20000), kIOReturnUnsupported);
    EXPECT_EQ(value.integerValue, 77);
    EXPECT_EQ(kIOHIDDeviceGetValueWithoutUpdateOption, 0x40000U);
}

TEST_F(DeviceOperations, RefuseElementsOfOtherDevices) {
    const auto twin = std::make_shared<VirtualDevice>(description());
    twin->setLastKnownValue(1, 1);
    EXPECT_EQ(read(device.get(), twin->element(1)), kIOReturnBadArgument);
    EXPECT_EQ(read(device.get(), nullptr), kIOReturnBadArgument);
    EXPECT_EQ(value.integerValue, 77);
}

TEST_F(DeviceOperations, KeepElementHandlesValidThroughAPin) {
    std::shared_ptr<const HIDElement> pinned = pin(device->element(1));
    const std::weak_ptr<VirtualDevice> watch = device;
    device.reset();
    EXPECT_FALSE(watch.expired());
    EXPECT_EQ(IOHIDElementGetCookie(pinned.get()), 2U);
    EXPECT_EQ(IOHIDDeviceCopyMatchingElements(IOHIDElementGetDevice(pinned.get()))->at(1), pinned.get());
    pinned.reset();
    EXPECT_TRUE(watch.expired());
}

TEST_F(DeviceOperations, KeepDeviceHandlesValidThroughAPin) {
    const std::shared_ptr<HIDDevice> pinned = pin(device.get());
    EXPECT_EQ(pinned.get(), device.get());
    device.reset();
    EXPECT_EQ(std::get<std::string>(*IOHIDDeviceGetProperty(pinned.get(), "Product")), "pad");
}

TEST(ElementWithoutDevice, IsPinnedToNothing) {
    const HIDElement loose;
    EXPECT_EQ(pin(&loose).get(), &loose);
    EXPECT_EQ(pin(&loose).use_count(), 0);
}

} // namespace
} // namespace qz::platform
