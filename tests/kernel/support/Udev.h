// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace qz::tests {

/// The system's own udev daemon with the system's own rules and one more, from its start to its end.
class Udev {
public:
    explicit Udev(const std::string& rule) {
        std::filesystem::create_directories("/run/udev/rules.d");
        std::ofstream(file) << rule << '\n';
        isRunning = run("/lib/systemd/systemd-udevd --daemon");
    }
    Udev(const Udev&) = delete;
    Udev& operator=(const Udev&) = delete;
    ~Udev() {
        run("udevadm control --exit");
        std::filesystem::remove(file);
    }

    /// Waits until what has happened so far has been dealt with; false when that takes too long.
    static bool settle() { return run("udevadm settle --timeout=20"); }

    /// What udev knows of a device node: lines such as "TAGS=:uaccess:".
    static std::string propertiesOf(const std::string& node) {
        std::string text;
        FILE* const output = ::popen(("udevadm info --query=property --name=" + node).c_str(), "r");
        std::array<char, 256> part{};
        while (output != nullptr && std::fgets(part.data(), part.size(), output) != nullptr) {
            text += part.data();
        }
        if (output != nullptr) {
            ::pclose(output);
        }
        return text;
    }

    bool isRunning = false;

private:
    static constexpr const char* file = "/run/udev/rules.d/60-test.rules";

    static bool run(const char* command) { return std::system(command) == 0; }
};

} // namespace qz::tests
