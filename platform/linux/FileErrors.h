// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace qz::platform {

/// One line for a person: "cannot `attempt` `path`: ", the system's text for the error `number`, and what to do.
std::string fileErrorText(std::string_view attempt, std::string_view path, int number);

/// One line for a person: something other than a file stands at `path`.
std::string notRegularFileText(std::string_view path);

} // namespace qz::platform
