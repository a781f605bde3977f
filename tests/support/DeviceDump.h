// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace qz::test {

/// What the library makes of a device, for people to read and for tests to compare: the usages of its application
/// collections, whether its input reports begin with an ID, its elements and, for each report, the values delivered.
///
/// A line for an element is indented once for each collection around it: cookie, type, usage page and usage in
/// hexadecimal, logical range and, for input, where in which report it is (`bits offset+width`). In an Array that is
/// where the slots are (`array offset+widthxcount`) and the slot value that stands for the element. Four or more
/// elements in succession that differ only in place and cookie and have one usage, or usages that count up, are one
/// line. A descriptor that is refused gives one line with the offset of the item at fault and the reason,
/// and no values.
std::string dumpDevice(std::span<const std::uint8_t> descriptor, std::span<const std::vector<std::uint8_t>> reports);

} // namespace qz::test
