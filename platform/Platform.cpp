// SPDX-License-Identifier: MIT
#include "platform/Platform.h"

#include "platform/RunLoop.h"
#include "platform/SystemLog.h"
#include "platform/UserDefaults.h"

#if defined(__linux__)
#include "platform/linux/LinuxPlatform.h"
#else
#include "platform/virtual/VirtualPlatform.h"
#endif

namespace qz::platform {

RunLoopSource::~RunLoopSource() = default;
RunLoop::~RunLoop() = default;

std::optional<std::size_t> RunLoopSource::waitAndPerform(int /*milliseconds*/) {
    return std::nullopt;
}

void RunLoop::suspendSource(RunLoopSource& /*source*/, RunLoopMode /*mode*/) {}

void RunLoop::resumeSource(RunLoopSource& /*source*/, RunLoopMode /*mode*/) {}

std::size_t RunLoop::runInMode(RunLoopMode mode, std::chrono::milliseconds /*timeout*/) {
    return dispatch(mode);
}

SystemLog::~SystemLog() = default;
Platform::~Platform() = default;

#if defined(__linux__)

namespace {

/// Not destroyed at the end of the process: an application's own static objects may end after any object made here, and
/// still need a platform. Only the preferences are brought to the disk.
struct StandardPlatform {
    ~StandardPlatform() { platform.processEnds(); }
    LinuxPlatform& platform = *new LinuxPlatform;
};

} // namespace

Platform& Platform::standard() {
    static const StandardPlatform standard;
    return standard.platform;
}

#else

Platform& Platform::standard() {
    static VirtualPlatform& platform = *new VirtualPlatform;
    return platform;
}

#endif

} // namespace qz::platform
