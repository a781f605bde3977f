// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace qz::tests {

/// What it takes to get at all controllers that are plugged in.
struct ConnectingCost {
    double microseconds = 0;      ///< in a new process
    double microsecondsAgain = 0; ///< in a process that has done it before
    std::size_t systemCalls = 0;
};

/// A program that lists the nodes, reads their descriptors and opens them, each in a process of its own.
ConnectingCost connectBare(std::size_t devices);
/// The library, from making the manager until the delegate has been told of all.
ConnectingCost connectWithTheLibrary(std::size_t devices);

} // namespace qz::tests
