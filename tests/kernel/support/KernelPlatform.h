// SPDX-License-Identifier: MIT
#pragma once

#include "platform/linux/LinuxHIDServices.h"
#include "platform/linux/LinuxRunLoop.h"
#include "platform/virtual/VirtualPlatform.h"
#include "platform/virtual/VolatileUserDefaults.h"

namespace qz::tests {

/// The devices of the running kernel, with preferences that begin empty and live in memory.
class KernelPlatform final : public qz::platform::Platform {
public:
    explicit KernelPlatform(qz::platform::SystemCalls& calls = qz::platform::SystemCalls::kernel())
        : hidServices_({}, calls) {}

    qz::platform::HIDServices& hidServices() override { return hidServices_; }
    qz::platform::RunLoop& currentRunLoop() override { return runLoop_; }
    qz::platform::UserDefaults& userDefaults() override { return userDefaults_; }
    qz::platform::SystemLog& systemLog() override { return systemLog_; }

private:
    qz::platform::LinuxRunLoop runLoop_;
    qz::platform::LinuxHIDServices hidServices_;
    qz::platform::VolatileUserDefaults userDefaults_;
    qz::platform::VirtualSystemLog systemLog_;
};

} // namespace qz::tests
