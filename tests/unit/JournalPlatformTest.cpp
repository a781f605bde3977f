// SPDX-License-Identifier: MIT
#include "platform/virtual/JournalPlatform.h"

#include "platform/SystemLog.h"
#include "platform/UserDefaults.h"
#include "platform/virtual/VirtualPlatform.h"
#include "tests/support/PlatformClient.h"

#include <gmock/gmock.h>

namespace qz::platform {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using tests::EventLog;
using tests::gameControllers;
using tests::PlatformClient;

class JournalPlatformTest : public ::testing::Test {
protected:
    std::shared_ptr<VirtualDevice> plugPad() {
        VirtualDeviceDescription pad;
        pad.properties = {{"Product", "pad"}, {"PrimaryUsagePage", std::int64_t{1}}, {"PrimaryUsage", std::int64_t{5}}};
        pad.elements = {{.cookie = 1, .type = 2, .usagePage = 9, .usage = 1, .max = 1, .children = std::nullopt}};
        return wrapped.hidServices().plug(std::move(pad));
    }
    void turn() { wrapped.currentRunLoop().dispatch(kCFRunLoopDefaultMode); }

    VirtualPlatform wrapped;
    JournalPlatform journal{wrapped};
    EventLog events;
};

TEST_F(JournalPlatformTest, WritesDownEveryOperationOfAManagerWithItsArguments) {
    PlatformClient client(journal, events);
    EXPECT_THAT(journal.takeEntries(),
                ElementsAre("IOHIDManagerCreate(0)",
                            "IOHIDManagerSetDeviceMatchingMultiple({DeviceUsage: 4, DeviceUsagePage: 1}, "
                            "{DeviceUsage: 5, DeviceUsagePage: 1})",
                            "IOHIDManagerRegisterDeviceMatchingCallback(function, context)",
                            "IOHIDManagerRegisterDeviceRemovalCallback(function, context)",
                            "IOHIDManagerRegisterInputValueCallback(function, context)"));
    client.schedule();
    client.schedule(NSModalPanelRunLoopMode);
    client.open();
    client.unschedule();
    client.unschedule(NSModalPanelRunLoopMode);
    client.close();
    IOHIDManagerRegisterDeviceMatchingCallback(client.manager(), nullptr, nullptr);
    IOHIDManagerRegisterDeviceRemovalCallback(client.manager(), nullptr, nullptr);
    IOHIDManagerRegisterInputValueCallback(client.manager(), nullptr, nullptr);
    IOHIDManagerRegisterInputReportCallback(client.manager(), nullptr, nullptr);
    IOHIDManagerSetDeviceMatchingMultiple(client.manager(), {});
    client.release();
    EXPECT_THAT(journal.takeEntries(),
                ElementsAre("CFRunLoopGetCurrent()", "IOHIDManagerScheduleWithRunLoop(kCFRunLoopDefaultMode)",
                            "CFRunLoopGetCurrent()", "IOHIDManagerScheduleWithRunLoop(NSModalPanelRunLoopMode)",
                            "IOHIDManagerOpen(0)", "CFRunLoopGetCurrent()",
                            "IOHIDManagerUnscheduleFromRunLoop(kCFRunLoopDefaultMode)", "CFRunLoopGetCurrent()",
                            "IOHIDManagerUnscheduleFromRunLoop(NSModalPanelRunLoopMode)", "IOHIDManagerClose(0)",
                            "IOHIDManagerRegisterDeviceMatchingCallback(NULL, NULL)",
                            "IOHIDManagerRegisterDeviceRemovalCallback(NULL, NULL)",
                            "IOHIDManagerRegisterInputValueCallback(NULL, NULL)",
                            "IOHIDManagerRegisterInputReportCallback(NULL, NULL)",
                            "IOHIDManagerSetDeviceMatchingMultiple()", "CFRelease()"));
}

TEST_F(JournalPlatformTest, WritesDownOptionsAsTheyAre) {
    const IOHIDManagerRef manager = IOHIDManagerCreate(journal, 7);
    IOHIDManagerOpen(manager, 0xffffffffU);
    IOHIDManagerClose(manager, 1);
    EXPECT_THAT(journal.entries(),
                ElementsAre("IOHIDManagerCreate(7)", "IOHIDManagerOpen(4294967295)", "IOHIDManagerClose(1)"));
    CFRelease(manager);
}

TEST_F(JournalPlatformTest, WritesDownPreferencesAndLog) {
    UserDefaults& defaults = journal.userDefaults();
    defaults.setObjectForKey(5, "number");
    EXPECT_EQ(defaults.objectForKey("number")->integer(), 5);
    EXPECT_EQ(defaults.objectForKey("other"), nullptr);
    defaults.removeObjectForKey("number");
    EXPECT_TRUE(defaults.synchronize());
    journal.systemLog().write("a line");
    EXPECT_THAT(journal.entries(), ElementsAre("setObjectForKey(number)", "objectForKey(number)", "objectForKey(other)",
                                               "removeObjectForKey(number)", "synchronize()", "SystemLog(a line)"));
    EXPECT_THAT(wrapped.systemLog().entries(), ElementsAre("a line"));
}

TEST_F(JournalPlatformTest, KeepsItsEntriesUntilTheyAreTaken) {
    EXPECT_THAT(journal.entries(), IsEmpty());
    CFRunLoopGetCurrent(journal);
    CFRunLoopGetCurrent(journal);
    EXPECT_THAT(journal.entries(), ElementsAre("CFRunLoopGetCurrent()", "CFRunLoopGetCurrent()"));
    EXPECT_THAT(journal.takeEntries(), ElementsAre("CFRunLoopGetCurrent()", "CFRunLoopGetCurrent()"));
    EXPECT_THAT(journal.entries(), IsEmpty());
}

TEST_F(JournalPlatformTest, CarriesOutWhatItWritesDown) {
    PlatformClient client(journal, events);
    EXPECT_EQ(CFRunLoopGetCurrent(journal), &wrapped.currentRunLoop());
    client.schedule();
    EXPECT_EQ(client.open(), kIOReturnSuccess);
    const auto pad = plugPad();
    wrapped.hidServices().send(pad, 0, 1);
    turn();
    wrapped.hidServices().unplug(pad);
    turn();
    EXPECT_THAT(events, ElementsAre("matched pad", "value pad 9:1 1", "removed pad"));
}

TEST_F(JournalPlatformTest, DoesNotWriteDownWhatIsAskedOfADevice) {
    const auto pad = plugPad();
    journal.takeEntries();
    IOHIDDeviceGetProperty(pad.get(), "Product");
    IOHIDDeviceCopyMatchingElements(pad.get());
    EXPECT_THAT(journal.entries(), IsEmpty());
}

TEST_F(JournalPlatformTest, PassesOnWhatTheWrappedPlatformAnswers) {
    PlatformClient client(journal, events);
    wrapped.hidServices().setOpenResult(kIOReturnNotPermitted);
    EXPECT_EQ(client.open(), kIOReturnNotPermitted);
    wrapped.hidServices().setCreationFails(true);
    EXPECT_EQ(IOHIDManagerCreate(journal, 0), nullptr);
}

TEST_F(JournalPlatformTest, AnswersForAFailingOpeningAndClosingWithoutCarryingThemOut) {
    PlatformClient client(journal, events);
    client.schedule();
    journal.fail("IOHIDManagerOpen", kIOReturnExclusiveAccess);
    EXPECT_EQ(client.open(), kIOReturnExclusiveAccess);
    EXPECT_EQ(journal.entries().back(), "IOHIDManagerOpen(0)");
    const auto pad = plugPad();
    turn();
    wrapped.hidServices().send(pad, 0, 1);
    turn();
    EXPECT_THAT(events, ElementsAre("matched pad"));
    journal.fail("IOHIDManagerOpen", kIOReturnSuccess);
    EXPECT_EQ(client.open(), kIOReturnSuccess);
    journal.fail("IOHIDManagerClose", -1);
    EXPECT_EQ(client.close(), -1);
    wrapped.hidServices().send(pad, 0, 0);
    turn();
    EXPECT_THAT(events, ElementsAre("matched pad", "value pad 9:1 0"));
}

TEST_F(JournalPlatformTest, AnswersAFailingCreationWithNull) {
    journal.fail("IOHIDManagerCreate", 1);
    EXPECT_EQ(IOHIDManagerCreate(journal, 0), nullptr);
    EXPECT_THAT(journal.entries(), ElementsAre("IOHIDManagerCreate(0)"));
}

TEST_F(JournalPlatformTest, DoesNothingInPlaceOfAFailingOperationWithoutAnAnswer) {
    const auto pad = plugPad();
    for (const char* const failing : {"IOHIDManagerSetDeviceMatchingMultiple", "IOHIDManagerScheduleWithRunLoop",
                                      "IOHIDManagerRegisterDeviceMatchingCallback"}) {
        journal.fail(failing, -1);
        PlatformClient client(journal, events);
        client.schedule();
        turn();
        EXPECT_THAT(events, IsEmpty()) << failing;
        journal.fail(failing, kIOReturnSuccess);
    }
    journal.fail("IOHIDManagerUnscheduleFromRunLoop", -1);
    journal.fail("IOHIDManagerRegisterDeviceRemovalCallback", -1);
    journal.fail("IOHIDManagerRegisterInputValueCallback", -1);
    PlatformClient client(journal, events);
    client.schedule();
    client.open();
    client.unschedule();
    wrapped.hidServices().send(pad, 0, 1);
    turn();
    wrapped.hidServices().unplug(pad);
    turn();
    EXPECT_THAT(events, ElementsAre("matched pad"));
}

TEST_F(JournalPlatformTest, PassesReportsOnUnlessTheirRegistrationFails) {
    const auto pad = plugPad();
    for (const IOReturn result : {kIOReturnError, kIOReturnSuccess}) {
        journal.fail("IOHIDManagerRegisterInputReportCallback", result);
        PlatformClient client(journal, events);
        client.listenToReports();
        client.schedule();
        client.open();
        turn();
        wrapped.hidServices().sendReport(pad, std::vector<std::uint8_t>{0x0a});
        turn();
    }
    EXPECT_THAT(events, ElementsAre("matched pad", "matched pad", "report pad 0a"));
}

TEST_F(JournalPlatformTest, MakesPreferencesAndLogFail) {
    UserDefaults& defaults = journal.userDefaults();
    defaults.setObjectForKey(1, "a");
    for (const char* const failing :
         {"objectForKey", "setObjectForKey", "removeObjectForKey", "synchronize", "SystemLog"}) {
        journal.fail(failing, kIOReturnError);
    }
    EXPECT_EQ(defaults.objectForKey("a"), nullptr);
    defaults.setObjectForKey(2, "b");
    defaults.removeObjectForKey("a");
    EXPECT_FALSE(defaults.synchronize());
    journal.systemLog().write("lost");
    EXPECT_EQ(wrapped.userDefaults().dictionaryRepresentation(), (PropertyList::Dictionary{{"a", 1}}));
    EXPECT_EQ(defaults.dictionaryRepresentation(), wrapped.userDefaults().dictionaryRepresentation());
    EXPECT_EQ(defaults.lastError(), "");
    EXPECT_THAT(wrapped.systemLog().entries(), IsEmpty());
    EXPECT_THAT(journal.entries(), ::testing::SizeIs(6));
}

TEST_F(JournalPlatformTest, CannotMakeTheReleaseOrTheRunLoopFail) {
    journal.fail("CFRelease", -1);
    journal.fail("CFRunLoopGetCurrent", -1);
    EXPECT_EQ(CFRunLoopGetCurrent(journal), &wrapped.currentRunLoop());
    PlatformClient client(journal, events);
    client.schedule();
    client.release();
    plugPad();
    turn();
    EXPECT_THAT(events, IsEmpty());
}

TEST_F(JournalPlatformTest, LeavesAManagerUntouchedByTheReleaseOfAnother) {
    PlatformClient kept(journal, events);
    {
        EventLog others;
        PlatformClient ended(journal, others);
        ended.schedule();
    }
    kept.schedule();
    plugPad();
    turn();
    EXPECT_THAT(events, ElementsAre("matched pad"));
}

} // namespace
} // namespace qz::platform
