// SPDX-License-Identifier: MIT
#pragma once

#include "platform/report/ReportDescriptor.h"

#include <cstdlib>

namespace qz::test {

/// Ends the process, as a fuzzer expects it, when what must hold does not.
inline void check(bool holds) {
    if (!holds) {
        std::abort();
    }
}

/// What holds for every descriptor that was not refused.
inline void checkDescriptor(const platform::ReportDescriptor& descriptor) {
    using Limits = platform::ReportDescriptorLimits;
    const auto& elements = descriptor.elements;
    check(elements.size() <= Limits::elements && descriptor.parents.size() == elements.size());
    std::vector<std::size_t> depths;
    std::size_t memberships = 0;
    for (std::size_t i = 0; i < elements.size(); ++i) {
        const std::uint32_t parent = descriptor.parents[i];
        const bool isTop = parent == platform::ReportDescriptor::noParent;
        check(elements[i].cookie == i + 1 && elements[i].usagePage <= 0xffff && elements[i].usage <= 0xffff);
        check(isTop || (parent < i && elements[parent].type == platform::kIOHIDElementTypeCollection));
        depths.push_back(isTop ? 0 : depths[parent] + 1);
        check(depths.back() <= Limits::collectionDepth);
        memberships += depths.back();
    }
    check(memberships <= Limits::memberships);
    std::size_t nextElement = 0;
    for (const platform::ReportInput& input : descriptor.inputs) {
        check(input.reportID <= 255 && (input.reportID == 0 || descriptor.inputHasReportIDs));
        check(input.field.width >= 1 && input.field.width <= 32 && input.count >= 1);
        check(input.field.offset + std::uint64_t{input.field.width} * input.count <= Limits::reportBytes * 8);
        check(input.isArray ? input.elementCount <= Limits::arrayUsages : input.elementCount == input.count);
        check(input.firstElement >= nextElement && input.elementCount >= 1);
        nextElement = input.firstElement + input.elementCount;
        check(nextElement <= elements.size());
    }
}

} // namespace qz::test
