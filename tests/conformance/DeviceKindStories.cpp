// SPDX-License-Identifier: MIT
#include "HIDWrapper/QZHIDDevice.h"
#include "tests/support/ManagerStory.h"

namespace qz::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const Application keyboard{.usagePage = 0x01, .usage = 0x06, .controls = {{.usagePage = 0x07, .usage = 0x04}}};
const Application gamePadApplication{.usagePage = 0x01, .usage = 0x05, .controls = {{.usagePage = 0x09, .usage = 1}}};

using DeviceKind = OverHosts;
QZ_TELL_OVER_ALL_HOSTS(DeviceKind);

TEST_P(DeviceKind, ConnectsJoysticksAndGamePads) {
    setUp();
    host->plug(joystick("stick"));
    turn();
    host->plug(gamePad("pad"));
    turn();
    ASSERT_THAT(connected(), ElementsAre("stick", "pad"));
    EXPECT_EQ(manager->devices()[0]->kind(), "Joystick");
    EXPECT_EQ(manager->devices()[1]->kind(), "Gamepad");
}

TEST_P(DeviceKind, NeverReportsOtherDevices) {
    setUp();
    struct Usage {
        const char* name;
        std::uint32_t page;
        std::uint32_t usage;
    };
    // Generic Desktop: pointer, mouse, the usage between, keyboard, keypad, multi-axis controller. The usages of
    // joystick and game pad on other pages: Simulation Controls, Game Controls, Consumer, vendor-defined.
    constexpr std::array others{
        Usage{"pointer", 0x01, 0x01},    Usage{"mouse", 0x01, 0x02},           Usage{"reserved", 0x01, 0x03},
        Usage{"keyboard", 0x01, 0x06},   Usage{"keypad", 0x01, 0x07},          Usage{"multi-axis", 0x01, 0x08},
        Usage{"simulation", 0x02, 0x04}, Usage{"game controls", 0x05, 0x05},   Usage{"consumer control", 0x0c, 1},
        Usage{"consumer", 0x0c, 0x04},   Usage{"vendor-defined", 0xff00, 0x05}};
    std::vector<DeviceId> plugged;
    for (const Usage& other : others) {
        plugged.push_back(host->plug(deviceOfKind(other.name, other.page, other.usage)));
    }
    turn();
    for (const DeviceId device : plugged) {
        host->send(device, 0, 1);
    }
    turn();
    for (const DeviceId device : plugged) {
        host->unplug(device);
    }
    turn();
    EXPECT_THAT(told(), IsEmpty());
    EXPECT_THAT(connected(), IsEmpty());
}

TEST_P(DeviceKind, FindsAGamePadThatIsNotTheFirstOfItsDevicesApplications) {
    setUp();
    DeviceDescription combined = gamePad("combined");
    combined.applications = {keyboard, gamePadApplication};
    host->plug(combined);
    turn();
    EXPECT_THAT(told(), ElementsAre("should connect combined -> yes", "connected combined"));
    // Its primary usage is the keyboard's all the same, and its kind follows that.
    ASSERT_THAT(connected(), ElementsAre("combined"));
    EXPECT_EQ(manager->devices()[0]->integerPropertyWithKey("PrimaryUsagePage"), 1);
    EXPECT_EQ(manager->devices()[0]->integerPropertyWithKey("PrimaryUsage"), 6);
    EXPECT_EQ(manager->devices()[0]->kind(), "Unknown");
}

TEST_P(DeviceKind, ReportsADeviceOfSeveralMatchingApplicationsOnce) {
    setUp();
    DeviceDescription twofold = gamePad("twofold");
    twofold.applications = {gamePadApplication, {.usagePage = 0x01, .usage = 0x04, .controls = {{0x09, 1, 0, 1}}}};
    host->plug(twofold);
    turn();
    EXPECT_THAT(told(), ElementsAre("should connect twofold -> yes", "connected twofold"));
    EXPECT_EQ(manager->devices().at(0)->kind(), "Gamepad");
}

TEST_P(DeviceKind, TakesPageAndUsageAsAPair) {
    setUp();
    // Generic Desktop in one application and usage 5 in another are no game pad.
    DeviceDescription mixed = gamePad("mixed");
    mixed.applications = {keyboard, {.usagePage = 0x0c, .usage = 0x05, .controls = {{0x09, 1, 0, 1}}}};
    host->plug(mixed);
    turn();
    EXPECT_THAT(told(), IsEmpty());
}

} // namespace
} // namespace qz::tests
