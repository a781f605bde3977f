// SPDX-License-Identifier: MIT
#include "HIDWrapper/QZHIDDevice.h"
#include "HIDWrapper/QZHIDElement.h"
#include "tests/support/ManagerStory.h"

namespace qz::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// What becomes of the input of a device that has been admitted.
class Values : public OverHosts {
protected:
    DeviceId plugAdmitted(const DeviceDescription& description) {
        const DeviceId device = host->plug(description);
        turn();
        told();
        return device;
    }
    EventLog toldOf(DeviceId device, std::int64_t raw) {
        host->send(device, 0, raw);
        turn();
        return told();
    }
};
QZ_TELL_OVER_ALL_HOSTS(Values);

TEST_P(Values, AreReportedAsActionsAtFirst) {
    setUp();
    const DeviceId pad = plugAdmitted(gamePad("pad"));
    EXPECT_THAT(toldOf(pad, 1), ElementsAre("action Fire 1"));
    EXPECT_THAT(toldOf(pad, 0), ElementsAre("action Fire 0"));
}

TEST_P(Values, AreReportedRawAndAsActionsInThisOrder) {
    manager->setReportRawValues(true);
    setUp();
    const DeviceId pad = plugAdmitted(gamePad("pad"));
    EXPECT_THAT(toldOf(pad, 1), ElementsAre("raw pad 9:1 1", "action Fire 1"));
    manager->setReportMappedValues(false);
    EXPECT_THAT(toldOf(pad, 0), ElementsAre("raw pad 9:1 0"));
    manager->setReportRawValues(false);
    EXPECT_THAT(toldOf(pad, 1), IsEmpty());
}

TEST_P(Values, ComeFromTheDeviceThatSentThem) {
    manager->setReportRawValues(true);
    manager->setReportMappedValues(false);
    setUp();
    const DeviceId first = plugAdmitted(gamePad("first"));
    const DeviceId second = plugAdmitted(joystick("second"));
    EXPECT_THAT(toldOf(second, 1), ElementsAre("raw second 9:1 1"));
    EXPECT_THAT(toldOf(first, 1), ElementsAre("raw first 9:1 1"));
}

TEST_P(Values, ArriveInModalTurnsAloneWhileTheManagerIsModal) {
    setUp();
    const DeviceId pad = plugAdmitted(gamePad("pad"));
    manager->setModalMode(true);
    EXPECT_THAT(toldOf(pad, 1), IsEmpty());
    turnModally();
    EXPECT_THAT(told(), ElementsAre("action Fire 1"));
    manager->setModalMode(false);
    host->send(pad, 0, 0);
    turnModally();
    EXPECT_THAT(told(), IsEmpty());
    turn();
    EXPECT_THAT(told(), ElementsAre("action Fire 0"));
}

TEST_P(Values, DoNotArriveBeforeTheSetUp) {
    const DeviceId pad = host->plug(gamePad("pad"));
    host->send(pad, 0, 1);
    turn();
    setUp();
    turn();
    EXPECT_THAT(told(), ElementsAre("should connect pad -> yes", "connected pad"));
}

TEST_P(Values, DoNotArriveFromADeviceThatWasUnplugged) {
    setUp();
    const DeviceId pad = plugAdmitted(gamePad("pad"));
    host->unplug(pad);
    turn();
    told();
    EXPECT_THAT(toldOf(pad, 1), IsEmpty());
}

TEST_P(Values, ReachNobodyWithoutADelegateAndTheNextOneFromThenOn) {
    setUp();
    const DeviceId pad = plugAdmitted(gamePad("pad"));
    manager->setDelegate(nullptr);
    EXPECT_THAT(toldOf(pad, 1), IsEmpty());
    manager->setDelegate(delegate);
    EXPECT_THAT(toldOf(pad, 0), IsEmpty()) << "it is what was last reported";
    EXPECT_THAT(toldOf(pad, 1), ElementsAre("action Fire 1"));
}

TEST_P(Values, AreNotReportedDuringCalibration) {
    setUp();
    const DeviceId pad = plugAdmitted(gamePad("pad"));
    manager->startCalibration();
    EXPECT_THAT(toldOf(pad, 1), IsEmpty());
    manager->endCalibration();
    EXPECT_THAT(toldOf(pad, 0), IsEmpty()) << "it is what was last reported";
    EXPECT_THAT(toldOf(pad, 1), ElementsAre("action Fire 1"));
}

TEST_P(Values, DoNotKeepADeviceThatIsUnpluggedDuringCalibration) {
    setUp();
    const DeviceId pad = plugAdmitted(gamePad("pad"));
    manager->startCalibration();
    EXPECT_THAT(toldOf(pad, 1), IsEmpty());
    host->send(pad, 0, 0);
    host->unplug(pad);
    turn();
    EXPECT_THAT(told(), ElementsAre("disconnected pad"));
    const DeviceId again = plugAdmitted(gamePad("pad"));
    EXPECT_THAT(toldOf(again, 1), IsEmpty());
    manager->endCalibration();
    EXPECT_THAT(toldOf(again, 0), IsEmpty()) << "it is what was last reported";
    EXPECT_THAT(toldOf(again, 1), ElementsAre("action Fire 1"));
}

TEST_P(Values, CanBeReadFromTheDeviceOnceTheyHaveArrivedAndUntilItIsUnplugged) {
    setUp();
    const DeviceId pad = plugAdmitted(gamePad("pad"));
    const std::shared_ptr<QZHIDDevice> device = manager->devices().at(0);
    const auto buttons = device->pushButtons();
    ASSERT_TRUE(buttons.has_value());
    ASSERT_EQ(buttons->size(), 1U);
    const QZHIDElement& button = *buttons->front();
    EXPECT_EQ(device->valueForElement(button), 0);
    host->send(pad, 0, 1);
    turn();
    EXPECT_EQ(device->valueForElement(button), 1);
    host->unplug(pad);
    turn();
    EXPECT_EQ(device->valueForElement(button), 0);
}

} // namespace
} // namespace qz::tests
