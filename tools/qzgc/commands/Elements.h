// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/ExitStatus.h"
#include "tools/qzgc/session/Session.h"

#include <string>

namespace qz::tools {

/// Prints the element tree of a device that is nothing but a report descriptor. `source` is a file, which holds the
/// descriptor's bytes, hexadecimal digits for them, or a recording of devices, or else it is the digits themselves.
ExitStatus printElementsOfDescriptor(const std::string& source, bool json);

/// Prints the element tree of a controller that is there; `device` as for chooseController.
ExitStatus printElementsOfController(const SessionOptions& options, const std::string& device, bool json);

} // namespace qz::tools
