// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/ExitStatus.h"

#include <string>

namespace qz::tools {

/// Prints the element tree of a device that is nothing but a report descriptor. `source` is a file, whose bytes are
/// the descriptor or hexadecimal digits for them, or else the digits themselves.
ExitStatus printElementsOfDescriptor(const std::string& source);

} // namespace qz::tools
