// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/ObjectReader.h"
#include "tools/qzgc/Scenario.h"

#include <span>
#include <string_view>

namespace qz::tools {

/// The scenario in `text`. Throws ScenarioError, which names the first place found at fault, unless everything in it is
/// as docs/scenarios.md wants it: nothing of a faulty scenario is ever run.
Scenario readScenario(std::string_view text);

// The parts of readScenario.

DeviceDefinition readDevice(std::string_view name, const JSONValue& json, const Place& place);
Step readStep(const JSONValue& json, const Place& place, std::span<const DeviceDefinition> devices);

} // namespace qz::tools
