// SPDX-License-Identifier: MIT
#include "tools/qzgc/monitor/Meters.h"

#include <algorithm>

namespace qz::tools {

namespace {

std::int64_t tenthOf(Moment now) {
    return now / std::chrono::milliseconds(100);
}

} // namespace

void RateMeter::count(Moment now) {
    const std::int64_t tenth = std::max(tenthOf(now), latest_);
    for (std::int64_t each = std::max(latest_ + 1, tenth - tenths); each <= tenth; ++each) {
        counts_[static_cast<std::size_t>(each % (tenths + 1))] = 0;
    }
    latest_ = tenth;
    ++counts_[static_cast<std::size_t>(tenth % (tenths + 1))];
}

std::uint32_t RateMeter::perSecond(Moment now) const {
    std::uint32_t sum = 0;
    const std::int64_t tenth = std::max(tenthOf(now), latest_);
    for (std::int64_t each = std::max<std::int64_t>(tenth - tenths, 0); each < tenth; ++each) {
        // What is not among the latest was never cleared for `each`.
        sum += each <= latest_ && each >= latest_ - tenths ? counts_[static_cast<std::size_t>(each % (tenths + 1))] : 0;
    }
    return sum;
}

bool RateMeter::changesByItself(Moment now) const {
    const std::int64_t tenth = std::max(tenthOf(now), latest_);
    return perSecond(now) != 0 || (tenth == latest_ && counts_[static_cast<std::size_t>(tenth % (tenths + 1))] != 0);
}

void SpreadMeter::add(std::int64_t value, Moment now) {
    const std::int64_t tenth = std::max(tenthOf(now), latest_);
    if (!first_) {
        first_ = tenth;
        latest_ = tenth;
        extents_.fill({value, value});
    }
    for (std::int64_t each = std::max(latest_ + 1, tenth - tenths + 1); each <= tenth; ++each) {
        extents_[static_cast<std::size_t>(each % tenths)] = {value_, value_}; // it was held meanwhile
    }
    latest_ = tenth;
    value_ = value;
    Extent& extent = extents_[static_cast<std::size_t>(tenth % tenths)];
    extent = {std::min(extent.least, value), std::max(extent.most, value)};
}

std::optional<std::uint64_t> SpreadMeter::spread(Moment now) const {
    const std::int64_t tenth = std::max(tenthOf(now), latest_);
    if (!first_ || tenth - *first_ <= tenths) {
        return std::nullopt;
    }
    Extent whole = {value_, value_};
    for (std::int64_t each = tenth - tenths + 1; each <= latest_; ++each) {
        const Extent& extent = extents_[static_cast<std::size_t>(each % tenths)];
        whole = {std::min(whole.least, extent.least), std::max(whole.most, extent.most)};
    }
    return static_cast<std::uint64_t>(whole.most) - static_cast<std::uint64_t>(whole.least);
}

bool SpreadMeter::changesByItself(Moment now) const {
    return first_ && spread(now) != std::optional<std::uint64_t>(0);
}

} // namespace qz::tools
