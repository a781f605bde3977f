// SPDX-License-Identifier: MIT
#include "platform/linux/HIDSysfs.h"

#include "platform/Text.h"
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
#include <utility>

namespace qz::platform {

namespace {

constexpr std::string_view nodePrefix = "hidraw";
constexpr std::size_t page = 4096;          // more than this no read of a text in sysfs answers
constexpr std::size_t mostBytes = page + 1; // shows that a descriptor is too long

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

/// Takes three hexadecimal numbers with colons between them, as in HID_ID, and as a device's directory begins; false,
/// and nothing is taken, when the text is something else.
bool takeNumbers(std::string_view text, HIDIdentity& identity) {
    std::array<std::uint32_t, 3> numbers{};
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const std::size_t colon = i + 1 < numbers.size() ? text.find(':') : text.size();
        const auto number = hexadecimalNumber(text.substr(0, colon));
        if (!number || colon > text.size()) {
            return false;
        }
        numbers[i] = *number;
        text.remove_prefix(std::min(colon + 1, text.size()));
    }
    identity.bus = numbers[0];
    identity.vendor = numbers[1];
    identity.product = numbers[2];
    return true;
}

std::string_view takeLine(std::string_view& text) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    return line;
}

bool takePrefix(std::string_view& text, std::string_view prefix) {
    const bool isThere = text.starts_with(prefix);
    text.remove_prefix(isThere ? prefix.size() : 0);
    return isThere;
}

/// Takes the variables that the kernel gives with a HID device: HID_ID, HID_NAME, HID_PHYS and HID_UNIQ, in this order
/// (hid_uevent in drivers/hid/hid-core.c).
///
/// The name and the serial number come from the device and may hold an end of line and after it what looks like another
/// variable. So of the first two the first counts, and the others count only where one stands right after the other;
/// when they do more than once, nobody can say which are the kernel's, and none is believed.
void takeVariables(std::string_view text, HIDIdentity& identity) {
    bool hasID = false;
    int places = 0;
    while (!text.empty()) {
        std::string_view line = takeLine(text);
        if (takePrefix(line, "HID_ID=")) {
            hasID = hasID || takeNumbers(line, identity);
        } else if (takePrefix(line, "HID_NAME=") && identity.name.empty()) {
            identity.name = line;
        } else if (takePrefix(line, "HID_PHYS=") && takePrefix(text, "HID_UNIQ=")) {
            const std::string_view uniq = takeLine(text);
            const bool isFirst = ++places == 1;
            identity.phys = isFirst ? line : std::string_view();
            identity.uniq = isFirst ? uniq : std::string_view();
        }
    }
}

/// Takes what the USB device itself says in place of what the kernel makes of it. A driver may put a name or a serial
/// number of its own into the variables, some time after the node is there; these files never change. False when they
/// could not all be read.
bool setUSBProperties(SystemCalls& calls, const std::string& directory, HIDProperties& properties,
                      HIDIdentity& identity) {
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
    setText(properties, "Manufacturer", manufacturer.value_or(""));
    setText(properties, "Product", product.value_or(""));
    identity.uniq = serial.value_or("");
    properties.erase("SerialNumber");
    setText(properties, "SerialNumber", identity.uniq);
    return true;
}

std::string_view lastComponent(std::string_view path) {
    return path.substr(path.rfind('/') + 1); // npos + 1 is 0
}

std::string_view parentPath(std::string_view path) {
    return path.substr(0, std::min(path.rfind('/'), path.size()));
}

} // namespace

bool isHIDRawName(std::string_view name) {
    return name.starts_with(nodePrefix) && isDigits(name.substr(nodePrefix.size()));
}

bool HIDRawClass::list(std::vector<std::string>& names) {
    close();
    descriptor_ =
        retryInterrupted([&] { return calls_.open(directory_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0); });
    if (descriptor_ < 0) {
        return errno == ENOENT || errno == ENOTDIR || errno == EACCES || errno == EPERM;
    }
    alignas(dirent64) std::array<char, 8192> entries;
    ssize_t size = 0;
    while ((size = retryInterrupted(
                [&] { return calls_.readDirectory(descriptor_, entries.data(), entries.size()); })) > 0) {
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

bool HIDRawClass::close() noexcept {
    if (descriptor_ < 0) {
        return false;
    }
    calls_.close(std::exchange(descriptor_, -1));
    return true;
}

int readReportDescriptor(SystemCalls& calls, const HIDDevicePath& device, std::vector<std::uint8_t>& bytes) {
    std::array<char, mostBytes> text;
    std::size_t count = 0;
    const int error = readFile(calls, device.directory + "/report_descriptor", text, count);
    bytes.assign(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(count));
    return error;
}

HIDDevicePath HIDRawClass::devicePath(const std::string& name) const {
    const bool isOpen = descriptor_ >= 0;
    const std::string entry = isOpen ? name : joined({directory_, "/", name});
    std::array<char, page> buffer;
    const ssize_t size = retryInterrupted([&] {
        return calls_.readLinkAt(isOpen ? descriptor_ : AT_FDCWD, entry.c_str(), buffer.data(), buffer.size());
    });
    if (size <= 0 || static_cast<std::size_t>(size) == buffer.size()) {
        return {joined({directory_, "/", name, "/device"}), {}};
    }
    // Such as "../../devices/pci0000:00/.../0003:046D:C215.0001/hidraw/hidraw0". The way up is cut short here: the
    // kernel would walk it anew with every file, and these directories are never links.
    std::string_view link(buffer.data(), static_cast<std::size_t>(size));
    std::string_view above = directory_;
    while (takePrefix(link, "../")) {
        above = parentPath(above);
    }
    return {joined({above, "/", parentPath(parentPath(link))}), joined({"/", link})};
}

HIDIdentity numbersInName(const HIDDevicePath& device) {
    HIDIdentity identity;
    const std::string_view name = lastComponent(device.directory);
    takeNumbers(name.substr(0, name.rfind('.')), identity);
    return identity;
}

bool readProperties(SystemCalls& calls, const HIDDevicePath& device, HIDProperties& properties, HIDIdentity& identity) {
    std::array<char, mostBytes> text;
    std::size_t count = 0;
    if (const int error = readFile(calls, device.directory + "/uevent", text, count); error != 0) {
        return !mayPass(error);
    }
    HIDIdentity found = numbersInName(device);
    found.path = device.path;
    takeVariables({text.data(), count}, found);
    HIDProperties all = propertiesOf(found);
    if (isUSB(found) && !setUSBProperties(calls, device.directory, all, found)) {
        return false; // a serial number or a place that is not the device's would name its settings wrongly
    }
    properties = std::move(all);
    identity = std::move(found);
    return true;
}

} // namespace qz::platform
