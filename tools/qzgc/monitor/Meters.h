// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>

namespace qz::tools {

/// Time as a view sees it: since its beginning.
using Moment = std::chrono::microseconds;

/// How often something happened in the latest whole second, counted in tenths.
class RateMeter {
public:
    void count(Moment now);

    /// The tenth in progress is left out, so that a steady rate stays one number.
    std::uint32_t perSecond(Moment now) const;

    /// Whether the rate will be another one without anything's happening.
    bool changesByItself(Moment now) const;

private:
    static constexpr std::int64_t tenths = 10;

    std::array<std::uint32_t, tenths + 1> counts_{};
    std::int64_t latest_ = 0; ///< tenth of `counts_[latest_ % (tenths + 1)]`
};

/// How much a value moved within about the latest second: the largest minus the smallest one, that at its beginning
/// included.
class SpreadMeter {
public:
    void add(std::int64_t value, Moment now);

    /// Nothing before values have been known for a whole second.
    std::optional<std::uint64_t> spread(Moment now) const;

    bool changesByItself(Moment now) const;

private:
    static constexpr std::int64_t tenths = 10;

    struct Extent {
        std::int64_t least = 0;
        std::int64_t most = 0;
    };

    std::optional<std::int64_t> first_; ///< the tenth of the first value
    std::int64_t latest_ = 0;
    std::int64_t value_ = 0;
    std::array<Extent, tenths> extents_{};
};

} // namespace qz::tools
