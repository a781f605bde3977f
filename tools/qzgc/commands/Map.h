// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/ExitStatus.h"
#include "tools/qzgc/session/Session.h"

#include <cstdint>
#include <string>
#include <vector>

namespace qz::tools {

/// One change of a mapping that the command line asks for.
struct MapEdit {
    enum class Kind : std::uint8_t { Set, Clear, Reverse, Straight, Reset };

    Kind kind;
    std::string text; ///< CONTROL=ACTION, CONTROL, or nothing for Reset
};

struct MapOptions {
    SessionOptions session;
    std::string device;         ///< as for chooseController
    std::vector<MapEdit> edits; ///< in the order of the command line
    bool show = false;
    bool json = false;
};

/// Edits what the controls of a controller do, and shows it: as the command line asks, or, where that asks for nothing
/// and there is a terminal, as the user does.
ExitStatus mapControls(const MapOptions& options);

} // namespace qz::tools
