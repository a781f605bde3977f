// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/ExitStatus.h"
#include "tools/qzgc/session/Session.h"

#include <string>

namespace qz::tools {

struct MonitorOptions {
    SessionOptions session;
    std::string device; ///< controllers that it does not mean are not admitted; empty: all
    bool lines = false; ///< lines on a terminal too
    bool json = false;
    bool raw = false;
};

/// Shows what controllers do until it is interrupted, the time is up or a recording is over: on a terminal in a view
/// that fills it, elsewhere a line for each event.
ExitStatus monitor(const MonitorOptions& options);

} // namespace qz::tools
