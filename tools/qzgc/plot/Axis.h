// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qz::tools {

/// A place on an axis where a value is written.
struct Tick {
    std::int64_t value;
    std::string label;

    friend bool operator==(const Tick&, const Tick&) = default;
};

/// The ticks from `low` to `high`, whole multiples of 1, 2 or 5 times a power of ten, at most `most` of them and one
/// more. `decimals`: how many of a value's last digits come after the point, 6 for microseconds in seconds.
std::vector<Tick> ticksBetween(std::int64_t low, std::int64_t high, int most, int decimals = 0);

/// `value` with its last `decimals` digits after the point, of which the last `dropped` are left out.
std::string decimalText(std::int64_t value, int decimals, int dropped = 0);

} // namespace qz::tools
