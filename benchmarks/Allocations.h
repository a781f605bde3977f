// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace qz::bench {

/// What operator new has handed out so far in this process.
struct Allocations {
    std::size_t count = 0;
    std::size_t bytes = 0;
};
Allocations allocations();

} // namespace qz::bench
