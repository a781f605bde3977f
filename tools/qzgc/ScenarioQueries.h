// SPDX-License-Identifier: MIT
#pragma once

#include "QZGameController/QZGameController.h"
#include "tools/qzgc/JSONText.h"

namespace qz::tools {

/// The members that describe `device`, from "kind" to "elements", into the object begun last.
void describeDevice(const QZHIDDevice& device, JSONText& text);

/// The members "types" and "instances", into the object begun last.
void describeConfiguration(const QZGCConfigurationManager& manager, JSONText& text);

/// The members "actions" and "count", into the object begun last.
void describeActions(const QZGCConfigurationManager& manager, JSONText& text);

} // namespace qz::tools
