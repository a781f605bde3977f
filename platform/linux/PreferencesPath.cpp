// SPDX-License-Identifier: MIT
#include "platform/linux/PreferencesPath.h"

#include "platform/Text.h"

#include <cerrno>
#include <cstdlib>
#include <pwd.h>
#include <unistd.h>
#include <vector>

namespace qz::platform {

namespace {

std::string absolutePathInEnvironment(const char* name) {
    const char* const value = ::secure_getenv(name);
    return value != nullptr && *value == '/' ? value : std::string();
}

std::string homeInPasswordDatabase() {
    constexpr std::size_t largestEntry = std::size_t{1} << 20U;
    for (std::vector<char> buffer(1024); buffer.size() <= largestEntry; buffer.resize(2 * buffer.size())) {
        passwd entry{};
        passwd* found = nullptr;
        const int error = ::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found);
        if (error == ERANGE || error == EINTR) {
            continue;
        }
        const bool usable = found != nullptr && found->pw_dir != nullptr && *found->pw_dir == '/';
        return usable ? found->pw_dir : std::string();
    }
    return {};
}

} // namespace

std::string preferencesDirectory() {
    constexpr std::string_view ownDirectory = "/qzgamecontroller";
    if (const std::string config = absolutePathInEnvironment("XDG_CONFIG_HOME"); !config.empty()) {
        return config + std::string(ownDirectory);
    }
    std::string home = absolutePathInEnvironment("HOME");
    if (home.empty()) {
        home = homeInPasswordDatabase();
    }
    return home.empty() ? home : home + "/.config" + std::string(ownDirectory);
}

std::string programName() {
    const std::string_view name = program_invocation_short_name;
    return std::string(name.empty() ? "application" : name);
}

std::string documentName(std::string_view identifier) {
    if (identifier.empty()) {
        return documentName(programName());
    }
    std::string name;
    for (const char character : identifier) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte < 0x20 || byte == 0x7f || byte == '/' || byte == '%' || (byte == '.' && name.empty())) {
            name += '%' + hexadecimal(byte, 2);
        } else {
            name += character;
        }
    }
    return name + ".json";
}

} // namespace qz::platform
