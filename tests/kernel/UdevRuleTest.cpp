// SPDX-License-Identifier: MIT
#include "platform/report/Recording.h"
#include "tests/kernel/support/CounterPad.h"
#include "tests/kernel/support/Udev.h"
#include "tests/kernel/support/UsbGadget.h"

#include <gmock/gmock.h>

#include <iterator>
#include <sys/stat.h>

using namespace qz::platform;

namespace qz::tests {
namespace {

using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::Not;

std::string textOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The rule as it is installed.
std::string shippedRule() {
    return textOf(QZGC_TEST_DATA "/../packaging/60-qzgamecontroller.rules");
}

std::vector<std::uint8_t> descriptorOf(const std::string& device) {
    const auto recording = readRecording(textOf(QZGC_TEST_DATA "/devices/" + device + ".hid"));
    return std::get<Recording>(recording).devices.front().descriptor;
}

/// What udev says of the node of such a device, and that the kernel's own mode of the node is left.
std::string udevOf(const HIDNodes& nodes) {
    EXPECT_TRUE(Udev::settle());
    struct stat status {};
    EXPECT_EQ(::stat(nodes.hidraw.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U) << "access is given by a list, to who sits there";
    std::string properties = Udev::propertiesOf(nodes.hidraw);
    EXPECT_THAT(properties, HasSubstr("DEVNAME=" + nodes.hidraw));
    return properties;
}

std::string udevOf(const std::string& device) {
    const UhidDevice plugged({.name = device,
                              .phys = {},
                              .uniq = {},
                              .vendor = 0x4d2,
                              .product = 0x162e,
                              .descriptor = descriptorOf(device)});
    return udevOf(plugged.nodes());
}

TEST(UdevRule, TagsJoysticksAndGamePadsForWhoSitsAtTheMachine) {
    const Udev udev(shippedRule());
    ASSERT_TRUE(udev.isRunning);
    for (const char* const device : {"logitech-extreme-3d-pro", "dualshock-4-usb", "8bitdo-ultimate-2"}) {
        EXPECT_THAT(udevOf(device), ContainsRegex("\nTAGS=[^\n]*:uaccess:")) << device;
    }
}

TEST(UdevRule, TagsAGamePadOnUsb) {
    const Udev udev(shippedRule());
    ASSERT_TRUE(udev.isRunning);
    UsbGadget gadget("ruled", {.manufacturer = "Maker",
                               .product = "USB pad",
                               .serialNumber = {},
                               .vendorID = 0x1d6b,
                               .productID = 0x0104,
                               .release = 0x0123,
                               .reportBytes = CounterPad::reportBytes,
                               .descriptor = {CounterPad::descriptor.begin(), CounterPad::descriptor.end()}});
    gadget.plug(0);
    EXPECT_THAT(udevOf(gadget.nodes()), ContainsRegex("\nTAGS=[^\n]*:uaccess:"));
}

TEST(UdevRule, LeavesKeyboardsAndMiceAlone) {
    const Udev udev(shippedRule());
    ASSERT_TRUE(udev.isRunning);
    for (const char* const device : {"cherry-keyboard", "logitech-m100-mouse"}) {
        EXPECT_THAT(udevOf(device), Not(HasSubstr("uaccess"))) << device;
    }
}

TEST(UdevRule, IsWhatTagsThem) {
    const Udev udev("# nothing");
    ASSERT_TRUE(udev.isRunning);
    EXPECT_THAT(udevOf("dualshock-4-usb"), Not(HasSubstr("uaccess")));
}

} // namespace
} // namespace qz::tests
