// SPDX-License-Identifier: MIT
#pragma once

#include "platform/HID.h"
#include "platform/Platform.h"
#include "tests/support/RecordingDelegate.h"

#include <functional>

namespace qz::tests {

/// Uses the platform's HID services as the library does, and writes down what they call back with.
///
/// The lines: "matched pad", "removed pad", "value pad 9:1 1" (usage page, usage and value), "report pad 01 00" once
/// reports are asked for, and "error -536870203".
class PlatformClient {
public:
    using DeviceAction = std::function<void(qz::platform::IOHIDDeviceRef)>;
    using ValueAction = std::function<void(qz::platform::IOHIDValueRef)>;

    /// Makes a manager that matches joysticks and game pads, with all three callbacks registered.
    PlatformClient(qz::platform::Platform& platform, EventLog& events);
    PlatformClient(const PlatformClient&) = delete;
    PlatformClient& operator=(const PlatformClient&) = delete;
    ~PlatformClient();

    void schedule(qz::platform::RunLoopMode mode = qz::platform::kCFRunLoopDefaultMode);
    void unschedule(qz::platform::RunLoopMode mode = qz::platform::kCFRunLoopDefaultMode);
    qz::platform::IOReturn open();
    qz::platform::IOReturn close();

    /// Gives the manager back; the handle is null from then on.
    void release();

    /// Registers a callback for reports too; the library has none.
    void listenToReports();

    qz::platform::IOHIDManagerRef manager() const noexcept { return manager_; }

    /// What to do inside a callback of result 0, after its line has been written.
    DeviceAction onMatched;
    DeviceAction onRemoved;
    ValueAction onValue;
    DeviceAction onReport;

private:
    static void matched(void* context, qz::platform::IOReturn result, void* sender,
                        qz::platform::IOHIDDeviceRef device);
    static void removed(void* context, qz::platform::IOReturn result, void* sender,
                        qz::platform::IOHIDDeviceRef device);
    static void value(void* context, qz::platform::IOReturn result, void* sender, qz::platform::IOHIDValueRef value);
    static void report(void* context, qz::platform::IOReturn result, void* sender, qz::platform::IOHIDDeviceRef device,
                       std::span<const std::uint8_t> report);
    bool isError(qz::platform::IOReturn result);

    qz::platform::Platform& platform_;
    EventLog& events_;
    qz::platform::IOHIDManagerRef manager_;
};

/// The criteria of joysticks and game pads.
std::vector<qz::platform::HIDMatchingDictionary> gameControllers();

} // namespace qz::tests
