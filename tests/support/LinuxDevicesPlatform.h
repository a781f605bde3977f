// SPDX-License-Identifier: MIT
#pragma once

#include "platform/linux/LinuxHIDServices.h"
#include "platform/linux/LinuxRunLoop.h"
#include "platform/virtual/VirtualPlatform.h"
#include "platform/virtual/VolatileUserDefaults.h"

#include <utility>

namespace qz::tests {

/// The Linux back end, with preferences that begin empty and live in memory.
class LinuxDevicesPlatform final : public qz::platform::Platform {
public:
    /// The devices of the running kernel, or those that `paths` and `calls` make it believe in.
    explicit LinuxDevicesPlatform(qz::platform::SystemCalls& calls = qz::platform::SystemCalls::kernel(),
                                  qz::platform::LinuxHIDPaths paths = {})
        : runLoop_(calls), hidServices_(std::move(paths), calls) {}

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

} // namespace qz::tests
