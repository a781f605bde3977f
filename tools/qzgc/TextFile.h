// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>
#include <string>

namespace qz::tools {

/// Why a file named on the command line is of no use: one line, "stick.bin: cannot be read: Permission denied; ask for
/// the permission to read it".
class FileError : public std::runtime_error {
public:
    FileError(const std::string& name, const std::string& reason);
};

/// All the bytes of a file; "-" is the standard input. Throws FileError.
std::string readFile(const std::string& name);

} // namespace qz::tools
