// SPDX-License-Identifier: MIT
#include "platform/HIDManagerBase.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace qz::platform {

/// Keeps the manager alive while one of its callbacks runs, also when the callback ends by an exception.
class HIDManagerBase::CallbackInProgress {
public:
    explicit CallbackInProgress(HIDManagerBase& manager) : manager_(manager) { ++manager_.callbacksInProgress_; }
    CallbackInProgress(const CallbackInProgress&) = delete;
    CallbackInProgress& operator=(const CallbackInProgress&) = delete;
    ~CallbackInProgress() {
        if (--manager_.callbacksInProgress_ != 0) {
            return;
        }
        if (manager_.released_) {
            delete &manager_;
        } else if (std::exchange(manager_.heldBack_, false)) {
            for (const Schedule& schedule : manager_.schedules_) {
                schedule.runLoop->resumeSource(manager_, schedule.mode);
            }
        }
    }

private:
    HIDManagerBase& manager_;
};

/// What belongs around the deliveries of a turn, whichever way they end.
class HIDManagerBase::Turn {
public:
    Turn(HIDManagerBase& manager, int milliseconds) : manager_(manager) { manager_.beginTurn(milliseconds); }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    ~Turn() {
        if (!manager_.released_) {
            manager_.endTurn();
        }
    }

private:
    HIDManagerBase& manager_;
};

HIDManagerBase::~HIDManagerBase() = default;

void HIDManagerBase::setDeviceMatchingMultiple(std::span<const HIDMatchingDictionary> criteria) {
    criteria_.clear();
    std::ranges::transform(criteria, std::back_inserter(criteria_), criterionOf);
    if (discovering_) {
        discover();
    }
}

void HIDManagerBase::registerDeviceMatchingCallback(IOHIDDeviceCallback callback, void* context) {
    matching_ = {callback, context};
}

void HIDManagerBase::registerDeviceRemovalCallback(IOHIDDeviceCallback callback, void* context) {
    removal_ = {callback, context};
}

void HIDManagerBase::registerInputValueCallback(IOHIDValueCallback callback, void* context) {
    inputValue_ = {callback, context};
}

void HIDManagerBase::registerInputReportCallback(IOHIDReportCallback callback, void* context) {
    inputReport_ = {callback, context};
}

void HIDManagerBase::scheduleWithRunLoop(RunLoop& runLoop, RunLoopMode mode) {
    schedules_.push_back({&runLoop, mode, false});
    ++scheduleRevision_;
    serveSchedules();
    if (!discovering_) {
        discovering_ = true;
        discover();
    }
}

void HIDManagerBase::unscheduleFromRunLoop(RunLoop& runLoop, RunLoopMode mode) {
    const auto removed = std::erase_if(
        schedules_, [&](const Schedule& schedule) { return schedule.runLoop == &runLoop && schedule.mode == mode; });
    if (removed != 0) {
        runLoop.removeSource(*this, mode);
        ++scheduleRevision_;
    }
}

bool HIDManagerBase::serveSchedules() {
    if (!acquire()) {
        return false;
    }
    for (Schedule& schedule : schedules_) {
        schedule.served = schedule.served || schedule.runLoop->addSource(*this, schedule.mode);
        if (schedule.runLoop->usesDescriptors(schedule.mode)) {
            descriptorIsUsed();
        }
    }
    return std::ranges::all_of(schedules_, &Schedule::served);
}

void HIDManagerBase::release() {
    released_ = true;
    matching_ = {};
    removal_ = {};
    inputValue_ = {};
    inputReport_ = {};
    for (const Schedule& schedule : std::exchange(schedules_, {})) {
        schedule.runLoop->removeSource(*this, schedule.mode);
    }
    ++scheduleRevision_;
    if (callbacksInProgress_ == 0) {
        delete this;
    }
}

/// In a nested turn the callback that runs it comes first. A loop that waits inside that callback would be woken all
/// the time by what has to wait for the callback's end.
void HIDManagerBase::holdBack() {
    if (fileDescriptor() < 0) {
        return;
    }
    heldBack_ = true;
    for (const Schedule& schedule : schedules_) {
        schedule.runLoop->suspendSource(*this, schedule.mode);
    }
}

[[gnu::hot]] std::size_t HIDManagerBase::perform() {
    if (callbacksInProgress_ != 0) {
        holdBack();
        return 0;
    }
    return deliverAll(0);
}

[[gnu::hot]] std::optional<std::size_t> HIDManagerBase::waitAndPerform(int milliseconds) {
    if (callbacksInProgress_ != 0 || fileDescriptor() < 0) {
        return std::nullopt;
    }
    return deliverAll(milliseconds);
}

[[gnu::hot]] std::size_t HIDManagerBase::deliverAll(int milliseconds) {
    const CallbackInProgress keepAlive(*this);
    const Turn turn(*this, milliseconds);
    const std::uint64_t scheduledAs = scheduleRevision_;
    std::size_t delivered = 0;
    // What the callbacks themselves set off is left to the next turn only when they move the manager elsewhere.
    while (delivered < deliveriesPerTurn && scheduleRevision_ == scheduledAs && deliverNext()) {
        ++delivered;
    }
    return delivered;
}

[[gnu::hot]] bool HIDManagerBase::isReported(IOHIDDeviceRef device) const {
    return std::ranges::any_of(reported_, [&](const auto& reported) { return reported.get() == device; });
}

bool HIDManagerBase::isWanted(HIDDevice& device) const {
    return std::ranges::any_of(criteria_, [&](const HIDCriterion& each) { return device.fits(each); });
}

bool HIDManagerBase::reportArrival(const std::shared_ptr<HIDDevice>& device) {
    if (!isWanted(*device) || device->isGone() || isReported(device.get())) {
        return false;
    }
    reported_.push_back(device);
    callMatching(kIOReturnSuccess, device.get());
    return true;
}

bool HIDManagerBase::reportRemoval(const std::shared_ptr<HIDDevice>& device) {
    if (std::erase(reported_, device) == 0) {
        return false;
    }
    callRemoval(kIOReturnSuccess, device.get());
    return true;
}

void HIDManagerBase::callMatching(IOReturn result, IOHIDDeviceRef device) {
    if (matching_.function != nullptr) {
        const CallbackInProgress keepAlive(*this);
        matching_.function(matching_.context, result, static_cast<HIDManager*>(this), device);
    }
}

void HIDManagerBase::callRemoval(IOReturn result, IOHIDDeviceRef device) {
    if (removal_.function != nullptr) {
        const CallbackInProgress keepAlive(*this);
        removal_.function(removal_.context, result, static_cast<HIDManager*>(this), device);
    }
}

[[gnu::hot]] void HIDManagerBase::callInputValue(IOReturn result, IOHIDValueRef value) {
    if (inputValue_.function != nullptr) {
        const CallbackInProgress keepAlive(*this);
        inputValue_.function(inputValue_.context, result, static_cast<HIDManager*>(this), value);
    }
}

void HIDManagerBase::callInputReport(IOReturn result, IOHIDDeviceRef device, std::span<const std::uint8_t> report) {
    if (inputReport_.function != nullptr) {
        const CallbackInProgress keepAlive(*this);
        inputReport_.function(inputReport_.context, result, static_cast<HIDManager*>(this), device, report);
    }
}

} // namespace qz::platform
