// SPDX-License-Identifier: MIT
#include "platform/virtual/VirtualHID.h"

#include "platform/HIDManagerBase.h"
#include "platform/report/HIDIdentity.h"
#include "platform/virtual/VirtualMemberships.h"

#include <algorithm>
#include <deque>
#include <utility>

namespace qz::platform {

VirtualDevice::VirtualDevice(VirtualDeviceDescription description) {
    for (auto& [key, value] : description.properties) {
        setProperty(key, std::move(value));
    }
    setUsagePairs(std::move(description.usagePairs));
    if (!description.elements) {
        return;
    }
    std::vector<HIDElement> elements;
    std::vector<std::optional<std::vector<std::size_t>>> children;
    for (VirtualElement& each : *description.elements) {
        elements.push_back({.cookie = each.cookie,
                            .type = each.type,
                            .collectionType = each.collectionType,
                            .usagePage = each.usagePage,
                            .usage = each.usage,
                            .hasPreferredState = each.preferredState,
                            .logicalMin = each.min,
                            .logicalMax = each.max,
                            .children = std::nullopt,
                            .device = nullptr});
        children.push_back(std::move(each.children));
    }
    checkMemberships(children);
    setElements(std::move(elements), children);
}

VirtualDevice::VirtualDevice(ReportDescriptor descriptor, const HIDProperties& properties)
    : ReportDevice(std::move(descriptor), properties) {}

VirtualDevice::VirtualDevice(ReportDescriptor descriptor, RecordedDevice recorded)
    : ReportDevice(std::move(descriptor), propertiesOf(identityOf(recorded))), recorded_(std::move(recorded)) {}

IOHIDElementRef VirtualDevice::element(std::size_t index) const {
    return elements() && index < elements()->size() ? &(*elements())[index] : nullptr;
}

std::vector<HIDValue> VirtualDevice::takeReport(std::span<const std::uint8_t> report) {
    const auto changed = feed(report);
    std::vector<HIDValue> values;
    values.reserve(changed.size());
    for (const std::uint32_t index : changed) {
        values.push_back(value(index));
    }
    return values;
}

void VirtualDevice::setLastKnownValue(std::size_t index, std::optional<std::int64_t> value) {
    HIDDevice::setLastKnownValue(element(index), value);
    forgetReports();
}

class VirtualHIDServices::Manager final : public HIDManagerBase {
public:
    explicit Manager(VirtualHIDServices& services) : services_(services) { services_.managers_.push_back(this); }

    IOReturn open(IOOptionBits /*options*/) override {
        open_ = open_ || services_.openResult_ == kIOReturnSuccess;
        return services_.openResult_;
    }

    IOReturn close(IOOptionBits /*options*/) override {
        open_ = false;
        forgetUndelivered();
        std::erase_if(events_, [](const Event& event) { return event.isInput(); });
        return kIOReturnSuccess;
    }

    void release() override {
        std::erase(services_.managers_, this);
        HIDManagerBase::release();
    }

    using HIDManagerBase::callInputReport;
    using HIDManagerBase::callInputValue;
    using HIDManagerBase::callMatching;
    using HIDManagerBase::callRemoval;

    /// A report on its way, shared by the managers that it goes to: the first that comes to it feeds it to the device.
    struct Report {
        std::vector<std::uint8_t> bytes;
        std::optional<std::vector<HIDValue>> values;
    };
    struct Event {
        enum class Kind : std::uint8_t { Arrival, Removal, Value, Report, Failure } kind;
        std::shared_ptr<VirtualDevice> device;
        std::size_t index = 0;
        std::int64_t raw = 0;
        IOReturn result = kIOReturnSuccess;
        std::shared_ptr<Report> report = nullptr;
        bool isBegun = false; ///< whether the delivery of the report has begun

        bool isInput() const { return kind == Kind::Value || kind == Kind::Report; }
    };
    /// What a device sends while the manager is not open is lost, as it is where opening is what begins to read.
    void happened(Event event) {
        if (open_ || !event.isInput()) {
            events_.push_back(std::move(event));
        }
    }

private:
    ~Manager() override = default;

    int fileDescriptor() const noexcept override { return -1; }

    void discover() override {
        for (const auto& device : services_.devices_) {
            happened({.kind = Event::Kind::Arrival, .device = device});
        }
    }

    bool deliverNext() override {
        while (!events_.empty()) {
            // A report stays in front until the last of its values has been delivered.
            if (events_.front().kind == Event::Kind::Report && deliverReportPart(events_.front())) {
                return true;
            }
            const Event event = std::move(events_.front());
            events_.pop_front();
            if (deliver(event)) {
                return true;
            }
        }
        return false;
    }

    bool deliver(const Event& event) {
        switch (event.kind) {
        case Event::Kind::Arrival:
            return reportArrival(event.device);
        case Event::Kind::Removal:
            return reportRemoval(event.device);
        case Event::Kind::Value:
            return deliverValue(event);
        case Event::Kind::Report:
            return false; // delivered in parts
        case Event::Kind::Failure:
            callMatching(event.result, event.device.get());
            return true;
        }
        return false;
    }

    bool deliverValue(const Event& event) {
        if (!isReported(event.device.get())) {
            return false;
        }
        event.device->setLastKnownValue(event.index, event.raw);
        const HIDValue value{event.device->element(event.index), event.raw};
        callInputValue(kIOReturnSuccess, &value);
        return true;
    }

    /// The values of the report that is being delivered would not be news when the manager is open again.
    void forgetUndelivered() {
        if (events_.empty() || events_.front().kind != Event::Kind::Report || !events_.front().isBegun) {
            return;
        }
        const Event& event = events_.front();
        for (const HIDValue& value : std::span(*event.report->values).subspan(event.index)) {
            event.device->setLastKnownValue(static_cast<std::size_t>(value.element - event.device->element(0)),
                                            std::nullopt);
        }
    }

    /// Delivers the report in `event` itself, or the next of its values, which `index` counts; false when nothing is
    /// left of it.
    bool deliverReportPart(Event& event) {
        if (!isReported(event.device.get())) {
            return false;
        }
        auto& values = event.report->values;
        if (!values) {
            values = event.device->takeReport(event.report->bytes);
        }
        if (!std::exchange(event.isBegun, true) && wantsInputReports()) {
            const std::shared_ptr<const Report> kept = event.report; // the callback may drop the event
            callInputReport(kIOReturnSuccess, event.device.get(), kept->bytes);
            return true;
        }
        if (event.index == values->size()) {
            return false;
        }
        // A copy, because the callback may close the manager, which drops the event.
        const HIDValue value = (*values)[event.index++];
        callInputValue(kIOReturnSuccess, &value);
        return true;
    }

    VirtualHIDServices& services_;
    std::deque<Event> events_;
    bool open_ = false;
};

VirtualHIDServices::VirtualHIDServices() = default;

VirtualHIDServices::~VirtualHIDServices() = default;

IOHIDManagerRef VirtualHIDServices::createManager(IOOptionBits /*options*/) {
    return creationFails_ ? nullptr : new Manager(*this);
}

std::shared_ptr<VirtualDevice> VirtualHIDServices::plug(VirtualDeviceDescription description) {
    auto device = std::make_shared<VirtualDevice>(std::move(description));
    plug(device);
    return device;
}

void VirtualHIDServices::plug(const std::shared_ptr<VirtualDevice>& device) {
    devices_.push_back(device);
    for (Manager* const manager : managers_) {
        manager->happened({.kind = Manager::Event::Kind::Arrival, .device = device});
    }
}

void VirtualHIDServices::unplug(const std::shared_ptr<VirtualDevice>& device) {
    if (std::erase(devices_, device) == 0) {
        return;
    }
    device->markGone();
    for (Manager* const manager : managers_) {
        manager->happened({.kind = Manager::Event::Kind::Removal, .device = device});
    }
}

void VirtualHIDServices::send(const std::shared_ptr<VirtualDevice>& device, std::size_t index, std::int64_t raw) {
    if (device->isGone() || device->element(index) == nullptr) {
        return;
    }
    for (Manager* const manager : managers_) {
        manager->happened({.kind = Manager::Event::Kind::Value, .device = device, .index = index, .raw = raw});
    }
}

void VirtualHIDServices::sendReport(const std::shared_ptr<VirtualDevice>& device,
                                    std::span<const std::uint8_t> report) {
    if (device->isGone()) {
        return;
    }
    const auto sent = std::make_shared<Manager::Report>();
    sent->bytes.assign(report.begin(), report.end());
    for (Manager* const manager : managers_) {
        manager->happened({.kind = Manager::Event::Kind::Report, .device = device, .report = sent});
    }
}

void VirtualHIDServices::fail(const std::shared_ptr<VirtualDevice>& device, IOReturn result) {
    for (Manager* const manager : managers_) {
        manager->happened({.kind = Manager::Event::Kind::Failure, .device = device, .result = result});
    }
}

template<typename Action>
void VirtualHIDServices::forEachManager(Action action) {
    // A copy, because a callback may make and release managers.
    for (Manager* const manager : std::vector(managers_)) {
        if (std::ranges::find(managers_, manager) != managers_.end()) {
            action(*manager);
        }
    }
}

void VirtualHIDServices::deliverMatching(IOReturn result, IOHIDDeviceRef device) {
    forEachManager([&](Manager& manager) { manager.callMatching(result, device); });
}

void VirtualHIDServices::deliverRemoval(IOReturn result, IOHIDDeviceRef device) {
    forEachManager([&](Manager& manager) { manager.callRemoval(result, device); });
}

void VirtualHIDServices::deliverInputValue(IOReturn result, IOHIDValueRef value) {
    forEachManager([&](Manager& manager) { manager.callInputValue(result, value); });
}

void VirtualHIDServices::deliverReport(const std::shared_ptr<VirtualDevice>& device,
                                       std::span<const std::uint8_t> report) {
    const std::shared_ptr<VirtualDevice> keptAlive =
        device; // `device` may be the caller's own, and be reset in a callback
    // All values first, because a callback may deliver another report of the device.
    const std::vector<HIDValue> values = keptAlive->takeReport(report);
    forEachManager([&](Manager& manager) { manager.callInputReport(kIOReturnSuccess, keptAlive.get(), report); });
    for (const HIDValue& value : values) {
        deliverInputValue(kIOReturnSuccess, &value);
    }
}

} // namespace qz::platform
