// SPDX-License-Identifier: MIT
#pragma once

#include "platform/HIDDevice.h"
#include "platform/report/ReportField.h"

#include <string_view>

namespace qz::platform {

/// What a descriptor may declare at the most. A descriptor comes from a stranger's hardware and can ask for billions of
/// elements in a few bytes; with these limits none costs more than a few milliseconds or a few megabytes. No real
/// device comes near them but for `arrayUsages`: some name all 65,536 usages of a page, and use a handful.
struct ReportDescriptorLimits {
    static constexpr std::size_t descriptorBytes = 4096; ///< HID_MAX_DESCRIPTOR_SIZE in linux/hid.h
    static constexpr std::size_t reportBytes = 16384;    ///< HID_MAX_BUFFER_SIZE in linux/hid.h; the ID not counted
    static constexpr std::size_t elements = 16384;
    /// Elements counted once for each collection around them: each is an object in the layer above.
    static constexpr std::size_t memberships = 32768;
    static constexpr std::size_t collectionDepth = 64;
    static constexpr std::size_t pushDepth = 16;
    static constexpr std::size_t arrayUsages = 2048; ///< usages of one Array beyond these make no elements
};

/// Why a descriptor is refused.
struct ReportDescriptorError {
    std::size_t offset = 0; ///< of the first item at fault; the descriptor's length when collections are left open
    std::string_view reason = {}; ///< a few words, in static storage
};

/// The input elements that one Input item made, which follow each other in the report and in the list of elements.
struct ReportInput {
    std::uint32_t reportID = 0; ///< 1 to 255; 0 for items before the first Report ID
    ReportField field = {};     ///< the first element's bits or, in an Array, the first slot's
    std::uint32_t count = 0;    ///< fields of this width: elements or, in an Array, slots
    bool isArray = false;
    bool isRelative = false;
    std::uint32_t firstElement = 0; ///< index
    std::uint32_t elementCount = 0; ///< equal to `count` but in an Array, where each declared usage makes an element
    /// In an Array a slot's value less the minimum is the position of its usage, and a value outside the range names
    /// none.
    std::int64_t logicalMin = 0;
    std::int64_t logicalMax = 0;
};

/// What the bytes of a report descriptor declare, by HID 1.11 section 6.2.2.
struct ReportDescriptor {
    static constexpr std::uint32_t noParent = 0xffffffff;

    /// The elements in the order of the descriptor, their cookies counting from 1. They have no device and no children
    /// yet.
    std::vector<HIDElement> elements;
    std::vector<std::uint32_t> parents;     ///< for each element the index of the innermost collection around it
    std::vector<HIDUsagePair> applications; ///< the usages of the application collections, nested ones too
    std::vector<ReportInput> inputs;        ///< in the order of the descriptor; items without elements left out
    bool inputHasReportIDs = false;         ///< whether every input report begins with a byte that is its ID
};

/// Reads a report descriptor. Which elements it makes never changes for given bytes, because their cookies key what
/// users have stored.
QZGC_EXPORT std::variant<ReportDescriptor, ReportDescriptorError>
parseReportDescriptor(std::span<const std::uint8_t> bytes);

} // namespace qz::platform
