// SPDX-License-Identifier: MIT
#include "tests/unit/qzgc/ToolFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

// The commands that follow devices, from their command line on, over the devices of recordings.

namespace {

using qz::tests::Outcome;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

using JSON = nlohmann::json;

/// Two sticks and a mouse, which is none.
const std::string sticks = "R: 20 05 01 09 04 a1 01 15 00 26 ff 00 75 08 95 01 09 30 81 02 c0\n"
                           "N: Left Stick\nU: L1\nI: 3 1234 5678\nE: 000001.000000 1 80\n"
                           "D: 1\nR: 23 05 01 09 05 a1 01 15 00 25 01 75 01 95 03 05 09 19 01 29 03 81 02 c0\n"
                           "N: Right \x1B Stick\nU: R1\nI: 5 1234 0001\n"
                           "D: 2\nR: 4 a0 c0 a0 c0\nN: Mouse\nI: 3 1 2\n";

class Commands : public qz::tests::ToolTest {
protected:
    Commands() { write("sticks.hid", sticks); }

    JSON json(const std::string& arguments) const {
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.status, 0) << outcome.complaint;
        EXPECT_THAT(outcome.complaint, IsEmpty());
        return JSON::parse(outcome.output);
    }
    void expectRefused(const std::string& arguments, int status, const std::string& complaint) const {
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.status, status) << arguments;
        EXPECT_THAT(outcome.output, IsEmpty()) << arguments;
        EXPECT_EQ(outcome.complaint, complaint) << arguments;
    }
};

TEST_F(Commands, ListTheControllersOfARecording) {
    const Outcome outcome = run("list --from sticks.hid");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.complaint, IsEmpty());
    EXPECT_EQ(outcome.output, "Left Stick\n"
                              "  kind        Joystick, USB\n"
                              "  type        4660-22136\n"
                              "  instance    4660-22136.L1\n"
                              "  controls    0 buttons, 1 moving control\n"
                              "  calibrated  no\n"
                              "  configured  no\n"
                              "Right   Stick\n"
                              "  kind        Gamepad, Bluetooth\n"
                              "  type        4660-1\n"
                              "  instance    4660-1.R1\n"
                              "  controls    3 buttons, 0 moving controls\n"
                              "  calibrated  no\n"
                              "  configured  no\n");
}

TEST_F(Commands, ListControllersAsJSON) {
    const JSON expected = JSON::parse(R"([
        {"name": "Left Stick", "kind": "Joystick", "type": "4660-22136", "instance": "4660-22136.L1", "bus": "USB",
         "usable": true, "calibrated": false, "configured": false,
         "controls": {"buttons": 0, "movingControls": 1, "hats": 0, "directionPadButtons": 0, "others": 0}},
        {"name": "Right   Stick", "kind": "Gamepad", "type": "4660-1", "instance": "4660-1.R1", "bus": "Bluetooth",
         "usable": true, "calibrated": false, "configured": false,
         "controls": {"buttons": 3, "movingControls": 0, "hats": 0, "directionPadButtons": 0, "others": 0}}])");
    EXPECT_EQ(json("list --json --from sticks.hid"), expected);
}

TEST_F(Commands, ListNoControllersWhereThereAreNone) {
    write("mouse.hid", "R: 4 a0 c0 a0 c0\nN: Mouse\nI: 3 1 2\n");
    EXPECT_EQ(run("list --from mouse.hid").output, "no controllers\n");
    EXPECT_EQ(json("list --json --from mouse.hid"), JSON::array());
}

TEST_F(Commands, ListWhatTheChosenApplicationHasStored) {
    std::filesystem::create_directories(path("config/qzgamecontroller"));
    write("config/qzgamecontroller/racer.json", R"({"QZGameController-Calibrations-4660-22136": {"2": [1, 9, 5]},
        "QZGameControllerConfig": {"4660-1": {"QZGCMappings": {"2": "honk"}}}})");
    const JSON stored = json("list --json --from sticks.hid --application racer");
    EXPECT_EQ(stored[0]["calibrated"], true);
    EXPECT_EQ(stored[0]["configured"], false);
    EXPECT_EQ(stored[1]["calibrated"], false);
    EXPECT_EQ(stored[1]["configured"], true);
    EXPECT_EQ(json("list --json --from sticks.hid")[0]["calibrated"], false) << "the tool's own";
}

TEST_F(Commands, LookingStoresNothing) {
    run("list --from sticks.hid");
    run("elements left --from sticks.hid");
    EXPECT_FALSE(std::filesystem::exists(path("config")));
}

TEST_F(Commands, LookingLeavesPreferencesOfAnOldFormAlone) {
    std::filesystem::create_directories(path("config/qzgamecontroller"));
    const std::string old = R"({"EkinorBindings": {"4660-22136": {"QZGCMappings": {"2": "roll"}}}})";
    for (const char* const looking :
         {"list", "elements left", "monitor --lines --fast", "map left --show", "map left --json"}) {
        write("config/qzgamecontroller/qzgc.json", old);
        EXPECT_EQ(run(looking + std::string(" --from sticks.hid")).status, 0) << looking;
        EXPECT_EQ(contents("config/qzgamecontroller/qzgc.json"), old) << looking;
    }
    EXPECT_EQ(run("plot sticks.hid").status, 0);
    EXPECT_EQ(contents("config/qzgamecontroller/qzgc.json"), old);
    EXPECT_EQ(run("map left --from sticks.hid --clear X").status, 0);
    EXPECT_THAT(contents("config/qzgamecontroller/qzgc.json"), testing::Not(HasSubstr("EkinorBindings")));
}

TEST_F(Commands, RefuseAControllerThatTheRecordingDoesNotHaveAtAnyPace) {
    for (const char* const pace : {"", "--fast", "--seconds 0.1"}) {
        expectRefused("monitor nosuch --from sticks.hid " + std::string(pace), 1,
                      "qzgc: the recording has no controller called \"nosuch\"; 'qzgc list --from sticks.hid' names "
                      "those that it "
                      "has\n");
    }
}

TEST_F(Commands, PrintTheElementsOfTheControllerThatIsMeant) {
    const std::string right = "Right   Stick\n"
                              "cookie  type       usage     range             name\n"
                              "     1  collection 01:05                       1 / 5\n"
                              "     2  button     09:01     0..1                Button 1\n"
                              "     3  button     09:02     0..1                Button 2\n"
                              "     4  button     09:03     0..1                Button 3\n";
    for (const char* const device : {"right", "4660-1", "4660-1.R1"}) {
        EXPECT_EQ(run("elements --from sticks.hid " + std::string(device)).output, right) << device;
    }
    const JSON left = json("elements --json left --from sticks.hid");
    ASSERT_EQ(left.size(), 1U);
    EXPECT_EQ(left[0]["instance"], "4660-22136.L1");
    EXPECT_EQ(left[0]["elements"][0]["members"][0]["nameKey"], "QZHID_X");
    EXPECT_EQ(left[0]["elements"][0]["members"][0]["maximum"], 255);
}

TEST_F(Commands, SayHowARecordingIsNamed) {
    for (const char* const command : {"elements", "monitor", "record out.hid", "calibrate --yes --seconds 1", "map"}) {
        expectRefused(
            std::string(command) + " sticks.hid", 2,
            "qzgc: no controller is called \"sticks.hid\", but a file is: to take the devices of a recording, "
            "use --from sticks.hid\n");
    }
    EXPECT_FALSE(std::filesystem::exists(path("out.hid")));
    EXPECT_THAT(run("list sticks.hid").complaint,
                HasSubstr("; to take the devices of a recording, use --from sticks.hid;"));
    EXPECT_THAT(run("elements --from sticks.hid sticks.hid").complaint, HasSubstr("; there is \"Left"));
}

TEST_F(Commands, SayWhichControllersThereAreWhenNotOneIsMeant) {
    const std::string all = "\"Left Stick\" (4660-22136.L1), \"Right   Stick\" (4660-1.R1)\n";
    expectRefused("elements --from sticks.hid", 2,
                  "qzgc: several controllers are meant; name one by its instance ID: " + all);
    expectRefused("elements --from sticks.hid stick", 2,
                  "qzgc: several controllers are meant; name one by its instance ID: " + all);
    expectRefused("elements --from sticks.hid wheel", 1, "qzgc: no controller is called \"wheel\"; there is " + all);
    write("mouse.hid", "R: 4 a0 c0 a0 c0\nN: Mouse\nI: 3 1 2\n");
    expectRefused(
        "elements --from mouse.hid", 1,
        "qzgc: the recording has no joystick or gamepad; 'qzgc elements --descriptor mouse.hid' shows what it has\n");
}

TEST_F(Commands, TakeTheFirstOfTwoControllersThatNothingTellsApart) {
    const std::string one = "R: 20 05 01 09 04 a1 01 15 00 26 ff 00 75 08 95 01 09 30 81 02 c0\nN: Twin\nI: 3 1 2\n";
    write("twins.hid", one + "D: 1\n" + one);
    EXPECT_EQ(json("list --json --from twins.hid").size(), 2U);
    const Outcome outcome = run("elements --json --from twins.hid");
    EXPECT_EQ(JSON::parse(outcome.output).size(), 1U);
    EXPECT_EQ(
        outcome.complaint,
        "qzgc: several controllers are \"Twin\" (1-2.3f42dec2), and nothing tells them apart: the first is taken\n");
    // One that goes and comes again is no other.
    write("again.hid", one + "# qzgc: unplugged 000001.000000\n# qzgc: plugged in 000002.000000\n");
    EXPECT_THAT(run("plot again.hid --control X").complaint, IsEmpty());
}

TEST_F(Commands, FindControllersThatAreRecordedLater) {
    write("late.hid", "R: 4 a0 c0 a0 c0\nN: Mouse\nI: 3 1 2\nD: 1\n"
                      "R: 20 05 01 09 04 a1 01 15 00 26 ff 00 75 08 95 01 09 30 81 02 c0\nN: Late\nI: 3 1 2\n"
                      "# qzgc: plugged in 009000.000000\nE: 009001.000000 1 80\n");
    EXPECT_THAT(run("elements --from late.hid").output, StartsWith("Late\ncookie"));
    const Outcome listed = run("list --from late.hid");
    EXPECT_THAT(listed.output, StartsWith("no controllers when the recording begins; plugged in later: \"Late\" ("));
    EXPECT_THAT(run("map --from late.hid").output, StartsWith("Late: nothing is stored"));
    EXPECT_THAT(run("calibrate --from late.hid --fast").output, StartsWith("Late\ncontrol"));
}

TEST_F(Commands, PrintIDsThatSteerNoTerminal) {
    write("esc.hid", "R: 20 05 01 09 04 a1 01 15 00 26 ff 00 75 08 95 01 09 30 81 02 c0\nN: S\nU: a\x1B[31m\n"
                     "I: 3 1 2\n");
    EXPECT_THAT(run("list --from esc.hid").output, HasSubstr("  instance    1-2.a [31m\n"));
    EXPECT_EQ(json("list --json --from esc.hid")[0]["instance"], "1-2.a\x1B[31m");
    write("c1.hid", "R: 20 05 01 09 04 a1 01 15 00 26 ff 00 75 08 95 01 09 30 81 02 c0\nN: A\xC2\x9B"
                    "31mB\xE2\x80\xAE\n"
                    "I: 3 1 2\n");
    EXPECT_THAT(run("list --from c1.hid").output, StartsWith("A 31mB"));
    EXPECT_THAT(run("list --from c1.hid").output, testing::Not(HasSubstr("\xE2\x80\xAE")));
    EXPECT_THAT(run("monitor --lines --fast --from c1.hid").output, HasSubstr("connected     A 31mB"));
}

TEST_F(Commands, MeanTheInstanceThatIsNamedWhateverOtherNamesHold) {
    write("alias.hid", sticks + "D: 3\nR: 20 05 01 09 04 a1 01 15 00 26 ff 00 75 08 95 01 09 30 81 02 c0\n"
                                "N: copy of 4660-1.R1\nI: 3 7 7\n");
    EXPECT_EQ(json("elements --json 4660-1.R1 --from alias.hid")[0]["name"], "Right   Stick");
}

TEST_F(Commands, ReadTheStandardInputOnce) {
    EXPECT_EQ(run("elements left --from - <sticks.hid").output, run("elements left --from sticks.hid").output);
    EXPECT_EQ(run("list --from - <sticks.hid").output, run("list --from sticks.hid").output);
}

TEST_F(Commands, RefuseRecordingsThatAreOfNoUse) {
    expectRefused("list --from missing.hid", 2,
                  "missing.hid: cannot be read: No such file or directory; check the name\n");
    expectRefused("list --from .", 2, ".: cannot be read: Is a directory; name a file in it\n");
    expectRefused("list --from - <&-", 2,
                  "standard input: cannot be read: Bad file descriptor; it is closed, or not open for reading\n");
    write("empty.hid", "");
    EXPECT_EQ(run("list --from empty.hid").status, 2);
    EXPECT_THAT(run("list --from empty.hid").complaint, StartsWith("empty.hid: no valid recording: "));
    write("refused.hid", "R: 2 05 01\nN: Half\nI: 3 1 2\nD: 1\nR: 1 c0\nN: Broken\nI: 3 1 2\n");
    expectRefused("list --from refused.hid", 2,
                  "qzgc: the recording's device \"Broken\" cannot be used: its descriptor is refused at byte 0: no "
                  "collection is open that could end here\n");
}

TEST_F(Commands, FailWhenTheOutputCannotBeWritten) {
    for (const char* const arguments : {"list", "list --json", "elements left", "elements left --json"}) {
        const Outcome outcome = run(std::string(arguments) + " --from sticks.hid >/dev/full");
        EXPECT_EQ(outcome.status, 1) << arguments;
        EXPECT_EQ(
            outcome.complaint,
            "qzgc: cannot write to standard output: No space left on device; make room, or write to another place\n")
            << arguments;
    }
}

TEST_F(Commands, SayWhyTheOutputCannotBeWritten) {
    EXPECT_EQ(
        run("list --from sticks.hid >&-").complaint,
        "qzgc: cannot write to standard output: Bad file descriptor; it is closed or cannot be written to: begin the "
        "command with one that can\n");
    for (const char* const arguments :
         {"list >&- <&-", "replay sticks.hid --json --fast >&-", "replay sticks.hid --lines >&-",
          "monitor --lines --fast --from sticks.hid <&- >&-", "record - --from sticks.hid --fast >&-",
          "calibrate left --yes --fast --from sticks.hid <&- >&-"}) {
        const std::string from = std::string(arguments).starts_with("list") ? " --from sticks.hid" : "";
        run("--version; timeout 20 '" QZGC_TOOL "' " + std::string(arguments) + from + " 2>said; echo $? >status");
        EXPECT_EQ(contents("status"), "1\n") << arguments;
        EXPECT_THAT(contents("said"), HasSubstr("qzgc: cannot write to standard output: Bad file descriptor; "))
            << arguments;
    }
    write("many.hid", "R: 25 05 01 09 04 a1 01 15 00 25 01 75 01 96 80 3e 05 09 19 01 2a 80 3e 81 02 c0\nN: Buttons\n"
                      "I: 3 1234 5678\n");
    EXPECT_THAT(run("elements --from many.hid >/dev/full").complaint, HasSubstr(": No space left on device; "))
        << "that was long before the end";
}

TEST_F(Commands, RefuseWrongOptions) {
    for (const char* const arguments :
         {"list sticks.hid", "list --fast", "list --from", "list --from a --from b", "list --json=maybe",
          "elements a b", "elements a --descriptor a0c0", "elements --from sticks.hid --descriptor a0c0",
          "list --applications x", "list --from ''", "list --actions ''", "list --application ''",
          "plot sticks.hid --output ''"}) {
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.status, 2) << arguments;
        EXPECT_THAT(outcome.output, IsEmpty()) << arguments;
        EXPECT_THAT(outcome.complaint, testing::MatchesRegex("qzgc: [^\n]+; see 'qzgc [a-z]+ --help'\n")) << arguments;
    }
}

TEST_F(Commands, ComplainInOneLineThatSteersNoTerminal) {
    expectRefused(
        "elements --from sticks.hid \"$(printf 'a\\nb\\033[2J')\"", 1,
        "qzgc: no controller is called \"a b [2J\"; there is \"Left Stick\" (4660-22136.L1), \"Right   Stick\" "
        "(4660-1.R1)\n");
    EXPECT_THAT(run("$(printf 'a\\033[2J')").complaint, HasSubstr("a [2J"));
}

TEST_F(Commands, RefuseAnApplicationThatCannotBeAFilesName) {
    const std::string name(300, 'a');
    expectRefused("list --from sticks.hid --application " + name, 2,
                  "qzgc: --application " + name +
                      ": the application identifier is too long for a file name; choose a shorter one\n");
}

TEST_F(Commands, WarnOfDamagedPreferencesAndGoOn) {
    std::filesystem::create_directories(path("config/qzgamecontroller"));
    write("config/qzgamecontroller/qzgc.json", "{");
    const Outcome outcome = run("list --from sticks.hid");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.output, StartsWith("Left Stick\n"));
    EXPECT_THAT(outcome.complaint, testing::MatchesRegex("qzgc: [^\n]+\n"));
}

TEST_F(Commands, NameAStoredCalibrationThatCannotBeUsed) {
    std::filesystem::create_directories(path("config/qzgamecontroller"));
    const auto store = [&](const std::string& numbers) {
        write("config/qzgamecontroller/racer.json",
              "{\"QZGameController-Calibrations-4660-22136\": {\"2\": " + numbers + "}}");
    };
    const std::string beginning = "qzgc: the calibration stored in the preferences of \"racer\" cannot be used: "
                                  "\"QZGameController-Calibrations-4660-22136\" has for control 2 ";
    const std::string remedy =
        "; 'qzgc calibrate 4660-22136.L1 --reset --application racer --from sticks.hid' removes it\n";
    for (const char* const numbers : {"[]", "[0, 255]"}) {
        store(numbers);
        expectRefused("list --from sticks.hid --application racer", 1, beginning + "fewer than three numbers" + remedy);
    }
    std::filesystem::rename(path("config/qzgamecontroller/racer.json"), path("config/qzgamecontroller/a%2fb.json"));
    EXPECT_THAT(run("list --from sticks.hid --application a/b").complaint,
                StartsWith("qzgc: the calibration stored in the preferences of \"a/b\" cannot be used: "));
    std::filesystem::rename(path("config/qzgamecontroller/a%2fb.json"), path("config/qzgamecontroller/qzgc.json"));
    EXPECT_THAT(run("list --from sticks.hid").complaint,
                StartsWith("qzgc: the calibration stored in qzgc's own preferences cannot be used: "));
    for (const char* const numbers :
         {"[-9223372036854775808, 9223372036854775807, 0]", "[2, 255, -9223372036854775808]"}) {
        store(numbers);
        const Outcome outcome = run("monitor --raw --lines --fast --from sticks.hid --application racer");
        EXPECT_EQ(outcome.status, 1) << numbers;
        EXPECT_EQ(outcome.complaint, beginning + "numbers that are too far apart" + remedy) << numbers;
    }
}

TEST_F(Commands, BearEveryStoredCalibrationThatTheLibraryBears) {
    std::filesystem::create_directories(path("config/qzgamecontroller"));
    for (const char* const stored :
         {R"(4660-22136": {"2": [-9223372036854775807, 9223372036854775807, 0]})",
          R"(4660-22136": {"2": [4294967296, 42949672960, 5000000000]})", R"(4660-22136": {"2": [9, 1, 5]})",
          R"(4660-22136": {"2": [1, 9, 5, 7]})", R"(4660-22136": {"1": [], "3": [], "a": []})",
          R"(4660-22136": {"2": [], "3": "void"})", R"(4660-22136": {"2": [1.5]})", R"(4660-22136": [])",
          R"(1-2": {"2": []})"}) {
        write("config/qzgamecontroller/qzgc.json", "{\"QZGameController-Calibrations-" + std::string(stored) + "}");
        for (const char* const command : {"list", "monitor --raw --lines --fast"}) {
            const Outcome outcome = run(command + std::string(" --from sticks.hid"));
            EXPECT_EQ(outcome.status, 0) << stored << '\n' << outcome.complaint;
            EXPECT_THAT(outcome.complaint, IsEmpty()) << stored;
        }
        EXPECT_EQ(run("plot sticks.hid left --control X").status, 0) << stored;
    }
}

TEST_F(Commands, NameThePlaceOfAFaultInAFileWithActions) {
    struct Fault {
        const char* text;
        const char* complaint;
    };
    for (const auto& [text, complaint] :
         {Fault{"", "line 1, column 1: not valid JSON: the text ends too early"},
          Fault{"{\"x\":\n  [\"a\"", "line 2, column 7: not valid JSON: the text ends too early"},
          Fault{"[]", "actions: expected an object"}, Fault{"null", "actions: expected an object"},
          Fault{R"({"x": "a"})", "x: expected an array"}, Fault{R"({"y": null})", "y: expected an array"},
          Fault{R"({"buttons": ["a", 1]})", "buttons[1]: expected a string"},
          Fault{R"({"legacyX": [["a"]]})", "legacyX[0]: expected a string"},
          Fault{R"({"legacyY": {}})", "legacyY: expected an array"},
          Fault{R"({"legacyButtons": [true]})", "legacyButtons[0]: expected a string"},
          Fault{R"({"z": []})", "z: unknown key; correct it, or leave it out"},
          Fault{R"({"x": [], "x": []})", "x: the key occurs twice in the object"}}) {
        write("actions.json", text);
        expectRefused("list --from sticks.hid --actions actions.json", 2,
                      "actions.json: " + std::string(complaint) + "\n");
    }
}

TEST_F(Commands, RefuseAFileWithActionsThatCannotBeRead) {
    expectRefused("list --from sticks.hid --actions missing", 2,
                  "missing: cannot be read: No such file or directory; check the name\n");
    expectRefused("list --from sticks.hid --actions .", 2, ".: cannot be read: Is a directory; name a file in it\n");
    write("latin1.json", "{\"x\": [\"\xFC\"]}");
    EXPECT_EQ(run("list --from sticks.hid --actions latin1.json").status, 2);
    EXPECT_THAT(run("list --from sticks.hid --actions latin1.json").complaint,
                StartsWith("latin1.json: line 1, column 9: not valid JSON"));
}

TEST_F(Commands, RefuseActionsWithoutAName) {
    write("actions.json", R"({"buttons": ["a", ""]})");
    expectRefused("list --from sticks.hid --actions actions.json", 2,
                  "actions.json: an action's name is empty; give it one\n");
}

TEST_F(Commands, TakeAnyListsOfActions) {
    for (const char* const text : {"{}", R"({"x": []})", R"({"x": ["a", "a"], "legacyX": ["old"]})"}) {
        write("actions.json", text);
        EXPECT_EQ(run("list --from sticks.hid --actions actions.json").status, 0) << text;
    }
}

} // namespace
