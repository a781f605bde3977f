// SPDX-License-Identifier: MIT
#include "platform/HIDDevice.h"

#include "platform/virtual/VirtualHID.h"

#include <gmock/gmock.h>

namespace qz::platform {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A device whose every part the test sets by hand.
class TestDevice final : public HIDDevice {
public:
    using HIDDevice::markGone;
    using HIDDevice::removeProperty;
    using HIDDevice::setElements;
    using HIDDevice::setLastKnownValue;
    using HIDDevice::setProperty;
    using HIDDevice::setUsagePairs;
};

std::shared_ptr<TestDevice> makeDevice() {
    return std::make_shared<TestDevice>();
}

std::shared_ptr<TestDevice> makeDeviceOfPrimaryUsage(std::int64_t usagePage, std::int64_t usage) {
    auto device = makeDevice();
    device->setProperty("PrimaryUsagePage", usagePage);
    device->setProperty("PrimaryUsage", usage);
    return device;
}

const HIDMatchingDictionary gamePadCriterion{{"DeviceUsagePage", 1}, {"DeviceUsage", 5}};

TEST(HIDDevice, KeepsPropertiesOfEveryKindByName) {
    const auto device = makeDevice();
    device->setProperty("text", "a");
    device->setProperty("integer", std::int64_t{5});
    device->setProperty("real", 0.5);
    EXPECT_EQ(*device->property("text"), PropertyValue("a"));
    EXPECT_EQ(*device->property("integer"), PropertyValue(std::int64_t{5}));
    EXPECT_EQ(*device->property("real"), PropertyValue(0.5));
    EXPECT_EQ(device->property("Text"), nullptr);
    EXPECT_EQ(device->property(""), nullptr);
}

TEST(HIDDevice, KeepsAPropertyWhereItIsWhileOthersComeAndGo) {
    const auto device = makeDevice();
    device->setProperty("gone", "soon");
    device->setProperty("kept", "still the same text");
    const PropertyValue* const kept = device->property("kept");
    for (int i = 0; i < 100; ++i) {
        device->setProperty("number " + std::to_string(i), std::int64_t{i});
    }
    device->removeProperty("gone");
    EXPECT_EQ(device->property("kept"), kept);
    EXPECT_EQ(*kept, PropertyValue("still the same text"));
    EXPECT_EQ(device->property("gone"), nullptr);
    device->setProperty("gone", "back");
    EXPECT_EQ(*device->property("gone"), PropertyValue("back"));
}

TEST(HIDDevice, RaisesThePropertyRevisionWithEveryChange) {
    const auto device = makeDevice();
    std::uint64_t last = device->propertyRevision();
    EXPECT_EQ(IOHIDDeviceGetPropertyRevision(device.get()), last);
    const auto raised = [&] {
        const bool grew = device->propertyRevision() > last;
        last = device->propertyRevision();
        return grew && IOHIDDeviceGetPropertyRevision(device.get()) == last;
    };
    device->setProperty("Product", "a");
    EXPECT_TRUE(raised());
    device->setProperty("Product", "b");
    EXPECT_TRUE(raised());
    device->removeProperty("Product");
    EXPECT_TRUE(raised());
    EXPECT_EQ(device->property("Product"), nullptr);
    device->removeProperty("Product");
    EXPECT_EQ(device->propertyRevision(), last) << "nothing was there to remove";
}

TEST(HIDDeviceMatching, GoesByThePrimaryUsageWhereNoApplicationsAreNamed) {
    EXPECT_TRUE(makeDeviceOfPrimaryUsage(1, 5)->matches(gamePadCriterion));
    EXPECT_FALSE(makeDeviceOfPrimaryUsage(1, 4)->matches(gamePadCriterion));
    EXPECT_FALSE(makeDeviceOfPrimaryUsage(2, 5)->matches(gamePadCriterion));
    EXPECT_FALSE(makeDevice()->matches(gamePadCriterion));
}

TEST(HIDDeviceMatching, TakesNoOtherKindForAPrimaryUsage) {
    const auto device = makeDevice();
    device->setProperty("PrimaryUsagePage", 1.0);
    device->setProperty("PrimaryUsage", "5");
    EXPECT_FALSE(device->matches(gamePadCriterion));
    device->setProperty("PrimaryUsagePage", std::int64_t{1});
    device->setProperty("PrimaryUsage", (std::int64_t{1} << 32) + 5);
    EXPECT_FALSE(device->matches(gamePadCriterion));
}

TEST(HIDDeviceMatching, LooksAtEveryApplicationAndOnlyAtThem) {
    const auto device = makeDeviceOfPrimaryUsage(1, 6);
    device->setUsagePairs({{1, 6}, {1, 5}});
    EXPECT_TRUE(device->matches(gamePadCriterion));
    EXPECT_TRUE(device->matches({{"DeviceUsagePage", 1}, {"DeviceUsage", 6}}));
    EXPECT_FALSE(device->matches({{"DeviceUsagePage", 1}, {"DeviceUsage", 4}}));
    const auto other = makeDeviceOfPrimaryUsage(1, 5);
    other->setUsagePairs({{1, 6}});
    EXPECT_FALSE(other->matches(gamePadCriterion));
}

TEST(HIDDeviceMatching, TakesPageAndUsageFromOneApplication) {
    const auto device = makeDevice();
    device->setUsagePairs({{1, 6}, {12, 5}});
    EXPECT_FALSE(device->matches(gamePadCriterion));
}

TEST(HIDDeviceMatching, TakesEitherHalfOfThePairAlone) {
    const auto device = makeDevice();
    device->setUsagePairs({{1, 6}, {12, 5}});
    EXPECT_TRUE(device->matches({{"DeviceUsagePage", 12}}));
    EXPECT_TRUE(device->matches({{"DeviceUsage", 6}}));
    EXPECT_FALSE(device->matches({{"DeviceUsagePage", 9}}));
    EXPECT_TRUE(makeDeviceOfPrimaryUsage(1, 5)->matches({{"DeviceUsage", 5}}));
    EXPECT_FALSE(makeDeviceOfPrimaryUsage(1, 5)->matches({{"DeviceUsagePage", 2}}));
}

TEST(HIDDeviceMatching, TestsOtherNamesAgainstIntegerProperties) {
    const auto device = makeDeviceOfPrimaryUsage(1, 5);
    device->setProperty("VendorID", std::int64_t{1234});
    device->setProperty("Product", "1234");
    device->setProperty("Version", 2.0);
    EXPECT_TRUE(device->matches({{"VendorID", 1234}}));
    EXPECT_TRUE(device->matches({{"VendorID", 1234}, {"DeviceUsagePage", 1}, {"DeviceUsage", 5}}));
    EXPECT_FALSE(device->matches({{"VendorID", 1234}, {"DeviceUsagePage", 1}, {"DeviceUsage", 4}}));
    EXPECT_FALSE(device->matches({{"VendorID", 1}, {"DeviceUsagePage", 1}, {"DeviceUsage", 5}}));
    EXPECT_FALSE(device->matches({{"Product", 1234}}));
    EXPECT_FALSE(device->matches({{"Version", 2}}));
    EXPECT_FALSE(device->matches({{"ProductID", 0}}));
}

TEST(HIDDeviceMatching, IsFreeForACriterionThatNamesNothing) {
    EXPECT_TRUE(makeDevice()->matches({}));
}

TEST(HIDDeviceElements, AreAbsentUntilTheyAreSet) {
    const auto device = makeDevice();
    EXPECT_FALSE(device->elements().has_value());
    device->setElements({}, {});
    EXPECT_THAT(device->elements().value(), IsEmpty());
}

TEST(HIDDeviceElements, KnowTheirDeviceAndTheirMembers) {
    const auto device = makeDevice();
    std::vector<HIDElement> elements(4);
    device->setElements(std::move(elements),
                        {std::vector<std::size_t>{1, 2}, std::nullopt, std::vector<std::size_t>{}});
    const std::vector<HIDElement>& all = device->elements().value();
    for (const HIDElement& element : all) {
        EXPECT_EQ(element.device, device.get());
    }
    EXPECT_THAT(all[0].children.value(), ElementsAre(&all[1], &all[2]));
    EXPECT_FALSE(all[1].children.has_value());
    EXPECT_TRUE(all[2].children.has_value());
    EXPECT_THAT(all[2].children.value(), IsEmpty());
    EXPECT_FALSE(all[3].children.has_value()) << "beyond the end of the lists there is none";
}

TEST(HIDDeviceElements, LeaveOutMembersThatDoNotExist) {
    const auto device = makeDevice();
    device->setElements(std::vector<HIDElement>(2), {std::vector<std::size_t>{7, 1, 2}});
    const std::vector<HIDElement>& all = device->elements().value();
    EXPECT_THAT(all[0].children.value(), ElementsAre(&all[1]));
}

TEST(HIDDeviceElements, AnEmptyListOfMembersIsNoNullList) {
    const auto device = makeDevice();
    device->setElements(std::vector<HIDElement>(1), {std::vector<std::size_t>{}});
    EXPECT_NE(device->elements()->at(0).children->data(), nullptr);
}

TEST(HIDDeviceValues, AreKeptForEachElement) {
    const auto device = makeDevice();
    device->setElements(std::vector<HIDElement>(2), {});
    const HIDElement* const first = device->elements()->data();
    const HIDElement* const second = first + 1;
    EXPECT_EQ(device->lastKnownValue(first), std::nullopt);
    device->setLastKnownValue(first, 3);
    device->setLastKnownValue(second, std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(device->lastKnownValue(first), 3);
    EXPECT_EQ(device->lastKnownValue(second), std::numeric_limits<std::int64_t>::min());
    device->setLastKnownValue(first, std::nullopt);
    EXPECT_EQ(device->lastKnownValue(first), std::nullopt);
}

TEST(HIDDeviceValues, AreNeitherReadNorWrittenThroughForeignElements) {
    const auto device = makeDevice();
    const auto other = makeDevice();
    device->setElements(std::vector<HIDElement>(1), {});
    other->setElements(std::vector<HIDElement>(1), {});
    device->setLastKnownValue(device->elements()->data(), 3);
    EXPECT_EQ(other->lastKnownValue(device->elements()->data()), std::nullopt);
    EXPECT_EQ(device->lastKnownValue(nullptr), std::nullopt);
    other->setLastKnownValue(device->elements()->data(), 9);
    EXPECT_EQ(device->lastKnownValue(device->elements()->data()), 3);
    EXPECT_EQ(other->lastKnownValue(other->elements()->data()), std::nullopt);
}

TEST(HIDDeviceValues, AreNotReadThroughACopyOfAnElement) {
    const auto device = makeDevice();
    device->setElements(std::vector<HIDElement>(1), {});
    device->setLastKnownValue(device->elements()->data(), 3);
    const HIDElement copy = device->elements()->front();
    EXPECT_EQ(copy.device, device.get());
    EXPECT_EQ(device->lastKnownValue(&copy), std::nullopt);
    device->setLastKnownValue(&copy, 9);
    EXPECT_EQ(device->lastKnownValue(device->elements()->data()), 3);
}

TEST(HIDDeviceValues, DoNotExistWithoutAnElementList) {
    const auto device = makeDevice();
    HIDElement claimed;
    claimed.device = device.get();
    EXPECT_EQ(device->lastKnownValue(&claimed), std::nullopt);
    device->setLastKnownValue(&claimed, 1);
    EXPECT_EQ(device->lastKnownValue(&claimed), std::nullopt);
}

TEST(HIDDeviceGone, FailsValueReadsWithNoDeviceAndNothingElse) {
    const auto device = makeDeviceOfPrimaryUsage(1, 5);
    device->setElements(std::vector<HIDElement>(1), {});
    const IOHIDElementRef element = device->elements()->data();
    device->setLastKnownValue(element, 3);
    EXPECT_FALSE(device->isGone());
    device->markGone();
    EXPECT_TRUE(device->isGone());
    HIDValue value;
    EXPECT_EQ(IOHIDDeviceGetValueWithOptions(device.get(), element, value, kIOHIDDeviceGetValueWithoutUpdateOption),
              kIOReturnNoDevice);
    EXPECT_NE(device->property("PrimaryUsage"), nullptr);
    EXPECT_TRUE(device->elements().has_value());
}

} // namespace
} // namespace qz::platform
