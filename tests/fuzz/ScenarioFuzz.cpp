// SPDX-License-Identifier: MIT
#include "tools/qzgc/ScenarioReader.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

using namespace qz::tools;

/// Any bytes are a scenario or refused with one line that names a place. Not played: a scenario may ask for the end of
/// the process.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        readScenario({reinterpret_cast<const char*>(data), size});
    } catch (const ScenarioError& error) {
        const std::string_view line = error.what();
        if (line.find(": ") == std::string_view::npos || line.find_first_of("\r\n") != std::string_view::npos) {
            std::abort();
        }
    }
    return 0;
}
