// SPDX-License-Identifier: MIT
#include "tools/qzgc/ScenarioRunner.h"

#include "QZGameController/QZGameController.h"
#include "platform/virtual/VirtualPlatform.h"
#include "tools/qzgc/JSONText.h"
#include "tools/qzgc/ScenarioQueries.h"
#include "tools/qzgc/ScenarioReports.h"

#include <algorithm>

using qz::platform::HIDValue;
using qz::platform::IOHIDDeviceRef;
using qz::platform::kIOReturnSuccess;
using qz::platform::VirtualDevice;
using qz::platform::VirtualPlatform;

namespace qz::tools {

namespace {

template<typename Object, typename Value>
void setIfGiven(Object& object, void (Object::*setter)(Value), const std::optional<Value>& value) {
    if (value) {
        (object.*setter)(*value);
    }
}

/// Carries the steps out, one overload of the call operator for each kind.
class Runner {
public:
    Runner(const Scenario& scenario, const LineSink& lines);

    void run();

    void operator()(const steps::Attach& step);
    void operator()(const steps::Detach& step);
    void operator()(const steps::Value& step);
    void operator()(const steps::Report& step);
    void operator()(const steps::LastKnown& step);

    void operator()(const steps::Refuse& step) { delegate_->setAdmits(handle(step.device), false); }
    void operator()(const steps::Accept& step) { delegate_->setAdmits(handle(step.device), true); }
    void operator()(const steps::Set& step);
    void operator()(const steps::StartCalibration& /*no fields*/) { manager_->startCalibration(); }
    void operator()(const steps::EndCalibration& /*no fields*/) { manager_->endCalibration(); }
    void operator()(const steps::StartLimitedValueReporting& step) {
        manager_->startLimitedValueReportingWithHysteresis(step.hysteresis);
    }
    void operator()(const steps::EndLimitedValueReporting& /*no fields*/) { manager_->endLimitedValueReporting(); }
    void operator()(const steps::EditElement& step);
    void operator()(const steps::SetMapping& step);
    void operator()(const steps::ClearMapping& step);
    void operator()(const steps::SetReverseDirection& step);
    void operator()(const steps::MakeAndRegisterDefaultConfiguration& step);
    void operator()(const steps::ExistingOrDefaultConfiguration& step);
    void operator()(const steps::SaveUserDefaults& /*no fields*/) { configManager().saveUserDefaults(); }
    void operator()(const steps::Restart& step);

    void operator()(const steps::Describe& step);
    void operator()(const steps::Normalize& step);
    void operator()(const steps::Configuration& step);
    void operator()(const steps::Compatible& step);
    void operator()(const steps::AllActions& step);
    void operator()(const steps::Preferences& step);

private:
    /// The start of the application: both managers, and the set-up.
    void start();
    void print(JSONText& text) const { lines_(text.endObject().text()); }

    IOHIDDeviceRef handle(DeviceIndex device) const { return devices_[device].get(); }
    QZGCConfigurationManager& configManager() const { return *manager_->configManager(); }

    /// The device when it is connected, else null.
    std::shared_ptr<QZHIDDevice> connected(DeviceIndex device) const;
    /// The element of a connected device, or null.
    std::shared_ptr<QZHIDElement> element(DeviceIndex device, std::int64_t cookie) const;

    const Scenario& scenario_;
    const LineSink& lines_;
    VirtualPlatform platform_;
    std::vector<std::shared_ptr<VirtualDevice>> devices_;
    DeviceNames names_;
    std::vector<DeviceIndex> attached_; ///< in the order in which they were attached
    std::shared_ptr<PrintingDelegate> delegate_;
    std::shared_ptr<QZGCHIDManager> manager_;
};

JSONText result(std::string_view query) {
    JSONText text;
    text.beginObject().member("result", query);
    return text;
}

Runner::Runner(const Scenario& scenario, const LineSink& lines)
    : scenario_(scenario), lines_(lines), platform_(scenario.preferences),
      delegate_(std::make_shared<PrintingDelegate>(names_, lines)) {
    for (const DeviceDefinition& definition : scenario.devices) {
        devices_.push_back(makeDevice(definition));
        names_.emplace(devices_.back().get(), definition.name);
    }
    platform_.hidServices().setOpenResult(scenario.openResult);
}

void Runner::run() {
    start();
    for (const Step& step : scenario_.steps) {
        std::visit(*this, step);
    }
}

void Runner::start() {
    manager_ = QZGCHIDManager::create(makeConfigurationManager(scenario_.actions, platform_), platform_);
    const auto opened = manager_->setupWithDelegate(scenario_.hasDelegate ? delegate_ : nullptr);
    JSONText text;
    print(text.beginObject().member("event", "setup").member("result", opened));
}

std::shared_ptr<QZHIDDevice> Runner::connected(DeviceIndex device) const {
    const auto* const found = manager_->connectedHIDDevices().find(handle(device));
    return found != nullptr ? *found : nullptr;
}

std::shared_ptr<QZHIDElement> Runner::element(DeviceIndex device, std::int64_t cookie) const {
    const auto found = connected(device);
    return found ? found->elementWithCookie(cookie) : nullptr;
}

void Runner::operator()(const steps::Attach& step) {
    if (step.result == kIOReturnSuccess && std::ranges::find(attached_, step.device) == attached_.end()) {
        attached_.push_back(step.device);
    }
    platform_.hidServices().deliverMatching(step.result, handle(step.device));
}

void Runner::operator()(const steps::Detach& step) {
    if (step.result == kIOReturnSuccess) {
        std::erase(attached_, step.device);
    }
    platform_.hidServices().deliverRemoval(step.result, handle(step.device));
}

void Runner::operator()(const steps::Value& step) {
    VirtualDevice& device = *devices_[step.device];
    if (step.result == kIOReturnSuccess) {
        device.setLastKnownValue(step.element, step.raw);
    }
    const HIDValue value{.element = device.element(step.element), .integerValue = step.raw};
    platform_.hidServices().deliverInputValue(step.result, &value);
}

void Runner::operator()(const steps::Report& step) {
    platform_.hidServices().deliverReport(devices_[step.device], step.bytes);
}

void Runner::operator()(const steps::LastKnown& step) {
    devices_[step.device]->setLastKnownValue(step.element, step.raw);
}

void Runner::operator()(const steps::Set& step) {
    setIfGiven(*manager_, &QZGCHIDManager::setReportRawValues, step.reportRawValues);
    setIfGiven(*manager_, &QZGCHIDManager::setReportMappedValues, step.reportMappedValues);
    setIfGiven(*manager_, &QZGCHIDManager::setModalMode, step.modalMode);
}

void Runner::operator()(const steps::EditElement& step) {
    if (const auto element = this->element(step.device, step.cookie)) {
        setIfGiven(*element, &QZHIDElement::setTwoState, step.twoState);
        setIfGiven(*element, &QZHIDElement::setHysteresis, step.hysteresis);
        setIfGiven(*element, &QZHIDElement::setObservedMin, step.observedMin);
        setIfGiven(*element, &QZHIDElement::setObservedMax, step.observedMax);
        setIfGiven(*element, &QZHIDElement::setObservedNeutral, step.observedNeutral);
        setIfGiven(*element, &QZHIDElement::setLastReportedValue, step.lastReportedValue);
    }
}

void Runner::operator()(const steps::SetMapping& step) {
    if (const auto element = this->element(step.device, step.cookie)) {
        configManager().setMapping(*element, QZGCConfigurationManager::Action(step.action));
    }
}

void Runner::operator()(const steps::ClearMapping& step) {
    if (const auto element = this->element(step.device, step.cookie)) {
        configManager().clearMapping(*element);
    }
}

void Runner::operator()(const steps::SetReverseDirection& step) {
    if (const auto element = this->element(step.device, step.cookie)) {
        configManager().setReverseDirection(step.reversed, *element);
    }
}

void Runner::operator()(const steps::MakeAndRegisterDefaultConfiguration& step) {
    if (const auto device = connected(step.device)) {
        configManager().makeAndRegisterDefaultConfiguration(*device);
    }
}

void Runner::operator()(const steps::ExistingOrDefaultConfiguration& step) {
    if (const auto device = connected(step.device)) {
        configManager().existingOrDefaultConfiguration(*device);
    }
}

void Runner::operator()(const steps::Restart& /*no fields*/) {
    auto configManager = manager_->configManager();
    manager_.reset();
    configManager.reset();
    start();
    for (const DeviceIndex device : attached_) {
        platform_.hidServices().deliverMatching(kIOReturnSuccess, handle(device));
    }
}

void Runner::operator()(const steps::Describe& step) {
    JSONText text = result("describe");
    text.member("device", scenario_.devices[step.device].name);
    if (const auto device = connected(step.device)) {
        describeDevice(*device, text);
    } else {
        text.member("connected", false);
    }
    print(text);
}

void Runner::operator()(const steps::Normalize& step) {
    JSONText text = result("normalize");
    text.key("value");
    if (const auto element = this->element(step.device, step.cookie)) {
        text.value(element->normalizedValue(step.raw));
    } else {
        text.value(std::nullopt);
    }
    print(text);
}

void Runner::operator()(const steps::Configuration& /*no fields*/) {
    JSONText text = result("configuration");
    describeConfiguration(configManager(), text);
    print(text);
}

void Runner::operator()(const steps::Compatible& step) {
    JSONText text = result("compatible");
    text.key("value");
    if (const auto element = this->element(step.device, step.cookie)) {
        text.value(configManager().isElementCompatible(*element, QZGCConfigurationManager::Action(step.action)));
    } else {
        text.value(std::nullopt);
    }
    print(text);
}

void Runner::operator()(const steps::AllActions& /*no fields*/) {
    JSONText text = result("allActions");
    describeActions(configManager(), text);
    print(text);
}

void Runner::operator()(const steps::Preferences& /*no fields*/) {
    print(result("preferences").member("values", platform_.userDefaults().dictionaryRepresentation()));
}

} // namespace

void runScenario(const Scenario& scenario, const LineSink& lines) {
    Runner(scenario, lines).run();
}

} // namespace qz::tools
