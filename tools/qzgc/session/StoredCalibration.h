// SPDX-License-Identifier: MIT
#pragma once

#include "platform/HID.h"
#include "platform/UserDefaults.h"

#include <string>

namespace qz::tools {

/// Throws Failure when the preferences hold a calibration for this device that the library would end the process for,
/// at its arrival or at some value that a control can send. `application` is whose preferences they are; empty: the
/// tool's own.
void expectUsableCalibration(platform::IOHIDDeviceRef device, const platform::UserDefaults& defaults,
                             const std::string& application);

} // namespace qz::tools
