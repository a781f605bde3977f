// SPDX-License-Identifier: MIT
#include "platform/report/Recording.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

using namespace qz::platform;
namespace fs = std::filesystem;

namespace {

std::string contents(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void write(const fs::path& path, const std::string& bytes) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
}

std::string text(const std::vector<std::uint8_t>& bytes) {
    return {bytes.begin(), bytes.end()};
}

/// As ReportDeviceFuzz.cpp reads it.
std::string deviceInput(const Recording& recording) {
    const std::string descriptor = text(recording.devices.front().descriptor);
    std::string input{static_cast<char>(descriptor.size()), static_cast<char>(descriptor.size() >> 8U)};
    input += descriptor;
    for (const RecordedEvent& event : recording.events) {
        if (event.device == 0 && event.report.size() < 256) {
            input += static_cast<char>(event.report.size());
            input += text(event.report);
        }
    }
    // Reports of all ones and all zeroes, for devices that came without any.
    for (const char byte : {'\xff', '\0'}) {
        input += '\x40';
        input += std::string(0x40, byte);
    }
    return input;
}

} // namespace

/// seeds TESTS DIRECTORY: makes the inputs that a fuzzer begins with, of the recordings and scenarios under TESTS.
int main(int argc, char** argv) {
    if (argc != 3) {
        return 2;
    }
    const fs::path tests = argv[1];
    const fs::path out = argv[2];
    std::size_t devices = 0;
    for (const auto& entry : fs::directory_iterator(tests / "devices")) {
        const std::string name = entry.path().stem().string();
        if (entry.path().extension() != ".hid") {
            continue;
        }
        write(out / "recording" / name, contents(entry.path()));
        const auto recording = readRecording(contents(entry.path()));
        if (const auto* const read = std::get_if<Recording>(&recording); read != nullptr && !read->devices.empty()) {
            write(out / "descriptor" / name, text(read->devices.front().descriptor));
            write(out / "device" / name, deviceInput(*read));
            ++devices;
        }
    }
    for (const auto& entry : fs::directory_iterator(tests / "scenarios")) {
        if (entry.path().extension() == ".json") {
            write(out / "scenario" / entry.path().stem(), contents(entry.path()));
            write(out / "property-list" / entry.path().stem(), contents(entry.path()));
        }
    }
    write(out / "stored-configuration" / "empty", "");
    std::printf("%zu devices\n", devices);
    return devices != 0 ? 0 : 1;
}
