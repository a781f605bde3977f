// SPDX-License-Identifier: MIT
#include "tests/support/CountedAllocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> allocations = 0;

void* counted(std::size_t size, std::size_t alignment) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    // Sizes are rounded up because aligned_alloc takes multiples of the alignment only.
    void* const memory = std::aligned_alloc(alignment, (size + alignment) / alignment * alignment);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

} // namespace

std::size_t qz::test::CountedAllocations::total() {
    return allocations.load(std::memory_order_relaxed);
}

// The forms for arrays call these; so do those that do not throw, but a sanitizer brings its own of them.
void* operator new(std::size_t size) {
    return counted(size, __STDCPP_DEFAULT_NEW_ALIGNMENT__);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return counted(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    try {
        return counted(size, __STDCPP_DEFAULT_NEW_ALIGNMENT__);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::align_val_t /*alignment*/) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
    std::free(memory);
}
