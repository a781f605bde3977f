// SPDX-License-Identifier: MIT
#include "platform/linux/HIDSysfs.h"

#include "platform/linux/DocumentFile.h"
#include "platform/linux/RetryInterrupted.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <optional>

namespace qz::platform {

namespace {

constexpr std::string_view nodePrefix = "hidraw";
constexpr std::size_t page = 4096;          // more than this no read of a text in sysfs answers
constexpr std::size_t mostBytes = page + 1; // shows that a descriptor is too long

// linux/input.h
constexpr std::uint32_t busUSB = 0x03;
constexpr std::uint32_t busBluetooth = 0x05;
constexpr std::uint32_t busVirtual = 0x06;
constexpr std::uint32_t busI2C = 0x18;
constexpr std::uint32_t busSPI = 0x1c;

bool isDigits(std::string_view text) {
    return !text.empty() && std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

std::optional<std::uint32_t> hexadecimalNumber(std::string_view text) {
    std::uint32_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, 16);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

/// The beginning of a file; the number of the system's error, or 0.
int readFile(SystemCalls& calls, const std::string& path, std::array<char, mostBytes>& bytes, std::size_t& count) {
    count = 0;
    const FileDescriptor file(calls,
                              retryInterrupted([&] { return calls.open(path.c_str(), O_RDONLY | O_CLOEXEC, 0); }));
    if (!file.isOpen()) {
        return errno;
    }
    const ssize_t read = retryInterrupted([&] { return calls.read(file.number(), bytes.data(), bytes.size()); });
    if (read < 0) {
        return errno;
    }
    count = static_cast<std::size_t>(read);
    return 0;
}

/// Whether a file that could not be read may well be there: the error is the system's trouble, not the file's.
bool mayPass(int error) {
    return error == EMFILE || error == ENFILE || error == ENOMEM || error == EIO || error == EAGAIN;
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

/// The text of a file of one line goes to `line`, nothing when there is no such file; false when there may be one.
bool readLine(SystemCalls& calls, const std::string& path, std::optional<std::string>& line) {
    std::array<char, mostBytes> bytes;
    std::size_t count = 0;
    const int error = readFile(calls, path, bytes, count);
    if (error == 0) {
        const std::string_view text(bytes.data(), std::min(count, page));
        line = text.substr(0, std::min(text.find('\n'), text.find('\0')));
    }
    return !mayPass(error);
}

struct DeviceNumbers {
    std::uint32_t bus = 0;
    std::uint32_t vendor = 0;
    std::uint32_t product = 0;
};

/// Three hexadecimal numbers with colons between them: as in HID_ID, and as a device's directory begins.
std::optional<DeviceNumbers> deviceNumbers(std::string_view text) {
    std::array<std::uint32_t, 3> numbers{};
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const std::size_t colon = i + 1 < numbers.size() ? text.find(':') : text.size();
        const auto number = hexadecimalNumber(text.substr(0, colon));
        if (!number || colon > text.size()) {
            return std::nullopt;
        }
        numbers[i] = *number;
        text.remove_prefix(std::min(colon + 1, text.size()));
    }
    return DeviceNumbers{numbers[0], numbers[1], numbers[2]};
}

void setNumbers(HIDProperties& properties, const DeviceNumbers& numbers) {
    properties.insert_or_assign("VendorID", std::int64_t{numbers.vendor});
    properties.insert_or_assign("ProductID", std::int64_t{numbers.product});
    const std::array<std::pair<std::uint32_t, const char*>, 5> names{
        {{busUSB, "USB"}, {busBluetooth, "Bluetooth"}, {busVirtual, "Virtual"}, {busI2C, "I2C"}, {busSPI, "SPI"}}};
    for (const auto& [bus, name] : names) {
        if (bus == numbers.bus) {
            properties.insert_or_assign("Transport", std::string(name));
        }
    }
}

void setText(HIDProperties& properties, const char* key, const std::optional<std::string>& text) {
    if (text && !text->empty()) {
        properties.insert_or_assign(key, validText(*text));
    }
}

/// The variables that the kernel gives with a HID device (hid_uevent in drivers/hid/hid-core.c).
struct DeviceVariables {
    std::string id;
    std::string name;
    std::string phys;
    std::string uniq;
};

/// A name comes from the device and may hold an end of line and after it what looks like another variable. The kernel
/// writes the ID and the name first and the others after it, so of each of those the first counts, of these the last.
DeviceVariables parseVariables(std::string_view text) {
    DeviceVariables variables;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        const std::string_view value = line.substr(std::min(line.find('=') + 1, line.size()));
        const std::string_view key = line.substr(0, line.size() - value.size());
        if (key == "HID_ID=" && variables.id.empty()) {
            variables.id = value;
        } else if (key == "HID_NAME=" && variables.name.empty()) {
            variables.name = value;
        } else if (key == "HID_PHYS=") {
            variables.phys = value;
        } else if (key == "HID_UNIQ=") {
            variables.uniq = value;
        }
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
    return variables;
}

/// Takes what the USB device itself says in place of what the kernel makes of it. A driver may put a name or a serial
/// number of its own into the variables, some time after the node is there; these files never change. False when they
/// could not all be read.
bool setUSBProperties(SystemCalls& calls, const std::string& directory, HIDProperties& properties) {
    // The parent of the HID device is the USB interface, whose parent is the USB device. What stands there for a device
    // behind a receiver, or one without hardware, has no such file.
    const std::string device = directory + "/../../";
    std::optional<std::string> version;
    std::optional<std::string> manufacturer;
    std::optional<std::string> product;
    std::optional<std::string> serial;
    if (!readLine(calls, device + "bcdDevice", version)) {
        return false;
    }
    if (!version) {
        return true;
    }
    if (!readLine(calls, device + "manufacturer", manufacturer) || !readLine(calls, device + "product", product) ||
        !readLine(calls, device + "serial", serial)) {
        return false;
    }
    if (const auto number = hexadecimalNumber(*version)) {
        properties.insert_or_assign("VersionNumber", std::int64_t{*number});
    }
    setText(properties, "Manufacturer", manufacturer);
    setText(properties, "Product", product);
    properties.erase("SerialNumber");
    setText(properties, "SerialNumber", serial);
    return true;
}

std::string_view lastComponent(std::string_view path) {
    return path.substr(path.rfind('/') + 1); // npos + 1 is 0
}

std::string_view parentPath(std::string_view path) {
    return path.substr(0, std::min(path.rfind('/'), path.size()));
}

/// Whether a component is the name of a HID device, "0003:046D:C215.0001" (hid_add_device in drivers/hid/hid-core.c):
/// four numbers of at least four digits. "0000:05:00.3", a function of a PCI device, is none.
bool isHIDName(std::string_view name) {
    constexpr std::string_view separators = "::.";
    for (std::size_t i = 0; i <= separators.size(); ++i) {
        const std::size_t end = i < separators.size() ? name.find(separators[i]) : name.size();
        if (end == std::string_view::npos || end < 4 || !hexadecimalNumber(name.substr(0, end))) {
            return false;
        }
        name.remove_prefix(std::min(end + 1, name.size()));
    }
    return true;
}

/// A component of a path in sysfs without what the kernel counted up for it.
std::string_view withoutInstance(std::string_view name, bool isBelowUSB) {
    for (const std::string_view prefix : {nodePrefix, std::string_view("input"), std::string_view("usb")}) {
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

} // namespace

bool isHIDRawName(std::string_view name) {
    return name.starts_with(nodePrefix) && isDigits(name.substr(nodePrefix.size()));
}

bool listHIDRawNodes(SystemCalls& calls, const std::string& classDirectory, std::vector<std::string>& names) {
    const FileDescriptor directory(calls, retryInterrupted([&] {
                                       return calls.open(classDirectory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0);
                                   }));
    if (!directory.isOpen()) {
        return errno == ENOENT || errno == ENOTDIR || errno == EACCES || errno == EPERM;
    }
    alignas(dirent64) std::array<char, 8192> entries;
    ssize_t size = 0;
    while ((size = retryInterrupted(
                [&] { return calls.readDirectory(directory.number(), entries.data(), entries.size()); })) > 0) {
        for (ssize_t offset = 0; offset < size;) {
            const auto* const entry = reinterpret_cast<const dirent64*>(entries.data() + offset);
            if (isHIDRawName(entry->d_name)) {
                names.emplace_back(entry->d_name);
            }
            offset += entry->d_reclen;
        }
    }
    // Shorter first: among numbers without leading zeros that is the smaller ones first.
    std::ranges::sort(names, [](const std::string& left, const std::string& right) {
        return left.size() != right.size() ? left.size() < right.size() : left < right;
    });
    return size == 0;
}

int readReportDescriptor(SystemCalls& calls, const HIDDevicePath& device, std::vector<std::uint8_t>& bytes) {
    std::array<char, mostBytes> text;
    std::size_t count = 0;
    const int error = readFile(calls, device.directory + "/report_descriptor", text, count);
    bytes.assign(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(count));
    return error;
}

HIDDevicePath readDevicePath(SystemCalls& calls, const std::string& classDirectory, const std::string& name) {
    const std::string entry = classDirectory + "/" + name;
    std::array<char, page> buffer;
    const ssize_t size = retryInterrupted([&] { return calls.readLink(entry.c_str(), buffer.data(), buffer.size()); });
    if (size <= 0 || static_cast<std::size_t>(size) == buffer.size()) {
        return {entry + "/device", {}};
    }
    // Such as "../../devices/pci0000:00/.../0003:046D:C215.0001/hidraw/hidraw0".
    std::string_view link(buffer.data(), static_cast<std::size_t>(size));
    const std::string directory = classDirectory + "/" + std::string(parentPath(parentPath(link)));
    while (link.starts_with("../")) {
        link.remove_prefix(3);
    }
    return {directory, "/" + std::string(link)};
}

HIDProperties propertiesInName(const HIDDevicePath& device) {
    HIDProperties properties;
    const std::string_view name = lastComponent(device.directory);
    if (const auto numbers = deviceNumbers(name.substr(0, name.rfind('.')))) {
        setNumbers(properties, *numbers);
    }
    return properties;
}

bool readProperties(SystemCalls& calls, const HIDDevicePath& device, HIDProperties& properties) {
    std::array<char, mostBytes> text;
    std::size_t count = 0;
    if (const int error = readFile(calls, device.directory + "/uevent", text, count); error != 0) {
        return !mayPass(error);
    }
    const DeviceVariables variables = parseVariables({text.data(), count});
    const DeviceNumbers numbers = deviceNumbers(variables.id).value_or(DeviceNumbers{});
    if (!variables.id.empty()) {
        setNumbers(properties, numbers);
    }
    setText(properties, "Product", variables.name);
    setText(properties, "SerialNumber", variables.uniq);
    properties.insert_or_assign("LocationID", locationID({.isBluetooth = numbers.bus == busBluetooth,
                                                          .phys = variables.phys,
                                                          .uniq = variables.uniq,
                                                          .path = device.path}));
    if (numbers.bus == busUSB && !setUSBProperties(calls, device.directory, properties)) {
        properties.clear(); // a serial number or a place that is not the device's would name its settings wrongly
        return false;
    }
    return true;
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
