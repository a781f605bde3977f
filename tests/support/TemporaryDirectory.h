// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace qz::platform::tests {

/// A new, empty directory that goes with its owner. It is kept in memory where the system offers that: nothing here
/// depends on the disk, and bringing files to a disk takes its time.
class TemporaryDirectory {
public:
    TemporaryDirectory() {
        const std::filesystem::path memory = "/dev/shm";
        const bool inMemory = ::access(memory.c_str(), W_OK | X_OK) == 0;
        std::string name = (inMemory ? memory : std::filesystem::temp_directory_path()) / "qzgc-test-XXXXXX";
        if (::mkdtemp(name.data()) == nullptr) {
            ADD_FAILURE() << "no temporary directory " << name;
        }
        path_ = name;
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    const std::string& path() const { return path_; }
    std::string path(std::string_view name) const { return path_ + "/" + std::string(name); }

    /// The names of what is in it, sorted.
    std::vector<std::string> names() const {
        std::vector<std::string> result;
        for (const auto& entry : std::filesystem::directory_iterator(path_)) {
            result.push_back(entry.path().filename());
        }
        std::ranges::sort(result);
        return result;
    }

private:
    std::string path_;
};

inline void writeFile(const std::string& path, std::string_view text) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

/// The whole file; empty when it cannot be read.
inline std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace qz::platform::tests
