// SPDX-License-Identifier: MIT
#include "benchmarks/Allocations.h"

#include <cstdlib>
#include <new>

namespace {

qz::bench::Allocations total;

} // namespace

namespace qz::bench {

Allocations allocations() {
    return total;
}

} // namespace qz::bench

// Replaced for the whole process, the library included.
void* operator new(std::size_t size) {
    ++total.count;
    total.bytes += size;
    if (void* const memory = std::malloc(size != 0 ? size : 1)) {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
