// SPDX-License-Identifier: MIT
#include "platform/FatalError.h"

#include <cstdio>
#include <cstdlib>

namespace qz::platform {

void fatalError(std::string_view message) noexcept {
    static_cast<void>(std::fputs("QZGameController: fatal error: ", stderr));
    for (const char character : message) {
        static_cast<void>(std::fputc(character == '\n' || character == '\r' ? ' ' : character, stderr));
    }
    static_cast<void>(std::fputc('\n', stderr));
    static_cast<void>(std::fflush(stderr));
    std::abort();
}

} // namespace qz::platform
