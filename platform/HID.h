// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Export.h"
#include "platform/RunLoop.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

/// The HID services of the platform, as the layer above calls them.
///
/// The operations have their platform names. Every operation takes a handle; with a null handle it does nothing and
/// answers zero, absent or, where it answers a status, bad argument.
///
/// Order of the callbacks, which every back end keeps:
/// - Callbacks come from the run loop, never from inside a call of the client: also a device that is already there when
///   a manager is first scheduled is reported later, through the matching callback, like one that is plugged in then.
/// - Between its arrival and its removal a handle is reported once in a manager's life, so moving a manager to another
///   mode reports newcomers only. A removal is reported before the handle dies.
/// - No value and no report arrives for a device that has not been reported yet or has been removed.
/// - A report is handed over just before its values. All of these can be read by then.
/// - A callback may do anything: unschedule, close or release the manager, plug and unplug, or run the loop again. One
///   callback of a manager ends before its next one begins, so a nested turn of the loop leaves that manager's input
///   waiting. A callback in progress keeps its manager alive to its end.
namespace qz::platform {

class HIDDevice;
class HIDManager;
class Platform;
struct HIDElement;
struct HIDValue;

using IOHIDManagerRef = HIDManager*;       ///< Owned by who created it, given back with CFRelease.
using IOHIDDeviceRef = HIDDevice*;         ///< Never owned; valid until the removal callback returns, or while pinned.
using IOHIDElementRef = const HIDElement*; ///< Never owned; valid as long as its device.
using IOHIDValueRef = const HIDValue*;     ///< Never owned; valid during the callback that hands it over.

using IOReturn = std::int32_t;
using IOOptionBits = std::uint32_t;

inline constexpr IOReturn kIOReturnSuccess = 0;
inline constexpr IOReturn kIOReturnError = static_cast<IOReturn>(0xe00002bcU);
inline constexpr IOReturn kIOReturnNoResources = static_cast<IOReturn>(0xe00002beU);
inline constexpr IOReturn kIOReturnNoDevice = static_cast<IOReturn>(0xe00002c0U);
inline constexpr IOReturn kIOReturnBadArgument = static_cast<IOReturn>(0xe00002c2U);
inline constexpr IOReturn kIOReturnExclusiveAccess = static_cast<IOReturn>(0xe00002c5U);
inline constexpr IOReturn kIOReturnUnsupported = static_cast<IOReturn>(0xe00002c7U);
inline constexpr IOReturn kIOReturnIOError = static_cast<IOReturn>(0xe00002caU);
inline constexpr IOReturn kIOReturnNotPermitted = static_cast<IOReturn>(0xe00002e2U);

inline constexpr IOOptionBits kIOHIDOptionsTypeNone = 0;
/// Reads the last value known without asking the device.
inline constexpr IOOptionBits kIOHIDDeviceGetValueWithoutUpdateOption = 0x40000;

/// The types of elements; back ends may give others too.
inline constexpr std::int32_t kIOHIDElementTypeInput_Misc = 1;
inline constexpr std::int32_t kIOHIDElementTypeInput_Button = 2;
inline constexpr std::int32_t kIOHIDElementTypeInput_Axis = 3;
inline constexpr std::int32_t kIOHIDElementTypeInput_ScanCodes = 4;
inline constexpr std::int32_t kIOHIDElementTypeOutput = 129;
inline constexpr std::int32_t kIOHIDElementTypeFeature = 257;
inline constexpr std::int32_t kIOHIDElementTypeCollection = 513;

/// One element of a device, the same plain record in every back end; immutable once its device is known to a client.
struct HIDElement {
    std::uint32_t cookie = 0;
    std::int32_t type = 0; ///< kIOHIDElementType…, or any other number
    std::int32_t collectionType = 0;
    std::uint32_t usagePage = 0;
    std::uint32_t usage = 0;
    bool hasPreferredState = true;
    std::int64_t logicalMin = 0;
    std::int64_t logicalMax = 0;
    /// A collection's members in order; absent when the platform lists none. The array belongs to the device.
    std::optional<std::span<const IOHIDElementRef>> children = std::nullopt;
    IOHIDDeviceRef device = nullptr;
};

/// One value of one element, made by the back end for the time of a callback or a read.
struct HIDValue {
    IOHIDElementRef element = nullptr;
    std::int64_t integerValue = 0;
};

/// A device property: a string, an integer or a floating-point number.
using PropertyValue = std::variant<std::string, std::int64_t, double>;

/// What a device must have to match: every property named, with the number given. "DeviceUsagePage" and "DeviceUsage"
/// together name one of the device's application collections.
using HIDMatchingDictionary = std::map<std::string, std::int32_t, std::less<>>;

using IOHIDDeviceCallback = void (*)(void* context, IOReturn result, void* sender, IOHIDDeviceRef device);
using IOHIDValueCallback = void (*)(void* context, IOReturn result, void* sender, IOHIDValueRef value);
using IOHIDReportCallback = void (*)(void* context, IOReturn result, void* sender, IOHIDDeviceRef device,
                                     std::span<const std::uint8_t> report);

/// A new manager of `platform`, owned by the caller, or null when the platform cannot make one.
QZGC_EXPORT IOHIDManagerRef IOHIDManagerCreate(Platform& platform, IOOptionBits options);

/// Reports the devices that match any one of `criteria`.
QZGC_EXPORT void IOHIDManagerSetDeviceMatchingMultiple(IOHIDManagerRef manager,
                                                       std::span<const HIDMatchingDictionary> criteria);

/// Registers a function and the context that it is called with; null for both unregisters.
QZGC_EXPORT void IOHIDManagerRegisterDeviceMatchingCallback(IOHIDManagerRef manager, IOHIDDeviceCallback callback,
                                                            void* context);
QZGC_EXPORT void IOHIDManagerRegisterDeviceRemovalCallback(IOHIDManagerRef manager, IOHIDDeviceCallback callback,
                                                           void* context);
QZGC_EXPORT void IOHIDManagerRegisterInputValueCallback(IOHIDManagerRef manager, IOHIDValueCallback callback,
                                                        void* context);
/// The same for input reports as the device sent them, its ID in front where it has report IDs; the bytes are valid
/// during the callback. A report that brings no value, or that the device does not declare, is handed over too.
QZGC_EXPORT void IOHIDManagerRegisterInputReportCallback(IOHIDManagerRef manager, IOHIDReportCallback callback,
                                                         void* context);

/// Delivers the callbacks while `runLoop` runs in `mode`, or no longer does.
QZGC_EXPORT void IOHIDManagerScheduleWithRunLoop(IOHIDManagerRef manager, CFRunLoopRef runLoop, RunLoopMode mode);
QZGC_EXPORT void IOHIDManagerUnscheduleFromRunLoop(IOHIDManagerRef manager, CFRunLoopRef runLoop, RunLoopMode mode);

/// Begins, or ends, to read the input of the matched devices. Opening answers success also without any device, and when
/// some cannot be used at present; no resources when the manager itself has not what it takes, and then it can be tried
/// again.
QZGC_EXPORT IOReturn IOHIDManagerOpen(IOHIDManagerRef manager, IOOptionBits options);
QZGC_EXPORT IOReturn IOHIDManagerClose(IOHIDManagerRef manager, IOOptionBits options);

/// Gives the manager back.
QZGC_EXPORT void CFRelease(IOHIDManagerRef manager);

/// The run loop of the calling thread; on the virtual platform the one loop that is driven by hand.
QZGC_EXPORT CFRunLoopRef CFRunLoopGetCurrent(Platform& platform);

/// The property with this name, or null; valid until it is next changed.
QZGC_EXPORT const PropertyValue* IOHIDDeviceGetProperty(IOHIDDeviceRef device, std::string_view key);
/// A number that every change of a property raises.
QZGC_EXPORT std::uint64_t IOHIDDeviceGetPropertyRevision(IOHIDDeviceRef device);

/// All elements of the device in a stable order; absent when the platform has no list for it.
QZGC_EXPORT std::optional<std::vector<IOHIDElementRef>> IOHIDDeviceCopyMatchingElements(IOHIDDeviceRef device);

/// Reads one element's value into `value`. Only the last known value can be read, which `options` has to ask for
/// (unsupported otherwise); an error when there is none yet, no device when the device is gone.
QZGC_EXPORT IOReturn IOHIDDeviceGetValueWithOptions(IOHIDDeviceRef device, IOHIDElementRef element, HIDValue& value,
                                                    IOOptionBits options);

/// Keeps the description of the device, and with it the handles of the device and its elements, from going away with
/// the unplugging: they still answer, only reading a value fails.
QZGC_EXPORT std::shared_ptr<HIDDevice> pin(IOHIDDeviceRef device);
QZGC_EXPORT std::shared_ptr<const HIDElement> pin(IOHIDElementRef element);

// The attributes of an element and of a value are fields of their records.
inline std::uint32_t IOHIDElementGetCookie(IOHIDElementRef e) {
    return e != nullptr ? e->cookie : 0;
}
inline std::int32_t IOHIDElementGetType(IOHIDElementRef e) {
    return e != nullptr ? e->type : 0;
}
inline std::int32_t IOHIDElementGetCollectionType(IOHIDElementRef e) {
    return e != nullptr ? e->collectionType : 0;
}
inline std::uint32_t IOHIDElementGetUsagePage(IOHIDElementRef e) {
    return e != nullptr ? e->usagePage : 0;
}
inline std::uint32_t IOHIDElementGetUsage(IOHIDElementRef e) {
    return e != nullptr ? e->usage : 0;
}
inline std::int64_t IOHIDElementGetLogicalMin(IOHIDElementRef e) {
    return e != nullptr ? e->logicalMin : 0;
}
inline std::int64_t IOHIDElementGetLogicalMax(IOHIDElementRef e) {
    return e != nullptr ? e->logicalMax : 0;
}
inline bool IOHIDElementHasPreferredState(IOHIDElementRef e) {
    return e != nullptr && e->hasPreferredState;
}
inline IOHIDDeviceRef IOHIDElementGetDevice(IOHIDElementRef e) {
    return e != nullptr ? e->device : nullptr;
}
inline std::optional<std::span<const IOHIDElementRef>> IOHIDElementGetChildren(IOHIDElementRef e) {
    return e != nullptr ? e->children : std::nullopt;
}
inline IOHIDElementRef IOHIDValueGetElement(IOHIDValueRef v) {
    return v != nullptr ? v->element : nullptr;
}
inline std::int64_t IOHIDValueGetIntegerValue(IOHIDValueRef v) {
    return v != nullptr ? v->integerValue : 0;
}

} // namespace qz::platform
