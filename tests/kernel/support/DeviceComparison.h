// SPDX-License-Identifier: MIT
#pragma once

#include "platform/report/ReportDescriptor.h"
#include "tests/kernel/support/EvdevNode.h"
#include "tests/kernel/support/HIDNodes.h"

#include <map>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <vector>

namespace qz::tests {

struct ComparisonCounts {
    std::size_t compared = 0;
    std::size_t agreeing = 0;
    std::map<std::string, std::size_t> reasons; ///< of those that differ
};

/// Holds what the library knows of a device's elements against what the kernel's input layer knows of its keys and
/// axes, wherever the kernel has made one event of one field.
class DeviceComparison {
public:
    DeviceComparison(const qz::platform::ReportDescriptor& descriptor, const HIDNodes& nodes);

    /// The library has delivered a value.
    void setValue(std::uint32_t cookie, std::int64_t value) { values_.at(cookie - 1) = value; }

    /// Compares all elements that have a value after a report; false when a difference has no known reason, which
    /// `fault` then describes.
    bool compare();
    const std::string& fault() const noexcept { return fault_; }

    /// Writes the device's line of the table and adds it to the sum.
    void tellAs(const std::string& name, std::size_t reports) const;
    static ComparisonCounts& sum();

private:
    struct Pair {
        std::uint32_t element; ///< index
        std::size_t node;      ///< index
        EvdevNode::Code code;
    };
    struct Usage {
        std::vector<std::uint32_t> elements;
        std::vector<EvdevNode::Code> codes;
    };

    void pairUp();
    std::map<std::uint32_t, Usage> usages() const;
    std::optional<std::size_t> nodeWith(EvdevNode::Code code) const;
    bool hasRolledOver() const;
    std::string whyNothing() const;
    std::string reasonFor(const Pair& pair, std::int64_t value) const;

    const qz::platform::ReportDescriptor& descriptor_;
    HIDNodes paths_;
    std::vector<EvdevNode> nodes_;
    std::vector<Pair> pairs_;
    std::size_t inputElements_ = 0;
    std::vector<std::optional<std::int64_t>> values_;
    ComparisonCounts counts_;
    std::string fault_;
};

/// How long the input reports are, by their IDs, which are not counted: with all padding, because the kernel drops what
/// is shorter. Counted apart from the library's own reading of descriptors; those with Push and Pop around sizes are
/// none of the devices here.
std::map<std::uint32_t, std::size_t> inputReportBytes(std::span<const std::uint8_t> descriptor);

/// One report of each kind that the descriptor, whose bytes are `bytes`, declares: any bytes, or each field within its
/// logical range and Array slots within theirs.
std::vector<std::vector<std::uint8_t>> randomReports(std::span<const std::uint8_t> bytes,
                                                     const qz::platform::ReportDescriptor& descriptor,
                                                     std::mt19937& random, bool anyBytes);

} // namespace qz::tests
