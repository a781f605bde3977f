// SPDX-License-Identifier: MIT
#include "platform/linux/HIDRawWatch.h"
#include "platform/linux/HIDSysfs.h"
#include "tests/unit/LinuxHIDFixture.h"

#include <fcntl.h>
#include <filesystem>
#include <set>

namespace qz::platform::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class LinuxHIDList : public LinuxHIDFixture {
protected:
    /// Lists the devices where the directory of their class cannot be opened.
    bool listFailing(int error) {
        kernel.setScript([error](std::string_view call) { return call == "open" ? error : 0; });
        const bool isComplete = HIDRawClass(kernel, kernel.paths().classDirectory).list(names);
        kernel.setScript(nullptr);
        return isComplete;
    }

    std::vector<std::string> names;
};

TEST_F(LinuxHIDList, IsCompleteAndEmptyWhereThereIsNoneToBeSeen) {
    kernel.plug(fakePad("pad"));
    for (const int error : {ENOENT, ENOTDIR, EACCES, EPERM}) {
        EXPECT_TRUE(listFailing(error)) << error;
        EXPECT_THAT(names, IsEmpty());
    }
}

TEST_F(LinuxHIDList, IsNotCompleteForErrorsThatMayPass) {
    for (const int error : {EMFILE, ENFILE, ENOMEM, EIO}) {
        EXPECT_FALSE(listFailing(error)) << error;
    }
}

TEST_F(LinuxHIDList, HasTheNodesByTheirNumbers) {
    for (int i = 0; i < 11; ++i) {
        kernel.plug(fakePad("pad"));
    }
    EXPECT_TRUE(HIDRawClass(kernel, kernel.paths().classDirectory).list(names));
    EXPECT_THAT(names, ElementsAre("hidraw0", "hidraw1", "hidraw2", "hidraw3", "hidraw4", "hidraw5", "hidraw6",
                                   "hidraw7", "hidraw8", "hidraw9", "hidraw10"));
}

/// hidraw_poll in drivers/hid/hidraw.c answers both at once; either would do.
TEST(HIDRawWatchEvents, AreTheEndWhenTheySayThatItHungUpOrFailed) {
    for (const auto& [events, isEnd] : std::vector<std::pair<std::uint32_t, bool>>{{EPOLLIN, false},
                                                                                   {EPOLLIN | EPOLLHUP, true},
                                                                                   {EPOLLIN | EPOLLERR, true},
                                                                                   {EPOLLERR, true},
                                                                                   {EPOLLHUP, true}}) {
        epoll_event event{};
        event.events = events;
        EXPECT_EQ(HIDRawWatch::hasEnded(event), isEnd) << events;
    }
}

class LinuxHIDDescriptors : public LinuxHIDFixture {
protected:
    static std::set<int> all() {
        std::set<int> numbers;
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            numbers.insert(std::stoi(entry.path().filename()));
        }
        std::erase_if(numbers, [](int number) { return ::fcntl(number, F_GETFD) < 0; }); // that of the list itself
        return numbers;
    }
};

/// Files that are read and closed again are looked at where the fake devices open them.
TEST_F(LinuxHIDDescriptors, AreClosedWhenTheProcessExecutesAnotherProgram) {
    const std::set<int> before = all();
    setUp();
    plugReported(fakePad("pad"));
    std::size_t count = 0;
    for (const int number : all()) {
        if (!before.contains(number)) {
            ++count;
            EXPECT_EQ(::fcntl(number, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC)
                << std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(number));
        }
    }
    EXPECT_EQ(count, 5U) << "an epoll set, an eventfd, an inotify, a node and the fake kernel's end of it";
}

} // namespace
} // namespace qz::platform::tests
