// SPDX-License-Identifier: MIT
#include "HIDWrapper/QZHIDDevice.h"
#include "tests/support/ManagerStory.h"

namespace qz::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

using Connection = OverHosts;
QZ_TELL_OVER_ALL_HOSTS(Connection);

TEST_P(Connection, ReportsADeviceThatWasThereBeforeTheSetUpWithTheFirstTurn) {
    host->plug(gamePad("pad"));
    EXPECT_EQ(setUp(), 0);
    EXPECT_THAT(told(), IsEmpty());
    EXPECT_THAT(connected(), IsEmpty());
    turn();
    EXPECT_THAT(told(), ElementsAre("should connect pad -> yes", "connected pad"));
    EXPECT_THAT(connected(), ElementsAre("pad"));
}

TEST_P(Connection, ReportsADeviceThatIsPluggedAfterTheSetUpWithTheNextTurn) {
    EXPECT_EQ(setUp(), 0);
    turn();
    EXPECT_THAT(told(), IsEmpty());
    host->plug(joystick("stick"));
    EXPECT_THAT(told(), IsEmpty());
    turn();
    EXPECT_THAT(told(), ElementsAre("should connect stick -> yes", "connected stick"));
    EXPECT_THAT(connected(), ElementsAre("stick"));
}

TEST_P(Connection, ReportsEachDeviceOnce) {
    host->plug(gamePad("first"));
    host->plug(gamePad("second"));
    setUp();
    turn();
    EXPECT_THAT(told(), UnorderedElementsAre("should connect first -> yes", "connected first",
                                             "should connect second -> yes", "connected second"));
    turn();
    host->plug(gamePad("third"));
    turn();
    EXPECT_THAT(told(), ElementsAre("should connect third -> yes", "connected third"));
}

TEST_P(Connection, TellsTwoDevicesOfOneDescriptionApart) {
    setUp();
    host->plug(gamePad("twin"));
    const DeviceId second = host->plug(gamePad("twin"));
    turn();
    ASSERT_THAT(connected(), ElementsAre("twin", "twin"));
    EXPECT_NE(manager->devices()[0], manager->devices()[1]);
    host->unplug(second);
    turn();
    EXPECT_THAT(connected(), ElementsAre("twin"));
}

TEST_P(Connection, ListsDevicesInTheOrderOfTheirAdmission) {
    setUp();
    std::vector<DeviceId> plugged;
    for (const char* const name : {"a", "b", "c", "d"}) {
        plugged.push_back(host->plug(gamePad(name)));
        turn();
    }
    EXPECT_THAT(connected(), ElementsAre("a", "b", "c", "d"));
    host->unplug(plugged[1]);
    turn();
    EXPECT_THAT(connected(), ElementsAre("a", "c", "d"));
    host->plug(gamePad("e"));
    turn();
    host->unplug(plugged[2]);
    turn();
    EXPECT_THAT(connected(), ElementsAre("a", "d", "e"));
}

TEST_P(Connection, MakesNothingOfADeviceThatIsGoneAgainBeforeTheNextTurn) {
    setUp();
    host->unplug(host->plug(gamePad("pad")));
    turn();
    EXPECT_THAT(told(), IsEmpty());
    EXPECT_THAT(connected(), IsEmpty());
}

TEST_P(Connection, HasTheDeviceAmongItsDevicesWhenItReportsTheConnection) {
    setUp();
    std::vector<std::string> seen{"never called"};
    delegate->inside(Callback::ShouldConnect, [&](QZGCHIDManager& asking) { seen = namesOfDevices(asking); });
    host->plug(gamePad("pad"));
    delegate->inside(Callback::Connected, [&](QZGCHIDManager& telling) {
        EXPECT_THAT(seen, IsEmpty());
        EXPECT_EQ(&telling, manager.get());
        seen = namesOfDevices(telling);
    });
    turn();
    EXPECT_THAT(seen, ElementsAre("pad"));
}

TEST_P(Connection, NoLongerHasTheDeviceAmongItsDevicesWhenItReportsTheDisconnection) {
    setUp();
    const DeviceId pad = host->plug(gamePad("pad"));
    turn();
    told();
    std::vector<std::string> seen{"never called"};
    delegate->inside(Callback::Disconnected, [&](QZGCHIDManager& telling) { seen = namesOfDevices(telling); });
    host->unplug(pad);
    EXPECT_THAT(connected(), ElementsAre("pad"));
    turn();
    EXPECT_THAT(seen, IsEmpty());
    // Not asked again: the delegate has been told of this device.
    EXPECT_THAT(told(), ElementsAre("disconnected pad"));
    EXPECT_THAT(connected(), IsEmpty());
}

TEST_P(Connection, ReportsADeviceThatIsPluggedInAgain) {
    setUp();
    for (int round = 0; round < 3; ++round) {
        const DeviceId pad = host->plug(gamePad("pad"));
        turn();
        EXPECT_THAT(told(), ElementsAre("should connect pad -> yes", "connected pad"));
        host->unplug(pad);
        turn();
        EXPECT_THAT(told(), ElementsAre("disconnected pad"));
    }
}

TEST_P(Connection, GivesTheDelegateADeviceThatStillAnswersAfterTheUnplugging) {
    setUp();
    DeviceDescription description = gamePad("pad");
    description.serialNumber = "AB12";
    const DeviceId pad = host->plug(description);
    turn();
    const std::shared_ptr<QZHIDDevice> device = manager->devices().at(0);
    host->unplug(pad);
    turn();
    EXPECT_THAT(connected(), IsEmpty());
    EXPECT_EQ(device->productName(), "pad");
    EXPECT_EQ(device->userPrefIDs().aInstanceID, "1234-5678.AB12");
    EXPECT_EQ(device->manager(), manager);
    manager.reset();
    EXPECT_EQ(device->manager(), nullptr);
    EXPECT_EQ(device->kind(), "Gamepad");
}

using Admission = OverHosts;
QZ_TELL_OVER_ALL_HOSTS(Admission);

TEST_P(Admission, KeepsARefusedDeviceOut) {
    setUp();
    delegate->refuse("pad");
    host->plug(gamePad("pad"));
    host->plug(gamePad("other"));
    turn();
    EXPECT_THAT(told(),
                UnorderedElementsAre("should connect pad -> no", "should connect other -> yes", "connected other"));
    EXPECT_THAT(connected(), ElementsAre("other"));
}

TEST_P(Admission, AsksAboutADeviceOnceHoweverOftenTheLoopTurns) {
    setUp();
    delegate->refuse("pad");
    host->plug(gamePad("pad"));
    turn();
    delegate->accept("pad");
    turn();
    turn();
    EXPECT_THAT(told(), ElementsAre("should connect pad -> no"));
}

TEST_P(Admission, AsksAgainAboutARefusedDeviceThatIsRemovedAndDropsItSilently) {
    setUp();
    delegate->refuse("pad");
    const DeviceId pad = host->plug(gamePad("pad"));
    turn();
    told();
    host->unplug(pad);
    turn();
    EXPECT_THAT(told(), ElementsAre("should connect pad -> no"));
}

TEST_P(Admission, DisconnectsNullWhenTheDelegateWantsTheDeviceAtItsRemoval) {
    setUp();
    delegate->refuse("pad");
    const DeviceId pad = host->plug(gamePad("pad"));
    turn();
    told();
    delegate->accept("pad");
    host->unplug(pad);
    turn();
    EXPECT_THAT(told(), ElementsAre("should connect pad -> yes", "disconnected null"));
    EXPECT_THAT(connected(), IsEmpty());
}

TEST_P(Admission, IgnoresTheInputOfARefusedDevice) {
    manager->setReportRawValues(true);
    setUp();
    delegate->refuse("pad");
    const DeviceId pad = host->plug(gamePad("pad"));
    turn();
    told();
    host->send(pad, 0, 1);
    turn();
    EXPECT_THAT(told(), IsEmpty());
}

TEST_P(Admission, IsNotUndoneByARefusalLaterOn) {
    setUp();
    const DeviceId pad = host->plug(gamePad("pad"));
    turn();
    told();
    delegate->refuse("pad");
    turn();
    EXPECT_THAT(connected(), ElementsAre("pad"));
    host->unplug(pad);
    turn();
    EXPECT_THAT(told(), ElementsAre("disconnected pad"));
}

TEST_P(Admission, PassesOnWhatIsWrongWithADeviceAndAdmitsNothing) {
    setUp();
    host->plugUnusable(gamePad("pad"), -536870203);
    turn();
    EXPECT_THAT(told(), ElementsAre("error -536870203"));
    EXPECT_THAT(connected(), IsEmpty());
    host->plug(gamePad("other"));
    turn();
    EXPECT_THAT(told(), ElementsAre("should connect other -> yes", "connected other"));
}

using WithoutDelegate = OverHosts;
QZ_TELL_OVER_ALL_HOSTS(WithoutDelegate);

TEST_P(WithoutDelegate, AdmitsAndRemovesSilently) {
    EXPECT_EQ(manager->setupWithDelegate(nullptr), 0);
    const DeviceId pad = host->plug(gamePad("pad"));
    turn();
    EXPECT_THAT(connected(), ElementsAre("pad"));
    host->unplug(pad);
    turn();
    EXPECT_THAT(connected(), IsEmpty());
    host->plugUnusable(gamePad("broken"), -536870203);
    turn();
    EXPECT_THAT(connected(), IsEmpty());
    EXPECT_THAT(told(), IsEmpty());
}

TEST_P(WithoutDelegate, ForgetsOneThatItsOwnerLetGo) {
    setUp();
    const DeviceId first = host->plug(gamePad("first"));
    turn();
    told();
    delegate.reset();
    EXPECT_EQ(manager->delegate(), nullptr);
    host->plug(gamePad("second"));
    host->unplug(first);
    turn();
    EXPECT_THAT(told(), IsEmpty());
    EXPECT_THAT(connected(), ElementsAre("second"));
}

TEST_P(WithoutDelegate, AdmitsADeviceWhoseDelegateVanishedWhileItWasAsked) {
    setUp();
    delegate->inside(Callback::ShouldConnect, [this](QZGCHIDManager&) { delegate.reset(); });
    host->plug(gamePad("pad"));
    turn();
    EXPECT_THAT(told(), ElementsAre("should connect pad -> yes"));
    EXPECT_THAT(connected(), ElementsAre("pad"));
}

TEST_P(WithoutDelegate, DropsARefusedDeviceWhenTheDelegateIsGoneByItsRemoval) {
    setUp();
    delegate->refuse("pad");
    const DeviceId pad = host->plug(gamePad("pad"));
    turn();
    told();
    delegate.reset();
    host->unplug(pad);
    turn();
    EXPECT_THAT(told(), IsEmpty());
    EXPECT_THAT(connected(), IsEmpty());
}

TEST_P(WithoutDelegate, ReportsToOneThatIsSetLater) {
    manager->setupWithDelegate(nullptr);
    host->plug(gamePad("before"));
    turn();
    manager->setDelegate(delegate);
    const DeviceId after = host->plug(gamePad("after"));
    turn();
    EXPECT_THAT(told(), ElementsAre("should connect after -> yes", "connected after"));
    manager->setDelegate(nullptr);
    host->unplug(after);
    turn();
    EXPECT_THAT(told(), IsEmpty());
    EXPECT_THAT(connected(), ElementsAre("before"));
}

TEST_P(WithoutDelegate, TellsWhoIsDelegateAtTheMomentNotWhoWasAsked) {
    setUp();
    EventLog otherEvents;
    const auto other = std::make_shared<RecordingDelegate>(otherEvents);
    delegate->inside(Callback::ShouldConnect, [&](QZGCHIDManager& asking) { asking.setDelegate(other); });
    host->plug(gamePad("pad"));
    turn();
    EXPECT_THAT(told(), ElementsAre("should connect pad -> yes"));
    EXPECT_THAT(otherEvents, ElementsAre("connected pad"));
}

} // namespace
} // namespace qz::tests
