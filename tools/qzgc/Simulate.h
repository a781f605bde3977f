// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/ExitStatus.h"

#include <string>

namespace qz::tools {

/// `qzgc simulate FILE`: plays the scenario in the file ("-": standard input) and prints its lines on standard output.
/// A file that cannot be read, or is no scenario, gets one line on standard error.
ExitStatus simulate(const std::string& file);

} // namespace qz::tools
