// SPDX-License-Identifier: MIT
#include "tests/unit/qzgc/ToolFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

// The command "map" of scripts.

namespace {

using qz::tests::Outcome;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

// Cookies: X 2, Slider 3, hat 4, buttons 1 and 2 are 5 and 6.
constexpr const char* stick =
    "R: 52 05 01 09 04 a1 01 15 00 26 ff 00 75 08 95 02 09 30 09 36 81 02 25 07 75 04 95 01 09 39 81 42 05 09 19 01 29 "
    "02 25 01 75 01 95 02 81 02 75 02 95 01 81 01 c0\nN: Stick\nU: A1\nI: 3 1234 5678\n";
constexpr const char* otherStick =
    "D: 1\nR: 52 05 01 09 04 a1 01 15 00 26 ff 00 75 08 95 02 09 30 09 36 81 02 25 07 75 04 95 01 09 39 81 42 05 09 19 "
    "01 29 02 25 01 75 01 95 02 81 02 75 02 95 01 81 01 c0\nN: Other\nU: B2\nI: 3 1234 5678\n";
constexpr const char* actions = R"({"x": ["roll", "yaw"], "y": ["pitch"], "buttons": ["fire"]})";
constexpr const char* identity =
    R"("name":"Stick","kind":"Joystick","type":"4660-22136","instance":"4660-22136.A1","bus":"USB")";

class Map : public qz::tests::ToolTest {
protected:
    Map() {
        write("stick.hid", stick);
        write("actions.json", actions);
    }

    Outcome map(const std::string& arguments) const {
        return run("map --from stick.hid --actions actions.json " + arguments);
    }
    std::string stored() const { return contents("config/qzgamecontroller/qzgc.json"); }
};

TEST_F(Map, ShowsTheDefaultMappingAndStoresNothing) {
    const Outcome shown = map("");
    EXPECT_EQ(shown.status, 0) << shown.complaint;
    EXPECT_EQ(shown.output, "Stick: nothing is stored, so the default mapping serves\n"
                            "cookie  name      direction  action\n"
                            "     2  X                    roll\n"
                            "     3  Slider               no action\n"
                            "     5  Button 1             fire\n"
                            "     6  Button 2             no action\n");
    EXPECT_EQ(map("--show").output, shown.output);
    EXPECT_EQ(map("stick <&-").output, shown.output);
    EXPECT_THAT(stored(), IsEmpty());
}

TEST_F(Map, ReadsAPipeOnce) {
    const std::string shown = map("").output;
    const Outcome piped =
        run("--version; cat stick.hid | '" QZGC_TOOL "' map --from /dev/stdin --actions actions.json --show >.output");
    EXPECT_EQ(piped.status, 0) << piped.complaint;
    EXPECT_EQ(contents(".output"), shown);
}

TEST_F(Map, PrintsJSON) {
    EXPECT_EQ(map("--json").output,
              std::string("{") + identity +
                  ",\"stored\":false,\"controls\":["
                  R"({"cookie":2,"name":"X","nameKey":"QZHID_X","action":"roll","reversed":false,"reversible":true},)"
                  R"({"cookie":3,"name":"Slider","nameKey":"QZHID_Slider","action":null,"reversed":false,)"
                  R"("reversible":false},)"
                  R"({"cookie":5,"name":"Button 1","nameKey":"QZHID_Button1","action":"fire","reversed":false,)"
                  R"("reversible":true},)"
                  R"({"cookie":6,"name":"Button 2","nameKey":"QZHID_Button2","action":null,"reversed":false,)"
                  R"("reversible":true}],"conflicts":[]})"
                  "\n");
    EXPECT_THAT(map("--set 'Button 2=fire' --json").output,
                EndsWith("\"conflicts\":[{\"action\":\"fire\",\"controls\":[5,6]}]}\n"));
}

TEST_F(Map, MakesAndStoresEditsInTheOrderOfTheCommandLine) {
    const Outcome edited = map("--set x=yaw --reset --set 3=pitch --reverse QZHID_X --clear 'button 1' --straight x");
    EXPECT_EQ(edited.status, 0) << edited.complaint;
    EXPECT_EQ(edited.output, "X: yaw\nreset to the default mapping\nSlider: pitch\nX: reversed\n"
                             "Button 1: no action\nX: not reversed\n");
    EXPECT_EQ(map("").output, "Stick\n"
                              "cookie  name      direction  action\n"
                              "     2  X                    roll\n"
                              "     3  Slider               pitch\n"
                              "     5  Button 1             no action\n"
                              "     6  Button 2             no action\n");
}

TEST_F(Map, KeepsEditsForTheNextTime) {
    map("--set x=yaw --reverse x --clear 5");
    EXPECT_EQ(map("--show").output, "Stick\n"
                                    "cookie  name      direction  action\n"
                                    "     2  X         reversed   yaw\n"
                                    "     3  Slider               no action\n"
                                    "     5  Button 1             no action\n"
                                    "     6  Button 2             no action\n");
    EXPECT_EQ(map("--straight x").output, "X: not reversed\n");
    EXPECT_THAT(map("--show").output, HasSubstr("     2  X                    yaw\n"));
    EXPECT_EQ(map("--reset").output, "reset to the default mapping\n");
    EXPECT_THAT(map("--show").output, HasSubstr("     2  X                    roll\n"));
    EXPECT_THAT(map("--show").output, HasSubstr("     5  Button 1             fire\n"));
}

TEST_F(Map, StoresNothingWhenOneOfTheEditsIsRefused) {
    map("--set x=yaw");
    const std::string before = stored();
    ASSERT_THAT(before, HasSubstr("yaw"));
    for (const char* const refused : {"--set x=dance", "--set x=fire", "--set x", "--set y=roll", "--clear y",
                                      "--reverse slider", "--set 4=fire"}) {
        const Outcome outcome = map(std::string("--clear x --set 'button 2=fire' ") + refused + " --reset");
        EXPECT_EQ(outcome.status, 2) << refused;
        EXPECT_THAT(outcome.output, IsEmpty()) << refused;
        EXPECT_EQ(std::count(outcome.complaint.begin(), outcome.complaint.end(), '\n'), 1) << outcome.complaint;
        EXPECT_EQ(stored(), before) << refused;
    }
}

TEST_F(Map, SaysWhatIsRefusedAndWhatThereIsInPlaceOfIt) {
    EXPECT_EQ(map("--set x=dance").complaint, "qzgc: no action is called \"dance\"; there is roll, yaw, pitch, fire\n");
    EXPECT_EQ(map("--set x=").complaint, "qzgc: no action is called \"\"; there is roll, yaw, pitch, fire\n");
    EXPECT_EQ(map("--set x=fire").complaint, "qzgc: X cannot trigger \"fire\"; what it can is roll, yaw, pitch\n");
    EXPECT_EQ(map("--set 'button 2=roll'").complaint, "qzgc: Button 2 cannot trigger \"roll\"; what it can is fire\n");
    EXPECT_EQ(map("--set 4=fire").complaint, "qzgc: Hat cannot trigger \"fire\"; it can trigger no action\n");
    for (const char* const hat : {"hat=fire", "'1 / 57=fire'"}) {
        EXPECT_EQ(map(std::string("--set ") + hat).complaint, map("--set 4=fire").complaint);
    }
    EXPECT_EQ(map("--set x").complaint, "qzgc: --set x: give a control and an action, as in --set X=roll\n");
    EXPECT_EQ(map("--set Button 2=fire").complaint,
              "qzgc: --set Button: give a control and an action, as in --set X=roll; a name with blanks wants quotes: "
              "--set 'Button 2=fire'\n");
    EXPECT_EQ(map("stick --set Button 2=fire").complaint,
              "qzgc: The following argument was not expected: 2=fire; a name with blanks wants quotes, as in 'Button "
              "3=fire'; see 'qzgc map --help'\n");
    write("none.json", "{}");
    EXPECT_EQ(run("map --from stick.hid --actions none.json --set x=roll").complaint,
              "qzgc: no action is called \"roll\"; the application has no actions: name a file that has some with "
              "--actions FILE\n");
    EXPECT_EQ(map("--clear y").complaint,
              "qzgc: no control is called \"y\"; 'qzgc elements 4660-22136.A1 --from stick.hid' lists them\n");
    EXPECT_EQ(map("--reverse slider").complaint,
              "qzgc: no direction is kept for Slider; what can be reversed is X, Button 1, Button 2\n");
}

TEST_F(Map, TakesTheFirstEqualsSignAsTheSeparator) {
    write("odd.json", R"({"buttons": ["a=b", "fire"]})");
    const Outcome outcome = run("map --from stick.hid --actions odd.json --clear 5 --set 6=a=b --show");
    EXPECT_EQ(outcome.status, 0) << outcome.complaint;
    EXPECT_THAT(outcome.output, HasSubstr("     6  Button 2             a=b\n"));
}

TEST_F(Map, ShowsAnActionThatIsOnSeveralControls) {
    const Outcome edited = map("--set 'button 2=fire'");
    EXPECT_EQ(edited.status, 0);
    EXPECT_EQ(edited.output, "Button 2: fire\n\"fire\" is on several controls: Button 1, Button 2\n");
    EXPECT_THAT(map("").output, EndsWith("\n\"fire\" is on several controls: Button 1, Button 2\n"));
}

TEST_F(Map, PrintsNoControlCharacters) {
    write("odd.json", R"({"x": ["a\u001b[31m\nb"], "buttons": ["c\u0007d"]})");
    const auto expectClean = [](const std::string& text, const char* what) {
        EXPECT_THAT(text, HasSubstr(what));
        for (const char each : {'\x1B', '\a'}) {
            EXPECT_EQ(text.find(each), std::string::npos) << text;
        }
    };
    const std::string odd = "map --from stick.hid --actions odd.json ";
    expectClean(run(odd + "--show").output, " a [31m b\n");
    expectClean(run(odd + "--set 3=\"$(printf 'a\\033[31m\\nb')\"").output,
                "Slider: a [31m b\n\"a [31m b\" is on several");
    expectClean(run(odd + "--set x=dance").complaint, "there is a [31m b, c d\n");
    expectClean(run(odd + "--set 5=\"$(printf 'a\\033[31m\\nb')\"").complaint, "what it can is c d\n");
    EXPECT_THAT(run(odd + "--json").output, HasSubstr(R"("action":"a\u001b[31m\nb")"));
}

TEST_F(Map, AsksForACookieWhereSeveralControlsHaveOneName) {
    // Two X axes, with the cookies 2 and 3.
    write("stick.hid", "R: 22 05 01 09 04 a1 01 15 00 26 ff 00 75 08 95 02 09 30 09 30 81 02 c0\nN: Twins\nI: 3 1 2\n");
    EXPECT_EQ(map("--set x=yaw").complaint, "qzgc: several controls are called \"x\"; name one by its cookie: 2, 3\n");
    EXPECT_EQ(map("--set 3=roll").output, "X (3): roll\n\"roll\" is on several controls: X (2), X (3)\n");
}

TEST_F(Map, FindsAControllerThatIsPluggedInLater) {
    write("late.hid", std::string("D: 0\n") + stick + otherStick +
                          "D: 0\nE: 000000.000000 3 80 00 08\n# qzgc: unplugged 000000.000001\n"
                          "D: 1\n# qzgc: plugged in 009000.000000\n");
    for (const char* const pace : {"", "--fast "}) {
        const Outcome set = run(std::string("map other --from late.hid --set x=yaw ") + pace);
        EXPECT_EQ(set.status, 0) << set.complaint;
        EXPECT_EQ(set.output, "X: yaw\n");
        EXPECT_THAT(run(std::string("map other --from late.hid --show ") + pace).output,
                    HasSubstr("X                    yaw\n"));
        EXPECT_THAT(run(std::string("map other --from late.hid --json ") + pace).output, HasSubstr("4660-22136.B2"));
    }
    EXPECT_EQ(run("map --from late.hid").status, 2) << "which?";
}

TEST_F(Map, AsksForAControllerWhereThereAreSeveralAndSharesNothing) {
    write("stick.hid", std::string("D: 0\n") + stick + otherStick);
    EXPECT_EQ(map("--show").status, 2);
    EXPECT_THAT(map("--show").complaint,
                StartsWith("qzgc: several controllers are meant; name one by its instance ID"));
    EXPECT_EQ(map("nothing").status, 1);
    EXPECT_EQ(map("other --set x=yaw").status, 0);
    EXPECT_THAT(map("4660-22136.B2").output, HasSubstr("X                    yaw\n"));
    // The model's configuration serves a unit that has none.
    EXPECT_THAT(map("4660-22136.A1").output, HasSubstr("X                    yaw\n"));
    EXPECT_EQ(map("4660-22136.A1 --reset").status, 0);
    EXPECT_THAT(map("4660-22136.A1").output, HasSubstr("X                    roll\n"));
    EXPECT_THAT(map("4660-22136.B2").output, HasSubstr("X                    yaw\n"));
}

TEST_F(Map, FailsWhenTheEditsCannotBeStored) {
    std::filesystem::create_directories(directory() / "config/qzgamecontroller/qzgc.json");
    for (const char* const why : {"it is not a regular file; move it away\n", "Not a directory"}) {
        const Outcome outcome = map("--set x=yaw");
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.output, IsEmpty());
        EXPECT_THAT(outcome.complaint, testing::AllOf(HasSubstr("\nqzgc: not saved: "), HasSubstr(why)));
        EXPECT_EQ(std::count(outcome.complaint.begin(), outcome.complaint.end(), '\n'), 2) << outcome.complaint;
        std::filesystem::remove_all(directory() / "config");
        write("config", "no directory");
    }
}

TEST_F(Map, EditsThePreferencesOfAnotherApplication) {
    EXPECT_EQ(map("--application org.example.racer --set x=yaw").status, 0);
    EXPECT_THAT(map("--show").output, HasSubstr("nothing is stored"));
    EXPECT_THAT(contents("config/qzgamecontroller/org.example.racer.json"), HasSubstr("yaw"));
    EXPECT_THAT(map("--application org.example.racer").output, HasSubstr("X                    yaw\n"));
}

TEST_F(Map, EditsNoOtherApplicationWithoutItsActions) {
    for (const char* const edit : {"--set x=roll", "--clear x", "--reverse x", "--reset --json"}) {
        const Outcome outcome = run(std::string("map --from stick.hid --application racer ") + edit);
        EXPECT_EQ(outcome.status, 2) << edit;
        EXPECT_EQ(outcome.complaint, "qzgc: --application racer: its actions are not known; name them with "
                                     "--actions FILE, or only look with --show\n");
    }
    EXPECT_FALSE(std::filesystem::exists(path("config/qzgamecontroller/racer.json")));
    EXPECT_EQ(run("map --from stick.hid --application racer --show").status, 0);
    EXPECT_EQ(run("map --from stick.hid --application racer").status, 0);
}

TEST_F(Map, KeepsWhatIsStoredUnderNamesThatTheActionsDoNotHave) {
    map("--set x=yaw");
    write("actions.json", R"({"x": ["steer"]})");
    EXPECT_THAT(map("").output, HasSubstr("X                    yaw\n"));
    EXPECT_EQ(map("--set slider=steer").status, 0);
    EXPECT_THAT(map("").output, HasSubstr("X                    yaw\n"));
}

TEST_F(Map, AnswersWrongUse) {
    for (const char* const arguments : {"--set", "--clear", "--reverse", "--straight", "--dance", "stick stick"}) {
        const Outcome outcome = map(arguments);
        EXPECT_EQ(outcome.status, 2) << arguments;
        EXPECT_THAT(outcome.complaint, EndsWith("; see 'qzgc map --help'\n")) << arguments;
    }
    EXPECT_EQ(run("map --fast").complaint, "qzgc: --fast is for recordings: name one with --from, or leave it out\n");
    EXPECT_EQ(run("map --from missing.hid").complaint,
              "missing.hid: cannot be read: No such file or directory; check the name\n");
    EXPECT_THAT(map("--help").output, HasSubstr("--reverse CONTROL"));
    EXPECT_EQ(map("--show >/dev/full").status, 1);
}

} // namespace
