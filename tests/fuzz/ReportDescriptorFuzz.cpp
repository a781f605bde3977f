// SPDX-License-Identifier: MIT
#include "tests/support/ReportDescriptorChecks.h"

/// Any bytes are a descriptor within the limits, or refused at a place within them.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto result = qz::platform::parseReportDescriptor({data, size});
    if (const auto* const error = std::get_if<qz::platform::ReportDescriptorError>(&result)) {
        qz::test::check(error->offset <= size && !error->reason.empty());
    } else {
        qz::test::checkDescriptor(std::get<qz::platform::ReportDescriptor>(result));
    }
    return 0;
}
