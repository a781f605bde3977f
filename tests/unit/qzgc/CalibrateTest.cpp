// SPDX-License-Identifier: MIT
#include "platform/Text.h"
#include "tests/unit/qzgc/ToolFixture.h"
#include "tools/qzgc/session/Calibration.h"
#include "tools/qzgc/session/Controllers.h"
#include "tools/qzgc/session/EventLoop.h"
#include "tools/qzgc/session/Storing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

// The command "calibrate" of scripts.

namespace {

using qz::tests::Outcome;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

// X (cookie 2) springs back, the throttle (a slider, cookie 3) does not; a button is 4.
constexpr const char* device = "R: 40 05 01 09 04 a1 01 15 00 26 ff 00 75 08 95 01 09 30 81 02 09 36 81 22 05 09 09 01 "
                               "25 01 75 01 95 01 81 02 75 07 81 01 c0\n";
constexpr const char* stored = "QZGameController-Calibrations-4660-22136";

std::string report(int microseconds, int x, int throttle) {
    using qz::platform::hexadecimal;
    return "E: 000000.00000" + std::to_string(microseconds) + " 3 " + hexadecimal(static_cast<unsigned>(x), 2) + ' ' +
           hexadecimal(static_cast<unsigned>(throttle), 2) + " 00\n";
}

class Calibrate : public qz::tests::ToolTest {
protected:
    /// A recording of the stick with these reports.
    void record(const std::string& reports) const {
        write("stick.hid", std::string(device) + "N: Stick\nU: A1\nI: 3 1234 5678\n" + reports);
    }
    Outcome calibrate(const std::string& arguments) const {
        return run("calibrate --from stick.hid --fast " + arguments);
    }
    /// A recording in which the stick is plugged in at this time, after another one has gone; then it moves.
    void recordLate(const std::string& time) const {
        write("late.hid", "D: 0\n" + std::string(device) + "N: Other\nU: B2\nI: 3 1 2\nD: 1\n" + device +
                              "N: Stick\nU: A1\nI: 3 1234 5678\nD: 0\n" + report(0, 0, 0) +
                              "# qzgc: unplugged 000000.000100\nD: 1\n# qzgc: plugged in " + time + '\n' + moved_);
    }
    std::string preferences() const { return contents("config/qzgamecontroller/qzgc.json"); }

    const std::string moved_ =
        report(0, 128, 7) + report(1, 250, 7) + report(2, 10, 7) + report(3, 240, 7) + report(4, 120, 7);
};

TEST_F(Calibrate, SavesWhatTheLibraryMakesOfIt) {
    record(moved_);
    const Outcome outcome = calibrate("--yes");
    EXPECT_EQ(outcome.status, 0) << outcome.complaint;
    EXPECT_EQ(outcome.output, "saved the calibration of Stick\n"
                              "control  before             after\n"
                              "X        0..255, rest 127   10..250, rest 120\n"
                              "Slider   0..255, rest 127   0..255, rest 127   not moved\n");
    EXPECT_THAT(outcome.complaint, IsEmpty());
    EXPECT_EQ(preferences(),
              std::string("{\n  \"") + stored +
                  "\": {\n    \"2\": [\n      10,\n      250,\n      120\n    ],\n    \"3\": [\n      0,\n"
                  "      255,\n      127\n    ]\n  }\n}\n");
    EXPECT_THAT(calibrate("--yes").output, HasSubstr("10..250, rest 120  10..250, rest 120  unchanged\n"));
}

TEST_F(Calibrate, PrintsJSON) {
    record(moved_);
    EXPECT_EQ(
        calibrate("stick --yes --json").output,
        R"({"name":"Stick","kind":"Joystick","type":"4660-22136","instance":"4660-22136.A1","bus":"USB",)"
        R"("saved":true,"controls":[{"cookie":2,"name":"X","nameKey":"QZHID_X","springsBack":true,)"
        R"("moved":true,"movedLittle":false,"movedPartly":false,"restFarOff":false,"changed":true,"before":{"minimum":0,"maximum":255,"rest":127},)"
        R"("after":{"minimum":10,"maximum":250,"rest":120}},{"cookie":3,"name":"Slider",)"
        R"("nameKey":"QZHID_Slider","springsBack":false,"moved":false,"movedLittle":false,"movedPartly":false,)"
        R"("restFarOff":false,"changed":false,)"
        R"("before":{"minimum":0,"maximum":255,"rest":127},"after":{"minimum":0,"maximum":255,"rest":127}}]})"
        "\n");
}

TEST_F(Calibrate, ShowsButSavesNothingWithoutBeingTold) {
    record(moved_);
    const Outcome outcome = calibrate("");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.output, StartsWith("Stick\ncontrol "));
    EXPECT_THAT(outcome.output, HasSubstr("10..250, rest 120\n"));
    EXPECT_EQ(outcome.complaint, "qzgc: nothing was saved; add --yes to save it\n");
    EXPECT_THAT(preferences(), IsEmpty());
    EXPECT_THAT(calibrate("--json").output, HasSubstr("\"saved\":false"));
    EXPECT_THAT(preferences(), IsEmpty());
}

TEST_F(Calibrate, KeepsTheRestOfAControlThatDoesNotSpringBack) {
    record(report(0, 128, 50) + report(1, 128, 200) + report(2, 128, 100) + report(3, 128, 60));
    EXPECT_EQ(calibrate("--yes").output, "saved the calibration of Stick\n"
                                         "control  before             after\n"
                                         "X        0..255, rest 127   0..255, rest 127   not moved\n"
                                         "Slider   0..255, rest 127   50..200, rest 127  moved over 58 %\n");
}

TEST_F(Calibrate, TakesARestOfZeroForTheMiddle) {
    record(report(0, 128, 0) + report(1, 0, 0) + report(2, 200, 0) + report(3, 0, 0));
    EXPECT_THAT(calibrate("--yes").output, HasSubstr("0..200, rest 100\n"));
}

TEST_F(Calibrate, DoesNotTakeJitterForTravel) {
    record(moved_ + report(5, 120, 8) + report(6, 120, 7) + report(7, 120, 9));
    EXPECT_THAT(calibrate("--yes").output, HasSubstr("Slider   0..255, rest 127   0..255, rest 127   not moved\n"));
    EXPECT_THAT(preferences(), HasSubstr("\"3\": [\n      0,\n      255,\n      127\n"));
    record(moved_ + report(5, 120, 8) + report(6, 120, 7) + report(7, 120, 38));
    EXPECT_THAT(calibrate("").output, HasSubstr("Slider   0..255, rest 127   0..255, rest 127   not moved\n"));
}

TEST_F(Calibrate, SaysWhatWasMovedLittle) {
    record(moved_ + report(5, 120, 8) + report(6, 120, 7) + report(7, 120, 39));
    EXPECT_THAT(calibrate("--json").output,
                HasSubstr(R"("moved":true,"movedLittle":true,"movedPartly":true,"restFarOff":false,)"
                          R"("changed":true)"));
    EXPECT_THAT(calibrate("--yes").output, HasSubstr("Slider   0..255, rest 127   7..39, rest 127    moved little\n"));
    record(moved_ + report(5, 120, 7) + report(6, 120, 134));
    EXPECT_THAT(calibrate("").output, HasSubstr("7..134, rest 127   moved little\n"));
    record(moved_ + report(5, 120, 7) + report(6, 120, 135));
    EXPECT_THAT(calibrate("").output, HasSubstr("7..135, rest 127   moved over 50 %\n"));
    EXPECT_THAT(calibrate("--json").output, HasSubstr(R"("movedLittle":false,"movedPartly":true)"));
    record(moved_ + report(5, 120, 7) + report(6, 120, 199));
    EXPECT_THAT(calibrate("").output, HasSubstr("7..199, rest 127\n"));
}

TEST_F(Calibrate, WarnsOfWhatRestsFarFromTheMiddle) {
    const std::string advice = "At rest far from the middle of its travel: X. A lever that stays where it is left must "
                               "be left in its middle, or not be saved.\n";
    const std::string toBothEnds = report(0, 128, 7) + report(1, 250, 7) + report(2, 10, 7) + report(3, 250, 7);
    record(toBothEnds + report(4, 69, 7));
    EXPECT_THAT(calibrate("").output, HasSubstr("10..250, rest 69  rest far off\n"));
    EXPECT_THAT(calibrate("").output, EndsWith(advice));
    EXPECT_THAT(calibrate("--json").output, HasSubstr(R"("restFarOff":true)"));
    EXPECT_THAT(calibrate("--yes").output, EndsWith(advice));
    record(toBothEnds + report(4, 191, 7));
    EXPECT_THAT(calibrate("").output, HasSubstr("10..250, rest 191  rest far off\n"));
    for (const int rest : {70, 190}) {
        record(toBothEnds + report(4, rest, 7));
        EXPECT_THAT(calibrate("").output, HasSubstr("rest " + std::to_string(rest) + "\n")) << rest;
        EXPECT_THAT(calibrate("").output, testing::Not(HasSubstr("At rest"))) << rest;
    }
    // A rest of 0 becomes the middle, and what does not spring back keeps its rest.
    record(report(0, 128, 9) + report(1, 250, 0) + report(2, 0, 255) + report(3, 250, 0) + report(4, 0, 0));
    EXPECT_THAT(calibrate("").output, testing::Not(HasSubstr("far")));
}

TEST_F(Calibrate, MeasuresTravelByTheRangeSoFar) {
    record(moved_ + report(5, 120, 7) + report(6, 120, 39));
    ASSERT_EQ(calibrate("--yes").status, 0);
    record(moved_ + report(5, 120, 8) + report(6, 120, 11));
    EXPECT_THAT(calibrate("").output, HasSubstr("Slider   7..39, rest 127    7..11, rest 127    moved little\n"));
    record(moved_ + report(5, 120, 9) + report(6, 120, 10));
    EXPECT_THAT(calibrate("").output, HasSubstr("Slider   7..39, rest 127    7..39, rest 127    not moved\n"));
    std::filesystem::create_directories(path("config/qzgamecontroller"));
    write("config/qzgamecontroller/qzgc.json",
          R"({"QZGameController-Calibrations-4660-22136": {"3": [-4611686018427387904, 4611686018427387904, 1]}})");
    record(moved_ + report(5, 120, 7) + report(6, 120, 200));
    EXPECT_THAT(calibrate("").output, HasSubstr(" 7..200, rest 1\n"));
}

TEST_F(Calibrate, SavesNothingWhenNothingMoved) {
    record(moved_);
    ASSERT_EQ(calibrate("--yes").status, 0);
    const std::string before = preferences();
    record(report(0, 128, 7) + report(1, 129, 7) + report(2, 128, 7));
    const Outcome outcome = calibrate("--yes");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.output, StartsWith("Stick\ncontrol "));
    EXPECT_EQ(outcome.complaint, "qzgc: no control was moved: nothing was saved\n");
    EXPECT_EQ(preferences(), before);
    record("");
    EXPECT_EQ(calibrate("--yes").status, 1);
    EXPECT_EQ(preferences(), before);
}

TEST_F(Calibrate, SavesNothingWhenTheControllerIsUnplugged) {
    record(moved_);
    ASSERT_EQ(calibrate("--yes").status, 0);
    const std::string before = preferences();
    record(report(0, 0, 0) + report(1, 255, 0) + report(2, 100, 0) + "# qzgc: unplugged 000001.000000\n" +
           "# qzgc: plugged in 000002.000000\n" + report(3, 0, 0) + report(4, 200, 0));
    const Outcome outcome = calibrate("--yes");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.output, IsEmpty());
    EXPECT_EQ(outcome.complaint, "qzgc: the controller was unplugged: nothing was saved; plug it in and begin again\n");
    EXPECT_EQ(preferences(), before);
}

TEST_F(Calibrate, AdmitsTheChosenControllerAlone) {
    write("stick.hid", std::string("D: 0\n") + device + "N: Stick\nU: A1\nI: 3 1234 5678\nD: 1\n" + device +
                           "N: Other\nU: B2\nI: 3 1 2\n" + "D: 0\n" + moved_ + "D: 1\n" + report(5, 0, 0) +
                           report(6, 255, 0) + report(7, 99, 0));
    EXPECT_EQ(calibrate("--yes").status, 2) << "which?";
    EXPECT_THAT(preferences(), IsEmpty());
    EXPECT_EQ(calibrate("stick --yes").status, 0);
    EXPECT_THAT(preferences(), HasSubstr(stored));
    EXPECT_THAT(preferences(), testing::Not(HasSubstr("Calibrations-1-2")));
    EXPECT_EQ(calibrate("B2 --yes").status, 1) << "no such name or ID";
    EXPECT_THAT(calibrate("1-2").output, HasSubstr("X        0..255, rest 127  0..255, rest 99\n"));
}

TEST_F(Calibrate, WaitsForAControllerThatIsPluggedInLater) {
    recordLate("009000.000000");
    const Outcome fast = run("calibrate stick --from late.hid --fast --yes");
    EXPECT_EQ(fast.status, 0) << fast.complaint;
    EXPECT_THAT(fast.output, HasSubstr("X        0..255, rest 127   10..250, rest 120\n"));
    EXPECT_THAT(fast.complaint, IsEmpty());
    EXPECT_EQ(run("calibrate --from late.hid --fast").status, 2) << "which?";

    recordLate("000000.010000");
    const Outcome inTime = run("calibrate stick --from late.hid --yes");
    EXPECT_EQ(inTime.status, 0) << inTime.complaint;
    EXPECT_THAT(inTime.output, HasSubstr("10..250, rest 120  10..250, rest 120  unchanged\n"))
        << "with all that it sends at once";
    EXPECT_EQ(inTime.complaint, "qzgc: waiting for \"Stick\" (4660-22136.A1), which the recording plugs in later\n");
}

TEST_F(Calibrate, SavesNothingWhenItIsInterruptedBeforeTheControllerComes) {
    recordLate("009000.000000");
    const Outcome outcome = run("calibrate stick --from late.hid --yes & sleeper=$!; "
                                "until grep -q 'SigCgt:.*[4-7c-f]...$' /proc/$sleeper/status; do :; done; "
                                "kill -TERM $sleeper; wait $sleeper");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.complaint, EndsWith("qzgc: ended before the controller was plugged in; nothing was changed\n"));
    EXPECT_THAT(preferences(), IsEmpty());
}

TEST_F(Calibrate, RefusesAControllerThatHasNothingToCalibrate) {
    write("stick.hid",
          "R: 23 05 01 09 04 a1 01 15 00 25 01 75 01 95 08 05 09 19 01 29 08 81 02 c0\nN: Pad\nI: 3 1 2\n");
    const Outcome outcome = calibrate("--yes");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.complaint,
              "qzgc: the controller has no axis, slider, dial or wheel: there is nothing to calibrate\n");
    EXPECT_THAT(preferences(), IsEmpty());
}

TEST_F(Calibrate, FailsWhenTheCalibrationCannotBeStored) {
    record(moved_);
    std::filesystem::create_directories(directory() / "config/qzgamecontroller/qzgc.json");
    const Outcome outcome = calibrate("--yes");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.output, IsEmpty());
    EXPECT_THAT(outcome.complaint, HasSubstr("\nqzgc: not saved: "));
    EXPECT_THAT(outcome.complaint, EndsWith("it is not a regular file; move it away\n"));
}

/// Saves a calibration while `file` is in the way of the preferences, and tries once more as the end of the process
/// does.
void saveInVain(const qz::tools::SessionOptions& options, const std::filesystem::path& file) {
    using namespace qz::tools;
    Session session(options);
    session.start(std::make_shared<ChosenControllerListener>(chooseController(options, "")));
    session.settle();
    Calibration calibration(session, session.manager().devices().front());
    EventLoop(session.source()).run();
    const std::filesystem::path aside = file.string() + ".aside";
    std::filesystem::rename(file, aside);
    std::filesystem::create_directory(file);
    bool hasFailed = false;
    try {
        calibration.save();
    } catch (const Failure&) {
        hasFailed = true;
    }
    std::filesystem::remove(file);
    std::filesystem::rename(aside, file);
    expectSaved(session.stored());
    std::_Exit(hasFailed ? 0 : 1);
}

TEST_F(Calibrate, TakesBackWhatCouldNotBeStored) {
    record(moved_);
    ASSERT_EQ(calibrate("--yes").status, 0);
    const std::string before = preferences();
    record(report(0, 128, 7) + report(1, 200, 7) + report(2, 50, 7) + report(3, 199, 7) + report(4, 130, 7));
    const qz::tools::SessionOptions options{
        .application = "qzgc", .from = path("stick.hid"), .mayStore = true, .fast = true};
    // In a process of its own: a process has its preferences once, for all sessions.
    EXPECT_EXIT(
        {
            ::setenv("XDG_CONFIG_HOME", path("config").c_str(), 1);
            saveInVain(options, path("config/qzgamecontroller/qzgc.json"));
        },
        testing::ExitedWithCode(0), "");
    EXPECT_EQ(preferences(), before);
}

TEST_F(Calibrate, WatchesForAsLongAsItIsTold) {
    record(moved_ + "E: 009999.000000 3 00 00 00\n");
    const Outcome outcome = run("calibrate --from stick.hid --seconds 0.05 --yes");
    EXPECT_EQ(outcome.status, 0) << outcome.complaint;
    EXPECT_THAT(outcome.output, HasSubstr("10..250, rest 120\n"));
    // Without waiting the recording's own time counts.
    record(moved_ + "E: 000001.500000 3 ff 00 00\nE: 000001.500001 3 00 00 00\n");
    EXPECT_THAT(calibrate("--seconds 1.5").output, HasSubstr("10..255, rest 255  rest far off\n"));
    EXPECT_THAT(calibrate("--seconds 1.499").output, HasSubstr("10..250, rest 120  unchanged\n"));
}

TEST_F(Calibrate, SavesNothingWhenTheControllerDoesNotComeInTime) {
    recordLate("009000.000000");
    for (const char* const pace : {"--fast --seconds 8999.5", "--seconds 0.01"}) {
        const Outcome outcome = run(std::string("calibrate stick --from late.hid --yes ") + pace);
        EXPECT_EQ(outcome.status, 1) << pace;
        EXPECT_THAT(outcome.complaint, EndsWith("qzgc: the recording plugs the controller in after the time that "
                                                "--seconds gives: nothing was saved; give it more\n"));
    }
    EXPECT_THAT(preferences(), IsEmpty());
}

TEST_F(Calibrate, SavesNothingWhenItIsInterrupted) {
    record(moved_ + "E: 009999.000000 3 00 00 00\n");
    // Not before the command takes signals over; SIGINT is none of those in the background of a shell.
    const Outcome outcome = run("calibrate --from stick.hid --yes & sleeper=$!; "
                                "until grep -q 'SigCgt:.*[4-7c-f]...$' /proc/$sleeper/status; do :; done; "
                                "kill -TERM $sleeper; wait $sleeper");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.complaint, "qzgc: interrupted: nothing was saved\n");
    EXPECT_THAT(preferences(), IsEmpty());
}

TEST_F(Calibrate, KeepsToThePreferencesOfTheApplication) {
    record(moved_);
    EXPECT_EQ(calibrate("--yes --application org.example.racer").status, 0);
    EXPECT_THAT(contents("config/qzgamecontroller/org.example.racer.json"), HasSubstr(stored));
    EXPECT_THAT(preferences(), IsEmpty());
}

TEST_F(Calibrate, AnswersWrongUse) {
    record(moved_);
    EXPECT_EQ(run("calibrate --yes").complaint,
              "qzgc: say how long to watch the controls: --seconds N; or name a recording with --from\n");
    EXPECT_EQ(run("calibrate").status, 2);
    EXPECT_EQ(run("calibrate --fast --yes").status, 2);
    for (const char* const arguments :
         {"--seconds 0", "--seconds x", "--seconds -NaN", "--seconds", "--seconds -1", "--dance", "a b"}) {
        const Outcome outcome = calibrate(arguments);
        EXPECT_EQ(outcome.status, 2) << arguments;
        EXPECT_THAT(outcome.complaint, EndsWith("; see 'qzgc calibrate --help'\n")) << arguments;
    }
    EXPECT_EQ(run("calibrate --from missing.hid").complaint,
              "missing.hid: cannot be read: No such file or directory; check the name\n");
    EXPECT_EQ(run("calibrate nobody --from stick.hid").status, 1);
    EXPECT_THAT(calibrate("--help").output, HasSubstr("--seconds NUMBER"));
    EXPECT_EQ(calibrate("--yes >/dev/full").status, 1);
}

} // namespace
