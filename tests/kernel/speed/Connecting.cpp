// SPDX-License-Identifier: MIT
#include "tests/kernel/speed/Connecting.h"

#include "tests/kernel/support/FileDescriptor.h"
#include "tests/kernel/support/KernelApplication.h"

#include <array>
#include <dirent.h>

namespace qz::tests {

Work connectingBare(std::size_t devices) {
    return [devices](const std::function<void()>& mark) {
        std::vector<FileDescriptor> nodes;
        mark();
        DIR* const list = ::opendir("/sys/class/hidraw");
        while (const dirent* const entry = list != nullptr ? ::readdir(list) : nullptr) {
            const std::string name = entry->d_name;
            if (!name.starts_with("hidraw")) {
                continue;
            }
            const std::string path = "/sys/class/hidraw/" + name + "/device/report_descriptor";
            const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
            std::array<char, 4096> descriptor{};
            const bool isRead = ::read(file, descriptor.data(), descriptor.size()) > 0;
            ::close(file);
            FileDescriptor node("/dev/" + name, O_RDONLY | O_NONBLOCK);
            if (isRead) {
                nodes.push_back(std::move(node));
            }
        }
        ::closedir(list);
        mark();
        return nodes.size() == devices;
    };
}

Work connectingWithTheLibrary(std::size_t devices) {
    return [devices](const std::function<void()>& mark) {
        KernelApplication application;
        application.manager.reset();
        const auto isDone = [&] { return application.listener->connected == devices; };
        application.listener->onConnected = [&](const auto&) {
            if (isDone()) {
                mark();
            }
        };
        mark();
        application.manager = QZGCHIDManager::create(application.configuration, application.platform);
        return application.setUp() && application.turnUntil(isDone);
    };
}

} // namespace qz::tests
