// SPDX-License-Identifier: MIT
#include "HIDWrapper/QZHIDDevice.h"
#include "tests/kernel/support/CounterPad.h"
#include "tests/kernel/support/KernelApplication.h"
#include "tests/kernel/support/Udev.h"
#include "tests/support/ChildProcess.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

using qz::platform::tests::ChildProcess;

namespace qz::tests {
namespace {

bool becomeOrdinaryUser() {
    constexpr unsigned nobody = 65534;
    return ::setgroups(0, nullptr) == 0 && ::setgid(nobody) == 0 && ::setuid(nobody) == 0;
}

/// An application of an ordinary user. It writes one byte when it is set up, then waits for a controller, then for a
/// value of it, and its exit status tells how far it got.
int followAsOrdinaryUser(int descriptor) {
    if (!becomeOrdinaryUser()) {
        return 1;
    }
    KernelApplication application;
    application.manager->setReportRawValues(true);
    if (!application.setUp()) {
        return 2;
    }
    application.turn();
    if (application.listener->connected != 0) {
        return 3;
    }
    const char ready = 'r';
    if (::write(descriptor, &ready, 1) != 1 ||
        !application.turnUntil([&] { return application.listener->connected == 1; })) {
        return 4;
    }
    if (::write(descriptor, &ready, 1) != 1 ||
        !application.turnUntil([&] { return application.listener->values > 0; })) {
        return 5;
    }
    return application.manager->devices().front()->productName() == "guarded" ? 0 : 6;
}

/// The kernel's own mode of hidraw nodes is 0600, root's.
TEST(Access, GivenToAnOrdinaryUserLaterConnectsTheDevice) {
    CounterPad pad("guarded");
    ChildProcess user(followAsOrdinaryUser);
    ASSERT_TRUE(user.waitForByte());
    ASSERT_EQ(::chmod(pad.device().nodes().hidraw.c_str(), 0644), 0);
    EXPECT_TRUE(user.waitForByte());
    pad.send();
    EXPECT_EQ(user.wait(), 0);
}

TEST(Access, OfANodeThatComesWithoutItAndGetsItLaterConnectsTheDevice) {
    ChildProcess user(followAsOrdinaryUser);
    ASSERT_TRUE(user.waitForByte());
    CounterPad pad("guarded");
    // Long enough for the application to have tried in vain.
    ::usleep(200'000);
    ASSERT_EQ(::chmod(pad.device().nodes().hidraw.c_str(), 0644), 0);
    EXPECT_TRUE(user.waitForByte());
    pad.send();
    EXPECT_EQ(user.wait(), 0);
}

TEST(Access, GivenByARuleOfUdevConnectsTheDevice) {
    const Udev udev(R"(SUBSYSTEM=="hidraw", KERNELS=="*:04D2:162E.*", PROGRAM="/bin/sleep 0.2", MODE="0644")");
    ASSERT_TRUE(udev.isRunning);
    ChildProcess user(followAsOrdinaryUser);
    ASSERT_TRUE(user.waitForByte());
    CounterPad pad("guarded");
    EXPECT_TRUE(user.waitForByte());
    pad.send();
    EXPECT_EQ(user.wait(), 0);
}

TEST(Access, NeverGivenLeavesTheDeviceOut) {
    CounterPad pad("guarded");
    const std::string told = qz::platform::tests::asOrdinaryUser([] {
        KernelApplication application;
        const bool isSetUp = application.setUp();
        application.turn();
        return std::to_string(isSetUp) + " " + std::to_string(application.listener->connected) + " " +
               std::to_string(application.manager->devices().size()) + " " + std::to_string(application.wait(200));
    });
    // Set up all the same, no device, and nothing left to do.
    EXPECT_EQ(told, "1 0 0 0");
}

} // namespace
} // namespace qz::tests
