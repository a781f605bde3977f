// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/ExitStatus.h"
#include "tools/qzgc/commands/Monitor.h"

namespace qz::tools {

/// Shows what controllers do in a view that fills the terminal.
ExitStatus watchControllers(const MonitorOptions& options);

} // namespace qz::tools
