// SPDX-License-Identifier: MIT
#include "platform/report/ReportUsages.h"

#include <utility>

namespace qz::platform {

namespace {

std::uint32_t pageOf(std::uint32_t data) {
    return data >> 16U;
}

std::uint16_t usageOf(std::uint32_t data) {
    return static_cast<std::uint16_t>(data);
}

} // namespace

void UsageList::addUsage(std::uint32_t data, std::uint32_t pageInForce) {
    const bool isShort = pageOf(data) == 0;
    add({isShort ? pageInForce : pageOf(data), usageOf(data), usageOf(data), isShort});
}

void UsageList::addRange(std::uint32_t data, std::uint32_t pageInForce) {
    const std::uint32_t ownPage = pageOf(data) != 0 ? pageOf(data) : pageOf(minimum_);
    add({ownPage != 0 ? ownPage : pageInForce, usageOf(minimum_), usageOf(data), ownPage == 0});
}

void UsageList::add(const Range& range) {
    const bool isFurtherAlternative = isDelimited_ && std::exchange(hasAlternative_, true);
    const bool isEmpty = range.to < range.from;
    if (!isFurtherAlternative && !isEmpty) {
        ranges_.push_back(range);
    }
}

void UsageList::setDelimited(bool open) {
    if (open != isDelimited_) {
        isDelimited_ = open;
        hasAlternative_ = false;
    }
}

void UsageList::clear() {
    ranges_.clear();
    minimum_ = 0;
    setDelimited(false);
}

void UsageList::settlePages(std::uint32_t pageInForce) {
    for (std::size_t i = ranges_.size(); i-- > 0;) {
        Range& range = ranges_[i];
        if (!range.isShort) {
            continue;
        }
        if (range.usagePage == pageInForce) {
            return;
        }
        range.usagePage = pageInForce;
    }
}

std::uint64_t UsageList::count() const noexcept {
    std::uint64_t count = 0;
    for (const Range& range : ranges_) {
        count += 1U + range.to - range.from;
    }
    return count;
}

std::optional<HIDUsagePair> UsageList::first() const {
    if (ranges_.empty()) {
        return std::nullopt;
    }
    return HIDUsagePair{ranges_.front().usagePage, ranges_.front().from};
}

HIDUsagePair UsageList::Walk::next() {
    const Range& range = list_.ranges_[range_];
    const HIDUsagePair usage{range.usagePage, range.from + step_};
    if (usage.usage < range.to) {
        ++step_;
    } else if (range_ + 1 < list_.ranges_.size()) {
        ++range_;
        step_ = 0;
    }
    return usage;
}

} // namespace qz::platform
