// SPDX-License-Identifier: MIT
#include "benchmarks/Allocations.h"
#include "benchmarks/Devices.h"

#include <benchmark/benchmark.h>

#include <chrono>

namespace qz::bench {
namespace {

/// One value of each of five controls of every device.
void sendRound(Application& application, std::int64_t round) {
    for (std::size_t device = 0; device < application.devices.size(); ++device) {
        for (std::size_t axis = 0; axis < 4; ++axis) {
            application.send(device, axis, (round * 7 + 2) & 255);
        }
        application.send(device, 4, round & 1);
    }
}

/// From the platform's callback to the delegate: normalised, reversed (X alone), filtered and mapped. The values come
/// from all connected devices in turn; the time is that of one value.
void road(benchmark::State& state) {
    Application& application = sharedApplication(state.range(0), state.range(1));
    for (const auto& device : application.manager->devices()) {
        application.configuration->setReverseDirection(true, *device->elementWithCookie(1));
    }
    static std::int64_t round = 0; // goes on from run to run, so that every value differs from the one before
    sendRound(application, round++);
    const std::int64_t roundsAtATime = 256 / state.range(0);
    const auto valuesAtATime = static_cast<double>(256 * 5);
    const std::int64_t heard = application.delegate->values;
    const Allocations before = allocations();
    const std::int64_t first = round;
    for (auto _ : state) {
        const auto begin = std::chrono::steady_clock::now();
        for (const std::int64_t end = round + roundsAtATime; round < end; ++round) {
            sendRound(application, round);
        }
        const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - begin;
        state.SetIterationTime(passed.count() / valuesAtATime);
    }
    state.counters["allocations"] = static_cast<double>(allocations().count - before.count);
    if (application.delegate->values - heard != (round - first) * state.range(0) * 5) {
        state.SkipWithError("values were lost on the road");
    }
}
BENCHMARK(road)->Name("Road")->ArgsProduct({{1, 16, 256}, {10, 100'000}})->UseManualTime()->Iterations(200);

} // namespace
} // namespace qz::bench
