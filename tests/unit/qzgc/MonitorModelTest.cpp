// SPDX-License-Identifier: MIT
#include "tools/qzgc/monitor/MonitorModel.h"

#include <gtest/gtest.h>

#include <limits>

namespace qz::tools {
namespace {

using std::chrono::milliseconds;

TEST(RateMeter, CountsTheLatestWholeSecond) {
    RateMeter meter;
    for (int i = 0; i < 3000; ++i) { // three seconds of a report each millisecond
        meter.count(milliseconds(i));
    }
    EXPECT_EQ(meter.perSecond(milliseconds(3000)), 1000U);
    EXPECT_EQ(meter.perSecond(milliseconds(3050)), 1000U) << "the tenth in progress does not count";
    EXPECT_EQ(meter.perSecond(milliseconds(3500)), 500U);
    EXPECT_EQ(meter.perSecond(milliseconds(4000)), 0U);
    EXPECT_TRUE(meter.changesByItself(milliseconds(3900)));
    EXPECT_FALSE(meter.changesByItself(milliseconds(4000)));
    meter.count(milliseconds(90'000));
    EXPECT_EQ(meter.perSecond(milliseconds(90'000)), 0U);
    EXPECT_TRUE(meter.changesByItself(milliseconds(90'000)));
    EXPECT_EQ(meter.perSecond(milliseconds(90'100)), 1U);
}

TEST(RateMeter, StandsATimeThatGoesBack) {
    RateMeter meter;
    meter.count(milliseconds(5000));
    meter.count(milliseconds(100));
    EXPECT_EQ(meter.perSecond(milliseconds(100)), 0U);
    EXPECT_EQ(meter.perSecond(milliseconds(5100)), 2U);
}

TEST(SpreadMeter, IsUnknownBeforeAWholeSecond) {
    SpreadMeter meter;
    EXPECT_EQ(meter.spread(milliseconds(5000)), std::nullopt);
    EXPECT_FALSE(meter.changesByItself(milliseconds(5000)));
    meter.add(100, milliseconds(5000));
    EXPECT_EQ(meter.spread(milliseconds(5999)), std::nullopt);
    EXPECT_TRUE(meter.changesByItself(milliseconds(5999)));
    EXPECT_EQ(meter.spread(milliseconds(6100)), 0U);
    EXPECT_FALSE(meter.changesByItself(milliseconds(6100)));
}

TEST(SpreadMeter, HoldsTheExtremesOfASecondAndForgetsThem) {
    SpreadMeter meter;
    meter.add(100, milliseconds(0));
    meter.add(103, milliseconds(2000));
    meter.add(99, milliseconds(2010));
    meter.add(100, milliseconds(2050));
    EXPECT_EQ(meter.spread(milliseconds(2100)), 4U);
    EXPECT_EQ(meter.spread(milliseconds(2900)), 4U);
    EXPECT_EQ(meter.spread(milliseconds(3000)), 0U);
    EXPECT_TRUE(meter.changesByItself(milliseconds(2900)));
    meter.add(200, milliseconds(9000));
    EXPECT_EQ(meter.spread(milliseconds(9000)), 100U) << "the value that it left counts";
    EXPECT_EQ(meter.spread(milliseconds(9900)), 100U);
    EXPECT_EQ(meter.spread(milliseconds(10'000)), 0U);
}

TEST(SpreadMeter, StandsTheExtremesOfValues) {
    SpreadMeter meter;
    meter.add(std::numeric_limits<std::int64_t>::min(), milliseconds(0));
    meter.add(std::numeric_limits<std::int64_t>::max(), milliseconds(1500));
    EXPECT_EQ(meter.spread(milliseconds(1500)), std::numeric_limits<std::uint64_t>::max());
}

MonitoredControl axis(std::int64_t min, std::int64_t max) {
    MonitoredControl control;
    control.kind = ControlKind::Moving;
    control.logicalMin = control.calibratedMin = min;
    control.logicalMax = control.calibratedMax = max;
    return control;
}

TEST(Noise, IsWhatAControlAtRestMovesAndNoMore) {
    MonitoredControl stick = axis(0, 1000);
    stick.spread.add(500, milliseconds(0));
    stick.spread.add(530, milliseconds(2000));
    EXPECT_EQ(stick.noise(milliseconds(2000)), 30U);
    EXPECT_FALSE(stick.isMoving(milliseconds(2000)));
    EXPECT_DOUBLE_EQ(stick.percentOfRange(30), 3.0);
    stick.spread.add(499, milliseconds(2001));
    EXPECT_EQ(stick.noise(milliseconds(2001)), std::nullopt);
    EXPECT_TRUE(stick.isMoving(milliseconds(2001)));
    EXPECT_EQ(stick.noise(milliseconds(3000)), 0U) << "let go for a second";
}

TEST(Noise, OfOneUnitIsNoMovementWhateverTheRange) {
    MonitoredControl coarse = axis(0, 7);
    coarse.spread.add(3, milliseconds(0));
    coarse.spread.add(4, milliseconds(2000));
    EXPECT_EQ(coarse.noise(milliseconds(2000)), 1U);
    coarse.spread.add(5, milliseconds(2000));
    EXPECT_TRUE(coarse.isMoving(milliseconds(2000)));
    EXPECT_DOUBLE_EQ(axis(5, 5).percentOfRange(3), 0.0);
}

TEST(Hats, PointInEightDirectionsAndToTheCentreOutsideOfTheirRange) {
    MonitoredControl hat;
    const auto direction = [&](std::int64_t min, std::int64_t max, std::int64_t raw) {
        hat.logicalMin = min;
        hat.logicalMax = max;
        hat.raw = raw;
        return directionOf(hat);
    };
    EXPECT_EQ(directionOf(hat), Direction::Centre) << "no value yet";
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(direction(0, 7, i), static_cast<Direction>(i));
        EXPECT_EQ(direction(1, 8, i + 1), static_cast<Direction>(i));
    }
    EXPECT_EQ(direction(0, 7, 8), Direction::Centre);
    EXPECT_EQ(direction(1, 8, 0), Direction::Centre);
    EXPECT_EQ(direction(0, 3, 1), Direction::Right);
    EXPECT_EQ(direction(0, 3, 3), Direction::Left);
    EXPECT_EQ(direction(0, 359, 45), Direction::UpRight);
    EXPECT_EQ(direction(0, 359, 350), Direction::Up);
    EXPECT_EQ(direction(5, 2, 3), Direction::Centre) << "a range without values";
}

TEST(MonitorModels, KeepTheSelectionOnItsController) {
    MonitorModel model;
    EXPECT_EQ(model.selectedController(), nullptr);
    model.select(1);
    std::vector<std::shared_ptr<MonitoredController>> all;
    for (int i = 0; i < 3; ++i) {
        all.push_back(std::make_shared<MonitoredController>());
        model.add(all.back());
    }
    EXPECT_EQ(model.selectedController(), all[0].get());
    model.select(-1);
    EXPECT_EQ(model.selectedController(), all[2].get());
    model.scrolled = 3;
    model.remove(all[0].get());
    EXPECT_EQ(model.selectedController(), all[2].get());
    EXPECT_EQ(model.scrolled, 3);
    model.remove(all[2].get());
    EXPECT_EQ(model.selectedController(), all[1].get());
    EXPECT_EQ(model.scrolled, 0);
    model.remove(all[2].get());
    model.remove(all[1].get());
    EXPECT_EQ(model.selectedController(), nullptr);
    EXPECT_EQ(model.selected, 0U);
}

TEST(MonitorModels, SayWhetherTheyWillLookDifferent) {
    MonitorModel model;
    auto controller = std::make_shared<MonitoredController>();
    controller->controls.push_back(axis(0, 100));
    model.add(controller);
    EXPECT_FALSE(model.changesByItself(milliseconds(0)));
    controller->reports.count(milliseconds(0));
    EXPECT_TRUE(model.changesByItself(milliseconds(10)));
    EXPECT_FALSE(model.changesByItself(milliseconds(1100)));
    controller->controls[0].spread.add(3, milliseconds(2000));
    EXPECT_TRUE(model.changesByItself(milliseconds(2010)));
    EXPECT_FALSE(model.changesByItself(milliseconds(3100)));
}

} // namespace
} // namespace qz::tools
