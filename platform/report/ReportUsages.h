// SPDX-License-Identifier: MIT
#pragma once

#include "platform/HIDDevice.h"

namespace qz::platform {

/// The usages that the local items before one main item declare, in their order, ranges kept as ranges (HID 1.11
/// section 6.2.2.8).
class UsageList {
public:
    /// Usage: `data` is a short usage of `pageInForce`, or carries its own page in the upper half.
    void addUsage(std::uint32_t data, std::uint32_t pageInForce);
    /// Usage Minimum: where the ranges begin that follow.
    void setMinimum(std::uint32_t data) { minimum_ = data; }
    /// Usage Maximum: the range from the last minimum, or from 0. One that ends below its beginning is empty.
    void addRange(std::uint32_t data, std::uint32_t pageInForce);
    /// Delimiter: of what stands between open and close, alternatives of one usage, the first one counts, also when it
    /// is an empty range.
    void setDelimited(bool open);
    /// Ends the local items.
    void clear();

    /// To be called at the main item, where `pageInForce` may be another page than at the last short usage. Then the
    /// page was named after the usages that it is meant for: that usage takes it, and so do the short ones before it,
    /// back to the first that has it already. A single page for all would break the pads that have several in one
    /// field; none at all would leave those without a page that name it late.
    void settlePages(std::uint32_t pageInForce);

    bool empty() const noexcept { return ranges_.empty(); }
    /// How many usages there are, ranges counted out.
    std::uint64_t count() const noexcept;
    std::optional<HIDUsagePair> first() const;

    /// Goes through the usages one by one; the last one repeats without end. The list must not be empty.
    class Walk {
    public:
        explicit Walk(const UsageList& list) : list_(list) {}

        HIDUsagePair next();

    private:
        const UsageList& list_;
        std::size_t range_ = 0;
        std::uint32_t step_ = 0;
    };

private:
    struct Range {
        std::uint32_t usagePage;
        std::uint16_t from;
        std::uint16_t to; // not below `from`
        bool isShort;     // without a page of its own
    };

    void add(const Range& range);

    std::vector<Range> ranges_;
    std::uint32_t minimum_ = 0;
    bool isDelimited_ = false;
    bool hasAlternative_ = false; // of the delimited set that is open
};

} // namespace qz::platform
