// SPDX-License-Identifier: MIT
#pragma once

#include "platform/report/Recording.h"
#include "tools/qzgc/session/Controllers.h"

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace qz::tools {

/// Makes a recording of the controllers that are connected and of their reports, as it happens.
class RecordingListener final : public Listener {
public:
    using Time = std::function<std::chrono::microseconds()>;
    /// Whether the text got where it belongs.
    using Sink = std::function<bool(const std::string& text)>;

    RecordingListener(std::string device, Time time, Sink sink);

    /// Takes the reports of this manager's devices. Before the session starts; the manager must go first.
    void takeReports(QZGCHIDManager& manager);

    /// Says on the standard error which controllers it records: who records live wants to know when it is time to move.
    void announceControllers() noexcept { announces_ = true; }

    /// From now on a controller that is connected comes during the recording; those before were there already.
    void begin() noexcept { begun_ = true; }

    bool hidManagerShouldConnectDevice(QZGCHIDManager& manager, platform::IOHIDDeviceRef device) override;
    void hidManagerDeviceConnected(QZGCHIDManager& manager, const std::shared_ptr<QZHIDDevice>& device) override;
    void hidManagerDeviceDisconnected(QZGCHIDManager& manager, const std::shared_ptr<QZHIDDevice>& device) override;
    void hidManagerHidError(QZGCHIDManager& manager, platform::IOReturn error) override;
    void controllerUnusable(QZGCHIDManager& manager, platform::IOHIDDeviceRef device, platform::IOReturn why) override;

    std::size_t devices() const noexcept { return recorded_.size(); }
    std::size_t reports() const noexcept { return reports_; }
    /// Controllers that came and were not meant.
    const std::vector<ControllerIdentity>& others() const noexcept { return others_; }

private:
    /// One that comes again is the same device.
    struct Recorded {
        platform::RecordedDevice description;
        platform::IOHIDDeviceRef handle = nullptr; ///< null while it is not there
    };

    static void reportArrived(void* context, platform::IOReturn result, void* sender, platform::IOHIDDeviceRef device,
                              std::span<const std::uint8_t> report);

    void connect(platform::IOHIDDeviceRef handle, platform::RecordedDevice description);
    bool write(std::size_t index, platform::RecordedEvent::Kind kind, std::span<const std::uint8_t> report = {});
    bool send(const std::string& text);

    std::string device_;
    Time time_;
    Sink sink_;
    platform::RecordingWriter writer_;
    std::vector<Recorded> recorded_;
    std::vector<ControllerIdentity> others_;
    std::size_t reports_ = 0;
    std::size_t bytes_ = 0;
    bool begun_ = false;
    bool announces_ = false;
};

} // namespace qz::tools
