// SPDX-License-Identifier: MIT
#include "tests/kernel/speed/Costs.h"

#include "tests/kernel/support/FileDescriptor.h"

#include <array>
#include <chrono>
#include <csignal>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>

namespace qz::tests {

namespace {

using Clock = std::chrono::steady_clock;

/// Runs `work` in a child and hands the child's process and the end of a pipe that it writes to to `parent`.
template<typename Parent>
auto inChildProcess(const std::function<bool(int output)>& work, const Parent& parent) {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(work(ends[1]) ? 0 : 1);
    }
    const FileDescriptor output(ends[0]);
    ::close(ends[1]);
    const auto result = parent(child, output.get());
    int status = 0;
    ::waitpid(child, &status, 0);
    return result;
}

/// Counts the calls of a traced child between two of `marker`, which nobody makes otherwise.
std::size_t countCalls(pid_t child, long marker) {
    std::size_t calls = 0;
    int marks = 0;
    int status = 0;
    ::waitpid(child, &status, 0);
    ::ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
    while (::ptrace(PTRACE_SYSCALL, child, nullptr, nullptr) == 0 && ::waitpid(child, &status, 0) == child &&
           WIFSTOPPED(status)) {
        __ptrace_syscall_info info{};
        if (WSTOPSIG(status) != (SIGTRAP | 0x80) || ::ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof info, &info) <= 0 ||
            info.op != PTRACE_SYSCALL_INFO_ENTRY) {
            continue;
        }
        if (static_cast<long>(info.entry.nr) == marker) {
            ++marks;
        } else if (marks == 1) {
            ++calls;
        }
    }
    if (marks != 2) {
        throw std::runtime_error("what is to be counted did not work");
    }
    return calls;
}

} // namespace

double microsecondsOf(const Work& work, int repetitions) {
    const auto timed = [&](int output) {
        std::array<Clock::time_point, 2> times;
        std::size_t marks = 0;
        bool isDone = true;
        for (int i = 0; i < repetitions && isDone; ++i) {
            marks = 0;
            isDone = work([&] { times.at(marks++) = Clock::now(); });
        }
        const double took = std::chrono::duration<double, std::micro>(times[1] - times[0]).count();
        return isDone && ::write(output, &took, sizeof took) == sizeof took;
    };
    return inChildProcess(timed, [](pid_t, int output) {
        double took = 0;
        if (::read(output, &took, sizeof took) != sizeof took) {
            throw std::runtime_error("what is to be measured did not work");
        }
        return took;
    });
}

std::size_t systemCallsOf(const Work& work) {
    constexpr long marker = SYS_getppid;
    const auto traced = [&](int /*output*/) {
        return ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0 && ::raise(SIGSTOP) == 0 &&
               work([] { ::syscall(marker); });
    };
    return inChildProcess(traced, [](pid_t child, int) { return countCalls(child, marker); });
}

} // namespace qz::tests
