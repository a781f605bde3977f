// SPDX-License-Identifier: MIT
#include "tests/kernel/speed/Listing.h"

#include <array>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>

namespace qz::tests {

InstalledPrograms::InstalledPrograms() {
    const char* const source = std::getenv("QZGC_KERNEL_INSTALLED");
    if (source == nullptr) {
        throw std::runtime_error("QZGC_KERNEL_INSTALLED does not say where the programs are");
    }
    std::filesystem::copy(source, directory_,
                          std::filesystem::copy_options::recursive | std::filesystem::copy_options::copy_symlinks);
}

InstalledPrograms::~InstalledPrograms() {
    std::error_code ignored;
    std::filesystem::remove_all(directory_, ignored);
}

double InstalledPrograms::run(const std::string& program, const std::string& argument) const {
    std::string path = directory_ + "/bin/" + program;
    std::string text = argument;
    std::array<char*, 3> arguments = {path.data(), text.empty() ? nullptr : text.data(), nullptr};
    // The libraries of the system too, which on a real machine are on the same disk as the programs.
    std::string libraries = "LD_LIBRARY_PATH=" + directory_ + "/system";
    std::array<char*, 2> environment = {libraries.data(), nullptr};
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);

    const auto start = std::chrono::steady_clock::now();
    pid_t process = -1;
    int status = -1;
    const int failed = ::posix_spawn(&process, path.c_str(), &actions, nullptr, arguments.data(), environment.data());
    if (failed == 0) {
        ::waitpid(process, &status, 0);
    }
    const auto end = std::chrono::steady_clock::now();
    ::posix_spawn_file_actions_destroy(&actions);
    if (failed != 0 || status != 0) {
        throw std::runtime_error(path + " failed");
    }
    return std::chrono::duration<double, std::micro>(end - start).count();
}

} // namespace qz::tests
