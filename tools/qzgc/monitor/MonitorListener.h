// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/monitor/MonitorModel.h"

#include <functional>
#include <span>
#include <unordered_map>

namespace qz::tools {

/// Keeps a monitor's model up to date. What arrives a thousand times a second is only stored; `refresh` does the rest
/// before the model is drawn.
class MonitorListener final : public Listener {
public:
    using Time = std::function<Moment()>;
    /// `soon`: values or controllers have changed, else only the number of reports.
    using Changed = std::function<void(bool soon)>;

    MonitorListener(std::string device, Time time, Changed changed);

    /// Takes the values and reports of this manager's devices. Before the session starts; the manager must go first.
    void follow(QZGCHIDManager& manager);

    MonitorModel& model() noexcept { return model_; }
    /// Brings the values of all controls up to date, those included that the library did not report.
    void refresh();

    bool hidManagerShouldConnectDevice(QZGCHIDManager& manager, platform::IOHIDDeviceRef device) override;
    void hidManagerDeviceConnected(QZGCHIDManager& manager, const std::shared_ptr<QZHIDDevice>& device) override;
    void hidManagerDeviceDisconnected(QZGCHIDManager& manager, const std::shared_ptr<QZHIDDevice>& device) override;
    void hidManagerElementNewRawValue(QZGCHIDManager& manager, const std::shared_ptr<QZHIDElement>& element,
                                      std::int64_t newRawValue) override;
    void hidManagerHidError(QZGCHIDManager& manager, platform::IOReturn error) override;
    void controllerUnusable(QZGCHIDManager& manager, platform::IOHIDDeviceRef device, platform::IOReturn why) override;

private:
    struct Connected {
        std::shared_ptr<QZHIDDevice> device;
        std::shared_ptr<MonitoredController> controller;
        std::vector<std::shared_ptr<QZHIDElement>> elements; ///< of the controller's controls, in their order
        bool handsOverReports = false;                       ///< whether the back end does
        Moment latestValues{0};
    };
    struct Place {
        Connected* connected;
        std::size_t control;
    };

    static void reportArrived(void* context, platform::IOReturn result, void* sender, platform::IOHIDDeviceRef device,
                              std::span<const std::uint8_t> report);

    void refresh(Connected& connected);

    std::string device_;
    Time time_;
    Changed changed_;
    MonitorModel model_;
    std::size_t connectedSoFar_ = 0;
    std::unordered_map<platform::IOHIDDeviceRef, Connected> connected_;
    std::unordered_map<const QZHIDElement*, Place> places_;
};

} // namespace qz::tools
