// SPDX-License-Identifier: MIT
#include "tests/kernel/support/KernelHost.h"

#include <cerrno>
#include <stdexcept>

using namespace qz::platform;

namespace qz::tests {

UhidDescription uhidDescription(const DeviceDescription& description) {
    return {.name = description.name,
            .phys = {},
            .uniq = description.serialNumber,
            .vendor = static_cast<std::uint32_t>(description.vendorID),
            .product = static_cast<std::uint32_t>(description.productID),
            .descriptor = DeviceReports(description).descriptor()};
}

int KernelHost::RefusingKernel::open(const char* path, int flags, mode_t mode) {
    if (const auto found = errors.find(path); found != errors.end()) {
        errno = found->second;
        return -1;
    }
    return SystemCalls::open(path, flags, mode);
}

DeviceId KernelHost::plug(const DeviceDescription& description) {
    plugged_.push_back({std::make_unique<UhidDevice>(uhidDescription(description)), DeviceReports(description)});
    return static_cast<DeviceId>(plugged_.size() - 1);
}

void KernelHost::plugUnusable(const DeviceDescription& description, IOReturn error) {
    if (error != kIOReturnExclusiveAccess) {
        throw std::invalid_argument("no error of opening is made for this one");
    }
    // It stays plugged as long as the host, so that no other device gets its node.
    kernel_.errors.emplace(plugged_.at(static_cast<std::size_t>(plug(description))).device->nodes().hidraw, EBUSY);
}

void KernelHost::unplug(DeviceId device) {
    plugged_.at(static_cast<std::size_t>(device)).device->unplug();
}

void KernelHost::send(DeviceId device, std::size_t control, std::int64_t raw) {
    Plugged& sender = plugged_.at(static_cast<std::size_t>(device));
    sender.device->send(sender.reports.set(control, raw));
}

} // namespace qz::tests
