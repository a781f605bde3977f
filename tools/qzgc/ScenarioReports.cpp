// SPDX-License-Identifier: MIT
#include "tools/qzgc/ScenarioReports.h"

using qz::platform::VirtualDevice;
using qz::platform::VirtualHIDServices;

namespace qz::tools {

void setReportDescriptor(DeviceDefinition& /*definition*/, std::span<const std::uint8_t> /*bytes*/,
                         const Place& place) {
    place.refuse("devices made of a report descriptor are not supported");
}

std::optional<std::size_t> elementCount(const DeviceDefinition& definition) {
    const auto& elements = definition.description.elements;
    return elements ? std::optional(elements->size()) : std::nullopt;
}

std::shared_ptr<VirtualDevice> makeDevice(const DeviceDefinition& definition) {
    return std::make_shared<VirtualDevice>(definition.description);
}

void deliverReport(VirtualHIDServices& /*services*/, const std::shared_ptr<VirtualDevice>& /*device*/,
                   std::span<const std::uint8_t> /*report*/) {}

} // namespace qz::tools
