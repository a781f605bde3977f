// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/ExitStatus.h"
#include "tools/qzgc/session/Session.h"

#include <string>

namespace qz::tools {

struct CalibrateOptions {
    SessionOptions session; ///< with the time that controls are watched without a terminal
    std::string device;     ///< as for chooseController
    bool yes = false;       ///< whether to save without asking
    bool json = false;
    bool reset = false; ///< whether what is stored is removed, and nothing measured
};

/// Calibrates a controller: with a user on the terminal, or, with any of the options for scripts or without a terminal,
/// by what the controller sends. Success means that the calibration has been saved or, with `reset`, that none is
/// stored.
ExitStatus calibrateController(const CalibrateOptions& options);

} // namespace qz::tools
