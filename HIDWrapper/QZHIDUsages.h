// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

/// The usages that the library knows, as the HID Usage Tables number them.
namespace qz::platform::usages {

inline constexpr std::int64_t genericDesktopPage = 0x01;
inline constexpr std::int64_t buttonPage = 0x09;
inline constexpr std::int64_t consumerPage = 0x0C;

// Generic Desktop page
inline constexpr std::int64_t joystick = 0x04;
inline constexpr std::int64_t gamePad = 0x05;
inline constexpr std::int64_t x = 0x30;
inline constexpr std::int64_t y = 0x31;
inline constexpr std::int64_t z = 0x32;
inline constexpr std::int64_t rz = 0x35;
inline constexpr std::int64_t wheel = 0x38;
inline constexpr std::int64_t dPadUp = 0x90;
inline constexpr std::int64_t dPadLeft = 0x93;

// Consumer page
inline constexpr std::int64_t acHome = 0x223;

} // namespace qz::platform::usages
