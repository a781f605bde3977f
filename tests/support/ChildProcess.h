// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <functional>
#include <grp.h>
#include <optional>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace qz::platform::tests {

/// A forked child of the test, killed at the latest with its owner.
class ChildProcess {
public:
    /// What the child does. It may write to the descriptor, which the parent reads from; its result is its exit status.
    using Work = std::function<int(int descriptor)>;

    explicit ChildProcess(const Work& work) {
        std::array<int, 2> ends{};
        if (::pipe(ends.data()) != 0) {
            ADD_FAILURE() << "no pipe";
        }
        process_ = ::fork();
        if (process_ == 0) {
            ::close(ends[0]);
            ::_exit(work(ends[1]));
        }
        ::close(ends[1]);
        output_ = ends[0];
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess() {
        kill();
        wait();
        ::close(output_);
    }

    void kill() const {
        if (process_ > 0) {
            ::kill(process_, SIGKILL);
        }
    }

    /// Waits for the end of the child and answers its status as waitpid gives it.
    int wait() {
        if (process_ > 0) {
            while (::waitpid(process_, &status_, 0) < 0 && errno == EINTR) {
            }
            process_ = -1;
        }
        return status_;
    }

    /// Waits for one byte from the child; absent when it has closed its end.
    std::optional<char> nextByte() const {
        char byte = 0;
        return ::read(output_, &byte, 1) == 1 ? std::optional(byte) : std::nullopt;
    }
    bool waitForByte() const { return nextByte().has_value(); }

    /// Everything that the child writes until it closes its end.
    std::string readToEnd() const {
        std::string text;
        std::array<char, 4096> buffer{};
        for (ssize_t count = 0; (count = ::read(output_, buffer.data(), buffer.size())) > 0;) {
            text.append(buffer.data(), static_cast<std::size_t>(count));
        }
        return text;
    }

private:
    pid_t process_ = -1;
    int output_ = -1;
    int status_ = 0;
};

/// Runs `work` in a child and answers what it answered, or how the child ended when it did not get so far.
inline std::string inChild(const std::function<std::string()>& work) {
    ChildProcess child([&](int descriptor) {
        const std::string text = work();
        return ::write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size()) ? 0 : 1;
    });
    std::string text = child.readToEnd();
    const int status = child.wait();
    return status == 0 ? text : "the child ended with status " + std::to_string(status) + " " + text;
}

/// The same in a child that has no special rights, also when the test has.
inline std::string asOrdinaryUser(const std::function<std::string()>& work) {
    return inChild([&]() -> std::string {
        constexpr unsigned nobody = 65534;
        if (::geteuid() == 0 && (::setgroups(0, nullptr) != 0 || ::setgid(nobody) != 0 || ::setuid(nobody) != 0)) {
            return "the rights could not be given up";
        }
        return work();
    });
}

} // namespace qz::platform::tests
