// SPDX-License-Identifier: MIT
#include "platform/report/Recording.h"
#include "tests/unit/qzgc/ToolFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>

namespace {

using qz::platform::readRecording;
using qz::platform::Recording;
using qz::tests::Outcome;
using testing::HasSubstr;
using testing::IsEmpty;

/// The tool's recordings of recordings: no hardware is needed to see what is written.
class Record : public qz::tests::ToolTest {
protected:
    static Recording read(const std::string& text) {
        auto read = readRecording(text);
        if (const auto* const error = std::get_if<qz::platform::RecordingError>(&read)) {
            ADD_FAILURE() << error->message << '\n' << text;
            return {};
        }
        return std::get<Recording>(std::move(read));
    }

    /// With times that count from the first event.
    static Recording fromZero(Recording recording) {
        const auto begin = recording.events.empty() ? std::chrono::microseconds(0) : recording.events.front().time;
        for (auto& event : recording.events) {
            event.time -= begin;
        }
        return recording;
    }

    void expectSameAgain(const std::string& name) {
        const Outcome outcome = run("record --from '" + name + "' --fast again.hid --force");
        EXPECT_EQ(outcome.status, 0) << name << ": " << outcome.complaint;
        EXPECT_THAT(outcome.output, IsEmpty());
        const bool isHere = name.find('/') == std::string::npos;
        std::ifstream file(isHere ? path(name) : name, std::ios::binary);
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        EXPECT_EQ(read(contents("again.hid")), fromZero(read(text))) << name;
    }
};

constexpr const char* stick =
    "R: 30 05 01 09 04 a1 01 15 00 26 ff 00 75 08 95 01 09 30 81 02 05 09 09 01 25 01 75 01 81 02 c0\n"
    "N: Stick\nP: usb-1\nI: 3 1234 5678\n";

std::string twoSticks() {
    return std::string(stick) + "E: 000100.000000 2 10 00\nD: 1\n" + stick +
           "U: B2\n"
           "# qzgc: plugged in 000100.500000\n"
           "E: 000100.600000 2 20 01\n"
           "# qzgc: unplugged 000101.000000\n"
           "D: 0\n"
           "E: 000101.250000 2 30 00\n"
           "E: 000101.250000 2 30 00\n" // one that brings nothing new is recorded too
           "# qzgc: unplugged 000101.500000\n"
           "D: 1\n"
           "# qzgc: plugged in 000102.000000\n"
           "E: 000102.000001 2 40 01\n"
           "E: 000102.000002 5 40 01 02 03 04\n"; // longer than declared
}

TEST_F(Record, OfARecordingIsTheSameRecording) {
    write("two.hid", twoSticks());
    expectSameAgain("two.hid");
    for (const char* const device : {"logitech-extreme-3d-pro", "atari-vcs-modern", "dragonrise-gamepad",
                                     "joy-con-left", "dualshock-4-bluetooth", "8bitdo-ultimate-2"}) {
        expectSameAgain(std::string(QZGC_TEST_DATA "/devices/") + device + ".hid");
    }
}

TEST_F(Record, TakesOnlyControllersThatAreMeant) {
    write("two.hid", twoSticks());
    const Outcome outcome = run("record - 4660-22136.B2 --from two.hid --fast");
    EXPECT_EQ(outcome.status, 0) << outcome.complaint;
    EXPECT_EQ(outcome.complaint, "qzgc: recorded 1 device and 3 reports in standard output\n");
    const Recording recording = read(outcome.output);
    ASSERT_EQ(recording.devices.size(), 1U);
    EXPECT_EQ(recording.devices.front().uniq, "B2");
    EXPECT_EQ(recording.events.size(), 6U);
}

TEST_F(Record, LeavesOutWhatIsNoController) {
    write("keyboard.hid", "R: 7 05 01 09 06 a1 01 c0\nN: Keys\nI: 3 1 2\nE: 0.000000 1 00\nD: 1\n" +
                              std::string(stick) + "E: 0.000000 2 10 00\n");
    const Outcome outcome = run("record - --from keyboard.hid --fast");
    EXPECT_EQ(outcome.status, 0) << outcome.complaint;
    EXPECT_THAT(outcome.output, HasSubstr("N: Stick"));
    EXPECT_THAT(outcome.output, Not(HasSubstr("N: Keys")));
    EXPECT_EQ(read(outcome.output).events.size(), 1U);
}

TEST_F(Record, EndsWhenTheTimeIsUp) {
    write("two.hid", twoSticks());
    const Outcome outcome = run("record - --from two.hid --fast --seconds 1");
    EXPECT_EQ(outcome.complaint, "qzgc: recorded 2 devices and 2 reports in standard output\n");
    EXPECT_EQ(run("record - --from two.hid --fast --seconds 0.25").complaint,
              "qzgc: recorded 1 device and 1 report in standard output\n")
        << "the other one comes later";
    EXPECT_EQ(run("record - --from two.hid --seconds 0.01").complaint,
              "qzgc: recorded 1 device and 1 report in standard output\n");
}

TEST_F(Record, EndsInGoodOrderWhenInterrupted) {
    write("slow.hid", std::string(stick) + "E: 0.000000 2 10 00\nE: 9000.000000 2 20 00\n");
    write("interrupt", "mkfifo pipe-$1\n"
                       "env --default-signal '" QZGC_TOOL "' record - --from slow.hid >pipe-$1 2>said &\n"
                       "while read -r line; do\n"
                       "    echo \"$line\"\n"
                       "    case $line in E:*) kill -$1 $!;; esac\n"
                       "done <pipe-$1 >out\n"
                       "wait $!; echo $? >status\n");
    for (const std::string signal : {"INT", "TERM", "HUP"}) {
        run("--version; sh ./interrupt " + signal);
        EXPECT_EQ(contents("status"), "0\n") << signal;
        EXPECT_EQ(contents("said"), "qzgc: recorded 1 device and 1 report in standard output\n") << signal;
        EXPECT_EQ(read(contents("out")).events.size(), 1U) << signal;
    }
}

TEST_F(Record, EndsWhenInterruptedWhileItsReaderDoesNotRead) {
    // The descriptions of the devices alone are many times what a pipe holds.
    std::string many;
    for (int i = 0; i < 20; ++i) {
        std::string descriptor;
        for (int j = 0; j < 2000; ++j) {
            descriptor += " 05 01";
        }
        many += "D: " + std::to_string(i) + "\nR: 4015" + descriptor +
                " 09 04 a1 01 25 01 75 08 95 01 09 30 81 02 c0\nN: Stick\nU: " + std::to_string(i) +
                "\nI: 3 1234 5678\n";
    }
    write("many.hid", many);
    const std::string all = run("record - --from many.hid --fast").output;
    write("interrupt", "mkfifo pipe-$1\n"
                       "env --default-signal '" QZGC_TOOL "' record - --from many.hid >pipe-$1 2>said &\n"
                       "{ read -r line; kill -$1 $!\n"
                       "timeout 20 sh -c 'while grep -qs \"^State:.[^Z]\" /proc/$0/status; do sleep 0.02; done' $! ||\n"
                       "    kill -KILL $!\n"
                       "wait $!; echo $? >status; cat >rest; } <pipe-$1\n");
    for (const std::string signal : {"INT", "TERM", "HUP"}) {
        run("--version; sh ./interrupt " + signal);
        EXPECT_EQ(contents("status"), "0\n") << signal;
        const std::string rest = contents("rest");
        const std::size_t begin = all.find('\n') + 1;
        EXPECT_GT(rest.size(), 30'000U) << signal;
        EXPECT_TRUE(all.compare(begin, rest.size(), rest) == 0 && begin + rest.size() < all.size()) << signal;
    }
}

TEST_F(Record, EndsWhenInterruptedWhileItWaitsForItsReader) {
    write("two.hid", twoSticks());
    // It sleeps for the tenth time in a row when it has come to wait.
    write("interrupt", "mkfifo pipe-$1\n"
                       "env --default-signal '" QZGC_TOOL "' record pipe-$1 --from two.hid --fast 2>said &\n"
                       "sleeps=0 tries=0\n"
                       "while [ $sleeps -lt 10 ] && [ $((tries += 1)) -lt 1000 ]; do\n"
                       "    sleep 0.02\n"
                       "    if grep -q '^Name:.qzgc' /proc/$!/status && grep -q '^State:.S' /proc/$!/status\n"
                       "    then sleeps=$((sleeps + 1)); else sleeps=0; fi\n"
                       "done\n"
                       "kill -$1 $!\n"
                       "timeout 5 sh -c 'while grep -qs \"^State:.[^Z]\" /proc/$0/status; do sleep 0.02; done' $! ||\n"
                       "    kill -KILL $!\n"
                       "wait $!; echo $((($? - 128))) >status\n");
    for (const auto& [name, number] : {std::pair("INT", SIGINT), std::pair("TERM", SIGTERM)}) {
        run("--version; sh ./interrupt " + std::string(name));
        EXPECT_EQ(contents("status"), std::to_string(number) + "\n") << name;
    }
}

TEST_F(Record, KeepsMessagesOutOfTheRecordingWhereStandardDescriptorsAreClosed) {
    write("two.hid", twoSticks());
    for (const char* const closed : {"2>&-", "<&- >&- 2>&-", ">&- 2>&-", "<&- 2>&-"}) {
        EXPECT_EQ(run("record closed.hid --force --from two.hid --fast " + std::string(closed)).status, 0) << closed;
        EXPECT_EQ(contents("closed.hid").find("qzgc: recorded"), std::string::npos) << closed;
        EXPECT_EQ(read(contents("closed.hid")), fromZero(read(twoSticks()))) << closed;
    }
}

TEST_F(Record, OverwritesNothingUnlessItIsToldTo) {
    write("two.hid", twoSticks());
    write("mine.hid", "precious");
    const Outcome refused = run("record mine.hid --from two.hid --fast");
    EXPECT_EQ(refused.status, 2);
    EXPECT_EQ(refused.complaint,
              "qzgc: mine.hid is there already; name another file, or use --force to overwrite it\n");
    EXPECT_EQ(contents("mine.hid"), "precious");
    EXPECT_EQ(run("record mine.hid --from two.hid --fast --force").status, 0);
    EXPECT_EQ(read(contents("mine.hid")), fromZero(read(twoSticks())));
    EXPECT_EQ(run("record /dev/null --from two.hid --fast").status, 0) << "there is nothing to lose";
    EXPECT_EQ(run("record two.hid --from two.hid --fast --force").status, 0);
    EXPECT_EQ(read(contents("two.hid")), fromZero(read(twoSticks())));
}

TEST_F(Record, SaysWhatCouldNotBeWritten) {
    write("two.hid", twoSticks());
    for (const char* const arguments : {"record /dev/full --from two.hid --fast", "record - --from two.hid --fast "
                                                                                  ">/dev/full"}) {
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.status, 1) << arguments;
        EXPECT_THAT(outcome.complaint, HasSubstr("No space left on device; make room, ")) << arguments;
        EXPECT_THAT(outcome.complaint, HasSubstr("recorded 1 device and 0 reports")) << arguments;
    }
    const Outcome nowhere = run("record none/x.hid --from two.hid --fast");
    EXPECT_EQ(nowhere.status, 2);
    EXPECT_EQ(nowhere.complaint, "none/x.hid: cannot be written: No such file or directory\n");
    EXPECT_EQ(run("record . --from two.hid --fast").complaint, ".: cannot be written: Is a directory\n");
}

TEST_F(Record, LeavesNoFileWhereThereWasNothingToRecord) {
    write("keyboard.hid", "R: 7 05 01 09 06 a1 01 c0\nN: Keys\nI: 3 1 2\nE: 0.000000 1 00\n");
    const Outcome outcome = run("record new.hid --from keyboard.hid --fast");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.complaint, "qzgc: nothing is recorded: the recording has no joystick or gamepad; 'qzgc elements "
                                 "--descriptor keyboard.hid' shows what it "
                                 "has\n");
    EXPECT_FALSE(std::filesystem::exists(path("new.hid")));
    write("mine.hid", "precious");
    write("stick.hid", stick);
    std::filesystem::create_directories(path("config/qzgamecontroller"));
    write("config/qzgamecontroller/qzgc.json", R"({"QZGameController-Calibrations-4660-22136": {"2": [1]}})");
    for (const char* const again : {"new.hid", "new.hid", "mine.hid --force"}) {
        const Outcome failed = run("record --from stick.hid --fast " + std::string(again));
        EXPECT_EQ(failed.status, 1) << again;
        EXPECT_THAT(failed.complaint, testing::MatchesRegex("qzgc: the calibration stored in [^\n]+\n")) << again;
    }
    EXPECT_FALSE(std::filesystem::exists(path("new.hid")));
    EXPECT_EQ(contents("mine.hid"), "precious");
    EXPECT_EQ(run("record mine.hid --from missing.hid --force").status, 2);
    EXPECT_EQ(contents("mine.hid"), "precious") << "a recording that cannot be read costs no other";
}

TEST_F(Record, KeepsTheOldRecordingUntilThereIsSomethingToRecord) {
    write("two.hid", twoSticks());
    write("mine.hid", "precious");
    const Outcome outcome = run("record mine.hid wheel --from two.hid --fast --force");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.complaint,
                testing::MatchesRegex("qzgc: nothing is recorded: no controller is called \"wheel\"; "
                                      "there is \"Stick\" [(][^)]+[)], \"Stick\" "
                                      "[(]4660-22136.B2[)]\n"));
    EXPECT_EQ(contents("mine.hid"), "precious");
    write("mine.hid", std::string(9000, 'x'));
    EXPECT_EQ(run("record mine.hid --from two.hid --fast --force").status, 0);
    EXPECT_EQ(read(contents("mine.hid")), fromZero(read(twoSticks()))) << "nothing of the longer one is left";
}

TEST_F(Record, AnswersWrongUseWithOneLine) {
    for (const char* const arguments :
         {"record", "record a b c", "record a --fast", "record a --seconds -1", "record a --json", "record --force"}) {
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.status, 2) << arguments;
        EXPECT_THAT(outcome.output, IsEmpty()) << arguments;
        EXPECT_EQ(std::ranges::count(outcome.complaint, '\n'), 1) << arguments;
    }
    EXPECT_FALSE(std::filesystem::exists(path("a")));
}

} // namespace
