// SPDX-License-Identifier: MIT
#include "platform/virtual/VirtualHID.h"
#include "tests/unit/qzgc/ToolFixture.h"
#include "tools/qzgc/monitor/EventLines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <optional>

// monitor and replay off the terminal.

namespace qz::tools {
namespace {

using tests::Outcome;
using MonitorLines = tests::ToolTest;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

std::string repeated(const std::string& text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}

/// One axis of eight bits and one button each; the second one comes, goes and comes again.
constexpr const char* sticks =
    R"(R: 30 05 01 09 04 a1 01 15 00 26 ff 00 75 08 95 01 09 30 81 02 05 09 09 01 25 01 75 01 81 02 c0
N: Left Stick
U: A1
I: 3 1234 5678
D: 1
R: 30 05 01 09 04 a1 01 15 00 26 ff 00 75 08 95 01 09 30 81 02 05 09 09 01 25 01 75 01 81 02 c0
N: Right Stick
U: B2
I: 5 1234 5678
D: 0
E: 000010.000000 2 ff 00
D: 1
# qzgc: plugged in 000010.500000
E: 000010.600000 2 00 01
# qzgc: unplugged 000011.000000
# qzgc: plugged in 000012.000000
D: 0
E: 000012.250000 2 7f 01
)";

TEST_F(MonitorLines, TellWhatHappensInTheRecordingsTime) {
    write("sticks.hid", sticks);
    const Outcome outcome = run("replay sticks.hid --fast --raw");
    EXPECT_EQ(outcome.status, 0) << outcome.complaint;
    EXPECT_EQ(outcome.output, "    0.000000  #1  connected     Left Stick, USB, 4660-22136.A1\n"
                              "    0.000000  #1  raw           X (2): 255\n"
                              "    0.000000  #1  action        roll: 1.0000  X (2)\n"
                              "    0.500000  #2  connected     Right Stick, Bluetooth, 4660-22136.B2\n"
                              "    0.600000  #2  raw           X (2): 0\n"
                              "    0.600000  #2  action        roll: 0.0000  X (2)\n"
                              "    0.600000  #2  raw           Button 1 (3): 1\n"
                              "    0.600000  #2  action        fire: 1.0000  Button 1 (3)\n"
                              "    1.000000  #2  disconnected  Right Stick, Bluetooth, 4660-22136.B2\n"
                              "    2.000000  #3  connected     Right Stick, Bluetooth, 4660-22136.B2\n"
                              "    2.250000  #1  raw           X (2): 127\n"
                              "    2.250000  #1  action        roll: 0.5000  X (2)\n"
                              "    2.250000  #1  raw           Button 1 (3): 1\n"
                              "    2.250000  #1  action        fire: 1.0000  Button 1 (3)\n");
    EXPECT_EQ(run("monitor --from sticks.hid --fast --raw --lines").output, outcome.output);
    EXPECT_EQ(run("replay - --fast --raw <sticks.hid").output, outcome.output);
}

TEST_F(MonitorLines, AreObjectsForScripts) {
    write("sticks.hid", sticks);
    EXPECT_EQ(
        run("replay sticks.hid 'right stick' --fast --json --raw --seconds 1.5").output,
        R"({"time":0.5,"event":"connected","controller":1,"name":"Right Stick","kind":"Joystick",)"
        R"("type":"4660-22136","instance":"4660-22136.B2","bus":"Bluetooth"})"
        "\n"
        R"({"time":0.6,"event":"raw","controller":1,"control":"X","cookie":2,"raw":0})"
        "\n"
        R"({"time":0.6,"event":"action","controller":1,"action":"roll","value":0.0,"control":"X","cookie":2})"
        "\n"
        R"({"time":0.6,"event":"raw","controller":1,"control":"Button 1","cookie":3,"raw":1})"
        "\n"
        R"({"time":0.6,"event":"action","controller":1,"action":"fire","value":1.0,"control":"Button 1","cookie":3})"
        "\n"
        R"({"time":1.0,"event":"disconnected","controller":1,"name":"Right Stick","kind":"Joystick",)"
        R"("type":"4660-22136","instance":"4660-22136.B2","bus":"Bluetooth"})"
        "\n");
}

TEST_F(MonitorLines, CallHatsWhatPeopleDoAndProgramsWhatTheLibraryDoes) {
    write("hats.hid", "R: 21 05 01 09 04 a1 01 15 00 25 07 75 04 95 02 09 39 09 39 81 42 c0\nN: Hats\nI: 3 1 2\n"
                      "E: 0.000000 1 12\n");
    EXPECT_THAT(run("replay hats.hid --fast --raw").output,
                testing::AllOf(HasSubstr("raw           Hat (2): 2\n"), HasSubstr("raw           Hat 2 (3): 1\n")));
    EXPECT_THAT(run("replay hats.hid --fast --raw --json").output,
                HasSubstr(R"("control":"1 / 57","cookie":3,"raw":1})"));
}

TEST_F(MonitorLines, AreTheSameAtEveryRunForRealDevices) {
    const std::string command = "replay " QZGC_TEST_DATA "/devices/logitech-extreme-3d-pro.hid --fast --raw --json";
    const std::string first = run(command).output;
    EXPECT_GT(std::ranges::count(first, '\n'), 60);
    EXPECT_EQ(run(command).output, first);
    const std::string inRealTime = "replay " QZGC_TEST_DATA "/devices/logitech-extreme-3d-pro.hid --raw --json";
    EXPECT_EQ(run(inRealTime).output, first);
}

TEST_F(MonitorLines, TakeTheApplicationsActions) {
    write("sticks.hid", sticks);
    write("actions.json", R"({"x": ["steer\nleft"], "buttons": ["horn"]})");
    EXPECT_THAT(run("replay sticks.hid --fast --actions actions.json --seconds 0.1").output,
                HasSubstr("action        steer left: 1.0000"));
}

TEST_F(MonitorLines, EndQuietlyWhenNobodyReadsThem) {
    write("sticks.hid", sticks);
    run("--version; { '" QZGC_TOOL "' replay sticks.hid; echo $? >status; } 2>complaint | head -n 1 >line");
    EXPECT_THAT(contents("line"), HasSubstr("#1  connected"));
    EXPECT_EQ(contents("complaint"), "");
    EXPECT_EQ(contents("status"), "0\n");
}

TEST_F(MonitorLines, EndWhenTheirReaderDoesWithoutOneMoreEvent) {
    write("silent.hid", std::string(sticks).substr(0, std::string(sticks).find("D: 1")) +
                            "E: 0.000000 2 80 00\nE: 9000.000000 2 ff 00\n");
    run("--version; { '" QZGC_TOOL "' replay silent.hid; echo $? >status; } 2>complaint | head -n 1 >line");
    EXPECT_THAT(contents("line"), HasSubstr("#1  connected"));
    EXPECT_EQ(contents("status"), "0\n");
}

TEST_F(MonitorLines, AllComeToAPipeThatIsOpenedForReadingAndWriting) {
    const std::string stick = std::string(sticks).substr(0, std::string(sticks).find("D: 1"));
    write("stick.hid", stick + "E: 0.000000 2 80 00\nE: 0.300000 2 ff 00\n");
    write("both", "mkfifo pipe; exec 3<>pipe\n"
                  "'" QZGC_TOOL "' replay stick.hid >&3; echo $? >status; echo end >&3\n"
                  "while read -r line && [ \"$line\" != end ]; do echo \"$line\"; done <&3 >out\n");
    run("--version; sh ./both");
    EXPECT_EQ(contents("status"), "0\n");
    const std::string all = contents("out");
    EXPECT_EQ(std::ranges::count(all, '\n'), std::ranges::count(run("replay stick.hid --fast").output, '\n')) << all;
    EXPECT_THAT(all, HasSubstr("0.300000  #1  action        roll: 1.0000"));
}

TEST_F(MonitorLines, FailWhenTheDiskIsFull) {
    write("sticks.hid", sticks);
    const Outcome outcome = run("replay sticks.hid --fast >/dev/full");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.complaint,
              "qzgc: cannot write to standard output: No space left on device; make room, or write to another place\n");
}

TEST_F(MonitorLines, EndInGoodOrderWhenAskedTo) {
    // The line that is there already has been written by the time that the signal is sent.
    write("interrupt", "mkfifo pipe-$1\n"
                       "env --default-signal '" QZGC_TOOL "' monitor --from '" QZGC_TEST_DATA
                       "/../examples/recordings/made-up-joystick.hid' >pipe-$1 &\n"
                       "{ read -r line; kill -$1 $!; wait $!; echo \"$? $line\" >status; } <pipe-$1\n");
    for (const std::string signal : {"INT", "TERM", "HUP"}) {
        const Outcome outcome = run("--version; sh ./interrupt " + signal);
        EXPECT_THAT(contents("status"), StartsWith("0 0.000000  #1  connected")) << signal << outcome.complaint;
    }
}

TEST_F(MonitorLines, EndWhenAskedToWhileTheirReaderDoesNotRead) {
    // One report brings many times what a pipe holds, so the loop does not come by while it is told.
    write("many.hid", "R: 25 05 01 09 04 a1 01 15 00 25 01 75 01 96 80 3e 05 09 19 01 2a 80 3e 81 02 c0\nN: Buttons\n"
                      "I: 3 1234 5678\nE: 0.000000 2000" +
                          repeated(" ff", 2000) + "\n");
    const std::string all = run("replay many.hid --fast --raw").output;
    write("interrupt", "mkfifo pipe-$1\n"
                       "env --default-signal '" QZGC_TOOL "' replay many.hid --fast --raw >pipe-$1 &\n"
                       "{ read -r line; read -r raw; kill -$1 $!\n"
                       "timeout 20 sh -c 'while grep -qs \"^State:.[^Z]\" /proc/$0/status; do sleep 0.02; done' $! ||\n"
                       "    kill -KILL $!\n"
                       "wait $!; echo $? >status; cat >rest; } <pipe-$1\n");
    for (const std::string signal : {"INT", "TERM", "HUP"}) {
        run("--version; sh ./interrupt " + signal);
        EXPECT_EQ(contents("status"), "0\n") << signal;
        const std::string rest = contents("rest");
        const std::size_t begin = all.find('\n', all.find('\n') + 1) + 1;
        EXPECT_GT(rest.size(), 30'000U) << signal;
        EXPECT_THAT(rest, EndsWith("\n")) << signal;
        EXPECT_TRUE(all.compare(begin, rest.size(), rest) == 0 && begin + rest.size() < all.size()) << signal;
    }
}

TEST_F(MonitorLines, EndWithTheirTimeWhileTheirReaderDoesNotRead) {
    write("many.hid", "R: 25 05 01 09 04 a1 01 15 00 25 01 75 01 96 80 3e 05 09 19 01 2a 80 3e 81 02 c0\nN: Buttons\n"
                      "I: 3 1234 5678\nE: 0.000000 2000" +
                          repeated(" ff", 2000) + "\n");
    const std::string all = run("replay many.hid --fast --raw").output;
    write("wait", "timeout 20 sh -c 'while [ ! -s status ]; do sleep 0.02; done'; cat >rest\n");
    run("--version; { '" QZGC_TOOL "' replay many.hid --raw --seconds 0.2; echo $? >status; } | sh ./wait");
    EXPECT_EQ(contents("status"), "0\n");
    const std::string rest = contents("rest");
    EXPECT_THAT(rest, EndsWith("\n"));
    EXPECT_TRUE(all.starts_with(rest) && rest.size() < all.size()) << rest.size() << " of " << all.size();
}

TEST_F(MonitorLines, LeaveSignalsAloneThatTheProcessWasStartedWithout) {
    write("ignored", "mkfifo pipe\n"
                     "env --default-signal --ignore-signal=HUP '" QZGC_TOOL "' monitor --from '" QZGC_TEST_DATA
                     "/../examples/recordings/made-up-joystick.hid' >pipe &\n"
                     "{ read -r line; grep SigIgn /proc/$!/status >ignores; kill $!; wait $!; } <pipe\n");
    run("--version; sh ./ignored");
    const std::string mask = contents("ignores");
    ASSERT_THAT(mask, StartsWith("SigIgn:\t"));
    const auto ignored = std::stoull(mask.substr(8), nullptr, 16); // signal n is bit n - 1
    EXPECT_EQ(ignored & 1U << (SIGHUP - 1), 1U << (SIGHUP - 1));
    EXPECT_EQ(ignored & 1U << (SIGTERM - 1), 0U);
}

TEST_F(MonitorLines, SayWhenTheRecordingHasNoSuchController) {
    write("sticks.hid", sticks);
    const Outcome named = run("replay sticks.hid wheel --fast");
    EXPECT_EQ(named.status, 1);
    EXPECT_EQ(named.complaint, "qzgc: the recording has no controller called \"wheel\"; 'qzgc list --from sticks.hid' "
                               "names those that it has\n");
}

TEST_F(MonitorLines, AnswerWrongUseWithOneLine) {
    write("sticks.hid", sticks);
    write("bad.hid", "R: 2 a0\n");
    write("bad.json", "{\"x\": 1}");
    const auto complaint = [&](const std::string& arguments) {
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.status, 2) << arguments;
        EXPECT_THAT(outcome.output, IsEmpty()) << arguments;
        EXPECT_EQ(std::ranges::count(outcome.complaint, '\n'), 1) << arguments << outcome.complaint;
        return outcome.complaint;
    };
    EXPECT_THAT(complaint("monitor --lines --json"), HasSubstr("--lines excludes --json"));
    EXPECT_THAT(complaint("monitor --seconds 0"), HasSubstr("--seconds"));
    EXPECT_THAT(complaint("monitor --seconds soon"), HasSubstr("--seconds"));
    EXPECT_THAT(complaint("monitor --seconds nan"), HasSubstr("--seconds"));
    EXPECT_THAT(complaint("monitor --fast"), HasSubstr("--from"));
    EXPECT_THAT(complaint("monitor a b"), HasSubstr("see 'qzgc monitor --help'"));
    EXPECT_THAT(complaint("replay"), HasSubstr("FILE is required"));
    EXPECT_THAT(complaint("replay --from sticks.hid"), HasSubstr("see 'qzgc replay --help'"));
    EXPECT_EQ(complaint("replay none.hid"), "none.hid: cannot be read: No such file or directory; check the name\n");
    EXPECT_EQ(complaint("replay ."), ".: cannot be read: Is a directory; name a file in it\n");
    EXPECT_THAT(complaint("replay bad.hid"), StartsWith("bad.hid: no valid recording: line 1: "));
    EXPECT_THAT(complaint("replay sticks.hid --actions bad.json"), StartsWith("bad.json: x: "));
    EXPECT_THAT(complaint("replay sticks.hid --actions none.json"), StartsWith("none.json: cannot be read: "));
    EXPECT_THAT(complaint("replay sticks.hid --application " + std::string(300, 'x')), HasSubstr("--application"));
}

/// A session over a recording whose services can be made to fail.
class EventLinesTest : public tests::ToolTest {
protected:
    void start(EventLines::Options options) {
        setenv("XDG_CONFIG_HOME", path("config").c_str(), 1);
        write("sticks.hid", sticks);
        session_.emplace(SessionOptions{.from = path("sticks.hid"), .fast = true});
        listener_ = std::make_shared<EventLines>(
            std::move(options), [] { return std::chrono::microseconds(1'500'000); },
            [this](const std::string& line) { printed_ += line; });
        session_->start(listener_);
    }
    void failWith(platform::IOReturn why) {
        platform::RecordedDevice recorded = {
            .name = "Locked\x1bPad", .uniq = "C3", .bus = 3, .vendor = 1, .product = 2};
        auto descriptor =
            platform::parseReportDescriptor(std::vector<std::uint8_t>{0x05, 0x01, 0x09, 0x05, 0xa1, 0x01, 0xc0});
        const auto device = std::make_shared<platform::VirtualDevice>(
            std::get<platform::ReportDescriptor>(std::move(descriptor)), std::move(recorded));
        dynamic_cast<platform::VirtualHIDServices&>(session_->platform().hidServices()).fail(device, why);
        session_->source().turn();
    }

    std::optional<Session> session_;
    std::shared_ptr<EventLines> listener_;
    std::string printed_;
};

TEST_F(EventLinesTest, TellAControllerThatCannotBeUsedAndWhatToDo) {
    start({.device = "pad"});
    failWith(platform::kIOReturnNotPermitted);
    EXPECT_EQ(printed_,
              "    1.500000  -   unusable      Locked Pad, USB, 1-2.C3: no permission to read it; install the "
              "udev rule 60-qzgamecontroller.rules and plug the controller in again\n");
}

TEST_F(EventLinesTest, TellItToScripts) {
    start({.device = "1-2", .json = true});
    failWith(platform::kIOReturnExclusiveAccess);
    listener_->hidManagerHidError(session_->manager(), platform::kIOReturnNoResources);
    EXPECT_EQ(printed_, R"({"time":1.5,"event":"unusable","name":"Locked Pad","kind":"Gamepad","type":"1-2",)"
                        R"("instance":"1-2.C3","bus":"USB","status":-536870203,)"
                        R"("reason":"another program uses it alone"})"
                        "\n"
                        R"({"time":1.5,"event":"error","status":-536870210,)"
                        R"("reason":"the system has no resources left"})"
                        "\n");
}

TEST_F(EventLinesTest, PassOverWhatIsNotMeant) {
    start({.device = "wheel"});
    failWith(platform::kIOReturnNotPermitted);
    session_->settle();
    EXPECT_EQ(printed_, "");
    EXPECT_EQ(listener_->connectedSoFar(), 0U);
}

TEST(EventTimes, StayAlignedForADay) {
    using std::chrono::microseconds;
    EXPECT_EQ(timeText(microseconds(0)), "    0.000000");
    EXPECT_EQ(timeText(microseconds(86'399'999'999)), "86399.999999");
}

} // namespace
} // namespace qz::tools
