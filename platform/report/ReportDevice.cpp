// SPDX-License-Identifier: MIT
#include "platform/report/ReportDevice.h"

#include "platform/report/ReportDecoder.h"

#include <utility>

namespace qz::platform {

ReportDevice::ReportDevice() = default;

ReportDevice::~ReportDevice() = default;

ReportDevice::ReportDevice(ReportDescriptor descriptor, const HIDProperties& properties)
    : decoder_(std::make_unique<ReportDecoder>(descriptor)) {
    setProperties(properties);
    if (!descriptor.applications.empty()) {
        const HIDUsagePair primary = descriptor.applications.front();
        for (const auto& [key, number] :
             {std::pair{"PrimaryUsagePage", primary.usagePage}, std::pair{"PrimaryUsage", primary.usage}}) {
            if (!hasProperty(key)) {
                setProperty(key, std::int64_t{number});
            }
        }
    }
    setUsagePairs(std::move(descriptor.applications));
    setElementTree(std::move(descriptor.elements), descriptor.parents);
}

[[gnu::hot]] std::span<const std::uint32_t> ReportDevice::feed(std::span<const std::uint8_t> report) {
    return decoder_ != nullptr ? decoder_->feed(report, lastKnownValues()) : std::span<const std::uint32_t>{};
}

[[gnu::hot]] HIDValue ReportDevice::value(std::uint32_t index) const {
    return {&(*elements())[index], lastKnownValues()[index].value_or(0)};
}

void ReportDevice::forgetReports() noexcept {
    if (decoder_ != nullptr) {
        decoder_->forgetReports();
    }
}

void ReportDevice::forgetValues(std::span<const std::uint32_t> indices) noexcept {
    for (const std::uint32_t index : indices) {
        lastKnownValues()[index] = std::nullopt;
    }
    forgetReports();
}

} // namespace qz::platform
