// SPDX-License-Identifier: MIT
#include "HIDWrapper/QZHIDDevice.h"

#include "HIDWrapper/QZGCHIDManager.h"
#include "platform/virtual/VirtualPlatform.h"

#include <gmock/gmock.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <limits>

using namespace qz::platform;

namespace {

class QZHIDDeviceTest : public ::testing::Test {
protected:
    void set(std::string_view key, PropertyValue value) { handle->setProperty(key, std::move(value)); }
    void setPrimaryUsage(std::int64_t usagePage, std::int64_t usage) {
        set("PrimaryUsagePage", usagePage);
        set("PrimaryUsage", usage);
    }
    double startedWith(double hysteresis) const {
        device->startLimitedValueReportingWithHysteresis(hysteresis);
        return device->limitedVRHysteresis();
    }

    VirtualPlatform platform;
    std::shared_ptr<VirtualDevice> handle = std::make_shared<VirtualDevice>(VirtualDeviceDescription{});
    std::shared_ptr<QZGCHIDManager> manager = QZGCHIDManager::create(nullptr, platform);
    std::shared_ptr<QZHIDDevice> device = QZHIDDevice::create(handle.get(), manager);
};

TEST_F(QZHIDDeviceTest, FreshIsNotInLimitedMode) {
    EXPECT_FALSE(device->isInLimitedVRMode());
    EXPECT_EQ(device->limitedVRHysteresis(), 0.0);
    EXPECT_EQ(device->ioHIDDeviceRef(), handle.get());
    EXPECT_EQ(device->manager(), manager);
}

TEST_F(QZHIDDeviceTest, LetsEveryFieldBeSet) {
    device->setIsInLimitedVRMode(true);
    EXPECT_TRUE(device->isInLimitedVRMode());
    device->setLimitedVRHysteresis(2.5);
    EXPECT_EQ(device->limitedVRHysteresis(), 2.5) << "it is the start of limited reporting that clamps";
    const auto other = QZGCHIDManager::create(nullptr, platform);
    device->setManager(other);
    EXPECT_EQ(device->manager(), other);
    device->setManager(nullptr);
    EXPECT_EQ(device->manager(), nullptr);
    const auto otherHandle = std::make_shared<VirtualDevice>(VirtualDeviceDescription{});
    otherHandle->setProperty("Product", "other");
    device->setIoHIDDeviceRef(otherHandle.get());
    EXPECT_EQ(device->ioHIDDeviceRef(), otherHandle.get());
    EXPECT_EQ(device->productName(), "other");
}

TEST_F(QZHIDDeviceTest, ReadsStringsFromStringPropertiesAlone) {
    set("key", "text");
    EXPECT_EQ(device->stringPropertyWithKey("key"), "text");
    set("key", "");
    EXPECT_EQ(device->stringPropertyWithKey("key"), "");
    set("key", std::int64_t{5});
    EXPECT_EQ(device->stringPropertyWithKey("key"), std::nullopt);
    set("key", 0.5);
    EXPECT_EQ(device->stringPropertyWithKey("key"), std::nullopt);
    EXPECT_EQ(device->stringPropertyWithKey("Key"), std::nullopt);
    EXPECT_EQ(device->stringPropertyWithKey(""), std::nullopt);
}

TEST_F(QZHIDDeviceTest, ReadsIntegersFromIntegerPropertiesAlone) {
    set("key", std::int64_t{-5});
    EXPECT_EQ(device->integerPropertyWithKey("key"), -5);
    set("key", 5.0);
    EXPECT_EQ(device->integerPropertyWithKey("key"), 0);
    set("key", "5");
    EXPECT_EQ(device->integerPropertyWithKey("key"), 0);
    EXPECT_EQ(device->integerPropertyWithKey("other"), 0);
}

TEST_F(QZHIDDeviceTest, CutsIntegersTo32BitsAndWidensThemWithSign) {
    constexpr std::int64_t two31 = std::int64_t{1} << 31;
    constexpr std::int64_t two32 = std::int64_t{1} << 32;
    constexpr std::array<std::pair<std::int64_t, std::int64_t>, 12> readings{
        {{0, 0},
         {two31 - 1, two31 - 1},
         {two31, -two31},
         {two31 + 1, -two31 + 1},
         {two32 - 1, -1},
         {two32, 0},
         {two32 + 5, 5},
         {-1, -1},
         {-two31, -two31},
         {-two31 - 1, two31 - 1},
         {std::numeric_limits<std::int64_t>::min(), 0},
         {std::numeric_limits<std::int64_t>::max(), -1}}};
    for (const auto& [stored, read] : readings) {
        set("key", stored);
        EXPECT_EQ(device->integerPropertyWithKey("key"), read) << stored;
    }
}

TEST_F(QZHIDDeviceTest, ReadsFloatingPointFromFloatingPointPropertiesAlone) {
    set("key", -0.25);
    EXPECT_EQ(device->floatPropertyWithKey("key"), -0.25);
    set("key", std::numeric_limits<double>::infinity());
    EXPECT_EQ(device->floatPropertyWithKey("key"), std::numeric_limits<double>::infinity());
    set("key", std::int64_t{3});
    EXPECT_EQ(device->floatPropertyWithKey("key"), 0.0);
    set("key", "0.5");
    EXPECT_EQ(device->floatPropertyWithKey("key"), 0.0);
    EXPECT_EQ(device->floatPropertyWithKey("other"), 0.0);
}

TEST_F(QZHIDDeviceTest, AnswersEachPropertyFromItsOwnKey) {
    set("Product", "pad");
    set("SerialNumber", "AB12");
    set("ProductID", std::int64_t{1});
    set("LocationID", std::int64_t{2});
    set("VendorID", std::int64_t{3});
    set("VendorIDSource", std::int64_t{4});
    set("UniqueID", std::int64_t{5});
    set("PhysicalDeviceUniqueID", std::int64_t{6});
    EXPECT_EQ(device->productName(), "pad");
    EXPECT_EQ(device->serialNo(), "AB12");
    EXPECT_EQ(device->productID(), 1);
    EXPECT_EQ(device->locationID(), 2);
    EXPECT_EQ(device->vendorID(), 3);
    EXPECT_EQ(device->vendorIDSource(), 4);
    EXPECT_EQ(device->uniqueID(), 5);
    EXPECT_EQ(device->physicalDeviceUniqueID(), 6);
}

TEST_F(QZHIDDeviceTest, AnswersNothingAndZeroWithoutProperties) {
    EXPECT_EQ(device->productName(), std::nullopt);
    EXPECT_EQ(device->serialNo(), std::nullopt);
    EXPECT_EQ(device->productID(), 0);
    EXPECT_EQ(device->locationID(), 0);
    EXPECT_EQ(device->vendorID(), 0);
    EXPECT_EQ(device->vendorIDSource(), 0);
    EXPECT_EQ(device->uniqueID(), 0);
    EXPECT_EQ(device->physicalDeviceUniqueID(), 0);
    EXPECT_EQ(device->kind(), "Unknown");
}

TEST_F(QZHIDDeviceTest, AnswersNothingAndZeroWithoutAHandle) {
    const auto nowhere = QZHIDDevice::create(nullptr, manager);
    EXPECT_EQ(nowhere->ioHIDDeviceRef(), nullptr);
    EXPECT_EQ(nowhere->productName(), std::nullopt);
    EXPECT_EQ(nowhere->vendorID(), 0);
    EXPECT_EQ(nowhere->floatPropertyWithKey("any"), 0.0);
    EXPECT_EQ(nowhere->kind(), "Unknown");
    EXPECT_EQ(nowhere->userPrefIDs().aInstanceID, "generic_Unknown.0");
}

TEST_F(QZHIDDeviceTest, IsOfTheKindOfItsPrimaryUsage) {
    setPrimaryUsage(1, 4);
    EXPECT_EQ(device->kind(), "Joystick");
    setPrimaryUsage(1, 5);
    EXPECT_EQ(device->kind(), "Gamepad");
}

TEST_F(QZHIDDeviceTest, IsOfUnknownKindWithAnyOtherUsage) {
    for (const std::int64_t usage : {0, 1, 2, 3, 6, 8, -1}) {
        setPrimaryUsage(1, usage);
        EXPECT_EQ(device->kind(), "Unknown") << usage;
    }
    for (const std::int64_t usage : {4, 5}) {
        for (const std::int64_t usagePage : {0, 2, 5, 12, 0xff00, -1}) {
            setPrimaryUsage(usagePage, usage);
            EXPECT_EQ(device->kind(), "Unknown") << usagePage;
        }
    }
}

TEST_F(QZHIDDeviceTest, TakesItsKindFromIntegersCutTo32Bits) {
    setPrimaryUsage((std::int64_t{1} << 32) + 1, (std::int64_t{1} << 33) + 5);
    EXPECT_EQ(device->kind(), "Gamepad");
    set("PrimaryUsage", 5.0);
    EXPECT_EQ(device->kind(), "Unknown");
    set("PrimaryUsage", "5");
    EXPECT_EQ(device->kind(), "Unknown");
    set("PrimaryUsage", std::int64_t{5});
    set("PrimaryUsagePage", 1.0);
    EXPECT_EQ(device->kind(), "Unknown");
}

TEST_F(QZHIDDeviceTest, DescribesItselfInOneLine) {
    setPrimaryUsage(1, 5);
    set("Product", "A pad, with a comma");
    set("ProductID", std::int64_t{5678});
    set("SerialNumber", "AB12");
    set("LocationID", std::int64_t{0x14100000});
    set("VendorID", std::int64_t{1234});
    set("VendorIDSource", std::int64_t{1});
    set("UniqueID", std::int64_t{-7});
    set("PhysicalDeviceUniqueID", std::int64_t{8});
    std::array<char, 64> address{};
    std::snprintf(address.data(), address.size(), "<QZHIDDevice: %p>", static_cast<const void*>(device.get()));
    EXPECT_EQ(device->description(),
              std::string(address.data()) +
                  ", Gamepad, product name A pad, with a comma, product ID 5678, serial no. AB12, "
                  "location ID 336592896, vendor ID 1234, vendor ID source 1, unique ID -7, "
                  "physical device unique ID 8");
}

TEST_F(QZHIDDeviceTest, DescribesWhatItLacksAsNull) {
    const std::string description = device->description();
    const std::size_t comma = description.find(',');
    ASSERT_NE(comma, std::string::npos);
    EXPECT_EQ(description.substr(comma), ", Unknown, product name (null), product ID 0, serial no. (null), "
                                         "location ID 0, vendor ID 0, vendor ID source 0, unique ID 0, "
                                         "physical device unique ID 0");
    set("Product", "");
    EXPECT_NE(device->description().find("product name , product ID"), std::string::npos);
}

TEST_F(QZHIDDeviceTest, KeepsTheHysteresisOfLimitedReportingWithinTheScale) {
    EXPECT_EQ(startedWith(1.5), 1.0);
    EXPECT_EQ(startedWith(-0.2), 0.0);
    EXPECT_EQ(startedWith(1.0), 1.0);
    EXPECT_EQ(startedWith(0.0), 0.0);
    EXPECT_EQ(startedWith(0.25), 0.25);
    EXPECT_EQ(startedWith(std::nextafter(1.0, 2.0)), 1.0);
    EXPECT_EQ(startedWith(std::nextafter(1.0, 0.0)), std::nextafter(1.0, 0.0));
    EXPECT_EQ(startedWith(std::numeric_limits<double>::denorm_min()), std::numeric_limits<double>::denorm_min());
    EXPECT_EQ(startedWith(-std::numeric_limits<double>::denorm_min()), 0.0);
    EXPECT_EQ(startedWith(std::numeric_limits<double>::infinity()), 1.0);
    EXPECT_EQ(startedWith(-std::numeric_limits<double>::infinity()), 0.0);
}

TEST_F(QZHIDDeviceTest, StoresAHysteresisThatIsNoNumberUnchanged) {
    EXPECT_TRUE(std::isnan(startedWith(std::numeric_limits<double>::quiet_NaN())));
    EXPECT_TRUE(device->isInLimitedVRMode());
    EXPECT_TRUE(std::signbit(startedWith(-0.0))) << "neither above nor below the scale";
}

TEST_F(QZHIDDeviceTest, LeavesTheHysteresisAsItWasWhenLimitedReportingEnds) {
    device->startLimitedValueReportingWithHysteresis(0.25);
    EXPECT_TRUE(device->isInLimitedVRMode());
    device->endLimitedValueReporting();
    EXPECT_FALSE(device->isInLimitedVRMode());
    EXPECT_EQ(device->limitedVRHysteresis(), 0.25);
    device->endLimitedValueReporting();
    EXPECT_FALSE(device->isInLimitedVRMode());
}

TEST_F(QZHIDDeviceTest, SeesAChangedPropertyAtTheNextRead) {
    set("Product", "before");
    EXPECT_EQ(device->productName(), "before");
    const std::uint64_t revision = IOHIDDeviceGetPropertyRevision(device->ioHIDDeviceRef());
    set("Product", "after");
    EXPECT_EQ(device->productName(), "after");
    EXPECT_GT(IOHIDDeviceGetPropertyRevision(device->ioHIDDeviceRef()), revision);
    handle->removeProperty("Product");
    EXPECT_EQ(device->productName(), std::nullopt);
}

TEST_F(QZHIDDeviceTest, KeepsItsHandleAnsweringAsLongAsItLives) {
    set("Product", "pad");
    const std::weak_ptr<VirtualDevice> watch = handle;
    platform.hidServices().plug(handle);
    platform.hidServices().unplug(handle);
    handle.reset();
    EXPECT_FALSE(watch.expired());
    EXPECT_EQ(device->productName(), "pad");
    manager.reset();
    EXPECT_EQ(device->productName(), "pad");
    EXPECT_EQ(device->manager(), nullptr);
    device.reset();
    EXPECT_TRUE(watch.expired());
}

TEST_F(QZHIDDeviceTest, LetsGoOfAHandleThatIsReplaced) {
    const std::weak_ptr<VirtualDevice> watch = handle;
    handle.reset();
    EXPECT_FALSE(watch.expired());
    device->setIoHIDDeviceRef(nullptr);
    EXPECT_TRUE(watch.expired());
    EXPECT_EQ(device->ioHIDDeviceRef(), nullptr);
}

} // namespace
