// SPDX-License-Identifier: MIT
#include "tests/kernel/speed/Connecting.h"
#include "tests/kernel/speed/Costs.h"
#include "tests/kernel/speed/Listing.h"
#include "tests/kernel/speed/Readers.h"
#include "tests/kernel/support/CounterPad.h"
#include "tests/kernel/support/Results.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <sched.h>
#include <string_view>
#include <thread>

namespace qz::tests {
namespace {

using Clock = std::chrono::steady_clock;

double median(std::vector<double> samples) {
    const auto middle = samples.begin() + static_cast<std::ptrdiff_t>(samples.size() / 2);
    std::ranges::nth_element(samples, middle);
    return *middle;
}

struct Limits {
    bool hold = true;
    /// Writes a line with a ratio, which is not to be above the limit.
    void check(const char* what, double ratio, double limit) {
        const bool holds = ratio <= limit;
        hold = hold && holds;
        tellFormatted("  %-58s %5.2f (limit %.2f)%s", what, ratio, limit, holds ? "" : "  TOO MUCH");
    }
};

double microseconds(Clock::duration duration) {
    return std::chrono::duration<double, std::micro>(duration).count();
}

/// Keeps this thread, and those that it makes, to the first processor.
class OneProcessor {
public:
    OneProcessor() {
        ::sched_getaffinity(0, sizeof before_, &before_);
        cpu_set_t first;
        CPU_ZERO(&first);
        CPU_SET(0, &first);
        ::sched_setaffinity(0, sizeof first, &first);
    }
    OneProcessor(const OneProcessor&) = delete;
    OneProcessor& operator=(const OneProcessor&) = delete;
    ~OneProcessor() { ::sched_setaffinity(0, sizeof before_, &before_); }

private:
    cpu_set_t before_{};
};

/// How long reports take from their writing until a reader has them.
struct Samples {
    const char* name;
    std::unique_ptr<Reader> (*make)(const HIDNodes& nodes);
    std::vector<double> waiting = {}; ///< the reader waits when the report comes, from another thread
    std::vector<double> ready = {};   ///< the report is there when the reader looks, with the writing in one thread
    std::vector<double> afterWriting = {}; ///< of those, without the writing

    static constexpr int warmUp = 20; ///< an even number of reports that fill the caches

    /// What the reader asks of the kernel for one report, its waiting included.
    std::size_t systemCalls(CounterPad& pad) const {
        return systemCallsOf([&](const std::function<void()>& mark) {
            pad.press(1);
            pad.sendAgain();
            const std::unique_ptr<Reader> reader = make(pad.device().nodes());
            for (int i = 0; i < warmUp; ++i) {
                pad.press(i % 2 != 0 ? 1 : 0);
                pad.sendAgain();
                reader->receive();
            }
            pad.press(0);
            pad.sendAgain();
            mark();
            reader->receive();
            mark();
            return true;
        });
    }

    /// Takes the last so many of another's.
    void addLast(const Samples& other, int count) {
        const auto add = [count](std::vector<double>& own, const std::vector<double>& all) {
            own.insert(own.end(), all.end() - count, all.end());
        };
        add(waiting, other.waiting);
        add(ready, other.ready);
        add(afterWriting, other.afterWriting);
    }

    void takeReady(CounterPad& pad, int count) {
        const std::unique_ptr<Reader> reader = make(pad.device().nodes());
        for (int i = -warmUp; i < count; ++i) {
            pad.press(i % 2 != 0 ? 1 : 0);
            const auto start = Clock::now();
            pad.sendAgain();
            const auto written = Clock::now();
            const auto end = reader->receive();
            if (i >= 0) {
                ready.push_back(microseconds(end - start));
                afterWriting.push_back(microseconds(end - written));
            }
        }
    }

    /// Writer and reader share a processor: what is measured is the way from one to the other, and not how long an
    /// emulated processor takes to wake up.
    void takeWaiting(CounterPad& pad, int count) {
        const OneProcessor one;
        const std::unique_ptr<Reader> reader = make(pad.device().nodes());
        std::atomic<int> received = -warmUp - 1;
        std::atomic<Clock::time_point> start;
        std::thread writer([&] {
            for (int i = -warmUp; i < count; ++i) {
                received.wait(i - 2);
                // Until the reader has certainly gone to wait, and at any point of its own rhythm if it has one.
                std::this_thread::sleep_for(std::chrono::microseconds(1000 + 37 * (i + warmUp) % 1000));
                pad.press(i % 2 != 0 ? 1 : 0);
                start = Clock::now();
                pad.sendAgain();
            }
        });
        for (int i = -warmUp; i < count; ++i) {
            const auto end = reader->receive();
            if (i >= 0) {
                waiting.push_back(microseconds(end - start.load()));
            }
            received = i;
            received.notify_one();
        }
        writer.join();
    }
};

/// How many times one thing takes another's time: the median of what each round says. An emulated processor has slow
/// and fast seconds, and a round lets both have the same.
double ratioOfRounds(const std::vector<double>& times, const std::vector<double>& others, std::size_t round) {
    std::vector<double> ratios;
    for (std::size_t begin = 0; begin + round <= times.size(); begin += round) {
        const auto ofRound = [&](const std::vector<double>& all) {
            const auto first = all.begin() + static_cast<std::ptrdiff_t>(begin);
            return median({first, first + static_cast<std::ptrdiff_t>(round)});
        };
        ratios.push_back(ofRound(times) / ofRound(others));
    }
    return median(ratios);
}

void measureReports(Limits& limits, bool isPrecise) {
    constexpr int reports = 20;
    constexpr int roundsOfSDL = 6; // which takes long to start
    const int rounds = isPrecise ? 90 : 18;
    CounterPad pad("speed");
    std::array<Samples, 4> all{{{"bare poll and read", makeBareReader},
                                {"the library, until the delegate's call", makeLibraryReader},
                                {"the same inside another loop's poll", makePollingLibraryReader},
                                {"SDL2, until its event", makeSDLReader}}};
    Samples besideSDL{"the library in the rounds of SDL2", makeLibraryReader};
    for (int round = 0; round < rounds; ++round) {
        const bool hasSDL = round % (rounds / roundsOfSDL) == 0;
        const std::size_t readers = hasSDL ? all.size() : all.size() - 1;
        for (std::size_t i = 0; i < readers; ++i) {
            all[i].takeWaiting(pad, reports);
        }
        for (std::size_t i = 0; i < readers; ++i) {
            all[i].takeReady(pad, reports);
        }
        if (hasSDL) {
            besideSDL.addLast(all[1], reports);
        }
    }
    const Samples& bare = all[0];
    const Samples& library = all[1];
    const Samples& polling = all[2];
    const Samples& sdl = all[3];
    tellFormatted("From writing a report until a reader that waits for it has it, medians:");
    for (const Samples& samples : all) {
        tellFormatted("  %-40s %7.1f us of %zu reports", samples.name, median(samples.waiting), samples.waiting.size());
    }
    limits.check("library : bare", ratioOfRounds(library.waiting, bare.waiting, reports), 1.25);
    limits.check("library : SDL2", ratioOfRounds(besideSDL.waiting, sdl.waiting, reports), 1.0);
    tellFormatted("  inside another loop's poll : bare %.2f", ratioOfRounds(polling.waiting, bare.waiting, reports));
    tellFormatted("The same when the report is there before the reader looks, in one thread:");
    for (Samples& samples : all) {
        tellFormatted("  %-40s %7.1f us, of which %6.1f after the writing, in %zu system calls", samples.name,
                      median(samples.ready), median(samples.afterWriting), samples.systemCalls(pad));
    }
    tellFormatted("  library : bare %.2f, after the writing %.2f; library : SDL2 %.2f, after the writing %.2f",
                  ratioOfRounds(library.ready, bare.ready, reports),
                  ratioOfRounds(library.afterWriting, bare.afterWriting, reports),
                  ratioOfRounds(besideSDL.ready, sdl.ready, reports),
                  ratioOfRounds(besideSDL.afterWriting, sdl.afterWriting, reports));
}

constexpr std::size_t manyPads = 20;

std::vector<CounterPad> plugManyPads() {
    std::vector<CounterPad> pads;
    for (std::size_t i = 0; i < manyPads; ++i) {
        pads.emplace_back("connecting", std::to_string(i));
    }
    return pads;
}

/// Times of one way to connect, and its system calls.
struct Connecting {
    Work work;
    double calls = static_cast<double>(systemCallsOf(work));
    std::vector<double> first = {}; ///< in microseconds, each in a new process
    std::vector<double> again = {}; ///< each in a process that has done it before
};

void measureConnecting(Limits& limits, bool isPrecise) {
    const int rounds = isPrecise ? 60 : 15;
    constexpr std::size_t devices = manyPads;
    const std::vector<CounterPad> pads = plugManyPads();
    Connecting bare{connectingBare(devices)};
    Connecting library{connectingWithTheLibrary(devices)};
    for (int round = 0; round < rounds; ++round) {
        for (Connecting* const each : {&bare, &library}) {
            each->first.push_back(microsecondsOf(each->work));
        }
        for (Connecting* const each : {&bare, &library}) {
            each->again.push_back(microsecondsOf(each->work, 4));
        }
    }
    tellFormatted("From set-up to %zu connected controllers, medians of %d:", devices, rounds);
    tellFormatted("  %-40s %7.0f us, %4.0f system calls", "bare list, read and open", median(bare.first), bare.calls);
    tellFormatted("  %-40s %7.0f us, %4.0f system calls", "the library, until the delegate's call",
                  median(library.first), library.calls);
    limits.check("library : bare, time", ratioOfRounds(library.first, bare.first, 1), 1.5);
    tellFormatted("  in a process that has done it before: %.0f us and %.0f us, library : bare %.2f",
                  median(bare.again), median(library.again), ratioOfRounds(library.again, bare.again, 1));
    limits.check("library : bare, system calls", library.calls / bare.calls, 1.5);
}

void measureListing(Limits& limits) {
    constexpr int rounds = 21;
    const std::vector<CounterPad> pads = plugManyPads();
    const InstalledPrograms programs;
    std::vector<double> bare;
    std::vector<double> tool;
    for (int round = -1; round < rounds; ++round) {
        const double bareTime = programs.run("kernel_bare_list", "");
        const double toolTime = programs.run("qzgc", "list");
        if (round >= 0) {
            bare.push_back(bareTime);
            tool.push_back(toolTime);
        }
    }
    tellFormatted("Programs that list %zu controllers, from start to end, medians of %d:", manyPads, rounds);
    tellFormatted("  %-40s %7.0f us", "bare list, read and open", median(bare));
    tellFormatted("  %-40s %7.0f us", "qzgc list", median(tool));
    limits.check("qzgc list : bare", median(tool) / median(bare), 1.5);
}

} // namespace
} // namespace qz::tests

/// kernel_speed [--check]: with it there are more rounds, and a figure beyond its limit fails.
int main(int argc, char** argv) {
    const bool isCheck = argc > 1 && std::string_view(argv[1]) == "--check";
    qz::tests::allowSeconds(240); // a measurement that hangs ends by the alarm
    qz::tests::Limits limits;
    try {
        // First, while the process is as new as the children that are measured are meant to be.
        qz::tests::measureConnecting(limits, isCheck);
        qz::tests::measureReports(limits, isCheck);
        qz::tests::measureListing(limits);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return isCheck && !limits.hold ? 1 : 0;
}
