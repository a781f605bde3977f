// SPDX-License-Identifier: MIT
#include "HIDWrapper/QZGCHIDManager.h"

#include "HIDWrapper/QZHIDDevice.h"
#include "QZGameController/QZGCConfigurationManager.h"
#include "platform/virtual/VirtualPlatform.h"
#include "tests/support/FakeHIDManager.h"
#include "tests/support/RecordingDelegate.h"

#include <gmock/gmock.h>

#include <array>
#include <limits>
#include <utility>

using namespace qz::platform;

namespace qz::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::shared_ptr<VirtualDevice> makeHandle(std::string name) {
    VirtualDeviceDescription description;
    description.properties = {{"Product", std::move(name)}};
    return std::make_shared<VirtualDevice>(std::move(description));
}

class QZGCHIDManagerTest : public ::testing::Test {
protected:
    EventLog told() { return std::exchange(events, {}); }

    std::shared_ptr<QZGCConfigurationManager> makeConfigurationManager() {
        return QZGCConfigurationManager::create({}, {}, {}, platform);
    }

    VirtualPlatform platform;
    EventLog events;
    std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>(events);
    std::shared_ptr<QZGCHIDManager> manager = QZGCHIDManager::create(nullptr, platform);
};

TEST_F(QZGCHIDManagerTest, FreshReportsActionsAndNothingElse) {
    EXPECT_FALSE(manager->reportRawValues());
    EXPECT_TRUE(manager->reportMappedValues());
    EXPECT_FALSE(manager->modalMode());
    EXPECT_FALSE(manager->calibrationMode());
    EXPECT_FALSE(manager->successfullySetUp());
    EXPECT_THAT(manager->devices(), IsEmpty());
    EXPECT_THAT(manager->connectedHIDDevices().entries(), IsEmpty());
    EXPECT_EQ(manager->delegate(), nullptr);
    EXPECT_EQ(manager->configManager(), nullptr);
    EXPECT_NE(manager->gameControllerHidManager(), nullptr);
    EXPECT_EQ(&manager->platform(), &platform);
}

TEST_F(QZGCHIDManagerTest, UsesTheStandardPlatformWhenNoneIsNamed) {
    EXPECT_EQ(&QZGCHIDManager::create(nullptr)->platform(), &Platform::standard());
    EXPECT_EQ(&Platform::standard(), &Platform::standard());
}

TEST_F(QZGCHIDManagerTest, HoldsTheConfigurationManagerItIsMadeWith) {
    auto configuration = makeConfigurationManager();
    const std::weak_ptr<QZGCConfigurationManager> watch = configuration;
    manager = QZGCHIDManager::create(configuration, platform);
    EXPECT_EQ(manager->configManager(), configuration);
    configuration.reset();
    EXPECT_FALSE(watch.expired());
    manager.reset();
    EXPECT_TRUE(watch.expired());
}

TEST_F(QZGCHIDManagerTest, LetsEverySwitchBeSet) {
    manager->setReportRawValues(true);
    EXPECT_TRUE(manager->reportRawValues());
    manager->setReportMappedValues(false);
    EXPECT_FALSE(manager->reportMappedValues());
    manager->setCalibrationMode(true);
    EXPECT_TRUE(manager->calibrationMode());
    manager->setSuccessfullySetUp(true);
    EXPECT_TRUE(manager->successfullySetUp());
    manager->setModalMode(true);
    EXPECT_TRUE(manager->modalMode());

    manager->setReportRawValues(false);
    EXPECT_FALSE(manager->reportRawValues());
    manager->setReportMappedValues(true);
    EXPECT_TRUE(manager->reportMappedValues());
    manager->setCalibrationMode(false);
    EXPECT_FALSE(manager->calibrationMode());
    manager->setSuccessfullySetUp(false);
    EXPECT_FALSE(manager->successfullySetUp());
    manager->setModalMode(false);
    EXPECT_FALSE(manager->modalMode());
}

TEST_F(QZGCHIDManagerTest, LetsEveryReferenceBeSet) {
    const auto configuration = makeConfigurationManager();
    manager->setConfigManager(configuration);
    EXPECT_EQ(manager->configManager(), configuration);
    manager->setConfigManager(nullptr);
    EXPECT_EQ(manager->configManager(), nullptr);

    manager->setDelegate(delegate);
    EXPECT_EQ(manager->delegate(), delegate);
    manager->setDelegate(nullptr);
    EXPECT_EQ(manager->delegate(), nullptr);

    const auto handle = makeHandle("pad");
    const auto device = QZHIDDevice::create(handle.get(), manager);
    QZHIDDeviceTable table;
    table.set(handle.get(), device);
    manager->setConnectedHIDDevices(std::move(table));
    EXPECT_THAT(manager->devices(), ElementsAre(device));
    EXPECT_EQ(*manager->connectedHIDDevices().find(handle.get()), device);
    manager->setConnectedHIDDevices({});
    EXPECT_THAT(manager->devices(), IsEmpty());
}

TEST_F(QZGCHIDManagerTest, HoldsTheDelegateWeakly) {
    manager->setupWithDelegate(delegate);
    EXPECT_EQ(delegate.use_count(), 1);
    delegate.reset();
    EXPECT_EQ(manager->delegate(), nullptr);
}

TEST_F(QZGCHIDManagerTest, IsNotHeldByItsDevicesOrThePlatform) {
    manager->setupWithDelegate(delegate);
    const auto handle = makeHandle("pad");
    manager->hidDeviceConnected(handle.get());
    EXPECT_EQ(manager.use_count(), 1);
    const std::shared_ptr<QZHIDDevice> device = manager->devices().at(0);
    EXPECT_EQ(device->manager(), manager);
    manager.reset();
    EXPECT_EQ(device->manager(), nullptr);
}

TEST_F(QZGCHIDManagerTest, GivesThePlatformItsOwnFunctionsWithItselfAsTheContext) {
    FakeHIDManager fake;
    CFRelease(manager->gameControllerHidManager());
    manager->setGameControllerHidManager(&fake);
    manager->registerConnectionCallbacks();
    EXPECT_EQ(fake.matching.function, deviceMatchingCallback);
    EXPECT_EQ(fake.matching.context, manager.get());
    EXPECT_EQ(fake.removal.function, deviceRemovalCallback);
    EXPECT_EQ(fake.removal.context, manager.get());
    EXPECT_EQ(fake.inputValue.function, nullptr);

    EXPECT_EQ(manager->setupWithDelegate(delegate), kIOReturnSuccess);
    EXPECT_EQ(fake.inputValue.function, inputValueCallback);
    EXPECT_EQ(fake.inputValue.context, manager.get());
    EXPECT_EQ(manager.use_count(), 1);
    EXPECT_THAT(fake.criteria, ElementsAre(HIDMatchingDictionary{{"DeviceUsagePage", 1}, {"DeviceUsage", 4}},
                                           HIDMatchingDictionary{{"DeviceUsagePage", 1}, {"DeviceUsage", 5}}));
    EXPECT_THAT(fake.scheduled,
                ElementsAre(FakeHIDManager::Schedule{&platform.currentRunLoop(), kCFRunLoopDefaultMode}));
    EXPECT_THAT(fake.opened, ElementsAre(kIOHIDOptionsTypeNone));

    manager.reset();
    EXPECT_THAT(fake.closed, ElementsAre(kIOHIDOptionsTypeNone));
    EXPECT_THAT(fake.unscheduled,
                ElementsAre(FakeHIDManager::Schedule{&platform.currentRunLoop(), kCFRunLoopDefaultMode}));
    EXPECT_EQ(fake.inputValue.function, nullptr);
    EXPECT_EQ(fake.matching.function, nullptr);
    EXPECT_EQ(fake.removal.function, deviceRemovalCallback) << "it stays registered, by design";
    EXPECT_EQ(fake.released, 1);
}

TEST_F(QZGCHIDManagerTest, PassesOnEveryResultOtherThanZeroFromAnyCallback) {
    manager->setupWithDelegate(delegate);
    const auto handle = makeHandle("pad");
    const HIDValue value{nullptr, 1};
    constexpr std::array<IOReturn, 6> results{
        1,    -1, std::numeric_limits<IOReturn>::min(), std::numeric_limits<IOReturn>::max(), kIOReturnExclusiveAccess,
        0x100};
    for (const IOReturn result : results) {
        const std::string line = "error " + std::to_string(result);
        deviceMatchingCallback(manager.get(), result, nullptr, handle.get());
        EXPECT_THAT(told(), ElementsAre(line));
        EXPECT_THAT(manager->devices(), IsEmpty());
        inputValueCallback(manager.get(), result, nullptr, &value);
        EXPECT_THAT(told(), ElementsAre(line));
    }
    deviceMatchingCallback(manager.get(), kIOReturnSuccess, nullptr, handle.get());
    told();
    for (const IOReturn result : results) {
        deviceRemovalCallback(manager.get(), result, nullptr, handle.get());
        EXPECT_THAT(told(), ElementsAre("error " + std::to_string(result)));
        EXPECT_THAT(namesOfDevices(*manager), ElementsAre("pad"));
    }
    deviceRemovalCallback(manager.get(), kIOReturnSuccess, nullptr, handle.get());
    EXPECT_THAT(told(), ElementsAre("disconnected pad"));
}

TEST_F(QZGCHIDManagerTest, KeepsErrorsToItselfWithoutADelegate) {
    manager->setupWithDelegate(delegate);
    manager->setDelegate(nullptr);
    manager->hidError(-1);
    deviceMatchingCallback(manager.get(), 1, nullptr, nullptr);
    EXPECT_THAT(events, IsEmpty());
}

TEST_F(QZGCHIDManagerTest, DropsValuesThatBelongToNoElement) {
    manager->setReportRawValues(true);
    manager->setupWithDelegate(delegate);
    const HIDValue nowhere{nullptr, 1};
    inputValueCallback(manager.get(), kIOReturnSuccess, nullptr, nullptr);
    inputValueCallback(manager.get(), kIOReturnSuccess, nullptr, &nowhere);
    EXPECT_THAT(events, IsEmpty());
}

TEST_F(QZGCHIDManagerTest, ReplacesADeviceThatIsReportedASecondTime) {
    manager->setupWithDelegate(delegate);
    const auto first = makeHandle("first");
    const auto second = makeHandle("second");
    VirtualHIDServices& services = platform.hidServices();
    services.deliverMatching(kIOReturnSuccess, first.get());
    services.deliverMatching(kIOReturnSuccess, second.get());
    std::shared_ptr<QZHIDDevice> replaced = manager->devices().at(0);
    told();

    services.deliverMatching(kIOReturnSuccess, first.get());
    EXPECT_THAT(told(), ElementsAre("should connect first -> yes", "connected first"));
    EXPECT_THAT(namesOfDevices(*manager), ElementsAre("first", "second"));
    EXPECT_NE(manager->devices().at(0), replaced);
    const std::weak_ptr<QZHIDDevice> watch = replaced;
    replaced.reset();
    EXPECT_TRUE(watch.expired());

    services.deliverRemoval(kIOReturnSuccess, first.get());
    EXPECT_THAT(told(), ElementsAre("disconnected first"));
    EXPECT_THAT(namesOfDevices(*manager), ElementsAre("second"));
}

TEST_F(QZGCHIDManagerTest, KeepsADeviceWhoseSecondReportIsRefused) {
    manager->setupWithDelegate(delegate);
    const auto handle = makeHandle("pad");
    manager->hidDeviceConnected(handle.get());
    const std::shared_ptr<QZHIDDevice> device = manager->devices().at(0);
    delegate->refuse("pad");
    manager->hidDeviceConnected(handle.get());
    EXPECT_THAT(told(), ElementsAre("should connect pad -> yes", "connected pad", "should connect pad -> no"));
    EXPECT_THAT(manager->devices(), ElementsAre(device));
}

TEST_F(QZGCHIDManagerTest, HandsTheHandleAndTheDeviceToItsDelegate) {
    /// Looks at the arguments themselves.
    class Looking final : public QZGCHIDManagerDelegate {
    public:
        bool hidManagerShouldConnectDevice(QZGCHIDManager& manager, IOHIDDeviceRef device) override {
            asking = &manager;
            asked = device;
            return true;
        }
        void hidManagerDeviceConnected(QZGCHIDManager& manager, const std::shared_ptr<QZHIDDevice>& device) override {
            telling = &manager;
            connected = device;
        }
        void hidManagerDeviceDisconnected(QZGCHIDManager& /*manager*/,
                                          const std::shared_ptr<QZHIDDevice>& device) override {
            disconnected = device;
        }
        void hidManagerElementNewRawValue(QZGCHIDManager& /*manager*/, const std::shared_ptr<QZHIDElement>& /*element*/,
                                          std::int64_t /*newRawValue*/) override {}
        void hidManagerActionNewValue(QZGCHIDManager& /*manager*/, const std::string& /*action*/,
                                      double /*newValue*/) override {}
        void hidManagerHidError(QZGCHIDManager& /*manager*/, IOReturn result) override { error = result; }

        QZGCHIDManager* asking = nullptr;
        QZGCHIDManager* telling = nullptr;
        IOHIDDeviceRef asked = nullptr;
        std::shared_ptr<QZHIDDevice> connected;
        std::shared_ptr<QZHIDDevice> disconnected;
        IOReturn error = 0;
    };
    const auto looking = std::make_shared<Looking>();
    manager->setupWithDelegate(looking);
    const auto handle = makeHandle("pad");
    manager->hidDeviceConnected(handle.get());
    EXPECT_EQ(looking->asking, manager.get());
    EXPECT_EQ(looking->asked, handle.get());
    EXPECT_EQ(looking->telling, manager.get());
    EXPECT_EQ(looking->connected, manager->devices().at(0));
    EXPECT_EQ(looking->connected->ioHIDDeviceRef(), handle.get());
    manager->hidDeviceDisconnected(handle.get());
    EXPECT_EQ(looking->disconnected, looking->connected);
    manager->hidError(std::numeric_limits<IOReturn>::min());
    EXPECT_EQ(looking->error, std::numeric_limits<IOReturn>::min());
}

TEST_F(QZGCHIDManagerTest, BearsTheRemovalOfADeviceInsideItsOwnConnectionCallback) {
    manager->setupWithDelegate(delegate);
    const auto handle = makeHandle("pad");
    delegate->inside(Callback::Connected, [&](QZGCHIDManager&) {
        platform.hidServices().deliverRemoval(kIOReturnSuccess, handle.get());
        EXPECT_THAT(manager->devices(), IsEmpty());
    });
    platform.hidServices().deliverMatching(kIOReturnSuccess, handle.get());
    EXPECT_THAT(told(), ElementsAre("should connect pad -> yes", "connected pad", "disconnected pad"));
    EXPECT_THAT(manager->devices(), IsEmpty());
}

TEST_F(QZGCHIDManagerTest, BearsTheRemovalOfADeviceWhileItIsAskedAbout) {
    manager->setupWithDelegate(delegate);
    const auto handle = makeHandle("pad");
    delegate->onceInside(Callback::ShouldConnect, [&](QZGCHIDManager&) {
        platform.hidServices().deliverRemoval(kIOReturnSuccess, handle.get());
    });
    platform.hidServices().deliverMatching(kIOReturnSuccess, handle.get());
    EXPECT_THAT(told(), ElementsAre("should connect pad -> yes", "should connect pad -> yes", "disconnected null",
                                    "connected pad"));
    EXPECT_THAT(namesOfDevices(*manager), ElementsAre("pad"));
}

TEST_F(QZGCHIDManagerTest, DisconnectsNullAlsoWhenTheDeviceIsAdmittedWhileItsRemovalIsAskedAbout) {
    manager->setupWithDelegate(delegate);
    const auto handle = makeHandle("pad");
    delegate->onceInside(Callback::ShouldConnect, [&](QZGCHIDManager&) {
        platform.hidServices().deliverMatching(kIOReturnSuccess, handle.get());
        EXPECT_THAT(namesOfDevices(*manager), ElementsAre("pad"));
    });
    platform.hidServices().deliverRemoval(kIOReturnSuccess, handle.get());
    // What was found when the removal arrived is what is disconnected; the entry goes all the same.
    EXPECT_THAT(told(), ElementsAre("should connect pad -> yes", "should connect pad -> yes", "connected pad",
                                    "disconnected null"));
    EXPECT_THAT(manager->devices(), IsEmpty());
}

TEST_F(QZGCHIDManagerTest, BearsANullDeviceFromThePlatform) {
    manager->setupWithDelegate(delegate);
    platform.hidServices().deliverMatching(kIOReturnSuccess, nullptr);
    EXPECT_THAT(manager->devices(), ::testing::SizeIs(1));
    platform.hidServices().deliverRemoval(kIOReturnSuccess, nullptr);
    EXPECT_THAT(manager->devices(), IsEmpty());
    EXPECT_THAT(told(), ElementsAre("should connect null -> yes", "connected unnamed", "disconnected unnamed"));
}

TEST_F(QZGCHIDManagerTest, KeepsItsDevicesWhateverElseHappens) {
    manager->setupWithDelegate(delegate);
    const auto handle = makeHandle("pad");
    manager->hidDeviceConnected(handle.get());
    manager->hidError(kIOReturnNoDevice);
    manager->setModalMode(true);
    manager->unscheduleFromRunLoop();
    manager->setDelegate(nullptr);
    platform.hidServices().setOpenResult(kIOReturnIOError);
    manager->setupWithDelegate(nullptr);
    EXPECT_THAT(namesOfDevices(*manager), ElementsAre("pad"));
}

TEST_F(QZGCHIDManagerTest, MakesDevicesThatAreNotSwitchedOnByItsOwnModes) {
    manager->setCalibrationMode(true);
    const auto handle = makeHandle("pad");
    manager->hidDeviceConnected(handle.get());
    const std::shared_ptr<QZHIDDevice> device = manager->devices().at(0);
    EXPECT_FALSE(device->isInLimitedVRMode());
    EXPECT_EQ(device->limitedVRHysteresis(), 0.0);
}

TEST_F(QZGCHIDManagerTest, ReleasesItsDevicesWithItself) {
    const auto handle = makeHandle("pad");
    manager->hidDeviceConnected(handle.get());
    const std::weak_ptr<QZHIDDevice> device = manager->devices().at(0);
    EXPECT_FALSE(device.expired());
    manager.reset();
    EXPECT_TRUE(device.expired());
}

} // namespace
} // namespace qz::tests
