// SPDX-License-Identifier: MIT
#include "platform/report/Recording.h"
#include "tests/support/ReportDescriptorChecks.h"

using namespace qz::platform;

/// Any text is a recording, which can be written and read back, or refused with one line that names its line.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto result = readRecording({reinterpret_cast<const char*>(data), size});
    if (const auto* const error = std::get_if<RecordingError>(&result)) {
        qz::test::check(error->message.find_first_of("\r\n") == std::string::npos && !error->message.empty());
    } else {
        const std::string written = writeRecording(std::get<Recording>(result));
        const auto again = readRecording(written);
        qz::test::check(std::holds_alternative<Recording>(again));
        qz::test::check(writeRecording(std::get<Recording>(again)) == written);
    }
    return 0;
}
