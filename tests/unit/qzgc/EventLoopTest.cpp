// SPDX-License-Identifier: MIT
#include "tools/qzgc/session/EventLoop.h"

#include "tools/qzgc/session/Session.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

// What wakes a command that follows its devices. Nothing here waits for time to pass: what is to come is there already,
// or is due at once.

namespace {

using namespace qz::tools;
using std::chrono::milliseconds;
using testing::ElementsAre;

class Pipe {
public:
    Pipe() { EXPECT_EQ(::pipe2(ends_.data(), O_CLOEXEC | O_NONBLOCK), 0); }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    ~Pipe() {
        ::close(ends_[0]);
        hangUp();
    }

    int reading() const { return ends_[0]; }
    int writing() const { return ends_[1]; }
    void fill() const {
        while (::write(ends_[1], "x", 1) == 1) {
        }
    }
    void write() const { EXPECT_EQ(::write(ends_[1], "x", 1), 1); }
    /// What there was to read; 0 at the end.
    ssize_t read() const {
        std::array<char, 16> bytes{};
        return ::read(ends_[0], bytes.data(), bytes.size());
    }
    void hangUp() {
        if (ends_[1] >= 0) {
            ::close(ends_[1]);
        }
        ends_[1] = -1;
    }

private:
    std::array<int, 2> ends_{-1, -1};
};

/// Ends after so many turns; each is ready at once, or when the pipe can be read.
class FakeSource final : public Source {
public:
    explicit FakeSource(int turnsToCome = 0, const Pipe* pipe = nullptr) : turnsLeft_(turnsToCome), pipe_(pipe) {}

    qz::platform::Platform& platform() override { throw std::logic_error("not asked for"); }
    int fileDescriptor() override { return pipe_ != nullptr ? pipe_->reading() : -1; }
    std::optional<Clock::time_point> due() const override {
        return pipe_ == nullptr && turnsLeft_ > 0 ? std::optional(Clock::time_point{}) : std::nullopt;
    }
    std::size_t turn() override {
        ++turns;
        --turnsLeft_;
        if (pipe_ != nullptr) {
            EXPECT_GT(pipe_->read(), 0);
        }
        return 1;
    }
    bool hasEnded() const override { return turnsLeft_ == 0; }
    std::chrono::microseconds time() const override { return past; }

    int turns = 0;
    std::chrono::microseconds past{0};

private:
    int turnsLeft_;
    const Pipe* pipe_;
};

/// A source from which nothing comes, and which does not end.
FakeSource silent() {
    static const Pipe pipe;
    return FakeSource(1, &pipe);
}

/// Signals as a program that was started by hand has them.
class EventLoopTest : public testing::Test {
protected:
    EventLoopTest() {
        for (std::size_t i = 0; i < signals.size(); ++i) {
            struct sigaction usual {};
            usual.sa_handler = SIG_DFL;
            ::sigaction(signals[i], &usual, &before_[i]);
        }
    }
    EventLoopTest(const EventLoopTest&) = delete;
    EventLoopTest& operator=(const EventLoopTest&) = delete;
    ~EventLoopTest() override {
        for (std::size_t i = 0; i < signals.size(); ++i) {
            ::sigaction(signals[i], &before_[i], nullptr);
        }
    }

    static auto handlerOf(int signal) {
        struct sigaction action {};
        ::sigaction(signal, nullptr, &action);
        return action.sa_handler;
    }

    static constexpr std::array signals = {SIGINT, SIGTERM, SIGHUP, SIGWINCH, SIGPIPE};

private:
    std::array<struct sigaction, signals.size()> before_{};
};

TEST_F(EventLoopTest, RunsUntilItsSourceHasEnded) {
    FakeSource source(3);
    EventLoop loop(source);
    EXPECT_EQ(loop.run(), EventLoop::End::SourceEnded);
    EXPECT_EQ(source.turns, 3);
}

TEST_F(EventLoopTest, TakesATurnWhenTheSourceCanBeRead) {
    const Pipe pipe;
    FakeSource source(2, &pipe);
    EventLoop loop(source);
    pipe.write();
    loop.after(milliseconds(0), [&] { pipe.write(); });
    EXPECT_EQ(loop.run(), EventLoop::End::SourceEnded);
    EXPECT_EQ(source.turns, 2);
}

TEST_F(EventLoopTest, GoesOnAfterItsSourceWhenItIsTold) {
    FakeSource source(1);
    EventLoop loop(source);
    loop.staysAfterSource();
    loop.after(milliseconds(0), [&] { loop.after(milliseconds(0), [&] { loop.stop(); }); });
    EXPECT_EQ(loop.run(), EventLoop::End::Stopped);
    EXPECT_EQ(source.turns, 1);
}

TEST_F(EventLoopTest, TellsOfEachTurnOfItsSource) {
    FakeSource source(3);
    EventLoop loop(source);
    std::vector<int> turns;
    loop.onTurn([&] {
        turns.push_back(source.turns);
        if (source.turns == 2) {
            loop.stop();
        }
    });
    EXPECT_EQ(loop.run(), EventLoop::End::Stopped);
    EXPECT_THAT(turns, ElementsAre(1, 2));
}

TEST_F(EventLoopTest, CountsItsLimitFromTheBeginningOfTheSource) {
    FakeSource source = silent();
    source.past = std::chrono::hours(1);
    EventLoop loop(source);
    loop.endAfter({.seconds = 3600.0});
    EXPECT_EQ(loop.run(), EventLoop::End::Stopped);
}

TEST_F(EventLoopTest, EndsBySignals) {
    FakeSource source = silent();
    EventLoop loop(source);
    std::raise(SIGINT);
    EXPECT_EQ(loop.run(), EventLoop::End::Interrupted);
    std::raise(SIGTERM);
    EXPECT_EQ(loop.run(), EventLoop::End::Interrupted);
    std::raise(SIGHUP);
    EXPECT_EQ(loop.run(), EventLoop::End::HungUp);
    EXPECT_EQ(source.turns, 0);
}

TEST_F(EventLoopTest, EndsByASignalThatComesInAHandler) {
    FakeSource source = silent();
    EventLoop loop(source);
    loop.after(milliseconds(0), [] { std::raise(SIGTERM); });
    EXPECT_EQ(loop.run(), EventLoop::End::Interrupted);
}

TEST_F(EventLoopTest, WaitsUntilADescriptorCanBeWrittenToAndNoLongerThanItRuns) {
    FakeSource source = silent();
    EventLoop loop(source);
    int resizes = 0;
    loop.onResize([&] { ++resizes; });
    const Pipe pipe;
    EXPECT_TRUE(loop.waitUntilWritable(pipe.writing()));
    pipe.fill();
    std::raise(SIGWINCH);
    std::raise(SIGTERM);
    EXPECT_FALSE(loop.waitUntilWritable(pipe.writing()));
    EXPECT_EQ(resizes, 1);
    EXPECT_FALSE(loop.waitUntilWritable(pipe.writing())) << "without another signal";
    while (pipe.read() > 0) {
    }
    EXPECT_TRUE(loop.waitUntilWritable(pipe.writing())) << "what there is room for can be written still";
    EXPECT_EQ(loop.run(), EventLoop::End::Interrupted);
    loop.after(milliseconds(0), [&] { loop.stop(); });
    EXPECT_EQ(loop.run(), EventLoop::End::Stopped) << "the signal ends it once";
}

TEST_F(EventLoopTest, WaitsForRoomToWriteNoLongerThanItsLimit) {
    FakeSource source = silent();
    source.past = std::chrono::hours(1);
    EventLoop loop(source);
    const Pipe pipe;
    pipe.fill();
    // Wakes a wait without an end, so that this fails and does not hang.
    struct sigaction interrupt {};
    interrupt.sa_handler = [](int) { std::raise(SIGTERM); };
    struct sigaction before {};
    ::sigaction(SIGALRM, &interrupt, &before);
    ::alarm(10);
    loop.endAfter({.seconds = 3600.01});
    EXPECT_FALSE(loop.waitUntilWritable(pipe.writing()));
    ::alarm(0);
    ::sigaction(SIGALRM, &before, nullptr);
    EXPECT_EQ(loop.run(), EventLoop::End::Stopped);
}

TEST_F(EventLoopTest, TellsOfResizes) {
    FakeSource source = silent();
    EventLoop loop(source);
    int resizes = 0;
    loop.onResize([&] {
        ++resizes;
        loop.stop();
    });
    std::raise(SIGWINCH);
    EXPECT_EQ(loop.run(), EventLoop::End::Stopped);
    EXPECT_EQ(resizes, 1);
}

TEST_F(EventLoopTest, PassesOverResizesThatNobodyListensTo) {
    FakeSource source(1);
    EventLoop loop(source);
    std::raise(SIGWINCH);
    EXPECT_EQ(loop.run(), EventLoop::End::SourceEnded);
}

TEST_F(EventLoopTest, GivesSignalsBackAsTheyWere) {
    FakeSource source;
    {
        const EventLoop loop(source);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGWINCH}) {
            EXPECT_NE(handlerOf(signal), SIG_DFL) << signal;
        }
        EXPECT_EQ(handlerOf(SIGPIPE), SIG_IGN);
    }
    for (const int signal : signals) {
        EXPECT_EQ(handlerOf(signal), SIG_DFL) << signal;
    }
}

TEST_F(EventLoopTest, IgnoresFurtherHangUpsOnceTheTerminalHasGone) {
    for (const bool isTold : {false, true}) {
        std::signal(SIGHUP, SIG_DFL);
        FakeSource source = silent();
        {
            EventLoop loop(source);
            loop.after(milliseconds(0), [&] { isTold ? loop.hangUp() : static_cast<void>(std::raise(SIGHUP)); });
            EXPECT_EQ(loop.run(), EventLoop::End::HungUp);
        }
        EXPECT_EQ(handlerOf(SIGHUP), SIG_IGN);
        EXPECT_EQ(handlerOf(SIGINT), SIG_DFL);
    }
}

TEST_F(EventLoopTest, LeavesSignalsIgnoredThatWereIgnored) {
    std::signal(SIGHUP, SIG_IGN); // as nohup does it
    std::signal(SIGINT, SIG_IGN); // as shells do it for commands in the background
    FakeSource source(1);
    EventLoop loop(source);
    std::raise(SIGHUP);
    std::raise(SIGINT);
    EXPECT_EQ(loop.run(), EventLoop::End::SourceEnded);
}

TEST_F(EventLoopTest, BearsAPipeThatNobodyReads) {
    FakeSource source(1);
    EventLoop loop(source);
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    ::close(ends[0]);
    EXPECT_EQ(::write(ends[1], "x", 1), -1);
    EXPECT_EQ(errno, EPIPE);
    ::close(ends[1]);
}

TEST_F(EventLoopTest, CallsHandlersOfDescriptorsUntilTheyAreIgnored) {
    FakeSource source = silent();
    EventLoop loop(source);
    const Pipe first;
    const Pipe second;
    std::string calls;
    loop.onReadable(first.reading(), [&] {
        calls += 'a';
        loop.ignore(first.reading()); // its byte stays unread
    });
    loop.onReadable(second.reading(), [&] {
        calls += 'b';
        second.read();
        if (calls.size() < 4) {
            second.write();
        } else {
            loop.stop();
        }
    });
    first.write();
    second.write();
    EXPECT_EQ(loop.run(), EventLoop::End::Stopped);
    EXPECT_EQ(calls, "abbb");
}

TEST_F(EventLoopTest, DoesNotCallAHandlerThatAnotherHasRemoved) {
    FakeSource source = silent();
    EventLoop loop(source);
    const Pipe first;
    const Pipe second;
    std::string calls;
    loop.onReadable(first.reading(), [&] {
        calls += 'a';
        loop.ignore(second.reading());
        loop.after(milliseconds(0), [&] { loop.stop(); });
    });
    loop.onReadable(second.reading(), [&] { calls += 'b'; });
    first.write();
    second.write();
    loop.run();
    EXPECT_EQ(calls, "a");
}

TEST_F(EventLoopTest, TellsOfDescriptorsThatAreHungUp) {
    FakeSource source = silent();
    EventLoop loop(source);
    Pipe pipe;
    loop.onReadable(pipe.reading(), [&] {
        if (pipe.read() == 0) {
            loop.hangUp();
        }
    });
    loop.after(milliseconds(0), [&] { pipe.hangUp(); });
    EXPECT_EQ(loop.run(), EventLoop::End::HungUp);
}

TEST_F(EventLoopTest, TellsOfHangUpsAloneWhereNothingElseIsAskedFor) {
    FakeSource source = silent();
    EventLoop loop(source);
    Pipe pipe;
    std::string calls;
    pipe.write();
    loop.onHangUp(pipe.reading(), [&] {
        calls += 'h';
        loop.hangUp();
    });
    loop.after(milliseconds(1), [&] {
        calls += 't';
        pipe.hangUp();
    });
    EXPECT_EQ(loop.run(), EventLoop::End::HungUp);
    EXPECT_EQ(calls, "th");
}

TEST_F(EventLoopTest, RunsTimersAgainAndAgainOrOnce) {
    FakeSource source = silent();
    EventLoop loop(source);
    std::string calls;
    loop.after(milliseconds(0), [&] { calls += 'a'; });
    loop.every(milliseconds(1), [&] {
        calls += 'b';
        if (calls.size() == 4) {
            loop.stop();
        }
    });
    EXPECT_EQ(loop.run(), EventLoop::End::Stopped);
    EXPECT_EQ(calls, "abbb");
}

TEST_F(EventLoopTest, EndsAfterTheHandlerThatStopsIt) {
    FakeSource source = silent();
    EventLoop loop(source);
    std::string calls;
    loop.after(milliseconds(0), [&] {
        loop.stop();
        calls += 'a';
    });
    loop.after(milliseconds(0), [&] { calls += 'b'; });
    EXPECT_EQ(loop.run(), EventLoop::End::Stopped);
    EXPECT_EQ(calls, "a");
    loop.after(milliseconds(0), [&] { loop.stop(); });
    EXPECT_EQ(loop.run(), EventLoop::End::Stopped) << "it can be run again";
    EXPECT_EQ(calls, "ab");
}

TEST_F(EventLoopTest, PassesOnWhatHandlersThrow) {
    FakeSource source = silent();
    {
        EventLoop loop(source);
        loop.after(milliseconds(0), [] { throw std::runtime_error("from a handler"); });
        EXPECT_THROW(loop.run(), std::runtime_error);
        std::raise(SIGTERM);
        EXPECT_EQ(loop.run(), EventLoop::End::Interrupted) << "it goes on";
    }
    EXPECT_EQ(handlerOf(SIGTERM), SIG_DFL);
}

} // namespace
