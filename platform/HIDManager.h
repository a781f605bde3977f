// SPDX-License-Identifier: MIT
#pragma once

#include "platform/HID.h"

namespace qz::platform {

/// What a back end implements: one manager of HID devices. The operations are those of HID.h, and a manager's alone:
/// what is asked of a device, an element or a value is answered from its record in every back end.
class QZGC_EXPORT HIDManager {
public:
    HIDManager() = default;
    HIDManager(const HIDManager&) = delete;
    HIDManager& operator=(const HIDManager&) = delete;

    virtual void setDeviceMatchingMultiple(std::span<const HIDMatchingDictionary> criteria) = 0;
    virtual void registerDeviceMatchingCallback(IOHIDDeviceCallback callback, void* context) = 0;
    virtual void registerDeviceRemovalCallback(IOHIDDeviceCallback callback, void* context) = 0;
    virtual void registerInputValueCallback(IOHIDValueCallback callback, void* context) = 0;
    virtual void registerInputReportCallback(IOHIDReportCallback callback, void* context) = 0;
    virtual void scheduleWithRunLoop(RunLoop& runLoop, RunLoopMode mode) = 0;
    virtual void unscheduleFromRunLoop(RunLoop& runLoop, RunLoopMode mode) = 0;
    virtual IOReturn open(IOOptionBits options) = 0;
    virtual IOReturn close(IOOptionBits options) = 0;

    /// Ends the manager: no callback begins after this call. The object goes away at once or, when a callback is in
    /// progress, at its end.
    virtual void release() = 0;

protected:
    virtual ~HIDManager();
};

/// Where managers come from.
class QZGC_EXPORT HIDServices {
public:
    HIDServices() = default;
    HIDServices(const HIDServices&) = delete;
    HIDServices& operator=(const HIDServices&) = delete;
    virtual ~HIDServices();

    /// A new manager, ended by its `release`; null when none can be made. A manager must end before its services.
    virtual IOHIDManagerRef createManager(IOOptionBits options) = 0;
};

} // namespace qz::platform
