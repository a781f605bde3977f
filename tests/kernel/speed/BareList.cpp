// SPDX-License-Identifier: MIT
// What a program has to do at least to know which HID devices can be read: it lists the nodes, reads their descriptors,
// opens them and prints their names.
#include <array>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <string>
#include <unistd.h>

int main() {
    DIR* const list = ::opendir("/sys/class/hidraw");
    std::size_t nodes = 0;
    while (const dirent* const entry = list != nullptr ? ::readdir(list) : nullptr) {
        const std::string name = entry->d_name;
        if (!name.starts_with("hidraw")) {
            continue;
        }
        const int file = ::open(("/sys/class/hidraw/" + name + "/device/report_descriptor").c_str(), O_RDONLY);
        std::array<char, 4096> descriptor{};
        const bool isRead = ::read(file, descriptor.data(), descriptor.size()) > 0;
        ::close(file);
        if (isRead && ::open(("/dev/" + name).c_str(), O_RDONLY | O_NONBLOCK) >= 0) {
            std::puts(name.c_str());
            ++nodes;
        }
    }
    return nodes > 0 ? 0 : 1;
}
