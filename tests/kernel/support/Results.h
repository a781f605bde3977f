// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace qz::tests {

/// Adds a line to the tables and figures of this run, which are printed when it has ended: the file that
/// QZGC_KERNEL_REPORT names, or else the output.
void tell(const std::string& line);

/// As printf does.
[[gnu::format(printf, 1, 2)]] void tellFormatted(const char* format, ...);

/// Whether this run holds rates against their limits: QZGC_KERNEL_CHECK is set.
bool isCheckOfRates();

/// Ends the program as failed when the test that is running takes longer than this from now on. Every test begins with
/// a minute.
void allowSeconds(unsigned seconds);

} // namespace qz::tests
