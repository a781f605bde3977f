// SPDX-License-Identifier: MIT
#include "tests/kernel/support/Results.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <unistd.h>

namespace qz::tests {

void tell(const std::string& line) {
    const char* const path = std::getenv("QZGC_KERNEL_REPORT");
    if (path == nullptr) {
        std::cout << line << '\n';
        return;
    }
    // Opened anew each time: what has been told stays told when the machine stops.
    std::ofstream(path, std::ios::app) << line << '\n';
}

void tellFormatted(const char* format, ...) {
    std::array<char, 512> line{};
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line.data(), line.size(), format, arguments);
    va_end(arguments);
    tell(line.data());
}

bool isCheckOfRates() {
    return std::getenv("QZGC_KERNEL_CHECK") != nullptr;
}

void allowSeconds(unsigned seconds) {
    ::alarm(seconds);
}

} // namespace qz::tests
