// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace qz::bench {

/// What operator new has handed out so far in this process.
struct Allocations {
    std::size_t count = 0;
    std::size_t bytes = 0;
    std::size_t live = 0; ///< bytes not given back yet, with what the allocator adds to each
    std::size_t peak = 0; ///< the most of them at a time since `beginPeak`
};
Allocations allocations();

/// Counts the peak anew, from what is live now.
void beginPeak();

} // namespace qz::bench
