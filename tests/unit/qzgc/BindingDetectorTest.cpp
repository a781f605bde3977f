// SPDX-License-Identifier: MIT
#include "tools/qzgc/session/BindingDetector.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using qz::tools::BindingDetector;
using Direction = BindingDetector::Direction;
using Kind = BindingDetector::Kind;
using Time = BindingDetector::Time;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::int64_t x = 1;
constexpr std::int64_t y = 2;
constexpr std::int64_t trigger = 3;
constexpr std::int64_t button = 4;
constexpr std::int64_t other = 5;
constexpr std::int64_t hat = 6;
constexpr std::int64_t wheel = 7;

/// Two axes that rest in the middle of 0..1000, a trigger that rests at 0, two buttons, a hat and a wheel. Everything
/// is known at the beginning but the wheel, which has no value until it is turned.
class BindingDetectorTest : public testing::Test {
protected:
    BindingDetectorTest()
        : detector_({{x, Kind::Moving, 0, 1000, true, 500},
                     {y, Kind::Moving, 0, 1000, true, 500},
                     {trigger, Kind::Moving, 0, 255, true, 0},
                     {button, Kind::Button, 0, 1, true, 0},
                     {other, Kind::Button, 0, 1, true, 0},
                     {hat, Kind::Hat, 0, 7, false, 8},
                     {wheel, Kind::Turning, -127, 127, true, std::nullopt}},
                    Time(0)) {}

    void pass(int milliseconds) { now_ += std::chrono::milliseconds(milliseconds); }
    void passBaseline() { pass(300); }
    void see(std::int64_t cookie, std::int64_t raw) { detector_.see(cookie, raw, now_); }
    std::int64_t found() {
        const auto answer = detector_.found(now_);
        return answer ? answer->cookie : 0;
    }
    Direction direction() { return detector_.found(now_).value().direction; }

    BindingDetector detector_;
    Time now_{0};
};

TEST_F(BindingDetectorTest, FindsNothingWhileNothingMoves) {
    EXPECT_TRUE(detector_.isTakingBaseline(now_));
    EXPECT_EQ(found(), 0);
    passBaseline();
    EXPECT_FALSE(detector_.isTakingBaseline(now_));
    EXPECT_EQ(found(), 0);
    EXPECT_FALSE(detector_.leader(now_).has_value());
    EXPECT_THAT(detector_.rivals(now_), IsEmpty());
    EXPECT_FALSE(detector_.misfit(now_).has_value());
}

TEST_F(BindingDetectorTest, FindsAButtonThatIsPressed) {
    passBaseline();
    see(button, 1);
    EXPECT_EQ(found(), button);
    EXPECT_EQ(direction(), Direction::None);
}

TEST_F(BindingDetectorTest, FindsAButtonThatWasReleasedBeforeAnyoneLooked) {
    passBaseline();
    see(button, 1);
    pass(5);
    see(button, 0);
    pass(30);
    EXPECT_EQ(found(), button);
    pass(150);
    EXPECT_EQ(found(), 0) << "long ago";
}

TEST_F(BindingDetectorTest, TellsTheWayThatAnAxisWent) {
    passBaseline();
    see(x, 749);
    EXPECT_EQ(found(), 0) << "not half the way yet";
    EXPECT_EQ(detector_.leader(now_).value().cookie, x);
    EXPECT_NEAR(detector_.leader(now_).value().excursion, 0.249, 1e-9);
    see(x, 750);
    EXPECT_EQ(found(), x);
    EXPECT_EQ(direction(), Direction::ToMaximum);
    see(x, 250);
    EXPECT_EQ(direction(), Direction::ToMinimum);
    EXPECT_EQ(detector_.found(now_).value().from, 500);
    EXPECT_EQ(detector_.found(now_).value().to, 250);
}

TEST_F(BindingDetectorTest, IgnoresAButtonThatIsHeldAtTheBeginningUntilItIsPressedAgain) {
    see(button, 1);
    passBaseline();
    EXPECT_EQ(found(), 0);
    pass(1000);
    EXPECT_EQ(found(), 0);
    see(button, 0);
    EXPECT_EQ(found(), 0) << "letting go is no pressing";
    see(button, 1);
    EXPECT_EQ(found(), button);
}

TEST_F(BindingDetectorTest, IgnoresWhatWasHeldBeforeTheBeginning) {
    BindingDetector detector({{button, Kind::Button, 0, 1, true, 1}, {x, Kind::Moving, 0, 1000, true, 1000}}, now_);
    passBaseline();
    EXPECT_FALSE(detector.found(now_));
    detector.see(button, 0, now_);
    detector.see(x, 500, now_);
    EXPECT_EQ(detector.found(now_).value().cookie, x) << "this one has gone half the way";
    detector.see(x, 1000, now_);
    EXPECT_FALSE(detector.found(now_));
}

TEST_F(BindingDetectorTest, TakesAToggleSwitchThatIsOnWhenItIsSwitchedOnAgain) {
    see(other, 1);
    passBaseline();
    pass(10'000);
    see(other, 0);
    pass(10'000);
    EXPECT_EQ(found(), 0);
    see(other, 1);
    EXPECT_EQ(found(), other);
}

TEST_F(BindingDetectorTest, IgnoresAButtonThatFlickersByItself) {
    for (const int value : {1, 0, 1, 0}) {
        see(button, value);
        pass(50);
    }
    passBaseline();
    see(button, 1);
    EXPECT_EQ(found(), 0);
    see(other, 1);
    EXPECT_EQ(found(), other);
}

TEST_F(BindingDetectorTest, IgnoresWhatJitters) {
    for (int i = 0; i < 30; ++i) {
        see(x, i % 2 == 0 ? 440 : 560);
        pass(10);
    }
    for (int i = 0; i < 300; ++i) {
        see(x, i % 2 == 0 ? 440 : 560);
        EXPECT_EQ(found(), 0);
        EXPECT_FALSE(detector_.leader(now_).has_value());
        pass(10);
    }
    see(y, 1000);
    EXPECT_EQ(found(), y);
    see(y, 500);
    see(x, 800);
    EXPECT_EQ(found(), 0) << "not clear with so much noise";
    see(x, 1000);
    EXPECT_EQ(found(), x);
}

TEST_F(BindingDetectorTest, FollowsWhatDrifts) {
    passBaseline();
    for (std::int64_t value = 500; value <= 1000; ++value) {
        see(x, value);
        EXPECT_EQ(found(), 0) << value;
        pass(50); // from the middle to the end in 25 seconds
    }
    see(x, 400);
    EXPECT_EQ(found(), x);
    EXPECT_EQ(direction(), Direction::ToMinimum);
}

TEST_F(BindingDetectorTest, FindsWhatIsMovedSlowly) {
    passBaseline();
    std::int64_t value = 500;
    for (; value <= 1000 && found() == 0; value += 10) {
        see(x, value);
        pass(50); // from the middle to the end in two and a half seconds
    }
    EXPECT_EQ(found(), x);
    EXPECT_LT(value, 800);
}

TEST_F(BindingDetectorTest, WaitsForAStickThatIsOnItsWayToItsRest) {
    for (const int value : {0, 100, 200, 300, 400, 500}) {
        see(x, value);
        pass(60);
    }
    pass(200);
    EXPECT_EQ(found(), 0);
    pass(200);
    see(x, 1000);
    EXPECT_EQ(found(), x);
    EXPECT_NEAR(static_cast<double>(detector_.found(now_).value().from), 500.0, 1000.0 / 16);
}

TEST_F(BindingDetectorTest, TakesNeitherOfTwoThatAreMovedAtOnce) {
    passBaseline();
    see(x, 1000);
    see(y, 0);
    EXPECT_EQ(found(), 0);
    EXPECT_THAT(detector_.rivals(now_), ElementsAre(x, y));
    pass(5000);
    EXPECT_EQ(found(), 0) << "being kept there changes nothing";
    see(y, 400);
    EXPECT_EQ(found(), x);
    EXPECT_THAT(detector_.rivals(now_), IsEmpty());
}

TEST_F(BindingDetectorTest, TakesTheOneThatIsClearlyAhead) {
    passBaseline();
    see(y, 180);
    see(x, 970);
    EXPECT_EQ(found(), 0);
    see(x, 980);
    EXPECT_EQ(found(), x);
    see(trigger, 255);
    EXPECT_EQ(found(), trigger);
    see(button, 1);
    EXPECT_EQ(found(), 0) << "both are moved wholly";
    EXPECT_THAT(detector_.rivals(now_), ElementsAre(trigger, button));
}

TEST_F(BindingDetectorTest, FindsATriggerThatRestsAtItsEnd) {
    passBaseline();
    see(trigger, 127);
    EXPECT_EQ(found(), 0);
    see(trigger, 128);
    EXPECT_EQ(found(), trigger);
    EXPECT_EQ(direction(), Direction::ToMaximum);
}

TEST_F(BindingDetectorTest, NeedsMoreThanALittleNearAnEnd) {
    BindingDetector detector({{x, Kind::Moving, 0, 1000, true, 950}}, now_);
    passBaseline();
    detector.see(x, 1000, now_);
    EXPECT_FALSE(detector.found(now_));
    detector.see(x, 475, now_);
    EXPECT_EQ(detector.found(now_).value().direction, Direction::ToMinimum);
}

TEST_F(BindingDetectorTest, SaysThatAHatDoesNotFit) {
    passBaseline();
    see(hat, 2);
    EXPECT_EQ(found(), 0);
    EXPECT_EQ(detector_.misfit(now_), hat);
    see(x, 1000);
    EXPECT_FALSE(detector_.misfit(now_).has_value()) << "one moves that fits";
    see(x, 500);
    see(hat, 8);
    pass(200);
    EXPECT_FALSE(detector_.misfit(now_).has_value()) << "back in its centre";
}

TEST_F(BindingDetectorTest, IgnoresAHatThatIsHeldAtTheBeginning) {
    see(hat, 3);
    passBaseline();
    see(hat, 4);
    EXPECT_FALSE(detector_.misfit(now_).has_value());
    see(hat, 8);
    see(hat, 4);
    EXPECT_EQ(detector_.misfit(now_), hat);
}

TEST_F(BindingDetectorTest, AddsUpTheStepsOfAWheel) {
    see(wheel, 1);
    passBaseline();
    see(wheel, 1);
    see(wheel, 1);
    EXPECT_EQ(found(), 0);
    see(wheel, -1);
    EXPECT_EQ(found(), 0) << "the other way";
    see(wheel, -1);
    see(wheel, -1);
    EXPECT_EQ(found(), wheel);
    EXPECT_EQ(direction(), Direction::ToMinimum);
    pass(600);
    EXPECT_EQ(found(), 0) << "long ago";
    see(wheel, 1);
    pass(600);
    see(wheel, 1);
    pass(600);
    see(wheel, 1);
    EXPECT_EQ(found(), 0) << "one step now and then";
}

TEST_F(BindingDetectorTest, TakesTheFirstPositionOfASilentControlAsItsRest) {
    BindingDetector detector({{x, Kind::Moving, 0, 1000}, {y, Kind::Moving, 0, 1000}, {button, Kind::Button, 0, 1}},
                             now_);
    pass(5000);
    detector.see(x, 500, now_);
    detector.see(y, 1000, now_);
    EXPECT_FALSE(detector.found(now_));
    detector.see(button, 1, now_);
    EXPECT_EQ(detector.found(now_).value().cookie, button) << "a silent button was not pressed";
    detector.see(button, 0, now_);
    pass(1000);
    detector.see(y, 0, now_);
    EXPECT_EQ(detector.found(now_).value().cookie, y);
}

TEST_F(BindingDetectorTest, TakesTheFirstReportDuringTheBaselineAsRest) {
    BindingDetector detector({{x, Kind::Moving, 0, 1000}, {button, Kind::Button, 0, 1}}, now_);
    detector.see(x, 0, now_);
    detector.see(button, 1, now_);
    passBaseline();
    EXPECT_FALSE(detector.found(now_));
    detector.see(x, 1000, now_);
    EXPECT_EQ(detector.found(now_).value().direction, Direction::ToMaximum);
}

TEST_F(BindingDetectorTest, CountsAButtonThatTellsItsPressureFromHalfOn) {
    BindingDetector detector({{button, Kind::Button, 0, 255, true, 0}}, now_);
    passBaseline();
    detector.see(button, 127, now_);
    EXPECT_FALSE(detector.found(now_));
    detector.see(button, 128, now_);
    EXPECT_TRUE(detector.found(now_));
}

TEST_F(BindingDetectorTest, PassesOverControlsThatItDoesNotKnow) {
    passBaseline();
    see(99, 1);
    EXPECT_EQ(found(), 0);
}

TEST_F(BindingDetectorTest, BearsAnEmptyOrInvertedTravel) {
    BindingDetector detector({{x, Kind::Moving, 7, 7, true, 7}, {y, Kind::Moving, 9, 3, true, 5}}, now_);
    passBaseline();
    detector.see(x, 7, now_);
    EXPECT_FALSE(detector.found(now_));
    detector.see(y, 5, now_);
    EXPECT_FALSE(detector.found(now_));
}

} // namespace
