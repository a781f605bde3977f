// SPDX-License-Identifier: MIT
#include "tests/kernel/support/KernelMapping.h"

#include <charconv>
#include <filesystem>
#include <fstream>
#include <linux/input.h>
#include <map>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace qz::tests {

namespace {

struct Name {
    std::string_view text;
    std::uint32_t number;
};

// The names of drivers/hid/hid-debug.c that controls of controllers have there; what has none is in hexadecimal.
constexpr Name pages[] = {{"GenericDesktop", 1}, {"Simulation", 2},  {"GenericDeviceControls", 6},
                          {"Button", 9},         {"Consumer", 0x0c}, {"Digitizers", 0x0d}};
constexpr Name desktopUsages[] = {{"Pointer", 1}, {"X", 0x30},     {"Y", 0x31},         {"Z", 0x32},
                                  {"Rx", 0x33},   {"Ry", 0x34},    {"Rz", 0x35},        {"Slider", 0x36},
                                  {"Dial", 0x37}, {"Wheel", 0x38}, {"HatSwitch", 0x39}, {"Vx", 0x40}};
constexpr Name simulationUsages[] = {{"Rudder", 0xba}, {"Throttle", 0xbb}};
constexpr Name axes[] = {{"X", ABS_X},
                         {"Y", ABS_Y},
                         {"Z", ABS_Z},
                         {"Rx", ABS_RX},
                         {"Ry", ABS_RY},
                         {"Rz", ABS_RZ},
                         {"Throttle", ABS_THROTTLE},
                         {"Rudder", ABS_RUDDER},
                         {"Wheel", ABS_WHEEL},
                         {"Gas", ABS_GAS},
                         {"Brake", ABS_BRAKE},
                         {"Hat0X", ABS_HAT0X},
                         {"Misc", ABS_MISC}};

template<std::size_t count>
std::optional<std::uint32_t> numberOf(const Name (&names)[count], std::string_view text) {
    for (const Name& name : names) {
        if (name.text == text) {
            return name.number;
        }
    }
    return std::nullopt;
}

std::optional<std::uint32_t> hexadecimal(std::string_view text) {
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, 16);
    return text.size() == 4 && error == std::errc() && end == text.data() + text.size() ? std::optional(number)
                                                                                        : std::nullopt;
}

/// "GenericDesktop.X" or "ff00.0020"; absent for a name that is not in the tables above.
std::optional<std::uint32_t> usageNamed(std::string_view text) {
    const std::size_t dot = text.find('.');
    const std::string_view pageText = text.substr(0, dot);
    const std::string_view usageText = text.substr(std::min(dot, text.size() - 1) + 1);
    const auto page = numberOf(pages, pageText) ? numberOf(pages, pageText) : hexadecimal(pageText);
    auto usage = hexadecimal(usageText);
    if (!usage && page == 1U) {
        usage = numberOf(desktopUsages, usageText);
    }
    if (!usage && page == 2U) {
        usage = numberOf(simulationUsages, usageText);
    }
    return page && usage ? std::optional(*page << 16U | *usage) : std::nullopt;
}

} // namespace

std::vector<MappedUsage> kernelMapping(const std::string& directory, const EvdevNode& node) {
    std::vector<MappedUsage> mapping;
    std::ifstream table("/sys/kernel/debug/hid/" + std::filesystem::path(directory).filename().string() + "/rdesc");
    if (!table) {
        throw std::runtime_error("debugfs does not know " + directory);
    }
    constexpr std::string_view arrow = " ---> Absolute.";
    for (std::string line; std::getline(table, line);) {
        const std::size_t at = line.find(arrow);
        if (at == std::string::npos) {
            continue;
        }
        const auto usage = usageNamed(std::string_view(line).substr(0, at));
        const auto axis = numberOf(axes, std::string_view(line).substr(at + arrow.size()));
        if (usage && axis) {
            mapping.push_back({*usage, {EV_ABS, static_cast<std::uint16_t>(*axis)}});
        }
    }
    for (const EvdevNode::MappedKey& key : node.mappedKeys()) {
        mapping.push_back({key.usage, {EV_KEY, key.code}});
    }
    return mapping;
}

} // namespace qz::tests
