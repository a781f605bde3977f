// SPDX-License-Identifier: MIT
#pragma once

#include "tests/kernel/support/HIDNodes.h"

#include <memory>

namespace qz::tests {

/// A way to learn what a pad sends.
class Reader {
public:
    Reader() = default;
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    virtual ~Reader() = default;

    /// Waits until the change of a button has arrived. Throws when none does.
    virtual void receive() = 0;
};

/// Polls the node and reads it: what every reader has to do at least.
std::unique_ptr<Reader> makeBareReader(const HIDNodes& nodes);
/// The library, up to the delegate's call.
std::unique_ptr<Reader> makeLibraryReader(const HIDNodes& nodes);
/// SDL2, up to the event.
std::unique_ptr<Reader> makeSDLReader(const HIDNodes& nodes);

} // namespace qz::tests
