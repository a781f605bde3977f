// SPDX-License-Identifier: MIT
#include "platform/FatalError.h"

#include <cstdio>
#include <cstdlib>

namespace qz::platform {

void fatalError(std::string_view message) noexcept {
    std::fputs("QZGameController: fatal error: ", stderr);
    for (const char character : message) {
        std::fputc(character == '\n' || character == '\r' ? ' ' : character, stderr);
    }
    std::fputc('\n', stderr);
    std::fflush(stderr);
    std::abort();
}

} // namespace qz::platform
