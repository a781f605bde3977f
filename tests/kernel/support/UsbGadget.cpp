// SPDX-License-Identifier: MIT
#include "tests/kernel/support/UsbGadget.h"

#include "tests/kernel/support/KernelEvents.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <poll.h>

namespace qz::tests {

namespace {

std::string hexadecimal(unsigned number) {
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), "0x%04x", number);
    return text.data();
}

std::string controllerAt(int port) {
    return "dummy_udc." + std::to_string(port);
}

bool isSet(const KernelEvents::Event& event, const char* key, std::string_view value) {
    const auto found = event.find(key);
    return found != event.end() && found->second == value;
}

} // namespace

UsbGadget::UsbGadget(const std::string& name, const UsbDescription& description)
    : directory_("/sys/kernel/config/usb_gadget/" + name) {
    for (const char* const part : {"", "/strings/0x409", "/functions/hid.usb0", "/configs/c.1"}) {
        std::filesystem::create_directory(directory_ + part);
    }
    write("idVendor", hexadecimal(description.vendorID));
    write("idProduct", hexadecimal(description.productID));
    write("bcdDevice", hexadecimal(description.release));
    write("strings/0x409/manufacturer", description.manufacturer);
    write("strings/0x409/product", description.product);
    if (!description.serialNumber.empty()) {
        write("strings/0x409/serialnumber", description.serialNumber);
    }
    write("functions/hid.usb0/report_length", std::to_string(description.reportBytes));
    write("functions/hid.usb0/report_desc",
          {reinterpret_cast<const char*>(description.descriptor.data()), description.descriptor.size()});
    std::filesystem::create_symlink(directory_ + "/functions/hid.usb0", directory_ + "/configs/c.1/hid.usb0");
}

UsbGadget::~UsbGadget() {
    try {
        unplug();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
    }
    std::error_code ignored;
    std::filesystem::remove(directory_ + "/configs/c.1/hid.usb0", ignored);
    for (const char* const part : {"/configs/c.1", "/functions/hid.usb0", "/strings/0x409", ""}) {
        std::filesystem::remove(directory_ + part, ignored);
    }
}

void UsbGadget::write(const std::string& file, std::string_view text) const {
    const FileDescriptor attribute(directory_ + "/" + file, O_WRONLY);
    if (::write(attribute.get(), text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        throw std::system_error(errno, std::generic_category(), directory_ + "/" + file);
    }
}

void UsbGadget::plug(int port) {
    KernelEvents events;
    write("UDC", controllerAt(port));
    // A bus has one port, and the path of what is plugged in there begins with its controller.
    const std::string below = "/dummy_hcd." + std::to_string(port) + "/";
    const KernelEvents::Event bound = events.await("the host to find " + directory_, [&](const auto& event) {
        return isSet(event, "ACTION", "bind") && isSet(event, "SUBSYSTEM", "hid") &&
               event.at("DEVPATH").find(below) != std::string::npos;
    });
    nodes_ = nodesOf("/sys" + bound.at("DEVPATH"));
    // From the number of the function's node to its name, whatever other gadgets there are.
    std::string number;
    std::getline(std::ifstream(directory_ + "/functions/hid.usb0/dev"), number);
    const auto node = std::filesystem::canonical("/sys/dev/char/" + number).filename();
    device_ = FileDescriptor("/dev/" + node.string(), O_RDWR | O_NONBLOCK);
}

void UsbGadget::unplug() {
    if (nodes_.directory.empty()) {
        return;
    }
    device_.close();
    KernelEvents events;
    const std::string path = std::exchange(nodes_, {}).directory.substr(std::strlen("/sys"));
    write("UDC", "\n");
    events.await("the host to lose " + directory_,
                 [&](const auto& event) { return isSet(event, "ACTION", "remove") && isSet(event, "DEVPATH", path); });
}

bool UsbGadget::send(std::span<const std::uint8_t> report) const {
    pollfd writable{device_.get(), POLLOUT, 0};
    const bool isWritten = ::poll(&writable, 1, 5000) == 1 && (writable.revents & POLLOUT) != 0 &&
                           ::write(device_.get(), report.data(), report.size()) == static_cast<ssize_t>(report.size());
    // Writable again: the host has fetched it.
    return isWritten && ::poll(&writable, 1, 5000) == 1;
}

int UsbGadget::ports() {
    int count = 0;
    while (std::filesystem::exists("/sys/class/udc/" + controllerAt(count))) {
        ++count;
    }
    return count;
}

} // namespace qz::tests
