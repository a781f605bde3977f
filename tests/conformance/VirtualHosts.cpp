// SPDX-License-Identifier: MIT
#include "tests/support/Hosts.h"

#include "tests/support/VirtualHost.h"

#if defined(__linux__)
#include "platform/linux/LinuxRunLoop.h"
#include "tests/support/FakeHIDRawHost.h"
#endif

using namespace qz::platform;

namespace qz::tests {

namespace {

std::unique_ptr<Host> makeVirtual() {
    return std::make_unique<VirtualHost>(std::make_unique<VirtualRunLoop>());
}

std::unique_ptr<Host> makeJournaledVirtual() {
    return std::make_unique<JournaledHost>(makeVirtual());
}

#if defined(__linux__)
std::unique_ptr<Host> makeVirtualOnEpoll() {
    return std::make_unique<VirtualHost>(std::make_unique<LinuxRunLoop>());
}

std::unique_ptr<Host> makeFakeHIDRaw() {
    return std::make_unique<FakeHIDRawHost>();
}
#endif

} // namespace

std::vector<HostKind> hostKinds() {
    return {
        {"Virtual", makeVirtual}, {"JournaledVirtual", makeJournaledVirtual},
#if defined(__linux__)
            {"VirtualOnEpoll", makeVirtualOnEpoll}, {"FakeHIDRaw", makeFakeHIDRaw},
#endif
    };
}

} // namespace qz::tests
