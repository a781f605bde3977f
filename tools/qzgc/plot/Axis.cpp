// SPDX-License-Identifier: MIT
#include "tools/qzgc/plot/Axis.h"

#include <algorithm>

namespace qz::tools {

namespace {

struct Step {
    std::int64_t size = 1;
    int zeros = 0; ///< at the end of it, and of all its multiples
};

/// The smallest step that is not below `least`. Values stay far enough from the limits of 64 bits for ten times theirs.
Step stepFor(std::int64_t least) {
    Step step;
    for (std::int64_t power = 1;; power *= 10) {
        for (const std::int64_t digit : {1, 2, 5}) {
            step.size = digit * power;
            if (step.size >= least || step.size > INT64_MAX / 10) {
                return step;
            }
        }
        ++step.zeros;
    }
}

} // namespace

std::string decimalText(std::int64_t value, int decimals, int dropped) {
    std::string digits = std::to_string(value < 0 ? -value : value);
    const auto places = static_cast<std::size_t>(decimals);
    if (digits.size() <= places) {
        digits.insert(0, places + 1 - digits.size(), '0');
    }
    if (decimals > 0) {
        digits.insert(digits.size() - places, 1, '.');
        digits.resize(digits.size() - static_cast<std::size_t>(std::min(dropped, decimals)));
        if (digits.back() == '.') {
            digits.pop_back();
        }
    }
    return (value < 0 ? "-" : "") + digits;
}

std::vector<Tick> ticksBetween(std::int64_t low, std::int64_t high, int most, int decimals) {
    const Step step = stepFor((high - low + most - 1) / most);
    std::int64_t first = low / step.size * step.size;
    if (first < low) {
        first += step.size;
    }
    std::vector<Tick> ticks;
    for (std::int64_t value = first; value <= high; value += step.size) {
        ticks.push_back({value, decimalText(value, decimals, step.zeros)});
    }
    return ticks;
}

} // namespace qz::tools
