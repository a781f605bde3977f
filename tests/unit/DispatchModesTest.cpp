// SPDX-License-Identifier: MIT
#include "tests/support/DispatchFixture.h"

#include "platform/UserDefaults.h"
#include "platform/virtual/JournalPlatform.h"

namespace qz::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class CalibrationMode : public DispatchFixture {
protected:
    static std::pair<std::int64_t, std::int64_t> seen(const QZHIDElement& element) {
        return {element.calibrationMin(), element.calibrationMax()};
    }
    static std::pair<std::int64_t, std::int64_t> observed(const QZHIDElement& element) {
        return {element.observedMin(), element.observedMax()};
    }
    using Range = std::pair<std::int64_t, std::int64_t>;
};

TEST_F(CalibrationMode, ReportsNothingAndMovesNoRecordOfReportedValues) {
    const auto device = plug();
    hidManager_->setReportRawValues(true);
    hidManager_->startCalibration();
    for (std::size_t index = 0; index < 4; ++index) {
        EXPECT_THAT(eventsOf(device, index, 1), IsEmpty());
    }
    EXPECT_EQ(element(device, 1)->lastReportedValue(), 0.0);
    EXPECT_EQ(element(device, 2)->lastReportedValue(), 0.5);
    EXPECT_THAT(configurations_->deviceTypeConfigs(), IsEmpty());
    hidManager_->endCalibration();
    EXPECT_THAT(eventsOf(device, 0, 1), ElementsAre("raw 1 = 1", "action b1 = 1"));
}

TEST_F(CalibrationMode, FeedsMovingControlsAlone) {
    const auto device = plug();
    hidManager_->startCalibration();
    for (const std::int64_t raw : {100, 50, 200}) {
        send(device, 1, raw);
        send(device, 0, raw);
    }
    EXPECT_EQ(seen(*element(device, 2)), Range(50, 200));
    EXPECT_EQ(observed(*element(device, 2)), Range(0, 256)) << "the range changes only at the end";
    EXPECT_EQ(seen(*element(device, 1)), Range(0, 0)) << "a button is not subject to calibration";
    hidManager_->endCalibration();
    EXPECT_EQ(observed(*element(device, 2)), Range(50, 200));
    EXPECT_EQ(observed(*element(device, 1)), Range(0, 1));
}

TEST_F(CalibrationMode, NeedsNoDelegate) {
    const auto device = plug();
    hidManager_->setDelegate(nullptr);
    hidManager_->startCalibration();
    send(device, 1, 100);
    send(device, 1, 200);
    EXPECT_EQ(seen(*element(device, 2)), Range(100, 200));
}

TEST_F(CalibrationMode, DropsValuesOfUnknownDevicesAndElements) {
    const auto device = plug();
    hidManager_->startCalibration();
    const platform::HIDElement unknown{.cookie = 99, .children = std::nullopt, .device = device.get()};
    deliver(&unknown, 1);
    deliver(nullptr, 1);
    platform_.hidServices().deliverInputValue(platform::kIOReturnSuccess, nullptr);
    const auto stranger = std::make_shared<VirtualDevice>(gamepad("S", {axis(2, usageX)}));
    deliver(stranger->element(0), 100);
    EXPECT_EQ(seen(*element(device, 2)), Range(256, 0)) << "as it was started";
}

TEST_F(CalibrationMode, IsEnteredAndLeftOnce) {
    const auto device = plug();
    hidManager_->endCalibration();
    EXPECT_THAT(platform_.userDefaults().dictionaryRepresentation(), IsEmpty()) << "it was not entered";

    hidManager_->startCalibration();
    EXPECT_TRUE(hidManager_->calibrationMode());
    send(device, 1, 100);
    send(device, 1, 200);
    hidManager_->startCalibration();
    EXPECT_EQ(seen(*element(device, 2)), Range(100, 200)) << "the devices are started once";

    hidManager_->endCalibration();
    EXPECT_FALSE(hidManager_->calibrationMode());
    platform_.userDefaults().removeObjectForKey("QZGameController-Calibrations-121-305");
    hidManager_->endCalibration();
    EXPECT_THAT(platform_.userDefaults().dictionaryRepresentation(), IsEmpty()) << "the devices are ended once";
}

TEST_F(CalibrationMode, TellsEveryDeviceInTheirOrder) {
    platform::JournalPlatform journal(platform_);
    const auto hidManager = QZGCHIDManager::create(nullptr, journal);
    hidManager->setupWithDelegate(nullptr);
    for (const std::int64_t product : {30, 10, 20}) {
        VirtualDeviceDescription description = gamepad("A", {axis(1, usageX)});
        description.properties["ProductID"] = product;
        platform_.hidServices().plug(std::move(description));
    }
    turn();
    ASSERT_EQ(hidManager->devices().size(), 3U);
    hidManager->startCalibration();
    for (const auto& device : hidManager->devices()) {
        EXPECT_EQ(seen(*device->elementWithCookie(1)), Range(256, 0));
    }
    journal.takeEntries();
    hidManager->endCalibration();
    EXPECT_THAT(journal.takeEntries(),
                ElementsAre("setObjectForKey(QZGameController-Calibrations-121-30)", "synchronize()",
                            "setObjectForKey(QZGameController-Calibrations-121-10)", "synchronize()",
                            "setObjectForKey(QZGameController-Calibrations-121-20)", "synchronize()"));
}

/// Preferences that say when they are written.
class ObservedDefaults final : public platform::UserDefaults {
public:
    std::function<void()> onSet;

    const PropertyList* objectForKey(std::string_view key) const override { return stored_.objectForKey(key); }
    void setObjectForKey(PropertyList object, std::string_view key) override {
        stored_.setObjectForKey(std::move(object), key);
        onSet();
    }
    void removeObjectForKey(std::string_view key) override { stored_.removeObjectForKey(key); }
    bool synchronize() override { return true; }
    const Dictionary& dictionaryRepresentation() const override { return stored_.dictionaryRepresentation(); }
    std::string lastError() const override { return {}; }

private:
    platform::VolatileUserDefaults stored_;
};

class ObservedPlatform final : public platform::Platform {
public:
    explicit ObservedPlatform(VirtualPlatform& wrapped) : wrapped_(wrapped) {}

    platform::HIDServices& hidServices() override { return wrapped_.hidServices(); }
    platform::RunLoop& currentRunLoop() override { return wrapped_.currentRunLoop(); }
    ObservedDefaults& userDefaults() override { return userDefaults_; }
    platform::SystemLog& systemLog() override { return wrapped_.systemLog(); }

private:
    VirtualPlatform& wrapped_;
    ObservedDefaults userDefaults_;
};

TEST_F(CalibrationMode, IsLeftBeforeTheDevicesAreTold) {
    ObservedPlatform observed(platform_);
    const auto hidManager = QZGCHIDManager::create(nullptr, observed);
    hidManager->setupWithDelegate(nullptr);
    plug();
    hidManager->startCalibration();
    std::vector<bool> modes;
    observed.userDefaults().onSet = [&] {
        modes.push_back(hidManager->calibrationMode());
        hidManager->endCalibration(); // nothing: the mode has been left
    };
    hidManager->endCalibration();
    EXPECT_THAT(modes, ElementsAre(false));
}

TEST_F(CalibrationMode, IsLeftByAllDevicesOfThatMomentWhateverHappensMeanwhile) {
    ObservedPlatform observed(platform_);
    const auto hidManager = QZGCHIDManager::create(nullptr, observed);
    hidManager->setupWithDelegate(nullptr);
    const auto first = plug("A");
    plug("B");
    hidManager->startCalibration();
    int saves = 0;
    observed.userDefaults().onSet = [&] {
        if (++saves == 1) {
            hidManager->hidDeviceDisconnected(first.get());
            hidManager->startCalibration();
        }
    };
    hidManager->endCalibration();
    EXPECT_TRUE(hidManager->calibrationMode());
    EXPECT_EQ(saves, 2);
}

TEST_F(CalibrationMode, CoversDevicesThatConnectMeanwhileWithoutStartingThem) {
    plug("A");
    hidManager_->setReportRawValues(true);
    hidManager_->startCalibration();
    const auto late = plug("B");
    EXPECT_EQ(seen(*element(late, 2)), Range(0, 0));
    EXPECT_THAT(eventsOf(late, 1, 100), IsEmpty());
    EXPECT_EQ(seen(*element(late, 2)), Range(0, 100)) << "its values take the way of calibration";
    EXPECT_EQ(element(late, 2)->lastReportedValue(), 0.5);
}

TEST_F(CalibrationMode, IsAFlagThatCanBeSetAlone) {
    const auto device = plug();
    hidManager_->setCalibrationMode(true);
    EXPECT_EQ(seen(*element(device, 2)), Range(0, 0)) << "the device was not told";
    EXPECT_THAT(eventsOf(device, 1, 100), IsEmpty());
    hidManager_->setCalibrationMode(false);
    EXPECT_THAT(platform_.userDefaults().dictionaryRepresentation(), IsEmpty());
    EXPECT_THAT(eventsOf(device, 1, 64), ElementsAre("action x1 = 0.25"));
}

TEST_F(CalibrationMode, MakesErrorsNoLessAudible) {
    plug();
    hidManager_->startCalibration();
    platform_.hidServices().deliverInputValue(platform::kIOReturnIOError, nullptr);
    EXPECT_THAT(delegate_->takeEvents(), ElementsAre("error 0xe00002ca"));
}

class LimitedValueReporting : public DispatchFixture {};

TEST_F(LimitedValueReporting, IsSwitchedForEveryDeviceThatIsConnected) {
    const auto first = plug("A");
    const auto second = plug("B");
    hidManager_->startLimitedValueReportingWithHysteresis(0.25);
    for (const auto& device : hidManager_->devices()) {
        EXPECT_TRUE(device->isInLimitedVRMode());
        EXPECT_EQ(device->limitedVRHysteresis(), 0.25);
    }
    const auto late = plug("C");
    EXPECT_FALSE(admitted(late)->isInLimitedVRMode());
    EXPECT_THAT(eventsOf(first, 1, 64), IsEmpty()) << "a change of exactly the hysteresis";
    EXPECT_THAT(eventsOf(second, 1, 63), ElementsAre("action x1 = 0.24609375"));
    EXPECT_THAT(eventsOf(late, 1, 127), ElementsAre("action x1 = 0.49609375"));
    hidManager_->endLimitedValueReporting();
    for (const auto& device : hidManager_->devices()) {
        EXPECT_FALSE(device->isInLimitedVRMode());
    }
    EXPECT_THAT(eventsOf(first, 1, 127), ElementsAre("action x1 = 0.49609375"));
}

TEST_F(LimitedValueReporting, PassesTheHysteresisOnForTheDevicesToClamp) {
    const auto device = plug();
    for (const auto& [given, kept] :
         {std::pair{2.0, 1.0}, std::pair{-1.0, 0.0}, std::pair{0.3, 0.3}, std::pair{1.0, 1.0}, std::pair{0.0, 0.0}}) {
        hidManager_->startLimitedValueReportingWithHysteresis(given);
        EXPECT_EQ(admitted(device)->limitedVRHysteresis(), kept);
    }
}

TEST_F(LimitedValueReporting, FiltersRawValuesToo) {
    const auto device = plug();
    hidManager_->setReportRawValues(true);
    hidManager_->startLimitedValueReportingWithHysteresis(0.25);
    EXPECT_THAT(eventsOf(device, 3, 64), IsEmpty());
    EXPECT_THAT(eventsOf(device, 3, 63), ElementsAre("raw 4 = 63"));
}

TEST_F(LimitedValueReporting, LeavesTwoStateElementsAlone) {
    const auto device = plug();
    element(device, 1)->setTwoState(true);
    hidManager_->startLimitedValueReportingWithHysteresis(1.0);
    EXPECT_THAT(eventsOf(device, 0, 1), ElementsAre("action b1 = 1"));
    EXPECT_THAT(eventsOf(device, 0, 0), ElementsAre("action b1 = 0"));
}

TEST_F(LimitedValueReporting, IsAMatterOfTheDevicesAlone) {
    const auto device = plug();
    hidManager_->startLimitedValueReportingWithHysteresis(0.25);
    admitted(device)->endLimitedValueReporting();
    EXPECT_THAT(eventsOf(device, 1, 127), ElementsAre("action x1 = 0.49609375"));
}

} // namespace
} // namespace qz::test
