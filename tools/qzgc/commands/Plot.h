// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/ExitStatus.h"
#include "tools/qzgc/session/Session.h"

#include <optional>
#include <string>

namespace qz::tools {

struct PlotOptions {
    SessionOptions session;             ///< with the recording, to be played fast
    std::string device;                 ///< which controllers; empty: all on a time line, the only one for a curve
    std::optional<std::string> control; ///< draws its curve; absent: the time line
    std::optional<double> hysteresis;   ///< of that control; absent: the one it has
    std::optional<std::string> output;  ///< absent or "-": standard output
};

/// Draws a recording as an SVG picture.
ExitStatus plot(const PlotOptions& options);

} // namespace qz::tools
