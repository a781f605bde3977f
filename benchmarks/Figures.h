// SPDX-License-Identifier: MIT
#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace qz::bench {

/// The medians of one run by the benchmark's name, in nanoseconds, and the counters that go with them.
struct Median {
    double nanoseconds = 0;
    std::map<std::string, double> counters;
};
using Medians = std::map<std::string, Median>;

/// Collects the medians of all repetitions; prints nothing.
class MedianCollector final : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context& /*context*/) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override;

    Medians medians;
    std::vector<std::string> errors;
};

/// One line of the table: a figure, how it is measured, and the limit that `--check` enforces.
struct Figure {
    std::string name;
    std::string unit;
    double value = 0;
    std::optional<double> inYardsticks;
    std::optional<double> limit; ///< of the value in Y where there is one, else of the value; the value is to be below
    bool limitIsMinimum = false; ///< or above

    bool holds() const;
};

/// All figures that follow from the medians.
std::vector<Figure> figures(const Medians& medians);

} // namespace qz::bench
