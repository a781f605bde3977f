// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/Scenario.h"
#include "tools/qzgc/ScenarioError.h"

#include <memory>
#include <optional>
#include <span>

/// Devices of a scenario, hand-made or made of a report descriptor.
namespace qz::tools {

/// Makes `bytes` the source of the definition's elements. Throws ScenarioError when they do not describe a device.
void setReportDescriptor(DeviceDefinition& definition, std::span<const std::uint8_t> bytes, const Place& place);

/// How many elements a device of this definition has, whether they are listed or follow from a report descriptor;
/// nothing when the platform gives no list.
std::optional<std::size_t> elementCount(const DeviceDefinition& definition);

std::shared_ptr<platform::VirtualDevice> makeDevice(const DeviceDefinition& definition);

} // namespace qz::tools
