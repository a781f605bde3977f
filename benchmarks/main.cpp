// SPDX-License-Identifier: MIT
#include "benchmarks/Figures.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string_view>

namespace {

using qz::bench::Figure;

/// Digits that suit the size: counts whole, small ratios with three decimals.
std::string number(double value) {
    std::array<char, 32> text{};
    const bool isWhole = value == static_cast<double>(static_cast<long long>(value));
    std::snprintf(text.data(), text.size(), isWhole ? "%.0f" : (value < 10 ? "%.3f" : "%.1f"), value);
    return text.data();
}

std::string limitText(const Figure& figure) {
    if (!figure.limit) {
        return "";
    }
    return (figure.limitIsMinimum ? ">= " : "<= ") + number(*figure.limit) + (figure.inYardsticks ? " Y" : "");
}

void print(const std::vector<Figure>& figures) {
    std::printf("| %-52s | %12s | %8s | %9s |    |\n", "figure", "value", "in Y", "limit");
    std::printf("|%s|%s|%s|%s|----|\n", std::string(54, '-').c_str(), std::string(14, '-').c_str(),
                std::string(10, '-').c_str(), std::string(11, '-').c_str());
    for (const Figure& figure : figures) {
        std::printf("| %-52s | %12s | %8s | %9s | %-2s |\n", figure.name.c_str(),
                    (number(figure.value) + (figure.unit.empty() ? "" : " ") + figure.unit).c_str(),
                    figure.inYardsticks ? number(*figure.inYardsticks).c_str() : "", limitText(figure).c_str(),
                    !figure.limit    ? ""
                    : figure.holds() ? "ok"
                                     : "NO");
    }
}

bool writeJSON(const char* path, const std::vector<Figure>& figures) {
    std::ofstream file(path);
    file << "[\n";
    for (std::size_t i = 0; i < figures.size(); ++i) {
        const Figure& figure = figures[i];
        file << R"(  {"figure": ")" << figure.name << R"(", "value": )" << figure.value << R"(, "unit": ")"
             << figure.unit << "\"";
        if (figure.inYardsticks) {
            file << R"(, "yardsticks": )" << *figure.inYardsticks;
        }
        if (figure.limit) {
            file << R"(, "limit": )" << *figure.limit << R"(, "holds": )" << (figure.holds() ? "true" : "false");
        }
        file << (i + 1 < figures.size() ? "},\n" : "}\n");
    }
    file << "]\n";
    return file.good();
}

} // namespace

/// qzgc_bench [--check] [--json FILE] [options of the benchmark library]
int main(int argc, char** argv) {
    bool check = false;
    const char* json = nullptr;
    // Repetitions in random order: what disturbs the machine for a while disturbs all figures alike.
    std::string repetitions = "--benchmark_repetitions=9";
    std::string interleaving = "--benchmark_enable_random_interleaving=true";
    std::string minimumTime = "--benchmark_min_time=0.05";
    std::vector<char*> arguments{argv[0], repetitions.data(), interleaving.data(), minimumTime.data()};
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--check") == 0) {
            check = true;
        } else if (std::strcmp(argv[i], "--json") == 0 && i + 1 < argc) {
            json = argv[++i];
        } else {
            arguments.push_back(argv[i]);
        }
    }
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) {
        return 2;
    }

    qz::bench::MedianCollector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);
    for (const std::string& error : collector.errors) {
        std::fprintf(stderr, "qzgc_bench: %s\n", error.c_str());
    }
    if (!collector.errors.empty()) {
        return 1;
    }
    const std::vector<Figure> figures = qz::bench::figures(collector.medians);
    print(figures);
    if (json != nullptr && !writeJSON(json, figures)) {
        std::fprintf(stderr, "qzgc_bench: cannot write %s\n", json);
        return 1;
    }
    bool allHold = true;
    for (const Figure& figure : figures) {
        if (!figure.holds()) {
            std::fprintf(stderr, "qzgc_bench: over the limit: %s\n", figure.name.c_str());
            allHold = false;
        }
    }
    return check && !allHold ? 1 : 0;
}
