// SPDX-License-Identifier: MIT
#include "HIDWrapper/QZHIDDevice.h"
#include "tests/kernel/support/CounterPad.h"
#include "tests/kernel/support/KernelApplication.h"
#include "tests/kernel/support/Udev.h"
#include "tests/support/ChildProcess.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

using namespace qz::platform;
using qz::platform::tests::ChildProcess;
using ::testing::AnyOf;

namespace qz::tests {
namespace {

bool becomeOrdinaryUser() {
    constexpr unsigned nobody = 65534;
    return ::setgroups(0, nullptr) == 0 && ::setgid(nobody) == 0 && ::setuid(nobody) == 0;
}

/// An application of an ordinary user, which tells of itself in letters as it goes: s when it is set up, p when it
/// hears that it has no permission (x for any other error), c when a controller is connected, v with the first value of
/// it.
int followAsOrdinaryUser(int descriptor) {
    if (!becomeOrdinaryUser()) {
        return 1;
    }
    KernelApplication application;
    Listener& listener = *application.listener;
    bool isTold = true;
    const auto say = [&](char letter) { isTold = ::write(descriptor, &letter, 1) == 1 && isTold; };
    listener.onError = [&](IOReturn error) { say(error == kIOReturnNotPermitted ? 'p' : 'x'); };
    listener.onConnected = [&](const auto&) { say('c'); };
    listener.onValue = [&](const auto&, std::int64_t) {
        if (listener.values == 1) {
            say('v');
        }
    };
    application.manager->setReportRawValues(true);
    if (!application.setUp()) {
        return 2;
    }
    say('s');
    if (!application.turnUntil([&] { return listener.connected > 0; })) {
        return 3;
    }
    if (!application.turnUntil([&] { return listener.values > 0; })) {
        return 4;
    }
    application.turn();
    return isTold && application.manager->devices().front()->productName() == "guarded" ? 0 : 5;
}

/// What the application says up to this letter, or to its end.
std::string saidUntil(const ChildProcess& user, char letter) {
    std::string said;
    while (said.empty() || said.back() != letter) {
        const auto next = user.nextByte();
        if (!next) {
            return said + " and ended";
        }
        said += *next;
    }
    return said;
}

/// The kernel's own mode of hidraw nodes is 0600, root's.
void giveAccess(CounterPad& pad) {
    ASSERT_EQ(::chmod(pad.device().nodes().hidraw.c_str(), 0644), 0);
}

void expectValuesAndNothingElse(ChildProcess& user, CounterPad& pad) {
    pad.send();
    EXPECT_EQ(saidUntil(user, 'v'), "v");
    EXPECT_EQ(user.readToEnd(), "");
    EXPECT_EQ(user.wait(), 0);
}

TEST(Access, GivenToAnOrdinaryUserLaterConnectsTheDevice) {
    CounterPad pad("guarded");
    ChildProcess user(followAsOrdinaryUser);
    ASSERT_EQ(saidUntil(user, 'p'), "sp");
    giveAccess(pad);
    ASSERT_EQ(saidUntil(user, 'c'), "c") << "the missing permission is told once";
    expectValuesAndNothingElse(user, pad);
}

TEST(Access, OfANodeThatComesWithoutItAndGetsItLaterConnectsTheDevice) {
    ChildProcess user(followAsOrdinaryUser);
    ASSERT_EQ(saidUntil(user, 's'), "s");
    CounterPad pad("guarded");
    ASSERT_EQ(saidUntil(user, 'p'), "p") << "it has tried in vain";
    giveAccess(pad);
    ASSERT_EQ(saidUntil(user, 'c'), "c") << "the missing permission is told once";
    expectValuesAndNothingElse(user, pad);
}

TEST(Access, GivenByARuleOfUdevConnectsTheDevice) {
    const Udev udev(R"(SUBSYSTEM=="hidraw", KERNELS=="*:04D2:162E.*", PROGRAM="/bin/sleep 0.2", MODE="0644")");
    ASSERT_TRUE(udev.isRunning);
    ChildProcess user(followAsOrdinaryUser);
    ASSERT_EQ(saidUntil(user, 's'), "s");
    CounterPad pad("guarded");
    ASSERT_THAT(saidUntil(user, 'c'), AnyOf("pc", "c")) << "whether it looks before the rule is done is up to both";
    expectValuesAndNothingElse(user, pad);
}

TEST(Access, NeverGivenLeavesTheDeviceOut) {
    CounterPad pad("guarded");
    const std::string told = qz::platform::tests::asOrdinaryUser([] {
        KernelApplication application;
        const bool isSetUp = application.setUp();
        application.turn();
        std::string errors;
        for (const IOReturn error : application.listener->errors) {
            errors += " " + std::to_string(error);
        }
        return std::to_string(isSetUp) + " " + std::to_string(application.listener->connected) + " " +
               std::to_string(application.manager->devices().size()) + " " + std::to_string(application.wait(200)) +
               errors;
    });
    // Set up all the same, no device, and nothing left to do; the reason is told once.
    EXPECT_EQ(told, "1 0 0 0 " + std::to_string(kIOReturnNotPermitted));
}

} // namespace
} // namespace qz::tests
