// SPDX-License-Identifier: MIT
#pragma once

#include "platform/HID.h"
#include "platform/Platform.h"

#include <cstdint>
#include <string>
#include <vector>

/// A story is written against a Host: a world in which devices come, send and go, and the platform that sees them. The
/// same story runs over every host, in one process without hardware or on a kernel with real device nodes.
namespace qz::tests {

/// One control of a test device. A host that needs a report layout takes one bit for the range 0..1 and one byte for
/// any other, so both bounds lie within 0..255.
struct Control {
    std::uint32_t usagePage = 0;
    std::uint32_t usage = 0;
    std::int32_t min = 0;
    std::int32_t max = 1;
};

/// One application collection of a test device.
struct Application {
    std::uint32_t usagePage = 0;
    std::uint32_t usage = 0;
    std::vector<Control> controls;
};

/// A device that every host can make. Its primary usage is that of the first application.
struct DeviceDescription {
    std::string name; ///< its "Product" property, by which recorded events call it
    std::int32_t vendorID = 0;
    std::int32_t productID = 0;
    std::string serialNumber; ///< empty: the device has none
    std::vector<Application> applications;
};

/// Devices with a single button each: a host may deliver every control with the first report.
DeviceDescription gamePad(std::string name);
DeviceDescription joystick(std::string name);

/// A device with one application collection of this usage and a single button.
DeviceDescription deviceOfKind(std::string name, std::uint32_t usagePage, std::uint32_t usage);

/// Stands for a device that a host has plugged, also after it has been unplugged.
enum class DeviceId : std::size_t {};

class Host {
public:
    Host() = default;
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;
    virtual ~Host();

    /// The platform that sees the devices. Its preferences are empty at first and live in memory.
    virtual qz::platform::Platform& platform() = 0;

    /// Attaches a device. When this returns, a turn of the run loop finds it.
    virtual DeviceId plug(const DeviceDescription& description) = 0;

    /// Attaches a device that matches but cannot be used: all that managers which are scheduled learn of it is `error`.
    virtual void plugUnusable(const DeviceDescription& description, qz::platform::IOReturn error) = 0;

    /// Detaches a device. When this returns, a turn of the run loop finds it gone.
    virtual void unplug(DeviceId device) = 0;

    /// Has a device send a new value of a control, counted through all its applications. `raw` is to differ from what
    /// the control sent last: not every host delivers a value that is none. Nothing happens once the device is gone.
    virtual void send(DeviceId device, std::size_t control, std::int64_t raw) = 0;

    /// Runs the loop in `mode` until all that has happened so far is handled, and says how many events that were. May
    /// be called from inside a callback.
    std::size_t turn(qz::platform::RunLoopMode mode = qz::platform::kCFRunLoopDefaultMode);
};

} // namespace qz::tests
