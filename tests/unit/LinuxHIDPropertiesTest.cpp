// SPDX-License-Identifier: MIT
#include "platform/linux/HIDSysfs.h"
#include "tests/unit/LinuxHIDFixture.h"

#include <filesystem>

namespace qz::platform::tests {
namespace {

using ::testing::ElementsAre;

class LinuxHIDProperties : public LinuxHIDFixture {
protected:
    void SetUp() override {
        // Unlike the client's own it asks for nothing.
        IOHIDManagerRegisterDeviceMatchingCallback(
            client.manager(),
            [](void* context, IOReturn, void*, IOHIDDeviceRef device) {
                auto& self = *static_cast<LinuxHIDProperties*>(context);
                self.handle = device;
                self.kernel.setScript(self.scriptAfterArrival);
            },
            this);
        client.schedule();
    }

    void plug(const FakeHIDDevice& device) {
        number = kernel.plug(device);
        dispatch();
        ASSERT_NE(handle, nullptr);
    }

    std::optional<std::string> text(const char* key) const {
        const PropertyValue* const value = IOHIDDeviceGetProperty(handle, key);
        return value != nullptr ? std::optional(std::get<std::string>(*value)) : std::nullopt;
    }
    std::optional<std::int64_t> integer(const char* key) const {
        const PropertyValue* const value = IOHIDDeviceGetProperty(handle, key);
        return value != nullptr ? std::optional(std::get<std::int64_t>(*value)) : std::nullopt;
    }

    int number = -1;
    ScriptedSystemCalls::Script scriptAfterArrival; ///< of the calls that read the properties
};

FakeHIDDevice usbStick() {
    FakeHIDDevice device = fakePad("Maker Stick");
    device.phys = "usb-0000:00:14.0-1.2/input0";
    device.uniq = "AB12";
    device.parent = "pci0000:00/0000:00:14.0/usb1/1-1/1-1.2/1-1.2:1.0";
    device.usbFiles = {
        {"bcdDevice", "0111\n"}, {"manufacturer", "Maker\n"}, {"product", "Stick\n"}, {"serial", "AB12\n"}};
    return device;
}

TEST_F(LinuxHIDProperties, OfAUSBDeviceAreThoseOfTheDeviceItself) {
    plug(usbStick());
    EXPECT_EQ(text("Product"), "Stick");
    EXPECT_EQ(text("Manufacturer"), "Maker");
    EXPECT_EQ(text("SerialNumber"), "AB12");
    EXPECT_EQ(integer("VendorID"), 0x1234);
    EXPECT_EQ(integer("ProductID"), 0x5678);
    EXPECT_EQ(integer("VersionNumber"), 0x111);
    EXPECT_EQ(text("Transport"), "USB");
    EXPECT_EQ(integer("PrimaryUsagePage"), 1);
    EXPECT_EQ(integer("PrimaryUsage"), 5);
    EXPECT_TRUE(integer("LocationID").has_value());
    for (const char* const absent : {"VendorIDSource", "UniqueID", "PhysicalDeviceUniqueID", "Anything"}) {
        EXPECT_EQ(IOHIDDeviceGetProperty(handle, absent), nullptr) << absent;
    }
}

TEST_F(LinuxHIDProperties, OfAUSBDeviceHaveNoSerialNumberThatADriverMadeUp) {
    FakeHIDDevice device = usbStick();
    device.usbFiles.erase("serial");
    device.uniq = "a4:ae:11:22:33:44";
    plug(device);
    EXPECT_EQ(text("SerialNumber"), std::nullopt);
    EXPECT_EQ(text("Product"), "Stick");
}

TEST_F(LinuxHIDProperties, OfAUSBDeviceWithoutNamesOfItsOwnComeFromTheKernel) {
    FakeHIDDevice device = usbStick();
    device.usbFiles = {{"bcdDevice", "not a number\n"}, {"product", "\n"}, {"serial", "\n"}};
    plug(device);
    EXPECT_EQ(text("Product"), "Maker Stick");
    EXPECT_EQ(text("Manufacturer"), std::nullopt);
    EXPECT_EQ(text("SerialNumber"), std::nullopt) << "empty is absent";
    EXPECT_EQ(integer("VersionNumber"), std::nullopt);
}

TEST_F(LinuxHIDProperties, OfADeviceBehindAReceiverAreItsOwn) {
    FakeHIDDevice device = usbStick();
    device.parent = "pci0000:00/0000:00:14.0/usb1/1-1/1-1:1.2/0003:046D:C52B.0003";
    device.usbFiles = {};
    plug(device);
    EXPECT_EQ(text("Product"), "Maker Stick");
    EXPECT_EQ(text("SerialNumber"), "AB12");
    EXPECT_EQ(integer("VersionNumber"), std::nullopt);
}

TEST_F(LinuxHIDProperties, OfABluetoothDeviceComeFromTheKernel) {
    FakeHIDDevice device = fakePad("Wireless Pad");
    device.bus = 5;
    device.vendor = 0x054c;
    device.phys = "aa:bb:cc:dd:ee:ff";
    device.uniq = "a4:ae:11:22:33:44";
    plug(device);
    EXPECT_EQ(text("Product"), "Wireless Pad");
    EXPECT_EQ(text("SerialNumber"), "a4:ae:11:22:33:44");
    EXPECT_EQ(text("Transport"), "Bluetooth");
    EXPECT_EQ(integer("VendorID"), 0x054c);
    EXPECT_EQ(integer("LocationID"), locationID({true, "", "a4:ae:11:22:33:44", ""}));
}

TEST_F(LinuxHIDProperties, NameTheTransportAsFarAsItIsKnown) {
    const std::vector<std::pair<std::uint32_t, std::optional<std::string>>> transports = {
        {3, "USB"}, {5, "Bluetooth"}, {6, "Virtual"}, {0x18, "I2C"}, {0x1c, "SPI"}, {0x19, std::nullopt}};
    for (const auto& [bus, name] : transports) {
        FakeHIDDevice device = fakePad("pad");
        device.bus = bus;
        plug(device);
        EXPECT_EQ(text("Transport"), name) << bus;
    }
}

TEST_F(LinuxHIDProperties, OfTextThatIsNotUTF8AreUTF8) {
    FakeHIDDevice device = fakePad("a\xff\xc3\xa4\xe2\x82 \xed\xa0\x80 \xf0\x9f\x8e\xae\xc0\x80 \xf4\x90\x80\x80");
    device.uniq = "\x80";
    plug(device);
    const std::string bad = "\xef\xbf\xbd";
    EXPECT_EQ(text("Product"), "a" + bad + "\xc3\xa4" + bad + bad + " " + bad + bad + bad + " \xf0\x9f\x8e\xae" + bad +
                                   bad + " " + bad + bad + bad + bad);
    EXPECT_EQ(text("SerialNumber"), bad);
}

TEST_F(LinuxHIDProperties, AreNotForgedByAName) {
    FakeHIDDevice device = fakePad("pad\nHID_ID=0005:0000DEAD:0000BEEF\nHID_NAME=other\nHID_PHYS=there");
    device.phys = "usb-1/input0";
    device.uniq = "AB12";
    plug(device);
    EXPECT_EQ(text("Product"), "pad");
    EXPECT_EQ(integer("VendorID"), 0x1234);
    EXPECT_EQ(text("SerialNumber"), "AB12");
    EXPECT_EQ(integer("LocationID"), locationID({false, "usb-1", "", ""}));
}

TEST_F(LinuxHIDProperties, AreNotForgedByASerialNumber) {
    FakeHIDDevice device = fakePad("pad");
    device.phys = "usb-1/input0";
    for (const char* const uniq : {"AB12\nHID_PHYS=there", "AB12\nHID_UNIQ=other",
                                   "AB12\nHID_ID=0005:00000001:00000002", "AB12\nHID_PHYS=there\nHID_NAME=other"}) {
        device.uniq = uniq;
        plug(device);
        EXPECT_EQ(text("Product"), "pad") << uniq;
        EXPECT_EQ(integer("VendorID"), 0x1234) << uniq;
        EXPECT_EQ(text("SerialNumber"), "AB12") << uniq;
        EXPECT_EQ(integer("LocationID"), locationID({false, "usb-1", "", ""})) << uniq;
    }
}

TEST_F(LinuxHIDProperties, ThatMayBeForgedAreNotBelieved) {
    const std::string forged = "\nHID_PHYS=there\nHID_UNIQ=forged";
    for (const bool isInName : {true, false}) {
        FakeHIDDevice device = fakePad("pad");
        (isInName ? device.name : device.uniq) += forged;
        plug(device);
        EXPECT_EQ(text("Product"), "pad");
        EXPECT_EQ(text("SerialNumber"), std::nullopt);
        EXPECT_EQ(integer("LocationID"), locationID({false, "", "", kernel.sysfsPath(number)}));
    }
}

TEST_F(LinuxHIDProperties, OfHugeFilesAreThoseOfTheirBeginning) {
    FakeHIDDevice device = usbStick();
    device.usbFiles["product"] = std::string(100000, 'x');
    plug(device);
    EXPECT_EQ(text("Product"), std::string(4096, 'x'));
}

TEST_F(LinuxHIDProperties, ThatCannotBeReadAreAbsent) {
    number = kernel.plug(usbStick());
    std::filesystem::remove(kernel.deviceDirectory(number) + "/uevent");
    dispatch();
    EXPECT_EQ(integer("VendorID"), 0x1234) << "the name of its directory tells that";
    EXPECT_EQ(text("Product"), std::nullopt);
    EXPECT_EQ(integer("LocationID"), std::nullopt);
    EXPECT_EQ(integer("PrimaryUsage"), 5);
}

TEST_F(LinuxHIDProperties, AreReadLaterWhenTheSystemHadNoResources) {
    for (const int error : {EMFILE, ENFILE, ENOMEM, EIO, EAGAIN}) {
        scriptAfterArrival = [error](std::string_view call) { return call == "open" ? error : 0; };
        plug(usbStick());
        EXPECT_EQ(text("SerialNumber"), std::nullopt);
        kernel.setScript(nullptr);
        EXPECT_EQ(text("SerialNumber"), "AB12") << error;
    }
}

TEST_F(LinuxHIDProperties, AreAllReadLaterWhenOneOfThemCouldNotBeRead) {
    FakeHIDDevice device = usbStick();
    device.uniq = "made up";
    scriptAfterArrival = [](std::string_view call) { return call == "open" ? EMFILE : 0; };
    plug(device);
    for (int failing = 0; failing < 5; ++failing) {
        int opened = 0;
        kernel.setScript([&](std::string_view call) { return call == "open" && opened++ == failing ? ENFILE : 0; });
        EXPECT_EQ(text("SerialNumber"), std::nullopt) << "opening " << failing;
    }
    kernel.setScript(nullptr);
    EXPECT_EQ(text("SerialNumber"), "AB12");
    EXPECT_EQ(integer("VersionNumber"), 0x111);
}

TEST_F(LinuxHIDProperties, OfAPlaceInBytesThatAreNoTextAreThoseOfTheBytes) {
    FakeHIDDevice device = fakePad("pad");
    device.phys = "usb-\xff-1/input0";
    plug(device);
    EXPECT_EQ(integer("LocationID"), 0x936f686f & 0x7fffffff);
}

TEST_F(LinuxHIDProperties, AreReadOnce) {
    plug(usbStick());
    turn();
    int calls = 0;
    kernel.setScript([&](std::string_view) { return ++calls, 0; });
    EXPECT_EQ(text("Product"), "Stick");
    EXPECT_EQ(text("Nothing"), std::nullopt);
    EXPECT_EQ(calls, 0);
}

TEST_F(LinuxHIDProperties, AnswerAfterTheUnpluggingAlsoWhenNobodyHadAskedBefore) {
    plug(usbStick());
    const auto kept = pin(handle);
    kernel.unplug(number);
    turn();
    EXPECT_EQ(text("Product"), "Stick");
    EXPECT_EQ(text("SerialNumber"), "AB12");
}

TEST_F(LinuxHIDProperties, AreNeverThoseOfTheNextDeviceOnTheSameNode) {
    scriptAfterArrival = [](std::string_view call) { return call == "open" ? EMFILE : 0; };
    plug(usbStick());
    kernel.setScript(nullptr);
    const auto kept = pin(handle);
    kernel.unplug(number);
    FakeHIDDevice other = fakePad("other");
    ASSERT_EQ(kernel.plug(other), number);
    EXPECT_EQ(text("Product"), std::nullopt);
    EXPECT_EQ(integer("VendorID"), 0x1234);
}

TEST_F(LinuxHIDProperties, AreFoundWithoutALinkToTheDevice) {
    kernel.setScript([](std::string_view call) { return call == "readLinkAt" ? EINVAL : 0; });
    plug(usbStick());
    EXPECT_EQ(integer("VendorID"), 0x1234);
    EXPECT_EQ(text("Product"), "Stick");
    EXPECT_EQ(text("Manufacturer"), "Maker");
}

TEST_F(LinuxHIDProperties, CanBeMatched) {
    PlatformClient other(host.platform(), events);
    IOHIDManagerSetDeviceMatchingMultiple(
        other.manager(), std::vector<HIDMatchingDictionary>{{{"VendorID", 0x1234}, {"VersionNumber", 0x111}}});
    other.schedule();
    kernel.plug(usbStick());
    FakeHIDDevice another = usbStick();
    another.vendor = 0x1235;
    kernel.plug(another);
    EXPECT_THAT(turnAndTold(), ElementsAre("matched Stick"));
}

/// FNV-1a as its authors publish it: the offset basis is the hash of nothing, and known texts have known hashes.
TEST(LinuxHIDLocation, IsTheHashOfThePortPathWithoutTheTopBit) {
    EXPECT_EQ(locationID({false, "a", "", ""}), 0xe40c292c & 0x7fffffff);
    EXPECT_EQ(locationID({false, "foobar", "", ""}), 0xbf9cf968 & 0x7fffffff);
    EXPECT_EQ(locationID({false, "foobar/input0", "", ""}), 0xbf9cf968 & 0x7fffffff);
    EXPECT_EQ(locationID({false, "foobar/input1", "", ""}), 0xbf9cf968 & 0x7fffffff);
    EXPECT_NE(locationID({false, "foo/bar/input0", "", ""}), locationID({false, "foo/baz/input0", "", ""}));
}

TEST(LinuxHIDLocation, OverBluetoothIsTheHashOfTheAddress) {
    EXPECT_EQ(locationID({true, "usb-1/input0", "foobar", ""}), 0xbf9cf968 & 0x7fffffff);
    EXPECT_EQ(locationID({true, "foobar", "", ""}), locationID({true, "other", "", ""})) << "not that of the adapter";
}

TEST(LinuxHIDLocation, IsElseThatOfThePathInSysfsWhateverTheKernelHasCounted) {
    const auto at = [](const char* path) { return locationID({false, "", "", path}); };
    const std::int64_t here =
        at("/devices/pci0000:00/0000:00:14.0/usb1/1-1/1-1.2/1-1.2:1.0/0003:1234:5678.0001/hidraw/hidraw0");
    EXPECT_EQ(here,
              at("/devices/pci0000:00/0000:00:14.0/usb3/3-1/3-1.2/3-1.2:1.0/0003:1234:5678.00AF/hidraw/hidraw12"));
    EXPECT_NE(here, at("/devices/pci0000:00/0000:00:14.0/usb1/1-1/1-1.3/1-1.3:1.0/0003:1234:5678.0001/hidraw/hidraw0"));
    EXPECT_NE(here, at("/devices/pci0000:00/0000:00:15.0/usb1/1-1/1-1.2/1-1.2:1.0/0003:1234:5678.0001/hidraw/hidraw0"));
    EXPECT_EQ(at("/devices/virtual/misc/uhid/0005:1234:5678.0001/hidraw/hidraw0"),
              at("/devices/virtual/misc/uhid/0005:1234:5678.0002/hidraw/hidraw1"));
    EXPECT_EQ(at("/devices/x/input/input7/y"), at("/devices/x/input/input12/y"));
    EXPECT_NE(at("/devices/pci0000:00/0000:05:00.3/x"), at("/devices/pci0000:00/0000:05:00.4/x"))
        << "the function of a PCI device is no number that was counted up";
    EXPECT_NE(at("/devices/platform/AMDI0010:00/i2c-1/1-002c/x"), at("/devices/platform/AMDI0010:00/i2c-1/2-002c/x"))
        << "a number before a hyphen was counted up below a USB controller only";
    // By the definition of the hash, of ".../usb/-1/-1.2/-1.2:1.0/0003:1234:5678/hidraw/hidraw" and so on.
    EXPECT_EQ(here, 0x918b35d1 & 0x7fffffff);
    EXPECT_EQ(at("/devices/virtual/misc/uhid/0005:1234:5678.0001/hidraw/hidraw0"), 0xddcec4bb & 0x7fffffff);
    EXPECT_EQ(at("/devices/platform/AMDI0010:00/i2c-1/1-002c/0018:1234:5678.0001/hidraw/hidraw0"), 0x5c6bc471);
    EXPECT_EQ(at("/devices/x/input/input7/y"), 0x2b494cee);
    EXPECT_EQ(locationID({false, "/input0", "", "/devices/a"}), at("/devices/a"));
}

TEST(LinuxHIDLocation, OfTheNumberZeroIsOne) {
    // A text whose hash is 0, found by trying.
    EXPECT_EQ(locationID({false, "eSN.1", "", ""}), 1);
}

} // namespace
} // namespace qz::platform::tests
