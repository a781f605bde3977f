// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <functional>

namespace qz::tests {

/// What is measured: what happens between its two calls of `mark`. It runs in a child; false when it did not work, and
/// then the measurement throws.
using Work = std::function<bool(const std::function<void()>& mark)>;

/// The time that the last of some repetitions takes.
double microsecondsOf(const Work& work, int repetitions = 1);
std::size_t systemCallsOf(const Work& work);

} // namespace qz::tests
