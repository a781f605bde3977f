// SPDX-License-Identifier: MIT
#include "tests/kernel/support/EvdevNode.h"
#include "tests/kernel/support/UhidDevice.h"
#include "tests/kernel/support/UsbGadget.h"
#include "tests/support/DeviceReports.h"

#include <gmock/gmock.h>

#include <array>
#include <linux/input.h>
#include <poll.h>

namespace qz::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// What the other tests stand on: the kernel makes the devices that they describe, and reports get through.
class KernelSupport : public ::testing::Test {
protected:
    /// The next report of a node, without waiting; empty when there is none.
    static std::vector<std::uint8_t> nextReport(const FileDescriptor& hidraw, int milliseconds = 0) {
        pollfd readable{hidraw.get(), POLLIN, 0};
        std::vector<std::uint8_t> report(64);
        const ssize_t count = ::poll(&readable, 1, milliseconds) == 1 ? ::read(hidraw.get(), report.data(), 64) : 0;
        report.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
        return report;
    }

    DeviceReports pad{{.name = {},
                       .serialNumber = {},
                       .applications = {{.usagePage = 1,
                                         .usage = 5,
                                         .controls = {{.usagePage = 9, .usage = 1},
                                                      {.usagePage = 1, .usage = 0x30, .min = 0, .max = 255}}}}}};
};

TEST_F(KernelSupport, MakesADeviceWithNodesThatCarryItsReports) {
    UhidDevice device({.name = "a pad",
                       .phys = {},
                       .uniq = "U1",
                       .vendor = 0x4d2,
                       .product = 0x162e,
                       .descriptor = pad.descriptor()});
    const FileDescriptor hidraw(device.nodes().hidraw, O_RDONLY | O_NONBLOCK);
    ASSERT_THAT(device.nodes().events, SizeIs(1));
    EvdevNode evdev(device.nodes().events.front());
    pad.set(0, 1);
    const std::vector<std::uint8_t> report = pad.set(1, 0xa5);
    ASSERT_TRUE(device.send(report));
    EXPECT_EQ(nextReport(hidraw), report);
    EXPECT_TRUE(evdev.update());
    EXPECT_EQ(evdev.value({EV_KEY, BTN_GAMEPAD}), 1);
    EXPECT_EQ(evdev.value({EV_ABS, ABS_X}), 0xa5);
    ASSERT_THAT(evdev.mappedKeys(), SizeIs(1));
    EXPECT_EQ(evdev.mappedKeys().front().usage, 0x90001U);
    EXPECT_EQ(evdev.mappedKeys().front().code, BTN_GAMEPAD);
}

TEST_F(KernelSupport, TakesTheNodesAwayWithTheDevice) {
    UhidDevice device(
        {.name = "a pad", .phys = {}, .uniq = {}, .vendor = 1, .product = 2, .descriptor = pad.descriptor()});
    const HIDNodes nodes = device.nodes();
    EXPECT_EQ(::access(nodes.hidraw.c_str(), F_OK), 0);
    device.unplug();
    EXPECT_EQ(::access(nodes.hidraw.c_str(), F_OK), -1);
    EXPECT_FALSE(device.send(std::array<std::uint8_t, 3>{}));
}

TEST_F(KernelSupport, RefusesADescriptorThatMeansNothing) {
    EXPECT_THROW(UhidDevice({.name = "broken", .phys = {}, .uniq = {}, .descriptor = {0xc0, 0xc0}}),
                 std::runtime_error);
}

TEST_F(KernelSupport, MakesUsbDevicesThatComeAndGoAtTwoPorts) {
    ASSERT_GE(UsbGadget::ports(), 2);
    UsbGadget gadget("support", {.manufacturer = "Maker",
                                 .product = "USB pad",
                                 .serialNumber = "S1",
                                 .vendorID = 0x1d6b,
                                 .productID = 0x0104,
                                 .release = 0x0123,
                                 .reportBytes = 3,
                                 .descriptor = pad.descriptor()});
    for (const int port : {0, 1, 0}) {
        gadget.plug(port);
        const FileDescriptor hidraw(gadget.nodes().hidraw, O_RDONLY | O_NONBLOCK);
        pad.set(0, 1);
        const std::vector<std::uint8_t> report = pad.set(1, 0xa5);
        EXPECT_TRUE(gadget.send(report));
        EXPECT_EQ(nextReport(hidraw, 1000), report);
        const std::string path = gadget.nodes().hidraw;
        gadget.unplug();
        EXPECT_EQ(::access(path.c_str(), F_OK), -1);
    }
}

} // namespace
} // namespace qz::tests
