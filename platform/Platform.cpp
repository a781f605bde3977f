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
SystemLog::~SystemLog() = default;
Platform::~Platform() = default;

Platform& Platform::standard() {
#if defined(__linux__)
    using Standard = LinuxPlatform;
#else
    using Standard = VirtualPlatform;
#endif
    // Never destroyed: an application's own static objects may end after any object made here, and still need it.
    static Standard& platform = *new Standard;
    return platform;
}

} // namespace qz::platform
