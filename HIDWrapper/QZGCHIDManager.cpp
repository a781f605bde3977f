// SPDX-License-Identifier: MIT
#include "HIDWrapper/QZGCHIDManager.h"

#include "HIDWrapper/QZGCHIDManagerDelegate.h"
#include "HIDWrapper/QZHIDDevice.h"
#include "HIDWrapper/QZHIDElement.h"
#include "HIDWrapper/QZHIDUsages.h"
#include "QZGameController/QZGCConfigurationManager.h"

#include <array>

using namespace qz::platform;

namespace {

HIDMatchingDictionary matchingDictionary(std::int64_t usagePage, std::int64_t usage) {
    return {{"DeviceUsagePage", static_cast<std::int32_t>(usagePage)},
            {"DeviceUsage", static_cast<std::int32_t>(usage)}};
}

} // namespace

QZGCHIDManagerDelegate::~QZGCHIDManagerDelegate() = default;

const std::shared_ptr<QZHIDDevice>* QZHIDDeviceTable::find(IOHIDDeviceRef handle) const {
    const auto found = places_.find(handle);
    return found != places_.end() ? &entries_[found->second.position].second : nullptr;
}

// With the map's own code in it, which is nowhere near otherwise.
[[gnu::hot, gnu::flatten]] QZHIDDevice* QZHIDDeviceTable::device(IOHIDDeviceRef handle) const {
    const auto found = places_.find(handle);
    return found != places_.end() ? found->second.device : nullptr;
}

void QZHIDDeviceTable::set(IOHIDDeviceRef handle, std::shared_ptr<QZHIDDevice> device) {
    if (!device) {
        remove(handle);
        return;
    }
    entries_.reserve(entries_.size() + 1);
    const auto [found, isNew] = places_.try_emplace(handle, Place{entries_.size(), device.get()});
    if (isNew) {
        entries_.emplace_back(handle, std::move(device));
    } else {
        found->second.device = device.get();
        // The replaced device goes away after the table is whole again: its end may run the client's code.
        entries_[found->second.position].second.swap(device);
    }
}

void QZHIDDeviceTable::remove(IOHIDDeviceRef handle) {
    const auto found = places_.find(handle);
    if (found == places_.end()) {
        return;
    }
    const std::size_t position = found->second.position;
    places_.erase(found);
    const Entry removed = std::move(entries_[position]);
    entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(position));
    for (auto& [key, place] : places_) {
        place.position -= place.position > position ? 1 : 0;
    }
}

std::shared_ptr<QZGCHIDManager> QZGCHIDManager::create(std::shared_ptr<QZGCConfigurationManager> configurationManager,
                                                       Platform& platform) {
    return std::make_shared<QZGCHIDManager>(Private{}, std::move(configurationManager), platform);
}

QZGCHIDManager::QZGCHIDManager(Private /*only create makes one*/,
                               std::shared_ptr<QZGCConfigurationManager> configurationManager, Platform& platform)
    : platform_(platform), configManager_(std::move(configurationManager)),
      gameControllerHidManager_(IOHIDManagerCreate(platform, kIOHIDOptionsTypeNone)) {}

QZGCHIDManager::~QZGCHIDManager() {
    if (successfullySetUp_) {
        IOHIDManagerClose(gameControllerHidManager_, kIOHIDOptionsTypeNone);
        unscheduleFromRunLoop();
        IOHIDManagerRegisterInputValueCallback(gameControllerHidManager_, nullptr, nullptr);
        IOHIDManagerRegisterDeviceMatchingCallback(gameControllerHidManager_, nullptr, nullptr);
    }
    if (gameControllerHidManager_ != nullptr) {
        CFRelease(std::exchange(gameControllerHidManager_, nullptr));
    }
}

IOReturn QZGCHIDManager::setupWithDelegate(const std::shared_ptr<QZGCHIDManagerDelegate>& delegate) {
    delegate_ = delegate;
    matchWithGameControllers();
    registerConnectionCallbacks();
    scheduleWithRunLoop();
    const IOReturn result = IOHIDManagerOpen(gameControllerHidManager_, kIOHIDOptionsTypeNone);
    if (result != kIOReturnSuccess) {
        return result;
    }
    IOHIDManagerRegisterInputValueCallback(gameControllerHidManager_, inputValueCallback, this);
    successfullySetUp_ = true;
    return kIOReturnSuccess;
}

void QZGCHIDManager::matchWithGameControllers() {
    if (gameControllerHidManager_ != nullptr) {
        const std::array criteria{matchingDictionary(usages::genericDesktopPage, usages::joystick),
                                  matchingDictionary(usages::genericDesktopPage, usages::gamePad)};
        IOHIDManagerSetDeviceMatchingMultiple(gameControllerHidManager_, criteria);
    }
}

void QZGCHIDManager::registerConnectionCallbacks() {
    if (gameControllerHidManager_ != nullptr) {
        IOHIDManagerRegisterDeviceMatchingCallback(gameControllerHidManager_, deviceMatchingCallback, this);
        IOHIDManagerRegisterDeviceRemovalCallback(gameControllerHidManager_, deviceRemovalCallback, this);
    }
}

RunLoopMode QZGCHIDManager::scheduledMode() const noexcept {
    return modalMode_ ? NSModalPanelRunLoopMode : kCFRunLoopDefaultMode;
}

void QZGCHIDManager::scheduleWithRunLoop() {
    IOHIDManagerScheduleWithRunLoop(gameControllerHidManager_, CFRunLoopGetCurrent(platform_), scheduledMode());
}

void QZGCHIDManager::unscheduleFromRunLoop() {
    IOHIDManagerUnscheduleFromRunLoop(gameControllerHidManager_, CFRunLoopGetCurrent(platform_), scheduledMode());
}

void QZGCHIDManager::setModalMode(bool modalMode) {
    if (modalMode == modalMode_) {
        return;
    }
    unscheduleFromRunLoop();
    modalMode_ = modalMode;
    scheduleWithRunLoop();
}

std::vector<std::shared_ptr<QZHIDDevice>> QZGCHIDManager::devices() const {
    std::vector<std::shared_ptr<QZHIDDevice>> devices;
    devices.reserve(connectedHIDDevices_.entries().size());
    for (const auto& [handle, device] : connectedHIDDevices_.entries()) {
        devices.push_back(device);
    }
    return devices;
}

void QZGCHIDManager::hidDeviceConnected(IOHIDDeviceRef deviceRef) {
    if (const auto asked = delegate(); asked && !asked->hidManagerShouldConnectDevice(*this, deviceRef)) {
        return;
    }
    const auto device = QZHIDDevice::create(deviceRef, shared_from_this());
    connectedHIDDevices_.set(deviceRef, device);
    if (const auto told = delegate()) {
        told->hidManagerDeviceConnected(*this, device);
    }
}

void QZGCHIDManager::hidDeviceDisconnected(IOHIDDeviceRef deviceRef) {
    const auto* const found = connectedHIDDevices_.find(deviceRef);
    const std::shared_ptr<QZHIDDevice> device = found != nullptr ? *found : nullptr;
    if (!device) {
        // Normally a device that the delegate refused. By design one that it wants now is disconnected as null.
        if (const auto asked = delegate(); asked && !asked->hidManagerShouldConnectDevice(*this, deviceRef)) {
            return;
        }
    }
    connectedHIDDevices_.remove(deviceRef);
    if (const auto told = delegate()) {
        told->hidManagerDeviceDisconnected(*this, device);
    }
}

[[gnu::hot]] void QZGCHIDManager::inputValueUpdate(IOHIDValueRef value) {
    if (calibrationMode_) {
        inputValueUpdateForCalibration(value);
    } else {
        inputValueUpdateRegular(value);
    }
}

[[gnu::hot]] const std::shared_ptr<QZHIDElement>* QZGCHIDManager::findElement(IOHIDValueRef value) const {
    const IOHIDElementRef elementRef = IOHIDValueGetElement(value);
    const QZHIDDevice* const device = connectedHIDDevices_.device(IOHIDElementGetDevice(elementRef));
    if (device == nullptr || !device->elementsByCookie()) {
        return nullptr;
    }
    // Widened with sign, while elements widen it with zeros: by design a cookie from 2^31 on never finds its element.
    const auto found = device->elementsByCookie()->find(static_cast<std::int32_t>(IOHIDElementGetCookie(elementRef)));
    return found != device->elementsByCookie()->end() ? &found->second : nullptr;
}

std::shared_ptr<QZHIDElement> QZGCHIDManager::elementForValueRef(IOHIDValueRef value) const {
    const auto* const found = findElement(value);
    return found != nullptr ? *found : nullptr;
}

[[gnu::hot]] void QZGCHIDManager::inputValueUpdateRegular(IOHIDValueRef value) {
    const auto* const found = findElement(value);
    if (found == nullptr || delegate_.expired()) {
        return;
    }
    QZHIDElement& element = **found;
    const std::int64_t raw = IOHIDValueGetIntegerValue(value);
    double reported = element.normalizedValue(raw);
    if (configManager_ && configManager_->mustReverseDirection(element)) {
        reported = 1.0 - reported;
    }
    if (element.twoState()) {
        reported = reported == 0.0 ? 0.0 : 1.0;
    }
    if (!element.valueQualifiesForReporting(reported)) {
        return;
    }
    if (reportRawValues_) {
        // A share of our own: the delegate may end the device, and the action is asked for after its call.
        reportRawAndMappedValue(std::shared_ptr(*found), raw, reported);
    } else {
        reportMappedValue(element, reported);
    }
}

[[gnu::hot]] void QZGCHIDManager::reportRawAndMappedValue(const std::shared_ptr<QZHIDElement>& element,
                                                          std::int64_t raw, double reported) {
    if (const auto told = delegate()) {
        told->hidManagerElementNewRawValue(*this, element, raw);
    }
    reportMappedValue(*element, reported);
}

[[gnu::hot]] void QZGCHIDManager::reportMappedValue(const QZHIDElement& element, double reported) {
    if (!reportMappedValues_ || !configManager_) {
        return;
    }
    // An action of our own: the delegate may change the mapping while it reads the name.
    const auto action = configManager_->action(element);
    if (const auto told = action ? delegate() : nullptr) {
        told->hidManagerActionNewValue(*this, action->rawValue(), reported);
    }
}

void QZGCHIDManager::inputValueUpdateForCalibration(IOHIDValueRef value) {
    const auto* const found = findElement(value);
    if (found != nullptr && (*found)->isSubjectToCalibration()) {
        (*found)->receivedNewCalibrationValue(IOHIDValueGetIntegerValue(value));
    }
}

void QZGCHIDManager::startCalibration() {
    if (calibrationMode_) {
        return;
    }
    calibrationMode_ = true;
    for (const auto& device : devices()) {
        device->startCalibration();
    }
}

void QZGCHIDManager::endCalibration() {
    if (!calibrationMode_) {
        return;
    }
    calibrationMode_ = false;
    for (const auto& device : devices()) {
        device->endCalibration();
    }
}

void QZGCHIDManager::startLimitedValueReportingWithHysteresis(double hysteresis) {
    for (const auto& device : devices()) {
        device->startLimitedValueReportingWithHysteresis(hysteresis);
    }
}

void QZGCHIDManager::endLimitedValueReporting() {
    for (const auto& device : devices()) {
        device->endLimitedValueReporting();
    }
}

void QZGCHIDManager::hidError(IOReturn error) {
    if (const auto told = delegate()) {
        told->hidManagerHidError(*this, error);
    }
}

void deviceMatchingCallback(void* context, IOReturn result, void* /*sender*/, IOHIDDeviceRef device) {
    const auto manager = static_cast<QZGCHIDManager*>(context)->shared_from_this();
    if (result == kIOReturnSuccess) {
        manager->hidDeviceConnected(device);
    } else {
        manager->hidError(result);
    }
}

void deviceRemovalCallback(void* context, IOReturn result, void* /*sender*/, IOHIDDeviceRef device) {
    const auto manager = static_cast<QZGCHIDManager*>(context)->shared_from_this();
    if (result == kIOReturnSuccess) {
        manager->hidDeviceDisconnected(device);
    } else {
        manager->hidError(result);
    }
}

[[gnu::hot]] void inputValueCallback(void* context, IOReturn result, void* /*sender*/, IOHIDValueRef value) {
    const auto manager = static_cast<QZGCHIDManager*>(context)->shared_from_this();
    if (result == kIOReturnSuccess) {
        manager->inputValueUpdate(value);
    } else {
        manager->hidError(result);
    }
}
