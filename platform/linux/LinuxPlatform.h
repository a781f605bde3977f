// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Platform.h"
#include "platform/SystemLog.h"
#include "platform/linux/FileUserDefaults.h"
#include "platform/linux/LinuxHIDServices.h"
#include "platform/linux/LinuxRunLoop.h"

#include <map>
#include <mutex>
#include <optional>
#include <thread>

namespace qz::platform {

/// The log of syslog(3), under the program's own name.
class LinuxSystemLog final : public SystemLog {
public:
    void write(std::string_view text) override;
};

/// The platform on Linux: devices, run loop and log of the system, preferences in the user's own directory.
class LinuxPlatform final : public Platform {
public:
    HIDServices& hidServices() override { return hidServices_; }
    /// The calling thread's own, made when it first asks and kept as long as the platform.
    RunLoop& currentRunLoop() override;
    /// The preferences are read when they are asked for first.
    UserDefaults& userDefaults() override;
    SystemLog& systemLog() override { return systemLog_; }

    /// Writes the preferences that are still to be written, for a platform that is never destroyed.
    void processEnds() noexcept;

private:
    std::mutex runLoopsMutex_;
    std::map<std::thread::id, LinuxRunLoop> runLoops_;
    LinuxHIDServices hidServices_;
    std::optional<FileUserDefaults> userDefaults_;
    LinuxSystemLog systemLog_;
};

} // namespace qz::platform
