// SPDX-License-Identifier: MIT
#include "tests/support/DispatchFixture.h"

#include <array>
#include <stdexcept>

namespace qz::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

enum class Call { ShouldConnect, Connected, Disconnected, RawValue, Action, Error };

/// What a delegate may do inside each of its six calls, which is anything.
class DelegateCall : public DispatchFixture, public testing::WithParamInterface<Call> {
protected:
    void SetUp() override {
        DispatchFixture::SetUp();
        hidManager_->setReportRawValues(true);
        device_ = plug("A");
    }

    /// Lets `script` run inside the call under test, once.
    void script(std::function<void()> script) {
        auto once = [this, script = std::move(script)] {
            if (!std::exchange(ran_, true)) {
                script();
            }
        };
        switch (GetParam()) {
        case Call::ShouldConnect:
            delegate_->onShouldConnect = [once] {
                once();
                return true;
            };
            return;
        case Call::Connected:
            delegate_->onConnected = once;
            return;
        case Call::Disconnected:
            delegate_->onDisconnected = once;
            return;
        case Call::RawValue:
            delegate_->onRawValue = once;
            return;
        case Call::Action:
            delegate_->onAction = once;
            return;
        case Call::Error:
            delegate_->onError = once;
            return;
        }
    }

    /// Makes the platform do what leads to the call, and turns the loop.
    void provoke() {
        switch (GetParam()) {
        case Call::ShouldConnect:
        case Call::Connected:
            platform_.hidServices().plug(gamepad("N", {button(1)}));
            break;
        case Call::Disconnected:
            platform_.hidServices().unplug(device_);
            break;
        case Call::RawValue:
        case Call::Action:
            platform_.hidServices().send(device_, 0, 1);
            break;
        case Call::Error:
            platform_.hidServices().deliverInputValue(platform::kIOReturnError, nullptr);
            break;
        }
        turn();
        EXPECT_TRUE(ran_);
    }

    /// That the manager still does its work, with a device of its own.
    void expectWhole() {
        delegate_->takeEvents();
        const auto device = platform_.hidServices().plug(gamepad("W", {button(7), axis(8, usageX)}));
        turn();
        EXPECT_THAT(delegate_->takeEvents(), Contains("connected W"));
        EXPECT_THAT(eventsOf(device, 0, 1), Contains("raw 7 = 1"));
        EXPECT_THAT(eventsOf(device, 1, 64), Contains("raw 8 = 64"));
        platform_.hidServices().unplug(device);
        turn();
        EXPECT_THAT(delegate_->takeEvents(), Contains("disconnected W"));
        for (const auto& [handle, connected] : hidManager_->connectedHIDDevices().entries()) {
            EXPECT_EQ(*hidManager_->connectedHIDDevices().find(handle), connected);
        }
    }

    std::shared_ptr<VirtualDevice> device_;
    bool ran_ = false;
};

std::string nameOf(const testing::TestParamInfo<Call>& call) {
    constexpr std::array names{"ShouldConnect", "Connected", "Disconnected", "RawValue", "Action", "Error"};
    return names.at(static_cast<std::size_t>(call.param));
}

INSTANTIATE_TEST_SUITE_P(Calls, DelegateCall,
                         testing::Values(Call::ShouldConnect, Call::Connected, Call::Disconnected, Call::RawValue,
                                         Call::Action, Call::Error),
                         nameOf);

TEST_P(DelegateCall, MayReceiveAnotherValueWhole) {
    const auto other = plug("O");
    std::vector<std::string> inside;
    script([&] {
        const auto before = delegate_->takeEvents();
        deliver(other->element(1), 64);
        inside = delegate_->takeEvents();
    });
    provoke();
    EXPECT_THAT(inside, ElementsAre("raw 2 = 64", "action x1 = 0.25"));
    expectWhole();
}

TEST_P(DelegateCall, MayRunTheLoopAgainWithoutGettingTheNextValueFirst) {
    const auto other = plug("O");
    script([&] {
        platform_.hidServices().send(other, 1, 64);
        const auto before = delegate_->takeEvents();
        turn();
        EXPECT_THAT(delegate_->events, IsEmpty());
    });
    provoke();
    EXPECT_THAT(delegate_->events, Contains("action x1 = 0.25"));
    expectWhole();
}

TEST_P(DelegateCall, MayDisconnectTheDevice) {
    script([&] { hidManager_->hidDeviceDisconnected(device_.get()); });
    provoke();
    EXPECT_EQ(admitted(device_), nullptr);
    expectWhole();
}

TEST_P(DelegateCall, MayDisconnectEverything) {
    script([&] { hidManager_->setConnectedHIDDevices({}); });
    provoke();
    EXPECT_EQ(admitted(device_), nullptr);
    expectWhole();
}

TEST_P(DelegateCall, MayConnectTheDeviceAnew) {
    script([&] { hidManager_->hidDeviceConnected(device_.get()); });
    provoke();
    expectWhole();
}

TEST_P(DelegateCall, MayEditEverything) {
    const auto itsElement = element(device_, 1);
    const auto itsDevice = admitted(device_);
    script([&] {
        configurations_->makeAndRegisterDefaultConfiguration(*itsDevice);
        configurations_->setMapping(*itsElement, Action("edited"));
        configurations_->setReverseDirection(true, *itsElement);
        configurations_->setDeviceTypeConfigs({});
        configurations_->saveUserDefaults();
    });
    provoke();
    EXPECT_NE(platform_.userDefaults().dictionaryForKey(configKey), nullptr);
    EXPECT_EQ(configurations_->actionString(*itsElement), "edited");
    configurations_->setDeviceInstanceConfigs({});
    expectWhole();
}

TEST_P(DelegateCall, MayTakeTheConfigurationAway) {
    script([&] {
        configurations_.reset();
        hidManager_->setConfigManager(nullptr);
    });
    provoke();
    expectWhole();
}

TEST_P(DelegateCall, MayEnterCalibration) {
    const auto other = plug("O");
    script([&] {
        hidManager_->startCalibration();
        hidManager_->startLimitedValueReportingWithHysteresis(0.5);
    });
    provoke();
    EXPECT_THAT(eventsOf(other, 1, 64), IsEmpty());
    hidManager_->endCalibration();
    hidManager_->endLimitedValueReporting();
    expectWhole();
}

TEST_P(DelegateCall, MayEnterAndLeaveCalibration) {
    plug("O");
    script([&] {
        hidManager_->startCalibration();
        hidManager_->endCalibration();
    });
    provoke();
    EXPECT_NE(platform_.userDefaults().dictionaryForKey("QZGameController-Calibrations-121-305"), nullptr);
    expectWhole();
}

TEST_P(DelegateCall, MayReplaceTheDelegate) {
    const auto successor = std::make_shared<ScriptedDelegate>();
    script([&] { hidManager_->setDelegate(successor); });
    provoke();
    const auto toldBefore = delegate_->takeEvents();
    EXPECT_FALSE(toldBefore.empty());
    if (GetParam() == Call::ShouldConnect) {
        EXPECT_THAT(successor->events, ElementsAre("connected N"));
    } else if (GetParam() == Call::RawValue) {
        EXPECT_THAT(successor->events, ElementsAre("action b1 = 1"));
    } else {
        EXPECT_THAT(successor->events, IsEmpty());
    }
    delegate_ = successor;
    expectWhole();
}

TEST_P(DelegateCall, MayBeTheLastOfItsDelegate) {
    script([&] { delegate_.reset(); });
    provoke();
    EXPECT_EQ(hidManager_->delegate(), nullptr);
    delegate_ = std::make_shared<ScriptedDelegate>();
    hidManager_->setDelegate(delegate_);
    expectWhole();
}

TEST_P(DelegateCall, MayLetGoOfTheManager) {
    const std::weak_ptr<QZGCHIDManager> manager = hidManager_;
    bool livedOn = false;
    script([&] {
        hidManager_.reset();
        livedOn = !manager.expired();
    });
    provoke();
    EXPECT_TRUE(livedOn) << "to the end of the call";
    EXPECT_TRUE(manager.expired()) << "and no longer";
    platform_.hidServices().send(device_, 0, 0);
    platform_.hidServices().plug(gamepad("N", {}));
    const auto before = delegate_->takeEvents();
    turn();
    EXPECT_THAT(delegate_->events, IsEmpty());
}

TEST_P(DelegateCall, MayLetGoOfTheManagerAndItsDelegateAndConfiguration) {
    const std::weak_ptr<QZGCConfigurationManager> configurations = configurations_;
    script([&] {
        hidManager_.reset();
        configurations_.reset();
        delegate_.reset();
    });
    provoke();
    EXPECT_TRUE(configurations.expired());
}

TEST_P(DelegateCall, MayThrow) {
    script([] { throw std::runtime_error("from the application"); });
    EXPECT_THROW(provoke(), std::runtime_error);
    turn();
    expectWhole();
}

TEST_P(DelegateCall, MayThrowAfterItLetGoOfTheManager) {
    const std::weak_ptr<QZGCHIDManager> manager = hidManager_;
    script([&] {
        hidManager_.reset();
        throw std::runtime_error("from the application");
    });
    EXPECT_THROW(provoke(), std::runtime_error);
    EXPECT_TRUE(manager.expired());
    turn();
}

class Reentry : public DispatchFixture {
protected:
    void SetUp() override {
        DispatchFixture::SetUp();
        hidManager_->setReportRawValues(true);
        device_ = plug("A");
    }

    std::shared_ptr<VirtualDevice> device_;
};

TEST_F(Reentry, NamesTheActionThatTheRawCallLeavesBehind) {
    configurations_->existingOrDefaultConfiguration(*admitted(device_));
    delegate_->onRawValue = [&] { configurations_->setMapping(*element(device_, 1), Action("edited")); };
    EXPECT_THAT(eventsOf(device_, 0, 1), ElementsAre("raw 1 = 1", "action edited = 1"));
    delegate_->onRawValue = [&] { configurations_->clearMapping(*element(device_, 1)); };
    EXPECT_THAT(eventsOf(device_, 0, 0), ElementsAre("raw 1 = 0"));
}

TEST_F(Reentry, ReversesOnlyTheValuesAfterTheOneInProgress) {
    configurations_->existingOrDefaultConfiguration(*admitted(device_));
    delegate_->onRawValue = [&] { configurations_->setReverseDirection(true, *element(device_, 2)); };
    EXPECT_THAT(eventsOf(device_, 1, 64), ElementsAre("raw 2 = 64", "action x1 = 0.25"));
    EXPECT_THAT(eventsOf(device_, 1, 32), ElementsAre("raw 2 = 32", "action x1 = 0.875"));
}

TEST_F(Reentry, FollowsTheFlagThatTheRawCallLeavesBehind) {
    delegate_->onRawValue = [&] { hidManager_->setReportMappedValues(false); };
    EXPECT_THAT(eventsOf(device_, 0, 1), ElementsAre("raw 1 = 1"));
}

TEST_F(Reentry, FinishesAValueWhoseRawCallEntersCalibration) {
    delegate_->onRawValue = [&] { hidManager_->startCalibration(); };
    EXPECT_THAT(eventsOf(device_, 1, 64), ElementsAre("raw 2 = 64", "action x1 = 0.25"));
    EXPECT_THAT(eventsOf(device_, 1, 32), IsEmpty());
    EXPECT_EQ(element(device_, 2)->calibrationMin(), 32);
}

TEST_F(Reentry, NamesNoActionOfADeviceThatTheRawCallEnded) {
    delegate_->onRawValue = [&] { hidManager_->hidDeviceDisconnected(device_.get()); };
    EXPECT_THAT(eventsOf(device_, 0, 1), ElementsAre("raw 1 = 1", "disconnected A"));
    EXPECT_THAT(configurations_->deviceTypeConfigs(), IsEmpty());
}

TEST_F(Reentry, SendsNoActionWhenTheRawCallTakesTheDelegateAway) {
    delegate_->onRawValue = [&] { hidManager_->setDelegate(nullptr); };
    EXPECT_THAT(eventsOf(device_, 0, 1), ElementsAre("raw 1 = 1"));
}

TEST_F(Reentry, SendsNoActionWhenTheRawCallThrows) {
    delegate_->onRawValue = [] { throw std::runtime_error("from the application"); };
    EXPECT_THROW(send(device_, 0, 1), std::runtime_error);
    EXPECT_THAT(delegate_->takeEvents(), ElementsAre("raw 1 = 1"));
    delegate_->onRawValue = nullptr;
    EXPECT_THAT(eventsOf(device_, 0, 1), IsEmpty()) << "it counts as reported";
    EXPECT_THAT(eventsOf(device_, 0, 0), ElementsAre("raw 1 = 0", "action b1 = 0"));
}

TEST_F(Reentry, DeliversANestedValueOfTheSameElementBeforeTheActionOfTheOuterOne) {
    delegate_->onRawValue = [&] {
        delegate_->onRawValue = nullptr;
        deliver(device_->element(1), 32);
    };
    EXPECT_THAT(eventsOf(device_, 1, 64),
                ElementsAre("raw 2 = 64", "raw 2 = 32", "action x1 = 0.125", "action x1 = 0.25"));
    EXPECT_EQ(element(device_, 2)->lastReportedValue(), 0.125);
}

TEST_F(Reentry, KeepsTheNameOfAnActionThatIsUnmappedInItsCall) {
    const std::string longName(1000, 'n');
    configurations_->existingOrDefaultConfiguration(*admitted(device_));
    configurations_->setMapping(*element(device_, 1), Action(longName));
    delegate_->onAction = [&] {
        configurations_->setMapping(*element(device_, 1), Action("other"));
        configurations_->setDeviceInstanceConfigs({});
        configurations_->setDeviceTypeConfigs({});
    };
    send(device_, 0, 1);
    EXPECT_EQ(delegate_->lastAction, longName);
}

TEST_F(Reentry, AdmitsNothingWhenTheQuestionThrows) {
    delegate_->onShouldConnect = []() -> bool { throw std::runtime_error("from the application"); };
    const auto device = platform_.hidServices().plug(gamepad("N", {button(1)}));
    EXPECT_THROW(turn(), std::runtime_error);
    EXPECT_EQ(admitted(device), nullptr);
    delegate_->onShouldConnect = [] { return true; };
    deliver(device->element(0), 1);
    EXPECT_THAT(delegate_->takeEvents(), ElementsAre("should connect?"));
}

TEST_F(Reentry, HasStoredOrRemovedTheDeviceWhenItsCallThrows) {
    delegate_->onConnected = [] { throw std::runtime_error("from the application"); };
    const auto device = platform_.hidServices().plug(gamepad("N", {button(1)}));
    EXPECT_THROW(turn(), std::runtime_error);
    EXPECT_NE(admitted(device), nullptr);
    EXPECT_THAT(eventsOf(device, 0, 1), ElementsAre("raw 1 = 1", "action b1 = 1"));
    delegate_->onDisconnected = [] { throw std::runtime_error("from the application"); };
    platform_.hidServices().unplug(device);
    EXPECT_THROW(turn(), std::runtime_error);
    EXPECT_EQ(admitted(device), nullptr);
}

} // namespace
} // namespace qz::test
