// SPDX-License-Identifier: MIT
#include "tools/qzgc/monitor/MonitorListener.h"

#include "platform/HIDDevice.h"

#include <algorithm>

namespace qz::tools {

namespace {

/// The view has a place for every button.
ControlKind shownKindOf(const QZHIDElement& element) {
    switch (const ControlKind kind = kindOf(element); kind) {
    case ControlKind::DirectionPadButton:
        return ControlKind::Button;
    case ControlKind::Consumer:
        return ControlKind::Other;
    default:
        return kind;
    }
}

MonitoredControl controlOf(QZGCConfigurationManager& configuration, const QZHIDElement& element, std::string name) {
    MonitoredControl control;
    control.kind = shownKindOf(element);
    control.cookie = element.cookie();
    control.name = std::move(name);
    control.action = withoutControlCharacters(std::string(configuration.actionString(element).value_or("")));
    control.reversed = configuration.mustReverseDirection(element);
    control.logicalMin = element.theoreticalMin();
    control.logicalMax = element.theoreticalMax();
    control.calibratedMin = element.observedMin();
    control.calibratedMax = element.observedMax();
    control.rest = element.observedNeutral();
    return control;
}

} // namespace

MonitorListener::MonitorListener(std::string device, Time time, Changed changed)
    : device_(std::move(device)), time_(std::move(time)), changed_(std::move(changed)) {
    model_.wanted = withoutControlCharacters(device_);
}

void MonitorListener::follow(QZGCHIDManager& manager) {
    manager.setReportRawValues(true);
    IOHIDManagerRegisterInputReportCallback(manager.gameControllerHidManager(), reportArrived, this);
}

bool MonitorListener::hidManagerShouldConnectDevice(QZGCHIDManager& manager, platform::IOHIDDeviceRef device) {
    // One that could not be used can be now, or is being removed.
    if (std::erase_if(model_.unusable, [&](const UnusableController& each) { return each.handle == device; }) > 0) {
        changed_(true);
    }
    return !device->isGone() && isMeant(device_, identityOf(manager, device));
}

void MonitorListener::hidManagerDeviceConnected(QZGCHIDManager& manager, const std::shared_ptr<QZHIDDevice>& device) {
    Connected connected;
    connected.device = device;
    connected.elements = controlsOf(*device);
    connected.controller = std::make_shared<MonitoredController>();
    connected.controller->identity = identityOf(*device);
    connected.controller->number = ++connectedSoFar_;
    auto names = controlNames(*device);
    for (const auto& element : connected.elements) {
        std::string& name = names.at(element->cookie());
        connected.controller->controls.push_back(controlOf(*manager.configManager(), *element, std::move(name)));
    }
    model_.add(connected.controller);
    Connected& kept = connected_[device->ioHIDDeviceRef()] = std::move(connected);
    for (std::size_t i = 0; i < kept.elements.size(); ++i) {
        places_[kept.elements[i].get()] = {&kept, i};
    }
    changed_(true);
}

void MonitorListener::hidManagerDeviceDisconnected(QZGCHIDManager& /*manager*/,
                                                   const std::shared_ptr<QZHIDDevice>& device) {
    const auto found = device ? connected_.find(device->ioHIDDeviceRef()) : connected_.end();
    if (found == connected_.end()) {
        return;
    }
    for (const auto& element : found->second.elements) {
        places_.erase(element.get());
    }
    model_.remove(found->second.controller.get());
    connected_.erase(found);
    changed_(true);
}

void MonitorListener::hidManagerElementNewRawValue(QZGCHIDManager& /*manager*/,
                                                   const std::shared_ptr<QZHIDElement>& element,
                                                   std::int64_t newRawValue) {
    const auto found = places_.find(element.get());
    if (found == places_.end()) {
        return;
    }
    Connected& connected = *found->second.connected;
    const Moment now = time_();
    connected.controller->controls[found->second.control].spread.add(newRawValue, now);
    // Without reports, values that come together stand for one.
    if (!connected.handsOverReports && now - connected.latestValues > std::chrono::microseconds(500)) {
        connected.controller->reports.count(now);
        connected.latestValues = now;
    }
    changed_(true);
}

void MonitorListener::hidManagerHidError(QZGCHIDManager& /*manager*/, platform::IOReturn error) {
    model_.latestError = statusText(error) + remedyText(error);
    changed_(true);
}

void MonitorListener::controllerUnusable(QZGCHIDManager& manager, platform::IOHIDDeviceRef device,
                                         platform::IOReturn why) {
    ControllerIdentity identity = identityOf(manager, device);
    std::erase_if(model_.unusable, [&](const UnusableController& each) { return each.handle == device; });
    if (isMeant(device_, identity)) {
        model_.unusable.push_back({std::move(identity), statusText(why) + remedyText(why), device});
    }
    changed_(true);
}

void MonitorListener::reportArrived(void* context, platform::IOReturn result, void* /*sender*/,
                                    platform::IOHIDDeviceRef device, std::span<const std::uint8_t> /*report*/) {
    auto& listener = *static_cast<MonitorListener*>(context);
    const auto found = listener.connected_.find(device);
    if (result == platform::kIOReturnSuccess && found != listener.connected_.end()) {
        found->second.handsOverReports = true;
        found->second.controller->reports.count(listener.time_());
        listener.changed_(false);
    }
}

void MonitorListener::refresh() {
    for (auto& [handle, connected] : connected_) {
        refresh(connected);
    }
}

void MonitorListener::refresh(Connected& connected) {
    const Moment now = time_();
    for (std::size_t i = 0; i < connected.elements.size(); ++i) {
        const QZHIDElement& element = *connected.elements[i];
        MonitoredControl& control = connected.controller->controls[i];
        const auto value = lastKnownValue(*connected.device, element);
        if (value && control.raw != value) {
            control.raw = value;
            control.normalized = element.normalizedValue(*value);
            control.spread.add(*value, now);
        }
    }
}

} // namespace qz::tools
