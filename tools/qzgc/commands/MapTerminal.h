// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/ExitStatus.h"
#include "tools/qzgc/session/Session.h"

#include <string>

namespace qz::tools {

/// Lets the user edit the mapping of a controller on the terminal; `device` as for chooseController.
ExitStatus mapOnTerminal(const SessionOptions& options, const std::string& device);

} // namespace qz::tools
