// SPDX-License-Identifier: MIT
#include "tests/unit/qzgc/ToolFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

// How "calibrate" removes what it has stored.

namespace {

using qz::tests::Outcome;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

const std::string axis = "R: 20 05 01 09 04 a1 01 15 00 26 ff 00 75 08 95 01 09 30 81 02 c0\n";
const std::string key = "QZGameController-Calibrations-4660-22136";
const std::string nothingIsStored = "no calibration of Stick is stored; the ranges that it declares count\n";

class CalibrateReset : public qz::tests::ToolTest {
protected:
    CalibrateReset() {
        std::filesystem::create_directories(path("config/qzgamecontroller"));
        write("stick.hid", axis + "N: Stick\nU: A1\nI: 3 1234 5678\nE: 000001.000000 1 80\n");
    }

    Outcome reset(const std::string& arguments = "") const {
        return run("calibrate --reset --from stick.hid " + arguments);
    }
    std::string preferences(const std::string& application = "qzgc") const {
        return contents("config/qzgamecontroller/" + application + ".json");
    }
    void store(const std::string& calibration, const std::string& application = "qzgc") const {
        write("config/qzgamecontroller/" + application + ".json", "{\"" + key + "\": " + calibration + "}");
    }
};

TEST_F(CalibrateReset, RemovesWhatIsStoredOfTheModelAndNothingElse) {
    const std::string before = "{\n  \"QZGameController-Calibrations-1-2\": {\n    \"2\": [\n      1,\n      9,\n"
                               "      5\n    ]\n  },\n";
    const std::string after = "  \"QZGameControllerConfig\": {\n    \"4660-22136\": {\n      \"QZGCMappings\": {\n"
                              "        \"2\": \"roll\"\n      }\n    }\n  }\n}\n";
    write("config/qzgamecontroller/qzgc.json", before + "  \"" + key + "\": {\"2\": [10, 250, 120]},\n" + after);
    ASSERT_THAT(run("list --json --from stick.hid").output, HasSubstr(R"("calibrated":true)"));
    const Outcome removed = reset("stick");
    EXPECT_EQ(removed.status, 0);
    EXPECT_EQ(removed.output, "removed the calibration of Stick; the ranges that it declares count again\n");
    EXPECT_THAT(removed.complaint, IsEmpty());
    EXPECT_EQ(preferences(), before + after);
    EXPECT_THAT(run("list --json --from stick.hid").output, HasSubstr(R"("calibrated":false)"));
    EXPECT_THAT(run("monitor --lines --fast --from stick.hid").output, HasSubstr(" roll: 0.5039 "));

    const Outcome nothing = reset("--fast");
    EXPECT_EQ(nothing.status, 0);
    EXPECT_EQ(nothing.output, nothingIsStored);
    EXPECT_THAT(nothing.complaint, IsEmpty());
    EXPECT_EQ(preferences(), before + after);
}

TEST_F(CalibrateReset, StoresNothingWhereNothingIsStored) {
    EXPECT_EQ(reset().output, nothingIsStored);
    EXPECT_TRUE(std::filesystem::is_empty(path("config/qzgamecontroller")));
}

TEST_F(CalibrateReset, KeepsToThePreferencesOfTheApplication) {
    store(R"({"2": [10, 250, 120]})");
    store(R"({"2": [10, 250, 120]})", "racer");
    EXPECT_THAT(reset("--application racer").output, StartsWith("removed the calibration of Stick;"));
    EXPECT_EQ(preferences("racer"), "{}\n");
    EXPECT_THAT(preferences(), HasSubstr(key));
}

TEST_F(CalibrateReset, KeepsToTheChosenController) {
    write("stick.hid", "D: 0\n" + axis + "N: Other\nU: B2\nI: 3 1 2\nD: 1\n" + axis +
                           "N: Stick\nU: A1\nI: 3 1234 5678\n# qzgc: plugged in 009000.000000\n");
    store(R"({"2": [10, 250, 120]})");
    const std::string before = preferences();
    EXPECT_EQ(reset().status, 2) << "which?";
    EXPECT_EQ(reset("wheel").status, 1);
    EXPECT_THAT(reset("other").output, StartsWith("no calibration of Other is stored;"));
    EXPECT_EQ(preferences(), before);
    EXPECT_EQ(reset("4660-22136").status, 0) << "it does not wait until that comes";
    EXPECT_EQ(preferences(), "{}\n");
}

TEST_F(CalibrateReset, RemovesWhatCannotBeUsed) {
    for (const char* const useless :
         {R"({"2": [1]})", R"({"2": [-9223372036854775808, 9223372036854775807, 0]})", "3", "{}"}) {
        store(useless);
        const Outcome outcome = reset();
        EXPECT_THAT(outcome.output, StartsWith("removed the calibration of Stick;")) << useless;
        EXPECT_THAT(outcome.complaint, IsEmpty()) << useless;
        EXPECT_EQ(preferences(), "{}\n") << useless;
    }
}

TEST_F(CalibrateReset, LeavesMappingsOfAnOldFormAlone) {
    const std::string old = R"("EkinorBindings": {"4660-22136": {"QZGCMappings": {"2": "roll"}}})";
    write("config/qzgamecontroller/qzgc.json", "{\"" + key + "\": {}, " + old + "}");
    EXPECT_EQ(reset().status, 0);
    EXPECT_THAT(preferences(), HasSubstr("EkinorBindings"));
    EXPECT_THAT(preferences(), Not(HasSubstr(key)));
}

TEST_F(CalibrateReset, FailsWhereThePreferencesCannotBeChanged) {
    store(R"({"2": [10, 250, 120]})");
    const std::string before = preferences();
    std::filesystem::create_directory(path("config/qzgamecontroller/qzgc.json.lock"));
    const Outcome locked = reset();
    EXPECT_EQ(locked.status, 1);
    EXPECT_THAT(locked.output, IsEmpty());
    EXPECT_THAT(locked.complaint, testing::MatchesRegex("qzgc: not saved: [^\n]+\n"));
    EXPECT_EQ(preferences(), before);

    std::filesystem::remove(path("config/qzgamecontroller/qzgc.json"));
    std::filesystem::create_directory(path("config/qzgamecontroller/qzgc.json"));
    const Outcome unreadable = reset();
    EXPECT_EQ(unreadable.status, 1) << "nobody knows that nothing is stored";
    EXPECT_THAT(unreadable.output, IsEmpty());
    EXPECT_THAT(unreadable.complaint, HasSubstr("\nqzgc: nothing was removed: "));
}

TEST_F(CalibrateReset, DoesNotMeasureAtTheSameTime) {
    store(R"({"2": [10, 250, 120]})");
    const std::string before = preferences();
    for (const char* const measuring : {"--yes", "--json", "--seconds 1"}) {
        const Outcome outcome = reset(measuring);
        EXPECT_EQ(outcome.status, 2) << measuring;
        EXPECT_THAT(outcome.complaint, HasSubstr(" excludes --")) << measuring;
    }
    EXPECT_EQ(preferences(), before);
}

} // namespace
