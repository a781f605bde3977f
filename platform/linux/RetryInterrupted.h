// SPDX-License-Identifier: MIT
#pragma once

#include <cerrno>

namespace qz::platform {

/// The result of a system call, made again as long as a signal interrupts it.
template<typename Call>
auto retryInterrupted(Call call) {
    for (;;) {
        const auto result = call();
        if (result != -1 || errno != EINTR) {
            return result;
        }
    }
}

} // namespace qz::platform
