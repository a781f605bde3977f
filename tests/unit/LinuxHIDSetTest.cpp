// SPDX-License-Identifier: MIT
#include "tests/unit/LinuxHIDFixture.h"

#include <set>

namespace qz::platform::tests {
namespace {

using ::testing::ElementsAre;

/// What goes into the manager's set, and when. A turn here waits in the loop; `wouldWake` asks for the loop's
/// descriptor.
class LinuxHIDSet : public LinuxHIDFixture {
protected:
    std::size_t run(std::chrono::milliseconds timeout = std::chrono::milliseconds(0)) {
        return host.platform().currentRunLoop().runInMode(kCFRunLoopDefaultMode, timeout);
    }
    EventLog runAndTold() {
        while (run() != 0) {
        }
        return told();
    }
    int plugAndRun(const std::string& name) {
        const int number = kernel.plug(fakePad(name));
        EXPECT_THAT(runAndTold(), ElementsAre("matched " + name));
        return number;
    }
    /// From now on counts the calls that change a set, or refuses them.
    void countChanges(int error = 0) {
        changes = 0;
        kernel.setScript([this, error](std::string_view call) {
            changes += call == "epollControl" ? 1 : 0;
            return call == "epollControl" ? error : 0;
        });
    }

    int changes = 0;
};

TEST_F(LinuxHIDSet, HasNoNodeWhileTheLoopAloneWaits) {
    setUp();
    countChanges();
    const int pad = plugAndRun("pad");
    kernel.send(pad, button(true));
    EXPECT_THAT(runAndTold(), ElementsAre("value pad 9:1 1"));
    kernel.send(pad, button(false));
    EXPECT_EQ(run(std::chrono::milliseconds(-1)), 1U);
    kernel.unplug(pad);
    EXPECT_THAT(runAndTold(), ElementsAre("value pad 9:1 0", "removed pad"));
    EXPECT_EQ(changes, 0);
}

TEST_F(LinuxHIDSet, HasTheNodesThatAreThereOnceTheDescriptorIsAskedFor) {
    setUp();
    const int first = plugAndRun("first");
    const int second = plugAndRun("second");
    EXPECT_FALSE(wouldWake());
    kernel.send(first, button(true));
    EXPECT_TRUE(wouldWake());
    EXPECT_THAT(turnAndTold(), ElementsAre("value first 9:1 1"));
    kernel.send(second, button(true));
    EXPECT_TRUE(wouldWake());
    EXPECT_THAT(turnAndTold(), ElementsAre("value second 9:1 1"));
}

TEST_F(LinuxHIDSet, TellsOfWhatCameBeforeTheDescriptorWasAskedFor) {
    setUp();
    const int pad = plugAndRun("pad");
    kernel.send(pad, button(true));
    EXPECT_TRUE(wouldWake());
}

TEST_F(LinuxHIDSet, HasEachNodeFromItsOpeningOnWhenTheDescriptorWasAskedForBefore) {
    EXPECT_FALSE(wouldWake());
    setUp();
    countChanges();
    const int pad = plugAndRun("pad");
    EXPECT_EQ(changes, 1);
    kernel.send(pad, button(true));
    EXPECT_TRUE(wouldWake());
    EXPECT_EQ(changes, 1) << "once";
}

TEST_F(LinuxHIDSet, IsTriedAgainInEachTurnWhenTheKernelRefuses) {
    setUp();
    const int pad = plugAndRun("pad");
    countChanges(ENOSPC);
    EXPECT_TRUE(wouldWake()) << "for one turn: nobody knows what is there";
    EXPECT_EQ(changes, 1);
    run();
    EXPECT_FALSE(wouldWake());
    changes = 1;
    kernel.send(pad, button(true));
    EXPECT_EQ(run(std::chrono::milliseconds(-1)), 1U) << "it is waited for all the same";
    EXPECT_THAT(told(), ElementsAre("value pad 9:1 1"));
    EXPECT_EQ(changes, 2);
    kernel.send(pad, button(false));
    EXPECT_FALSE(wouldWake());
    kernel.setScript(nullptr);
    EXPECT_EQ(run(), 1U);
    kernel.send(pad, button(true));
    EXPECT_TRUE(wouldWake());
}

TEST_F(LinuxHIDSet, IsGoneBackToOnceItHasAll) {
    setUp();
    const int pad = plugAndRun("pad");
    kernel.refusesAdditions = true;
    EXPECT_TRUE(wouldWake());
    kernel.send(pad, button(true));
    EXPECT_EQ(dispatch(), 1U) << "also by a turn that does not wait";
    told();
    kernel.refusesAdditions = false;
    dispatch();
    kernel.send(pad, button(false));
    EXPECT_TRUE(wouldWake());
    std::vector<std::string> calls;
    kernel.setScript([&](std::string_view call) { return calls.emplace_back(call), 0; });
    EXPECT_EQ(dispatch(), 1U);
    EXPECT_THAT(calls, ElementsAre("read", "epollWait"));
}

TEST_F(LinuxHIDSet, LeavesTheDescriptorReadableForWhatATurnHasLeftAlsoWhenItLacksNodes) {
    setUp();
    std::vector<int> pads;
    for (int i = 0; i < 4; ++i) {
        pads.push_back(plugAndRun("pad"));
    }
    const auto sendFromAll = [&] {
        for (int i = 0; i < 60; ++i) {
            for (const int pad : pads) {
                kernel.send(pad, button(i % 2 == 0));
            }
        }
    };
    sendFromAll();
    run();
    EXPECT_LT(events.size(), 240U);
    kernel.refusesAdditions = true;
    EXPECT_TRUE(wouldWake()) << "asked for after a turn that had enough";
    turn();
    EXPECT_EQ(told().size(), 240U);
    sendFromAll();
    dispatch();
    EXPECT_LT(events.size(), 240U);
    EXPECT_TRUE(wouldWake());
    turn();
    EXPECT_EQ(told().size(), 240U);
}

TEST_F(LinuxHIDSet, ServesAllNodesAlsoWhenItLacksSomeOfMany) {
    setUp();
    std::vector<int> pads;
    for (int i = 0; i < 39; ++i) {
        pads.push_back(plugAndRun("pad" + std::to_string(i)));
    }
    kernel.refusesAdditions = true;
    pads.push_back(plugAndRun("pad39"));
    std::set<std::string> heard;
    for (int i = 0; i < 20; ++i) {
        for (const int pad : pads) {
            for (int k = 0; k < 6; ++k) {
                kernel.send(pad, button(k % 2 == 0));
            }
        }
        run();
        for (const std::string& line : told()) {
            heard.insert(line.substr(0, line.find(" 9:")));
        }
    }
    EXPECT_EQ(heard.size(), pads.size());
}

TEST_F(LinuxHIDSet, AsksOnceInATurnForEachNodeThatItLacks) {
    setUp();
    EXPECT_FALSE(wouldWake());
    kernel.refusesAdditions = true;
    for (int i = 0; i < 20; ++i) {
        plugAndRun("pad");
    }
    countChanges();
    run();
    EXPECT_LE(changes, 40) << "by whom it is told, and by who waits";
}

TEST_F(LinuxHIDSet, IsUsedForMoreNodesThanAreWaitedForOneByOne) {
    setUp();
    countChanges();
    std::vector<int> pads;
    for (int i = 0; i < 12; ++i) {
        pads.push_back(plugAndRun("pad"));
        EXPECT_EQ(changes, pads.size() < 8 ? 0 : static_cast<int>(pads.size()));
        for (const int pad : pads) {
            kernel.send(pad, button(pads.size() % 2 != 0));
            EXPECT_EQ(run(std::chrono::milliseconds(-1)), 1U);
        }
        told();
    }
    for (const int pad : pads) {
        kernel.unplug(pad);
        EXPECT_THAT(runAndTold(), ElementsAre("removed pad"));
    }
}

TEST_F(LinuxHIDSet, IsUsedWhenTheLoopHasTwoManagers) {
    setUp();
    const int pad = plugAndRun("pad");
    EventLog log;
    PlatformClient other(host.platform(), log);
    other.schedule();
    EXPECT_EQ(other.open(), kIOReturnSuccess);
    while (run() != 0) {
    }
    kernel.send(pad, button(true));
    while (events.empty() || log.size() < 2) {
        run(std::chrono::milliseconds(-1));
    }
    EXPECT_THAT(told(), ElementsAre("value pad 9:1 1"));
    EXPECT_THAT(log, ElementsAre("matched pad", "value pad 9:1 1"));
    other.release();
}

/// A loop as an application may write it: it knows of nothing but the descriptors of its sources.
class ForeignRunLoop final : public RunLoop {
public:
    bool addSource(RunLoopSource& source, RunLoopMode /*mode*/) override {
        source_ = &source;
        return true;
    }
    void removeSource(RunLoopSource& /*source*/, RunLoopMode /*mode*/) override { source_ = nullptr; }
    int fileDescriptor(RunLoopMode /*mode*/) const noexcept override { return source_->fileDescriptor(); }
    std::size_t dispatch(RunLoopMode mode) override {
        pollfd polled{fileDescriptor(mode), POLLIN, 0};
        return ::poll(&polled, 1, 0) != 0 ? source_->perform() : 0;
    }

private:
    RunLoopSource* source_ = nullptr;
};

TEST_F(LinuxHIDSet, IsUsedByALoopThatSaysNothingOfIt) {
    ForeignRunLoop loop;
    IOHIDManagerScheduleWithRunLoop(client.manager(), &loop, kCFRunLoopDefaultMode);
    EXPECT_EQ(client.open(), kIOReturnSuccess);
    const int pad = kernel.plug(fakePad("pad"));
    for (int i = 0; i < 100; ++i) {
        loop.dispatch(kCFRunLoopDefaultMode);
    }
    EXPECT_THAT(told(), ElementsAre("matched pad"));
    kernel.send(pad, button(true));
    loop.dispatch(kCFRunLoopDefaultMode);
    EXPECT_THAT(told(), ElementsAre("value pad 9:1 1"));
    IOHIDManagerUnscheduleFromRunLoop(client.manager(), &loop, kCFRunLoopDefaultMode);
}

} // namespace
} // namespace qz::platform::tests
