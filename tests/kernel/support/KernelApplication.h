// SPDX-License-Identifier: MIT
#pragma once

#include "QZGameController/QZGCConfigurationManager.h"
#include "tests/kernel/support/Listener.h"
#include "tests/support/LinuxDevicesPlatform.h"

#include <functional>

namespace qz::tests {

/// An application that follows the kernel's controllers from its event loop. Its actions are "Fire" and "Jump", for
/// buttons.
class KernelApplication {
public:
    KernelApplication();
    ~KernelApplication();
    KernelApplication(const KernelApplication&) = delete;
    KernelApplication& operator=(const KernelApplication&) = delete;

    /// Whether the manager could be set up.
    bool setUp() { return manager->setupWithDelegate(listener) == qz::platform::kIOReturnSuccess; }

    /// Turns the loop until nothing is left to do, without waiting.
    void turn();
    /// Waits and turns the loop until something holds; false when it does not within five seconds.
    bool turnUntil(const std::function<bool()>& holds);

    /// Waits for the loop to have something to do; false when it has not within that time.
    bool wait(int milliseconds);

    LinuxDevicesPlatform platform;
    qz::platform::RunLoop& loop = platform.currentRunLoop();
    std::shared_ptr<Listener> listener = std::make_shared<Listener>();
    std::shared_ptr<QZGCConfigurationManager> configuration;
    std::shared_ptr<QZGCHIDManager> manager;
};

} // namespace qz::tests
