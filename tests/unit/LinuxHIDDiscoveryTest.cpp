// SPDX-License-Identifier: MIT
#include "tests/unit/LinuxHIDFixture.h"

#include <filesystem>
#include <fstream>

namespace qz::platform::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

class LinuxHIDDiscovery : public LinuxHIDFixture {
protected:
    /// Has so much happen to two nodes that the kernel no longer tells of what comes after it.
    void loseChanges(int first, int second) {
        // fs.inotify.max_queued_events; equal ones in a row the kernel takes for one.
        int limit = 16384;
        std::ifstream("/proc/sys/fs/inotify/max_queued_events") >> limit;
        for (int i = 0; i <= limit / 2; ++i) {
            kernel.touchNode(first);
            kernel.touchNode(second);
        }
    }
};

TEST_F(LinuxHIDDiscovery, OpensOnlyWhatMatchesAndOnlyOnceTheManagerIsOpen) {
    const int pad = kernel.plug(fakePad("pad"));
    kernel.plug(fakePad("mouse", 2));
    client.schedule();
    EXPECT_THAT(turnAndTold(), ElementsAre("matched pad"));
    EXPECT_THAT(kernel.opened, IsEmpty());
    client.open();
    EXPECT_THAT(kernel.opened, ElementsAre(std::pair("hidraw0", 1)));
    kernel.send(pad, button(true));
    EXPECT_THAT(turnAndTold(), ElementsAre("value pad 9:1 1"));

    kernel.plug(fakePad("keyboard", 6));
    kernel.plug(fakePad("stick", 4));
    EXPECT_THAT(turnAndTold(), ElementsAre("matched stick"));
    EXPECT_THAT(kernel.opened, ElementsAre(std::pair("hidraw0", 1), std::pair("hidraw3", 1)));
    client.close();
    EXPECT_EQ(kernel.openNodes(), 0U);
}

TEST_F(LinuxHIDDiscovery, ReportsWhatIsThereByTheNumbersOfTheNodes) {
    for (const char* const name : {"0", "1", "2", "3", "4", "5", "6", "7", "8", "9", "10"}) {
        kernel.plug(fakePad(name));
    }
    setUp();
    EXPECT_THAT(turnAndTold(), ElementsAre("matched 0", "matched 1", "matched 2", "matched 3", "matched 4", "matched 5",
                                           "matched 6", "matched 7", "matched 8", "matched 9", "matched 10"));
}

TEST_F(LinuxHIDDiscovery, ReadsFromTheOpeningOn) {
    const int pad = kernel.plug(fakePad("pad"));
    setUp();
    kernel.send(pad, button(true));
    EXPECT_THAT(turnAndTold(), ElementsAre("matched pad", "value pad 9:1 1"));
}

TEST_F(LinuxHIDDiscovery, TakesAnotherDeviceOnTheSameNodeForAnotherDevice) {
    setUp();
    const int pad = plugReported(fakePad("pad"));
    const IOHIDDeviceRef old = handle;
    const auto keep = pin(old);
    kernel.unplug(pad);
    ASSERT_EQ(kernel.plug(fakePad("other")), pad) << "the kernel gives the number away again";
    client.onRemoved = [&](IOHIDDeviceRef removed) { EXPECT_EQ(removed, old); };
    client.onMatched = [&](IOHIDDeviceRef matched) { EXPECT_NE(matched, old); };
    EXPECT_THAT(turnAndTold(), ElementsAre("removed pad", "matched other"));
    kernel.send(pad, button(true));
    EXPECT_THAT(turnAndTold(), ElementsAre("value other 9:1 1"));
}

TEST_F(LinuxHIDDiscovery, TakesTheSameDevicePluggedAgainForAnother) {
    setUp();
    const int pad = plugReported(fakePad("pad"));
    for (int i = 0; i < 3; ++i) {
        kernel.unplug(pad);
        ASSERT_EQ(kernel.plug(fakePad("pad")), pad);
    }
    EXPECT_THAT(turnAndTold(), ElementsAre("removed pad", "matched pad"));
    EXPECT_EQ(kernel.openNodes(), 1U);
}

TEST_F(LinuxHIDDiscovery, TellsDevicesOnOneNodeApartAlsoWhenItIsNotOpen) {
    client.schedule();
    const int pad = plugReported(fakePad("pad"));
    kernel.unplug(pad);
    kernel.plug(fakePad("pad"));
    EXPECT_THAT(turnAndTold(), ElementsAre("removed pad", "matched pad"));
}

TEST_F(LinuxHIDDiscovery, IsNotMisledByOldNewsOfANodeThatIsAnothersByNow) {
    setUp();
    const int pad = plugReported(fakePad("pad"));
    // The hang-up is seen first, then the list, and only then the deletion of the old node.
    kernel.unplug(pad);
    kernel.plug(fakePad("other"));
    client.onRemoved = [&](IOHIDDeviceRef) {
        IOHIDManagerSetDeviceMatchingMultiple(client.manager(), ::qz::tests::gameControllers());
    };
    EXPECT_THAT(turnAndTold(), ElementsAre("removed pad", "matched other"));
    kernel.send(pad, button(true));
    EXPECT_THAT(turnAndTold(), ElementsAre("value other 9:1 1"));
}

TEST_F(LinuxHIDDiscovery, KeepsAnOpenNodeWhenTheNewsIsOfAnEarlierOne) {
    setUp();
    const int first = kernel.plug(fakePad("first"));
    kernel.unplug(first);
    kernel.plug(fakePad("second"));
    // Looks at all nodes before the news of the first one's coming and going has been read.
    IOHIDManagerSetDeviceMatchingMultiple(client.manager(), ::qz::tests::gameControllers());
    EXPECT_THAT(turnAndTold(), ElementsAre("matched second"));
    EXPECT_EQ(kernel.opened.at("hidraw0"), 1);
}

TEST_F(LinuxHIDDiscovery, KeepsANodeThatIsNotOpenWhenTheNewsIsOfAnEarlierOne) {
    client.schedule();
    const int pad = plugReported(fakePad("pad"));
    kernel.unplug(pad);
    ASSERT_EQ(kernel.plug(fakePad("other")), pad);
    IOHIDManagerSetDeviceMatchingMultiple(client.manager(), ::qz::tests::gameControllers());
    EXPECT_THAT(turnAndTold(), ElementsAre("removed pad", "matched other"));
    kernel.unplug(pad);
    EXPECT_THAT(turnAndTold(), ElementsAre("removed other"));
}

TEST_F(LinuxHIDDiscovery, KeepsANodeWithoutAccessWhenTheNewsIsOfAnEarlierOne) {
    setUp();
    const auto plugWithoutAccess = [&](const char* name) {
        FakeHIDDevice device = fakePad(name);
        device.hasNode = false;
        const int number = kernel.plug(device);
        kernel.setOpenError(number, EACCES);
        kernel.addNode(number);
        return number;
    };
    const int pad = plugWithoutAccess("pad");
    const EventLog refused = turnAndTold();
    ASSERT_EQ(refused.size(), 1U);
    kernel.unplug(pad);
    ASSERT_EQ(plugWithoutAccess("other"), pad);
    IOHIDManagerSetDeviceMatchingMultiple(client.manager(), ::qz::tests::gameControllers());
    EXPECT_THAT(turnAndTold(), ::testing::SizeIs(1)) << "told once";
    kernel.setOpenError(pad, 0);
    kernel.touchNode(pad);
    EXPECT_THAT(turnAndTold(), ElementsAre("matched other"));
}

TEST_F(LinuxHIDDiscovery, RemovesADeviceThatIsNotOpenByItsNodeAloneWhenSysfsGoesLater) {
    client.schedule();
    const int pad = plugReported(fakePad("pad"));
    kernel.removeNode(pad);
    EXPECT_THAT(turnAndTold(), ElementsAre("removed pad"));
    kernel.removeSysfs(pad);
    kernel.hangUp(pad);
    EXPECT_THAT(turnAndTold(), IsEmpty());
}

TEST_F(LinuxHIDDiscovery, MakesNothingOfADeviceThatCameAndWentBetweenTwoTurns) {
    setUp();
    kernel.unplug(kernel.plug(fakePad("pad")));
    EXPECT_THAT(turnAndTold(), IsEmpty());
    EXPECT_EQ(kernel.openNodes(), 0U);
}

TEST_F(LinuxHIDDiscovery, WaitsForSysfsWhenTheNodeIsThereFirst) {
    setUp();
    FakeHIDDevice device = fakePad("pad");
    device.hasSysfs = false;
    const int pad = kernel.plug(device);
    EXPECT_THAT(turnAndTold(), IsEmpty());
    kernel.addSysfs(pad);
    kernel.touchNode(pad);
    EXPECT_THAT(turnAndTold(), ElementsAre("matched pad"));
}

TEST_F(LinuxHIDDiscovery, WaitsForTheNodeWhenSysfsIsThereFirst) {
    FakeHIDDevice device = fakePad("pad");
    device.hasNode = false;
    const int pad = kernel.plug(device);
    setUp();
    EXPECT_THAT(turnAndTold(), IsEmpty()) << "it may as well be going: that is no error";
    kernel.addNode(pad);
    EXPECT_THAT(turnAndTold(), ElementsAre("matched pad"));
}

TEST_F(LinuxHIDDiscovery, ReportsAControllerWithoutAccessOnceAndConnectsItWhenAccessIsGiven) {
    setUp();
    const int pad = kernel.plug(fakePad("pad"));
    kernel.setOpenError(pad, EACCES);
    const std::string notPermitted = "error " + std::to_string(kIOReturnNotPermitted);
    EXPECT_THAT(turnAndTold(), ElementsAre(notPermitted));
    kernel.touchNode(pad);
    kernel.touchNode(pad);
    EXPECT_THAT(turnAndTold(), IsEmpty());
    kernel.setOpenError(pad, 0);
    EXPECT_THAT(turnAndTold(), IsEmpty());
    kernel.touchNode(pad);
    EXPECT_THAT(turnAndTold(), ElementsAre("matched pad"));
    kernel.send(pad, button(true));
    EXPECT_THAT(turnAndTold(), ElementsAre("value pad 9:1 1"));
    kernel.unplug(pad);
    EXPECT_THAT(turnAndTold(), ElementsAre("removed pad"));
}

TEST_F(LinuxHIDDiscovery, NamesTheControllerThatCannotBeOpened) {
    setUp();
    IOHIDDeviceRef named = nullptr;
    IOHIDManagerRegisterDeviceMatchingCallback(
        client.manager(),
        [](void* context, IOReturn result, void*, IOHIDDeviceRef device) {
            EXPECT_EQ(result, kIOReturnNotPermitted);
            EXPECT_EQ(*IOHIDDeviceGetProperty(device, "Product"), PropertyValue("pad"));
            *static_cast<IOHIDDeviceRef*>(context) = device;
        },
        &named);
    kernel.setOpenError(kernel.plug(fakePad("pad")), EPERM);
    turn();
    EXPECT_NE(named, nullptr);
}

TEST_F(LinuxHIDDiscovery, SaysNothingOfTheRemovalOfAControllerItCouldNotOpen) {
    setUp();
    const int pad = kernel.plug(fakePad("pad"));
    kernel.setOpenError(pad, EACCES);
    turn();
    told();
    kernel.unplug(pad);
    EXPECT_THAT(turnAndTold(), IsEmpty());
}

TEST_F(LinuxHIDDiscovery, ReportsAMatchedDeviceThatCannotBeOpenedLaterOnlyAsAnError) {
    client.schedule();
    const int pad = plugReported(fakePad("pad"));
    kernel.setOpenError(pad, EACCES);
    EXPECT_EQ(client.open(), kIOReturnSuccess);
    EXPECT_THAT(turnAndTold(), ElementsAre("error " + std::to_string(kIOReturnNotPermitted)));
    kernel.setOpenError(pad, 0);
    kernel.touchNode(pad);
    EXPECT_THAT(turnAndTold(), IsEmpty()) << "it has been reported";
    kernel.send(pad, button(true));
    EXPECT_THAT(turnAndTold(), ElementsAre("value pad 9:1 1"));
    kernel.unplug(pad);
    EXPECT_THAT(turnAndTold(), ElementsAre("removed pad"));
}

TEST_F(LinuxHIDDiscovery, SaysNothingOfWhatCouldNotBeOpenedOnceThatHasGone) {
    client.schedule();
    const int pad = plugReported(fakePad("pad"));
    kernel.setOpenError(pad, EACCES);
    client.open();
    kernel.unplug(pad);
    // Looks at all nodes before the next turn, which would tell of the error.
    IOHIDManagerSetDeviceMatchingMultiple(client.manager(), ::qz::tests::gameControllers());
    EXPECT_THAT(turnAndTold(), ElementsAre("removed pad"));
}

TEST_F(LinuxHIDDiscovery, SaysAgainWhatCannotBeOpenedWhenItIsOpenedAgain) {
    const int pad = kernel.plug(fakePad("pad"));
    kernel.setOpenError(pad, EACCES);
    const std::string notPermitted = "error " + std::to_string(kIOReturnNotPermitted);
    setUp();
    client.close();
    EXPECT_THAT(turnAndTold(), ElementsAre("matched pad")) << "whether it can be read is asked no longer";
    client.open();
    EXPECT_THAT(turnAndTold(), ElementsAre(notPermitted));
    client.open();
    EXPECT_THAT(turnAndTold(), IsEmpty());
}

TEST_F(LinuxHIDDiscovery, TranslatesTheErrorsOfOpening) {
    const std::vector<std::pair<int, IOReturn>> translations = {{EACCES, kIOReturnNotPermitted},
                                                                {EPERM, kIOReturnNotPermitted},
                                                                {ESHUTDOWN, kIOReturnNoDevice},
                                                                {EIO, kIOReturnIOError},
                                                                {EBUSY, kIOReturnExclusiveAccess},
                                                                {EMFILE, kIOReturnNoResources},
                                                                {ENFILE, kIOReturnNoResources},
                                                                {ENOMEM, kIOReturnNoResources},
                                                                {ENOSPC, kIOReturnNoResources},
                                                                {EINVAL, kIOReturnError},
                                                                {ELOOP, kIOReturnError}};
    setUp();
    for (const auto& [error, result] : translations) {
        FakeHIDDevice device = fakePad("pad");
        device.hasNode = false;
        const int pad = kernel.plug(device);
        kernel.setOpenError(pad, error);
        kernel.addNode(pad);
        EXPECT_THAT(turnAndTold(), ElementsAre("error " + std::to_string(result))) << error;
        kernel.unplug(pad);
        EXPECT_THAT(turnAndTold(), IsEmpty());
    }
}

TEST_F(LinuxHIDDiscovery, IsSilentAboutANodeThatVanishesBeforeItIsOpened) {
    setUp();
    for (const int error : {ENOENT, ENODEV, ENXIO}) {
        const int pad = kernel.plug(fakePad("pad"));
        kernel.setOpenError(pad, error);
        kernel.opened.clear();
        EXPECT_THAT(turnAndTold(), IsEmpty()) << error;
        EXPECT_EQ(kernel.opened.at("hidraw0"), 1);
        kernel.unplug(pad);
        EXPECT_THAT(turnAndTold(), IsEmpty()) << error;
    }
}

TEST_F(LinuxHIDDiscovery, DoesNotOpenAnotherDeviceInPlaceOfOneWithoutAccess) {
    setUp();
    const int pad = kernel.plug(fakePad("pad"));
    kernel.setOpenError(pad, EACCES);
    EXPECT_THAT(turnAndTold(), ElementsAre("error " + std::to_string(kIOReturnNotPermitted)));
    kernel.touchNode(pad); // the news of this is read when the node is another's already
    kernel.unplug(pad);
    ASSERT_EQ(kernel.plug(fakePad("other")), pad);
    EXPECT_THAT(turnAndTold(), ElementsAre("matched other"));
    kernel.send(pad, button(true));
    EXPECT_THAT(turnAndTold(), ElementsAre("value other 9:1 1"));
    EXPECT_EQ(kernel.openNodes(), 1U);
}

TEST_F(LinuxHIDDiscovery, DoesNotOpenAnotherDeviceInPlaceOfOneThatHasGone) {
    client.schedule();
    const int pad = plugReported(fakePad("pad"));
    kernel.unplug(pad);
    ASSERT_EQ(kernel.plug(fakePad("other")), pad);
    client.open();
    EXPECT_EQ(kernel.openNodes(), 0U);
    EXPECT_THAT(turnAndTold(), ElementsAre("removed pad", "matched other"));
    kernel.send(pad, button(true));
    EXPECT_THAT(turnAndTold(), ElementsAre("value other 9:1 1"));
}

/// In a container the nodes may have been made by hand: no news comes when they become another device's.
TEST_F(LinuxHIDDiscovery, TakesAnotherDeviceOnANodeThatStaysForAnotherDeviceWhenItGetsAccess) {
    setUp();
    const int pad = kernel.plug(fakePad("pad"));
    kernel.setOpenError(pad, EACCES);
    turnAndTold();
    kernel.removeSysfs(pad);
    kernel.hangUp(pad);
    FakeHIDDevice other = fakePad("other");
    other.hasNode = false; // it is there
    ASSERT_EQ(kernel.plug(other), pad);
    kernel.touchNode(pad);
    EXPECT_THAT(turnAndTold(), ElementsAre("matched other"));
    kernel.send(pad, button(true));
    EXPECT_THAT(turnAndTold(), ElementsAre("value other 9:1 1"));
}

TEST_F(LinuxHIDDiscovery, TakesAnotherDeviceOnANodeThatStaysForAnotherDeviceWhenItIsOpenedAgain) {
    setUp();
    const int pad = plugReported(fakePad("pad"));
    client.close();
    turn();
    kernel.removeSysfs(pad);
    kernel.hangUp(pad);
    FakeHIDDevice other = fakePad("other");
    other.hasNode = false;
    ASSERT_EQ(kernel.plug(other), pad);
    client.open();
    EXPECT_THAT(turnAndTold(), ElementsAre("removed pad", "matched other"));
    kernel.send(pad, button(true));
    EXPECT_THAT(turnAndTold(), ElementsAre("value other 9:1 1"));
}

TEST_F(LinuxHIDDiscovery, ReportsAnOpenDeviceThatIsWantedAgainBeforeItWasReported) {
    setUp();
    turn();
    client.onMatched = [&](IOHIDDeviceRef) {
        client.onMatched = nullptr;
        const std::vector<HIDMatchingDictionary> others{{{"DeviceUsagePage", 12}, {"DeviceUsage", 1}}};
        IOHIDManagerSetDeviceMatchingMultiple(client.manager(), others);
    };
    kernel.plug(fakePad("first"));
    kernel.plug(fakePad("second"));
    EXPECT_THAT(turnAndTold(), ElementsAre("matched first"));
    IOHIDManagerSetDeviceMatchingMultiple(client.manager(), ::qz::tests::gameControllers());
    EXPECT_THAT(turnAndTold(), ElementsAre("matched second"));
}

TEST_F(LinuxHIDDiscovery, DeliversNothingOfADeviceUntilItIsReportedAndAllOfItThen) {
    setUp();
    turn();
    client.listenToReports();
    client.onMatched = [&](IOHIDDeviceRef) {
        client.onMatched = nullptr;
        const std::vector<HIDMatchingDictionary> others{{{"DeviceUsagePage", 12}, {"DeviceUsage", 1}}};
        IOHIDManagerSetDeviceMatchingMultiple(client.manager(), others);
    };
    kernel.plug(fakePad("first"));
    const int second = kernel.plug(fakePad("second"));
    EXPECT_THAT(turnAndTold(), ElementsAre("matched first"));
    ASSERT_EQ(kernel.openNodes(), 2U);
    kernel.send(second, button(true));
    EXPECT_THAT(turnAndTold(), IsEmpty());
    IOHIDManagerSetDeviceMatchingMultiple(client.manager(), ::qz::tests::gameControllers());
    EXPECT_THAT(turnAndTold(), ElementsAre("matched second"));
    kernel.send(second, button(true));
    EXPECT_THAT(turnAndTold(), ElementsAre("report second 01 01", "value second 9:1 1"));
}

TEST_F(LinuxHIDDiscovery, KnowsThePropertiesOfADeviceThatComesAmidInputWithoutEnd) {
    setUp();
    turn();
    FakeHIDDevice sticks = fakePad("flood");
    sticks.descriptor = {0x05, 0x01, 0x09, 0x05, 0xa1, 0x01, 0x09, 0x30, 0x15, 0x00, // twenty X axes
                         0x26, 0xff, 0x00, 0x75, 0x08, 0x95, 20,   0x81, 0x02, 0xc0};
    const int flood = plugReported(sticks);
    std::uint8_t position = 0;
    const auto move = [&] { kernel.send(flood, std::vector<std::uint8_t>(20, ++position)); };
    client.onValue = [&](IOHIDValueRef) { move(); };
    for (int i = 0; i < 64; ++i) {
        move();
    }
    FakeHIDDevice device = fakePad("pad");
    device.uniq = "one";
    std::shared_ptr<HIDDevice> kept;
    takeArrivals([&](IOHIDDeviceRef reported) { kept = pin(reported); });
    const int pad = kernel.plug(device);
    for (int i = 0; i < 5 && !kept; ++i) {
        dispatch();
    }
    dispatch();
    ASSERT_TRUE(kept);
    kernel.removeSysfs(pad);
    ASSERT_NE(kept->property("SerialNumber"), nullptr);
    client.onValue = nullptr;
}

TEST_F(LinuxHIDDiscovery, SurvivesTheReplacementOfADeviceBetweenAnyTwoCalls) {
    for (int position = 0; position < 12; ++position) {
        const int pad = kernel.plug(fakePad("pad"));
        int calls = 0;
        bool isReplaced = false;
        kernel.setScript([&](std::string_view) {
            if (calls++ == position) {
                isReplaced = true;
                kernel.unplug(pad);
                kernel.plug(fakePad("other"));
            }
            return 0;
        });
        setUp();
        turn();
        kernel.setScript(nullptr);
        kernel.send(pad, button(true));
        const EventLog log = turnAndTold();
        ASSERT_FALSE(log.empty());
        EXPECT_EQ(log.back(), isReplaced ? "value other 9:1 1" : "value pad 9:1 1") << "position " << position;
        EXPECT_EQ(kernel.openNodes(), 1U);
        kernel.unplug(pad);
        turnAndTold();
        client.close();
        client.unschedule();
    }
}

TEST_F(LinuxHIDDiscovery, LooksAgainAtADeviceThatItHadNoResourcesToLookAt) {
    setUp();
    turn();
    // The place, then the descriptor.
    kernel.setScript([](std::string_view call) { return call == "open" ? ENFILE : 0; });
    kernel.plug(fakePad("pad"));
    EXPECT_THAT(turnAndTold(), IsEmpty());
    EXPECT_EQ(client.open(), kIOReturnSuccess) << "it may as well be a mouse";
    EXPECT_THAT(turnAndTold(), IsEmpty());
    kernel.setScript(nullptr);
    EXPECT_THAT(turnAndTold(), ElementsAre("matched pad"));
}

TEST_F(LinuxHIDDiscovery, ReportsTheRemovalBeforeTheNewcomerAlsoWhenTheNewsIsLost) {
    setUp();
    const int pad = plugReported(fakePad("pad"));
    const int busy = plugReported(fakePad("busy"));
    const int alsoBusy = plugReported(fakePad("also busy"));
    kernel.send(pad, button(true));
    loseChanges(busy, alsoBusy);
    kernel.unplug(pad);
    ASSERT_EQ(kernel.plug(fakePad("other")), pad);
    EXPECT_THAT(turnAndTold(), ElementsAre("value pad 9:1 1", "removed pad", "matched other"));
}

TEST_F(LinuxHIDDiscovery, ReportsTheRemovalBeforeTheNewcomerAlsoWhenItListsWhileTheOldOneIsDrained) {
    setUp();
    const int pad = plugReported(fakePad("pad"));
    client.onValue = [&](IOHIDValueRef) {
        client.onValue = nullptr;
        kernel.unplug(pad);
        EXPECT_EQ(kernel.plug(fakePad("other")), pad);
        IOHIDManagerSetDeviceMatchingMultiple(client.manager(), ::qz::tests::gameControllers());
    };
    kernel.send(pad, button(true));
    kernel.send(pad, button(false));
    EXPECT_THAT(turnAndTold(), ElementsAre("value pad 9:1 1", "value pad 9:1 0", "removed pad", "matched other"));
}

TEST_F(LinuxHIDDiscovery, IsSilentAboutDescriptorsThatAreRefusedOrEmpty) {
    setUp();
    FakeHIDDevice device = fakePad("pad");
    device.descriptor.pop_back(); // its collection is left open
    const int refused = kernel.plug(device);
    device.descriptor = {};
    kernel.plug(device);
    device.descriptor = fakePad("pad").descriptor;
    device.descriptor.resize(4097); // longer than any may be, by items that mean nothing
    kernel.plug(device);
    EXPECT_THAT(turnAndTold(), IsEmpty());
    kernel.touchNode(refused);
    EXPECT_THAT(turnAndTold(), IsEmpty());
    EXPECT_THAT(kernel.opened, IsEmpty());
}

TEST_F(LinuxHIDDiscovery, LooksAtNoOtherFilesInTheDirectoryOfNodes) {
    setUp();
    turn();
    for (const char* const name : {"null", "hidraw", "hidrawx", "hidraw1x", "uhid", "xhidraw1"}) {
        writeFile(kernel.paths().deviceDirectory + "/" + name, "");
    }
    EXPECT_EQ(turn(), 0U);
    EXPECT_FALSE(wouldWake());
    EXPECT_THAT(kernel.opened, IsEmpty());
}

TEST_F(LinuxHIDDiscovery, ListsAgainWhenChangesWereLost) {
    setUp();
    const int stays = kernel.plug(fakePad("stays"));
    const int goes = kernel.plug(fakePad("goes"));
    const int changes = kernel.plug(fakePad("changes"));
    turn();
    told();
    loseChanges(stays, goes);
    kernel.unplug(changes);
    ASSERT_EQ(kernel.plug(fakePad("changed")), changes);
    kernel.plug(fakePad("new"));
    kernel.unplug(goes);
    EXPECT_THAT(turnAndTold(),
                UnorderedElementsAre("removed goes", "removed changes", "matched changed", "matched new"));
    kernel.send(stays, button(true));
    kernel.send(changes, button(true));
    EXPECT_THAT(turnAndTold(), UnorderedElementsAre("value stays 9:1 1", "value changed 9:1 1"));
    EXPECT_FALSE(wouldWake());
}

TEST_F(LinuxHIDDiscovery, ListsAgainWhenChangesWereLostAlsoForAManagerThatIsNotOpen) {
    client.schedule();
    const int stays = plugReported(fakePad("stays"));
    const int changes = plugReported(fakePad("changes"));
    loseChanges(stays, changes);
    kernel.unplug(changes);
    ASSERT_EQ(kernel.plug(fakePad("changed")), changes);
    EXPECT_THAT(turnAndTold(), ElementsAre("removed changes", "matched changed"));
}

TEST_F(LinuxHIDDiscovery, RemovesWhatIsNoLongerListedWhenTheNewsOfItWasLost) {
    client.schedule();
    const int stays = plugReported(fakePad("stays"));
    const int goes = plugReported(fakePad("goes"));
    loseChanges(stays, goes);
    kernel.unplug(goes);
    EXPECT_THAT(turnAndTold(), ElementsAre("removed goes"));
}

/// Where the nodes have been made by hand they stay, and no news comes.
TEST_F(LinuxHIDDiscovery, RemovesWhatIsNoLongerListedWhenItIsOpenedAgain) {
    setUp();
    const int pad = plugReported(fakePad("pad"));
    client.close();
    turn();
    kernel.removeSysfs(pad);
    kernel.hangUp(pad);
    EXPECT_THAT(turnAndTold(), IsEmpty());
    client.open();
    EXPECT_THAT(turnAndTold(), ElementsAre("removed pad"));
}

TEST_F(LinuxHIDDiscovery, WorksWithoutAListOfDevices) {
    std::filesystem::remove_all(kernel.paths().classDirectory);
    setUp();
    EXPECT_THAT(turnAndTold(), IsEmpty());
    std::filesystem::create_directories(kernel.paths().classDirectory);
    kernel.plug(fakePad("pad"));
    EXPECT_THAT(turnAndTold(), ElementsAre("matched pad"));
}

TEST_F(LinuxHIDDiscovery, WakesTheLoopForWhatWiderCriteriaFind) {
    setUp();
    const int mouse = kernel.plug(fakePad("mouse", 2));
    EXPECT_THAT(turnAndTold(), IsEmpty());
    ASSERT_FALSE(wouldWake());
    const std::vector<HIDMatchingDictionary> mice{{{"DeviceUsagePage", 1}, {"DeviceUsage", 2}}};
    IOHIDManagerSetDeviceMatchingMultiple(client.manager(), mice);
    EXPECT_TRUE(wouldWake());
    EXPECT_THAT(turnAndTold(), ElementsAre("matched mouse"));
    kernel.send(mouse, button(true));
    EXPECT_THAT(turnAndTold(), ElementsAre("value mouse 9:1 1"));
}

TEST_F(LinuxHIDDiscovery, WakesTheLoopForWhatAClosingLeavesToReport) {
    setUp();
    const int pad = kernel.plug(fakePad("pad"));
    kernel.setOpenError(pad, EACCES);
    EXPECT_THAT(turnAndTold(), ::testing::SizeIs(1)) << "it cannot be opened";
    ASSERT_FALSE(wouldWake());
    client.close();
    EXPECT_TRUE(wouldWake());
    EXPECT_THAT(turnAndTold(), ElementsAre("matched pad")) << "for which it need not be open";
    EXPECT_FALSE(wouldWake());
}

TEST_F(LinuxHIDDiscovery, OpensLaterWhatComesBeforeItIsScheduled) {
    EXPECT_EQ(client.open(), kIOReturnSuccess);
    kernel.plug(fakePad("pad"));
    EXPECT_THAT(turnAndTold(), IsEmpty());
    client.schedule();
    EXPECT_THAT(turnAndTold(), ElementsAre("matched pad"));
}

TEST_F(LinuxHIDDiscovery, MakesNoCallsWhileNothingHappens) {
    const int pad = kernel.plug(fakePad("pad"));
    setUp();
    turn();
    kernel.send(pad, button(true));
    turn();
    int calls = 0;
    kernel.setScript([&](std::string_view) { return ++calls, 0; });
    EXPECT_FALSE(wouldWake());
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(dispatch(), 0U);
    EXPECT_LE(calls, 2) << "trying the last device, asking for the others";
}

/// Connecting is not to take much longer than the calls that nobody can do without: listing, reading each descriptor,
/// opening each node.
TEST_F(LinuxHIDDiscovery, TakesFewCallsForEachDeviceUntilItIsReported) {
    constexpr std::size_t count = 20;
    for (std::size_t i = 0; i < count; ++i) {
        kernel.plug(fakePad("pad"));
    }
    struct Counts {
        std::size_t connected = 0;
        std::size_t calls = 0;
        std::size_t callsUntilConnected = 0;
    } counts;
    IOHIDManagerRegisterDeviceMatchingCallback(
        client.manager(),
        [](void* context, IOReturn, void*, IOHIDDeviceRef device) {
            EXPECT_EQ(*IOHIDDeviceGetProperty(device, "VendorID"), PropertyValue(std::int64_t{0x1234}))
                << "free of charge";
            auto& seen = *static_cast<Counts*>(context);
            ++seen.connected;
            seen.callsUntilConnected = seen.calls;
        },
        &counts);
    kernel.setScript([&](std::string_view) { return ++counts.calls, 0; });
    setUp();
    dispatch();
    EXPECT_EQ(counts.connected, count);
    const std::size_t calls = counts.callsUntilConnected;
    // For each: its place in sysfs; opening, reading, closing its descriptor; opening the node.
    EXPECT_LE(calls, 12 + 5 * count);
    RecordProperty("calls", static_cast<int>(calls));
}

} // namespace
} // namespace qz::platform::tests
