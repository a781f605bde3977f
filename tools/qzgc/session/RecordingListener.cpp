// SPDX-License-Identifier: MIT
#include "tools/qzgc/session/RecordingListener.h"

#include "platform/HIDDevice.h"
#include "tools/qzgc/session/Controllers.h"

#include <algorithm>
#include <iostream>

namespace qz::tools {

using platform::RecordedEvent;

RecordingListener::RecordingListener(std::string device, Time time, Sink sink)
    : device_(std::move(device)), time_(std::move(time)), sink_(std::move(sink)) {}

void RecordingListener::takeReports(QZGCHIDManager& manager) {
    IOHIDManagerRegisterInputReportCallback(manager.gameControllerHidManager(), reportArrived, this);
}

bool RecordingListener::hidManagerShouldConnectDevice(QZGCHIDManager& manager, platform::IOHIDDeviceRef device) {
    ControllerIdentity identity = identityOf(manager, device);
    if (isMeant(device_, identity)) {
        return true;
    }
    // Also asked about one that is removed and has not been admitted.
    if (std::ranges::find(others_, identity) == others_.end()) {
        others_.push_back(std::move(identity));
    }
    return false;
}

void RecordingListener::hidManagerDeviceConnected(QZGCHIDManager& /*manager*/,
                                                  const std::shared_ptr<QZHIDDevice>& device) {
    const platform::IOHIDDeviceRef handle = device->ioHIDDeviceRef();
    if (auto description = handle->recordedDevice()) {
        connect(handle, *std::move(description));
        if (announces_) {
            std::cerr << "qzgc: recording \"" << identityOf(*device).name << "\"\n";
        }
    } else {
        std::cerr << "qzgc: \"" << identityOf(*device).name
                  << "\" is left out: the system has no report descriptor of it\n";
    }
}

void RecordingListener::connect(platform::IOHIDDeviceRef handle, platform::RecordedDevice description) {
    const auto known = std::ranges::find_if(
        recorded_, [&](const Recorded& each) { return each.handle == nullptr && each.description == description; });
    const auto index = static_cast<std::size_t>(known - recorded_.begin());
    if (known == recorded_.end()) {
        if (recorded_.size() == platform::RecordingLimits::devices) {
            throw Failure("the recording is full: it has " + std::to_string(recorded_.size()) +
                          " devices; begin another one");
        }
        recorded_.push_back({std::move(description), nullptr});
        send(writer_.describe(static_cast<std::uint32_t>(index), recorded_[index].description));
    }
    recorded_[index].handle = handle;
    if (begun_) {
        write(index, RecordedEvent::Kind::PluggedIn);
    }
}

void RecordingListener::hidManagerDeviceDisconnected(QZGCHIDManager& /*manager*/,
                                                     const std::shared_ptr<QZHIDDevice>& device) {
    const auto found = std::ranges::find(recorded_, device ? device->ioHIDDeviceRef() : nullptr, &Recorded::handle);
    if (device && found != recorded_.end()) {
        found->handle = nullptr;
        write(static_cast<std::size_t>(found - recorded_.begin()), RecordedEvent::Kind::Unplugged);
    }
}

void RecordingListener::hidManagerHidError(QZGCHIDManager& /*manager*/, platform::IOReturn error) {
    std::cerr << "qzgc: " << statusText(error) << remedyText(error) << '\n';
}

void RecordingListener::controllerUnusable(QZGCHIDManager& manager, platform::IOHIDDeviceRef device,
                                           platform::IOReturn why) {
    const ControllerIdentity identity = identityOf(manager, device);
    if (isMeant(device_, identity)) {
        std::cerr << "qzgc: " << unusableText(identity, statusText(why) + remedyText(why)) << '\n';
    }
}

void RecordingListener::reportArrived(void* context, platform::IOReturn result, void* /*sender*/,
                                      platform::IOHIDDeviceRef device, std::span<const std::uint8_t> report) {
    auto& listener = *static_cast<RecordingListener*>(context);
    // Controllers that are not meant report too.
    const auto found = std::ranges::find(listener.recorded_, device, &Recorded::handle);
    if (result == platform::kIOReturnSuccess && found != listener.recorded_.end()) {
        const auto index = static_cast<std::size_t>(found - listener.recorded_.begin());
        listener.reports_ += listener.write(index, RecordedEvent::Kind::Report, report) ? 1U : 0U;
    }
}

bool RecordingListener::write(std::size_t index, RecordedEvent::Kind kind, std::span<const std::uint8_t> report) {
    return send(writer_.write({.kind = kind,
                               .device = static_cast<std::uint32_t>(index),
                               .time = time_(),
                               .report = {report.begin(), report.end()}}));
}

bool RecordingListener::send(const std::string& text) {
    bytes_ += text.size();
    if (bytes_ > platform::RecordingLimits::textBytes) {
        throw Failure("the recording is full: it has the " + std::to_string(platform::RecordingLimits::textBytes) +
                      " bytes that can be read again; begin another one");
    }
    return sink_(text);
}

} // namespace qz::tools
