// SPDX-License-Identifier: MIT
#include "platform/linux/LinuxPlatform.h"

#include <algorithm>
#include <limits>
#include <syslog.h>

namespace qz::platform {

void LinuxSystemLog::write(std::string_view text) {
    const auto length = std::min<std::size_t>(text.size(), std::numeric_limits<int>::max());
    ::syslog(LOG_INFO, "%.*s", static_cast<int>(length), text.data());
}

RunLoop& LinuxPlatform::currentRunLoop() {
    const std::lock_guard lock(runLoopsMutex_);
    return runLoops_[std::this_thread::get_id()];
}

void LinuxPlatform::processEnds() noexcept {
    if (userDefaults_) {
        userDefaults_->writePending();
    }
}

UserDefaults& LinuxPlatform::userDefaults() {
    if (!userDefaults_) {
        userDefaults_.emplace();
    }
    return *userDefaults_;
}

} // namespace qz::platform
