// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/FakeHIDRawHost.h"
#include "tests/support/PlatformClient.h"

#include <gmock/gmock.h>

#include <functional>
#include <poll.h>
#include <utility>

namespace qz::platform::tests {

using ::qz::tests::Control;
using ::qz::tests::DeviceDescription;
using ::qz::tests::DeviceReports;
using ::qz::tests::EventLog;
using ::qz::tests::FakeHIDRawHost;
using ::qz::tests::PlatformClient;

/// A device of this name with one button, on the fake kernel; "usage" is that of its application collection.
inline FakeHIDDevice fakePad(std::string name, std::uint32_t usage = 5) {
    const DeviceReports reports(::qz::tests::deviceOfKind(name, 1, usage));
    return {.name = std::move(name), .descriptor = reports.descriptor(), .phys = "usb-0/input0"};
}

/// The report of such a device.
inline std::vector<std::uint8_t> button(bool pressed) {
    return {1, static_cast<std::uint8_t>(pressed ? 1 : 0)};
}

/// A device with this many sticks of one byte each, in one report without an ID.
inline FakeHIDDevice fakeSticks(std::uint8_t count) {
    FakeHIDDevice device = fakePad("sticks");
    device.descriptor = {0x05, 0x01, 0x09, 0x05,  0xa1, 0x01,        // Game Pad, application
                         0x09, 0x30, 0x15, 0x00,  0x26, 0xff, 0x00,  // X, 0..255
                         0x75, 0x08, 0x95, count, 0x81, 0x02, 0xc0}; // count fields of 8 bits, variable
    return device;
}

/// A client of the Linux back end on fake devices.
class LinuxHIDFixture : public ::testing::Test {
protected:
    /// A script may use what the test has, and the client still makes calls when it ends.
    void TearDown() override { kernel.setScript(nullptr); }

    /// Turns of the loop until it would sleep.
    std::size_t turn() {
        std::size_t handled = 0;
        for (int i = 0; i < 1000; ++i) {
            handled += host.turn();
            if (!wouldWake()) {
                return handled;
            }
        }
        ADD_FAILURE() << "it spins";
        return handled;
    }
    std::size_t dispatch() { return host.platform().currentRunLoop().dispatch(kCFRunLoopDefaultMode); }
    EventLog told() { return std::exchange(events, {}); }

    /// The client's events of all turns until nothing is left to do.
    EventLog turnAndTold() {
        turn();
        return told();
    }

    void setUp() {
        client.schedule();
        EXPECT_EQ(client.open(), kIOReturnSuccess);
    }

    /// A device that has been reported, and read if the client is open. Its handle goes to `handle`.
    int plugReported(const FakeHIDDevice& device) {
        client.onMatched = [this](IOHIDDeviceRef reported) { handle = reported; };
        const int number = kernel.plug(device);
        EXPECT_THAT(turnAndTold(), ::testing::ElementsAre("matched " + device.name));
        client.onMatched = nullptr;
        return number;
    }

    /// From now on an arrival is not told, for which its name would be read, but calls `arrived` alone.
    void takeArrivals(std::function<void(IOHIDDeviceRef)> action) {
        arrived = std::move(action);
        IOHIDManagerRegisterDeviceMatchingCallback(
            client.manager(),
            [](void* context, IOReturn, void*, IOHIDDeviceRef device) {
                static_cast<LinuxHIDFixture*>(context)->arrived(device);
            },
            this);
    }

    /// Whether a loop that waits would wake up.
    bool wouldWake() {
        pollfd polled{host.platform().currentRunLoop().fileDescriptor(kCFRunLoopDefaultMode), POLLIN, 0};
        return ::poll(&polled, 1, 0) != 0;
    }

    FakeHIDRawHost host;
    FakeHIDRaw& kernel = host.kernel();
    EventLog events;
    PlatformClient client{host.platform(), events};
    IOHIDDeviceRef handle = nullptr;
    std::function<void(IOHIDDeviceRef)> arrived;
};

} // namespace qz::platform::tests
