// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/Host.h"

#include <cstdint>
#include <vector>

namespace qz::tests {

/// The report descriptor and the reports of a test device, for hosts whose devices are made of those: one report with
/// an ID for each application collection.
class DeviceReports {
public:
    explicit DeviceReports(const DeviceDescription& description);

    const std::vector<std::uint8_t>& descriptor() const noexcept { return descriptor_; }

    /// The report that says that the control, counted through all applications, has the value `raw` now.
    const std::vector<std::uint8_t>& set(std::size_t control, std::int64_t raw);

private:
    struct Place {
        std::size_t report; ///< index in `reports_`
        std::size_t byte;
    };

    void item(std::uint8_t prefix, std::uint32_t value);
    void addControl(const Control& control);

    std::vector<std::uint8_t> descriptor_;
    std::vector<std::vector<std::uint8_t>> reports_;
    std::vector<Place> places_;
};

} // namespace qz::tests
