// SPDX-License-Identifier: MIT
#pragma once

namespace qz::tools {

/// What every subcommand's exit status means to a script.
enum ExitStatus : int {
    exitSuccess = 0,
    exitFailure = 1, ///< the work could not be finished: what the machine did not do
    exitRefused = 2, ///< nothing was begun: the command line, or a file named on it, is not as it must be
};

} // namespace qz::tools
