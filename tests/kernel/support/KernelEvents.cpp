// SPDX-License-Identifier: MIT
#include "tests/kernel/support/KernelEvents.h"

#include <array>
#include <chrono>
#include <linux/netlink.h>
#include <poll.h>
#include <string_view>
#include <sys/socket.h>

namespace qz::tests {

KernelEvents::KernelEvents() : socket_(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_KOBJECT_UEVENT)) {
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = 1; // the kernel's own events, in lib/kobject_uevent.c; udevd passes them on as group 2
    if (!socket_ || ::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        throw std::system_error(errno, std::generic_category(), "the socket of the kernel's events");
    }
}

KernelEvents::Event KernelEvents::receive() const {
    std::array<char, 8192> buffer{};
    const ssize_t count = ::recv(socket_.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
    Event event;
    std::string_view rest(buffer.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    // A headline, then "KEY=value", each with a zero at its end.
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, rest.find('\0'));
        const std::size_t equals = line.find('=');
        if (equals != std::string_view::npos) {
            event.emplace(line.substr(0, equals), line.substr(equals + 1));
        }
        rest.remove_prefix(std::min(rest.size(), line.size() + 1));
    }
    return event;
}

KernelEvents::Event KernelEvents::await(const std::string& what, const std::function<bool(const Event&)>& isWanted,
                                        int watched, const std::function<void()>& meanwhile) {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::seconds(5);
    std::array<pollfd, 2> ready{{{socket_.get(), POLLIN, 0}, {watched, POLLIN, 0}}};
    while (true) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
        if (left <= 0 || ::poll(ready.data(), ready.size(), static_cast<int>(left)) == 0) {
            throw std::runtime_error("waited in vain for " + what);
        }
        if (ready[1].revents != 0 && meanwhile) {
            meanwhile();
        }
        if (ready[0].revents != 0) {
            if (Event event = receive(); isWanted(event)) {
                return event;
            }
        }
    }
}

} // namespace qz::tests
