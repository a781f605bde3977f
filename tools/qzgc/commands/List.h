// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/ExitStatus.h"
#include "tools/qzgc/session/Session.h"

namespace qz::tools {

/// Prints the controllers that are there, and those that are there and cannot be used.
ExitStatus listControllers(const SessionOptions& options, bool json);

} // namespace qz::tools
