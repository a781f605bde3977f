// SPDX-License-Identifier: MIT
#include "benchmarks/Allocations.h"
#include "benchmarks/Devices.h"

#include <benchmark/benchmark.h>

namespace qz::bench {
namespace {

template<typename Question>
void ask(benchmark::State& state, Question question) {
    Application& application = sharedApplication(1, state.range(0));
    const auto device = application.manager->devices().front();
    const std::array elements{device->elementWithCookie(1), device->elementWithCookie(2), device->elementWithCookie(5),
                              device->elementWithCookie(6)};
    const Allocations before = allocations();
    std::size_t i = 0;
    for (auto _ : state) {
        question(*application.configuration, *elements[i]);
        i = (i + 1) % elements.size();
    }
    state.counters["allocations"] = static_cast<double>(allocations().count - before.count);
}

void mustReverse(benchmark::State& state) {
    ask(state, [](QZGCConfigurationManager& configuration, const QZHIDElement& element) {
        benchmark::DoNotOptimize(configuration.mustReverseDirection(element));
    });
}
BENCHMARK(mustReverse)->Name("MustReverse")->Arg(1)->Arg(100'000);

void actionString(benchmark::State& state) {
    ask(state, [](QZGCConfigurationManager& configuration, const QZHIDElement& element) {
        benchmark::DoNotOptimize(configuration.actionString(element));
    });
}
BENCHMARK(actionString)->Name("ActionString")->Arg(1)->Arg(100'000);

} // namespace
} // namespace qz::bench
