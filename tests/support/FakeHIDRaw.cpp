// SPDX-License-Identifier: MIT
#include "tests/support/FakeHIDRaw.h"

#include "platform/Text.h"

#include <array>
#include <fcntl.h>
#include <filesystem>
#include <sys/socket.h>
#include <unistd.h>

namespace qz::platform::tests {

namespace {

std::string upperHexadecimal(std::uint32_t number, std::size_t digits) {
    std::string text = hexadecimal(number, digits);
    std::ranges::transform(text, text.begin(), [](char c) { return c >= 'a' ? static_cast<char>(c - 'a' + 'A') : c; });
    return text;
}

std::string numbersText(const FakeHIDDevice& device, std::size_t digits) {
    return upperHexadecimal(device.bus, 4) + ":" + upperHexadecimal(device.vendor, digits) + ":" +
           upperHexadecimal(device.product, digits);
}

} // namespace

FakeHIDRaw::FakeHIDRaw() : ScriptedSystemCalls(nullptr) {
    std::filesystem::create_directories(paths().classDirectory);
    std::filesystem::create_directories(paths().deviceDirectory);
}

FakeHIDRaw::~FakeHIDRaw() {
    for (const auto& [descriptor, reader] : readers_) {
        ::close(reader.peer);
    }
}

int FakeHIDRaw::plug(const FakeHIDDevice& device) {
    int number = 0;
    while (devices_.contains(number)) {
        ++number;
    }
    ++plugged_;
    devices_[number] = {.what = device,
                        .directory = device.parent + "/" + numbersText(device, 4) + "." +
                                     upperHexadecimal(static_cast<std::uint32_t>(plugged_), 4),
                        .openError = 0,
                        .serial = plugged_};
    if (device.hasSysfs) {
        addSysfs(number);
    }
    if (device.hasNode) {
        addNode(number);
    }
    return number;
}

void FakeHIDRaw::addSysfs(int number) {
    const FakeHIDDevice& what = devices_.at(number).what;
    const std::string directory = deviceDirectory(number);
    const std::string name = "hidraw" + std::to_string(number);
    std::filesystem::create_directories(directory + "/hidraw/" + name);
    std::filesystem::create_directory_symlink("../..", directory + "/hidraw/" + name + "/device");
    for (const auto& [file, text] : what.usbFiles) {
        writeFile(joined({directory, "/../../", file}), text);
    }
    writeFile(directory + "/uevent",
              joined({"DRIVER=hid-generic\nHID_ID=", numbersText(what, 8), "\nHID_NAME=", what.name, "\nHID_PHYS=",
                      what.phys, "\nHID_UNIQ=", what.uniq, "\nMODALIAS=hid:b0003g0001v00001234p00005678\n"}));
    writeFile(directory + "/report_descriptor",
              {reinterpret_cast<const char*>(what.descriptor.data()), what.descriptor.size()});
    std::filesystem::create_directory_symlink("../.." + sysfsPath(number), paths().classDirectory + "/" + name);
}

void FakeHIDRaw::addNode(int number) {
    writeFile(nodePath(number), "");
}

void FakeHIDRaw::unplug(int number) {
    removeNode(number);
    removeSysfs(number);
    hangUp(number);
}

void FakeHIDRaw::removeNode(int number) {
    std::filesystem::remove(nodePath(number));
    deleted_.insert(devices_.at(number).serial);
}

void FakeHIDRaw::removeSysfs(int number) {
    std::filesystem::remove(paths().classDirectory + "/hidraw" + std::to_string(number));
    std::filesystem::remove_all(deviceDirectory(number));
}

void FakeHIDRaw::hangUp(int number) {
    for (auto& [descriptor, reader] : readers_) {
        if (reader.serial == devices_.at(number).serial && reader.peer >= 0) {
            ::close(reader.peer);
            reader.peer = -1;
        }
    }
    devices_.erase(number);
}

void FakeHIDRaw::send(int number, const std::vector<std::uint8_t>& report) {
    const auto device = devices_.find(number);
    for (const auto& [descriptor, reader] : readers_) {
        if (device != devices_.end() && reader.serial == device->second.serial) {
            ::send(reader.peer, report.data(), report.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        }
    }
}

void FakeHIDRaw::touchNode(int number) {
    std::filesystem::permissions(nodePath(number), std::filesystem::perms::owner_all);
}

std::string FakeHIDRaw::deviceDirectory(int number) const {
    return root_.path("sys/devices/" + devices_.at(number).directory);
}

std::string FakeHIDRaw::sysfsPath(int number) const {
    return "/devices/" + devices_.at(number).directory + "/hidraw/hidraw" + std::to_string(number);
}

std::vector<int> FakeHIDRaw::descriptors() const {
    std::vector<int> result;
    for (const auto& [descriptor, reader] : readers_) {
        result.push_back(descriptor);
    }
    return result;
}

int FakeHIDRaw::open(const char* path, int flags, mode_t mode) {
    const std::string prefix = paths().deviceDirectory + "/hidraw";
    const std::string text = path;
    EXPECT_EQ(flags & O_CLOEXEC, O_CLOEXEC) << text;
    if (!text.starts_with(prefix)) {
        return ScriptedSystemCalls::open(path, flags, mode);
    }
    ++opened[text.substr(paths().deviceDirectory.size() + 1)];
    if (!asked("open")) {
        return -1;
    }
    const auto device = devices_.find(std::stoi(text.substr(prefix.size())));
    const bool isThere = device != devices_.end() && ::access(path, F_OK) == 0;
    if (!isThere || device->second.openError != 0) {
        errno = isThere ? device->second.openError : ENOENT;
        return -1;
    }
    EXPECT_EQ(flags & (O_ACCMODE | O_NONBLOCK | O_CLOEXEC), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        return -1;
    }
    readers_[ends[0]] = {device->second.serial, ends[1]};
    return ends[0];
}

int FakeHIDRaw::close(int descriptor) {
    if (const auto reader = readers_.find(descriptor); reader != readers_.end()) {
        if (reader->second.peer >= 0) {
            ::close(reader->second.peer);
        }
        readers_.erase(reader);
    }
    return ScriptedSystemCalls::close(descriptor);
}

int FakeHIDRaw::fileStatus(int descriptor, struct stat* status) {
    const int result = ScriptedSystemCalls::fileStatus(descriptor, status);
    if (const auto reader = readers_.find(descriptor); result == 0 && reader != readers_.end()) {
        status->st_nlink = deleted_.contains(reader->second.serial) ? 0 : 1;
    }
    return result;
}

} // namespace qz::platform::tests
