// SPDX-License-Identifier: MIT
#include "platform/report/Recording.h"
#include "tests/support/DeviceDump.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

namespace qz::test {
namespace {

using std::filesystem::path;

std::string contentOf(const path& file) {
    std::ifstream stream(file, std::ios::binary);
    EXPECT_TRUE(stream.is_open()) << file;
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// The files in tests/devices with this extension, sorted.
std::vector<path> filesWith(const char* extension) {
    std::vector<path> files;
    for (const auto& entry : std::filesystem::directory_iterator(path(QZGC_TEST_DATA) / "devices")) {
        if (entry.path().extension() == extension) {
            files.push_back(entry.path());
        }
    }
    std::ranges::sort(files);
    return files;
}

platform::Recording recordingIn(const path& file) {
    auto result = platform::readRecording(contentOf(file));
    if (const auto* error = std::get_if<platform::RecordingError>(&result)) {
        ADD_FAILURE() << file << ", " << error->message;
        return {};
    }
    return std::get<platform::Recording>(std::move(result));
}

std::string dumpOf(const platform::Recording& recording) {
    std::vector<std::vector<std::uint8_t>> reports;
    for (const platform::RecordedEvent& event : recording.events) {
        reports.push_back(event.report);
    }
    return recording.devices.empty() ? std::string() : dumpDevice(recording.devices.front().descriptor, reports);
}

// Cookies key what users have stored, so none of these dumps may ever change.
TEST(DeviceGolden, ElementsAndValuesOfRealDevicesStayAsTheyAre) {
    for (const path& file : filesWith(".hid")) {
        EXPECT_EQ(dumpOf(recordingIn(file)), contentOf(path(file).replace_extension(".expected"))) << file;
    }
}

TEST(DeviceGolden, EveryDeviceHasADumpAndEveryDumpADevice) {
    const auto stems = [](const char* extension) {
        std::vector<path> files = filesWith(extension);
        std::ranges::for_each(files, [](path& file) { file.replace_extension(); });
        return files;
    };
    EXPECT_EQ(stems(".hid"), stems(".expected"));
    EXPECT_GE(stems(".hid").size(), 100U);
}

// Two interfaces of one device may have the same vendor and product, and two devices the same descriptor.
TEST(DeviceGolden, NoDeviceIsThereTwice) {
    std::set<std::tuple<std::uint16_t, std::uint16_t, std::vector<std::uint8_t>>> devices;
    for (const path& file : filesWith(".hid")) {
        const platform::Recording recording = recordingIn(file);
        ASSERT_EQ(recording.devices.size(), 1U) << file;
        const platform::RecordedDevice& device = recording.devices.front();
        EXPECT_FALSE(device.name.empty()) << file;
        EXPECT_TRUE(devices.emplace(device.vendor, device.product, device.descriptor).second) << file;
    }
}

TEST(DeviceGolden, RecordingsOfRealDevicesAreReadBackTheSame) {
    for (const path& file : filesWith(".hid")) {
        const platform::Recording recording = recordingIn(file);
        const std::string text = platform::writeRecording(recording);
        auto again = platform::readRecording(text);
        ASSERT_TRUE(std::holds_alternative<platform::Recording>(again)) << file;
        EXPECT_EQ(std::get<platform::Recording>(again), recording) << file;
        EXPECT_EQ(platform::writeRecording(std::get<platform::Recording>(again)), text) << file;
    }
}

} // namespace
} // namespace qz::test
