// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace qz::tests {

/// Programs as they are on a machine where they are installed, in memory: the host's files are slow to open.
class InstalledPrograms {
public:
    /// Copies what QZGC_KERNEL_INSTALLED names, the place where all has been installed to. Throws when there is none.
    InstalledPrograms();
    InstalledPrograms(const InstalledPrograms&) = delete;
    InstalledPrograms& operator=(const InstalledPrograms&) = delete;
    ~InstalledPrograms();

    /// How long the program takes from its start to its end, in microseconds, when it prints into nothing. Throws when
    /// it fails.
    double run(const std::string& program, const std::string& argument) const;

    const std::string& directory() const noexcept { return directory_; }

private:
    std::string directory_ = "/tmp/installed";
};

} // namespace qz::tests
