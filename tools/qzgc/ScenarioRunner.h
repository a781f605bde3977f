// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/PrintingDelegate.h"
#include "tools/qzgc/Scenario.h"

namespace qz::tools {

/// Plays the scenario against the library, on a platform of its own, and hands every line over as soon as it is
/// complete: a fatal error inside the library, which ends the process, loses none of the lines before it.
void runScenario(const Scenario& scenario, const LineSink& lines);

} // namespace qz::tools
