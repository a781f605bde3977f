// SPDX-License-Identifier: MIT
#include "tests/support/DeviceReports.h"

namespace qz::tests {

namespace {

// HID 1.11 section 6.2.2: prefixes of items with data of one or, for a usage, two bytes.
constexpr std::uint8_t input = 0x81;
constexpr std::uint8_t collection = 0xa1;
constexpr std::uint8_t usagePage = 0x06;
constexpr std::uint8_t usage = 0x0a;
constexpr std::uint8_t logicalMinimum = 0x16;
constexpr std::uint8_t logicalMaximum = 0x26;
constexpr std::uint8_t reportSize = 0x75;
constexpr std::uint8_t reportID = 0x85;
constexpr std::uint8_t reportCount = 0x95;
constexpr std::uint8_t endCollection = 0xc0;

} // namespace

DeviceReports::DeviceReports(const DeviceDescription& description) {
    for (const Application& application : description.applications) {
        item(usagePage, application.usagePage);
        item(usage, application.usage);
        item(collection, 1);
        reports_.push_back({static_cast<std::uint8_t>(reports_.size() + 1)});
        item(reportID, reports_.back().front());
        for (const Control& control : application.controls) {
            addControl(control);
        }
        descriptor_.push_back(endCollection);
    }
}

void DeviceReports::item(std::uint8_t prefix, std::uint32_t value) {
    descriptor_.push_back(prefix);
    descriptor_.push_back(static_cast<std::uint8_t>(value));
    if ((prefix & 3U) == 2) {
        descriptor_.push_back(static_cast<std::uint8_t>(value >> 8U));
    }
}

/// Every control begins a byte; one of a single bit is filled up.
void DeviceReports::addControl(const Control& control) {
    const bool isBit = control.min == 0 && control.max == 1;
    item(usagePage, control.usagePage);
    item(usage, control.usage);
    item(logicalMinimum, static_cast<std::uint32_t>(control.min));
    item(logicalMaximum, static_cast<std::uint32_t>(control.max));
    item(reportSize, isBit ? 1 : 8);
    item(reportCount, 1);
    item(input, 2); // Variable
    if (isBit) {
        item(reportSize, 7);
        item(input, 3); // Constant
    }
    places_.push_back({reports_.size() - 1, reports_.back().size()});
    reports_.back().push_back(0);
}

const std::vector<std::uint8_t>& DeviceReports::set(std::size_t control, std::int64_t raw) {
    const Place& place = places_.at(control);
    reports_[place.report][place.byte] = static_cast<std::uint8_t>(raw);
    return reports_[place.report];
}

} // namespace qz::tests
