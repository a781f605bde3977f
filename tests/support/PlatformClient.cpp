// SPDX-License-Identifier: MIT
#include "tests/support/PlatformClient.h"

#include "platform/Text.h"

#include <utility>

using namespace qz::platform;

namespace qz::tests {

PlatformClient::PlatformClient(Platform& platform, EventLog& events)
    : platform_(platform), events_(events), manager_(IOHIDManagerCreate(platform, kIOHIDOptionsTypeNone)) {
    IOHIDManagerSetDeviceMatchingMultiple(manager_, gameControllers());
    IOHIDManagerRegisterDeviceMatchingCallback(manager_, matched, this);
    IOHIDManagerRegisterDeviceRemovalCallback(manager_, removed, this);
    IOHIDManagerRegisterInputValueCallback(manager_, value, this);
}

PlatformClient::~PlatformClient() {
    release();
}

void PlatformClient::schedule(RunLoopMode mode) {
    IOHIDManagerScheduleWithRunLoop(manager_, CFRunLoopGetCurrent(platform_), mode);
}

void PlatformClient::unschedule(RunLoopMode mode) {
    IOHIDManagerUnscheduleFromRunLoop(manager_, CFRunLoopGetCurrent(platform_), mode);
}

IOReturn PlatformClient::open() {
    return IOHIDManagerOpen(manager_, kIOHIDOptionsTypeNone);
}

IOReturn PlatformClient::close() {
    return IOHIDManagerClose(manager_, kIOHIDOptionsTypeNone);
}

void PlatformClient::release() {
    CFRelease(std::exchange(manager_, nullptr));
}

void PlatformClient::listenToReports() {
    IOHIDManagerRegisterInputReportCallback(manager_, report, this);
}

bool PlatformClient::isError(IOReturn result) {
    if (result != kIOReturnSuccess) {
        events_.push_back("error " + std::to_string(result));
    }
    return result != kIOReturnSuccess;
}

void PlatformClient::matched(void* context, IOReturn result, void* /*sender*/, IOHIDDeviceRef device) {
    auto& self = *static_cast<PlatformClient*>(context);
    if (self.isError(result)) {
        return;
    }
    self.events_.push_back("matched " + nameOf(device));
    if (const auto action = self.onMatched) { // a copy: the action may put another in its place
        action(device);
    }
}

void PlatformClient::removed(void* context, IOReturn result, void* /*sender*/, IOHIDDeviceRef device) {
    auto& self = *static_cast<PlatformClient*>(context);
    if (self.isError(result)) {
        return;
    }
    self.events_.push_back("removed " + nameOf(device));
    if (const auto action = self.onRemoved) { // a copy: the action may put another in its place
        action(device);
    }
}

void PlatformClient::value(void* context, IOReturn result, void* /*sender*/, IOHIDValueRef value) {
    auto& self = *static_cast<PlatformClient*>(context);
    if (self.isError(result)) {
        return;
    }
    const IOHIDElementRef element = IOHIDValueGetElement(value);
    self.events_.push_back(
        "value " + nameOf(IOHIDElementGetDevice(element)) + " " + std::to_string(IOHIDElementGetUsagePage(element)) +
        ":" + std::to_string(IOHIDElementGetUsage(element)) + " " + std::to_string(IOHIDValueGetIntegerValue(value)));
    if (const auto action = self.onValue) { // a copy: the action may put another in its place
        action(value);
    }
}

void PlatformClient::report(void* context, IOReturn result, void* /*sender*/, IOHIDDeviceRef device,
                            std::span<const std::uint8_t> report) {
    auto& self = *static_cast<PlatformClient*>(context);
    if (self.isError(result)) {
        return;
    }
    std::string line = "report " + nameOf(device);
    for (const std::uint8_t byte : report) {
        line += " " + hexadecimal(byte, 2);
    }
    self.events_.push_back(std::move(line));
    if (const auto action = self.onReport) { // a copy: the action may put another in its place
        action(device);
    }
}

std::vector<HIDMatchingDictionary> gameControllers() {
    return {{{"DeviceUsagePage", 1}, {"DeviceUsage", 4}}, {{"DeviceUsagePage", 1}, {"DeviceUsage", 5}}};
}

} // namespace qz::tests
