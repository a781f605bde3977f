// SPDX-License-Identifier: MIT
#pragma once

#include "tests/kernel/support/UhidDevice.h"
#include "tests/support/DeviceReports.h"
#include "tests/support/Host.h"
#include "tests/support/LinuxDevicesPlatform.h"

#include <map>
#include <memory>

namespace qz::tests {

/// The Linux back end over devices of the running kernel.
class KernelHost final : public Host {
public:
    qz::platform::Platform& platform() override { return platform_; }
    DeviceId plug(const DeviceDescription& description) override;
    void plugUnusable(const DeviceDescription& description, qz::platform::IOReturn error) override;
    void unplug(DeviceId device) override;
    void send(DeviceId device, std::size_t control, std::int64_t raw) override;

private:
    /// A kernel that refuses to open some nodes, which it does for nobody's asking.
    class RefusingKernel final : public qz::platform::SystemCalls {
    public:
        int open(const char* path, int flags, mode_t mode) override;

        std::map<std::string, int> errors; ///< the errors of opening, by the nodes' paths
    };
    struct Plugged {
        std::unique_ptr<UhidDevice> device;
        DeviceReports reports;
    };

    RefusingKernel kernel_;
    LinuxDevicesPlatform platform_{kernel_};
    std::vector<Plugged> plugged_;
};

/// What the kernel is asked for to make such a device.
UhidDescription uhidDescription(const DeviceDescription& description);

} // namespace qz::tests
