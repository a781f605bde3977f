// SPDX-License-Identifier: MIT
#include "platform/linux/LinuxRunLoop.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <functional>
#include <limits>
#include <memory>
#include <poll.h>
#include <set>
#include <stdexcept>
#include <sys/eventfd.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace qz::platform {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// A source that is ready from `signal` until it is served.
class EventSource final : public RunLoopSource {
public:
    EventSource() = default;
    ~EventSource() override { ::close(descriptor_); }

    int fileDescriptor() const noexcept override { return descriptor_; }
    std::size_t perform() override {
        ++served;
        if (clears) {
            eventfd_t count = 0;
            ::eventfd_read(descriptor_, &count);
        }
        if (onPerform) {
            onPerform();
        }
        return 1;
    }
    void signal() const { ::eventfd_write(descriptor_, 1); }

    int served = 0;
    bool clears = true; ///< false: it stays ready, as when it takes only a part of what there is
    std::function<void()> onPerform;

private:
    int descriptor_ = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
};

bool isReadable(int descriptor) {
    pollfd polled{.fd = descriptor, .events = POLLIN, .revents = 0};
    return ::poll(&polled, 1, 0) == 1 && (polled.revents & POLLIN) != 0;
}

/// The kernel's calls, of which some can be told to fail, and a record of what was asked.
class CountingCalls final : public SystemCalls {
public:
    int epollCreate(int flags) override {
        if (createError != 0) {
            return failWith(createError);
        }
        const int set = SystemCalls::epollCreate(flags);
        created.push_back(set);
        return set;
    }
    int epollControl(int set, int operation, int descriptor, epoll_event* event) override {
        (operation == EPOLL_CTL_ADD ? additions : deletions) += 1;
        return controlError != 0 ? failWith(controlError)
                                 : SystemCalls::epollControl(set, operation, descriptor, event);
    }
    int epollWait(int set, epoll_event* events, int capacity, int timeoutMilliseconds) override {
        timeouts.push_back(timeoutMilliseconds);
        return waitError != 0 ? failWith(waitError)
                              : SystemCalls::epollWait(set, events, capacity, timeoutMilliseconds);
    }
    int poll(pollfd* descriptors, nfds_t count, int timeoutMilliseconds) override {
        polls.push_back(timeoutMilliseconds);
        return waitError != 0 ? failWith(waitError) : SystemCalls::poll(descriptors, count, timeoutMilliseconds);
    }
    int close(int descriptor) override {
        closed.push_back(descriptor);
        return SystemCalls::close(descriptor);
    }

    int createError = 0;
    int controlError = 0;
    int waitError = 0;
    int additions = 0;
    int deletions = 0;
    std::vector<int> created;
    std::vector<int> closed;
    std::vector<int> timeouts;
    std::vector<int> polls; ///< their timeouts

private:
    static int failWith(int error) {
        errno = error;
        return -1;
    }
};

class LinuxRunLoopTest : public ::testing::Test {
protected:
    std::size_t dispatch() { return loop.dispatch(kCFRunLoopDefaultMode); }
    bool wouldWake() { return isReadable(loop.fileDescriptor(kCFRunLoopDefaultMode)); }

    LinuxRunLoop loop;
    EventSource first;
    EventSource second;
};

TEST_F(LinuxRunLoopTest, IsReadableWhileThereIsSomethingToDoAndWakesNobodyWhenIdle) {
    EXPECT_FALSE(wouldWake());
    EXPECT_TRUE(loop.addSource(first, kCFRunLoopDefaultMode));
    EXPECT_FALSE(wouldWake());
    first.signal();
    EXPECT_TRUE(wouldWake());
    EXPECT_EQ(dispatch(), 1U);
    EXPECT_FALSE(wouldWake());
    EXPECT_EQ(dispatch(), 0U);
    EXPECT_EQ(first.served, 1);
}

TEST_F(LinuxRunLoopTest, IsReadableInTheModeOfTheSourceAlone) {
    loop.addSource(first, NSModalPanelRunLoopMode);
    first.signal();
    EXPECT_NE(loop.fileDescriptor(kCFRunLoopDefaultMode), loop.fileDescriptor(NSModalPanelRunLoopMode));
    EXPECT_FALSE(wouldWake());
    EXPECT_TRUE(isReadable(loop.fileDescriptor(NSModalPanelRunLoopMode)));
    EXPECT_EQ(loop.dispatch(kCFRunLoopDefaultMode), 0U);
    EXPECT_EQ(loop.dispatch(NSModalPanelRunLoopMode), 1U);
}

TEST_F(LinuxRunLoopTest, ServesASourceThatWasReadyBeforeItWasAdded) {
    first.signal();
    loop.addSource(first, kCFRunLoopDefaultMode);
    EXPECT_TRUE(wouldWake());
    EXPECT_EQ(dispatch(), 1U);
}

TEST_F(LinuxRunLoopTest, ServesReadySourcesOnly) {
    loop.addSource(first, kCFRunLoopDefaultMode);
    loop.addSource(second, kCFRunLoopDefaultMode);
    second.signal();
    EXPECT_EQ(dispatch(), 1U);
    EXPECT_EQ(first.served, 0);
    EXPECT_EQ(second.served, 1);
}

TEST_F(LinuxRunLoopTest, StaysReadableWhileASourceLeavesSomethingUndone) {
    first.clears = false;
    loop.addSource(first, kCFRunLoopDefaultMode);
    first.signal();
    EXPECT_EQ(dispatch(), 1U);
    EXPECT_TRUE(wouldWake());
    EXPECT_EQ(dispatch(), 1U);
}

TEST_F(LinuxRunLoopTest, ForgetsARemovedSource) {
    loop.addSource(first, kCFRunLoopDefaultMode);
    first.signal();
    loop.removeSource(first, kCFRunLoopDefaultMode);
    EXPECT_FALSE(wouldWake());
    EXPECT_EQ(dispatch(), 0U);
    loop.addSource(first, kCFRunLoopDefaultMode);
    EXPECT_EQ(dispatch(), 1U);
}

TEST_F(LinuxRunLoopTest, TakesASecondAddingForOne) {
    EXPECT_TRUE(loop.addSource(first, kCFRunLoopDefaultMode));
    EXPECT_TRUE(loop.addSource(first, kCFRunLoopDefaultMode));
    first.signal();
    EXPECT_EQ(dispatch(), 1U);
    loop.removeSource(first, kCFRunLoopDefaultMode);
    first.signal();
    EXPECT_EQ(dispatch(), 0U);
}

TEST_F(LinuxRunLoopTest, NoLongerServesAReadySourceThatIsRemovedInTheSameTurn) {
    loop.addSource(first, kCFRunLoopDefaultMode);
    loop.addSource(second, kCFRunLoopDefaultMode);
    // Whichever the kernel names first removes the other.
    first.onPerform = [this] { loop.removeSource(second, kCFRunLoopDefaultMode); };
    second.onPerform = [this] { loop.removeSource(first, kCFRunLoopDefaultMode); };
    first.signal();
    second.signal();
    EXPECT_EQ(dispatch(), 1U);
    EXPECT_EQ(first.served + second.served, 1);
}

TEST_F(LinuxRunLoopTest, BearsAReadySourceThatIsDestroyedInTheSameTurn) {
    auto left = std::make_unique<EventSource>();
    auto right = std::make_unique<EventSource>();
    loop.addSource(*left, kCFRunLoopDefaultMode);
    loop.addSource(*right, kCFRunLoopDefaultMode);
    const auto end = [this](std::unique_ptr<EventSource>& doomed) {
        loop.removeSource(*doomed, kCFRunLoopDefaultMode);
        doomed.reset();
    };
    left->onPerform = [&] { end(right); };
    right->onPerform = [&] { end(left); };
    left->signal();
    right->signal();
    EXPECT_EQ(dispatch(), 1U);
    EXPECT_EQ(dispatch(), 0U);
    EXPECT_NE(left == nullptr, right == nullptr);
}

TEST_F(LinuxRunLoopTest, TakesASourceThatIsRemovedAndAddedAgainInOneTurnForANewOne) {
    loop.addSource(first, kCFRunLoopDefaultMode);
    loop.addSource(second, kCFRunLoopDefaultMode);
    const auto readd = [this](EventSource& source) {
        loop.removeSource(source, kCFRunLoopDefaultMode);
        loop.addSource(source, kCFRunLoopDefaultMode);
    };
    first.onPerform = [&] { readd(second); };
    second.onPerform = [&] { readd(first); };
    first.signal();
    second.signal();
    EXPECT_EQ(dispatch(), 1U) << "the event was for the source that has been removed";
    EXPECT_EQ(dispatch(), 1U) << "the new one is ready by itself";
    EXPECT_EQ(first.served, 1);
    EXPECT_EQ(second.served, 1);
}

TEST_F(LinuxRunLoopTest, ServesASourceThatIsAddedDuringATurnAtTheNext) {
    loop.addSource(first, kCFRunLoopDefaultMode);
    first.signal();
    second.signal();
    first.onPerform = [this] { loop.addSource(second, kCFRunLoopDefaultMode); };
    EXPECT_EQ(dispatch(), 1U);
    EXPECT_TRUE(wouldWake());
    EXPECT_EQ(dispatch(), 1U);
    EXPECT_EQ(second.served, 1);
}

TEST_F(LinuxRunLoopTest, CanBeRunAgainFromInsideASource) {
    loop.addSource(first, kCFRunLoopDefaultMode);
    first.signal();
    first.onPerform = [this] {
        first.onPerform = nullptr;
        EXPECT_EQ(dispatch(), 0U) << "it has taken what there was";
        first.signal();
        EXPECT_EQ(dispatch(), 1U);
    };
    EXPECT_EQ(dispatch(), 1U);
    EXPECT_EQ(first.served, 2);
}

TEST_F(LinuxRunLoopTest, PassesAnExceptionToWhoRunsItAndServesTheOthersAtTheNextTurn) {
    loop.addSource(first, kCFRunLoopDefaultMode);
    loop.addSource(second, kCFRunLoopDefaultMode);
    const auto fail = [] { throw std::runtime_error("out of a source"); };
    first.onPerform = fail;
    second.onPerform = fail;
    first.signal();
    second.signal();
    EXPECT_THROW(dispatch(), std::runtime_error);
    EXPECT_THROW(dispatch(), std::runtime_error);
    EXPECT_EQ(dispatch(), 0U);
    EXPECT_EQ(first.served, 1);
    EXPECT_EQ(second.served, 1);
}

TEST_F(LinuxRunLoopTest, TakesTurnsAmongMoreReadySourcesThanOneTurnServes) {
    constexpr std::size_t count = 40;
    std::vector<std::unique_ptr<EventSource>> sources;
    for (std::size_t i = 0; i < count; ++i) {
        sources.push_back(std::make_unique<EventSource>());
        sources.back()->clears = false;
        loop.addSource(*sources.back(), kCFRunLoopDefaultMode);
        sources.back()->signal();
    }
    std::size_t handled = 0;
    while (handled < count) {
        const std::size_t now = dispatch();
        ASSERT_GT(now, 0U);
        handled += now;
    }
    const auto starved = std::ranges::count_if(sources, [](const auto& source) { return source->served == 0; });
    EXPECT_EQ(starved, 0);
}

TEST_F(LinuxRunLoopTest, LivesInsideAnotherLoop) {
    const int outer = ::epoll_create1(EPOLL_CLOEXEC);
    epoll_event interest{};
    interest.events = EPOLLIN;
    ASSERT_EQ(::epoll_ctl(outer, EPOLL_CTL_ADD, loop.fileDescriptor(kCFRunLoopDefaultMode), &interest), 0);
    loop.addSource(first, kCFRunLoopDefaultMode);
    epoll_event ready{};
    EXPECT_EQ(::epoll_wait(outer, &ready, 1, 0), 0);
    first.signal();
    EXPECT_EQ(::epoll_wait(outer, &ready, 1, 0), 1);
    dispatch();
    EXPECT_EQ(::epoll_wait(outer, &ready, 1, 0), 0);
    ::close(outer);
}

TEST_F(LinuxRunLoopTest, WaitsForASourceThatAnotherThreadMakesReady) {
    loop.addSource(first, kCFRunLoopDefaultMode);
    std::thread other([this] { first.signal(); });
    EXPECT_EQ(loop.runInMode(kCFRunLoopDefaultMode, std::chrono::milliseconds(-1)), 1U);
    other.join();
}

TEST_F(LinuxRunLoopTest, TakesNoNoticeOfASuspendedSource) {
    loop.addSource(first, kCFRunLoopDefaultMode);
    loop.addSource(second, kCFRunLoopDefaultMode);
    first.signal();
    loop.suspendSource(first, kCFRunLoopDefaultMode);
    loop.suspendSource(first, NSModalPanelRunLoopMode);
    EXPECT_FALSE(wouldWake());
    EXPECT_EQ(dispatch(), 0U);
    second.signal();
    EXPECT_EQ(dispatch(), 1U);
    loop.resumeSource(first, kCFRunLoopDefaultMode);
    EXPECT_TRUE(wouldWake());
    EXPECT_EQ(dispatch(), 1U);
    EXPECT_EQ(first.served, 1);
    EXPECT_EQ(second.served, 1);
}

TEST_F(LinuxRunLoopTest, ServesASuspendedSourceThatIsRemovedAndAddedAgain) {
    loop.addSource(first, kCFRunLoopDefaultMode);
    loop.suspendSource(first, kCFRunLoopDefaultMode);
    loop.removeSource(first, kCFRunLoopDefaultMode);
    loop.resumeSource(first, kCFRunLoopDefaultMode);
    loop.addSource(first, kCFRunLoopDefaultMode);
    first.signal();
    EXPECT_EQ(dispatch(), 1U);
}

TEST_F(LinuxRunLoopTest, ClosesItsDescriptorsWhenTheProcessExecutesAnother) {
    for (const RunLoopMode mode : {kCFRunLoopDefaultMode, NSModalPanelRunLoopMode}) {
        EXPECT_EQ(::fcntl(loop.fileDescriptor(mode), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    }
}

TEST(LinuxRunLoopCalls, NeverWait) {
    CountingCalls calls;
    LinuxRunLoop loop(calls);
    loop.dispatch(kCFRunLoopDefaultMode);
    loop.dispatch(NSModalPanelRunLoopMode);
    EXPECT_THAT(calls.timeouts, SizeIs(2));
    EXPECT_THAT(calls.timeouts, Each(0));
}

TEST(LinuxRunLoopCalls, WaitAsLongAsTheyMay) {
    CountingCalls calls;
    calls.waitError = EINTR;
    LinuxRunLoop loop(calls);
    EventSource source;
    loop.addSource(source, kCFRunLoopDefaultMode);
    for (const auto timeout : {std::chrono::milliseconds(0), std::chrono::milliseconds(7),
                               std::chrono::milliseconds(-5), std::chrono::milliseconds(5'000'000'000)}) {
        EXPECT_EQ(loop.runInMode(kCFRunLoopDefaultMode, timeout), 0U);
    }
    EXPECT_THAT(calls.timeouts, ElementsAre(0, 7, -1, std::numeric_limits<int>::max()));
}

/// A source that knows by itself whether there is something to do.
class KnowingSource final : public RunLoopSource {
public:
    int fileDescriptor() const noexcept override { return descriptor_.fileDescriptor(); }
    bool mayBeAskedAnytime() const noexcept override { return true; }
    std::size_t perform() override { return ++asked; }
    std::optional<std::size_t> waitAndPerform(int milliseconds) override {
        waits.push_back(milliseconds);
        return canWait ? std::optional<std::size_t>(5) : std::nullopt;
    }

    std::size_t asked = 0;
    bool canWait = true;
    std::vector<int> waits;

private:
    EventSource descriptor_;
};

TEST(LinuxRunLoopCalls, AreNotMadeForTheOnlySourceWhenThatKnowsByItself) {
    CountingCalls calls;
    LinuxRunLoop loop(calls);
    KnowingSource source;
    loop.addSource(source, kCFRunLoopDefaultMode);
    EXPECT_EQ(loop.dispatch(kCFRunLoopDefaultMode), 1U);
    EXPECT_THAT(calls.timeouts, IsEmpty());
    EventSource other;
    loop.addSource(other, kCFRunLoopDefaultMode);
    EXPECT_EQ(loop.dispatch(kCFRunLoopDefaultMode), 0U) << "with another one the system says who is ready";
    EXPECT_THAT(calls.timeouts, SizeIs(1));
    loop.removeSource(other, kCFRunLoopDefaultMode);
    loop.removeSource(source, kCFRunLoopDefaultMode);
    EXPECT_EQ(loop.dispatch(kCFRunLoopDefaultMode), 0U);
    EXPECT_EQ(source.asked, 1U);
}

TEST(LinuxRunLoopCalls, AreLeftToTheOnlySourceWhenThatCanWaitByItself) {
    CountingCalls calls;
    calls.waitError = EINTR;
    LinuxRunLoop loop(calls);
    KnowingSource source;
    loop.addSource(source, kCFRunLoopDefaultMode);
    const auto run = [&] { return loop.runInMode(kCFRunLoopDefaultMode, std::chrono::milliseconds(7)); };
    EXPECT_EQ(run(), 5U);
    EXPECT_THAT(calls.timeouts, IsEmpty());
    source.canWait = false;
    EXPECT_EQ(run(), 0U);
    EXPECT_THAT(calls.timeouts, ElementsAre(7));
    source.canWait = true;
    EventSource other;
    loop.addSource(other, kCFRunLoopDefaultMode);
    EXPECT_EQ(run(), 0U);
    EXPECT_THAT(calls.timeouts, ElementsAre(7, 7));
    EXPECT_THAT(source.waits, ElementsAre(7, 7));
    EXPECT_EQ(source.asked, 0U);
    loop.removeSource(source, kCFRunLoopDefaultMode);
    loop.removeSource(other, kCFRunLoopDefaultMode);
}

TEST(LinuxRunLoopCalls, CloseWhatTheyOpenedOnce) {
    CountingCalls calls;
    { const LinuxRunLoop loop(calls); }
    EXPECT_THAT(calls.created, SizeIs(2));
    EXPECT_EQ(calls.closed, calls.created);
}

TEST(LinuxRunLoopCalls, AddAndDeleteADescriptorOnceForEachMode) {
    CountingCalls calls;
    LinuxRunLoop loop(calls);
    EventSource source;
    loop.addSource(source, kCFRunLoopDefaultMode);
    loop.addSource(source, kCFRunLoopDefaultMode);
    loop.addSource(source, NSModalPanelRunLoopMode);
    EXPECT_EQ(calls.additions, 2);
    loop.removeSource(source, kCFRunLoopDefaultMode);
    loop.removeSource(source, kCFRunLoopDefaultMode);
    EXPECT_EQ(calls.deletions, 1);
}

TEST(LinuxRunLoopWithoutSets, HasNoDescriptorAndSaysSoOfSourcesThatNeedOne) {
    CountingCalls calls;
    calls.createError = EMFILE;
    {
        LinuxRunLoop loop(calls);
        EventSource source;
        EXPECT_EQ(loop.fileDescriptor(kCFRunLoopDefaultMode), -1);
        EXPECT_EQ(loop.fileDescriptor(NSModalPanelRunLoopMode), -1);
        EXPECT_FALSE(loop.addSource(source, kCFRunLoopDefaultMode));
        source.signal();
        EXPECT_EQ(loop.dispatch(kCFRunLoopDefaultMode), 1U) << "a turn can look for itself";
        EXPECT_THAT(calls.timeouts, IsEmpty());
        loop.removeSource(source, kCFRunLoopDefaultMode);
        EXPECT_EQ(calls.additions + calls.deletions, 2) << "one for the adding, one for the turn";
    }
    EXPECT_THAT(calls.closed, IsEmpty());
}

TEST(LinuxRunLoopWithoutSets, GetsThemWhenThereAreSome) {
    CountingCalls calls;
    calls.createError = EMFILE;
    LinuxRunLoop loop(calls);
    EventSource source;
    EXPECT_FALSE(loop.addSource(source, kCFRunLoopDefaultMode));
    calls.createError = 0;
    EXPECT_TRUE(loop.addSource(source, kCFRunLoopDefaultMode));
    EXPECT_GE(loop.fileDescriptor(kCFRunLoopDefaultMode), 0);
    source.signal();
    EXPECT_EQ(loop.dispatch(kCFRunLoopDefaultMode), 1U);
}

/// A loop whose kernel has no room for the descriptor of a source when that is added.
class LinuxRunLoopWithoutRoom : public ::testing::Test {
protected:
    LinuxRunLoopWithoutRoom() {
        calls.controlError = ENOSPC;
        EXPECT_FALSE(loop.addSource(source, kCFRunLoopDefaultMode));
    }
    std::size_t dispatch() { return loop.dispatch(kCFRunLoopDefaultMode); }
    bool wouldWake() { return isReadable(loop.fileDescriptor(kCFRunLoopDefaultMode)); }

    CountingCalls calls;
    LinuxRunLoop loop{calls};
    EventSource source;
};

TEST_F(LinuxRunLoopWithoutRoom, SaysSoAgain) {
    EXPECT_FALSE(loop.addSource(source, kCFRunLoopDefaultMode));
    calls.controlError = 0;
    EXPECT_TRUE(loop.addSource(source, kCFRunLoopDefaultMode));
    source.signal();
    EXPECT_TRUE(wouldWake());
}

TEST_F(LinuxRunLoopWithoutRoom, WakesForTheSourceAfterTheFirstTurnThatFindsSome) {
    EXPECT_EQ(dispatch(), 0U);
    calls.controlError = 0;
    EXPECT_EQ(dispatch(), 0U);
    EXPECT_EQ(calls.additions, 3);
    source.signal();
    EXPECT_TRUE(wouldWake());
    EXPECT_EQ(dispatch(), 1U);
    EXPECT_EQ(source.served, 1);
    EXPECT_EQ(calls.additions, 3) << "once it has the source it does not ask again";
}

TEST_F(LinuxRunLoopWithoutRoom, ServesTheSourceInEveryTurnAndWaitsForItButNeverWakesForNothing) {
    EXPECT_FALSE(wouldWake());
    EXPECT_EQ(loop.runInMode(kCFRunLoopDefaultMode, std::chrono::milliseconds(2)), 0U);
    EXPECT_THAT(calls.polls, ElementsAre(2));
    EXPECT_THAT(calls.timeouts, Each(0));
    source.signal();
    EXPECT_EQ(loop.runInMode(kCFRunLoopDefaultMode, std::chrono::milliseconds(-1)), 1U);
    source.signal();
    EXPECT_EQ(dispatch(), 1U);
    EventSource other;
    EXPECT_FALSE(loop.addSource(other, kCFRunLoopDefaultMode));
    other.signal();
    EXPECT_EQ(dispatch(), 1U);
    EXPECT_EQ(source.served, 2);
    EXPECT_EQ(other.served, 1);
    loop.removeSource(other, kCFRunLoopDefaultMode);
}

TEST_F(LinuxRunLoopWithoutRoom, TakesNoNoticeOfTheSourceWhileItIsSuspended) {
    loop.suspendSource(source, kCFRunLoopDefaultMode);
    source.signal();
    EXPECT_EQ(dispatch(), 0U);
    calls.controlError = 0;
    EXPECT_EQ(dispatch(), 0U);
    EXPECT_FALSE(wouldWake());
    loop.resumeSource(source, kCFRunLoopDefaultMode);
    EXPECT_TRUE(wouldWake());
    EXPECT_EQ(dispatch(), 1U);
}

TEST_F(LinuxRunLoopWithoutRoom, ForgetsARemovedSource) {
    loop.removeSource(source, kCFRunLoopDefaultMode);
    EXPECT_EQ(calls.deletions, 0);
    calls.controlError = 0;
    source.signal();
    EXPECT_EQ(dispatch(), 0U);
    EXPECT_EQ(calls.additions, 1);
    EXPECT_FALSE(wouldWake());
}

TEST(LinuxRunLoopWithoutResources, HandlesNothingWhenWaitingFailsAndLosesNothing) {
    CountingCalls calls;
    LinuxRunLoop loop(calls);
    EventSource source;
    loop.addSource(source, kCFRunLoopDefaultMode);
    source.signal();
    calls.waitError = EINTR;
    EXPECT_EQ(loop.dispatch(kCFRunLoopDefaultMode), 0U);
    EXPECT_EQ(source.served, 0);
    calls.waitError = 0;
    EXPECT_EQ(loop.dispatch(kCFRunLoopDefaultMode), 1U);
}

/// A source without a descriptor.
class HandSource final : public RunLoopSource {
public:
    int fileDescriptor() const noexcept override { return -1; }
    std::size_t perform() override { return 1; }
};

TEST(LinuxRunLoopWithoutSets, StillAsksSourcesWithoutADescriptor) {
    CountingCalls calls;
    calls.createError = ENFILE;
    LinuxRunLoop loop(calls);
    HandSource source;
    EXPECT_TRUE(loop.addSource(source, kCFRunLoopDefaultMode));
    EXPECT_EQ(loop.dispatch(kCFRunLoopDefaultMode), 1U);
    loop.removeSource(source, kCFRunLoopDefaultMode);
    EXPECT_EQ(loop.dispatch(kCFRunLoopDefaultMode), 0U);
}

TEST(LinuxRunLoopWithoutResources, StillAsksSourcesWithoutADescriptorWhenWaitingFails) {
    CountingCalls calls;
    LinuxRunLoop loop(calls);
    HandSource source;
    loop.addSource(source, kCFRunLoopDefaultMode);
    calls.waitError = EBADF;
    EXPECT_EQ(loop.dispatch(kCFRunLoopDefaultMode), 1U);
    EXPECT_EQ(loop.runInMode(kCFRunLoopDefaultMode, std::chrono::milliseconds(-1)), 1U);
    EXPECT_THAT(calls.timeouts, Each(0)) << "nothing would end the waiting";
    EXPECT_EQ(calls.additions, 0);
    loop.removeSource(source, kCFRunLoopDefaultMode);
    EXPECT_EQ(calls.deletions, 0);
}

TEST(SystemCalls, OfTheKernelAreOneObject) {
    EXPECT_EQ(&SystemCalls::kernel(), &SystemCalls::kernel());
}

} // namespace
} // namespace qz::platform
