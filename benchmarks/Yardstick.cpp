// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>

#include <array>
#include <chrono>
#include <sys/socket.h>
#include <unistd.h>

namespace {

/// What everything else is measured in: one read of 64 bytes from a non-blocking seqpacket socket with data waiting,
/// the least that any program must pay for one report of a device.
void yardstick(benchmark::State& state) {
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK, 0, ends.data()) != 0) {
        state.SkipWithError("no socket pair");
        return;
    }
    std::array<char, 64> report{};
    constexpr int batch = 64;
    for (auto _ : state) {
        for (int i = 0; i < batch; ++i) {
            if (::write(ends[0], report.data(), report.size()) != static_cast<ssize_t>(report.size())) {
                state.SkipWithError("the socket takes no more data");
                break;
            }
        }
        const auto begin = std::chrono::steady_clock::now();
        for (int i = 0; i < batch; ++i) {
            if (::read(ends[1], report.data(), report.size()) != static_cast<ssize_t>(report.size())) {
                state.SkipWithError("the socket gives no data");
                break;
            }
        }
        const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - begin;
        state.SetIterationTime(passed.count() / batch);
    }
    ::close(ends[0]);
    ::close(ends[1]);
}

BENCHMARK(yardstick)->Name("Yardstick")->UseManualTime()->Iterations(1000);

} // namespace
