// SPDX-License-Identifier: MIT
#include "tools/qzgc/monitor/MonitorView.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace qz::tools {
namespace {

using std::chrono::milliseconds;
using testing::HasSubstr;

using Kind = ControlKind;

ControllerIdentity identity(const std::string& name) {
    return {.name = name, .kind = "Joystick", .typeID = "1-2", .instanceID = "1-2.A", .bus = "USB"};
}

MonitoredControl control(Kind kind, const std::string& name, std::int64_t max, std::optional<std::int64_t> raw) {
    MonitoredControl made;
    made.kind = kind;
    made.name = name;
    made.logicalMax = made.calibratedMax = max;
    made.rest = kind == Kind::Moving ? max / 2 : 0;
    made.raw = raw;
    made.normalized = raw ? static_cast<double>(*raw) / static_cast<double>(max) : 0.0;
    return made;
}

/// A wheel with a bit of everything, after two seconds of rest.
MonitorModel wheel() {
    auto controller = std::make_shared<MonitoredController>();
    controller->identity = identity("Räder GT");
    controller->number = 1;
    MonitoredControl x = control(Kind::Moving, "X", 100, 75);
    x.action = "steer";
    x.calibratedMin = 10;
    x.calibratedMax = 90;
    x.spread.add(74, milliseconds(0));
    x.spread.add(75, milliseconds(1500));
    MonitoredControl y = control(Kind::Moving, "Y", 100, 20);
    y.action = "gas";
    y.reversed = true;
    y.spread.add(80, milliseconds(0));
    y.spread.add(20, milliseconds(1900));
    MonitoredControl slider = control(Kind::Moving, "Slider", 65535, std::nullopt);
    slider.rest = 0;
    controller->controls = {x, y, slider, control(Kind::Hat, "Hat", 7, 1)};
    for (int i = 1; i <= 14; ++i) {
        controller->controls.push_back(control(Kind::Button, "Button " + std::to_string(i), 1, i == 2 ? 1 : 0));
    }
    controller->controls[4].action = "horn";
    controller->controls.push_back(control(Kind::Other, "65280 / 32", 255, 17));
    for (int i = 0; i < 125; ++i) {
        controller->reports.count(milliseconds(1000 + 8 * i));
    }
    MonitorModel model;
    model.add(controller);
    return model;
}

std::string drawn(const MonitorModel& model, int rows, int columns, bool unicode = true) {
    Canvas canvas(rows, columns, unicode);
    drawMonitor(canvas, model, milliseconds(2000));
    return canvas.text();
}

TEST(MonitorView, FillsAnOrdinaryTerminal) {
    EXPECT_EQ(drawn(wheel(), 16, 80), R"( Räder GT, USB, 1-2.A                                             125 reports/s
control  action  travel                                 raw  value         noise
X        steer      [··············│███████▌·····]       75  0.750       1  1.2%
Y        -gas    [······▊██████████│················]    20  0.800        moving
Slider           [··································]     -      -             -
Hat               ↗ up right                              1  0.143
buttons   1 horn [2] 3  4  5  6  7  8  9  10  11  12  13  14
others    65280 / 32=17







 q quit  ? keys
)");
}

TEST(MonitorView, FillsASmallTerminal) {
    EXPECT_EQ(drawn(wheel(), 10, 40), R"( Räder GT                         125/s
X      steer  [·····│██▊··]     75 0.750
Y      -gas  [··▌███│······]    20 0.800
Slider       [·············]     -     -
Hat           ↗ up right         1 0.143
 1 [2] 3  4  5  6  7  8  9  10  11  12
 13  14
 65280 / 32=17

 q quit  ? keys
)");
}

TEST(MonitorView, FillsALargeTerminal) {
    EXPECT_EQ(
        drawn(wheel(), 18, 120),
        R"( Räder GT, USB, 1-2.A                                                                                     125 reports/s
control  action  travel                                                                         raw  value         noise
X        steer          [······························│█████████████████▌···········]           75  0.750       1  1.2%
Y        -gas    [··············▊██████████████████████│····································]    20  0.800        moving
Slider           [··········································································]     -      -             -
Hat               ↗ up right                                                                      1  0.143
buttons   1 horn [2] 3  4  5  6  7  8  9  10  11  12  13  14
others    65280 / 32=17









 q quit  ? keys
)");
}

TEST(MonitorView, DoesWithASCII) {
    EXPECT_EQ(drawn(wheel(), 16, 80, false),
              R"( R?der GT, USB, 1-2.A                                             125 reports/s
control  action  travel                                 raw  value         noise
X        steer      [..............|########.....]       75  0.750       1  1.2%
Y        -gas    [.......##########|................]    20  0.800        moving
Slider           [..................................]     -      -             -
Hat               / up right                              1  0.143
buttons   1 horn [2] 3  4  5  6  7  8  9  10  11  12  13  14
others    65280 / 32=17







 q quit  ? keys
)");
}

TEST(MonitorView, ShowsWhatIsHeldWithoutColours) {
    Canvas canvas(16, 80);
    drawMonitor(canvas, wheel(), milliseconds(2000));
    int lit = 0;
    for (int row = 1; row < 15; ++row) {
        for (int column = 0; column < 80; ++column) {
            lit += canvas.cell(row, column).text == "[" && canvas.cell(row, column).style.reverse &&
                           canvas.cell(row, column).style.bold
                       ? 1
                       : 0;
        }
    }
    EXPECT_EQ(lit, 1);
}

TEST(MonitorView, ScrollsWhatDoesNotFit) {
    MonitorModel model = wheel();
    Canvas canvas(6, 40);
    const MonitorWindow window = drawMonitor(canvas, model, milliseconds(2000));
    EXPECT_EQ(window.rows, 7);
    EXPECT_EQ(window.visible, 4);
    EXPECT_EQ(window.mostScrolled(), 3);
    EXPECT_THAT(canvas.text(), HasSubstr("↑↓ scroll"));
    EXPECT_THAT(canvas.text(), HasSubstr("1-4 of 7"));
    EXPECT_THAT(canvas.text(), HasSubstr("\nX "));
    model.scrolled = 3;
    EXPECT_THAT(drawn(model, 6, 40), HasSubstr("4-7 of 7"));
    EXPECT_THAT(drawn(model, 6, 40), HasSubstr("65280 / 32=17"));
    model.scrolled = 99;
    EXPECT_EQ(drawn(model, 6, 40), (model.scrolled = 3, drawn(model, 6, 40)));
}

TEST(MonitorView, ListsSeveralControllersAndThoseThatCannotBeUsed) {
    MonitorModel model = wheel();
    for (std::size_t i = 2; i <= 9; ++i) {
        model.add(std::make_shared<MonitoredController>(*model.controllers.front()));
        model.controllers.back()->number = i;
    }
    model.selected = 6;
    model.unusable.push_back({.identity = identity("Locked"), .reason = "no permission to read it"});
    model.unusable.push_back({.identity = identity("Other"), .reason = "it does not answer"});
    const std::string text = drawn(model, 24, 80);
    EXPECT_THAT(text, HasSubstr("> 7  Räder GT"));
    EXPECT_THAT(text, HasSubstr("  6  Räder GT"));
    EXPECT_THAT(text, HasSubstr("! Locked: no permission to read it\n"));
    EXPECT_THAT(text, HasSubstr("! Other: it does not answer\n"));
    EXPECT_THAT(text, HasSubstr("Tab next"));
    EXPECT_THAT(drawn(model, 12, 40), HasSubstr("> 7"));
    model.controllers.clear();
    model.selected = 0;
    EXPECT_THAT(drawn(model, 12, 80), HasSubstr("! Locked: no permission to read it\n"));
    EXPECT_THAT(drawn(model, 12, 80), HasSubstr("Waiting for a controller.\n"));
    EXPECT_THAT(drawn(model, 12, 80), HasSubstr("'qzgc list' tells why one is refused.\n"));
    model.listing = "'qzgc list --from a.hid'";
    EXPECT_THAT(drawn(model, 12, 80), HasSubstr("'qzgc list --from a.hid' tells why one is refused.\n"));
    model.wanted = "wheel";
    EXPECT_THAT(drawn(model, 12, 80), HasSubstr("Waiting for a controller called \"wheel\".\n"));
    model.wanted.clear();
    for (int i = 0; i < 9; ++i) {
        model.unusable.push_back(model.unusable.front());
    }
    EXPECT_THAT(drawn(model, 12, 80), HasSubstr("! Locked (and 8 more): "));
}

TEST(MonitorView, SaysWhatIsOverAndWhatWentWrong) {
    MonitorModel model = wheel();
    model.sourceHasEnded = true;
    model.latestError = "it does not answer";
    EXPECT_THAT(drawn(model, 24, 80), HasSubstr("recording over"));
    EXPECT_THAT(drawn(model, 24, 80), HasSubstr("it does not answer"));
    model.controllers.clear();
    EXPECT_THAT(drawn(model, 24, 80), HasSubstr("No controller is left in the recording."));
    auto empty = std::make_shared<MonitoredController>();
    model.add(empty);
    EXPECT_THAT(drawn(model, 24, 80), HasSubstr("It has no controls."));
}

TEST(MonitorView, ListsOtherValuesOnceTheyHaveBeenSent) {
    MonitorModel model = wheel();
    std::vector<MonitoredControl>& controls = model.controllers.front()->controls;
    controls.push_back(control(Kind::Other, "65280 / 32", 255, std::nullopt));
    controls.push_back(control(Kind::Other, "65280 / 32", 255, 18));
    controls.push_back(control(Kind::Other, "65280 / 33", 255, 19));
    EXPECT_THAT(drawn(model, 24, 80), HasSubstr("others    65280 / 32=17  18  65280 / 33=19\n"));
}

TEST(MonitorView, LeavesOutActionsAndThenValuesWhereTheyLeaveNoRoomForBars) {
    EXPECT_THAT(drawn(wheel(), 10, 27), HasSubstr("\nX      [···│▌·]    75 0.750\n"));
    EXPECT_THAT(drawn(wheel(), 10, 20), HasSubstr("\nX      [··│▊·]    75\n"));
}

TEST(MonitorView, MarksActionsThatAreCut) {
    MonitorModel model = wheel();
    model.controllers.front()->controls.front().action = "steer the left front wheel";
    EXPECT_THAT(drawn(model, 16, 80), HasSubstr("X        steer the lef...   [··"));
}

TEST(MonitorView, SurvivesEverySize) {
    MonitorModel model = wheel();
    model.add(std::make_shared<MonitoredController>(*model.controllers.front()));
    model.unusable.push_back({.identity = identity("Locked"), .reason = "no permission to read it"});
    model.latestError = "it does not answer";
    for (int rows = 0; rows < 30; ++rows) {
        for (int columns = 0; columns < 100; columns += 3) {
            EXPECT_EQ(std::ranges::count(drawn(model, rows, columns), '\n'), rows);
        }
    }
}

std::string bar(const MonitoredControl& shown, int width, bool unicode = true) {
    Canvas canvas(1, width, unicode);
    drawBar(canvas, 0, 0, width, shown);
    return canvas.text();
}

TEST(Bars, ReachFromTheRestPointToTheValue) {
    MonitoredControl x = control(Kind::Moving, "X", 100, 50);
    EXPECT_EQ(bar(x, 12), "[·····│····]\n");
    x.raw = 100;
    EXPECT_EQ(bar(x, 12), "[·····│████]\n");
    x.raw = 0;
    EXPECT_EQ(bar(x, 12), "[█████│····]\n");
    x.raw = 75;
    EXPECT_EQ(bar(x, 12), "[·····│█▌··]\n");
    EXPECT_EQ(bar(x, 12, false), "[.....|##..]\n");
    x.raw = 1000;
    EXPECT_EQ(bar(x, 12), "[·····│████]\n") << "beyond its range";
    x.raw.reset();
    EXPECT_EQ(bar(x, 12), "[·····│····]\n");
}

TEST(Bars, GrowFromTheRightWithTheRestOfABlockReversed) {
    const MonitoredControl x = control(Kind::Moving, "X", 100, 12); // 1.2 cells: 0.8 of the second one
    Canvas canvas(1, 12);
    drawBar(canvas, 0, 0, 12, x);
    EXPECT_EQ(canvas.text(), "[·▏███│····]\n");
    EXPECT_TRUE(canvas.cell(0, 2).style.reverse);
    EXPECT_FALSE(canvas.cell(0, 3).style.reverse);
}

TEST(Bars, GrowFromTheLowEndWithoutARestPoint) {
    MonitoredControl slider = control(Kind::Moving, "Slider", 100, 30);
    slider.rest = 0;
    EXPECT_EQ(bar(slider, 12), "[███·······]\n");
    slider.raw = 0;
    EXPECT_EQ(bar(slider, 12), "[··········]\n");
}

TEST(Bars, PutTheCalibratedRangeInBrackets) {
    MonitoredControl x = control(Kind::Moving, "X", 100, 50);
    x.calibratedMin = 20;
    x.calibratedMax = 80;
    EXPECT_EQ(bar(x, 12), "  [···│··]\n");
    x.calibratedMin = -100;
    x.calibratedMax = 300;
    EXPECT_EQ(bar(x, 12), "[···│······]\n") << "wider than what the device declares";
    x.calibratedMin = x.calibratedMax = x.logicalMax = 0;
    EXPECT_EQ(bar(x, 12), "[]\n");
}

} // namespace
} // namespace qz::tools
