// SPDX-License-Identifier: MIT
#include "tests/support/ElementHeapMeter.h"

#include <array>
#include <cstdlib>
#include <new>

namespace {

struct Block {
    void* address;
    std::size_t size;
};

// No header in front of the blocks and no container: the sanitizers and valgrind see the program's own blocks.
bool metering = false;
std::size_t allocationCount = 0;
std::size_t blockCount = 0;
std::array<Block, 16384> blocks{};

void* allocate(std::size_t size) noexcept {
    void* const address = std::malloc(size != 0 ? size : 1);
    if (metering && address != nullptr) {
        ++allocationCount;
        if (blockCount == blocks.size()) {
            std::abort();
        }
        blocks[blockCount++] = {address, size};
    }
    return address;
}

void* allocateOrThrow(std::size_t size) {
    void* const address = allocate(size);
    if (address == nullptr) {
        throw std::bad_alloc();
    }
    return address;
}

void release(void* address) noexcept {
    if (metering) {
        for (std::size_t i = blockCount; i-- > 0;) {
            if (blocks[i].address == address) {
                blocks[i] = blocks[--blockCount];
                break;
            }
        }
    }
    std::free(address);
}

} // namespace

void* operator new(std::size_t size) {
    return allocateOrThrow(size);
}
void* operator new[](std::size_t size) {
    return allocateOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return allocate(size);
}
void operator delete(void* address) noexcept {
    release(address);
}
void operator delete[](void* address) noexcept {
    release(address);
}
void operator delete(void* address, std::size_t /*size*/) noexcept {
    release(address);
}
void operator delete[](void* address, std::size_t /*size*/) noexcept {
    release(address);
}
void operator delete(void* address, const std::nothrow_t& /*tag*/) noexcept {
    release(address);
}
void operator delete[](void* address, const std::nothrow_t& /*tag*/) noexcept {
    release(address);
}

namespace qz::platform {

ElementHeapMeter::ElementHeapMeter() {
    allocationCount = 0;
    blockCount = 0;
    metering = true;
}

ElementHeapMeter::~ElementHeapMeter() {
    metering = false;
}

std::size_t ElementHeapMeter::allocations() const {
    return allocationCount;
}

std::size_t ElementHeapMeter::liveBytes() const {
    std::size_t sum = 0;
    for (std::size_t i = 0; i < blockCount; ++i) {
        sum += blocks[i].size;
    }
    return sum;
}

} // namespace qz::platform
