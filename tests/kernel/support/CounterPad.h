// SPDX-License-Identifier: MIT
#pragma once

#include "tests/kernel/support/UhidDevice.h"

#include <array>

namespace qz::tests {

/// A pad whose X axis counts its reports, so that a report that gets lost shows. Its eight buttons and the Y axis,
/// which rests, make it a controller to every program.
class CounterPad {
public:
    /// The serial number keeps one configuration for it, wherever it is plugged in.
    explicit CounterPad(const std::string& name, const std::string& serialNumber = "count")
        : device_({.name = name,
                   .phys = {},
                   .uniq = serialNumber,
                   .vendor = 0x4d2,
                   .product = 0x162e,
                   .descriptor = {descriptor.begin(), descriptor.end()}}) {}

    /// Sends the next number, 1 the first time.
    bool send() {
        ++count_;
        return sendAgain();
    }
    /// Sends the number again that was sent last.
    bool sendAgain() {
        return device_.send(std::array{static_cast<std::uint8_t>(count_), static_cast<std::uint8_t>(count_ >> 8U),
                                       std::uint8_t{0}, buttons_});
    }
    /// What the next report says of the buttons, a bit for each.
    void press(std::uint8_t buttons) { buttons_ = buttons; }

    /// The number sent last; the axis has 16 bits of it.
    std::uint32_t count() const noexcept { return count_; }
    UhidDevice& device() noexcept { return device_; }

    // clang-format off
    static constexpr auto descriptor = std::to_array<std::uint8_t>({
        0x05, 0x01, 0x09, 0x05, 0xa1, 0x01,                   // Game Pad
        0x09, 0x30, 0x15, 0x00, 0x27, 0xff, 0xff, 0x00, 0x00, // X, 0 to 65535
        0x75, 0x10, 0x95, 0x01, 0x81, 0x02,                   // in 16 bits
        0x09, 0x31, 0x26, 0xff, 0x00, 0x75, 0x08, 0x81, 0x02, // Y, 0 to 255
        0x05, 0x09, 0x19, 0x01, 0x29, 0x08, 0x25, 0x01,       // buttons 1 to 8
        0x75, 0x01, 0x95, 0x08, 0x81, 0x02, 0xc0,             // in one bit each
    });
    // clang-format on
    static constexpr std::size_t reportBytes = 4;

private:
    UhidDevice device_;
    std::uint32_t count_ = 0;
    std::uint8_t buttons_ = 0;
};

} // namespace qz::tests
