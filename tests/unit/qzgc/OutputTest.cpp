// SPDX-License-Identifier: MIT
#include "tools/qzgc/session/Output.h"
#include "tools/qzgc/session/Session.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <fcntl.h>
#include <thread>
#include <unistd.h>

namespace qz::tools {
namespace {

class OutputTest : public testing::Test {
public:
    OutputTest(const OutputTest&) = delete;
    OutputTest& operator=(const OutputTest&) = delete;

protected:
    OutputTest() {
        EXPECT_EQ(::pipe(pipe_.data()), 0);
        before_ = std::signal(SIGPIPE, SIG_IGN);
    }
    ~OutputTest() override {
        closeEnd(0);
        closeEnd(1);
        static_cast<void>(std::signal(SIGPIPE, before_));
    }

    void closeEnd(std::size_t end) {
        if (pipe_[end] >= 0) {
            ::close(pipe_[end]);
            pipe_[end] = -1;
        }
    }
    std::string readAll() const {
        std::string text;
        std::array<char, 4096> buffer{};
        for (ssize_t count = 1; count > 0;) {
            count = ::read(pipe_[0], buffer.data(), buffer.size());
            text.append(buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        }
        return text;
    }

    std::array<int, 2> pipe_{};

private:
    void (*before_)(int) = SIG_DFL;
};

TEST_F(OutputTest, WritesEverythingAlsoWhereTheDescriptorDoesNotWait) {
    ::fcntl(pipe_[1], F_SETFL, O_NONBLOCK);
    std::string text;
    for (int i = 0; i < 100'000; ++i) { // several times what a pipe holds
        text += std::to_string(i) + '\n';
    }
    bool isWritten = false;
    std::thread writer([&] {
        isWritten = Output(pipe_[1], "a pipe").write(text);
        closeEnd(1);
    });
    EXPECT_EQ(readAll(), text);
    writer.join();
    EXPECT_TRUE(isWritten);
}

TEST_F(OutputTest, SaysThatNobodyReads) {
    Output output(pipe_[1], "a pipe");
    EXPECT_TRUE(output.isPipe());
    EXPECT_TRUE(output.write("read"));
    closeEnd(0);
    EXPECT_FALSE(output.write("not read"));
    EXPECT_TRUE(output.write("")) << "nothing is always written";
}

TEST_F(OutputTest, WritesNothingAfterWhatIsNotWantedAnyMore) {
    std::string waits;
    Output output(pipe_[1], "a pipe", [&](int fileDescriptor) {
        EXPECT_EQ(fileDescriptor, pipe_[1]);
        waits += 'x';
        return waits.size() != 2;
    });
    EXPECT_TRUE(output.write("one\n"));
    EXPECT_FALSE(output.write("two\n"));
    EXPECT_FALSE(output.write("three\n"));
    EXPECT_EQ(waits, "xx");
    closeEnd(1);
    EXPECT_EQ(readAll(), "one\n");
}

TEST_F(OutputTest, FailsWithTheNameAndTheReason) {
    const int full = ::open("/dev/full", O_WRONLY);
    Output output(full, "the disk");
    EXPECT_FALSE(output.isPipe());
    try {
        output.write("more than fits");
        ADD_FAILURE() << "it was written";
    } catch (const Failure& failure) {
        EXPECT_STREQ(failure.what(),
                     "cannot write to the disk: No space left on device; make room, or write to another place");
    }
    ::close(full);
}

} // namespace
} // namespace qz::tools
