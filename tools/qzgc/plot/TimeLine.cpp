// SPDX-License-Identifier: MIT
#include "tools/qzgc/plot/TimeLine.h"

#include "tools/qzgc/plot/ValueTap.h"

#include <algorithm>

using std::chrono::microseconds;

namespace qz::tools {

namespace {

LaneKind laneKindOf(const QZHIDElement& element) {
    const ControlKind kind = kindOf(element);
    if (kind == ControlKind::Hat) {
        return LaneKind::Hat;
    }
    const bool isSwitch = element.theoreticalMin() == 0 && element.theoreticalMax() == 1;
    return isSwitch || kind == ControlKind::Button ? LaneKind::Switch : LaneKind::Moving;
}

double valueOf(const QZHIDElement& element, LaneKind kind, std::int64_t raw) {
    return kind == LaneKind::Hat
               ? static_cast<double>(directionOf(element.theoreticalMin(), element.theoreticalMax(), raw))
               : element.normalizedValue(raw);
}

/// Listens to a session and keeps the lanes.
class TimeLineListener final : public Listener {
public:
    TimeLineListener(Session& session, std::string_view device, TimeScale scale) : session_(session), device_(device) {
        line_.scale = scale;
        session.manager().setReportRawValues(true); // comes before the action: the control that triggers it
    }

    /// What comes from now on was plugged in.
    void begin() noexcept { hasBegun_ = true; }
    TimeLine take();

    void elementValue(const QZHIDElement& element, std::int64_t raw);

    bool hidManagerShouldConnectDevice(QZGCHIDManager& manager, platform::IOHIDDeviceRef device) override {
        return isMeant(device_, identityOf(manager, device));
    }
    void hidManagerDeviceConnected(QZGCHIDManager& manager, const std::shared_ptr<QZHIDDevice>& device) override;
    void hidManagerDeviceDisconnected(QZGCHIDManager& manager, const std::shared_ptr<QZHIDDevice>& device) override;
    void hidManagerElementNewRawValue(QZGCHIDManager& /*manager*/, const std::shared_ptr<QZHIDElement>& element,
                                      std::int64_t /*newRawValue*/) override {
        trigger_ = element;
    }
    void hidManagerActionNewValue(QZGCHIDManager& manager, const std::string& action, double newValue) override;

private:
    /// A device of the time line, and which one it is while it is there.
    struct Known {
        const QZHIDDevice* connected;
        DeviceLanes lanes;
        std::map<std::int64_t, std::string> names = {}; ///< of the controls, by cookie
    };

    microseconds now() { return session_.source().time(); }
    Known* find(const QZHIDDevice* device);
    ControlLane& laneOf(Known& known, const QZHIDElement& element) const;
    ActionLane& laneOf(const std::string& action, LaneKind kind);

    Session& session_;
    std::string device_;
    TimeLine line_;
    std::vector<Known> devices_;
    std::shared_ptr<QZHIDElement> trigger_;
    bool hasBegun_ = false;
};

TimeLineListener::Known* TimeLineListener::find(const QZHIDDevice* device) {
    const auto found = std::ranges::find(devices_, device, &Known::connected);
    return found == devices_.end() ? nullptr : &*found;
}

void TimeLineListener::hidManagerDeviceConnected(QZGCHIDManager& /*manager*/,
                                                 const std::shared_ptr<QZHIDDevice>& device) {
    const ControllerIdentity identity = identityOf(*device);
    auto known = std::ranges::find_if(devices_, [&](const Known& each) {
        return each.connected == nullptr && each.lanes.identity == identity; // the one that comes again
    });
    if (known == devices_.end()) {
        devices_.push_back({nullptr, {identity, !hasBegun_, Trace(line_.scale), {}}});
        known = devices_.end() - 1;
    }
    known->connected = device.get();
    known->names = controlNames(*device);
    known->lanes.presence.add(now(), 1);
}

void TimeLineListener::hidManagerDeviceDisconnected(QZGCHIDManager& /*manager*/,
                                                    const std::shared_ptr<QZHIDDevice>& device) {
    Known* const known = device ? find(device.get()) : nullptr;
    if (known == nullptr) {
        return;
    }
    known->connected = nullptr;
    known->lanes.presence.end(now());
    for (ControlLane& lane : known->lanes.controls) {
        lane.trace.end(now());
    }
}

ControlLane& TimeLineListener::laneOf(Known& known, const QZHIDElement& element) const {
    DeviceLanes& lanes = known.lanes;
    const auto place = std::ranges::lower_bound(lanes.controls, element.cookie(), {}, &ControlLane::cookie);
    if (place != lanes.controls.end() && place->cookie == element.cookie()) {
        return *place;
    }
    return *lanes.controls.insert(
        place, {element.cookie(), known.names.at(element.cookie()), laneKindOf(element), Trace(line_.scale)});
}

void TimeLineListener::elementValue(const QZHIDElement& element, std::int64_t raw) {
    if (Known* const known = find(element.device().get()); known != nullptr) {
        ControlLane& lane = laneOf(*known, element);
        lane.trace.add(now(), valueOf(element, lane.kind, raw));
    }
}

ActionLane& TimeLineListener::laneOf(const std::string& action, LaneKind kind) {
    const auto found = std::ranges::find(line_.actions, action, &ActionLane::action);
    if (found != line_.actions.end()) {
        return *found;
    }
    return line_.actions.emplace_back(ActionLane{action, kind, {}, false, Trace(line_.scale)});
}

void TimeLineListener::hidManagerActionNewValue(QZGCHIDManager& /*manager*/, const std::string& action,
                                                double newValue) {
    const bool isSwitch = trigger_ && laneKindOf(*trigger_) == LaneKind::Switch;
    ActionLane& lane = laneOf(action, isSwitch ? LaneKind::Switch : LaneKind::Moving);
    lane.trace.add(now(), newValue);
    if (!isSwitch) {
        lane.kind = LaneKind::Moving;
    }
    if (!trigger_) {
        return;
    }
    if (const std::string name = controlName(*trigger_);
        std::ranges::find(lane.controls, name) == lane.controls.end()) {
        lane.controls.push_back(name);
    }
    lane.isReversed = lane.isReversed || session_.configuration()->mustReverseDirection(*trigger_);
}

TimeLine TimeLineListener::take() {
    for (Known& each : devices_) {
        std::erase_if(each.lanes.controls, [](const ControlLane& lane) { return !lane.trace.hasChanged(); });
        line_.devices.push_back(std::move(each.lanes));
    }
    const auto order = session_.configuration()->allActions();
    std::ranges::stable_sort(line_.actions, {}, [&](const ActionLane& lane) {
        return std::ranges::find(order, lane.action, &QZGCConfigurationManager::Action::rawValue) - order.begin();
    });
    return std::move(line_);
}

} // namespace

TimeLine gatherTimeLine(const SessionOptions& options, std::string_view device, int columns) {
    // A little longer than the recording: what came last is to be seen.
    const microseconds length = durationOf(readRecordingFile(options.from));
    const TimeScale scale{length.count() == 0 ? microseconds(1'000'000) : length + length / 50 + microseconds(1),
                          columns};
    Session session(options);
    const auto listener = std::make_shared<TimeLineListener>(session, device, scale);
    session.start(listener);
    const ValueTap tap(session,
                       [&](const QZHIDElement& element, std::int64_t raw) { listener->elementValue(element, raw); });
    session.settle();
    listener->begin();
    while (!session.source().hasEnded()) {
        session.source().turn();
    }
    TimeLine line = listener->take();
    if (line.devices.empty()) {
        static_cast<void>(chooseController(options, device)); // says why there is none
    }
    return line;
}

} // namespace qz::tools
