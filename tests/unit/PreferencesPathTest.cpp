// SPDX-License-Identifier: MIT
#include "platform/linux/PreferencesPath.h"

#include "tests/support/ChildProcess.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <pwd.h>
#include <set>

namespace qz::platform {
namespace {

using tests::inChild;

/// The directory in an environment with these two variables; null: not set.
std::string directoryWith(const char* configHome, const char* home) {
    return inChild([&] {
        const auto set = [](const char* name, const char* value) {
            value != nullptr ? ::setenv(name, value, 1) : ::unsetenv(name);
        };
        set("XDG_CONFIG_HOME", configHome);
        set("HOME", home);
        return preferencesDirectory();
    });
}

TEST(PreferencesPath, IsBelowTheConfigurationDirectoryOfTheUser) {
    EXPECT_EQ(directoryWith("/somewhere/config", "/home/user"), "/somewhere/config/qzgamecontroller");
    EXPECT_EQ(directoryWith(nullptr, "/home/user"), "/home/user/.config/qzgamecontroller");
    EXPECT_EQ(directoryWith("", "/home/user"), "/home/user/.config/qzgamecontroller");
}

TEST(PreferencesPath, IgnoresRelativeDirectoriesInTheEnvironment) {
    EXPECT_EQ(directoryWith("config", "/home/user"), "/home/user/.config/qzgamecontroller");
    EXPECT_EQ(directoryWith("./config", "/home/user"), "/home/user/.config/qzgamecontroller");
}

TEST(PreferencesPath, AsksThePasswordDatabaseWhenTheEnvironmentNamesNoHome) {
    const passwd* const entry = ::getpwuid(::getuid());
    ASSERT_NE(entry, nullptr);
    const std::string expected = std::string(entry->pw_dir) + "/.config/qzgamecontroller";
    EXPECT_EQ(directoryWith(nullptr, nullptr), expected);
    EXPECT_EQ(directoryWith(nullptr, ""), expected);
    EXPECT_EQ(directoryWith("relative", "relative"), expected);
}

TEST(PreferencesPath, TakesTheNameOfTheProgramWithoutItsDirectories) {
    EXPECT_EQ(programName(), "preferences_path_test");
    EXPECT_EQ(documentName(""), "preferences_path_test.json");
}

TEST(PreferencesPath, KeepsAnOrdinaryIdentifierAsItIs) {
    EXPECT_EQ(documentName("org.example.racer-2"), "org.example.racer-2.json");
    EXPECT_EQ(documentName("M\xc3\xbchle \xe2\x99\x9e"), "M\xc3\xbchle \xe2\x99\x9e.json");
    EXPECT_EQ(documentName("a..b"), "a..b.json");
}

TEST(PreferencesPath, NeverLeavesItsDirectory) {
    EXPECT_EQ(documentName("."), "%2e.json");
    EXPECT_EQ(documentName(".."), "%2e..json");
    EXPECT_EQ(documentName("../../etc/passwd"), "%2e.%2f..%2fetc%2fpasswd.json");
    EXPECT_EQ(documentName("/etc/passwd"), "%2fetc%2fpasswd.json");
    EXPECT_EQ(documentName(std::string_view("a\0b", 3)), "a%00b.json");
    EXPECT_EQ(documentName("a\nb\x7f"), "a%0ab%7f.json");
}

TEST(PreferencesPath, GivesDifferentIdentifiersDifferentNames) {
    std::set<std::string> names;
    std::size_t count = 0;
    for (const char* const identifier : {"a/b", "a%2fb", "a%252fb", "a_b", "a\x01", "a%01", ".a", "%2ea", "A", "a"}) {
        names.insert(documentName(identifier));
        ++count;
    }
    EXPECT_EQ(names.size(), count);
}

} // namespace
} // namespace qz::platform
