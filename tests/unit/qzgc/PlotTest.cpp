// SPDX-License-Identifier: MIT
#include "tests/unit/qzgc/ToolFixture.h"
#include "tests/unit/qzgc/WellFormed.h"

#include "tools/qzgc/plot/Pictures.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

// The command plot, from a recording to its picture.

namespace {

using qz::tests::faultOfXML;
using qz::tests::Outcome;
using namespace qz::tools;

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

/// A stick with one axis of eight bits and one button.
const std::string stick =
    "R: 30 05 01 09 04 a1 01 15 00 26 ff 00 75 08 95 01 09 30 81 02 05 09 09 01 25 01 75 01 81 02 c0\n"
    "N: Some <Joystick> & \"more\"\nI: 3 1234 5678\n";
const std::string moved = stick + "E: 000001.000000 2 80 00\nE: 000001.500000 2 ff 01\nE: 000002.000000 2 00 00\n";
const std::string flight = QZGC_TEST_DATA "/recordings/extreme-3d-pro-flight.hid";

class Plot : public qz::tests::ToolTest {
protected:
    /// The picture that a command line makes.
    std::string picture(const std::string& arguments) const {
        const Outcome outcome = run("plot " + arguments);
        EXPECT_EQ(outcome.status, 0) << outcome.complaint;
        EXPECT_THAT(outcome.complaint, IsEmpty());
        EXPECT_EQ(faultOfXML(outcome.output), "");
        return outcome.output;
    }
    void expectRefused(const std::string& arguments, int status, const std::string& complaint) const {
        const Outcome outcome = run("plot " + arguments);
        EXPECT_EQ(outcome.status, status) << arguments;
        EXPECT_THAT(outcome.output, IsEmpty()) << arguments;
        EXPECT_EQ(outcome.complaint, complaint);
    }
};

std::size_t count(const std::string& text, const std::string& part) {
    std::size_t times = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++times;
    }
    return times;
}

TEST_F(Plot, DrawsALaneForEachControlAndActionThatChanged) {
    write("moved.hid", moved);
    const std::string svg = picture("moved.hid");
    EXPECT_THAT(svg, HasSubstr(">X</text>"));
    EXPECT_THAT(svg, HasSubstr(">Button 1</text>"));
    EXPECT_THAT(svg, HasSubstr(">roll</text>"));
    EXPECT_THAT(svg, HasSubstr(">fire (Button 1)</text>"));
    EXPECT_THAT(svg, HasSubstr("Some &lt;Joystick&gt; &amp; &quot;more&quot;"));
    // Half a second is 380 columns: the axis is a step above its middle, then at its ends, over a lane of 44.
    EXPECT_THAT(svg, HasSubstr("<path d=\"M200 89.8H580V69H960V111H976\" class=\"curve\"/>"));
    EXPECT_EQ(count(svg, "class=\"lane\""), 4U);
}

TEST_F(Plot, DrawsHatsWithMoreThanEightPlaces) {
    // A hat of degrees in 16 bits.
    write("degrees.hid", "R: 20 05 01 09 04 a1 01 15 00 26 67 01 75 10 95 01 09 39 81 42 c0\nN: Stick\nI: 3 1 2\n"
                         "E: 000001.000000 2 ff ff\nE: 000001.500000 2 5a 00\nE: 000002.000000 2 ff ff\n");
    EXPECT_EQ(count(picture("degrees.hid"), "class=\"lane\""), 1U);
    EXPECT_THAT(picture("degrees.hid"), HasSubstr(">Hat</text>"));
    EXPECT_THAT(picture("degrees.hid --control hat"), HasSubstr("Hat"));
    EXPECT_EQ(picture("degrees.hid --control '1 / 57'"), picture("degrees.hid --control Hat"));
}

TEST_F(Plot, LeavesOutControlsThatStayedAsTheyWere) {
    write("axis.hid", stick + "E: 000001.000000 2 80 01\nE: 000002.000000 2 00 01\n");
    const std::string svg = picture("axis.hid");
    EXPECT_EQ(count(svg, "class=\"curve\""), 1U);
    EXPECT_EQ(count(svg, "class=\"switch\""), 0U);
    write("still.hid", stick);
    EXPECT_THAT(picture("still.hid"), HasSubstr("(nothing changed)"));
}

TEST_F(Plot, DrawsActionsAsTheyAreReported) {
    write("moved.hid", moved);
    std::filesystem::create_directories(path("config/qzgamecontroller"));
    write("config/qzgamecontroller/racer.json",
          R"({"QZGameControllerConfig": {"4660-22136": {"QZGCMappings": {"2": "steer"},
              "QZGCElementSpecifications": {"2": {"QZGCReversedDirection": "1"}}}}})");
    write("actions.json", R"({"x": ["steer"], "buttons": ["honk"]})");
    const std::string svg = picture("moved.hid --application racer --actions actions.json");
    EXPECT_THAT(svg, HasSubstr(">steer</text>"));
    EXPECT_THAT(svg, HasSubstr(">X, reversed</text>"));
    EXPECT_THAT(svg, Not(HasSubstr("honk"))) << "nothing triggers it";
    EXPECT_THAT(svg, HasSubstr("H580V69H960V111H976\" class=\"curve\"")) << "as the device has it";
    EXPECT_THAT(svg, HasSubstr("H580V215H960V173H976\" class=\"action\"")) << "the other way round";
}

TEST_F(Plot, MarksWhatIsPluggedInAndUnplugged) {
    const std::string svg = picture(flight);
    EXPECT_EQ(count(svg, ">unplugged</text>"), 1U);
    EXPECT_EQ(count(svg, ">plugged in</text>"), 1U);
    EXPECT_EQ(count(svg, "class=\"absent\""), 1U);
    EXPECT_EQ(count(svg, "class=\"device\""), 2U) << "the one that came again is the same, and the actions";
    EXPECT_THAT(svg, HasSubstr("class=\"hat\""));
}

TEST_F(Plot, DrawsTheControllersThatAreMeant) {
    std::string two = moved + "D: 1\n" + stick + "E: 000003.000000 2 01 00\nE: 000004.000000 2 02 00\n";
    two.replace(two.rfind("Some"), 4, "Other");
    two.replace(two.rfind("5678"), 4, "0001");
    write("two.hid", two);
    EXPECT_EQ(count(picture("two.hid"), "class=\"curve\""), 2U);
    EXPECT_EQ(count(picture("two.hid other"), "class=\"curve\""), 1U);
    EXPECT_EQ(count(picture("two.hid 4660-1"), "class=\"curve\""), 1U);
    expectRefused(
        "two.hid third", 1,
        "qzgc: no controller is called \"third\"; there is \"Some <Joystick> & \"more\"\" (4660-22136.56686b8d), "
        "\"Other <Joystick> & \"more\"\" (4660-1.79210d4e)\n");
    expectRefused("two.hid --control X", 2,
                  "qzgc: several controllers are meant; name one by its instance ID: \"Some <Joystick> & \"more\"\" "
                  "(4660-22136.56686b8d), \"Other <Joystick> & \"more\"\" (4660-1.79210d4e)\n");
    EXPECT_THAT(picture("two.hid other --control X"), HasSubstr("values in the recording: 1..2"));
}

TEST_F(Plot, DrawsTheCurveOfAControl) {
    write("moved.hid", moved);
    const std::string svg = picture("moved.hid --control X");
    EXPECT_THAT(svg, HasSubstr("logical range 0..255, not calibrated; rest point 127 gives 0.5, springs back"));
    EXPECT_THAT(svg, HasSubstr("values in the recording: 0..255, 3 changes"));
    EXPECT_THAT(svg, HasSubstr("hysteresis 0: every change is reported; triggers &quot;roll&quot;"));
    EXPECT_EQ(count(svg, "class=\"seen\""), 3U);
    EXPECT_EQ(count(svg, "class=\"rest\""), 1U);
    EXPECT_EQ(svg, picture("moved.hid --control 2"));
    EXPECT_EQ(svg, picture("moved.hid --control qzhid_x"));
    EXPECT_THAT(picture("moved.hid --control 'Button 1'"), HasSubstr("no rest point, one straight line"));
}

TEST_F(Plot, DrawsTheCurveOfAControlThatIsPluggedInLater) {
    write("late.hid", stick + "# qzgc: plugged in 000001.000000\nE: 000002.000000 2 10 00\n");
    EXPECT_THAT(picture("late.hid --control X"), HasSubstr("values in the recording: 16..16, 1 change "));
    write("gone.hid", stick + "E: 000001.000000 2 10 00\n# qzgc: unplugged 000002.000000\n");
    EXPECT_THAT(picture("gone.hid --control X"), HasSubstr("values in the recording: 16..16, 1 change "));
}

TEST_F(Plot, DrawsTheStoredCalibrationAndWhatLiesBeyondIt) {
    write("moved.hid", moved);
    std::filesystem::create_directories(path("config/qzgamecontroller"));
    write("config/qzgamecontroller/qzgc.json",
          R"({"QZGameController-Calibrations-4660-22136": {"2": [55, 155, 105]}})");
    const std::string svg = picture("moved.hid --control X");
    EXPECT_THAT(svg, HasSubstr("calibrated to 55..155; rest point 105 gives 0.5"));
    // 640 units for 255 values, 320 for the whole scale.
    EXPECT_THAT(svg, HasSubstr("<path d=\"M56 404L194 404L319.5 244L445 84L696 84\" class=\"curve\"/>"));
    EXPECT_EQ(count(svg, "class=\"seen\""), 3U) << "those that come to the same as others, too";
}

TEST_F(Plot, ReadsTheStandardInputOnce) {
    write("moved.hid", moved);
    EXPECT_EQ(picture("- <moved.hid"), picture("moved.hid"));
    EXPECT_EQ(picture("- --control X <moved.hid"), picture("moved.hid --control X"));
}

TEST_F(Plot, GivesTheSameBytesEveryTime) {
    EXPECT_EQ(picture(flight), picture(flight));
    EXPECT_EQ(picture(flight + " --control Y"), picture(flight + " --control Y"));
}

TEST_F(Plot, KeepsAPictureOfAnyLengthSmall) {
    std::string lines = stick;
    for (int i = 0; i < 60'000; ++i) {
        std::string time = std::to_string(i / 1000) + "." + std::to_string(1'000'000 + i % 1000 * 1000).substr(1);
        lines += "E: " + time + (i % 2 == 0 ? " 2 00 01\n" : " 2 ff 00\n");
    }
    write("long.hid", lines);
    EXPECT_LT(picture("long.hid").size(), 120'000U);
    EXPECT_LT(picture("long.hid --control X").size(), 20'000U);
}

TEST_F(Plot, ReplacesAFileAsAWhole) {
    write("moved.hid", moved);
    write("old.svg", "old");
    ::chmod(path("old.svg").c_str(), 0640);
    std::filesystem::create_symlink("old.svg", path("link.svg"));
    const Outcome outcome = run("plot moved.hid --output link.svg");
    EXPECT_EQ(outcome.status, 0) << outcome.complaint;
    EXPECT_THAT(outcome.output, IsEmpty());
    EXPECT_EQ(contents("old.svg"), picture("moved.hid"));
    EXPECT_TRUE(std::filesystem::is_symlink(path("link.svg")));
    EXPECT_EQ(static_cast<unsigned>(std::filesystem::status(path("old.svg")).permissions()), 0640U);
    EXPECT_EQ(run("plot moved.hid --output new.svg").status, 0);
    EXPECT_EQ(contents("new.svg"), contents("old.svg"));
    EXPECT_EQ(run("plot moved.hid --output -").output, contents("old.svg"));
}

TEST_F(Plot, LeavesTheOldFileWhenThereIsNoNewPicture) {
    write("moved.hid", moved);
    write("old.svg", "old");
    EXPECT_EQ(run("plot missing.hid --output old.svg").status, 2);
    EXPECT_EQ(run("plot moved.hid --control Q --output old.svg").status, 2);
    // No more than 512 bytes to a file.
    EXPECT_EQ(run("--version; ulimit -f 1; trap '' XFSZ; '" QZGC_TOOL "' plot moved.hid --output old.svg 2>complaint "
                  ">output")
                  .status,
              1);
    EXPECT_THAT(contents("complaint"), HasSubstr("qzgc: old.svg: cannot be written: File too large\n"));
    EXPECT_EQ(contents("old.svg"), "old");
    for (const auto& entry : std::filesystem::directory_iterator(path(""))) {
        EXPECT_THAT(entry.path().filename().string(), Not(HasSubstr("old.svg."))) << "a temporary file is left";
    }
}

TEST_F(Plot, FailsWhenThePictureCannotBeWritten) {
    write("moved.hid", moved);
    EXPECT_EQ(run("plot moved.hid >/dev/full").status, 1);
    expectRefused("moved.hid --output /dev/full", 1, "qzgc: /dev/full: cannot be written: No space left on device\n");
    expectRefused("moved.hid --output nowhere/a.svg", 2,
                  "nowhere/a.svg: cannot be written: No such file or directory\n");
    expectRefused("moved.hid --output .", 2, ".: cannot be written: Is a directory\n");
}

TEST_F(Plot, SaysWhatIsWrongWithItsInput) {
    write("moved.hid", moved);
    write("mouse.hid", "R: 4 a0 c0 a0 c0\nN: Mouse\nI: 3 1 2\n");
    expectRefused("missing.hid", 2, "missing.hid: cannot be read: No such file or directory; check the name\n");
    expectRefused(
        "mouse.hid", 1,
        "qzgc: the recording has no joystick or gamepad; 'qzgc elements --descriptor mouse.hid' shows what it has\n");
    expectRefused(
        "moved.hid --control wheel", 2,
        "qzgc: no control is called \"wheel\"; 'qzgc elements 4660-22136.56686b8d --from moved.hid' lists them\n");
    write("faulty.hid", "R: 2 05\n");
    EXPECT_EQ(run("plot faulty.hid").status, 2);
    EXPECT_THAT(run("plot faulty.hid").complaint, HasSubstr("faulty.hid: no valid recording: line 1: "));
    EXPECT_EQ(run("plot").status, 2);
    EXPECT_EQ(run("plot moved.hid --from moved.hid").status, 2) << "the recording is named already";
}

/// Whoever changes how pictures look draws those of the documentation anew, and looks at them.
TEST_F(Plot, IsWhatTheDocumentationShows) {
    const auto shown = [](const std::string& name) {
        std::ifstream file(QZGC_TEST_DATA "/../docs/pictures/" + name, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    };
    EXPECT_EQ(picture(flight), shown("timeline.svg"));
    std::filesystem::create_directories(path("config/qzgamecontroller"));
    write("config/qzgamecontroller/qzgc.json",
          R"({"QZGameController-Calibrations-1133-49685": {"3": [40, 960, 430]}})");
    EXPECT_EQ(picture(flight + " --control X"), shown("curve.svg"));
}

TEST_F(Plot, ShadesTheHysteresisThatIsAskedFor) {
    write("moved.hid", moved);
    EXPECT_THAT(picture("moved.hid --control X"), Not(HasSubstr("class=\"band\"")));
    EXPECT_THAT(picture("moved.hid --control X --hysteresis 0.125"), HasSubstr("hysteresis 0.125 (shaded)"));
    for (const char* const refused : {"--hysteresis 0.1", "--control X --hysteresis 2", "--control X --hysteresis nan",
                                      "--control X --hysteresis x"}) {
        EXPECT_EQ(run("plot moved.hid " + std::string(refused)).status, 2) << refused;
    }
}

TEST(PlotPicture, ShadesTheHysteresis) {
    Curve curve;
    curve.control = "X";
    curve.device.name = "Stick\x01";
    curve.logicalMax = curve.observedMax = 100;
    curve.line = {{0, 0.0, 0}, {50, 0.5, 0}, {100, 1.0, 0}};
    EXPECT_THAT(pictureOf(curve), Not(HasSubstr("class=\"band\"")));
    curve.hysteresis = 0.125;
    const std::string svg = pictureOf(curve);
    EXPECT_EQ(faultOfXML(svg), "");
    EXPECT_THAT(svg, HasSubstr("hysteresis 0.125 (shaded)"));
    // An eighth of 320 above and below the line, cut at the ends of the scale.
    EXPECT_THAT(svg, HasSubstr("d=\"M56 364L376 204L696 84L696 124L376 284L56 404Z\" class=\"band\""));
    EXPECT_THAT(svg, HasSubstr("no values in the recording"));
}

TEST(PlotPicture, PointsToARangeThatGoesBeyondTheAxis) {
    Curve curve;
    curve.logicalMax = 100;
    curve.observedMin = -5000;
    curve.observedMax = 60;
    curve.line = {{0, 0.75, 0}, {60, 1.0, 0}, {100, 1.0, 0}};
    const std::string svg = pictureOf(curve);
    EXPECT_EQ(faultOfXML(svg), "");
    EXPECT_THAT(svg, HasSubstr("class=\"edgeName\">← -5000</text>"));
    EXPECT_EQ(count(svg, "class=\"edge\""), 1U);
    EXPECT_THAT(svg, HasSubstr("<line x1=\"440\" y1=\"84\" x2=\"440\" y2=\"404\" class=\"edge\"/>"));
    EXPECT_THAT(svg, HasSubstr("<rect x=\"56\" y=\"84\" width=\"384\" height=\"320\" class=\"range\"/>"));
    curve.observedMin = 70; // the other way round: no range at all
    EXPECT_EQ(count(pictureOf(curve), "class=\"range\""), 0U);
    EXPECT_EQ(count(pictureOf(curve), "class=\"edge\""), 2U);
}

TEST(PlotPicture, BearsAnEmptyTimeLine) {
    const TimeLine line{
        {std::chrono::microseconds(1'000'000), TimeLineLayout::columns}, {{{}, true, Trace({}), {}}}, {}};
    EXPECT_EQ(faultOfXML(pictureOf(line, layOut(line))), "");
}

} // namespace
