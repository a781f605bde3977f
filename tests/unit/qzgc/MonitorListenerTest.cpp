// SPDX-License-Identifier: MIT
#include "tools/qzgc/monitor/MonitorListener.h"
#include "platform/virtual/VirtualPlatform.h"
#include "tools/qzgc/session/Actions.h"

#include <gtest/gtest.h>

namespace qz::tools {
namespace {

using platform::VirtualDevice;
using std::chrono::milliseconds;

/// The listener as the delegate of a manager on virtual devices, with a time that the test sets.
class MonitorListenerTest : public testing::Test {
protected:
    void start(const std::string& device = "") {
        listener_ = std::make_shared<MonitorListener>(
            device, [this] { return now_; }, [this](bool soon) { soon ? ++soonChanges_ : ++laterChanges_; });
        manager_ = QZGCHIDManager::create(makeConfigurationManager(builtInActions(), platform_), platform_);
        listener_->follow(*manager_);
        manager_->setupWithDelegate(listener_);
        turn();
    }
    void turn() {
        platform_.currentRunLoop().dispatch(platform::kCFRunLoopDefaultMode);
        listener_->refresh();
    }

    /// An axis of eight bits, a hat and a button, made of a descriptor; so it has reports.
    std::shared_ptr<VirtualDevice> plug(const std::string& name) {
        const std::vector<std::uint8_t> descriptor = {0x05, 0x01, 0x09, 0x04, 0xa1, 0x01, 0x15, 0x00, 0x26, 0xff, 0x00,
                                                      0x75, 0x08, 0x95, 0x01, 0x09, 0x30, 0x81, 0x02, 0x25, 0x07, 0x09,
                                                      0x39, 0x81, 0x42, 0x05, 0x09, 0x09, 0x01, 0x25, 0x01, 0x81, 0x02,
                                                      0x06, 0x00, 0xff, 0x09, 0x20, 0x26, 0xff, 0x00, 0x81, 0x02, 0xc0};
        auto parsed = platform::parseReportDescriptor(descriptor);
        auto device = std::make_shared<VirtualDevice>(
            std::get<platform::ReportDescriptor>(std::move(parsed)),
            platform::RecordedDevice{.name = name, .bus = 3, .vendor = 1, .product = 2});
        platform_.hidServices().plug(device);
        return device;
    }
    void send(const std::shared_ptr<VirtualDevice>& device, const std::vector<std::uint8_t>& report) {
        platform_.hidServices().sendReport(device, report);
        turn();
    }
    const MonitoredControl& control(std::size_t index) {
        return listener_->model().controllers.at(0)->controls.at(index);
    }

    Moment now_{0};
    int soonChanges_ = 0;
    int laterChanges_ = 0;
    platform::VirtualPlatform platform_;
    std::shared_ptr<MonitorListener> listener_;
    std::shared_ptr<QZGCHIDManager> manager_;
};

TEST_F(MonitorListenerTest, KnowsKindsActionsAndValues) {
    const auto device = plug("Stick");
    start();
    ASSERT_EQ(listener_->model().controllers.size(), 1U);
    EXPECT_EQ(listener_->model().controllers[0]->identity.name, "Stick");
    EXPECT_EQ(listener_->model().controllers[0]->number, 1U);
    ASSERT_EQ(listener_->model().controllers[0]->controls.size(), 4U);
    EXPECT_EQ(control(0).kind, ControlKind::Moving);
    EXPECT_EQ(control(0).action, "roll");
    EXPECT_EQ(control(1).kind, ControlKind::Hat);
    EXPECT_EQ(control(1).name, "Hat");
    EXPECT_EQ(control(2).kind, ControlKind::Button);
    EXPECT_EQ(control(2).action, "fire");
    EXPECT_EQ(control(3).kind, ControlKind::Other);
    EXPECT_EQ(control(0).raw, std::nullopt);
    EXPECT_FALSE(control(2).isHeld());

    send(device, {0xff, 0x02, 0x01, 0x11});
    EXPECT_EQ(control(0).raw, 255);
    EXPECT_DOUBLE_EQ(control(0).value(), 1.0);
    EXPECT_EQ(directionOf(control(1)), Direction::Right);
    EXPECT_TRUE(control(2).isHeld());
    EXPECT_EQ(control(3).raw, 17);
}

TEST_F(MonitorListenerTest, ShowsReversedControlsAsTheApplicationReceivesThem) {
    const auto device = plug("Stick");
    start();
    const auto stick = manager_->devices().front();
    manager_->configManager()->setReverseDirection(true, *controlsOf(*stick)[0]);
    platform_.hidServices().unplug(device);
    turn();
    EXPECT_TRUE(listener_->model().controllers.empty());
    const auto again = plug("Stick");
    turn();
    send(again, {0xff, 0x02, 0x01, 0x11});
    EXPECT_EQ(listener_->model().controllers[0]->number, 2U);
    EXPECT_TRUE(control(0).reversed);
    EXPECT_DOUBLE_EQ(control(0).value(), 0.0);
}

TEST_F(MonitorListenerTest, CountsReportsAlsoThoseThatBringNothingNew) {
    const auto device = plug("Stick");
    start();
    for (int i = 0; i < 50; ++i) {
        now_ = milliseconds(1000 + i * 10);
        send(device, {0x80, 0x08, 0x00, 0x00});
    }
    now_ = milliseconds(1900);
    EXPECT_EQ(listener_->model().controllers[0]->reports.perSecond(now_), 50U);
    EXPECT_EQ(laterChanges_, 50);
    EXPECT_LE(soonChanges_, 5) << "values of the first report alone";
}

TEST_F(MonitorListenerTest, CountsValuesWhereNoReportsAreHandedOver) {
    platform::VirtualDeviceDescription description;
    description.properties = {{"PrimaryUsagePage", std::int64_t{1}}, {"PrimaryUsage", std::int64_t{4}}};
    description.elements = std::vector<platform::VirtualElement>{
        {.cookie = 1, .type = platform::kIOHIDElementTypeInput_Axis, .usagePage = 1, .usage = 0x30, .max = 100},
        {.cookie = 2, .type = platform::kIOHIDElementTypeInput_Axis, .usagePage = 1, .usage = 0x31, .max = 100}};
    const auto device = platform_.hidServices().plug(std::move(description));
    start();
    for (int i = 0; i < 20; ++i) {
        now_ = milliseconds(1000 + i * 10);
        platform_.hidServices().send(device, 0, i); // the two of a report
        platform_.hidServices().send(device, 1, i);
        turn();
    }
    EXPECT_EQ(listener_->model().controllers[0]->reports.perSecond(milliseconds(1900)), 20U);
    EXPECT_EQ(laterChanges_, 0);
}

TEST_F(MonitorListenerTest, MeasuresNoiseOfWhatIsReported) {
    const auto device = plug("Stick");
    start();
    send(device, {0x80, 0x08, 0x00, 0x00});
    now_ = milliseconds(1500);
    send(device, {0x82, 0x08, 0x00, 0x00});
    send(device, {0x7f, 0x08, 0x00, 0x00});
    EXPECT_EQ(control(0).noise(now_), 3U);
    now_ = milliseconds(3000);
    EXPECT_EQ(control(0).noise(now_), 0U);
}

TEST_F(MonitorListenerTest, SaysWhatCannotBeUsedUntilItCanOrGoes) {
    const auto device = plug("Locked Stick");
    start();
    platform_.hidServices().unplug(device);
    turn();
    const auto locked = plug("Locked Stick");
    platform_.hidServices().fail(locked, platform::kIOReturnNotPermitted);
    // As the session does it, which is told of failures before the library.
    listener_->controllerUnusable(*manager_, locked.get(), platform::kIOReturnNotPermitted);
    listener_->controllerUnusable(*manager_, locked.get(), platform::kIOReturnExclusiveAccess);
    ASSERT_EQ(listener_->model().unusable.size(), 1U);
    EXPECT_EQ(listener_->model().unusable[0].reason, "another program uses it alone; end that program");
    turn();
    EXPECT_TRUE(listener_->model().unusable.empty());
    EXPECT_EQ(listener_->model().controllers.size(), 1U);
    EXPECT_EQ(listener_->model().latestError,
              statusText(platform::kIOReturnNotPermitted) + remedyText(platform::kIOReturnNotPermitted));

    listener_->controllerUnusable(*manager_, locked.get(), platform::kIOReturnNoDevice);
    platform_.hidServices().unplug(locked);
    EXPECT_FALSE(listener_->hidManagerShouldConnectDevice(*manager_, locked.get())) << "it is being removed";
    EXPECT_TRUE(listener_->model().unusable.empty());
    listener_->hidManagerDeviceDisconnected(*manager_, nullptr);
}

TEST_F(MonitorListenerTest, PassesOverWhatIsNotMeant) {
    const auto device = plug("Stick");
    start("wheel");
    send(device, {0xff, 0x02, 0x01, 0x11});
    listener_->controllerUnusable(*manager_, device.get(), platform::kIOReturnNotPermitted);
    EXPECT_TRUE(listener_->model().controllers.empty());
    EXPECT_TRUE(listener_->model().unusable.empty());
    EXPECT_EQ(laterChanges_, 0);
}

} // namespace
} // namespace qz::tools
