// SPDX-License-Identifier: MIT
#include "benchmarks/Figures.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace qz::bench {

void MedianCollector::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        if (run.error_occurred) {
            errors.push_back(run.benchmark_name() + ": " + run.error_message);
        } else if (run.aggregate_name == "median") {
            Median& median =
                medians[run.run_name.function_name + (run.run_name.args.empty() ? "" : "/") + run.run_name.args];
            median.nanoseconds = run.GetAdjustedRealTime();
            for (const auto& [name, counter] : run.counters) {
                median.counters[name] = counter;
            }
        }
    }
}

bool Figure::holds() const {
    const double measured = inYardsticks.value_or(value);
    return !limit || (limitIsMinimum ? measured >= *limit : measured <= *limit);
}

namespace {

class Table {
public:
    explicit Table(const Medians& medians) : medians_(medians), yardstick_(time("Yardstick")) {}

    double time(const std::string& benchmark) const { return find(benchmark).nanoseconds; }

    double counter(const std::string& benchmark, const std::string& name) const {
        const auto& counters = find(benchmark).counters;
        const auto found = counters.find(name);
        if (found == counters.end()) {
            missing(benchmark + ":" + name);
        }
        return found->second;
    }

    void addTime(std::string name, const std::string& benchmark, std::optional<double> limit = std::nullopt) {
        const double nanoseconds = time(benchmark);
        lines.push_back({std::move(name), "ns", nanoseconds, nanoseconds / yardstick_, limit, false});
    }

    void add(std::string name, std::string unit, double value, std::optional<double> limit, bool isMinimum = false) {
        lines.push_back({std::move(name), std::move(unit), value, std::nullopt, limit, isMinimum});
    }

    /// How many times the slowest of several is slower than the fastest.
    double spread(const std::vector<std::string>& benchmarks) const {
        std::vector<double> times;
        for (const std::string& benchmark : benchmarks) {
            times.push_back(time(benchmark));
        }
        return std::ranges::max(times) / std::ranges::min(times);
    }

    std::vector<Figure> lines;

private:
    [[noreturn]] static void missing(const std::string& what) {
        std::fprintf(stderr, "qzgc_bench: no result for %s\n", what.c_str());
        std::exit(1);
    }

    const Median& find(const std::string& benchmark) const {
        const auto found = medians_.find(benchmark);
        if (found == medians_.end()) {
            missing(benchmark);
        }
        return found->second;
    }

    const Medians& medians_;
    double yardstick_;
};

void addReports(Table& table) {
    table.addTime("report with 5 changes to 5 actions", "ReportRoad", 1.2);
    table.add("  allocations", "", table.counter("ReportRoad", "allocations"), 0);
    // The peer's time is that of one event.
    table.add("  SDL2's time for 5 events against ours", "times",
              5 * table.time("SDLControllerEvent") / table.time("ReportRoad"), 6, true);
    table.addTime("report with nothing new", "ReportUnchanged", 0.1);
    table.add("  allocations", "", table.counter("ReportUnchanged", "allocations"), 0);
    table.addTime("decode a report with 5 changes", "Decode");
    table.addTime("the same by a decoder written for it", "DecodeByHand");
    table.add("  our time against its", "times", table.time("Decode") / table.time("DecodeByHand"), std::nullopt);
    table.addTime("device from its descriptor, per element object", "MakeDevice", 0.5);

    constexpr double million = 1e6;
    constexpr double mebibyte = 1024.0 * 1024.0;
    table.add("dearest 4,096 bytes, descriptor and decoder", "ms", table.time("Hostile/0") / million, 5);
    table.add("  heap", "MiB", table.counter("Hostile/0", "peak") / mebibyte, 4);
    table.add("dearest 4,096 bytes, a whole device", "ms", table.time("Hostile/1") / million, 60);
    table.add("  heap", "MiB", table.counter("Hostile/1", "peak") / mebibyte, 16);
}

} // namespace

std::vector<Figure> figures(const Medians& medians) {
    Table table(medians);
    table.addTime("yardstick Y: read of 64 bytes from a socket", "Yardstick");

    table.addTime("normalise a value and filter it", "NormalizeAndFilter");
    table.add("  allocations", "", table.counter("NormalizeAndFilter", "allocations"), 0);
    table.addTime("build a device of 400 elements, per element", "BuildDevice", 0.5);
    table.add("  heap of an element with its table entries", "bytes", table.counter("BuildDevice", "heap"), 256);

    const std::vector<std::string> reversed{"MustReverse/1", "MustReverse/100000"};
    const std::vector<std::string> named{"ActionString/1", "ActionString/100000"};
    table.addTime("is it reversed?, 1 stored device", reversed[0]);
    table.addTime("is it reversed?, 100,000 stored devices", reversed[1]);
    table.add("  slowest against fastest", "times", table.spread(reversed), 1.5);
    table.addTime("which action?, 1 stored device", named[0]);
    table.addTime("which action?, 100,000 stored devices", named[1]);
    table.add("  slowest against fastest", "times", table.spread(named), 1.5);
    table.add("  allocations of both questions", "",
              table.counter(reversed[1], "allocations") + table.counter(named[1], "allocations"), 0);

    std::vector<std::string> roads;
    for (const char* const devices : {"1", "16", "256"}) {
        for (const char* const stored : {"10", "100000"}) {
            roads.push_back(std::string("Road/") + devices + "/" + stored);
            table.addTime(std::string("raw value to action, ") + devices + " connected, " + stored + " stored",
                          roads.back(), 0.2);
            table.add("  allocations", "", table.counter(roads.back(), "allocations"), 0);
        }
    }
    table.add("  slowest against fastest", "times", table.spread(roads), 1.5);
    table.addTime("SDL2: virtual joystick to controller event", "SDLControllerEvent");
    table.add("  SDL2's time against ours", "times", table.time("SDLControllerEvent") / table.time(roads.front()), 8,
              true);
    addReports(table);
    return table.lines;
}

} // namespace qz::bench
