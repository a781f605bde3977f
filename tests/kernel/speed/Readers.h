// SPDX-License-Identifier: MIT
#pragma once

#include "tests/kernel/support/HIDNodes.h"

#include <chrono>
#include <memory>

namespace qz::tests {

/// A way to learn what a pad sends.
class Reader {
public:
    Reader() = default;
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    virtual ~Reader() = default;

    using Clock = std::chrono::steady_clock;

    /// Waits until the change of a button has arrived, and answers when the program had it. Throws when none does.
    virtual Clock::time_point receive() = 0;
};

/// Polls the node and reads it: what every reader has to do at least.
std::unique_ptr<Reader> makeBareReader(const HIDNodes& nodes);
/// The library, up to the delegate's call, in a program that waits in the library's run loop.
std::unique_ptr<Reader> makeLibraryReader(const HIDNodes& nodes);
/// The library in a program that polls the run loop's descriptor from a loop of its own.
std::unique_ptr<Reader> makePollingLibraryReader(const HIDNodes& nodes);
/// SDL2, up to the event.
std::unique_ptr<Reader> makeSDLReader(const HIDNodes& nodes);

} // namespace qz::tests
