// SPDX-License-Identifier: MIT
#pragma once

#include "platform/HIDDevice.h"
#include "platform/HIDManager.h"

namespace qz::platform {

/// What the managers of all back ends share: the registered callbacks and criteria, the scheduling, and the promises
/// that HID.h makes about the order of callbacks.
///
/// The source comes first because it is called for every report: a call of what is no first base takes a detour.
class HIDManagerBase : private RunLoopSource, public HIDManager {
public:
    void setDeviceMatchingMultiple(std::span<const HIDMatchingDictionary> criteria) override;
    void registerDeviceMatchingCallback(IOHIDDeviceCallback callback, void* context) override;
    void registerDeviceRemovalCallback(IOHIDDeviceCallback callback, void* context) override;
    void registerInputValueCallback(IOHIDValueCallback callback, void* context) override;
    void registerInputReportCallback(IOHIDReportCallback callback, void* context) override;
    void scheduleWithRunLoop(RunLoop& runLoop, RunLoopMode mode) override;
    void unscheduleFromRunLoop(RunLoop& runLoop, RunLoopMode mode) override;
    void release() override;

protected:
    ~HIDManagerBase() override;

    /// Called when the first scheduling, or new criteria after it, may have made devices visible.
    virtual void discover() = 0;

    /// Takes the next thing that happened and delivers it; false when nothing is left or the turn has had enough.
    virtual bool deliverNext() = 0;

    /// Called around the deliveries of one turn; the end also when a callback threw, but not after the release. What is
    /// left then has to make the descriptor readable.
    ///
    /// The first look for what has happened may wait so long (below 0: without end); 0 when it may not.
    virtual void beginTurn(int /*milliseconds*/) {}
    virtual void endTurn() noexcept {}

    /// A turn ends after this many deliveries, so that it ends at all when every callback sets off another one.
    static constexpr std::size_t deliveriesPerTurn = 1024;

    /// Gets what serving a run loop takes; false when the system has none left.
    virtual bool acquire() { return true; }

    /// Has the run loops serve what they could not when it was scheduled; false when one still cannot.
    bool serveSchedules();
    bool isDiscovering() const noexcept { return discovering_; }

    /// Whether the device matches any one of the criteria.
    bool isWanted(HIDDevice& device) const;

    /// Reports a device that matches and has not been reported; says whether it did.
    bool reportArrival(const std::shared_ptr<HIDDevice>& device);
    /// Reports the removal of a device that has been reported; says whether it did.
    bool reportRemoval(const std::shared_ptr<HIDDevice>& device);
    bool isReported(IOHIDDeviceRef device) const;

    /// The callbacks themselves, with nothing tested but that they are registered.
    void callMatching(IOReturn result, IOHIDDeviceRef device);
    void callRemoval(IOReturn result, IOHIDDeviceRef device);
    void callInputValue(IOReturn result, IOHIDValueRef value);
    void callInputReport(IOReturn result, IOHIDDeviceRef device, std::span<const std::uint8_t> report);

    bool wantsInputReports() const noexcept { return inputReport_.function != nullptr; }

private:
    template<typename Function>
    struct Registration {
        Function function = nullptr;
        void* context = nullptr;
    };
    struct Schedule {
        RunLoop* runLoop;
        RunLoopMode mode;
        bool served;
    };
    class CallbackInProgress;
    class Turn;

    std::size_t perform() override;
    std::optional<std::size_t> waitAndPerform(int milliseconds) override;
    std::size_t deliverAll(int milliseconds);
    void holdBack();

    std::vector<HIDCriterion> criteria_;
    Registration<IOHIDDeviceCallback> matching_;
    Registration<IOHIDDeviceCallback> removal_;
    Registration<IOHIDValueCallback> inputValue_;
    Registration<IOHIDReportCallback> inputReport_;
    std::vector<Schedule> schedules_;
    std::vector<std::shared_ptr<HIDDevice>> reported_;
    std::uint64_t scheduleRevision_ = 0;
    int callbacksInProgress_ = 0;
    bool heldBack_ = false; ///< until the callback in progress ends
    bool discovering_ = false;
    bool released_ = false;
};

} // namespace qz::platform
