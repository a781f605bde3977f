// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace qz::tools {

/// Makes `contents` those of a file, new or not. What stood in it stays until all of the new is on the disk; others see
/// the one or the other. A link goes on leading to the file it leads to, and a device or a pipe is written to. Throws
/// Failure, and has changed nothing then.
void replaceFile(const std::string& name, std::string_view contents);

} // namespace qz::tools
