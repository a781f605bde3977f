// SPDX-License-Identifier: MIT
#include "tests/unit/qzgc/ToolFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

// What commands say besides what they are asked for.

namespace {

using qz::tests::Outcome;
using testing::IsEmpty;

class Remarks : public qz::tests::ToolTest {
protected:
    Remarks() {
        write("sticks.hid", "R: 20 05 01 09 04 a1 01 15 00 26 ff 00 75 08 95 01 09 30 81 02 c0\n"
                            "N: Left Stick\nU: L1\nI: 3 1234 5678\nE: 000001.000000 1 80\n");
    }
};

TEST_F(Remarks, TellAnApplicationOfWhichNothingIsStored) {
    std::filesystem::create_directories(path("config/qzgamecontroller"));
    write("config/qzgamecontroller/racer.json", R"({"volume": 11})");
    const std::string remark = "qzgc: no settings are stored for \"racr\" yet\n";
    for (const std::string command : {"list --from", "list --json --from", "elements left --from",
                                      "monitor --lines --fast --from", "replay --json --fast", "map left --show --from",
                                      "map left --json --from", "plot", "calibrate left --reset --from"}) {
        const Outcome misspelt = run(command + " sticks.hid --application racr");
        EXPECT_EQ(misspelt.status, 0) << command;
        EXPECT_EQ(misspelt.complaint, remark) << command << ": once, whatever number of sessions it has";
        EXPECT_THAT(run(command + " sticks.hid --application racer").complaint, IsEmpty()) << command;
        EXPECT_THAT(run(command + " sticks.hid").complaint, IsEmpty()) << command;
    }
    EXPECT_EQ(run("list --from sticks.hid --application \"$(printf 'a\\033b')\"").complaint,
              "qzgc: no settings are stored for \"a b\" yet\n");
}

TEST_F(Remarks, DoNotCallPreferencesNewThatCannotBeRead) {
    std::filesystem::create_directories(path("config/qzgamecontroller/racer.json"));
    for (const char* const command : {"list", "elements left"}) {
        EXPECT_THAT(run(command + std::string(" --from sticks.hid --application racer")).complaint,
                    testing::MatchesRegex("qzgc: [^\n]+ not a regular file; move it away\n"));
    }
    std::filesystem::remove(path("config/qzgamecontroller/racer.json"));
    write("config/qzgamecontroller/racer.json", "{");
    EXPECT_THAT(run("elements left --from sticks.hid --application racer").complaint,
                testing::MatchesRegex("qzgc: [^\n]+ is damaged [^\n]+\n"));
}

TEST_F(Remarks, SayThatARecordingHoldsNoControllersInTheSameWords) {
    write("keys.hid", "R: 7 05 01 09 06 a1 01 c0\nN: Keys\nI: 3 1 2\nE: 0.000000 1 00\n");
    for (const std::string command :
         {"elements --from", "elements wheel --from", "monitor --lines --fast --from", "monitor wheel --lines --from",
          "replay --json --fast", "record new.hid --fast --from", "map --from", "plot", "plot --control X",
          "calibrate --yes --from", "calibrate --reset --from"}) {
        const Outcome outcome = run(command + " keys.hid");
        EXPECT_EQ(outcome.status, 1) << command;
        EXPECT_THAT(outcome.output, IsEmpty()) << command;
        EXPECT_THAT(outcome.complaint,
                    testing::MatchesRegex("qzgc: (nothing is recorded: )?the recording has no joystick or gamepad; "
                                          "'qzgc elements --descriptor keys.hid' shows what it has\n"))
            << command;
    }
}

TEST_F(Remarks, TellControllersThatComeTooLateFromNone) {
    write("late.hid", "R: 7 05 01 09 06 a1 01 c0\nN: Keys\nI: 3 1 2\nE: 0.000000 1 00\nD: 1\n"
                      "R: 20 05 01 09 04 a1 01 15 00 26 ff 00 75 08 95 01 09 30 81 02 c0\nN: Late\nI: 3 1 2\n"
                      "# qzgc: plugged in 000002.000000\n");
    for (const std::string command : {"replay --lines", "replay --lines late.hid late", "record new.hid --from"}) {
        const Outcome outcome = run(command + (command.ends_with("late") ? "" : " late.hid") + " --fast --seconds 1");
        EXPECT_EQ(outcome.status, 1) << command;
        EXPECT_THAT(outcome.complaint,
                    testing::EndsWith("the recording plugs its controllers in later; give it more time\n"))
            << command;
    }
    EXPECT_EQ(run("replay --lines late.hid --fast --seconds 3").status, 0);
}

/// The command that a message names, without the tool's name.
std::string commandIn(const std::string& complaint) {
    const std::string opening = "'qzgc ";
    const std::size_t begin = complaint.find(opening) + opening.size();
    return complaint.substr(begin, complaint.rfind("' ") - begin);
}

TEST_F(Remarks, NameCommandsThatCanBeTyped) {
    const std::string odd = "it's \"my $HOME\" (1) & K\xC3\xBC.hid";
    std::filesystem::create_directories(path("config/qzgamecontroller"));
    write("config/qzgamecontroller/a b.json", R"({"QZGameController-Calibrations-4660-22136": {"2": []}})");
    const auto expectNamed = [&](const std::string& arguments, const std::string& command) {
        const Outcome outcome = run(arguments);
        EXPECT_NE(outcome.status, 0) << arguments;
        EXPECT_EQ(commandIn(outcome.complaint), command) << outcome.complaint;
        EXPECT_EQ(run(command).status, 0) << command << '\n' << contents(".complaint");
    };
    for (const std::string& name : {odd, std::string("-odd.hid")}) {
        const std::string typed = name == odd ? R"(it\'s\ \"my\ \$HOME\"\ \(1\)\ \&\ K)"
                                                "\xC3\xBC.hid"
                                              : "./-odd.hid";
        std::filesystem::copy_file(path("sticks.hid"), path(name));
        expectNamed("monitor wheel --lines --fast --from=" + typed, "list --from " + typed);
        expectNamed("replay --lines " + typed + " wheel", "list --from " + typed);
        expectNamed("map --clear y --from=" + typed, "elements 4660-22136.L1 --from " + typed);
        expectNamed("plot --control y " + typed, "elements 4660-22136.L1 --from " + typed);
        expectNamed("list --application 'a b' --from=" + typed,
                    R"(calibrate 4660-22136.L1 --reset --application a\ b --from )" + typed);
        write("config/qzgamecontroller/a b.json", R"({"QZGameController-Calibrations-4660-22136": {"2": []}})");
        write(name, "R: 7 05 01 09 06 a1 01 c0\nN: Keys\nI: 3 1 2\n");
        expectNamed("elements --from=" + typed, "elements --descriptor " + typed);
        expectNamed("record new.hid --fast --from=" + typed, "elements --descriptor " + typed);
    }
    std::filesystem::copy_file(path("sticks.hid"), path("two words.hid"));
    EXPECT_THAT(run("elements 'two words.hid'").complaint, testing::EndsWith(" use --from two\\ words.hid\n"));
    EXPECT_THAT(run("list 'two words.hid'").complaint, testing::HasSubstr(" use --from two\\ words.hid; see "));
    EXPECT_THAT(run("monitor wheel --lines --fast --from - <sticks.hid").complaint,
                testing::HasSubstr("'qzgc list --from -' names"));
}

} // namespace
