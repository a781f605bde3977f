// SPDX-License-Identifier: MIT
#include "tests/support/CountedAllocations.h"
#include "tests/support/DispatchFixture.h"

#include <limits>

namespace qz::test {
namespace {

using platform::HIDElement;
using platform::HIDValue;
using testing::ElementsAre;
using testing::IsEmpty;

class Dispatch : public DispatchFixture {
protected:
    void reverse(const std::shared_ptr<QZHIDElement>& element) {
        configurations_->existingOrDefaultConfiguration(*element->device());
        configurations_->setReverseDirection(true, *element);
        ASSERT_TRUE(configurations_->mustReverseDirection(*element));
    }
};

TEST_F(Dispatch, FindsTheElementByTheHandleOfItsDeviceAndItsCookie) {
    const auto first = plug("A");
    const auto second = plug("B");
    const HIDValue value{second->element(1), 0};
    EXPECT_EQ(hidManager_->elementForValueRef(&value), element(second, 2));
    EXPECT_NE(hidManager_->elementForValueRef(&value), element(first, 2));
    const HIDElement record{.cookie = 3, .children = std::nullopt, .device = first.get()};
    const HIDValue ofRecord{&record, 0};
    EXPECT_EQ(hidManager_->elementForValueRef(&ofRecord), element(first, 3)) << "by the cookie, not by the handle";
}

TEST_F(Dispatch, FindsNoElementForWhatBelongsToNone) {
    const auto device = plug();
    const HIDElement unknown{.cookie = 99, .children = std::nullopt, .device = device.get()};
    const HIDElement ofNoDevice{.cookie = 1, .children = std::nullopt, .device = nullptr};
    hidManager_->setReportRawValues(true);
    for (const platform::IOHIDElementRef each : {&unknown, &ofNoDevice, platform::IOHIDElementRef()}) {
        const HIDValue value{each, 1};
        EXPECT_EQ(hidManager_->elementForValueRef(&value), nullptr);
        hidManager_->inputValueUpdate(&value);
    }
    EXPECT_EQ(hidManager_->elementForValueRef(nullptr), nullptr);
    hidManager_->inputValueUpdate(nullptr);
    EXPECT_THAT(delegate_->events, IsEmpty());
}

TEST_F(Dispatch, WidensACookieWithSignWhereElementsWidenItWithZeros) {
    const auto device = platform_.hidServices().plug(gamepad("A", {button(0x7FFF'FFFF), button(0x8000'0001)}));
    turn();
    const auto itsDevice = admitted(device);
    EXPECT_NE(itsDevice->elementWithCookie(0x8000'0001), nullptr);
    const HIDValue low{device->element(0), 1};
    const HIDValue high{device->element(1), 1};
    EXPECT_EQ(hidManager_->elementForValueRef(&low), itsDevice->elementWithCookie(0x7FFF'FFFF));
    EXPECT_EQ(hidManager_->elementForValueRef(&high), nullptr);
    EXPECT_THAT(eventsOf(device, 1, 1), IsEmpty());

    const auto negative = static_cast<std::int32_t>(0x8000'0001U);
    QZHIDCookieMap<std::shared_ptr<QZHIDElement>> bySignedCookie;
    bySignedCookie.insert_or_assign(negative, itsDevice->elementWithCookie(0x8000'0001));
    itsDevice->setElementsByCookie(std::move(bySignedCookie));
    EXPECT_EQ(hidManager_->elementForValueRef(&high), itsDevice->ownedElements()->at(1));
}

TEST_F(Dispatch, TakesTheLaterOfTwoElementsWithOneCookie) {
    const auto device = platform_.hidServices().plug(gamepad("A", {axis(1, usageX), axis(1, usageY)}));
    turn();
    EXPECT_THAT(eventsOf(device, 0, 256), ElementsAre("action y1 = 1"));
}

TEST_F(Dispatch, ReportsActionsAloneByDefault) {
    const auto device = plug();
    EXPECT_THAT(eventsOf(device, 0, 1), ElementsAre("action b1 = 1"));
    EXPECT_THAT(eventsOf(device, 1, 64), ElementsAre("action x1 = 0.25"));
    EXPECT_THAT(eventsOf(device, 3, 64), IsEmpty()) << "an element without an action";
}

TEST_F(Dispatch, ReportsTheRawValueFirst) {
    const auto device = plug();
    hidManager_->setReportRawValues(true);
    EXPECT_THAT(eventsOf(device, 1, 64), ElementsAre("raw 2 = 64", "action x1 = 0.25"));
    EXPECT_THAT(eventsOf(device, 3, 64), ElementsAre("raw 4 = 64"));
}

TEST_F(Dispatch, TakesAChangeOfTheFlagsWithTheNextValue) {
    const auto device = plug();
    hidManager_->setReportRawValues(true);
    hidManager_->setReportMappedValues(false);
    EXPECT_THAT(eventsOf(device, 1, 64), ElementsAre("raw 2 = 64"));
    hidManager_->setReportMappedValues(true);
    EXPECT_THAT(eventsOf(device, 1, 32), ElementsAre("raw 2 = 32", "action x1 = 0.125"));
    hidManager_->setReportRawValues(false);
    EXPECT_THAT(eventsOf(device, 1, 64), ElementsAre("action x1 = 0.25"));
}

TEST_F(Dispatch, FiltersAlsoWhatNobodyIsToldOf) {
    const auto device = plug();
    hidManager_->setReportMappedValues(false);
    EXPECT_THAT(eventsOf(device, 1, 64), IsEmpty());
    EXPECT_EQ(element(device, 2)->lastReportedValue(), 0.25);
    hidManager_->setReportMappedValues(true);
    EXPECT_THAT(eventsOf(device, 1, 64), IsEmpty());
    EXPECT_THAT(eventsOf(device, 1, 65), ElementsAre("action x1 = 0.25390625"));
}

TEST_F(Dispatch, ReportsRawAndActionOnlyOfWhatPassesTheFilter) {
    const auto device = plug();
    hidManager_->setReportRawValues(true);
    element(device, 2)->setHysteresis(0.25);
    EXPECT_THAT(eventsOf(device, 1, 64), IsEmpty());
    EXPECT_EQ(element(device, 2)->lastReportedValue(), 0.5);
    EXPECT_EQ(configurations_->existingConfiguration(*admitted(device)), nullptr) << "no action was asked for";
    EXPECT_THAT(eventsOf(device, 1, 63), ElementsAre("raw 2 = 63", "action x1 = 0.24609375"));
    EXPECT_THAT(eventsOf(device, 1, 63), IsEmpty()) << "the same value again";
}

TEST_F(Dispatch, RegistersTheDefaultWithTheFirstActionAsked) {
    const auto device = plug();
    hidManager_->setReportRawValues(true);
    hidManager_->setReportMappedValues(false);
    send(device, 1, 64);
    EXPECT_EQ(configurations_->existingConfiguration(*admitted(device)), nullptr);
    hidManager_->setReportMappedValues(true);
    send(device, 3, 32);
    EXPECT_NE(configurations_->existingConfiguration(*admitted(device)), nullptr);
}

TEST_F(Dispatch, ReversesTheNormalisedValueAndNotTheRawOne) {
    const auto device = plug();
    hidManager_->setReportRawValues(true);
    reverse(element(device, 2));
    EXPECT_THAT(eventsOf(device, 1, 64), ElementsAre("raw 2 = 64", "action x1 = 0.75"));
    EXPECT_EQ(element(device, 2)->lastReportedValue(), 0.75) << "the filter judges what is reported";
    EXPECT_THAT(eventsOf(device, 1, 256), ElementsAre("raw 2 = 256", "action x1 = 0"));
    configurations_->setReverseDirection(false, *element(device, 2));
    EXPECT_THAT(eventsOf(device, 1, 64), ElementsAre("raw 2 = 64", "action x1 = 0.25"));
}

TEST_F(Dispatch, TakesAnyValueButZeroOfATwoStateElementForOne) {
    const auto device = plug();
    element(device, 2)->setTwoState(true);
    element(device, 2)->setLastReportedValue(0.0);
    EXPECT_THAT(eventsOf(device, 1, 128), ElementsAre("action x1 = 1"));
    EXPECT_THAT(eventsOf(device, 1, 1), IsEmpty());
    EXPECT_THAT(eventsOf(device, 1, 256), IsEmpty());
    EXPECT_THAT(eventsOf(device, 1, 0), ElementsAre("action x1 = 0"));
    EXPECT_THAT(eventsOf(device, 1, 1), ElementsAre("action x1 = 1"));
}

TEST_F(Dispatch, ReversesATwoStateElementBeforeItIsRounded) {
    const auto device = plug();
    element(device, 1)->setTwoState(true);
    reverse(element(device, 1));
    EXPECT_THAT(eventsOf(device, 0, 0), ElementsAre("action b1 = 1"));
    EXPECT_THAT(eventsOf(device, 0, 1), ElementsAre("action b1 = 0"));

    element(device, 2)->setTwoState(true);
    element(device, 2)->setLastReportedValue(0.0);
    reverse(element(device, 2));
    EXPECT_THAT(eventsOf(device, 1, 192), ElementsAre("action x1 = 1")) << "a fraction left by the reversal";
    EXPECT_EQ(element(device, 2)->lastReportedValue(), 1.0);
    EXPECT_THAT(eventsOf(device, 1, 256), ElementsAre("action x1 = 0"));
}

TEST_F(Dispatch, DoesNothingAtAllWithoutADelegate) {
    const auto device = plug();
    const auto x = element(device, 2);
    reverse(x);
    configurations_->setDeviceInstanceConfigs({});
    configurations_->setDeviceTypeConfigs({});
    // Normalising any value of this range would end the process.
    x->setObservedMin(std::numeric_limits<std::int64_t>::min());
    x->setObservedMax(std::numeric_limits<std::int64_t>::max());
    x->setObservedNeutral(std::numeric_limits<std::int64_t>::min());
    hidManager_->setReportRawValues(true);
    hidManager_->setDelegate(nullptr);
    send(device, 1, 64);
    EXPECT_EQ(x->lastReportedValue(), 0.5);
    EXPECT_EQ(configurations_->existingConfiguration(*admitted(device)), nullptr);
    hidManager_->setDelegate(delegate_);
    delegate_.reset();
    EXPECT_EQ(hidManager_->delegate(), nullptr) << "it is held weakly";
    send(device, 1, 65);
    EXPECT_EQ(x->lastReportedValue(), 0.5);
}

TEST_F(Dispatch, ReversesNothingAndNamesNoActionWithoutAConfigurationManager) {
    const auto device = plug();
    reverse(element(device, 2));
    hidManager_->setReportRawValues(true);
    hidManager_->setConfigManager(nullptr);
    EXPECT_THAT(eventsOf(device, 1, 64), ElementsAre("raw 2 = 64"));
    EXPECT_EQ(element(device, 2)->lastReportedValue(), 0.25);
    hidManager_->setConfigManager(configurations_);
    EXPECT_THAT(eventsOf(device, 1, 32), ElementsAre("raw 2 = 32", "action x1 = 0.875"));
}

TEST_F(Dispatch, AsksTheConfigurationManagerThatItHasNow) {
    const auto device = plug();
    EXPECT_THAT(eventsOf(device, 0, 1), ElementsAre("action b1 = 1"));
    hidManager_->setConfigManager(manager({}, {}, actions({"other"})));
    EXPECT_THAT(eventsOf(device, 0, 0), ElementsAre("action other = 0"));
}

TEST_F(Dispatch, FollowsAnEditWithTheNextValue) {
    const auto device = plug();
    EXPECT_THAT(eventsOf(device, 1, 64), ElementsAre("action x1 = 0.25"));
    configurations_->setMapping(*element(device, 2), Action(""));
    EXPECT_THAT(eventsOf(device, 1, 65), ElementsAre("action  = 0.25390625")) << "the empty name is a name";
    configurations_->clearMapping(*element(device, 2));
    EXPECT_THAT(eventsOf(device, 1, 64), IsEmpty());
}

TEST_F(Dispatch, HandsAnErrorOnAndDropsItsValue) {
    const auto device = plug();
    const HIDValue value{device->element(1), 64};
    platform_.hidServices().deliverInputValue(platform::kIOReturnIOError, &value);
    EXPECT_THAT(delegate_->takeEvents(), ElementsAre("error 0xe00002ca"));
    EXPECT_EQ(element(device, 2)->lastReportedValue(), 0.5);
    platform_.hidServices().deliverInputValue(1, nullptr);
    EXPECT_THAT(delegate_->takeEvents(), ElementsAre("error 0x1"));
    hidManager_->setDelegate(nullptr);
    platform_.hidServices().deliverInputValue(platform::kIOReturnIOError, &value);
    EXPECT_THAT(delegate_->events, IsEmpty());
}

TEST_F(Dispatch, DropsValuesOfDevicesThatAreNotAdmitted) {
    hidManager_->setReportRawValues(true);
    const auto neverPlugged = std::make_shared<VirtualDevice>(gamepad("N", {button(1)}));
    deliver(neverPlugged->element(0), 1);

    delegate_->onShouldConnect = [] { return false; };
    const auto refused = plug("R");
    send(refused, 0, 1);
    deliver(refused->element(0), 0);
    EXPECT_THAT(delegate_->events, IsEmpty());

    delegate_->onShouldConnect = [] { return true; };
    const auto removed = plug("A");
    const auto kept = admitted(removed);
    platform_.hidServices().unplug(removed);
    turn();
    delegate_->takeEvents();
    deliver(removed->element(1), 64);
    EXPECT_THAT(delegate_->events, IsEmpty());
    EXPECT_EQ(kept->elementWithCookie(2)->lastReportedValue(), 0.5);
    EXPECT_THAT(configurations_->deviceTypeConfigs(), IsEmpty());
}

TEST_F(Dispatch, DropsValuesOfAnObjectThatAnotherReplacedUnderItsHandle) {
    const auto device = plug();
    const auto replaced = admitted(device);
    platform_.hidServices().deliverMatching(platform::kIOReturnSuccess, device.get());
    ASSERT_NE(admitted(device), replaced);
    EXPECT_THAT(eventsOf(device, 1, 64), ElementsAre("action x1 = 0.25"));
    EXPECT_EQ(replaced->elementWithCookie(2)->lastReportedValue(), 0.5);
    EXPECT_EQ(element(device, 2)->lastReportedValue(), 0.25);
}

TEST_F(Dispatch, IsTheSameInModalMode) {
    const auto device = plug();
    hidManager_->setModalMode(true);
    platform_.hidServices().send(device, 1, 64);
    platform_.currentRunLoop().dispatch(platform::NSModalPanelRunLoopMode);
    EXPECT_THAT(delegate_->takeEvents(), ElementsAre("action x1 = 0.25"));
}

/// A delegate that does not allocate either.
class QuietDelegate final : public QZGCHIDManagerDelegate {
public:
    std::size_t calls = 0;

    bool hidManagerShouldConnectDevice(QZGCHIDManager& /*manager*/, platform::IOHIDDeviceRef /*device*/) override {
        return true;
    }
    void hidManagerDeviceConnected(QZGCHIDManager& /*manager*/,
                                   const std::shared_ptr<QZHIDDevice>& /*device*/) override {}
    void hidManagerDeviceDisconnected(QZGCHIDManager& /*manager*/,
                                      const std::shared_ptr<QZHIDDevice>& /*device*/) override {}
    void hidManagerElementNewRawValue(QZGCHIDManager& /*manager*/, const std::shared_ptr<QZHIDElement>& /*element*/,
                                      std::int64_t /*newRawValue*/) override {
        ++calls;
    }
    void hidManagerActionNewValue(QZGCHIDManager& /*manager*/, const std::string& /*action*/,
                                  double /*newValue*/) override {
        ++calls;
    }
    void hidManagerHidError(QZGCHIDManager& /*manager*/, platform::IOReturn /*error*/) override {}
};

TEST_F(Dispatch, AllocatesNothingOnceTheDeviceHasItsConfiguration) {
    const auto device = plug("a serial number that is too long to be stored within a string");
    const auto quiet = std::make_shared<QuietDelegate>();
    hidManager_->setReportRawValues(true);
    hidManager_->setDelegate(quiet);
    const auto roadOf = [&](std::size_t index, std::int64_t raw) {
        const HIDValue value{device->element(index), raw};
        inputValueCallback(hidManager_.get(), platform::kIOReturnSuccess, nullptr, &value);
    };
    roadOf(1, 1); // the first value registers the default
    const auto countValues = [&] {
        quiet->calls = 0;
        const CountedAllocations allocations;
        for (std::int64_t raw = 0; raw < 256; ++raw) {
            for (std::size_t index = 0; index < 4; ++index) {
                roadOf(index, index == 0 ? raw % 2 : raw);
            }
        }
        return allocations.count();
    };
    EXPECT_EQ(countValues(), 0U);
    EXPECT_GT(quiet->calls, 1500U);
    configurations_->setMapping(*element(device, 4), Action(std::string(1000, 'n')));
    configurations_->setReverseDirection(true, *element(device, 2));
    const auto other = platform_.hidServices().plug(gamepad("B", {button(1)}));
    turn();
    configurations_->makeAndRegisterDefaultConfiguration(*admitted(other));
    EXPECT_EQ(countValues(), 0U) << "after edits and another device's default";
    EXPECT_GT(quiet->calls, 1500U);
    hidManager_->startLimitedValueReportingWithHysteresis(0.1);
    EXPECT_EQ(countValues(), 0U) << "in limited value reporting";
    hidManager_->startCalibration();
    EXPECT_EQ(countValues(), 0U) << "in calibration";
    EXPECT_EQ(quiet->calls, 0U);
}

} // namespace
} // namespace qz::test
