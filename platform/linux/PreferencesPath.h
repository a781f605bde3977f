// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace qz::platform {

/// The directory of all applications' documents: "qzgamecontroller" below $XDG_CONFIG_HOME or, where that is not set or
/// not absolute (XDG Base Directory Specification 0.8), below ".config" in the home directory: $HOME, else the one in
/// the password database. Empty when there is none. A program that runs with another user's rights does not look at the
/// environment.
std::string preferencesDirectory();

/// The name under which this program was started, without directories.
std::string programName();

/// The file name of the document of the application `identifier`, a different one for each identifier and never one
/// that leads out of its directory: a slash, a percent sign, control characters and a full stop at the beginning are
/// written as "%" and two hexadecimal digits. An empty identifier means the program's name.
std::string documentName(std::string_view identifier);

/// The longest document name for which the names of its lock, its temporary file and what is set aside fit into the 255
/// bytes of a file name: an identifier of 195 bytes when none of them has to be written in another way.
inline constexpr std::size_t longestDocumentName = 200;

} // namespace qz::platform
