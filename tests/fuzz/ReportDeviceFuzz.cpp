// SPDX-License-Identifier: MIT
#include "tests/support/ReportDescriptorChecks.h"
#include "tests/support/ReportModel.h"

/// A descriptor and reports: two bytes with the descriptor's length, the descriptor, and then reports with a byte for
/// the length of each. A device delivers what a reading of every bit of every report delivers.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::span<const std::uint8_t> rest(data, size);
    const auto take = [&](std::size_t wanted) {
        const auto taken = rest.first(std::min(wanted, rest.size()));
        rest = rest.subspan(taken.size());
        return taken;
    };
    const auto length = take(2);
    const auto parsed = qz::platform::parseReportDescriptor(
        take(length.size() == 2 ? std::size_t{length[0]} | std::size_t{length[1]} << 8U : 0));
    if (const auto* const descriptor = std::get_if<qz::platform::ReportDescriptor>(&parsed)) {
        qz::test::ReportModel model(*descriptor);
        qz::platform::ReportDevice device(*descriptor, {});
        while (!rest.empty()) {
            const auto report = take(take(1).front());
            qz::test::check(model.feed(report) == qz::test::deliveredBy(device, report));
        }
    }
    return 0;
}
