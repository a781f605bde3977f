// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Export.h"
#include "platform/HID.h"

#include <cstdint>
#include <memory>
#include <string>

class QZGCHIDManager;
class QZHIDDevice;
class QZHIDElement;

/// What an application learns from a QZGCHIDManager.
///
/// Every operation is called synchronously from the run loop on which the manager is scheduled. It may do anything:
/// edit the configuration, switch modes, replace the delegate, let go of the manager, or throw; an exception reaches
/// who runs the loop and leaves the library whole.
class QZGC_EXPORT QZGCHIDManagerDelegate {
public:
    QZGCHIDManagerDelegate() = default;
    QZGCHIDManagerDelegate(const QZGCHIDManagerDelegate&) = delete;
    QZGCHIDManagerDelegate& operator=(const QZGCHIDManagerDelegate&) = delete;
    virtual ~QZGCHIDManagerDelegate();

    /// Whether a matched device is to be admitted. Also asked when a device that is not connected, a refused one
    /// usually, is removed: true then asks for the disconnection event all the same. There is no QZHIDDevice yet, hence
    /// the handle.
    virtual bool hidManagerShouldConnectDevice(QZGCHIDManager& manager, qz::platform::IOHIDDeviceRef device) = 0;

    /// The device has been admitted and is among the manager's `devices()`.
    virtual void hidManagerDeviceConnected(QZGCHIDManager& manager, const std::shared_ptr<QZHIDDevice>& device) = 0;

    /// The device is no longer among the manager's `devices()`. Null when a device was removed that was not connected
    /// and `hidManagerShouldConnectDevice` answered true for it (by design: accept it).
    virtual void hidManagerDeviceDisconnected(QZGCHIDManager& manager, const std::shared_ptr<QZHIDDevice>& device) = 0;

    /// An element's value, as the device sent it, when the manager reports raw values.
    virtual void hidManagerElementNewRawValue(QZGCHIDManager& manager, const std::shared_ptr<QZHIDElement>& element,
                                              std::int64_t newRawValue) = 0;

    /// The value, 0.0 to 1.0, of the element that is mapped to `action`, when the manager reports mapped values.
    /// `action` is valid during the call.
    virtual void hidManagerActionNewValue(QZGCHIDManager& manager, const std::string& action, double newValue) = 0;

    /// A callback of the platform reported an error; what it was about has been dropped.
    virtual void hidManagerHidError(QZGCHIDManager& manager, qz::platform::IOReturn error) = 0;
};
