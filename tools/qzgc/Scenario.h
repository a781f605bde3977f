// SPDX-License-Identifier: MIT
#pragma once

#include "platform/HID.h"
#include "platform/PropertyList.h"
#include "platform/virtual/VirtualHID.h"
#include "tools/qzgc/session/Actions.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

/// A scenario that has been checked: every device and element that a step names is there. docs/scenarios.md says
/// what the parts do.
namespace qz::tools {

/// A device, as an index into Scenario::devices.
using DeviceIndex = std::size_t;

struct DeviceDefinition {
    std::string name;
    platform::VirtualDeviceDescription description;
    std::optional<platform::ReportDescriptor> reportDescriptor; ///< what the elements come from, if not from a list
};

namespace steps {

// What the platform does.
struct Attach {
    DeviceIndex device;
    platform::IOReturn result;
};
struct Detach {
    DeviceIndex device;
    platform::IOReturn result;
};
struct Value {
    DeviceIndex device;
    std::size_t element;
    std::int64_t raw;
    platform::IOReturn result;
};
struct Report {
    DeviceIndex device;
    std::vector<std::uint8_t> bytes;
};
struct LastKnown {
    DeviceIndex device;
    std::size_t element;
    std::optional<std::int64_t> raw; ///< absent: reading it fails
};

// What the application does.
struct Refuse {
    DeviceIndex device;
};
struct Accept {
    DeviceIndex device;
};
struct Set {
    std::optional<bool> reportRawValues;
    std::optional<bool> reportMappedValues;
    std::optional<bool> modalMode;
};
struct StartCalibration {};
struct EndCalibration {};
struct StartLimitedValueReporting {
    double hysteresis;
};
struct EndLimitedValueReporting {};
struct EditElement {
    DeviceIndex device;
    std::int64_t cookie;
    std::optional<bool> twoState;
    std::optional<double> hysteresis;
    std::optional<std::int64_t> observedMin;
    std::optional<std::int64_t> observedMax;
    std::optional<std::int64_t> observedNeutral;
    std::optional<double> lastReportedValue;
};
struct SetMapping {
    DeviceIndex device;
    std::int64_t cookie;
    std::string action;
};
struct ClearMapping {
    DeviceIndex device;
    std::int64_t cookie;
};
struct SetReverseDirection {
    DeviceIndex device;
    std::int64_t cookie;
    bool reversed;
};
struct MakeAndRegisterDefaultConfiguration {
    DeviceIndex device;
};
struct ExistingOrDefaultConfiguration {
    DeviceIndex device;
};
struct SaveUserDefaults {};
struct Restart {};

// Questions, each of which prints a line.
struct Describe {
    DeviceIndex device;
};
struct Normalize {
    DeviceIndex device;
    std::int64_t cookie;
    std::int64_t raw;
};
struct Configuration {};
struct Compatible {
    DeviceIndex device;
    std::int64_t cookie;
    std::string action;
};
struct AllActions {};
struct Preferences {};

} // namespace steps

using Step = std::variant<steps::Attach, steps::Detach, steps::Value, steps::Report, steps::LastKnown, steps::Refuse,
                          steps::Accept, steps::Set, steps::StartCalibration, steps::EndCalibration,
                          steps::StartLimitedValueReporting, steps::EndLimitedValueReporting, steps::EditElement,
                          steps::SetMapping, steps::ClearMapping, steps::SetReverseDirection,
                          steps::MakeAndRegisterDefaultConfiguration, steps::ExistingOrDefaultConfiguration,
                          steps::SaveUserDefaults, steps::Restart, steps::Describe, steps::Normalize,
                          steps::Configuration, steps::Compatible, steps::AllActions, steps::Preferences>;

/// The application's action names.

struct Scenario {
    ActionNames actions;
    platform::PropertyList::Dictionary preferences;
    std::vector<DeviceDefinition> devices;
    bool hasDelegate = true;
    platform::IOReturn openResult = platform::kIOReturnSuccess;
    std::vector<Step> steps;
};

} // namespace qz::tools
