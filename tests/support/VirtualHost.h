// SPDX-License-Identifier: MIT
#pragma once

#include "platform/virtual/JournalPlatform.h"
#include "platform/virtual/VirtualPlatform.h"
#include "tests/support/Host.h"

#include <memory>

namespace qz::tests {

/// The virtual HID services, served by any run loop.
class VirtualHost final : public Host {
public:
    explicit VirtualHost(std::unique_ptr<qz::platform::RunLoop> runLoop);

    qz::platform::Platform& platform() override { return platform_; }
    DeviceId plug(const DeviceDescription& description) override;
    void plugUnusable(const DeviceDescription& description, qz::platform::IOReturn error) override;
    void unplug(DeviceId device) override;
    void send(DeviceId device, std::size_t control, std::int64_t raw) override;

private:
    class HostPlatform final : public qz::platform::Platform {
    public:
        explicit HostPlatform(std::unique_ptr<qz::platform::RunLoop> runLoop) : runLoop_(std::move(runLoop)) {}

        qz::platform::VirtualHIDServices& hidServices() override { return hidServices_; }
        qz::platform::RunLoop& currentRunLoop() override { return *runLoop_; }
        qz::platform::UserDefaults& userDefaults() override { return userDefaults_; }
        qz::platform::SystemLog& systemLog() override { return systemLog_; }

    private:
        std::unique_ptr<qz::platform::RunLoop> runLoop_;
        qz::platform::VirtualHIDServices hidServices_;
        qz::platform::VolatileUserDefaults userDefaults_;
        qz::platform::VirtualSystemLog systemLog_;
    };
    struct Plugged {
        std::weak_ptr<qz::platform::VirtualDevice> device; ///< weak: the host keeps no handle alive
        std::vector<std::size_t> elements;                 ///< each control's place among the elements
    };

    HostPlatform platform_;
    std::vector<Plugged> plugged_;
};

/// Another host, seen through a journal.
class JournaledHost final : public Host {
public:
    explicit JournaledHost(std::unique_ptr<Host> host) : host_(std::move(host)), journal_(host_->platform()) {}

    qz::platform::Platform& platform() override { return journal_; }
    DeviceId plug(const DeviceDescription& description) override { return host_->plug(description); }
    void plugUnusable(const DeviceDescription& description, qz::platform::IOReturn error) override {
        host_->plugUnusable(description, error);
    }
    void unplug(DeviceId device) override { host_->unplug(device); }
    void send(DeviceId device, std::size_t control, std::int64_t raw) override { host_->send(device, control, raw); }

private:
    std::unique_ptr<Host> host_;
    qz::platform::JournalPlatform journal_;
};

} // namespace qz::tests
