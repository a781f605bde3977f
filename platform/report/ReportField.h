// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Export.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace qz::platform {

/// Where one number stands in a report. Bits are counted from the lowest one of the first byte, as in HID 1.11 section
/// 5.7; the byte of the report ID is not part of the report.
struct ReportField {
    std::uint32_t offset = 0; ///< in bits
    std::uint8_t width = 0;   ///< in bits, 1 to 32
    bool isSigned = false;    ///< whether the highest bit is a sign

    /// How many bytes a report must have for the field to lie in it wholly.
    std::size_t end() const noexcept { return (std::size_t{offset} + width + 7) / 8; }
};

/// Up to eight bytes from `offset` on as a little-endian number; bytes beyond the end of `bytes` read as 0.
inline std::uint64_t loadLittleEndian(std::span<const std::uint8_t> bytes, std::size_t offset) noexcept {
    offset = std::min(offset, bytes.size());
    const std::size_t count = bytes.size() - offset;
    const std::uint8_t* const first = bytes.data() + offset;
    std::uint64_t loaded = 0;
    if constexpr (std::endian::native == std::endian::little) {
        if (count >= sizeof loaded) {
            std::memcpy(&loaded, first, sizeof loaded);
            return loaded;
        }
        // Many reports are shorter. Four to seven bytes are two numbers that may overlap, which changes nothing.
        if (std::uint32_t low = 0, high = 0; count >= sizeof low) {
            std::memcpy(&low, first, sizeof low);
            std::memcpy(&high, first + count - sizeof high, sizeof high);
            return low | std::uint64_t{high} << (8 * (count - sizeof high));
        }
    }
    for (std::size_t i = 0; i < std::min(count, sizeof loaded); ++i) {
        loaded |= std::uint64_t{first[i]} << (8 * i);
    }
    return loaded;
}

/// The number in `field`, which must lie in `report` wholly.
inline std::int64_t fieldValue(std::span<const std::uint8_t> report, const ReportField& field) noexcept {
    // A field of 32 bits that begins within a byte ends in the fifth, so that eight bytes always hold it.
    const std::uint64_t above = 64U - field.width;
    const std::uint64_t atTop = (loadLittleEndian(report, field.offset / 8) >> (field.offset % 8)) << above;
    return field.isSigned ? static_cast<std::int64_t>(atTop) >> above : static_cast<std::int64_t>(atTop >> above);
}

} // namespace qz::platform
