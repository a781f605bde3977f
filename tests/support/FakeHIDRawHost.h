// SPDX-License-Identifier: MIT
#pragma once

#include "platform/linux/LinuxRunLoop.h"
#include "platform/virtual/VirtualPlatform.h"
#include "platform/virtual/VolatileUserDefaults.h"
#include "tests/support/DeviceReports.h"
#include "tests/support/FakeHIDRaw.h"
#include "tests/support/Host.h"

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
    class HostPlatform final : public qz::platform::Platform {
    public:
        explicit HostPlatform(qz::platform::tests::FakeHIDRaw& kernel)
            : runLoop_(kernel), hidServices_(kernel.paths(), kernel) {}

        qz::platform::LinuxHIDServices& hidServices() override { return hidServices_; }
        qz::platform::RunLoop& currentRunLoop() override { return runLoop_; }
        qz::platform::UserDefaults& userDefaults() override { return userDefaults_; }
        qz::platform::SystemLog& systemLog() override { return systemLog_; }

    private:
        qz::platform::LinuxRunLoop runLoop_;
        qz::platform::LinuxHIDServices hidServices_;
        qz::platform::VolatileUserDefaults userDefaults_;
        qz::platform::VirtualSystemLog systemLog_;
    };
    struct Plugged {
        int number; ///< -1 once it is gone
        DeviceReports reports;
    };

    qz::platform::tests::FakeHIDRaw kernel_;
    HostPlatform platform_{kernel_};
    std::vector<Plugged> plugged_;
};

} // namespace qz::tests
