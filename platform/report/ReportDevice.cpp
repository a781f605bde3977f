// SPDX-License-Identifier: MIT
#include "platform/report/ReportDevice.h"

#include "platform/report/ReportDecoder.h"

#include <utility>

namespace qz::platform {

ReportDevice::ReportDevice() = default;

ReportDevice::~ReportDevice() = default;

ReportDevice::ReportDevice(ReportDescriptor descriptor, HIDProperties properties)
    : decoder_(std::make_unique<ReportDecoder>(descriptor)) {
    if (!descriptor.applications.empty()) {
        properties.try_emplace("PrimaryUsagePage", std::int64_t{descriptor.applications.front().usagePage});
        properties.try_emplace("PrimaryUsage", std::int64_t{descriptor.applications.front().usage});
    }
    setProperties(std::move(properties));
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
