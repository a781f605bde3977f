// SPDX-License-Identifier: MIT
#include "tests/kernel/support/KernelApplication.h"

#include <chrono>
#include <poll.h>

using namespace qz::platform;

namespace qz::tests {

KernelApplication::KernelApplication() {
    using Action = QZGCConfigurationManager::Action;
    configuration = QZGCConfigurationManager::create({}, {}, {Action("Fire"), Action("Jump")}, std::nullopt,
                                                     std::nullopt, std::nullopt, platform);
    manager = QZGCHIDManager::create(configuration, platform);
}

KernelApplication::~KernelApplication() = default;

void KernelApplication::turn() {
    while (loop.dispatch(kCFRunLoopDefaultMode) > 0) {
    }
}

bool KernelApplication::wait(int milliseconds) {
    pollfd ready{loop.fileDescriptor(kCFRunLoopDefaultMode), POLLIN, 0};
    return ::poll(&ready, 1, milliseconds) == 1;
}

bool KernelApplication::turnUntil(const std::function<bool()>& holds) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    loop.dispatch(kCFRunLoopDefaultMode);
    while (!holds()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        if (wait(100)) {
            loop.dispatch(kCFRunLoopDefaultMode);
        }
    }
    return true;
}

} // namespace qz::tests
