// SPDX-License-Identifier: MIT
#include "benchmarks/Devices.h"
#include "benchmarks/FileWriting.h"
#include "platform/UserDefaults.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

// Loading and saving a large stored configuration with the real preferences file, next to what the JSON library alone
// needs for the same text. Every measurement is a process of its own, so that each has a peak of memory of its own.

namespace {

using namespace qz;
using Clock = std::chrono::steady_clock;

struct Cost {
    double milliseconds = 0; ///< as a clock on the wall shows it, waiting for the disk included
    double processor = 0;    ///< milliseconds of processor time, but for what follows
    double writing = 0;      ///< milliseconds of processor time for bringing a file to the disk
    double mebibytes = 0;    ///< peak of memory, without what the process had before
    double written = 0;      ///< bytes
};

/// What is measured and, before it in the same process, what it needs.
struct Task {
    std::function<std::function<void()>()> prepare;
    bool preparationTakesMemory; ///< whether the memory of what it needs counts
};

double peakMebibytes() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024;
}

Cost run(const Task& task) {
    double before = peakMebibytes();
    const std::function<void()> measured = task.prepare();
    before = task.preparationTakesMemory ? before : peakMebibytes();
    const bench::FileWriting writing = bench::fileWriting();
    const double processor = bench::processorMilliseconds();
    const auto begin = Clock::now();
    measured();
    const std::chrono::duration<double, std::milli> passed = Clock::now() - begin;
    Cost cost;
    cost.milliseconds = passed.count();
    cost.writing = bench::fileWriting().milliseconds - writing.milliseconds;
    cost.processor = bench::processorMilliseconds() - processor - cost.writing;
    cost.mebibytes = peakMebibytes() - before;
    cost.written = static_cast<double>(bench::fileWriting().bytes - writing.bytes);
    return cost;
}

Cost inProcessOfItsOwn(const Task& task) {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) {
        std::perror("qzgc_bench_storage: pipe");
        std::exit(1);
    }
    const pid_t child = ::fork();
    if (child == 0) {
        const Cost cost = run(task);
        const bool written = ::write(ends[1], &cost, sizeof cost) == static_cast<ssize_t>(sizeof cost);
        std::_Exit(written ? 0 : 1);
    }
    ::close(ends[1]);
    Cost cost;
    const bool isRead = ::read(ends[0], &cost, sizeof cost) == static_cast<ssize_t>(sizeof cost);
    ::close(ends[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    if (!isRead || status != 0) {
        std::fputs("qzgc_bench_storage: a measuring process failed\n", stderr);
        std::exit(1);
    }
    return cost;
}

platform::PropertyList::Dictionary configuration(std::int64_t deviceCount) {
    constexpr int elementCount = 40;
    platform::PropertyList::Dictionary devices;
    for (std::int64_t i = 0; i < deviceCount; ++i) {
        platform::PropertyList::Dictionary specifications;
        platform::PropertyList::Dictionary mappings;
        for (int element = 1; element <= elementCount; ++element) {
            const std::string cookie = std::to_string(element);
            specifications.emplace(cookie, platform::PropertyList::Dictionary{{"QZGCReversedDirection", "0"}});
            mappings.emplace(cookie, "action number " + cookie);
        }
        devices.emplace("1133-" + std::to_string(i),
                        platform::PropertyList::Dictionary{{"QZGCElementSpecifications", std::move(specifications)},
                                                           {"QZGCMappings", std::move(mappings)}});
    }
    return devices;
}

std::shared_ptr<QZGCConfigurationManager> load() {
    return QZGCConfigurationManager::create({}, {}, {});
}

std::string text(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Stores the configuration of so many devices and answers the path of the document.
std::filesystem::path store(const std::filesystem::path& directory, std::int64_t devices) {
    // By a process of its own too: this one must not have the preferences in memory.
    inProcessOfItsOwn({[devices] {
                           return [devices] {
                               platform::UserDefaults& userDefaults = platform::Platform::standard().userDefaults();
                               userDefaults.setObjectForKey(configuration(devices), "QZGameControllerConfig");
                               if (!userDefaults.synchronize()) {
                                   std::exit(1);
                               }
                           };
                       },
                       true});
    std::filesystem::path document;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
        document = entry.path().extension() == ".json" ? entry.path() : document;
    }
    return document;
}

Cost median(const std::vector<Cost>& costs) {
    const auto of = [&](double Cost::*figure) {
        std::vector<double> figures;
        for (const Cost& cost : costs) {
            figures.push_back(cost.*figure);
        }
        std::ranges::nth_element(figures, figures.begin() + static_cast<std::ptrdiff_t>(figures.size() / 2));
        return figures[figures.size() / 2];
    };
    return {of(&Cost::milliseconds), of(&Cost::processor), of(&Cost::writing), of(&Cost::mebibytes),
            of(&Cost::written)};
}

/// Loading or saving, and the part of it that the JSON library takes.
struct Row {
    const char* operation = "";
    std::int64_t devices = 0;
    double documentBytes = 0;
    Cost all;
    Cost library;

    double ownProcessor() const { return all.processor - library.processor; }
    double ownMebibytes() const { return all.mebibytes - library.mebibytes; }
};

std::array<Row, 2> measure(std::int64_t devices, const std::filesystem::path& document) {
    const std::array<Task, 4> tasks{
        Task{[] { return [] { static const auto kept = load(); }; }, true},
        Task{[&] { return [json = text(document)] { static const auto kept = nlohmann::json::parse(json); }; }, false},
        Task{[] { return [manager = load()] { manager->saveUserDefaults(); }; }, true},
        Task{[&] { return [json = nlohmann::json::parse(text(document))] { static const auto kept = json.dump(2); }; },
             true}};
    std::array<std::vector<Cost>, 4> costs;
    // In turn: what disturbs the machine for a while disturbs all of them.
    for (int repetition = 0; repetition < 7; ++repetition) {
        for (std::size_t i = 0; i < tasks.size(); ++i) {
            costs[i].push_back(inProcessOfItsOwn(tasks[i]));
        }
    }
    const auto bytes = static_cast<double>(std::filesystem::file_size(document));
    return {Row{"load", devices, bytes, median(costs[0]), median(costs[1])},
            Row{"save", devices, bytes, median(costs[2]), median(costs[3])}};
}

void printHead() {
    std::puts(
        "Loading and saving a configuration with 40 elements for each device. time: on the wall, the disk\n"
        "included. Processor time: writing is what the kernel takes to bring the file to the disk, JSON what the\n"
        "JSON library takes to parse or dump the same document in memory, ours the rest. Memory: peaks.\n"
        "| what | devices | file, MiB | time, ms | writing, ms | JSON, ms | ours, ms | ours/JSON "
        "| JSON, MiB | ours, MiB | ours/JSON |\n"
        "|------|---------|-----------|----------|-------------|----------|----------|-----------"
        "|-----------|-----------|-----------|");
}

void print(const Row& row) {
    std::printf("| %s | %7lld | %9.2f | %8.2f | %11.2f | %8.2f | %8.2f | %9.2f | %9.1f | %9.1f | %9.2f |\n",
                row.operation, static_cast<long long>(row.devices), row.documentBytes / (1024 * 1024),
                row.all.milliseconds, row.all.writing, row.library.processor, row.ownProcessor(),
                row.ownProcessor() / row.library.processor, row.library.mebibytes, row.ownMebibytes(),
                row.ownMebibytes() / row.library.mebibytes);
    std::fflush(stdout);
}

/// Whether the figure is within its limit; says so when it is not.
bool holds(const Row& row, const char* figure, double value, double limit) {
    if (value <= limit) {
        return true;
    }
    std::fprintf(stderr, "qzgc_bench_storage: over the limit: %s %lld devices, %s: %.2f > %.2f\n", row.operation,
                 static_cast<long long>(row.devices), figure, value, limit);
    return false;
}

/// `fewer` and `many` are of one operation.
bool allHold(const Row& fewer, const Row& many) {
    const auto perDevice = [](const Row& row, double figure) { return figure / static_cast<double>(row.devices); };
    bool result =
        holds(many, "our processor time against the JSON library's", many.ownProcessor() / many.library.processor, 1);
    result =
        holds(many, "our memory against the JSON library's", many.ownMebibytes() / many.library.mebibytes, 1) && result;
    result = holds(many, "processor time for a device against that with fewer devices",
                   perDevice(many, many.all.processor) / perDevice(fewer, fewer.all.processor), 2) &&
             result;
    return holds(many, "memory for a device against that with fewer devices",
                 perDevice(many, many.all.mebibytes) / perDevice(fewer, fewer.all.mebibytes), 2) &&
           result;
}

} // namespace

/// qzgc_bench_storage [--check]
int main(int argc, char** argv) {
    const bool check = argc > 1 && std::string_view(argv[1]) == "--check";
    std::array<char, 32> directory{"/tmp/qzgc-bench-XXXXXX"};
    if (::mkdtemp(directory.data()) == nullptr || ::setenv("XDG_CONFIG_HOME", directory.data(), 1) != 0) {
        std::perror("qzgc_bench_storage: no temporary directory");
        return 1;
    }
    printHead();
    std::array<Row, 2> fewer;
    std::array<Row, 2> rows;
    for (const std::int64_t devices : {10, 100, 1'000, 10'000}) {
        fewer = rows;
        rows = measure(devices, store(directory.data(), devices));
        std::ranges::for_each(rows, print);
    }
    std::filesystem::remove_all(directory.data());
    // The time for writing can be told from ours only where this program's own functions are called for it.
    if (rows[1].all.written < rows[1].documentBytes) {
        std::fputs("qzgc_bench_storage: saving did not write by way of the functions that are measured\n", stderr);
        return 1;
    }
    bool withinLimits = true;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        withinLimits = allHold(fewer[i], rows[i]) && withinLimits;
    }
    return check && !withinLimits ? 1 : 0;
}
