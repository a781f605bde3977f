// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace qz::bench {

/// What this process has spent in bringing files to the disk: in write, fsync and renameat.
struct FileWriting {
    double milliseconds = 0; ///< of processor time, the kernel's included
    std::size_t bytes = 0;
};

FileWriting fileWriting();

/// The processor time of this process so far, in milliseconds.
double processorMilliseconds();

} // namespace qz::bench
