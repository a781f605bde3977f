// SPDX-License-Identifier: MIT
#include "tests/kernel/support/CounterPad.h"
#include "tests/kernel/support/RunningTool.h"

#include <gmock/gmock.h>

#include <array>
#include <chrono>
#include <fstream>
#include <iterator>
#include <thread>

// The command-line tool over devices of the running kernel.

namespace qz::tests {
namespace {

using testing::HasSubstr;
using testing::Not;

class Tool : public testing::Test {
protected:
    /// Sends numbers of the X axis until `tool` prints a text.
    static bool sendUntil(RunningTool& tool, CounterPad& pad, const std::string& text) {
        return tool.waitFor(text, [&] { pad.send(); });
    }

    static bool contains(const std::string& file, const std::string& text) {
        std::ifstream stream(file);
        const std::string content{std::istreambuf_iterator<char>(stream), {}};
        return content.find(text) != std::string::npos;
    }

    ToolHome home_;
};

TEST_F(Tool, ListsWhatIsAttached) {
    CounterPad first("first pad", "one");
    CounterPad second("second pad", "two");
    const ToolOutcome outcome = runTool(home_, {"list", "--json"});
    EXPECT_EQ(outcome.status, 0);
    for (const char* const part :
         {R"("name":"first pad","kind":"Gamepad","type":"1234-5678","instance":"1234-5678.one")",
          R"("name":"second pad","kind":"Gamepad","type":"1234-5678","instance":"1234-5678.two")",
          R"("controls":{"buttons":8,"movingControls":2,)"}) {
        EXPECT_THAT(outcome.output, HasSubstr(part));
    }
}

TEST_F(Tool, ListsWhatAnOrdinaryUserMayNotOpenWithTheReason) {
    CounterPad pad("locked pad");
    RunningTool tool(home_, {"list", "--json"}, RunningTool::Terminal::None, RunningTool::User::Ordinary);
    EXPECT_EQ(tool.wait(), 0);
    EXPECT_THAT(tool.output(), HasSubstr(R"("name":"locked pad")"));
    EXPECT_THAT(tool.output(), HasSubstr(R"("usable":false,"status":-536870174,"reason":"no permission to read it")"));
}

TEST_F(Tool, PrintsTheElementsOfOneOfSeveral) {
    CounterPad first("first pad", "one");
    CounterPad second("second pad", "two");
    EXPECT_THAT(runTool(home_, {"elements", "SECOND"}).output, HasSubstr("Button 8"));
    const ToolOutcome ambiguous = runTool(home_, {"elements", "pad"});
    EXPECT_EQ(ambiguous.status, 2);
    EXPECT_THAT(ambiguous.output, HasSubstr("1234-5678.one"));
    EXPECT_THAT(ambiguous.output, HasSubstr("1234-5678.two"));
}

TEST_F(Tool, MonitorPrintsWhatHappens) {
    auto pad = std::make_unique<CounterPad>("monitored pad");
    RunningTool tool(home_, {"monitor", "--json", "--raw"});
    ASSERT_TRUE(tool.waitFor(R"("event":"connected")"));
    ASSERT_TRUE(tool.waitFor("monitored pad"));
    pad->press(1);
    EXPECT_TRUE(sendUntil(tool, *pad, R"("event":"raw")"));
    EXPECT_TRUE(sendUntil(tool, *pad, R"("event":"action")"));
    pad.reset();
    EXPECT_TRUE(tool.waitFor(R"("event":"disconnected")"));
    const CounterPad other("other pad");
    EXPECT_TRUE(tool.waitFor("other pad"));
    tool.interrupt();
    EXPECT_EQ(tool.wait(), 0) << tool.output();
}

TEST_F(Tool, MonitorShowsWhatHappensOnATerminal) {
    CounterPad pad("shown pad");
    RunningTool tool(home_, {"monitor"}, RunningTool::Terminal::Eighty);
    ASSERT_TRUE(sendUntil(tool, pad, "shown pad"));
    EXPECT_TRUE(sendUntil(tool, pad, "X"));
    tool.type("q");
    EXPECT_EQ(tool.wait(), 0);
    EXPECT_THAT(tool.output(), HasSubstr("\x1b[?1049l")) << "the terminal has its page again";
}

TEST_F(Tool, CalibrationIsKept) {
    CounterPad pad("calibrated pad");
    EXPECT_THAT(runTool(home_, {"list", "--json"}).output, HasSubstr(R"("calibrated":false)"));
    RunningTool tool(home_, {"calibrate", "--yes", "--seconds", "1"});
    std::uint8_t high = 0;
    EXPECT_TRUE(tool.waitFor("after", [&] {
        high = static_cast<std::uint8_t>(high + 16);
        pad.device().send(std::array{std::uint8_t{0}, high, std::uint8_t{0}, std::uint8_t{0}});
    })) << tool.output();
    EXPECT_EQ(tool.wait(), 0) << tool.output();
    EXPECT_THAT(runTool(home_, {"list", "--json"}).output, HasSubstr(R"("calibrated":true)"));
}

TEST_F(Tool, CalibrationThatIsInterruptedChangesNothing) {
    CounterPad pad("calibrated pad");
    RunningTool tool(home_, {"calibrate"}, RunningTool::Terminal::Eighty);
    ASSERT_TRUE(sendUntil(tool, pad, "X"));
    tool.type("\x03");
    EXPECT_EQ(tool.wait(), 1);
    EXPECT_THAT(runTool(home_, {"list", "--json"}).output, HasSubstr(R"("calibrated":false)"));
    EXPECT_FALSE(std::filesystem::exists(home_.path("config/qzgamecontroller")));
}

TEST_F(Tool, MappingIsKept) {
    CounterPad pad("mapped pad");
    const ToolOutcome outcome = runTool(home_, {"map", "--set", "Button 3=gear", "--reverse", "X"});
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    RunningTool tool(home_, {"monitor", "--json"});
    ASSERT_TRUE(tool.waitFor(R"("event":"connected")"));
    pad.press(4);
    pad.send();
    EXPECT_TRUE(tool.waitFor(R"("action":"gear","value":1.0)"));
    tool.interrupt();
    EXPECT_EQ(tool.wait(), 0);
}

TEST_F(Tool, RecordsWhatDevicesSendAndReplaysIt) {
    CounterPad pad("recorded pad");
    RunningTool tool(home_, {"record", home_.path("pad.hid")});
    ASSERT_TRUE(tool.waitFor("recorded pad")) << "it says what it records";
    for (int i = 0; i < 20; ++i) {
        ASSERT_TRUE(pad.send());
    }
    {
        const CounterPad other("passing pad", "passing");
        EXPECT_TRUE(tool.waitFor("passing pad"));
    }
    // It says nothing of the unplugging, which it may not have seen yet.
    while (!contains(home_.path("pad.hid"), "# qzgc: unplugged")) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    tool.interrupt();
    EXPECT_EQ(tool.wait(), 0) << tool.output();

    const ToolOutcome replayed = runTool(home_, {"replay", home_.path("pad.hid"), "--fast", "--json", "--raw"});
    EXPECT_EQ(replayed.status, 0) << replayed.output;
    EXPECT_THAT(replayed.output, HasSubstr(R"("instance":"1234-5678.count")"));
    EXPECT_THAT(replayed.output, HasSubstr(R"("raw":20)"));
    EXPECT_THAT(replayed.output, Not(HasSubstr(R"("raw":21)")));
    EXPECT_THAT(replayed.output, HasSubstr("passing pad"));
    EXPECT_THAT(replayed.output, HasSubstr(R"("event":"disconnected")"));
}

} // namespace
} // namespace qz::tests
