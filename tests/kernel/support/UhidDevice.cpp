// SPDX-License-Identifier: MIT
#include "tests/kernel/support/UhidDevice.h"

#include "tests/kernel/support/KernelEvents.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <linux/uhid.h>

namespace qz::tests {

namespace {

constexpr std::size_t headBytes = sizeof(uhid_event::type);

void copyText(std::span<__u8> to, const std::string& from) {
    std::memcpy(to.data(), from.data(), std::min(from.size(), to.size() - 1));
}

std::string newPhys() {
    static std::atomic<unsigned> count = 0;
    return "qzgc-" + std::to_string(::getpid()) + "-" + std::to_string(++count) + "/input0";
}

void create(int uhid, const UhidDescription& description, const std::string& phys) {
    uhid_event event{};
    event.type = UHID_CREATE2;
    uhid_create2_req& request = event.u.create2;
    copyText(request.name, description.name);
    copyText(request.phys, phys);
    copyText(request.uniq, description.uniq);
    request.bus = description.bus;
    request.vendor = description.vendor;
    request.product = description.product;
    request.version = description.version;
    const std::size_t size = std::min<std::size_t>(description.descriptor.size(), sizeof request.rd_data);
    request.rd_size = static_cast<__u16>(size);
    std::memcpy(request.rd_data, description.descriptor.data(), size);
    if (::write(uhid, &event, headBytes + sizeof request) < 0) {
        throw std::system_error(errno, std::generic_category(), "UHID_CREATE2 of " + description.name);
    }
}

} // namespace

UhidDevice::UhidDevice(const UhidDescription& description)
    : uhid_("/dev/uhid", O_RDWR | O_NONBLOCK),
      phys_(description.phys.empty() ? newPhys() : description.phys.substr(0, sizeof(uhid_create2_req::phys) - 1)) {
    KernelEvents events;
    create(uhid_.get(), description, phys_);
    // Only now does the driver let reports pass: while it is being bound, hid_input_report in drivers/hid/hid-core.c
    // drops them, although the nodes are there already.
    const auto isBound = [&](const KernelEvents::Event& event) {
        const auto is = [&](const char* key, std::string_view value) {
            const auto found = event.find(key);
            return found != event.end() && found->second == value;
        };
        return is("ACTION", "bind") && is("SUBSYSTEM", "hid") && is("HID_PHYS", phys_) &&
               is("HID_NAME", std::string_view(description.name).substr(0, sizeof(uhid_create2_req::name) - 1));
    };
    nodes_ = nodesOf(
        "/sys" +
        events.await("a driver for " + description.name, isBound, uhid_.get(), [this] { answer(); }).at("DEVPATH"));
}

UhidDevice::~UhidDevice() = default; // closing /dev/uhid unplugs

/// The kernel asks some devices for features, or sets them, when it takes them in, and would wait for an answer for
/// seconds.
void UhidDevice::answer() const {
    uhid_event event{};
    if (::read(uhid_.get(), &event, sizeof event) < 0) {
        return;
    }
    uhid_event reply{};
    if (event.type == UHID_GET_REPORT) {
        reply.type = UHID_GET_REPORT_REPLY;
        reply.u.get_report_reply.id = event.u.get_report.id;
        reply.u.get_report_reply.err = EIO;
    } else if (event.type == UHID_SET_REPORT) {
        reply.type = UHID_SET_REPORT_REPLY;
        reply.u.set_report_reply.id = event.u.set_report.id;
        reply.u.set_report_reply.err = EIO;
    } else {
        return;
    }
    if (::write(uhid_.get(), &reply, sizeof reply) < 0) {
        throw std::system_error(errno, std::generic_category(), "the answer to a request of the kernel's");
    }
}

bool UhidDevice::send(std::span<const std::uint8_t> report) {
    uhid_event event; // no more of it is written than is set here
    event.type = UHID_INPUT2;
    const std::size_t size = std::min<std::size_t>(report.size(), sizeof event.u.input2.data);
    event.u.input2.size = static_cast<__u16>(size);
    std::memcpy(event.u.input2.data, report.data(), size);
    return ::write(uhid_.get(), &event, headBytes + sizeof event.u.input2.size + size) >= 0;
}

void UhidDevice::unplug() {
    uhid_event event{};
    event.type = UHID_DESTROY;
    // One that is unplugged already has been closed.
    if (uhid_ && ::write(uhid_.get(), &event, headBytes) < 0) {
        throw std::system_error(errno, std::generic_category(), "UHID_DESTROY");
    }
    uhid_.close();
}

} // namespace qz::tests
