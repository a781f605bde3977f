// SPDX-License-Identifier: MIT
#include "HIDWrapper/QZHIDDevice.h"
#include "HIDWrapper/QZHIDElement.h"
#include "tests/kernel/support/CounterPad.h"
#include "tests/kernel/support/KernelApplication.h"
#include "tests/kernel/support/UsbGadget.h"

#include <gmock/gmock.h>

using namespace qz::platform;

namespace qz::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// Devices that come over USB, through the kernel's own host and gadget stacks.
class Gadgets : public ::testing::Test {
protected:
    static UsbDescription pad(const std::string& serialNumber) {
        return {.manufacturer = "Maker",
                .product = "USB pad",
                .serialNumber = serialNumber,
                .vendorID = 0x1d6b, // the Linux Foundation's, for gadgets: no driver of a vendor claims it
                .productID = 0x0104,
                .release = 0x0123,
                .reportBytes = CounterPad::reportBytes,
                .descriptor = {CounterPad::descriptor.begin(), CounterPad::descriptor.end()}};
    }
    static std::array<std::uint8_t, CounterPad::reportBytes> report(std::uint8_t axis, std::uint8_t buttons) {
        return {axis, 0, 0, buttons};
    }

    /// Plugs the gadget in and answers the device that the application is told of; null when it is told of none.
    std::shared_ptr<QZHIDDevice> plug(UsbGadget& gadget, int port) {
        const std::size_t before = application.listener->connected;
        gadget.plug(port);
        const bool isTold = application.turnUntil([&] { return application.listener->connected > before; });
        EXPECT_TRUE(isTold);
        application.turn();
        return isTold ? application.manager->devices().back() : nullptr;
    }
    void unplug(UsbGadget& gadget) {
        const std::size_t before = application.listener->disconnected;
        gadget.unplug();
        EXPECT_TRUE(application.turnUntil([&] { return application.listener->disconnected > before; }));
    }
    void SetUp() override { ASSERT_TRUE(application.setUp()); }

    KernelApplication application;
};

TEST_F(Gadgets, TellWhatTheUsbDescriptorsSay) {
    UsbGadget gadget("serial", pad("AB12"));
    const auto device = plug(gadget, 0);
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(device->productName(), "USB pad");
    EXPECT_EQ(device->stringPropertyWithKey("Manufacturer"), "Maker");
    EXPECT_EQ(device->serialNo(), "AB12");
    EXPECT_EQ(device->vendorID(), 0x1d6b);
    EXPECT_EQ(device->productID(), 0x0104);
    EXPECT_EQ(device->integerPropertyWithKey("VersionNumber"), 0x0123);
    EXPECT_EQ(device->stringPropertyWithKey("Transport"), "USB");
    EXPECT_GT(device->locationID(), 0);
    EXPECT_EQ(device->kind(), "Gamepad");
    EXPECT_EQ(device->userPrefIDs().aDeviceTypeID, "7531-260");
    EXPECT_EQ(device->userPrefIDs().aInstanceID, "7531-260.AB12");
}

TEST_F(Gadgets, SendTheirReportsThroughUsb) {
    application.manager->setReportRawValues(true);
    std::vector<std::pair<std::int64_t, std::int64_t>> values;
    application.listener->onValue = [&](const auto& element, std::int64_t value) {
        values.emplace_back(element->usage(), value);
    };
    UsbGadget gadget("values", pad("AB12"));
    ASSERT_NE(plug(gadget, 0), nullptr);
    ASSERT_TRUE(gadget.send(report(7, 0)));
    EXPECT_TRUE(application.turnUntil([&] { return values.size() >= 2; }));
    EXPECT_THAT(values, ElementsAre(std::pair(0x30, 7), std::pair(0x31, 0)));
    values.clear();
    ASSERT_TRUE(gadget.send(report(200, 0x80)));
    EXPECT_TRUE(application.turnUntil([&] { return values.size() >= 2; }));
    EXPECT_THAT(values, ElementsAre(std::pair(0x30, 200), std::pair(8, 1)));
}

TEST_F(Gadgets, OfOneModelAreConfiguredEachForItself) {
    UsbGadget first("first", pad("ONE"));
    UsbGadget second("second", pad("TWO"));
    const auto one = plug(first, 0);
    const auto two = plug(second, 1);
    ASSERT_TRUE(one && two);
    EXPECT_EQ(one->userPrefIDs().aDeviceTypeID, two->userPrefIDs().aDeviceTypeID);
    EXPECT_EQ(one->userPrefIDs().aInstanceID, "7531-260.ONE");
    EXPECT_EQ(two->userPrefIDs().aInstanceID, "7531-260.TWO");

    application.configuration->makeAndRegisterDefaultConfiguration(*one);
    application.configuration->makeAndRegisterDefaultConfiguration(*two);
    application.configuration->setMapping(*two->pushButtons()->front(), QZGCConfigurationManager::Action("Jump"));
    std::vector<std::string> told;
    application.listener->onAction = [&](const std::string& action, double value) {
        if (value > 0) {
            told.push_back(action);
        }
    };
    ASSERT_TRUE(first.send(report(0, 1)));
    EXPECT_TRUE(application.turnUntil([&] { return told.size() == 1; }));
    ASSERT_TRUE(second.send(report(0, 1)));
    EXPECT_TRUE(application.turnUntil([&] { return told.size() == 2; }));
    EXPECT_THAT(told, ElementsAre("Fire", "Jump"));

    // The unplugged one's settings wait for it; the other's are not touched.
    unplug(first);
    ASSERT_TRUE(second.send(report(0, 0)));
    ASSERT_TRUE(second.send(report(0, 1)));
    EXPECT_TRUE(application.turnUntil([&] { return told.size() == 3; }));
    ASSERT_NE(plug(first, 0), nullptr);
    ASSERT_TRUE(first.send(report(0, 1)));
    EXPECT_TRUE(application.turnUntil([&] { return told.size() == 4; }));
    EXPECT_THAT(told, ElementsAre("Fire", "Jump", "Jump", "Fire"));
}

TEST_F(Gadgets, HaveTheLocationOfTheirPort) {
    UsbGadget gadget("wandering", pad(""));
    std::vector<std::int64_t> locations;
    std::vector<std::string> instances;
    for (const int port : {0, 0, 1, 0}) {
        const auto device = plug(gadget, port);
        ASSERT_NE(device, nullptr);
        EXPECT_EQ(device->serialNo(), std::nullopt);
        locations.push_back(device->locationID());
        instances.push_back(device->userPrefIDs().aInstanceID);
        unplug(gadget);
        // It answers after the unplugging too.
        EXPECT_EQ(device->locationID(), locations.back());
    }
    EXPECT_THAT(locations, ElementsAre(locations[0], locations[0], locations[2], locations[0]));
    EXPECT_NE(locations[0], locations[2]);
    // What has no serial number is known by its place.
    EXPECT_EQ(instances[0], instances[1]);
    EXPECT_NE(instances[0], instances[2]);
    EXPECT_EQ(instances[0], instances[3]);
    EXPECT_THAT(application.manager->devices(), IsEmpty());
}

TEST_F(Gadgets, WithASerialNumberAreTheSameUnitAtEveryPort) {
    UsbGadget gadget("known", pad("AB12"));
    const auto first = plug(gadget, 0);
    ASSERT_NE(first, nullptr);
    unplug(gadget);
    const auto second = plug(gadget, 1);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(first->locationID(), second->locationID());
    EXPECT_EQ(first->userPrefIDs().aInstanceID, second->userPrefIDs().aInstanceID);
}

} // namespace
} // namespace qz::tests
