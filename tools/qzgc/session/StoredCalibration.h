// SPDX-License-Identifier: MIT
#pragma once

#include "platform/HID.h"
#include "platform/UserDefaults.h"
#include "tools/qzgc/session/Session.h"

namespace qz::tools {

/// Throws Failure when the preferences hold a calibration for this device that the library would end the process for,
/// at its arrival or at some value that a control can send. The options say whose preferences they are.
void expectUsableCalibration(platform::IOHIDDeviceRef device, const platform::UserDefaults& defaults,
                             const SessionOptions& options);

} // namespace qz::tools
