// SPDX-License-Identifier: MIT
#include "platform/report/Recording.h"

#include <cstdlib>

using namespace qz::platform;

/// Any bytes are a recording, which is read back as it is written, or refused with one line that names a line.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto read = readRecording({reinterpret_cast<const char*>(data), size});
    if (const auto* const error = std::get_if<RecordingError>(&read)) {
        const std::string place = "line " + std::to_string(error->line) + ": ";
        if (!error->message.starts_with(place) || error->message.find('\n') != std::string::npos) {
            std::abort();
        }
        return 0;
    }
    const std::string text = writeRecording(std::get<Recording>(read));
    const auto again = readRecording(text);
    if (!std::holds_alternative<Recording>(again) || writeRecording(std::get<Recording>(again)) != text) {
        std::abort();
    }
    return 0;
}
