// SPDX-License-Identifier: MIT
#include "tests/kernel/support/HIDNodes.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

namespace qz::tests {

namespace {

/// The names in `directory` that begin with `prefix`, sorted.
std::vector<std::string> entries(const std::filesystem::path& directory, const std::string& prefix) {
    std::vector<std::string> found;
    std::error_code none;
    for (const auto& entry : std::filesystem::directory_iterator(directory, none)) {
        std::string name = entry.path().filename();
        if (name.starts_with(prefix)) {
            found.push_back(std::move(name));
        }
    }
    std::ranges::sort(found);
    return found;
}

} // namespace

HIDNodes nodesOf(const std::string& directory) {
    HIDNodes nodes{.directory = directory, .hidraw = {}, .events = {}};
    const std::vector<std::string> hidraw = entries(directory + "/hidraw", "hidraw");
    if (hidraw.size() != 1) {
        throw std::runtime_error("no hidraw node below " + directory);
    }
    nodes.hidraw = "/dev/" + hidraw.front();
    for (const std::string& input : entries(directory + "/input", "input")) {
        for (const std::string& event : entries(directory + "/input/" + input, "event")) {
            nodes.events.push_back("/dev/input/" + event);
        }
    }
    return nodes;
}

} // namespace qz::tests
