// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/DeviceReports.h"
#include "tests/support/FakeHIDRaw.h"
#include "tests/support/Host.h"
#include "tests/support/LinuxDevicesPlatform.h"

namespace qz::tests {

/// The Linux HID services over fake devices.
class FakeHIDRawHost final : public Host {
public:
    qz::platform::Platform& platform() override { return platform_; }
    DeviceId plug(const DeviceDescription& description) override;
    void plugUnusable(const DeviceDescription& description, qz::platform::IOReturn error) override;
    void unplug(DeviceId device) override;
    void send(DeviceId device, std::size_t control, std::int64_t raw) override;

    qz::platform::tests::FakeHIDRaw& kernel() noexcept { return kernel_; }

private:
    struct Plugged {
        int number; ///< -1 once it is gone
        DeviceReports reports;
    };

    qz::platform::tests::FakeHIDRaw kernel_;
    LinuxDevicesPlatform platform_{kernel_, kernel_.paths()};
    std::vector<Plugged> plugged_;
};

} // namespace qz::tests
