// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/ExitStatus.h"

namespace qz::tools {

/// Brings out what has been written to the standard output; failure, with a message, when it did not get there.
ExitStatus finishOutput();

} // namespace qz::tools
