// SPDX-License-Identifier: MIT
#pragma once

#include "tests/kernel/support/FileDescriptor.h"

#include <functional>
#include <map>
#include <string>

namespace qz::tests {

/// What the kernel tells udev: devices that come, find a driver and go. Made before something is set off, it can wait
/// for what follows from it.
class KernelEvents {
public:
    /// One event: "ACTION", "DEVPATH", "SUBSYSTEM" and what else belongs to the kind of device.
    using Event = std::map<std::string, std::string, std::less<>>;

    KernelEvents();

    /// The next event that `isWanted` accepts. Throws, with the name of what is awaited, when none comes within five
    /// seconds. Calls `meanwhile` whenever `watched`, another descriptor, is readable.
    Event await(const std::string& what, const std::function<bool(const Event&)>& isWanted, int watched = -1,
                const std::function<void()>& meanwhile = nullptr);

private:
    Event receive() const;

    FileDescriptor socket_;
};

} // namespace qz::tests
