// SPDX-License-Identifier: MIT
#pragma once

#include "platform/HIDManager.h"

#include <string>
#include <vector>

namespace qz::tests {

/// A platform manager that does nothing and remembers the arguments themselves, pointers included.
class FakeHIDManager final : public qz::platform::HIDManager {
public:
    struct Device {
        qz::platform::IOHIDDeviceCallback function = nullptr;
        void* context = nullptr;
    };
    struct Value {
        qz::platform::IOHIDValueCallback function = nullptr;
        void* context = nullptr;
    };
    struct Report {
        qz::platform::IOHIDReportCallback function = nullptr;
        void* context = nullptr;
    };
    struct Schedule {
        qz::platform::RunLoop* runLoop;
        qz::platform::RunLoopMode mode;
        bool operator==(const Schedule&) const = default;
    };

    ~FakeHIDManager() override = default;

    void setDeviceMatchingMultiple(std::span<const qz::platform::HIDMatchingDictionary> all) override {
        criteria.assign(all.begin(), all.end());
    }
    void registerDeviceMatchingCallback(qz::platform::IOHIDDeviceCallback callback, void* context) override {
        matching = {callback, context};
    }
    void registerDeviceRemovalCallback(qz::platform::IOHIDDeviceCallback callback, void* context) override {
        removal = {callback, context};
    }
    void registerInputValueCallback(qz::platform::IOHIDValueCallback callback, void* context) override {
        inputValue = {callback, context};
    }
    void registerInputReportCallback(qz::platform::IOHIDReportCallback callback, void* context) override {
        inputReport = {callback, context};
    }
    void scheduleWithRunLoop(qz::platform::RunLoop& runLoop, qz::platform::RunLoopMode mode) override {
        scheduled.push_back({&runLoop, mode});
    }
    void unscheduleFromRunLoop(qz::platform::RunLoop& runLoop, qz::platform::RunLoopMode mode) override {
        unscheduled.push_back({&runLoop, mode});
    }
    qz::platform::IOReturn open(qz::platform::IOOptionBits options) override {
        opened.push_back(options);
        return openResult;
    }
    qz::platform::IOReturn close(qz::platform::IOOptionBits options) override {
        closed.push_back(options);
        return closeResult;
    }
    void release() override { ++released; }

    std::vector<qz::platform::HIDMatchingDictionary> criteria;
    Device matching;
    Device removal;
    Value inputValue;
    Report inputReport;
    std::vector<Schedule> scheduled;
    std::vector<Schedule> unscheduled;
    std::vector<qz::platform::IOOptionBits> opened;
    std::vector<qz::platform::IOOptionBits> closed;
    int released = 0;
    qz::platform::IOReturn openResult = qz::platform::kIOReturnSuccess;
    qz::platform::IOReturn closeResult = qz::platform::kIOReturnSuccess;
};

} // namespace qz::tests
