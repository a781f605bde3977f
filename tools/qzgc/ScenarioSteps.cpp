// SPDX-License-Identifier: MIT
#include "tools/qzgc/JSONText.h"
#include "tools/qzgc/ScenarioReader.h"
#include "tools/qzgc/ScenarioReports.h"

#include <algorithm>
#include <array>

using qz::platform::IOReturn;

namespace qz::tools {

namespace {

/// One step whose keys are known to be right.
class StepReader : public ObjectReader {
public:
    StepReader(const JSONValue& json, const Place& place, std::span<const DeviceDefinition> devices)
        : ObjectReader(json, place), devices_(devices) {}

    DeviceIndex device() const {
        const auto name = get<std::string>("device");
        const auto found = std::ranges::find(devices_, name, &DeviceDefinition::name);
        if (found == devices_.end()) {
            placeOf("device").refuse("there is no device " + jsonString(name));
        }
        return static_cast<DeviceIndex>(found - devices_.begin());
    }

    DeviceIndex reportDevice() const {
        const DeviceIndex index = device();
        if (!devices_[index].reportDescriptor) {
            placeOf("device").refuse("the device has no \"reportDescriptor\"");
        }
        return index;
    }

    /// An index into the elements of the step's device.
    std::size_t element() const {
        const auto index = get<std::int64_t>("element");
        const auto count = elementCount(devices_[device()]);
        if (!count) {
            placeOf("element").refuse("the device has no element list");
        }
        if (index < 0 || static_cast<std::uint64_t>(index) >= *count) {
            placeOf("element").refuse("no element " + std::to_string(index) + ": the device has " +
                                      std::to_string(*count));
        }
        return static_cast<std::size_t>(index);
    }

    std::int64_t cookie() const { return get<std::int64_t>("cookie"); }
    std::string action() const { return get<std::string>("action"); }
    IOReturn result() const { return getOptional<IOReturn>("result").value_or(platform::kIOReturnSuccess); }

    std::optional<std::int64_t> rawOrNull() const {
        const JSONValue& raw = at("raw");
        if (raw.as<std::nullptr_t>() != nullptr) {
            return std::nullopt;
        }
        if (raw.as<std::int64_t>() == nullptr) {
            placeOf("raw").refuse("expected an integer or null");
        }
        return *raw.as<std::int64_t>();
    }

private:
    std::span<const DeviceDefinition> devices_;
};

template<typename Plain>
Step readPlain(const StepReader& /*nothing to read*/) {
    return Plain{};
}

template<typename OfDevice>
Step readOfDevice(const StepReader& step) {
    return OfDevice{step.device()};
}

Step readAttach(const StepReader& step) {
    return steps::Attach{step.device(), step.result()};
}

Step readDetach(const StepReader& step) {
    return steps::Detach{step.device(), step.result()};
}

Step readValue(const StepReader& step) {
    return steps::Value{step.device(), step.element(), step.get<std::int64_t>("raw"), step.result()};
}

Step readReport(const StepReader& step) {
    return steps::Report{step.reportDevice(), step.get<std::vector<std::uint8_t>>("bytes")};
}

Step readLastKnown(const StepReader& step) {
    return steps::LastKnown{step.device(), step.element(), step.rawOrNull()};
}

Step readSet(const StepReader& step) {
    return steps::Set{step.getOptional<bool>("reportRawValues"), step.getOptional<bool>("reportMappedValues"),
                      step.getOptional<bool>("modalMode")};
}

Step readStartLimitedValueReporting(const StepReader& step) {
    return steps::StartLimitedValueReporting{step.get<double>("hysteresis")};
}

Step readEditElement(const StepReader& step) {
    return steps::EditElement{.device = step.device(),
                              .cookie = step.cookie(),
                              .twoState = step.getOptional<bool>("twoState"),
                              .hysteresis = step.getOptional<double>("hysteresis"),
                              .observedMin = step.getOptional<std::int64_t>("observedMin"),
                              .observedMax = step.getOptional<std::int64_t>("observedMax"),
                              .observedNeutral = step.getOptional<std::int64_t>("observedNeutral"),
                              .lastReportedValue = step.getOptional<double>("lastReportedValue")};
}

Step readSetMapping(const StepReader& step) {
    return steps::SetMapping{step.device(), step.cookie(), step.action()};
}

Step readClearMapping(const StepReader& step) {
    return steps::ClearMapping{step.device(), step.cookie()};
}

Step readSetReverseDirection(const StepReader& step) {
    return steps::SetReverseDirection{step.device(), step.cookie(), step.get<bool>("reversed")};
}

Step readNormalize(const StepReader& step) {
    return steps::Normalize{step.device(), step.cookie(), step.get<std::int64_t>("raw")};
}

Step readCompatible(const StepReader& step) {
    return steps::Compatible{step.device(), step.cookie(), step.action()};
}

struct StepDefinition {
    std::string_view name;
    std::string_view required; ///< keys besides "do"
    std::string_view optional;
    Step (*read)(const StepReader& step);
};

constexpr std::array stepDefinitions{
    StepDefinition{"attach", "device", "result", readAttach},
    StepDefinition{"detach", "device", "result", readDetach},
    StepDefinition{"value", "device element raw", "result", readValue},
    StepDefinition{"report", "device bytes", "", readReport},
    StepDefinition{"lastKnown", "device element raw", "", readLastKnown},
    StepDefinition{"refuse", "device", "", readOfDevice<steps::Refuse>},
    StepDefinition{"accept", "device", "", readOfDevice<steps::Accept>},
    StepDefinition{"set", "", "reportRawValues reportMappedValues modalMode", readSet},
    StepDefinition{"startCalibration", "", "", readPlain<steps::StartCalibration>},
    StepDefinition{"endCalibration", "", "", readPlain<steps::EndCalibration>},
    StepDefinition{"startLimitedValueReporting", "hysteresis", "", readStartLimitedValueReporting},
    StepDefinition{"endLimitedValueReporting", "", "", readPlain<steps::EndLimitedValueReporting>},
    StepDefinition{"element", "device cookie",
                   "twoState hysteresis observedMin observedMax observedNeutral lastReportedValue", readEditElement},
    StepDefinition{"setMapping", "device cookie action", "", readSetMapping},
    StepDefinition{"clearMapping", "device cookie", "", readClearMapping},
    StepDefinition{"setReverseDirection", "device cookie reversed", "", readSetReverseDirection},
    StepDefinition{"makeAndRegisterDefaultConfiguration", "device", "",
                   readOfDevice<steps::MakeAndRegisterDefaultConfiguration>},
    StepDefinition{"existingOrDefaultConfiguration", "device", "", readOfDevice<steps::ExistingOrDefaultConfiguration>},
    StepDefinition{"saveUserDefaults", "", "", readPlain<steps::SaveUserDefaults>},
    StepDefinition{"restart", "", "", readPlain<steps::Restart>},
    StepDefinition{"describe", "device", "", readOfDevice<steps::Describe>},
    StepDefinition{"normalize", "device cookie raw", "", readNormalize},
    StepDefinition{"configuration", "", "", readPlain<steps::Configuration>},
    StepDefinition{"compatible", "device cookie action", "", readCompatible},
    StepDefinition{"allActions", "", "", readPlain<steps::AllActions>},
    StepDefinition{"preferences", "", "", readPlain<steps::Preferences>},
};

} // namespace

Step readStep(const JSONValue& json, const Place& place, std::span<const DeviceDefinition> devices) {
    const StepReader step(json, place, devices);
    const auto name = step.get<std::string>("do");
    const auto* const definition = std::ranges::find(stepDefinitions, name, &StepDefinition::name);
    if (definition == stepDefinitions.end()) {
        step.placeOf("do").refuse("there is no step " + jsonString(name));
    }
    step.expectKeys(definition->required, std::string("do ").append(definition->optional));
    return definition->read(step);
}

} // namespace qz::tools
