// SPDX-License-Identifier: MIT
#include "HIDWrapper/QZHIDDevice.h"
#include "tests/conformance/Moments.h"

#include <stdexcept>
#include <tuple>

namespace qz::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::ValuesIn;

/// A delegate that does something inside a callback, once for every callback on every host. Each time it also plugs
/// another device, "other", whose arrival then comes after the callback.
class InsideEveryCallback : public ::testing::TestWithParam<std::tuple<HostKind, Moment>>, public ManagerStory {
protected:
    InsideEveryCallback() : ManagerStory(std::get<HostKind>(GetParam())) {}

    const Moment& moment() const { return std::get<Moment>(GetParam()); }

    /// Leads to the moment and has `action` run there, after "other" has been plugged.
    void atTheMoment(const RecordingDelegate::Action& action) {
        moment().leadTo(*this);
        delegate->onceInside(moment().callback, [this, action](QZGCHIDManager& calling) {
            other = host->plug(gamePad("other"));
            action(calling);
        });
    }

    /// The moment's own events and then those of the arrival of "other".
    EventLog eventsAndThenTheOther() const {
        EventLog all = moment().events();
        all.insert(all.end(), {"should connect other -> yes", "connected other"});
        return all;
    }

    std::vector<std::string> connectedAndTheOther(std::vector<std::string> names) const {
        names.emplace_back("other");
        return names;
    }

    std::optional<DeviceId> other;
};

std::string hostAndMoment(const ::testing::TestParamInfo<InsideEveryCallback::ParamType>& info) {
    return std::get<HostKind>(info.param).name + "_" + std::get<Moment>(info.param).name;
}

INSTANTIATE_TEST_SUITE_P(Over, InsideEveryCallback, ::testing::Combine(ValuesIn(hostKinds()), ValuesIn(moments())),
                         hostAndMoment);

TEST_P(InsideEveryCallback, NothingSpecialReportsTheMomentAndThenTheOther) {
    atTheMoment([](QZGCHIDManager&) {});
    turn();
    EXPECT_THAT(told(), ElementsAreArray(eventsAndThenTheOther()));
    EXPECT_THAT(connected(), ElementsAreArray(connectedAndTheOther(moment().connectedAfterReturn)));
}

TEST_P(InsideEveryCallback, AnExceptionReachesWhoRunsTheLoopAndLeavesTheManagerWhole) {
    atTheMoment([](QZGCHIDManager&) { throw std::runtime_error("out of the delegate"); });
    try {
        turn();
        ADD_FAILURE() << "the exception got lost";
    } catch (const std::runtime_error& exception) {
        EXPECT_STREQ(exception.what(), "out of the delegate");
    }
    EXPECT_THAT(told(), ElementsAreArray(moment().upToCallback));
    EXPECT_THAT(connected(), ElementsAreArray(moment().connectedAfterException));

    turn();
    EXPECT_THAT(told(), ElementsAre("should connect other -> yes", "connected other"));
    EXPECT_THAT(connected(), ElementsAreArray(connectedAndTheOther(moment().connectedAfterException)));

    host->unplug(other.value());
    turn();
    EXPECT_THAT(told(), ElementsAre("disconnected other"));
}

TEST_P(InsideEveryCallback, DestroyingTheManagerIsTheLastThatIsHeardOfIt) {
    atTheMoment([this](QZGCHIDManager& calling) {
        const std::weak_ptr<QZGCHIDManager> watch = manager;
        manager.reset();
        // The callback that is in progress keeps it alive.
        EXPECT_FALSE(watch.expired());
        EXPECT_EQ(&calling, watch.lock().get());
    });
    const std::weak_ptr<QZGCHIDManager> watch = manager;
    turn();
    EXPECT_TRUE(watch.expired());
    EXPECT_THAT(told(), ElementsAreArray(moment().events()));

    turn();
    turnModally();
    host->unplug(other.value());
    turn();
    EXPECT_THAT(told(), IsEmpty());
}

TEST_P(InsideEveryCallback, DestroyingTheManagerWithAnExceptionIsBorneToo) {
    atTheMoment([this](QZGCHIDManager&) {
        manager.reset();
        throw std::runtime_error("out of the delegate");
    });
    const std::weak_ptr<QZGCHIDManager> watch = manager;
    EXPECT_THROW(turn(), std::runtime_error);
    EXPECT_TRUE(watch.expired());
    EXPECT_THAT(told(), ElementsAreArray(moment().upToCallback));
    turn();
    EXPECT_THAT(told(), IsEmpty());
}

TEST_P(InsideEveryCallback, ReplacingTheManagerStartsAnewWithTheDevicesThatAreThere) {
    EventLog newEvents;
    const auto newDelegate = std::make_shared<RecordingDelegate>(newEvents);
    atTheMoment([&](QZGCHIDManager&) {
        manager = makeManager();
        EXPECT_EQ(manager->setupWithDelegate(newDelegate), 0);
        EXPECT_THAT(newEvents, IsEmpty());
    });
    turn();
    EXPECT_THAT(told(), ElementsAreArray(moment().events()));
    EXPECT_THAT(newEvents, ::testing::IsSupersetOf({"should connect other -> yes", "connected other"}));
    EXPECT_THAT(connected(), ::testing::Contains("other"));
}

TEST_P(InsideEveryCallback, SwitchingToModalModeHoldsBackEverythingUntilAModalTurn) {
    atTheMoment([](QZGCHIDManager& calling) { calling.setModalMode(true); });
    turn();
    EXPECT_THAT(told(), ElementsAreArray(moment().events()));
    turn();
    EXPECT_THAT(told(), IsEmpty());
    // Newcomers only: nothing of the other mode is said again.
    turnModally();
    EXPECT_THAT(told(), ElementsAre("should connect other -> yes", "connected other"));

    host->unplug(other.value());
    turn();
    EXPECT_THAT(told(), IsEmpty());
    turnModally();
    EXPECT_THAT(told(), ElementsAre("disconnected other"));
}

TEST_P(InsideEveryCallback, SwitchingToModalModeAndBackLosesNothing) {
    atTheMoment([](QZGCHIDManager& calling) {
        calling.setModalMode(true);
        calling.setModalMode(false);
    });
    turn();
    turn();
    EXPECT_THAT(told(), ElementsAreArray(eventsAndThenTheOther()));
    turnModally();
    EXPECT_THAT(told(), IsEmpty());
}

TEST_P(InsideEveryCallback, RunningTheLoopAgainLeavesTheManagersEventsWaiting) {
    atTheMoment([this](QZGCHIDManager&) {
        turn();
        turnModally();
        events.emplace_back("ran the loop");
    });
    turn();
    EventLog expected = moment().upToCallback;
    expected.emplace_back("ran the loop");
    expected.insert(expected.end(), moment().afterwards.begin(), moment().afterwards.end());
    expected.insert(expected.end(), {"should connect other -> yes", "connected other"});
    EXPECT_THAT(told(), ElementsAreArray(expected));
}

TEST_P(InsideEveryCallback, UnpluggingWhatHasNotBeenReportedYetMakesNothingOfIt) {
    atTheMoment([this](QZGCHIDManager&) { host->unplug(other.value()); });
    turn();
    EXPECT_THAT(told(), ElementsAreArray(moment().events()));
    EXPECT_THAT(connected(), ElementsAreArray(moment().connectedAfterReturn));
}

TEST_P(InsideEveryCallback, LettingGoOfTheDelegateSilencesWhatFollows) {
    atTheMoment([this](QZGCHIDManager& calling) {
        delegate.reset();
        // The call in progress keeps it alive.
        EXPECT_NE(calling.delegate(), nullptr);
    });
    turn();
    EXPECT_THAT(told(), ElementsAreArray(moment().upToCallback));
    EXPECT_EQ(manager->delegate(), nullptr);
    EXPECT_THAT(connected(), ElementsAreArray(connectedAndTheOther(moment().connectedAfterReturn)));
}

TEST_P(InsideEveryCallback, AnotherDelegateIsToldWhatFollows) {
    EventLog otherEvents;
    const auto another = std::make_shared<RecordingDelegate>(otherEvents);
    atTheMoment([&](QZGCHIDManager& calling) { calling.setDelegate(another); });
    turn();
    EXPECT_THAT(told(), ElementsAreArray(moment().upToCallback));
    EventLog expected = moment().afterwards;
    expected.insert(expected.end(), {"should connect other -> yes", "connected other"});
    EXPECT_THAT(otherEvents, ElementsAreArray(expected));
}

/// The moments that are about a device that can be unplugged: the first one that was plugged.
class InsideCallbackAboutADevice : public InsideEveryCallback {
public:
    static std::vector<Moment> momentsAboutDevices() {
        std::vector<Moment> all = moments();
        std::erase_if(all, [](const Moment& moment) { return moment.callback == Callback::Error; });
        return all;
    }
};

INSTANTIATE_TEST_SUITE_P(Over, InsideCallbackAboutADevice,
                         ::testing::Combine(ValuesIn(hostKinds()),
                                            ValuesIn(InsideCallbackAboutADevice::momentsAboutDevices())),
                         hostAndMoment);

TEST_P(InsideCallbackAboutADevice, UnpluggingThatRemovesItAfterTheCallback) {
    moment().leadTo(*this);
    delegate->onceInside(moment().callback, [this](QZGCHIDManager&) { host->unplug(DeviceId{0}); });
    turn();
    EventLog expected = moment().events();
    if (!moment().connectedAfterReturn.empty()) {
        expected.emplace_back("disconnected pad");
    } else if (moment().name == "Refusing") {
        expected.emplace_back("should connect pad -> no"); // asked again at the removal
    }
    EXPECT_THAT(told(), ElementsAreArray(expected));
    EXPECT_THAT(connected(), IsEmpty());
    EXPECT_EQ(turn(), 0U);
}

using InsideCallback = OverHosts;
QZ_TELL_OVER_ALL_HOSTS(InsideCallback);

TEST_P(InsideCallback, ADeviceUnpluggedWhileItIsAskedAboutComesAndGoes) {
    setUp();
    const DeviceId pad = host->plug(gamePad("pad"));
    delegate->inside(Callback::ShouldConnect, [&](QZGCHIDManager&) { host->unplug(pad); });
    turn();
    EXPECT_THAT(told(), ElementsAre("should connect pad -> yes", "connected pad", "disconnected pad"));
    EXPECT_THAT(connected(), IsEmpty());
}

TEST_P(InsideCallback, ADeviceUnpluggedInItsOwnConnectionCallbackIsRemovedAfterIt) {
    setUp();
    const DeviceId pad = host->plug(gamePad("pad"));
    delegate->inside(Callback::Connected, [&](QZGCHIDManager& calling) {
        host->unplug(pad);
        turn();
        EXPECT_THAT(namesOfDevices(calling), ElementsAre("pad"));
    });
    turn();
    EXPECT_THAT(told(), ElementsAre("should connect pad -> yes", "connected pad", "disconnected pad"));
    EXPECT_THAT(connected(), IsEmpty());
}

TEST_P(InsideCallback, AConnectedDeviceUnpluggedWhileAnotherIsAskedAboutIsRemovedAfterIt) {
    setUp();
    const DeviceId first = host->plug(gamePad("first"));
    turn();
    told();
    host->plug(gamePad("second"));
    delegate->inside(Callback::ShouldConnect, [&](QZGCHIDManager&) { host->unplug(first); });
    turn();
    EXPECT_THAT(told(), ElementsAre("should connect second -> yes", "connected second", "disconnected first"));
    EXPECT_THAT(connected(), ElementsAre("second"));
}

TEST_P(InsideCallback, ADevicePluggedInPlaceOfTheOneThatGoesIsConnectedAfterIt) {
    setUp();
    const DeviceId pad = host->plug(gamePad("pad"));
    turn();
    told();
    delegate->inside(Callback::Disconnected, [&](QZGCHIDManager&) { host->plug(gamePad("pad")); });
    host->unplug(pad);
    turn();
    EXPECT_THAT(told(), ElementsAre("disconnected pad", "should connect pad -> yes", "connected pad"));
    EXPECT_THAT(connected(), ElementsAre("pad"));
}

TEST_P(InsideCallback, ExceptionsFromEveryCallbackLoseNoEvent) {
    setUp();
    for (const Callback callback : {Callback::Connected, Callback::Disconnected, Callback::Error}) {
        delegate->inside(callback, [](QZGCHIDManager&) { throw std::runtime_error("every time"); });
    }
    const DeviceId first = host->plug(gamePad("first"));
    EXPECT_THROW(turn(), std::runtime_error);
    host->plugUnusable(gamePad("broken"), -536870203);
    EXPECT_THROW(turn(), std::runtime_error);
    host->plug(gamePad("second"));
    EXPECT_THROW(turn(), std::runtime_error);
    host->unplug(first);
    EXPECT_THROW(turn(), std::runtime_error);
    EXPECT_THAT(told(), ElementsAre("should connect first -> yes", "connected first", "error -536870203",
                                    "should connect second -> yes", "connected second", "disconnected first"));
    EXPECT_THAT(connected(), ElementsAre("second"));
    EXPECT_EQ(turn(), 0U);
}

TEST_P(InsideCallback, ADeviceWhoseQuestionEndedInAnExceptionIsAskedAboutAgainAtItsRemoval) {
    setUp();
    const DeviceId pad = host->plug(gamePad("pad"));
    delegate->onceInside(Callback::ShouldConnect, [](QZGCHIDManager&) { throw std::runtime_error("undecided"); });
    EXPECT_THROW(turn(), std::runtime_error);
    EXPECT_THAT(told(), ElementsAre("should connect pad -> yes"));
    EXPECT_EQ(turn(), 0U);
    delegate->refuse("pad");
    host->unplug(pad);
    turn();
    EXPECT_THAT(told(), ElementsAre("should connect pad -> no"));
}

} // namespace
} // namespace qz::tests
