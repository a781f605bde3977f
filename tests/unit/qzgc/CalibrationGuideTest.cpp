// SPDX-License-Identifier: MIT
#include "tools/qzgc/session/CalibrationGuide.h"
#include "tools/qzgc/commands/CalibrateView.h"
#include "tools/qzgc/terminal/Screen.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

// The steps of a calibration, and what they look like.

namespace {

using namespace qz::tools;
using Step = CalibrationGuide::Step;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

CalibrationRow row(const std::string& label) {
    return {.label = label,
            .name = label,
            .springsBack = true,
            .logicalMaximum = 1000,
            .value = 500,
            .seenMinimum = 1000,
            .before = {.minimum = 0, .maximum = 1000, .rest = 500},
            .after = {.minimum = 0, .maximum = 1000, .rest = 500}};
}

class CalibrationGuideTest : public testing::Test {
protected:
    void moveX() {
        CalibrationRow& x = rows_.front();
        x.isSeen = x.isMoved = true;
        x.seenMinimum = x.after.minimum = 20;
        x.seenMaximum = x.after.maximum = 980;
        x.after.rest = 510;
        x.value = 510;
    }
    void restAt(std::int64_t raw) { rows_.front().after.rest = rows_.front().value.emplace(raw); }
    void pass(int milliseconds) {
        now_ += std::chrono::milliseconds(milliseconds);
        guide_.tick(now_);
        guide_.noteShown();
    }
    void press(int key) { guide_.press(key, now_); }
    /// Up to the question.
    void goToTheEnd() {
        moveX();
        pass(0);
        press(keyEnter);
        pass(1000);
        ASSERT_EQ(guide_.step(), Step::Confirming);
    }
    std::string page(int columns, int lines, bool unicode = true) {
        Canvas canvas(lines, columns, unicode);
        drawCalibration(canvas, guide_, "Stick");
        return canvas.text();
    }

    std::vector<CalibrationRow> rows_ = {row("X"), row("Slider")};
    CalibrationGuide guide_{[this] { return rows_; }};
    CalibrationGuide::Time now_{0};
};

TEST_F(CalibrationGuideTest, GoesOnOnlyWhenSomethingWasMoved) {
    EXPECT_EQ(guide_.step(), Step::Moving);
    pass(0);
    press(keyEnter);
    EXPECT_EQ(guide_.step(), Step::Moving);
    EXPECT_THAT(guide_.instruction(), StartsWith("Nothing has been moved yet. "));
    moveX();
    pass(0);
    press(keyEnter);
    EXPECT_EQ(guide_.step(), Step::LettingGo);
    EXPECT_FALSE(guide_.hasEnded());
}

TEST_F(CalibrationGuideTest, WaitsUntilEverythingIsStill) {
    moveX();
    pass(0);
    press(keyEnter);
    pass(999);
    EXPECT_EQ(guide_.step(), Step::LettingGo);
    rows_.front().value = 531;
    pass(0);
    pass(999);
    EXPECT_EQ(guide_.step(), Step::LettingGo) << "it moved in between";
    rows_.front().value = 540;
    pass(1);
    EXPECT_EQ(guide_.step(), Step::Confirming) << "so little is jitter";
    rows_.front().value = 580;
    pass(0);
    EXPECT_EQ(guide_.step(), Step::Confirming);
    rows_.front().value = 600;
    pass(0);
    EXPECT_EQ(guide_.step(), Step::LettingGo) << "taken hold of again";
    press(keyEnter);
    EXPECT_EQ(guide_.step(), Step::Confirming) << "who does not want to wait";
    rows_.front().value = 700;
    pass(0);
    EXPECT_EQ(guide_.step(), Step::Confirming) << "some controls are never still";
    press('m');
    pass(0);
    press(keyEnter);
    pass(1000);
    EXPECT_EQ(guide_.step(), Step::Confirming);
    rows_.front().value = 500;
    pass(0);
    EXPECT_EQ(guide_.step(), Step::LettingGo);
}

TEST_F(CalibrationGuideTest, WaitsForValuesThatAreNotKnownYet) {
    rows_.back().value = std::nullopt;
    moveX();
    pass(0);
    press(keyEnter);
    pass(500);
    rows_.back().value = 3;
    pass(500);
    EXPECT_EQ(guide_.step(), Step::LettingGo);
    pass(1000);
    EXPECT_EQ(guide_.step(), Step::Confirming);
}

TEST_F(CalibrationGuideTest, IsConfirmedByEnterOrY) {
    goToTheEnd();
    press('x');
    EXPECT_FALSE(guide_.hasEnded());
    press(keyEnter);
    EXPECT_TRUE(guide_.hasEnded());
    EXPECT_TRUE(guide_.isConfirmed());
}

TEST_F(CalibrationGuideTest, IsConfirmedByY) {
    goToTheEnd();
    press('y');
    EXPECT_TRUE(guide_.isConfirmed());
}

TEST_F(CalibrationGuideTest, GoesBackToMoving) {
    goToTheEnd();
    press('m');
    EXPECT_EQ(guide_.step(), Step::Moving);
    EXPECT_FALSE(guide_.hasEnded());
    press('y');
    EXPECT_FALSE(guide_.hasEnded()) << "nothing is asked here";
}

TEST_F(CalibrationGuideTest, IsCancelledInEveryStep) {
    for (const int key : {static_cast<int>('q'), keyEscape}) {
        CalibrationGuide guide([this] { return rows_; });
        guide.press(key, now_);
        EXPECT_TRUE(guide.hasEnded());
        EXPECT_FALSE(guide.isConfirmed());
    }
    moveX();
    for (const int key : {static_cast<int>('q'), keyEscape}) {
        CalibrationGuide guide([this] { return rows_; });
        guide.noteShown();
        guide.press(keyEnter, now_);
        ASSERT_EQ(guide.step(), Step::LettingGo);
        guide.press(key, now_);
        EXPECT_TRUE(guide.hasEnded());
        EXPECT_FALSE(guide.isConfirmed());
    }
    for (const int key : {static_cast<int>('q'), static_cast<int>('n'), keyEscape}) {
        CalibrationGuide guide([this] { return rows_; });
        guide.noteShown();
        guide.press(keyEnter, now_);
        guide.noteShown();
        guide.press(keyEnter, now_);
        ASSERT_EQ(guide.step(), Step::Confirming);
        guide.press(key, now_);
        EXPECT_TRUE(guide.hasEnded());
        EXPECT_FALSE(guide.isConfirmed());
    }
}

TEST_F(CalibrationGuideTest, TakesNoKeysAfterItsEnd) {
    for (const int key : {static_cast<int>('y'), keyEnter}) {
        guide_ = CalibrationGuide([this] { return rows_; });
        goToTheEnd();
        press('n');
        press(key);
        EXPECT_TRUE(guide_.hasEnded());
        EXPECT_FALSE(guide_.isConfirmed());
    }
}

TEST_F(CalibrationGuideTest, PassesNoStepUnseen) {
    moveX();
    pass(0);
    for (const Step step : {Step::LettingGo, Step::Confirming}) {
        press(keyEnter);
        press(keyEnter);
        EXPECT_EQ(guide_.step(), step);
        page(80, 24);
    }
    press(keyEnter);
    EXPECT_TRUE(guide_.isConfirmed());
}

TEST_F(CalibrationGuideTest, AnswersNoQuestionUnseen) {
    moveX();
    pass(0);
    press(keyEnter);
    page(80, 24);
    press(keyEnter);
    ASSERT_EQ(guide_.step(), Step::Confirming);
    press('y');
    EXPECT_FALSE(guide_.hasEnded());
    press('m');
    EXPECT_EQ(guide_.step(), Step::Confirming);
    page(80, 24);
    press('y');
    EXPECT_TRUE(guide_.isConfirmed());
}

TEST_F(CalibrationGuideTest, DrawsTheTravelAsItGrows) {
    EXPECT_THAT(page(80, 24),
                StartsWith("qzgc calibrate  Stick                                                step 1 of "
                           "3\nMove every axis, slider, dial and wheel to both of its ends, there and "
                           "back\nagain.\n"));
    EXPECT_THAT(page(60, 12, false), HasSubstr("\nX        ............|.............        -       -     500\n"));
    moveX();
    pass(0);
    EXPECT_THAT(page(60, 12, false), HasSubstr("\nX        ############|############.       20     980     510\n"));
    EXPECT_THAT(page(40, 12), HasSubstr("\nX        ██████│██████·       20     980\n"));
    EXPECT_THAT(page(40, 12), HasSubstr("\nEnter done  Esc cancel  ? keys\n"));
    rows_.back().value = std::nullopt;
    pass(0);
    EXPECT_THAT(page(60, 12, false), HasSubstr("\nSlider   ..........................        -       -       -\n"));
}

TEST_F(CalibrationGuideTest, DrawsBeforeAndAfter) {
    goToTheEnd();
    EXPECT_EQ(page(80, 10), "qzgc calibrate  Stick                                                step 3 of 3\n"
                            "This is to be saved. Not moved, and so as before: Slider.\n\n\n"
                            "control  before             after\n"
                            "X        0..1000, rest 500  20..980, rest 510\n"
                            "Slider   0..1000, rest 500  0..1000, rest 500  not moved\n\n\n"
                            "y or Enter save  m move more  n or Esc cancel  ? keys\n");
    EXPECT_EQ(page(40, 12), "qzgc calibrate  Stick        step 3 of 3\n"
                            "This is to be saved. Not moved, and so\n"
                            "as before: Slider.\n\n"
                            "X\n"
                            "  before 0..1000, rest 500\n"
                            "  after  20..980, rest 510\n"
                            "Slider: not moved\n"
                            "  before 0..1000, rest 500\n\n\n"
                            "y save  m move more  n cancel  ? keys\n");
    EXPECT_THAT(page(200, 60), HasSubstr("\nSlider   0..1000, rest 500  0..1000, rest 500  not moved\n"));
    rows_.front().isMovedLittle = true;
    pass(0);
    EXPECT_THAT(page(80, 10), HasSubstr("\nX        0..1000, rest 500  20..980, rest 510  moved little\n"));
    EXPECT_THAT(page(40, 12), HasSubstr("\nX: moved little\n"
                                        "  before 0..1000, rest 500\n"
                                        "  after  20..980, rest 510\n"));
    rows_.front().isMovedLittle = false;
    rows_.front().after = rows_.front().before;
    pass(0);
    EXPECT_THAT(page(80, 24), HasSubstr("\nX        0..1000, rest 500  0..1000, rest 500  unchanged\n"));
}

TEST_F(CalibrationGuideTest, ScrollsWhereThereIsNoRoom) {
    for (int i = 0; i < 10; ++i) {
        rows_.push_back(row("Axis " + std::to_string(i)));
    }
    pass(0);
    EXPECT_THAT(page(40, 12), Not(HasSubstr("Axis 4")));
    press(keyDown);
    EXPECT_THAT(page(40, 12), HasSubstr("Axis 4"));
    press(keyPageDown);
    EXPECT_THAT(page(40, 12), HasSubstr("Axis 9"));
    press(keyUp);
    EXPECT_THAT(page(40, 12), Not(HasSubstr("Axis 9"))) << "and not beyond the end before";
    press(keyPageUp);
    EXPECT_THAT(page(40, 12), HasSubstr("\nX  "));
    EXPECT_EQ(page(0, 0), "");
}

TEST_F(CalibrationGuideTest, ShowsALongInstructionWholeAlsoWhereItIsNarrow) {
    moveX();
    restAt(970);
    pass(0);
    press(keyEnter);
    pass(0);
    pass(1000);
    ASSERT_EQ(guide_.step(), Step::Confirming);
    EXPECT_EQ(page(40, 12), "qzgc calibrate  Stick        step 3 of 3\n"
                            "This is to be saved. At rest far from\n"
                            "the middle of its travel: X. A lever\n"
                            "that stays where it is left must be left\n"
                            "in its middle, or not be saved. Not\n"
                            "moved, and so as before: Slider.\n"
                            "X: rest far off\n"
                            "  before 0..1000, rest 500\n"
                            "  after  20..980, rest 970\n"
                            "Slider: not moved\n"
                            "  before 0..1000, rest 500\n"
                            "y save  m move more  n cancel  ? keys\n");
    EXPECT_THAT(page(40, 8), Not(HasSubstr("Slider: not moved")));
    press(keyPageDown);
    EXPECT_EQ(page(40, 8), "qzgc calibrate  Stick        step 3 of 3\n"
                           "moved, and so as before: Slider.\n"
                           "X: rest far off\n"
                           "  before 0..1000, rest 500\n"
                           "  after  20..980, rest 970\n"
                           "Slider: not moved\n"
                           "  before 0..1000, rest 500\n"
                           "y save  m move more  n cancel  ? keys\n");
}

TEST_F(CalibrationGuideTest, WarnsOfARestFarFromTheMiddle) {
    moveX();
    restAt(970);
    pass(0);
    press(keyEnter);
    pass(0);
    pass(1000);
    ASSERT_EQ(guide_.step(), Step::Confirming);
    EXPECT_THAT(
        guide_.instruction(),
        StartsWith("This is to be saved. At rest far from the middle of its travel: X. A lever that stays where "
                   "it is left must be left in its middle, or not be saved. Not moved"));
    EXPECT_THAT(page(80, 24), HasSubstr("20..980, rest 970  rest far off\n"));
    restAt(500);
    pass(0);
    EXPECT_EQ(guide_.step(), Step::LettingGo) << "it was brought to its middle";
    pass(1000);
    EXPECT_THAT(guide_.instruction(), StartsWith("This is to be saved. Not moved"));
}

} // namespace
