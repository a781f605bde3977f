// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace qz::test {

/// The allocations by operator new since this object was made. For programs that are linked with
/// CountedAllocations.cpp, which replaces the operator.
class CountedAllocations {
public:
    CountedAllocations() : before_(total()) {}
    std::size_t count() const { return total() - before_; }

private:
    static std::size_t total();

    std::size_t before_;
};

} // namespace qz::test
