// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/Host.h"

#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace qz::tests {

/// A kind of host, of which every test makes one of its own.
struct HostKind {
    std::string name; ///< letters and digits: part of the tests' names
    std::unique_ptr<Host> (*make)();

    friend std::ostream& operator<<(std::ostream& out, const HostKind& kind) { return out << kind.name; }
};

/// All hosts that the stories run over. Every program with stories has one such function, the one place where another
/// is added.
std::vector<HostKind> hostKinds();

inline std::string hostName(const ::testing::TestParamInfo<HostKind>& info) {
    return info.param.name;
}

} // namespace qz::tests

/// Runs the stories of `suite`, a TEST_P fixture with a HostKind as its parameter, over all hosts.
#define QZ_TELL_OVER_ALL_HOSTS(suite)                                                                                  \
    INSTANTIATE_TEST_SUITE_P(Over, suite, ::testing::ValuesIn(::qz::tests::hostKinds()), ::qz::tests::hostName)
