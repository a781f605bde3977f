// SPDX-License-Identifier: MIT
#include "tools/qzgc/ScenarioReports.h"

using qz::platform::parseReportDescriptor;
using qz::platform::ReportDescriptor;
using qz::platform::ReportDescriptorError;
using qz::platform::VirtualDevice;

namespace qz::tools {

void setReportDescriptor(DeviceDefinition& definition, std::span<const std::uint8_t> bytes, const Place& place) {
    auto parsed = parseReportDescriptor(bytes);
    if (const auto* const error = std::get_if<ReportDescriptorError>(&parsed)) {
        place.refuse("byte " + std::to_string(error->offset) + ": " + std::string(error->reason));
    }
    definition.reportDescriptor = std::get<ReportDescriptor>(std::move(parsed));
}

std::optional<std::size_t> elementCount(const DeviceDefinition& definition) {
    if (definition.reportDescriptor) {
        return definition.reportDescriptor->elements.size();
    }
    const auto& elements = definition.description.elements;
    return elements ? std::optional(elements->size()) : std::nullopt;
}

std::shared_ptr<VirtualDevice> makeDevice(const DeviceDefinition& definition) {
    return definition.reportDescriptor
               ? std::make_shared<VirtualDevice>(*definition.reportDescriptor, definition.description.properties)
               : std::make_shared<VirtualDevice>(definition.description);
}

} // namespace qz::tools
