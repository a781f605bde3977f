// SPDX-License-Identifier: MIT
#include "tests/kernel/support/RunningTool.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <grp.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>

namespace qz::tests {

namespace {

constexpr unsigned nobody = 65534;

[[noreturn]] void becomeTool(const ToolHome& home, std::vector<std::string> arguments, RunningTool::User user) {
    if (user == RunningTool::User::Ordinary &&
        (::setgroups(0, nullptr) != 0 || ::setgid(nobody) != 0 || ::setuid(nobody) != 0)) {
        ::_exit(126);
    }
    ::setenv("XDG_CONFIG_HOME", home.path("config").c_str(), 1);
    ::setenv("TERM", "xterm-256color", 1);
    arguments.insert(arguments.begin(), "qzgc");
    std::vector<char*> texts;
    for (std::string& each : arguments) {
        texts.push_back(each.data());
    }
    texts.push_back(nullptr);
    ::execv(QZGC_TOOL, texts.data());
    ::_exit(127);
}

} // namespace

ToolHome::ToolHome() {
    std::string name = (std::filesystem::temp_directory_path() / "qzgc-tool-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), name);
    }
    directory_ = name;
    std::filesystem::permissions(directory_, std::filesystem::perms::all);
}

ToolHome::~ToolHome() {
    std::error_code ignored;
    std::filesystem::remove_all(directory_, ignored);
}

RunningTool::RunningTool(const ToolHome& home, std::vector<std::string> arguments, Terminal terminal, User user) {
    if (terminal == Terminal::Eighty) {
        winsize size{};
        size.ws_row = 24;
        size.ws_col = 80;
        int descriptor = -1;
        process_ = ::forkpty(&descriptor, nullptr, nullptr, &size);
        if (process_ == 0) {
            becomeTool(home, std::move(arguments), user);
        }
        channel_ = FileDescriptor(descriptor);
        return;
    }
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    process_ = ::fork();
    if (process_ == 0) {
        const int nothing = ::open("/dev/null", O_RDONLY);
        ::dup2(nothing, STDIN_FILENO);
        ::dup2(ends[1], STDOUT_FILENO);
        ::dup2(ends[1], STDERR_FILENO);
        ::close(ends[0]);
        ::close(ends[1]);
        becomeTool(home, std::move(arguments), user);
    }
    ::close(ends[1]);
    channel_ = FileDescriptor(ends[0]);
}

RunningTool::~RunningTool() {
    if (process_ > 0) {
        ::kill(process_, SIGKILL);
        ::waitpid(process_, nullptr, 0);
    }
}

bool RunningTool::readSome(int milliseconds) {
    pollfd polled{channel_.get(), POLLIN, 0};
    if (::poll(&polled, 1, milliseconds) == 0) {
        return true;
    }
    std::array<char, 4096> buffer{};
    const ssize_t count = ::read(channel_.get(), buffer.data(), buffer.size());
    if (count <= 0) {
        return false; // a terminal whose last program has ended answers EIO
    }
    output_.append(buffer.data(), static_cast<std::size_t>(count));
    return true;
}

bool RunningTool::findNext(const std::string& text) {
    const std::size_t found = output_.find(text, seen_);
    if (found != std::string::npos) {
        seen_ = found + text.size();
    }
    return found != std::string::npos;
}

bool RunningTool::waitFor(const std::string& text) {
    while (!findNext(text)) {
        if (!readSome(-1)) {
            return findNext(text);
        }
    }
    return true;
}

void RunningTool::type(const std::string& keys) const {
    if (::write(channel_.get(), keys.data(), keys.size()) != static_cast<ssize_t>(keys.size())) {
        throw std::system_error(errno, std::generic_category(), "typing");
    }
}

void RunningTool::interrupt() const {
    ::kill(process_, SIGINT);
}

int RunningTool::wait() {
    while (readSome(-1)) {
    }
    int status = 0;
    ::waitpid(process_, &status, 0);
    process_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 256 + WTERMSIG(status);
}

ToolOutcome runTool(const ToolHome& home, std::vector<std::string> arguments) {
    RunningTool tool(home, std::move(arguments));
    const int status = tool.wait();
    return {.status = status, .output = tool.output()};
}

} // namespace qz::tests
