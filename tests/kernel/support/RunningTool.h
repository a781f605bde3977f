// SPDX-License-Identifier: MIT
#pragma once

#include "tests/kernel/support/FileDescriptor.h"

#include <filesystem>
#include <string>
#include <vector>

namespace qz::tests {

/// A directory of a test's own, with the preferences of the tools that it runs.
class ToolHome {
public:
    ToolHome();
    ToolHome(const ToolHome&) = delete;
    ToolHome& operator=(const ToolHome&) = delete;
    ~ToolHome();

    std::string path(const std::string& name) const { return (directory_ / name).string(); }
    const std::filesystem::path& directory() const noexcept { return directory_; }

private:
    std::filesystem::path directory_;
};

/// The command-line tool in a process of its own, killed at the latest with its owner. Who waits for it does so until
/// the test's time is over.
class RunningTool {
public:
    enum class Terminal : std::uint8_t { None, Eighty };
    enum class User : std::uint8_t { Root, Ordinary };

    /// Starts it with `arguments`. Without a terminal its input is empty, and its output and its complaints are read
    /// together; with one it has a terminal of 24 rows and 80 columns.
    RunningTool(const ToolHome& home, std::vector<std::string> arguments, Terminal terminal = Terminal::None,
                User user = User::Root);
    RunningTool(const RunningTool&) = delete;
    RunningTool& operator=(const RunningTool&) = delete;
    ~RunningTool();

    /// Waits until what it has printed after the last such text has this text in it; false when it ends before.
    bool waitFor(const std::string& text);
    /// The same while `meanwhile` is called every few milliseconds.
    template<typename Action>
    bool waitFor(const std::string& text, const Action& meanwhile) {
        while (!findNext(text)) {
            meanwhile();
            if (!readSome(5)) {
                return findNext(text);
            }
        }
        return true;
    }

    void type(const std::string& keys) const;
    void interrupt() const;

    /// Waits for its end and answers the exit status; 256 and the signal when one ended it.
    int wait();

    /// All that it has printed.
    const std::string& output() const noexcept { return output_; }

private:
    bool readSome(int milliseconds);
    bool findNext(const std::string& text);

    pid_t process_ = -1;
    FileDescriptor channel_;
    std::string output_;
    std::size_t seen_ = 0;
};

/// Runs the tool to its end.
struct ToolOutcome {
    int status = -1;
    std::string output;
};
ToolOutcome runTool(const ToolHome& home, std::vector<std::string> arguments);

} // namespace qz::tests
