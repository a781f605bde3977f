// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Export.h"

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
    std::uint64_t loaded = 0;
    if (std::endian::native == std::endian::little && offset + sizeof loaded <= bytes.size()) {
        std::memcpy(&loaded, bytes.data() + offset, sizeof loaded);
        return loaded;
    }
    for (std::size_t i = 0; i < sizeof loaded && offset + i < bytes.size(); ++i) {
        loaded |= std::uint64_t{bytes[offset + i]} << (8 * i);
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
