// SPDX-License-Identifier: MIT
#pragma once

// Everything that an application needs of the library.
#include "HIDWrapper/QZGCHIDManager.h"
#include "HIDWrapper/QZGCHIDManagerDelegate.h"
#include "HIDWrapper/QZHIDDevice.h"
#include "HIDWrapper/QZHIDElement.h"
#include "QZGameController/QZGCCalibrationValues.h"
#include "QZGameController/QZGCConfigurationManager.h"
#include "QZGameController/QZGCDeviceConfiguration.h"
#include "platform/Export.h"
#include "platform/Platform.h"
#include "platform/RunLoop.h"
#include "platform/UserDefaults.h"

extern "C" {

/// The version of the library's interface.
QZGC_EXPORT extern const double QZGameControllerVersionNumber;

/// The library's name, its version and what identifies the build, such as "QZGameController 1.0.0 (4f1c2a9e0b7d)".
QZGC_EXPORT extern const char QZGameControllerVersionString[];
}
