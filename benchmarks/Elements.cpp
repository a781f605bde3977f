// SPDX-License-Identifier: MIT
#include "benchmarks/Allocations.h"
#include "benchmarks/Devices.h"

#include <benchmark/benchmark.h>

namespace qz::bench {
namespace {

void normalizeAndFilter(benchmark::State& state) {
    Application application(1, 0);
    const auto axis = application.manager->devices().front()->elementWithCookie(1);
    const Allocations before = allocations();
    std::int64_t raw = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(axis->valueQualifiesForReporting(axis->normalizedValue(raw)));
        raw = (raw + 1) & 255;
    }
    state.counters["allocations"] = static_cast<double>(allocations().count - before.count);
}
BENCHMARK(normalizeAndFilter)->Name("NormalizeAndFilter");

/// 400 elements: 16 moving controls with a stored calibration, the rest buttons.
void buildDevice(benchmark::State& state) {
    constexpr std::uint32_t elements = 400;
    constexpr std::uint32_t moving = 16;
    platform::VirtualDeviceDescription description;
    description.properties = {{"VendorID", std::int64_t{1}}, {"ProductID", std::int64_t{2}}};
    platform::PropertyList::Dictionary calibration;
    for (std::uint32_t cookie = 1; cookie <= elements; ++cookie) {
        const bool moves = cookie <= moving;
        description.elements->push_back({.cookie = cookie,
                                         .type = moves ? 3 : 2,
                                         .usagePage = moves ? 1U : 9U,
                                         .usage = moves ? 0x30 + cookie % 9 : cookie,
                                         .max = moves ? 255 : 1});
        if (moves) {
            calibration.emplace(std::to_string(cookie), platform::PropertyList::Array{3, 252, 127});
        }
    }
    platform::VirtualPlatform platform({{"QZGameController-Calibrations-1-2", std::move(calibration)}});
    const auto manager = QZGCHIDManager::create(nullptr, platform);
    const auto device = std::make_shared<platform::VirtualDevice>(std::move(description));

    const Allocations before = allocations();
    const auto kept = QZHIDDevice::create(device.get(), manager);
    const std::size_t transient = elements * sizeof(platform::IOHIDElementRef); // the platform's list, given back
    state.counters["heap"] = static_cast<double>(allocations().bytes - before.bytes - transient) / elements;
    for (auto _ : state) {
        const auto begin = std::chrono::steady_clock::now();
        auto built = QZHIDDevice::create(device.get(), manager);
        const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - begin;
        state.SetIterationTime(passed.count() / elements);
    }
}
BENCHMARK(buildDevice)->Name("BuildDevice")->UseManualTime()->Iterations(50);

} // namespace
} // namespace qz::bench
