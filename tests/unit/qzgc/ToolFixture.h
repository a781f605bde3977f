// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace qz::tests {

struct Outcome {
    int status = -1; ///< of the exit; -1 when a signal ended the process
    std::string output;
    std::string complaint;
};

/// Runs the tool in a directory of the test's own, which is also where its preferences are.
class ToolTest : public testing::Test {
protected:
    ToolTest() { std::filesystem::create_directories(directory_); }
    ToolTest(const ToolTest&) = delete;
    ToolTest& operator=(const ToolTest&) = delete;
    ~ToolTest() override { std::filesystem::remove_all(directory_); }

    /// Runs the tool with `arguments`, as a shell reads them, redirections included, in a directory of its own.
    Outcome run(const std::string& arguments) const {
        const std::string command = "cd '" + directory_.string() +
                                    "' && XDG_CONFIG_HOME=\"$PWD/config\" && export XDG_CONFIG_HOME && "
                                    ">.output 2>.complaint '" QZGC_TOOL "' " +
                                    arguments;
        const int ended = std::system(command.c_str());
        return {.status = WIFEXITED(ended) ? WEXITSTATUS(ended) : -1,
                .output = contents(".output"),
                .complaint = contents(".complaint")};
    }

    std::string path(const std::string& name) const { return (directory_ / name).string(); }

    void write(const std::string& name, const std::string& text) const {
        std::ofstream(directory_ / name, std::ios::binary) << text;
    }

    std::string contents(const std::string& name) const {
        std::ifstream file(directory_ / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    const std::filesystem::path& directory() const noexcept { return directory_; }

private:
    std::filesystem::path directory_ =
        std::filesystem::temp_directory_path() / ("qzgc-command-line-" + std::to_string(getpid()) + "-" +
                                                  testing::UnitTest::GetInstance()->current_test_info()->name());
};

} // namespace qz::tests
