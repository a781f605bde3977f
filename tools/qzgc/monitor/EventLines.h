// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/session/Controllers.h"

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace qz::tools {

/// What happens to controllers, a line for each event: for people, or one JSON object for scripts. The form is
/// described in docs/tool.md.
class EventLines final : public Listener {
public:
    struct Options {
        std::string device; ///< DEVICE: controllers that it does not mean are not admitted
        bool json = false;
        bool raw = false; ///< whether raw values are told, beside those of actions
    };
    using Time = std::function<std::chrono::microseconds()>;
    using Sink = std::function<void(const std::string& line)>; ///< the line end included

    /// The manager has to report raw values, whatever the options say: they tell which control an action's value is of.
    EventLines(Options options, Time time, Sink sink);

    bool hidManagerShouldConnectDevice(QZGCHIDManager& manager, platform::IOHIDDeviceRef device) override;
    void hidManagerDeviceConnected(QZGCHIDManager& manager, const std::shared_ptr<QZHIDDevice>& device) override;
    void hidManagerDeviceDisconnected(QZGCHIDManager& manager, const std::shared_ptr<QZHIDDevice>& device) override;
    void hidManagerElementNewRawValue(QZGCHIDManager& manager, const std::shared_ptr<QZHIDElement>& element,
                                      std::int64_t newRawValue) override;
    void hidManagerActionNewValue(QZGCHIDManager& manager, const std::string& action, double newValue) override;
    void hidManagerHidError(QZGCHIDManager& manager, platform::IOReturn error) override;
    void controllerUnusable(QZGCHIDManager& manager, platform::IOHIDDeviceRef device, platform::IOReturn why) override;

    /// How many controllers have been admitted so far.
    std::size_t connectedSoFar() const noexcept { return connectedSoFar_; }

private:
    struct Controller {
        std::size_t number; ///< in the order in which controllers are connected, from 1
        ControllerIdentity identity;
        std::map<std::int64_t, std::string> names = {}; ///< of its controls, where lines are for people
    };
    struct Control {
        std::size_t controller = 0;
        std::int64_t cookie = 0;
        std::string name;
    };

    void tellController(std::string_view event, const Controller& controller);
    void tellStatus(std::string_view event, const ControllerIdentity* identity, platform::IOReturn status);
    /// The beginning of a line; `controller` 0: of none.
    std::string lineBegin(std::string_view event, std::size_t controller) const;
    JSONText jsonBegin(std::string_view event, std::size_t controller) const;
    void send(std::string line);
    void send(JSONText& json);

    Options options_;
    Time time_;
    Sink sink_;
    std::map<const QZHIDDevice*, Controller> controllers_;
    std::size_t connectedSoFar_ = 0;
    Control moved_; ///< the control of the latest raw value; an action's value follows that of its control at once
};

/// The time of an event in print: seconds with six decimals, right-justified so that lines of some hours stay aligned.
std::string timeText(std::chrono::microseconds time);

} // namespace qz::tools
