// SPDX-License-Identifier: MIT
#include "HIDWrapper/QZGCHIDManager.h"
#include "HIDWrapper/QZHIDDevice.h"
#include "platform/virtual/VirtualPlatform.h"

#include <gmock/gmock.h>

using namespace qz::platform;

namespace {

using Properties = std::map<std::string, PropertyValue, std::less<>>;

constexpr std::int64_t operator""_i(unsigned long long number) {
    return static_cast<std::int64_t>(number);
}

struct Device {
    explicit Device(Properties properties)
        : handle(std::make_shared<VirtualDevice>(VirtualDeviceDescription{std::move(properties), {}, {}})),
          device(QZHIDDevice::create(handle.get(), manager)) {}

    VirtualPlatform platform;
    std::shared_ptr<QZGCHIDManager> manager = QZGCHIDManager::create(nullptr, platform);
    std::shared_ptr<VirtualDevice> handle;
    std::shared_ptr<QZHIDDevice> device;
};

std::string typeID(Properties properties) {
    return Device(std::move(properties)).device->userPrefIDs().aDeviceTypeID;
}

std::string instanceID(Properties properties) {
    return Device(std::move(properties)).device->userPrefIDs().aInstanceID;
}

std::string calibrationsKey(Properties properties) {
    return Device(std::move(properties)).device->calibrationsPrefKey();
}

/// The instance ID of vendor 1, product 2 and no serial number at this location.
std::string instanceAt(PropertyValue location) {
    return instanceID({{"VendorID", 1_i}, {"ProductID", 2_i}, {"LocationID", std::move(location)}});
}

TEST(UserPrefIDs, OfADeviceWithASerialNumberEndInIt) {
    const Properties properties{
        {"VendorID", 1234_i}, {"ProductID", 5678_i}, {"SerialNumber", "AB12"}, {"LocationID", 0x14100000_i}};
    EXPECT_EQ(typeID(properties), "1234-5678");
    EXPECT_EQ(instanceID(properties), "1234-5678.AB12");
}

TEST(UserPrefIDs, OfADeviceWithoutASerialNumberEndInItsLocation) {
    const Properties properties{{"VendorID", 1234_i}, {"ProductID", 5678_i}, {"LocationID", 0x14100000_i}};
    EXPECT_EQ(typeID(properties), "1234-5678");
    EXPECT_EQ(instanceID(properties), "1234-5678.14100000");
}

TEST(UserPrefIDs, OfADeviceWithoutVendorAndProductNameItsKind) {
    const Properties gamepad{{"PrimaryUsagePage", 1_i}, {"PrimaryUsage", 5_i}};
    EXPECT_EQ(typeID(gamepad), "generic_Gamepad");
    EXPECT_EQ(instanceID(gamepad), "generic_Gamepad.0");
    const Properties joystick{{"PrimaryUsagePage", 1_i}, {"PrimaryUsage", 4_i}};
    EXPECT_EQ(typeID(joystick), "generic_Joystick");
    EXPECT_EQ(instanceID(joystick), "generic_Joystick.0");
    EXPECT_EQ(typeID({}), "generic_Unknown");
    EXPECT_EQ(instanceID({}), "generic_Unknown.0");
}

TEST(UserPrefIDs, OfAGenericDeviceIgnoreSerialNumberAndLocation) {
    EXPECT_EQ(instanceID({{"PrimaryUsagePage", 1_i},
                          {"PrimaryUsage", 5_i},
                          {"VendorID", 0_i},
                          {"ProductID", 0_i},
                          {"SerialNumber", "AB12"},
                          {"LocationID", 0x14100000_i}}),
              "generic_Gamepad.0");
}

TEST(UserPrefIDs, AreGenericOnlyWhenBothNumbersAreZero) {
    EXPECT_EQ(instanceID({{"VendorID", 1234_i}, {"ProductID", 0_i}}), "1234-0.0");
    EXPECT_EQ(instanceID({{"VendorID", 0_i}, {"ProductID", 5678_i}}), "0-5678.0");
    EXPECT_EQ(typeID({{"VendorID", 1234_i}}), "1234-0");
    EXPECT_EQ(typeID({{"ProductID", 5678_i}}), "0-5678");
}

TEST(UserPrefIDs, TakeNumbersOfAnotherKindForZero) {
    EXPECT_EQ(typeID({{"VendorID", 1234.0}, {"ProductID", "5678"}}), "generic_Unknown");
    EXPECT_EQ(typeID({{"VendorID", 1234.0}, {"ProductID", 5678_i}}), "0-5678");
}

TEST(UserPrefIDs, CutNumbersTo32Bits) {
    EXPECT_EQ(typeID({{"VendorID", 0x1000004d2_i}, {"ProductID", 0xffffffff_i}}), "1234--1");
    EXPECT_EQ(typeID({{"VendorID", 0x100000000_i}, {"ProductID", 0x200000000_i}}), "generic_Unknown");
}

TEST(UserPrefIDs, KeepTheMinusSignOfNegativeNumbers) {
    EXPECT_EQ(typeID({{"VendorID", -1_i}, {"ProductID", 5678_i}}), "-1-5678");
    EXPECT_EQ(typeID({{"VendorID", -2147483648_i}, {"ProductID", -2_i}}), "-2147483648--2");
}

TEST(UserPrefIDs, UseASerialNumberAsItIs) {
    const auto instanceOf = [](std::string serial) {
        return instanceID({{"VendorID", 1_i}, {"ProductID", 2_i}, {"SerialNumber", std::move(serial)}});
    };
    EXPECT_EQ(instanceOf(""), "1-2.");
    EXPECT_EQ(instanceOf(" "), "1-2. ");
    EXPECT_EQ(instanceOf("a.b-c\n"), "1-2.a.b-c\n");
    EXPECT_EQ(instanceOf("\xc3\xa4\xe6\x89\x8b\xe6\x9f\x84"), "1-2.\xc3\xa4\xe6\x89\x8b\xe6\x9f\x84");
    EXPECT_EQ(instanceOf("\xff\xfe"), "1-2.\xff\xfe");
    const std::string longSerial(100'000, 'x');
    EXPECT_EQ(instanceOf(longSerial), "1-2." + longSerial);
}

TEST(UserPrefIDs, TakeASerialNumberThatIsNoStringForNone) {
    EXPECT_EQ(instanceID({{"VendorID", 1_i}, {"ProductID", 2_i}, {"SerialNumber", 3_i}, {"LocationID", 0x4f_i}}),
              "1-2.4f");
}

TEST(UserPrefIDs, WriteTheLocationInHexadecimalWithoutPrefixOrLeadingZeros) {
    EXPECT_EQ(instanceAt(0_i), "1-2.0");
    EXPECT_EQ(instanceAt(0xa_i), "1-2.a");
    EXPECT_EQ(instanceAt(0x10_i), "1-2.10");
    EXPECT_EQ(instanceAt(0x0abcdef1_i), "1-2.abcdef1");
    EXPECT_EQ(instanceAt(0x7fffffff_i), "1-2.7fffffff");
    EXPECT_EQ(instanceID({{"VendorID", 1_i}, {"ProductID", 2_i}}), "1-2.0");
}

TEST(UserPrefIDs, WriteTheLow32BitsOfTheLocation) {
    EXPECT_EQ(instanceAt(0x80000000_i), "1-2.80000000");
    EXPECT_EQ(instanceAt(0xffffffff_i), "1-2.ffffffff");
    EXPECT_EQ(instanceAt(-1_i), "1-2.ffffffff");
    EXPECT_EQ(instanceAt(-2147483648_i), "1-2.80000000");
    EXPECT_EQ(instanceAt(0x100000014_i), "1-2.14");
    EXPECT_EQ(instanceAt(std::numeric_limits<std::int64_t>::min()), "1-2.0");
}

TEST(UserPrefIDs, TakeALocationOfAnotherKindForZero) {
    EXPECT_EQ(instanceAt(20.0), "1-2.0");
    EXPECT_EQ(instanceAt("14100000"), "1-2.0");
}

TEST(UserPrefIDs, HaveAPointInEveryInstanceAndNoType) {
    for (const Properties& properties :
         {Properties{}, Properties{{"VendorID", 1_i}, {"SerialNumber", "1.2.3"}}, Properties{{"ProductID", -9_i}}}) {
        const std::string type = typeID(properties);
        EXPECT_EQ(type.find('.'), std::string::npos) << type;
        EXPECT_EQ(instanceID(properties).substr(0, type.size() + 1), type + ".");
    }
}

TEST(UserPrefIDs, FollowThePropertiesAtEveryRead) {
    const Device tested({{"VendorID", 1234_i}, {"ProductID", 5678_i}, {"LocationID", 0x14_i}});
    EXPECT_EQ(tested.device->userPrefIDs().aInstanceID, "1234-5678.14");
    tested.handle->setProperty("SerialNumber", "AB12");
    EXPECT_EQ(tested.device->userPrefIDs().aInstanceID, "1234-5678.AB12");
    tested.handle->setProperty("VendorID", 1_i);
    EXPECT_EQ(tested.device->userPrefIDs().aInstanceID, "1-5678.AB12");
    tested.handle->removeProperty("SerialNumber");
    EXPECT_EQ(tested.device->userPrefIDs().aInstanceID, "1-5678.14");
    tested.handle->removeProperty("VendorID");
    tested.handle->removeProperty("ProductID");
    tested.handle->setProperty("PrimaryUsagePage", 1_i);
    tested.handle->setProperty("PrimaryUsage", 4_i);
    EXPECT_EQ(tested.device->userPrefIDs().aDeviceTypeID, "generic_Joystick");
    EXPECT_EQ(tested.device->userPrefIDs().aInstanceID, "generic_Joystick.0");
}

TEST(CalibrationsKey, NamesVendorAndProduct) {
    EXPECT_EQ(calibrationsKey({{"VendorID", 1234_i}, {"ProductID", 5678_i}}),
              "QZGameController-Calibrations-1234-5678");
    EXPECT_EQ(calibrationsKey({{"VendorID", -1_i}, {"ProductID", 0x100000005_i}}),
              "QZGameController-Calibrations--1-5");
    EXPECT_EQ(calibrationsKey({}), "QZGameController-Calibrations-0-0");
}

TEST(CalibrationsKey, IsSharedByAllDevicesOfOneModel) {
    const Properties model{{"VendorID", 1234_i}, {"ProductID", 5678_i}};
    Properties first = model;
    first.emplace("SerialNumber", "AB12");
    Properties second = model;
    second.emplace("LocationID", 0x14100000_i);
    second.emplace("PrimaryUsage", 4_i);
    EXPECT_EQ(calibrationsKey(first), calibrationsKey(second));
}

} // namespace
