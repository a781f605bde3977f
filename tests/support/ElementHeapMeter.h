// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace qz::platform {

/// Counts what this test program takes from `operator new` while it lives; one at a time.
///
/// Valgrind puts its own operators in the place of a program's: run it with
/// --soname-synonyms=somalloc=nouserintercepts, else the meter sees nothing.
class ElementHeapMeter {
public:
    ElementHeapMeter();
    ~ElementHeapMeter();
    ElementHeapMeter(const ElementHeapMeter&) = delete;
    ElementHeapMeter& operator=(const ElementHeapMeter&) = delete;

    /// The allocations so far.
    std::size_t allocations() const;

    /// The bytes asked for by those allocations so far that have not been given back.
    std::size_t liveBytes() const;
};

} // namespace qz::platform
