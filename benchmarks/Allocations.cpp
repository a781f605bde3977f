// SPDX-License-Identifier: MIT
#include "benchmarks/Allocations.h"

#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <new>

namespace {

qz::bench::Allocations total;

void giveBack(void* memory) {
    total.live -= malloc_usable_size(memory);
    std::free(memory);
}

} // namespace

namespace qz::bench {

Allocations allocations() {
    return total;
}

void beginPeak() {
    total.peak = total.live;
}

} // namespace qz::bench

// Replaced for the whole process, the library included.
void* operator new(std::size_t size) {
    if (void* const memory = std::malloc(size != 0 ? size : 1)) {
        ++total.count;
        total.bytes += size;
        total.live += malloc_usable_size(memory);
        total.peak = std::max(total.peak, total.live);
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    giveBack(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    giveBack(memory);
}
