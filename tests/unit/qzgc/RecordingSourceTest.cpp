// SPDX-License-Identifier: MIT
#include "tools/qzgc/session/Session.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

// A recording in the place of a machine: its devices, through the whole library.

namespace {

using namespace qz::tools;
using qz::platform::RecordedDevice;
using qz::platform::RecordedEvent;
using qz::platform::Recording;
using std::chrono::microseconds;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Kind = RecordedEvent::Kind;

/// A joystick with an axis of eight bits and nothing else.
RecordedDevice stick(const std::string& name) {
    return {.name = name, .bus = 3, .vendor = 0x1234, .product = 0x5678, .descriptor = {0x05, 0x01, 0x09, 0x04, 0xa1,
                                                                                        0x01, 0x15, 0x00, 0x26, 0xff,
                                                                                        0x00, 0x75, 0x08, 0x95, 0x01,
                                                                                        0x09, 0x30, 0x81, 0x02, 0xc0}};
}

RecordedEvent report(std::uint32_t device, int milliseconds, std::uint8_t value) {
    return {Kind::Report, device, std::chrono::milliseconds(milliseconds), {value}};
}

RecordedEvent plugged(std::uint32_t device, int milliseconds, Kind kind) {
    return {kind, device, std::chrono::milliseconds(milliseconds), {}};
}

/// Writes down what happens, and when.
class Notes final : public Listener {
public:
    explicit Notes(Source& source) : source_(source) {}

    void hidManagerDeviceConnected(QZGCHIDManager& /*manager*/, const std::shared_ptr<QZHIDDevice>& device) override {
        note("+" + *device->productName());
    }
    void hidManagerDeviceDisconnected(QZGCHIDManager& /*manager*/,
                                      const std::shared_ptr<QZHIDDevice>& device) override {
        note("-" + *device->productName());
    }
    void hidManagerElementNewRawValue(QZGCHIDManager& /*manager*/, const std::shared_ptr<QZHIDElement>& element,
                                      std::int64_t newRawValue) override {
        note(*element->device()->productName() + "=" + std::to_string(newRawValue));
    }

    std::vector<std::string> taken() { return std::exchange(notes_, {}); }

private:
    void note(const std::string& text) { notes_.push_back(std::to_string(source_.time().count() / 1000) + " " + text); }

    Source& source_;
    std::vector<std::string> notes_;
};

/// A source with a manager that listens to it.
class Played {
public:
    Played(Recording recording, Pace pace) : source(makeRecordingSource(std::move(recording), pace)) {
        manager_->setReportRawValues(true);
        EXPECT_EQ(manager_->setupWithDelegate(notes), qz::platform::kIOReturnSuccess);
    }

    /// To the end, in turns that each take one event.
    void play() const {
        while (!source->hasEnded()) {
            source->turn();
        }
    }

    std::unique_ptr<Source> source;
    std::shared_ptr<Notes> notes = std::make_shared<Notes>(*source);

private:
    std::shared_ptr<QZGCHIDManager> manager_ = QZGCHIDManager::create(nullptr, source->platform());
};

TEST(RecordingSource, BringsTheDevicesThatAreThereFirst) {
    Played played({{stick("a"), stick("b")}, {report(1, 5, 1)}}, Pace::Fast);
    EXPECT_EQ(played.source->fileDescriptor(), -1);
    EXPECT_EQ(played.source->due(), Clock::time_point{}) << "at once";
    played.source->turn();
    EXPECT_THAT(played.notes->taken(), ElementsAre("0 +a", "0 +b"));
    EXPECT_FALSE(played.source->hasEnded());
}

TEST(RecordingSource, PlaysEverythingInItsOrderWithTheTimesOfTheRecording) {
    Played played(
        {{stick("a"), stick("b")}, {report(0, 1000, 1), report(1, 1010, 2), report(0, 1020, 3), report(1, 1020, 4)}},
        Pace::Fast);
    played.play();
    EXPECT_THAT(played.notes->taken(), ElementsAre("0 +a", "0 +b", "0 a=1", "10 b=2", "20 a=3", "20 b=4"));
    EXPECT_TRUE(played.source->hasEnded());
    EXPECT_EQ(played.source->due(), std::nullopt);
    EXPECT_EQ(played.source->turn(), 0U);
}

TEST(RecordingSource, PlugsDevicesInAndUnplugsThem) {
    Played played({{stick("a"), stick("b")},
                   {report(0, 0, 1), plugged(1, 10, Kind::PluggedIn), report(1, 20, 2), plugged(0, 30, Kind::Unplugged),
                    plugged(0, 40, Kind::PluggedIn), report(0, 50, 3), plugged(1, 60, Kind::Unplugged)}},
                  Pace::Fast);
    played.source->turn();
    EXPECT_THAT(played.notes->taken(), ElementsAre("0 +a")) << "the other comes later";
    played.play();
    EXPECT_THAT(played.notes->taken(), ElementsAre("0 a=1", "10 +b", "20 b=2", "30 -a", "40 +a", "50 a=3", "60 -b"));
}

TEST(RecordingSource, DeliversOneThingBeforeTheNextHappens) {
    Played played({{stick("a")}, {report(0, 0, 1), plugged(0, 0, Kind::Unplugged)}}, Pace::Fast);
    played.play();
    EXPECT_THAT(played.notes->taken(), ElementsAre("0 +a", "0 a=1", "0 -a"));
}

TEST(RecordingSource, TakesOneThingATurnSoThatOthersHaveTheirs) {
    Played played({{stick("a")}, {report(0, 0, 1), report(0, 0, 2)}}, Pace::Fast);
    played.source->turn();
    played.notes->taken();
    played.source->turn();
    EXPECT_THAT(played.notes->taken(), ElementsAre("0 a=1"));
    EXPECT_EQ(played.source->due(), Clock::time_point{}) << "the next at once";
}

TEST(RecordingSource, PassesOverReportsOfDevicesThatAreNotThere) {
    Played played({{stick("a")}, {plugged(0, 5, Kind::Unplugged), report(0, 6, 1), plugged(0, 7, Kind::Unplugged)}},
                  Pace::Fast);
    played.play();
    EXPECT_THAT(played.notes->taken(), ElementsAre("0 +a", "0 -a"));
    EXPECT_TRUE(played.source->hasEnded());
}

TEST(RecordingSource, WaitsForTheTimesOfTheRecordingInRealTime) {
    constexpr int never = 1'000'000'000;
    Played played({{stick("a")}, {report(0, 7, 1), report(0, 7, 2), report(0, never, 3)}}, Pace::RealTime);
    EXPECT_EQ(played.source->due(), Clock::time_point{});
    const auto before = Clock::now();
    played.source->turn();
    const auto after = Clock::now();
    EXPECT_THAT(played.notes->taken(), ElementsAre("0 +a"));
    EXPECT_GE(played.source->due(), before);
    EXPECT_LE(played.source->due(), after);
    played.source->turn();
    EXPECT_THAT(played.notes->taken(), ElementsAre("0 a=1", "0 a=2")) << "the first is due at once";
    const auto until = std::chrono::milliseconds(never - 7);
    EXPECT_GE(played.source->due(), before + until);
    EXPECT_LE(played.source->due(), after + until);
    EXPECT_EQ(played.source->turn(), 0U);
    EXPECT_FALSE(played.source->hasEnded());
}

TEST(RecordingSource, TakesATimeBeforeThePreviousOneForTheSame) {
    const Recording recording = {{stick("a")},
                                 {report(0, 50, 1), report(0, 70, 2), report(0, 10, 3), report(0, 71, 4)}};
    EXPECT_THAT(eventTimes(recording),
                ElementsAre(microseconds(0), microseconds(20'000), microseconds(20'000), microseconds(21'000)));
    EXPECT_EQ(durationOf(recording), microseconds(21'000));
    EXPECT_EQ(durationOf({{stick("a")}, {}}), microseconds(0));
    Played played(recording, Pace::Fast);
    played.play();
    EXPECT_THAT(played.notes->taken(), ElementsAre("0 +a", "0 a=1", "20 a=2", "20 a=3", "21 a=4"));
}

TEST(RecordingSource, DeliversAllValuesOfAReportBeforeItEnds) {
    // 3,000 buttons of one bit.
    const RecordedDevice panel = {
        .name = "p", .bus = 3, .vendor = 1, .product = 2, .descriptor = {0x05, 0x01, 0x09, 0x04, 0xa1, 0x01, 0x05,
                                                                         0x09, 0x19, 0x01, 0x2a, 0xb8, 0x0b, 0x15,
                                                                         0x00, 0x25, 0x01, 0x75, 0x01, 0x96, 0xb8,
                                                                         0x0b, 0x81, 0x02, 0xc0}};
    Played played({{panel}, {{Kind::Report, 0, microseconds(0), std::vector<std::uint8_t>(375, 0xff)}}}, Pace::Fast);
    played.play();
    EXPECT_EQ(played.notes->taken().size(), 1U + 3000U) << "the device, and each of its buttons";
}

TEST(RecordingSource, EndsWithoutEventsWhenItsDevicesHaveCome) {
    Played played({{stick("a")}, {}}, Pace::Fast);
    EXPECT_FALSE(played.source->hasEnded());
    EXPECT_EQ(played.source->due(), Clock::time_point{});
    played.source->turn();
    EXPECT_THAT(played.notes->taken(), ElementsAre("0 +a"));
    EXPECT_TRUE(played.source->hasEnded());
    EXPECT_EQ(played.source->due(), std::nullopt);
}

TEST(RecordingSource, RefusesADeviceWhoseDescriptorTheLibraryRefuses) {
    RecordedDevice broken = stick("broken");
    broken.descriptor.pop_back();
    try {
        makeRecordingSource({{stick("a"), broken}, {}}, Pace::Fast);
        ADD_FAILURE() << "it is accepted";
    } catch (const WrongUse& error) {
        EXPECT_THAT(error.what(), HasSubstr("the recording's device \"broken\" cannot be used: its descriptor is "
                                            "refused at byte 19: "));
    }
}

} // namespace
