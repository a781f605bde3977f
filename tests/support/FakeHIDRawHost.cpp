// SPDX-License-Identifier: MIT
#include "tests/support/FakeHIDRawHost.h"

#include <stdexcept>

using namespace qz::platform;

namespace qz::tests {

namespace {

qz::platform::tests::FakeHIDDevice fakeDevice(const DeviceDescription& description, const DeviceReports& reports) {
    return {.name = description.name,
            .descriptor = reports.descriptor(),
            .vendor = static_cast<std::uint32_t>(description.vendorID),
            .product = static_cast<std::uint32_t>(description.productID),
            .phys = "usb-0000:00:14.0-1/input0",
            .uniq = description.serialNumber};
}

/// An error of the system that is reported as `result`.
int systemErrorFor(IOReturn result) {
    switch (result) {
    case kIOReturnNotPermitted:
        return EACCES;
    case kIOReturnExclusiveAccess:
        return EBUSY;
    case kIOReturnIOError:
        return EIO;
    case kIOReturnNoDevice:
        return ESHUTDOWN;
    default:
        throw std::invalid_argument("no error of the system is reported as this one");
    }
}

} // namespace

DeviceId FakeHIDRawHost::plug(const DeviceDescription& description) {
    DeviceReports reports(description);
    const int number = kernel_.plug(fakeDevice(description, reports));
    plugged_.push_back({number, std::move(reports)});
    return static_cast<DeviceId>(plugged_.size() - 1);
}

void FakeHIDRawHost::plugUnusable(const DeviceDescription& description, IOReturn error) {
    qz::platform::tests::FakeHIDDevice device = fakeDevice(description, DeviceReports(description));
    device.hasNode = false;
    const int number = kernel_.plug(device);
    kernel_.setOpenError(number, systemErrorFor(error));
    kernel_.addNode(number);
}

void FakeHIDRawHost::unplug(DeviceId device) {
    Plugged& plugged = plugged_.at(static_cast<std::size_t>(device));
    if (plugged.number >= 0) {
        kernel_.unplug(std::exchange(plugged.number, -1));
    }
}

void FakeHIDRawHost::send(DeviceId device, std::size_t control, std::int64_t raw) {
    Plugged& plugged = plugged_.at(static_cast<std::size_t>(device));
    if (plugged.number >= 0) {
        kernel_.send(plugged.number, plugged.reports.set(control, raw));
    }
}

} // namespace qz::tests
