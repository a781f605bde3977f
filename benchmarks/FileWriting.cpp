// SPDX-License-Identifier: MIT
#include "benchmarks/FileWriting.h"

#include <cstdio>
#include <ctime>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

qz::bench::FileWriting total;

/// Adds the time from its making to its end.
class Stopwatch {
public:
    Stopwatch() : begin_(qz::bench::processorMilliseconds()) {}
    Stopwatch(const Stopwatch&) = delete;
    Stopwatch& operator=(const Stopwatch&) = delete;
    ~Stopwatch() { total.milliseconds += qz::bench::processorMilliseconds() - begin_; }

private:
    double begin_;
};

} // namespace

namespace qz::bench {

FileWriting fileWriting() {
    return total;
}

double processorMilliseconds() {
    timespec now{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

} // namespace qz::bench

// In place of the C library's, for the whole process, the measured library included: it calls them by these names.
extern "C" {

[[gnu::visibility("default")]] ssize_t write(int descriptor, const void* bytes, size_t count) {
    const Stopwatch stopwatch;
    const ssize_t written = ::syscall(SYS_write, descriptor, bytes, count);
    total.bytes += written > 0 ? static_cast<std::size_t>(written) : 0;
    return written;
}

[[gnu::visibility("default")]] int fsync(int descriptor) {
    const Stopwatch stopwatch;
    return static_cast<int>(::syscall(SYS_fsync, descriptor));
}

[[gnu::visibility("default")]] int renameat(int fromDirectory, const char* from, int toDirectory,
                                            const char* to) noexcept {
    const Stopwatch stopwatch;
    return static_cast<int>(::syscall(SYS_renameat2, fromDirectory, from, toDirectory, to, 0));
}
}
