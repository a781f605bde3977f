// SPDX-License-Identifier: MIT
#pragma once

#include "tests/kernel/speed/Costs.h"

#include <cstddef>

namespace qz::tests {

/// What it takes to get at all controllers, so many, that are plugged in: a program that lists the nodes, reads their
/// descriptors and opens them.
Work connectingBare(std::size_t devices);
/// The same by the library, from making the manager until the delegate has been told of all.
Work connectingWithTheLibrary(std::size_t devices);

} // namespace qz::tests
