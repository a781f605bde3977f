// SPDX-License-Identifier: MIT
#include "platform/report/HIDIdentity.h"

#include "platform/Text.h"
#include "platform/report/Recording.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace qz::platform {

namespace {

// linux/input.h
constexpr std::uint32_t busUSB = 0x03;
constexpr std::uint32_t busBluetooth = 0x05;
constexpr std::uint32_t busVirtual = 0x06;
constexpr std::uint32_t busI2C = 0x18;
constexpr std::uint32_t busSPI = 0x1c;

bool isDigits(std::string_view text) {
    return !text.empty() && std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

bool isHexadecimalNumber(std::string_view text) {
    std::uint32_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, 16);
    return error == std::errc() && stop == end;
}

/// The length of the UTF-8 sequence that `text` begins with, by table 3-7 of the Unicode Standard; 0 when it is none.
std::size_t sequenceLength(std::string_view text) {
    const auto byte = [&](std::size_t i) { return i < text.size() ? static_cast<std::uint8_t>(text[i]) : 0U; };
    const auto continues = [&](std::size_t i) { return (byte(i) & 0xc0U) == 0x80U; };
    const std::uint32_t first = byte(0);
    if (first < 0x80) {
        return 1;
    }
    if (first >= 0xc2 && first < 0xe0) {
        return continues(1) ? 2 : 0;
    }
    if (first >= 0xe0 && first < 0xf0) {
        const bool inRange = (first != 0xe0 || byte(1) >= 0xa0) && (first != 0xed || byte(1) < 0xa0);
        return inRange && continues(1) && continues(2) ? 3 : 0;
    }
    if (first >= 0xf0 && first < 0xf5) {
        const bool inRange = (first != 0xf0 || byte(1) >= 0x90) && (first != 0xf4 || byte(1) < 0x90);
        return inRange && continues(1) && continues(2) && continues(3) ? 4 : 0;
    }
    return 0;
}

std::string validText(std::string_view bytes) {
    std::string text;
    while (!bytes.empty()) {
        const std::size_t length = sequenceLength(bytes);
        text += length != 0 ? bytes.substr(0, length) : "\xef\xbf\xbd"; // U+FFFD
        bytes.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return text;
}

/// Whether a component is the name of a HID device, "0003:046D:C215.0001" (hid_add_device in drivers/hid/hid-core.c):
/// four numbers of at least four digits. "0000:05:00.3", a function of a PCI device, is none.
bool isHIDName(std::string_view name) {
    constexpr std::string_view separators = "::.";
    for (std::size_t i = 0; i <= separators.size(); ++i) {
        const std::size_t end = i < separators.size() ? name.find(separators[i]) : name.size();
        if (end == std::string_view::npos || end < 4 || !isHexadecimalNumber(name.substr(0, end))) {
            return false;
        }
        name.remove_prefix(std::min(end + 1, name.size()));
    }
    return true;
}

/// A component of a path in sysfs without what the kernel counted up for it.
std::string_view withoutInstance(std::string_view name, bool isBelowUSB) {
    for (const std::string_view prefix : {"hidraw", "input", "usb"}) {
        if (name.starts_with(prefix) && isDigits(name.substr(prefix.size()))) {
            return prefix;
        }
    }
    // "1-2.3" and "1-2.3:1.0": the bus, then the ports, which stay.
    if (isBelowUSB && isDigits(name.substr(0, name.find('-'))) && name.find('-') != std::string_view::npos) {
        return name.substr(name.find('-'));
    }
    return isHIDName(name) ? name.substr(0, name.rfind('.')) : name;
}

std::string withoutInstances(std::string_view path) {
    std::string result;
    bool isBelowUSB = false;
    while (!path.empty()) {
        const std::size_t end = std::min(path.find('/'), path.size());
        const std::string_view kept = withoutInstance(path.substr(0, end), isBelowUSB);
        isBelowUSB = isBelowUSB || (kept == "usb" && end > kept.size());
        result += kept;
        path.remove_prefix(end);
        if (!path.empty()) {
            result += '/';
            path.remove_prefix(1);
        }
    }
    return result;
}

/// FNV-1a with 32 bits.
std::uint32_t hashOf(std::string_view text) {
    std::uint32_t hash = 2166136261U;
    for (const char c : text) {
        hash = (hash ^ static_cast<std::uint8_t>(c)) * 16777619U;
    }
    return hash;
}

/// As the kernel writes it in names: in capitals, with four digits at least.
std::string nameOfNumber(std::uint32_t number) {
    std::string text = hexadecimal(number, 4);
    std::ranges::transform(text, text.begin(), [](char c) { return c >= 'a' ? static_cast<char>(c - 'a' + 'A') : c; });
    return text;
}

} // namespace

HIDIdentity identityOf(const RecordedDevice& device) {
    return {.bus = device.bus,
            .vendor = device.vendor,
            .product = device.product,
            .name = device.name,
            .phys = device.phys,
            .uniq = device.uniq,
            .path = joined({"/devices/virtual/misc/uhid/", nameOfNumber(device.bus), ":", nameOfNumber(device.vendor),
                            ":", nameOfNumber(device.product), ".0001/hidraw/hidraw0"})};
}

bool isUSB(const HIDIdentity& identity) noexcept {
    return identity.bus == busUSB;
}

std::string_view transportOf(const HIDIdentity& identity) noexcept {
    switch (identity.bus) {
    case busUSB:
        return "USB";
    case busBluetooth:
        return "Bluetooth";
    case busVirtual:
        return "Virtual";
    case busI2C:
        return "I2C";
    case busSPI:
        return "SPI";
    default:
        return {};
    }
}

HIDProperties propertiesOf(const HIDIdentity& identity) {
    HIDProperties properties;
    properties.emplace("VendorID", std::int64_t{identity.vendor});
    properties.emplace("ProductID", std::int64_t{identity.product});
    setText(properties, "Transport", transportOf(identity));
    setText(properties, "Product", identity.name);
    setText(properties, "SerialNumber", identity.uniq);
    properties.emplace("LocationID", locationID({.isBluetooth = identity.bus == busBluetooth,
                                                 .phys = identity.phys,
                                                 .uniq = identity.uniq,
                                                 .path = identity.path}));
    return properties;
}

void setText(HIDProperties& properties, const char* key, std::string_view text) {
    if (!text.empty()) {
        properties.insert_or_assign(key, validText(text));
    }
}

std::int64_t locationID(const HIDPlace& place) {
    std::string_view text = place.isBluetooth ? place.uniq : place.phys;
    if (!place.isBluetooth) {
        text = text.substr(0, text.rfind('/'));
    }
    const std::uint32_t hash = text.empty() ? hashOf(withoutInstances(place.path)) : hashOf(text);
    return std::max<std::int64_t>(hash & 0x7fffffffU, 1);
}

} // namespace qz::platform
