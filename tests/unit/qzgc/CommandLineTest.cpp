// SPDX-License-Identifier: MIT
#include "tests/unit/qzgc/ToolFixture.h"

#include "QZGameController/QZGameController.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

// The tool as a whole, from its command line to its exit status.

namespace {

using CommandLine = qz::tests::ToolTest;
using qz::tests::Outcome;

using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

constexpr const char* smallScenario = R"({"actions": {}, "devices": {}, "steps": [{"do": "allActions"}]})";
constexpr const char* smallOutput =
    "{\"event\":\"setup\",\"result\":0}\n{\"result\":\"allActions\",\"actions\":[],\"count\":0}\n";

TEST_F(CommandLine, PlaysAScenarioFile) {
    write("small.json", smallScenario);
    const Outcome outcome = run("simulate small.json");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, smallOutput);
    EXPECT_THAT(outcome.complaint, IsEmpty());
}

TEST_F(CommandLine, PlaysAScenarioFromStandardInput) {
    write("small.json", smallScenario);
    const Outcome outcome = run("simulate - <small.json");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, smallOutput);
}

TEST_F(CommandLine, RefusesAFaultyScenarioWithOneLineThatNamesThePlace) {
    write("faulty.json", R"({"actions": {}, "devices": {}, "steps": [{"do": "allActions"}, {"do": "dance"}]})");
    const Outcome outcome = run("simulate faulty.json");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.output, IsEmpty());
    EXPECT_EQ(outcome.complaint, "steps[1].do: there is no step \"dance\"\n");
}

TEST_F(CommandLine, SaysWhichFileCannotBeReadAndWhy) {
    const Outcome missing = run("simulate missing.json");
    EXPECT_EQ(missing.status, 2);
    EXPECT_THAT(missing.output, IsEmpty());
    EXPECT_EQ(missing.complaint, "missing.json: cannot be read: No such file or directory; check the name\n");

    const Outcome twoLines = run("simulate 'a\nb'");
    EXPECT_EQ(twoLines.status, 2);
    EXPECT_EQ(twoLines.complaint, "\"a\\nb\": cannot be read: No such file or directory; check the name\n");

    const Outcome directory = run("simulate .");
    EXPECT_EQ(directory.status, 2);
    EXPECT_EQ(directory.complaint, ".: cannot be read: Is a directory; name a file in it\n");

    const Outcome closed = run("simulate - <&-");
    EXPECT_EQ(closed.status, 2);
    EXPECT_EQ(closed.complaint,
              "standard input: cannot be read: Bad file descriptor; it is closed, or not open for reading\n");
}

TEST_F(CommandLine, FailsWhenTheOutputCannotBeWritten) {
    write("small.json", smallScenario);
    const Outcome outcome = run("simulate small.json >/dev/full");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.complaint,
              "qzgc: cannot write to standard output: No space left on device; make room, or write to another place\n");
}

TEST_F(CommandLine, AnswersWrongUseWithOneLineThatSaysWhereToReadOn) {
    for (const char* const arguments : {"", "dance", "--dance", "simulate", "simulate a b", "simulate --dance a"}) {
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.status, 2) << arguments;
        EXPECT_THAT(outcome.output, IsEmpty()) << arguments;
        EXPECT_THAT(outcome.complaint, MatchesRegex("qzgc: [^\n]+; see 'qzgc[a-z ]* --help'\n")) << arguments;
    }
    EXPECT_EQ(run("moniter --lines").complaint,
              "qzgc: no command is called \"moniter\"; the nearest is monitor; see 'qzgc --help'\n");
    EXPECT_EQ(run("dance").complaint, "qzgc: no command is called \"dance\"; there is list, elements, monitor, record, "
                                      "replay, plot, map, calibrate, simulate; see 'qzgc --help'\n");
    EXPECT_THAT(run("simulate").complaint, HasSubstr("'qzgc simulate --help'"));
}

TEST_F(CommandLine, PrintsHelpForTheToolAndForTheSubcommand) {
    const Outcome help = run("--help");
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.output, HasSubstr("simulate"));
    EXPECT_THAT(help.complaint, IsEmpty());

    const Outcome ofSimulate = run("simulate --help");
    EXPECT_EQ(ofSimulate.status, 0);
    EXPECT_THAT(ofSimulate.output, HasSubstr("FILE"));
    EXPECT_THAT(ofSimulate.complaint, IsEmpty());
}

TEST_F(CommandLine, PrintsTheVersionOfTheLibrary) {
    const Outcome version = run("--version");
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.output, std::string(QZGameControllerVersionString) + "\n");
    EXPECT_THAT(version.complaint, IsEmpty());
}

constexpr const char* stickDescriptor = "05010904a101150026ff00750895010930810205090901250175018102c0";

TEST_F(CommandLine, PrintsTheElementsOfADescriptor) {
    const std::string tree = "cookie  type       usage     range             name\n"
                             "     1  collection 01:04                       1 / 4\n"
                             "     2  axis       01:30     0..255              X\n"
                             "     3  button     09:01     0..1                Button 1\n";
    const std::string digits = std::string("elements --descriptor ") + stickDescriptor;
    EXPECT_EQ(run(digits).output, tree);
    EXPECT_EQ(run(digits).status, 0);
    write("digits.txt", std::string("05 01 0904\n") + (stickDescriptor + 8) + "\n");
    EXPECT_EQ(run("elements --descriptor digits.txt").output, tree);
    EXPECT_EQ(run("elements --descriptor - <digits.txt").output, tree);
    std::string bytes;
    for (const char* at = stickDescriptor; *at != '\0'; at += 2) {
        bytes += static_cast<char>(std::stoi(std::string(at, 2), nullptr, 16));
    }
    write("bytes", bytes);
    EXPECT_EQ(run("elements --descriptor bytes").output, tree);
    EXPECT_EQ(run("elements --descriptor '05 01 C0'").status, 2);
}

TEST_F(CommandLine, PrintsTheElementsOfARecordedDevice) {
    write("knob.hid", "# a knob\nR: 4 a0 c0 a0 c0\nN: Knob\nI: 3 0001 0002\n");
    const Outcome outcome = run("elements --descriptor knob.hid");
    EXPECT_EQ(outcome.status, 0) << outcome.complaint;
    EXPECT_EQ(outcome.output, "Knob\ncookie  type       usage     range             name\n"
                              "     1  collection 00:00                       0 / 0\n"
                              "     2  collection 00:00                       0 / 0\n");
    write("two.hid", "D: 0\nR: 2 a0 c0\nN: Knob\nI: 3 1 2\nD: 1\nR: 1 c0\nN: Other\nI: 3 1 2\n");
    EXPECT_EQ(run("elements --descriptor two.hid").status, 2);
    EXPECT_THAT(run("elements --descriptor two.hid").output, IsEmpty());
    EXPECT_THAT(run("elements --descriptor two.hid").complaint,
                HasSubstr("two.hid: Other: the descriptor is refused at byte 0"));
    write("faulty.hid", "R: 4 a0 c0 a0\nN: Knob\n");
    EXPECT_EQ(run("elements --descriptor faulty.hid").status, 2);
    EXPECT_THAT(run("elements --descriptor faulty.hid").complaint,
                HasSubstr("faulty.hid: no valid recording: line 1: "));
    write("blanks.hid", "  R:\t2 a0 c0\n");
    EXPECT_EQ(run("elements --descriptor blanks.hid").status, 0);
}

TEST_F(CommandLine, SaysWhereADescriptorIsRefusedAndWhy) {
    const Outcome outcome = run("elements --descriptor '05 01 c0'");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.output, IsEmpty());
    EXPECT_EQ(outcome.complaint,
              "05 01 c0: the descriptor is refused at byte 2: no collection is open that could end here\n");
}

TEST_F(CommandLine, SaysWhatIsNeitherAFileNorADescriptor) {
    EXPECT_EQ(run("elements --descriptor 05x1").complaint, "05x1: no such file\n");
    EXPECT_EQ(run("elements --descriptor 050").complaint, "050: not two hexadecimal digits for each byte\n");
    write("digits", "05 01\n 0g");
    EXPECT_EQ(run("elements --descriptor digits").complaint,
              "digits: line 2, column 3: neither a hexadecimal digit nor a blank\n");
    write("odd", "05 0");
    EXPECT_EQ(run("elements --descriptor odd").complaint, "odd: not two hexadecimal digits for each byte\n");
    EXPECT_EQ(run("elements --descriptor ''").complaint, "--descriptor: there is no descriptor: it is empty\n");
    EXPECT_EQ(run("elements --descriptor /dev/null").complaint, "/dev/null: there is no descriptor: it is empty\n");
    EXPECT_EQ(run("elements --descriptor '05 01'").output, "no elements\n");
    EXPECT_EQ(run("elements --descriptor .").complaint, ".: cannot be read: Is a directory; name a file in it\n");
    EXPECT_EQ(run("elements --descriptor 05 >/dev/full").status, 2) << "a truncated item";
    EXPECT_EQ(run("elements --descriptor a0c0 >/dev/full").status, 1);
}

} // namespace
