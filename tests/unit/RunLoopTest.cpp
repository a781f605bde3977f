// SPDX-License-Identifier: MIT
#include "platform/RunLoop.h"

#include "platform/virtual/VirtualRunLoop.h"
#if defined(__linux__)
#include "platform/linux/LinuxRunLoop.h"
#endif

#include <gmock/gmock.h>

#include <functional>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace qz::platform {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A source without a descriptor, which is asked at every turn.
class HandSource final : public RunLoopSource {
public:
    HandSource(std::vector<std::string>& served, std::string name) : served_(served), name_(std::move(name)) {}

    int fileDescriptor() const noexcept override { return -1; }
    std::size_t perform() override {
        served_.push_back(name_);
        if (onPerform) {
            onPerform();
        }
        return events;
    }

    std::function<void()> onPerform;
    std::size_t events = 1;

private:
    std::vector<std::string>& served_;
    std::string name_;
};

struct RunLoopKind {
    std::string name;
    std::unique_ptr<RunLoop> (*make)();

    friend std::ostream& operator<<(std::ostream& out, const RunLoopKind& kind) { return out << kind.name; }
};

std::vector<RunLoopKind> runLoopKinds() {
    return {
        {"Virtual", []() -> std::unique_ptr<RunLoop> { return std::make_unique<VirtualRunLoop>(); }},
#if defined(__linux__)
            {"Linux", []() -> std::unique_ptr<RunLoop> { return std::make_unique<LinuxRunLoop>(); }},
#endif
    };
}

/// What every run loop does with sources that are asked at every turn.
class EveryRunLoop : public ::testing::TestWithParam<RunLoopKind> {
protected:
    std::size_t dispatch() { return loop->dispatch(kCFRunLoopDefaultMode); }

    std::unique_ptr<RunLoop> loop = GetParam().make();
    std::vector<std::string> served;
    HandSource first{served, "first"};
    HandSource second{served, "second"};
};
INSTANTIATE_TEST_SUITE_P(Of, EveryRunLoop, ::testing::ValuesIn(runLoopKinds()),
                         [](const auto& tested) { return tested.param.name; });

TEST_P(EveryRunLoop, DoesNotWaitForASourceWithoutADescriptor) {
    loop->addSource(first, kCFRunLoopDefaultMode);
    loop->suspendSource(first, kCFRunLoopDefaultMode);
    EXPECT_EQ(loop->runInMode(kCFRunLoopDefaultMode, std::chrono::milliseconds(-1)), 1U);
    loop->resumeSource(first, kCFRunLoopDefaultMode);
    EXPECT_EQ(loop->runInMode(kCFRunLoopDefaultMode, std::chrono::milliseconds(-1)), 1U);
    EXPECT_EQ(loop->runInMode(NSModalPanelRunLoopMode, std::chrono::milliseconds(0)), 0U);
    EXPECT_THAT(served, ElementsAre("first", "first"));
}

TEST_P(EveryRunLoop, AsksEachSourceOnceATurnInTheOrderOfTheirAdding) {
    EXPECT_TRUE(loop->addSource(second, kCFRunLoopDefaultMode));
    EXPECT_TRUE(loop->addSource(first, kCFRunLoopDefaultMode));
    EXPECT_THAT(served, IsEmpty());
    dispatch();
    EXPECT_THAT(served, ElementsAre("second", "first"));
    dispatch();
    EXPECT_THAT(served, ElementsAre("second", "first", "second", "first"));
}

TEST_P(EveryRunLoop, AnswersHowManyEventsWereHandled) {
    EXPECT_EQ(dispatch(), 0U);
    loop->addSource(first, kCFRunLoopDefaultMode);
    loop->addSource(second, kCFRunLoopDefaultMode);
    first.events = 3;
    second.events = 4;
    EXPECT_EQ(dispatch(), 7U);
    first.events = 0;
    second.events = 0;
    EXPECT_EQ(dispatch(), 0U);
}

TEST_P(EveryRunLoop, KeepsItsModesApart) {
    loop->addSource(first, kCFRunLoopDefaultMode);
    loop->addSource(second, NSModalPanelRunLoopMode);
    loop->dispatch(kCFRunLoopDefaultMode);
    EXPECT_THAT(served, ElementsAre("first"));
    loop->dispatch(NSModalPanelRunLoopMode);
    EXPECT_THAT(served, ElementsAre("first", "second"));
    loop->removeSource(first, NSModalPanelRunLoopMode);
    loop->dispatch(kCFRunLoopDefaultMode);
    EXPECT_THAT(served, ElementsAre("first", "second", "first"));
}

TEST_P(EveryRunLoop, ServesASourceInBothModes) {
    loop->addSource(first, kCFRunLoopDefaultMode);
    loop->addSource(first, NSModalPanelRunLoopMode);
    loop->removeSource(first, kCFRunLoopDefaultMode);
    EXPECT_EQ(loop->dispatch(kCFRunLoopDefaultMode), 0U);
    EXPECT_EQ(loop->dispatch(NSModalPanelRunLoopMode), 1U);
}

TEST_P(EveryRunLoop, TakesASecondAddingForOne) {
    EXPECT_TRUE(loop->addSource(first, kCFRunLoopDefaultMode));
    EXPECT_TRUE(loop->addSource(first, kCFRunLoopDefaultMode));
    EXPECT_EQ(dispatch(), 1U);
    loop->removeSource(first, kCFRunLoopDefaultMode);
    EXPECT_EQ(dispatch(), 0U);
}

TEST_P(EveryRunLoop, RemovesASourceThatWasNeverAddedWithoutEffect) {
    loop->addSource(first, kCFRunLoopDefaultMode);
    loop->removeSource(second, kCFRunLoopDefaultMode);
    EXPECT_EQ(dispatch(), 1U);
}

TEST_P(EveryRunLoop, NoLongerServesASourceThatIsRemovedLaterInTheSameTurn) {
    loop->addSource(first, kCFRunLoopDefaultMode);
    loop->addSource(second, kCFRunLoopDefaultMode);
    first.onPerform = [this] { loop->removeSource(second, kCFRunLoopDefaultMode); };
    EXPECT_EQ(dispatch(), 1U);
    EXPECT_THAT(served, ElementsAre("first"));
}

TEST_P(EveryRunLoop, BearsASourceThatIsDestroyedLaterInTheSameTurn) {
    auto doomed = std::make_unique<HandSource>(served, "doomed");
    loop->addSource(first, kCFRunLoopDefaultMode);
    loop->addSource(*doomed, kCFRunLoopDefaultMode);
    loop->addSource(second, kCFRunLoopDefaultMode);
    first.onPerform = [&] {
        loop->removeSource(*doomed, kCFRunLoopDefaultMode);
        doomed.reset();
    };
    EXPECT_EQ(dispatch(), 2U);
    EXPECT_THAT(served, ElementsAre("first", "second"));
}

TEST_P(EveryRunLoop, BearsASourceThatRemovesItself) {
    loop->addSource(first, kCFRunLoopDefaultMode);
    loop->addSource(second, kCFRunLoopDefaultMode);
    first.onPerform = [this] { loop->removeSource(first, kCFRunLoopDefaultMode); };
    EXPECT_EQ(dispatch(), 2U);
    EXPECT_EQ(dispatch(), 1U);
    EXPECT_THAT(served, ElementsAre("first", "second", "second"));
}

TEST_P(EveryRunLoop, BearsSourcesThatAreAddedDuringATurn) {
    std::vector<std::unique_ptr<HandSource>> added;
    loop->addSource(first, kCFRunLoopDefaultMode);
    first.onPerform = [&] {
        for (int i = 0; i < 100; ++i) {
            added.push_back(std::make_unique<HandSource>(served, "added"));
            loop->addSource(*added.back(), kCFRunLoopDefaultMode);
        }
        first.onPerform = nullptr;
    };
    EXPECT_EQ(dispatch(), 1U) << "what is added is served from the next turn on";
    EXPECT_EQ(dispatch(), 101U);
}

TEST_P(EveryRunLoop, CanBeRunAgainFromInsideASource) {
    loop->addSource(first, kCFRunLoopDefaultMode);
    loop->addSource(second, kCFRunLoopDefaultMode);
    first.onPerform = [this] {
        first.onPerform = nullptr;
        EXPECT_EQ(dispatch(), 2U);
    };
    EXPECT_EQ(dispatch(), 2U);
    EXPECT_THAT(served, ElementsAre("first", "first", "second", "second"));
}

TEST_P(EveryRunLoop, BearsARemovalInANestedTurn) {
    loop->addSource(first, kCFRunLoopDefaultMode);
    loop->addSource(second, kCFRunLoopDefaultMode);
    first.onPerform = [this] {
        first.onPerform = nullptr;
        second.onPerform = [this] { loop->removeSource(second, kCFRunLoopDefaultMode); };
        dispatch();
    };
    EXPECT_EQ(dispatch(), 1U);
    EXPECT_THAT(served, ElementsAre("first", "first", "second"));
}

TEST_P(EveryRunLoop, PassesAnExceptionToWhoRunsItAndServesTheOthersAtTheNextTurn) {
    loop->addSource(first, kCFRunLoopDefaultMode);
    loop->addSource(second, kCFRunLoopDefaultMode);
    first.onPerform = [this] {
        first.onPerform = nullptr;
        throw std::runtime_error("out of a source");
    };
    EXPECT_THROW(dispatch(), std::runtime_error);
    EXPECT_THAT(served, ElementsAre("first"));
    EXPECT_EQ(dispatch(), 2U);
}

TEST(VirtualRunLoop, IsDrivenByHand) {
    const VirtualRunLoop loop;
    EXPECT_EQ(loop.fileDescriptor(kCFRunLoopDefaultMode), -1);
    EXPECT_EQ(loop.fileDescriptor(NSModalPanelRunLoopMode), -1);
}

} // namespace
} // namespace qz::platform
