// SPDX-License-Identifier: MIT
#include "platform/HID.h"

#include "platform/HIDDevice.h"
#include "platform/HIDManager.h"
#include "platform/Platform.h"

namespace qz::platform {

HIDManager::~HIDManager() = default;
HIDServices::~HIDServices() = default;

IOHIDManagerRef IOHIDManagerCreate(Platform& platform, IOOptionBits options) {
    return platform.hidServices().createManager(options);
}

void IOHIDManagerSetDeviceMatchingMultiple(IOHIDManagerRef manager, std::span<const HIDMatchingDictionary> criteria) {
    if (manager != nullptr) {
        manager->setDeviceMatchingMultiple(criteria);
    }
}

void IOHIDManagerRegisterDeviceMatchingCallback(IOHIDManagerRef manager, IOHIDDeviceCallback callback, void* context) {
    if (manager != nullptr) {
        manager->registerDeviceMatchingCallback(callback, context);
    }
}

void IOHIDManagerRegisterDeviceRemovalCallback(IOHIDManagerRef manager, IOHIDDeviceCallback callback, void* context) {
    if (manager != nullptr) {
        manager->registerDeviceRemovalCallback(callback, context);
    }
}

void IOHIDManagerRegisterInputValueCallback(IOHIDManagerRef manager, IOHIDValueCallback callback, void* context) {
    if (manager != nullptr) {
        manager->registerInputValueCallback(callback, context);
    }
}

void IOHIDManagerRegisterInputReportCallback(IOHIDManagerRef manager, IOHIDReportCallback callback, void* context) {
    if (manager != nullptr) {
        manager->registerInputReportCallback(callback, context);
    }
}

void IOHIDManagerScheduleWithRunLoop(IOHIDManagerRef manager, CFRunLoopRef runLoop, RunLoopMode mode) {
    if (manager != nullptr && runLoop != nullptr) {
        manager->scheduleWithRunLoop(*runLoop, mode);
    }
}

void IOHIDManagerUnscheduleFromRunLoop(IOHIDManagerRef manager, CFRunLoopRef runLoop, RunLoopMode mode) {
    if (manager != nullptr && runLoop != nullptr) {
        manager->unscheduleFromRunLoop(*runLoop, mode);
    }
}

IOReturn IOHIDManagerOpen(IOHIDManagerRef manager, IOOptionBits options) {
    return manager != nullptr ? manager->open(options) : kIOReturnBadArgument;
}

IOReturn IOHIDManagerClose(IOHIDManagerRef manager, IOOptionBits options) {
    return manager != nullptr ? manager->close(options) : kIOReturnBadArgument;
}

void CFRelease(IOHIDManagerRef manager) {
    if (manager != nullptr) {
        manager->release();
    }
}

CFRunLoopRef CFRunLoopGetCurrent(Platform& platform) {
    return &platform.currentRunLoop();
}

const PropertyValue* IOHIDDeviceGetProperty(IOHIDDeviceRef device, std::string_view key) {
    return device != nullptr ? device->property(key) : nullptr;
}

[[gnu::hot]] std::uint64_t IOHIDDeviceGetPropertyRevision(IOHIDDeviceRef device) {
    return device != nullptr ? device->propertyRevision() : 0;
}

std::optional<std::vector<IOHIDElementRef>> IOHIDDeviceCopyMatchingElements(IOHIDDeviceRef device) {
    if (device == nullptr || !device->elements()) {
        return std::nullopt;
    }
    std::vector<IOHIDElementRef> list;
    list.reserve(device->elements()->size());
    for (const HIDElement& element : *device->elements()) {
        list.push_back(&element);
    }
    return list;
}

IOReturn IOHIDDeviceGetValueWithOptions(IOHIDDeviceRef device, IOHIDElementRef element, HIDValue& value,
                                        IOOptionBits options) {
    if (device == nullptr || element == nullptr || element->device != device) {
        return kIOReturnBadArgument;
    }
    if ((options & kIOHIDDeviceGetValueWithoutUpdateOption) == 0) {
        return kIOReturnUnsupported;
    }
    if (device->isGone()) {
        return kIOReturnNoDevice;
    }
    const std::optional<std::int64_t> known = device->lastKnownValue(element);
    if (!known) {
        return kIOReturnError;
    }
    value = {element, *known};
    return kIOReturnSuccess;
}

std::shared_ptr<HIDDevice> pin(IOHIDDeviceRef device) {
    return device != nullptr ? device->shared_from_this() : nullptr;
}

std::shared_ptr<const HIDElement> pin(IOHIDElementRef element) {
    // The element's record lies within its device, so keeping the device keeps the record.
    return {element != nullptr ? pin(element->device) : nullptr, element};
}

} // namespace qz::platform
