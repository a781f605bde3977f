// SPDX-License-Identifier: MIT
#include "HIDWrapper/QZHIDDevice.h"
#include "platform/virtual/JournalPlatform.h"
#include "tests/support/Hosts.h"
#include "tests/support/RecordingDelegate.h"

#include <gmock/gmock.h>

#include <array>
#include <utility>

using namespace qz::platform;

namespace qz::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The platform's answer when a manager is opened that something else holds.
constexpr IOReturn exclusiveAccess = static_cast<IOReturn>(0xe00002c5U);

/// What the manager asks of the platform, in which order and with which arguments.
class CallOrder : public ::testing::TestWithParam<HostKind> {
protected:
    std::shared_ptr<QZGCHIDManager> makeManager() { return QZGCHIDManager::create(nullptr, journal); }

    /// A manager after a successful set-up, with an empty journal.
    std::shared_ptr<QZGCHIDManager> makeManagerThatIsSetUp() {
        auto manager = makeManager();
        EXPECT_EQ(manager->setupWithDelegate(delegate), kIOReturnSuccess);
        journal.takeEntries();
        return manager;
    }

    std::unique_ptr<Host> host = GetParam().make();
    JournalPlatform journal{host->platform()};
    EventLog events;
    std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>(events);
};
QZ_TELL_OVER_ALL_HOSTS(CallOrder);

TEST_P(CallOrder, CreationMakesTheManagerAndAsksNothingElse) {
    const auto manager = makeManager();
    EXPECT_NE(manager->gameControllerHidManager(), nullptr);
    EXPECT_THAT(journal.takeEntries(), ElementsAre("IOHIDManagerCreate(0)"));
}

TEST_P(CallOrder, SetUpMatchesRegistersSchedulesOpensAndThenRegistersForInput) {
    const auto manager = makeManager();
    journal.takeEntries();
    EXPECT_EQ(manager->setupWithDelegate(delegate), kIOReturnSuccess);
    EXPECT_TRUE(manager->successfullySetUp());
    EXPECT_EQ(manager->delegate(), delegate);
    EXPECT_THAT(journal.takeEntries(),
                ElementsAre("IOHIDManagerSetDeviceMatchingMultiple({DeviceUsage: 4, DeviceUsagePage: 1}, "
                            "{DeviceUsage: 5, DeviceUsagePage: 1})",
                            "IOHIDManagerRegisterDeviceMatchingCallback(function, context)",
                            "IOHIDManagerRegisterDeviceRemovalCallback(function, context)", "CFRunLoopGetCurrent()",
                            "IOHIDManagerScheduleWithRunLoop(kCFRunLoopDefaultMode)", "IOHIDManagerOpen(0)",
                            "IOHIDManagerRegisterInputValueCallback(function, context)"));
}

TEST_P(CallOrder, SetUpInModalModeSchedulesInTheModalPanelMode) {
    const auto manager = makeManager();
    manager->setModalMode(true);
    journal.takeEntries();
    EXPECT_EQ(manager->setupWithDelegate(delegate), kIOReturnSuccess);
    EXPECT_THAT(journal.takeEntries(), ::testing::Contains("IOHIDManagerScheduleWithRunLoop(NSModalPanelRunLoopMode)"));
}

TEST_P(CallOrder, EachStepOfTheSetUpCanBeTakenAlone) {
    const auto manager = makeManager();
    journal.takeEntries();
    manager->matchWithGameControllers();
    EXPECT_THAT(journal.takeEntries(),
                ElementsAre("IOHIDManagerSetDeviceMatchingMultiple({DeviceUsage: 4, DeviceUsagePage: 1}, "
                            "{DeviceUsage: 5, DeviceUsagePage: 1})"));
    manager->registerConnectionCallbacks();
    EXPECT_THAT(journal.takeEntries(), ElementsAre("IOHIDManagerRegisterDeviceMatchingCallback(function, context)",
                                                   "IOHIDManagerRegisterDeviceRemovalCallback(function, context)"));
    manager->scheduleWithRunLoop();
    EXPECT_THAT(journal.takeEntries(),
                ElementsAre("CFRunLoopGetCurrent()", "IOHIDManagerScheduleWithRunLoop(kCFRunLoopDefaultMode)"));
    manager->unscheduleFromRunLoop();
    EXPECT_THAT(journal.takeEntries(),
                ElementsAre("CFRunLoopGetCurrent()", "IOHIDManagerUnscheduleFromRunLoop(kCFRunLoopDefaultMode)"));
    EXPECT_FALSE(manager->successfullySetUp());
}

TEST_P(CallOrder, AFailedOpeningEndsTheSetUpThereAndUndoesNothing) {
    const auto manager = makeManager();
    journal.takeEntries();
    journal.fail("IOHIDManagerOpen", exclusiveAccess);
    EXPECT_EQ(manager->setupWithDelegate(delegate), exclusiveAccess);
    EXPECT_FALSE(manager->successfullySetUp());
    EXPECT_EQ(manager->delegate(), delegate);
    EXPECT_THAT(journal.takeEntries(),
                ElementsAre("IOHIDManagerSetDeviceMatchingMultiple({DeviceUsage: 4, DeviceUsagePage: 1}, "
                            "{DeviceUsage: 5, DeviceUsagePage: 1})",
                            "IOHIDManagerRegisterDeviceMatchingCallback(function, context)",
                            "IOHIDManagerRegisterDeviceRemovalCallback(function, context)", "CFRunLoopGetCurrent()",
                            "IOHIDManagerScheduleWithRunLoop(kCFRunLoopDefaultMode)", "IOHIDManagerOpen(0)"));
    EXPECT_THAT(events, IsEmpty());
}

TEST_P(CallOrder, AnyNonZeroAnswerToTheOpeningIsAFailureAndComesBackUnchanged) {
    for (const IOReturn result : {1, -1, std::numeric_limits<IOReturn>::min(), std::numeric_limits<IOReturn>::max()}) {
        journal.fail("IOHIDManagerOpen", result);
        const auto manager = makeManager();
        EXPECT_EQ(manager->setupWithDelegate(nullptr), result);
        EXPECT_FALSE(manager->successfullySetUp());
    }
}

TEST_P(CallOrder, AManagerWhoseOpeningFailedStillReportsDevicesButNoValues) {
    const auto manager = makeManager();
    journal.fail("IOHIDManagerOpen", exclusiveAccess);
    manager->setReportRawValues(true);
    manager->setupWithDelegate(delegate);
    const DeviceId pad = host->plug(gamePad("pad"));
    host->turn();
    EXPECT_THAT(std::exchange(events, {}), ElementsAre("should connect pad -> yes", "connected pad"));
    host->send(pad, 0, 1);
    host->turn();
    EXPECT_THAT(events, IsEmpty());
    host->unplug(pad);
    host->turn();
    EXPECT_THAT(events, ElementsAre("disconnected pad"));
}

TEST_P(CallOrder, ASecondSetUpAfterAFailedOneOpens) {
    auto manager = makeManager();
    journal.fail("IOHIDManagerOpen", exclusiveAccess);
    manager->setupWithDelegate(delegate);
    journal.fail("IOHIDManagerOpen", kIOReturnSuccess);
    EXPECT_EQ(manager->setupWithDelegate(delegate), kIOReturnSuccess);
    EXPECT_TRUE(manager->successfullySetUp());
    host->plug(gamePad("pad"));
    host->turn();
    EXPECT_THAT(events, ElementsAre("should connect pad -> yes", "connected pad"));
}

TEST_P(CallOrder, DestructionClosesUnschedulesUnregistersTwoCallbacksAndReleases) {
    auto manager = makeManagerThatIsSetUp();
    manager.reset();
    // The removal callback is not unregistered: the platform's manager goes away with the next step.
    EXPECT_THAT(journal.takeEntries(),
                ElementsAre("IOHIDManagerClose(0)", "CFRunLoopGetCurrent()",
                            "IOHIDManagerUnscheduleFromRunLoop(kCFRunLoopDefaultMode)",
                            "IOHIDManagerRegisterInputValueCallback(NULL, NULL)",
                            "IOHIDManagerRegisterDeviceMatchingCallback(NULL, NULL)", "CFRelease()"));
}

TEST_P(CallOrder, DestructionInModalModeUnschedulesFromTheModalPanelMode) {
    auto manager = makeManagerThatIsSetUp();
    manager->setModalMode(true);
    journal.takeEntries();
    manager.reset();
    EXPECT_THAT(journal.takeEntries(),
                ElementsAre("IOHIDManagerClose(0)", "CFRunLoopGetCurrent()",
                            "IOHIDManagerUnscheduleFromRunLoop(NSModalPanelRunLoopMode)",
                            "IOHIDManagerRegisterInputValueCallback(NULL, NULL)",
                            "IOHIDManagerRegisterDeviceMatchingCallback(NULL, NULL)", "CFRelease()"));
}

TEST_P(CallOrder, DestructionBeforeAnySetUpReleasesAlone) {
    auto manager = makeManager();
    journal.takeEntries();
    manager.reset();
    EXPECT_THAT(journal.takeEntries(), ElementsAre("CFRelease()"));
}

TEST_P(CallOrder, DestructionAfterAFailedSetUpReleasesWithoutClosingOrUnscheduling) {
    auto manager = makeManager();
    journal.fail("IOHIDManagerOpen", exclusiveAccess);
    manager->setupWithDelegate(delegate);
    journal.takeEntries();
    manager.reset();
    EXPECT_THAT(journal.takeEntries(), ElementsAre("CFRelease()"));
    host->plug(gamePad("pad"));
    host->turn();
    EXPECT_THAT(events, IsEmpty());
}

TEST_P(CallOrder, DestructionGoesByWhatSuccessfullySetUpSays) {
    auto manager = makeManager();
    manager->setSuccessfullySetUp(true);
    journal.takeEntries();
    manager.reset();
    EXPECT_THAT(journal.takeEntries(), ::testing::SizeIs(6));

    manager = makeManagerThatIsSetUp();
    manager->setSuccessfullySetUp(false);
    manager.reset();
    EXPECT_THAT(journal.takeEntries(), ElementsAre("CFRelease()"));
}

TEST_P(CallOrder, ASuccessfulSetUpThatIsLookedAtLaterStaysSuccessfulWhenTheOpeningFailsAgain) {
    const auto manager = makeManagerThatIsSetUp();
    journal.fail("IOHIDManagerOpen", exclusiveAccess);
    EXPECT_EQ(manager->setupWithDelegate(delegate), exclusiveAccess);
    EXPECT_TRUE(manager->successfullySetUp());
}

TEST_P(CallOrder, SwitchingModesUnschedulesFromTheOldOneAndSchedulesInTheNew) {
    const auto manager = makeManagerThatIsSetUp();
    manager->setModalMode(true);
    EXPECT_TRUE(manager->modalMode());
    EXPECT_THAT(journal.takeEntries(),
                ElementsAre("CFRunLoopGetCurrent()", "IOHIDManagerUnscheduleFromRunLoop(kCFRunLoopDefaultMode)",
                            "CFRunLoopGetCurrent()", "IOHIDManagerScheduleWithRunLoop(NSModalPanelRunLoopMode)"));
    manager->setModalMode(false);
    EXPECT_FALSE(manager->modalMode());
    EXPECT_THAT(journal.takeEntries(),
                ElementsAre("CFRunLoopGetCurrent()", "IOHIDManagerUnscheduleFromRunLoop(NSModalPanelRunLoopMode)",
                            "CFRunLoopGetCurrent()", "IOHIDManagerScheduleWithRunLoop(kCFRunLoopDefaultMode)"));
}

TEST_P(CallOrder, SwitchingModesBeforeTheSetUpSchedulesAManagerThatIsNotOpen) {
    const auto manager = makeManager();
    journal.takeEntries();
    manager->setModalMode(true);
    EXPECT_TRUE(manager->modalMode());
    EXPECT_FALSE(manager->successfullySetUp());
    EXPECT_THAT(journal.takeEntries(),
                ElementsAre("CFRunLoopGetCurrent()", "IOHIDManagerUnscheduleFromRunLoop(kCFRunLoopDefaultMode)",
                            "CFRunLoopGetCurrent()", "IOHIDManagerScheduleWithRunLoop(NSModalPanelRunLoopMode)"));
}

TEST_P(CallOrder, SwitchingToTheCurrentModeAsksNothing) {
    const auto manager = makeManagerThatIsSetUp();
    manager->setModalMode(false);
    EXPECT_THAT(journal.takeEntries(), IsEmpty());
    manager->setModalMode(true);
    journal.takeEntries();
    manager->setModalMode(true);
    EXPECT_THAT(journal.takeEntries(), IsEmpty());
    EXPECT_TRUE(manager->modalMode());
}

TEST_P(CallOrder, TheSwitchesOfReportingAskNothing) {
    const auto manager = makeManagerThatIsSetUp();
    manager->setReportRawValues(true);
    manager->setReportMappedValues(false);
    manager->setDelegate(nullptr);
    EXPECT_THAT(manager->devices(), IsEmpty());
    EXPECT_THAT(journal.takeEntries(), IsEmpty());
}

TEST_P(CallOrder, ErrorsAreNeitherLoggedNorTriedAgain) {
    const auto manager = makeManagerThatIsSetUp();
    host->plugUnusable(gamePad("broken"), exclusiveAccess);
    host->turn();
    EXPECT_THAT(events, ElementsAre("error -536870203"));
    EXPECT_THAT(journal.takeEntries(), IsEmpty());
}

TEST_P(CallOrder, ARemovedDeviceIsNotLogged) {
    const auto manager = makeManagerThatIsSetUp();
    const DeviceId pad = host->plug(gamePad("pad"));
    host->turn();
    journal.takeEntries();
    host->unplug(pad);
    host->turn();
    EXPECT_THAT(journal.takeEntries(), IsEmpty());
}

TEST_P(CallOrder, WithoutAPlatformManagerMatchingAndRegistrationAreSkippedAndTheOpeningIsABadArgument) {
    journal.fail("IOHIDManagerCreate", kIOReturnNoResources);
    auto manager = makeManager();
    EXPECT_EQ(manager->gameControllerHidManager(), nullptr);
    EXPECT_THAT(journal.takeEntries(), ElementsAre("IOHIDManagerCreate(0)"));
    EXPECT_EQ(manager->setupWithDelegate(delegate), static_cast<IOReturn>(0xe00002c2U));
    EXPECT_FALSE(manager->successfullySetUp());
    EXPECT_THAT(journal.takeEntries(), ElementsAre("CFRunLoopGetCurrent()"));
    manager->setModalMode(true);
    EXPECT_TRUE(manager->modalMode());
    EXPECT_THAT(journal.takeEntries(), ElementsAre("CFRunLoopGetCurrent()", "CFRunLoopGetCurrent()"));
    host->plug(gamePad("pad"));
    host->turn();
    EXPECT_THAT(events, IsEmpty());
    manager.reset();
    EXPECT_THAT(journal.takeEntries(), IsEmpty());
}

TEST_P(CallOrder, AReplacedPlatformManagerIsTheOneThatIsUsedAndReleased) {
    auto manager = makeManager();
    const IOHIDManagerRef first = manager->gameControllerHidManager();
    const IOHIDManagerRef second = IOHIDManagerCreate(journal, kIOHIDOptionsTypeNone);
    manager->setGameControllerHidManager(second);
    EXPECT_EQ(manager->gameControllerHidManager(), second);
    CFRelease(first); // the caller's own from the replacement on
    EXPECT_EQ(manager->setupWithDelegate(delegate), kIOReturnSuccess);
    host->plug(gamePad("pad"));
    host->turn();
    EXPECT_THAT(events, ElementsAre("should connect pad -> yes", "connected pad"));
    journal.takeEntries();
    manager.reset();
    EXPECT_THAT(journal.takeEntries(), ::testing::Contains("CFRelease()").Times(1));
}

TEST_P(CallOrder, APlatformManagerTakenOutIsNotReleased) {
    auto manager = makeManager();
    const IOHIDManagerRef taken = manager->gameControllerHidManager();
    manager->setGameControllerHidManager(nullptr);
    journal.takeEntries();
    manager.reset();
    EXPECT_THAT(journal.takeEntries(), IsEmpty());
    CFRelease(taken);
    EXPECT_THAT(journal.takeEntries(), ElementsAre("CFRelease()"));
}

} // namespace
} // namespace qz::tests
