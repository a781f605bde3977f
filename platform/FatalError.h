// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Export.h"

#include <string_view>

namespace qz::platform {

/// Ends the process because the program has an error that no data from outside can cause.
///
/// Writes one line, "QZGameController: fatal error: " and `message`, to standard error and aborts (SIGABRT), in every
/// build type. Line breaks in `message` are written as blanks. Allocates nothing.
[[noreturn]] QZGC_EXPORT void fatalError(std::string_view message) noexcept;

} // namespace qz::platform
