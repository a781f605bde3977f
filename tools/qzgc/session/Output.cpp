// SPDX-License-Identifier: MIT
#include "tools/qzgc/session/Output.h"

#include <iostream>

namespace qz::tools {

ExitStatus finishOutput() {
    if (!std::cout.flush()) {
        std::cerr << "qzgc: cannot write to standard output\n";
        return exitFailure;
    }
    return exitSuccess;
}

} // namespace qz::tools
