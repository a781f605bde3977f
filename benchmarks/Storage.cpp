// SPDX-License-Identifier: MIT
#include "benchmarks/Devices.h"
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
    double milliseconds = 0;
    double mebibytes = 0;
};

double peakMebibytes() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024;
}

/// Runs `prepare` and then, measured, what it answers, in a child process.
Cost measure(const std::function<std::function<void()>()>& prepare) {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) {
        std::perror("qzgc_bench_storage: pipe");
        std::exit(1);
    }
    const pid_t child = ::fork();
    if (child == 0) {
        const double before = peakMebibytes();
        const std::function<void()> run = prepare();
        const auto begin = Clock::now();
        run();
        const std::chrono::duration<double, std::milli> passed = Clock::now() - begin;
        const Cost cost{passed.count(), peakMebibytes() - before};
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

Cost median(const std::function<std::function<void()>()>& prepare) {
    std::vector<Cost> costs;
    for (int i = 0; i < 5; ++i) {
        costs.push_back(measure(prepare));
    }
    std::ranges::sort(costs, {}, &Cost::milliseconds);
    return costs[costs.size() / 2];
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

void report(std::int64_t devices, const std::filesystem::path& document) {
    const Cost ourLoad = median([] { return [] { static const auto kept = load(); }; });
    const Cost theirLoad = median([&] {
        return [&] { static const auto kept = nlohmann::json::parse(std::ifstream(document, std::ios::binary)); };
    });
    const Cost ourSave = median([] { return [manager = load()] { manager->saveUserDefaults(); }; });
    const Cost theirSave = median([&] {
        return [&document, json = nlohmann::json::parse(text(document))] {
            std::ofstream(document.string() + ".copy", std::ios::binary) << json.dump(2);
        };
    });
    std::printf(
        "| %7lld | %9.2f | %8.2f %8.2f %5.2f | %8.1f %8.1f %5.2f | %8.2f %8.2f %5.2f | %8.1f %8.1f |\n",
        static_cast<long long>(devices), static_cast<double>(std::filesystem::file_size(document)) / (1024 * 1024),
        ourLoad.milliseconds, theirLoad.milliseconds, ourLoad.milliseconds / theirLoad.milliseconds, ourLoad.mebibytes,
        theirLoad.mebibytes, ourLoad.mebibytes / theirLoad.mebibytes, ourSave.milliseconds, theirSave.milliseconds,
        ourSave.milliseconds / theirSave.milliseconds, ourSave.mebibytes, theirSave.mebibytes);
    std::fflush(stdout);
}

} // namespace

int main() {
    std::array<char, 32> directory{"/tmp/qzgc-bench-XXXXXX"};
    if (::mkdtemp(directory.data()) == nullptr || ::setenv("XDG_CONFIG_HOME", directory.data(), 1) != 0) {
        std::perror("qzgc_bench_storage: no temporary directory");
        return 1;
    }
    std::puts(
        "| devices | file, MiB |  load: ms  JSON lib. times | load: MiB JSON lib. times | save: ms  JSON lib. times | "
        "save: MiB JSON lib. |");
    for (const std::int64_t devices : {10, 100, 1'000, 10'000}) {
        // Written by a process of its own too: this one must not have the preferences in memory.
        measure([devices] {
            return [devices] {
                platform::UserDefaults& userDefaults = platform::Platform::standard().userDefaults();
                userDefaults.setObjectForKey(configuration(devices), "QZGameControllerConfig");
                userDefaults.synchronize();
            };
        });
        std::filesystem::path document;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(directory.data())) {
            if (entry.path().extension() == ".json") {
                document = entry.path();
            }
        }
        report(devices, document);
    }
    std::filesystem::remove_all(directory.data());
    return 0;
}
