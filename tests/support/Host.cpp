// SPDX-License-Identifier: MIT
#include "tests/support/Host.h"

#include <utility>

namespace qz::tests {

namespace {

// HID Usage Tables: Generic Desktop page with Joystick and Game Pad; Button page, first button.
constexpr std::uint32_t genericDesktopPage = 0x01;
constexpr std::uint32_t joystickUsage = 0x04;
constexpr std::uint32_t gamePadUsage = 0x05;
constexpr std::uint32_t buttonPage = 0x09;

} // namespace

DeviceDescription gamePad(std::string name) {
    return deviceOfKind(std::move(name), genericDesktopPage, gamePadUsage);
}

DeviceDescription joystick(std::string name) {
    return deviceOfKind(std::move(name), genericDesktopPage, joystickUsage);
}

DeviceDescription deviceOfKind(std::string name, std::uint32_t usagePage, std::uint32_t usage) {
    return {.name = std::move(name),
            .vendorID = 1234,
            .productID = 5678,
            .serialNumber = "",
            .applications = {{.usagePage = usagePage,
                              .usage = usage,
                              .controls = {{.usagePage = buttonPage, .usage = 1, .min = 0, .max = 1}}}}};
}

Host::~Host() = default;

std::size_t Host::turn(qz::platform::RunLoopMode mode) {
    qz::platform::RunLoop& runLoop = platform().currentRunLoop();
    std::size_t handled = 0;
    while (const std::size_t now = runLoop.dispatch(mode)) {
        handled += now;
    }
    return handled;
}

} // namespace qz::tests
