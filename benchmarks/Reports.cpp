// SPDX-License-Identifier: MIT
#include "benchmarks/Allocations.h"
#include "benchmarks/Devices.h"
#include "benchmarks/Hostile.h"
#include "platform/report/Recording.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstring>
#include <fstream>
#include <iterator>

namespace qz::bench {
namespace {

using platform::ReportDescriptor;
using Bytes = std::vector<std::uint8_t>;

/// The descriptor of a DualShock 4 on USB. Its report has four axes in bytes 1 to 4, the hat and the first four
/// buttons in byte 5.
const Bytes& dualShock4() {
    static const Bytes descriptor = [] {
        std::ifstream file(QZGC_TEST_DATA "/devices/dualshock-4-usb.hid");
        const std::string text(std::istreambuf_iterator<char>(file), {});
        return std::get<platform::Recording>(platform::readRecording(text)).devices.at(0).descriptor;
    }();
    return descriptor;
}

ReportDescriptor parsed(const Bytes& descriptor) {
    return std::get<ReportDescriptor>(platform::parseReportDescriptor(descriptor));
}

platform::HIDProperties properties() {
    return {{"VendorID", std::int64_t{1}}, {"ProductID", std::int64_t{2}}, {"LocationID", std::int64_t{3}}};
}

/// Reports that differ from the one before in four axes and a button.
class Reports {
public:
    Reports() { report_[0] = 1; }

    std::span<const std::uint8_t> next() {
        ++round_;
        for (std::size_t axis = 1; axis <= 4; ++axis) {
            report_[axis] = static_cast<std::uint8_t>(round_ * 7 + 2);
        }
        report_[5] = static_cast<std::uint8_t>(0x08 | ((round_ & 1U) << 4U)); // the hat at rest
        return report_;
    }
    std::span<const std::uint8_t> same() const { return report_; }

private:
    std::array<std::uint8_t, 64> report_{};
    unsigned round_ = 0;
};

/// An application with one DualShock 4.
struct Player {
    Player() : application(0, 10) {
        application.platform.hidServices().plug(device);
        application.platform.currentRunLoop().dispatch(platform::kCFRunLoopDefaultMode);
        take(reports.next());
    }

    void take(std::span<const std::uint8_t> report) {
        for (const std::uint32_t index : device->feed(report)) {
            const platform::HIDValue value = device->value(index);
            inputValueCallback(application.manager.get(), platform::kIOReturnSuccess, nullptr, &value);
        }
    }

    Application application;
    std::shared_ptr<platform::VirtualDevice> device =
        std::make_shared<platform::VirtualDevice>(parsed(dualShock4()), properties());
    Reports reports;
};

/// A complete report, from its bytes to five actions.
void reportRoad(benchmark::State& state) {
    static Player player;
    const std::int64_t heard = player.application.delegate->values;
    const Allocations before = allocations();
    std::int64_t reports = 0;
    for (auto _ : state) {
        player.take(player.reports.next());
        ++reports;
    }
    state.counters["allocations"] = static_cast<double>(allocations().count - before.count);
    if (player.application.delegate->values - heard != reports * 5) {
        state.SkipWithError("a report gave other than five actions");
    }
}
BENCHMARK(reportRoad)->Name("ReportRoad");

void reportUnchanged(benchmark::State& state) {
    static Player player;
    const std::int64_t heard = player.application.delegate->values;
    const Allocations before = allocations();
    for (auto _ : state) {
        player.take(player.reports.same());
        benchmark::ClobberMemory();
    }
    state.counters["allocations"] = static_cast<double>(allocations().count - before.count);
    if (player.application.delegate->values != heard) {
        state.SkipWithError("a report with nothing new gave actions");
    }
}
BENCHMARK(reportUnchanged)->Name("ReportUnchanged");

void decode(benchmark::State& state) {
    const auto device = std::make_shared<platform::ReportDevice>(parsed(dualShock4()), properties());
    Reports reports;
    device->feed(reports.next());
    for (auto _ : state) {
        benchmark::DoNotOptimize(device->feed(reports.next()).data());
    }
}
BENCHMARK(decode)->Name("Decode");

/// The peer of `decode`: the same report by someone who knows it by heart.
class HandWritten {
public:
    std::span<const std::uint32_t> feed(std::span<const std::uint8_t> report) {
        count_ = 0;
        if (report.size() < 64 || report[0] != 1 || std::memcmp(report.data(), last_.data(), 64) == 0) {
            return {};
        }
        std::memcpy(last_.data(), report.data(), 64);
        for (std::uint32_t axis = 0; axis < 4; ++axis) {
            take(axis, report[1 + axis]);
        }
        take(4, report[5] & 15);
        const std::uint32_t buttons = report[5] >> 4 | report[6] << 4 | (report[7] & 3) << 12;
        for (std::uint32_t button = 0; button < 14; ++button) {
            take(5 + button, buttons >> button & 1);
        }
        take(19, report[7] >> 2);
        take(20, report[8]);
        take(21, report[9]);
        for (std::uint32_t i = 0; i < 54; ++i) {
            take(22 + i, report[10 + i]);
        }
        return {changed_.data(), count_};
    }

private:
    void take(std::uint32_t index, std::int64_t value) {
        if (values_[index] != value) {
            values_[index] = value;
            changed_[count_++] = index;
        }
    }

    std::array<std::uint8_t, 64> last_{};
    std::array<std::int64_t, 76> values_{};
    std::array<std::uint32_t, 76> changed_{};
    std::size_t count_ = 0;
};

void decodeByHand(benchmark::State& state) {
    HandWritten decoder;
    Reports reports;
    for (auto _ : state) {
        benchmark::DoNotOptimize(decoder.feed(reports.next()).data());
    }
}
BENCHMARK(decodeByHand)->Name("DecodeByHand");

/// How many element objects the layer above makes: one for each element and one for each membership.
std::size_t elementObjects(const ReportDescriptor& descriptor) {
    std::vector<std::size_t> depths;
    std::size_t objects = 0;
    for (const std::uint32_t parent : descriptor.parents) {
        depths.push_back(parent == ReportDescriptor::noParent ? 0 : depths[parent] + 1);
        objects += 1 + depths.back();
    }
    return objects;
}

/// From the descriptor's bytes to the device that an application sees; the time is that of one element object.
void makeDevice(benchmark::State& state) {
    platform::VirtualPlatform platform;
    const auto manager = QZGCHIDManager::create(nullptr, platform);
    const auto objects = static_cast<double>(elementObjects(parsed(dualShock4())));
    for (auto _ : state) {
        const auto begin = std::chrono::steady_clock::now();
        const auto handle = std::make_shared<platform::VirtualDevice>(parsed(dualShock4()), properties());
        const auto device = QZHIDDevice::create(handle.get(), manager);
        const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - begin;
        state.SetIterationTime(passed.count() / objects);
    }
}
BENCHMARK(makeDevice)->Name("MakeDevice")->UseManualTime()->Iterations(50);

/// The dearest of the hostile descriptors, without the layer above and with it: milliseconds and the peak of the heap.
void hostile(benchmark::State& state) {
    const bool whole = state.range(0) != 0;
    platform::VirtualPlatform platform;
    const auto manager = QZGCHIDManager::create(nullptr, platform);
    static const std::vector<Hostile> descriptors = hostileDescriptors();
    std::size_t peak = 0;
    for (auto _ : state) {
        double slowest = 0;
        for (const Hostile& each : descriptors) {
            beginPeak();
            const std::size_t live = allocations().live;
            const auto begin = std::chrono::steady_clock::now();
            {
                auto descriptor = platform::parseReportDescriptor(each.descriptor);
                auto* const accepted = std::get_if<ReportDescriptor>(&descriptor);
                if (accepted == nullptr) {
                    state.SkipWithError("a hostile descriptor keeps to the limits and was refused");
                    return;
                }
                const auto handle = std::make_shared<platform::VirtualDevice>(std::move(*accepted), properties());
                const auto device = whole ? QZHIDDevice::create(handle.get(), manager) : nullptr;
                const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - begin;
                slowest = std::max(slowest, passed.count());
            }
            peak = std::max(peak, allocations().peak - live);
        }
        state.SetIterationTime(slowest);
    }
    state.counters["peak"] = static_cast<double>(peak);
}
BENCHMARK(hostile)->Name("Hostile")->Arg(0)->Arg(1)->UseManualTime()->Iterations(3);

} // namespace
} // namespace qz::bench
