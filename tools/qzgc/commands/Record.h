// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/ExitStatus.h"
#include "tools/qzgc/session/Session.h"

#include <string>

namespace qz::tools {

struct RecordOptions {
    SessionOptions session;
    std::string file;   ///< "-": the standard output
    std::string device; ///< only controllers that it means; empty: all
    bool force = false; ///< whether a file that is there is overwritten
};

/// Records controllers and what they send until it is interrupted, the time is up or a recording is over.
ExitStatus record(const RecordOptions& options);

} // namespace qz::tools
