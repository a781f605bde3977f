// SPDX-License-Identifier: MIT
#pragma once

#include "platform/report/ReportDevice.h"

#include <utility>

namespace qz::test {

/// An element's index and value.
using Delivered = std::vector<std::pair<std::uint32_t, std::int64_t>>;

/// What a device delivers for reports, worked out the slow way: every bit of every report, with nothing remembered but
/// the values.
class ReportModel {
public:
    explicit ReportModel(const platform::ReportDescriptor& descriptor)
        : descriptor_(descriptor), values_(descriptor.elements.size()) {}

    Delivered feed(std::span<const std::uint8_t> report) {
        Delivered delivered;
        if (report.empty()) {
            return delivered;
        }
        const std::uint32_t id = descriptor_.inputHasReportIDs ? report.front() : 0;
        const auto bytes = report.subspan(descriptor_.inputHasReportIDs ? 1 : 0);
        for (const platform::ReportInput& input : descriptor_.inputs) {
            for (std::uint32_t i = 0; input.reportID == id && i < input.elementCount; ++i) {
                const auto value = input.isArray ? inArray(input, i, bytes) : bits(input, i, bytes);
                auto& known = values_[input.firstElement + i];
                if (value && (known != value || (input.isRelative && *value != 0))) {
                    delivered.emplace_back(input.firstElement + i, *value);
                    known = value;
                }
            }
        }
        return delivered;
    }

private:
    /// The number in the input's field at `index`, bit by bit; nothing when the report ends before it does.
    static std::optional<std::int64_t> bits(const platform::ReportInput& input, std::uint32_t index,
                                            std::span<const std::uint8_t> report) {
        const std::size_t begin = input.field.offset + std::size_t{input.field.width} * index;
        std::int64_t value = 0;
        for (std::size_t i = 0; i < input.field.width; ++i) {
            const std::size_t bit = begin + i;
            if (bit / 8 >= report.size()) {
                return std::nullopt;
            }
            const bool isSign = input.field.isSigned && i + 1 == input.field.width;
            if ((report[bit / 8] >> (bit % 8) & 1) != 0) {
                value += (isSign ? -1 : 1) * (std::int64_t{1} << i);
            }
        }
        return value;
    }

    static std::optional<std::int64_t> inArray(const platform::ReportInput& input, std::uint32_t position,
                                               std::span<const std::uint8_t> report) {
        std::int64_t isNamed = 0;
        for (std::uint32_t slot = 0; slot < input.count; ++slot) {
            const auto value = bits(input, slot, report);
            if (!value) {
                return std::nullopt;
            }
            if (*value >= input.logicalMin && *value <= input.logicalMax && *value - input.logicalMin == position) {
                isNamed = 1;
            }
        }
        return isNamed;
    }

    const platform::ReportDescriptor& descriptor_;
    std::vector<std::optional<std::int64_t>> values_;
};

/// Feeds a device and collects what it delivers.
inline Delivered deliveredBy(platform::ReportDevice& device, std::span<const std::uint8_t> report) {
    Delivered delivered;
    for (const std::uint32_t index : device.feed(report)) {
        delivered.emplace_back(index, device.value(index).integerValue);
    }
    return delivered;
}

} // namespace qz::test
