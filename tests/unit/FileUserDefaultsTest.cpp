// SPDX-License-Identifier: MIT
#include "platform/linux/FileUserDefaults.h"

#include "platform/linux/LinuxPlatform.h"
#include "platform/virtual/JournalPlatform.h"
#include "platform/virtual/VirtualPlatform.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ScriptedSystemCalls.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <sys/stat.h>

namespace qz::platform {
namespace {

using Dictionary = PropertyList::Dictionary;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class FileUserDefaultsTest : public ::testing::Test {
protected:
    const std::string& directory() const { return temporary_.path(); }
    std::string document() const { return temporary_.path("app.json"); }
    std::vector<std::string> names() const { return temporary_.names(); }

    /// What a process that starts now finds.
    Dictionary stored() const { return FileUserDefaults(directory(), "app").dictionaryRepresentation(); }

private:
    tests::TemporaryDirectory temporary_;
};

mode_t modeOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777U;
}

ino_t identityOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
    return status.st_ino;
}

TEST_F(FileUserDefaultsTest, StartsEmptyAndMakesNothing) {
    FileUserDefaults store(directory() + "/below", "app");
    EXPECT_EQ(store.path(), directory() + "/below/app.json");
    EXPECT_THAT(store.dictionaryRepresentation(), IsEmpty());
    EXPECT_EQ(store.objectForKey("a"), nullptr);
    EXPECT_TRUE(store.synchronize());
    EXPECT_EQ(store.lastError(), "");
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(FileUserDefaultsTest, KeepsWhatWasSetForTheNextProcess) {
    const Dictionary values = {
        {"calibration", Dictionary{{"16", PropertyList::Array{3, 252, 127}}}}, {"gain", 3.0}, {"on", true}, {"n", 3}};
    {
        FileUserDefaults store(directory(), "app");
        for (const auto& [key, value] : values) {
            store.setObjectForKey(value, key);
        }
        EXPECT_EQ(store.dictionaryRepresentation(), values) << "seen at once";
        EXPECT_THAT(names(), IsEmpty()) << "and not yet on the disk";
        EXPECT_TRUE(store.synchronize());
        EXPECT_EQ(store.dictionaryRepresentation(), values);
    }
    EXPECT_EQ(stored(), values);
    EXPECT_EQ(tests::readFile(document()), R"({
  "calibration": {
    "16": [
      3,
      252,
      127
    ]
  },
  "gain": 3.0,
  "n": 3,
  "on": true
}
)");
    EXPECT_THAT(names(), ElementsAre("app.json", "app.json.lock"));
}

TEST_F(FileUserDefaultsTest, WritesWhatIsLeftAtTheEnd) {
    { FileUserDefaults(directory(), "app").setObjectForKey(1, "a"); }
    EXPECT_EQ(stored(), (Dictionary{{"a", 1}}));
    { FileUserDefaults(directory(), "app").removeObjectForKey("a"); }
    EXPECT_EQ(stored(), Dictionary{});
}

TEST_F(FileUserDefaultsTest, MakesDirectoriesAndFilesForTheOwnerOnly) {
    const mode_t before = ::umask(0);
    FileUserDefaults store(directory() + "/one/two/three", "app");
    store.setObjectForKey(1, "a");
    EXPECT_TRUE(store.synchronize()) << store.lastError();
    ::umask(before);
    for (const char* const path : {"/one", "/one/two", "/one/two/three"}) {
        EXPECT_EQ(modeOf(directory() + path), 0700U) << path;
    }
    EXPECT_EQ(modeOf(store.path()), 0600U);
    EXPECT_EQ(modeOf(store.path() + ".lock"), 0600U);
}

TEST_F(FileUserDefaultsTest, NarrowsTheModeOfADocumentThatOthersCouldRead) {
    tests::writeFile(document(), "{\"other\": 1}");
    ASSERT_EQ(::chmod(document().c_str(), 0666), 0);
    { FileUserDefaults(directory(), "app").setObjectForKey(1, "a"); }
    EXPECT_EQ(modeOf(document()), 0600U);
    EXPECT_EQ(stored(), (Dictionary{{"a", 1}, {"other", 1}}));
}

TEST_F(FileUserDefaultsTest, AnswersFromMemory) {
    tests::writeFile(document(), "{\"a\": 1}");
    int calls = 0;
    tests::ScriptedSystemCalls counting([&](std::string_view) { return ++calls, 0; });
    FileUserDefaults store(directory(), "app", counting);
    calls = 0;
    EXPECT_NE(store.objectForKey("a"), nullptr);
    EXPECT_EQ(store.objectForKey("b"), nullptr);
    EXPECT_EQ(store.dictionaryForKey("a"), nullptr);
    EXPECT_EQ(store.dictionaryRepresentation().size(), 1U);
    store.setObjectForKey(2, "b");
    store.removeObjectForKey("a");
    EXPECT_EQ(calls, 0);
}

TEST_F(FileUserDefaultsTest, WritesNothingWhenNothingChanged) {
    tests::writeFile(document(), "{\"a\": 1}");
    const ino_t before = identityOf(document());
    std::vector<std::string> calls;
    tests::ScriptedSystemCalls recording([&](std::string_view call) { return calls.emplace_back(call), 0; });
    {
        FileUserDefaults store(directory(), "app", recording);
        store.removeObjectForKey("not there");
        EXPECT_TRUE(store.synchronize());
    }
    EXPECT_THAT(calls, ElementsAre("open", "fileStatus", "read", "read", "close", //
                                   "open", "fileStatus", "read", "read", "close"));
    EXPECT_THAT(names(), ElementsAre("app.json"));
    EXPECT_EQ(identityOf(document()), before);
}

TEST_F(FileUserDefaultsTest, ReadsWhatOthersChanged) {
    FileUserDefaults store(directory(), "app");
    store.setObjectForKey(1, "a");
    ASSERT_TRUE(store.synchronize());
    // In place and of the same length, as an editor may do it within the same tick of the clock.
    std::string text = tests::readFile(document());
    text.replace(text.find('1'), 1, "2");
    tests::writeFile(document(), text);
    EXPECT_EQ(*store.objectForKey("a"), PropertyList(1)) << "not before it is asked to";
    EXPECT_TRUE(store.synchronize());
    EXPECT_EQ(*store.objectForKey("a"), PropertyList(2));
    std::filesystem::remove(document());
    EXPECT_TRUE(store.synchronize());
    EXPECT_EQ(store.objectForKey("a"), nullptr);
}

TEST_F(FileUserDefaultsTest, MergesTheKeysOfTwoObjects) {
    FileUserDefaults one(directory(), "app");
    FileUserDefaults two(directory(), "app");
    one.setObjectForKey("one", "a");
    two.setObjectForKey("two", "b");
    EXPECT_TRUE(one.synchronize());
    EXPECT_TRUE(two.synchronize());
    EXPECT_EQ(stored(), (Dictionary{{"a", "one"}, {"b", "two"}}));
    EXPECT_EQ(two.dictionaryRepresentation(), stored());
    EXPECT_EQ(one.objectForKey("b"), nullptr);
    EXPECT_TRUE(one.synchronize());
    EXPECT_EQ(one.dictionaryRepresentation(), stored());
}

TEST_F(FileUserDefaultsTest, LetsTheLastWriterOfAKeyWin) {
    tests::writeFile(document(), R"({"both": 0, "removed": 0, "removed too": 0, "kept": 0})");
    FileUserDefaults one(directory(), "app");
    FileUserDefaults two(directory(), "app");
    one.setObjectForKey(1, "both");
    one.setObjectForKey(1, "removed");
    one.removeObjectForKey("removed too");
    two.setObjectForKey(2, "both");
    two.removeObjectForKey("removed");
    EXPECT_TRUE(one.synchronize());
    EXPECT_TRUE(two.synchronize());
    EXPECT_EQ(stored(), (Dictionary{{"both", 2}, {"kept", 0}}));
    EXPECT_EQ(two.dictionaryRepresentation(), stored());
}

TEST_F(FileUserDefaultsTest, ForgetsWhatItChangedOnceThatIsWritten) {
    FileUserDefaults one(directory(), "app");
    one.setObjectForKey(1, "a");
    ASSERT_TRUE(one.synchronize());
    { FileUserDefaults(directory(), "app").setObjectForKey(2, "a"); }
    one.setObjectForKey(1, "b");
    ASSERT_TRUE(one.synchronize());
    EXPECT_EQ(stored(), (Dictionary{{"a", 2}, {"b", 1}}));
}

TEST_F(FileUserDefaultsTest, LosesAKeyThatWasSetAndRemovedBeforeItWasWritten) {
    tests::writeFile(document(), R"({"a": 0, "b": 0})");
    FileUserDefaults store(directory(), "app");
    store.setObjectForKey(1, "new");
    store.removeObjectForKey("new");
    store.removeObjectForKey("a");
    store.setObjectForKey(2, "a");
    EXPECT_TRUE(store.synchronize());
    EXPECT_EQ(stored(), (Dictionary{{"a", 2}, {"b", 0}}));
}

TEST_F(FileUserDefaultsTest, RemovesUnderTheKeyOfTheStoredEntryItself) {
    FileUserDefaults store(directory(), "app");
    store.setObjectForKey(1, "a key long enough to live outside of its string object");
    store.removeObjectForKey(store.dictionaryRepresentation().begin()->first);
    EXPECT_THAT(store.dictionaryRepresentation(), IsEmpty());
}

TEST_F(FileUserDefaultsTest, KeepsWhatItDoesNotUnderstand) {
    tests::writeFile(document(), R"({"theirs": {"null": null, "big": 18446744073709551616, "list": [1, null]}})");
    { FileUserDefaults(directory(), "app").setObjectForKey(1, "ours"); }
    EXPECT_EQ(tests::readFile(document()), R"({
  "ours": 1,
  "theirs": {
    "big": 18446744073709551616,
    "list": [
      1,
      null
    ],
    "null": null
  }
}
)");
}

TEST_F(FileUserDefaultsTest, SaysWhatJSONCannotHoldAndSeesItLikeEverybodyElse) {
    FileUserDefaults store(directory(), "app");
    store.setObjectForKey(std::numeric_limits<double>::quiet_NaN(), "n");
    store.setObjectForKey("\xff", "t");
    store.setObjectForKey(1, "a");
    EXPECT_TRUE(store.synchronize());
    EXPECT_NE(store.lastError().find(document()), std::string::npos) << store.lastError();
    EXPECT_EQ(stored(), (Dictionary{{"a", 1}, {"n", PropertyList::foreign("null")}, {"t", "\xef\xbf\xbd"}}));
    EXPECT_EQ(store.dictionaryRepresentation(), stored());
    EXPECT_TRUE(store.synchronize());
    EXPECT_EQ(store.lastError(), "");
}

TEST_F(FileUserDefaultsTest, WorksInMemoryWhereThereIsNoHome) {
    FileUserDefaults store("", "app");
    EXPECT_NE(store.lastError(), "");
    store.setObjectForKey(1, "a");
    EXPECT_FALSE(store.synchronize());
    EXPECT_NE(store.lastError().find("HOME"), std::string::npos);
    EXPECT_EQ(*store.objectForKey("a"), PropertyList(1));
}

TEST_F(FileUserDefaultsTest, FollowsALinkAndKeepsIt) {
    const std::string target = directory() + "/elsewhere/real.json";
    std::filesystem::create_directory(directory() + "/elsewhere");
    for (const bool targetIsThere : {true, false}) {
        std::filesystem::remove(target);
        if (targetIsThere) {
            tests::writeFile(target, R"({"other": 1})");
        }
        for (const std::string& link : {target, std::string("elsewhere/real.json"), std::string("link2")}) {
            std::filesystem::remove(document());
            std::filesystem::remove(directory() + "/link2");
            std::filesystem::create_symlink(target, directory() + "/link2");
            std::filesystem::create_symlink(link, document());
            {
                FileUserDefaults store(directory(), "app");
                store.setObjectForKey(link, link);
                EXPECT_TRUE(store.synchronize()) << store.lastError();
            }
            EXPECT_EQ(std::filesystem::read_symlink(document()), link);
            EXPECT_TRUE(std::filesystem::is_regular_file(std::filesystem::symlink_status(target)));
            EXPECT_EQ(stored().count(link), 1U);
            EXPECT_EQ(stored().count("other"), targetIsThere ? 1U : 0U);
        }
        EXPECT_THAT(names(), ElementsAre("app.json", "elsewhere", "link2")) << "the lock is where the document is";
    }
}

TEST_F(FileUserDefaultsTest, RemovesTheTemporaryFilesOfProcessesThatCrashed) {
    for (int i = 0; i < 1'000; ++i) { // more names than one read of the directory gives
        tests::writeFile(document() + ".tmp-dead-" + std::to_string(i), "{");
    }
    tests::writeFile(directory() + "/app", "not ours");
    tests::writeFile(directory() + "/app2.json.tmp-1", "another application's");
    FileUserDefaults store(directory(), "app");
    EXPECT_TRUE(store.synchronize());
    EXPECT_EQ(names().size(), 1'002U) << "reading removes nothing";
    store.setObjectForKey(1, "a");
    EXPECT_TRUE(store.synchronize());
    EXPECT_THAT(names(), ElementsAre("app", "app.json", "app.json.lock", "app2.json.tmp-1"));
}

TEST_F(FileUserDefaultsTest, BelongsToTheApplicationThatIsNamed) {
    tests::writeFile(directory() + "/two.json", R"({"from": "two"})");
    FileUserDefaults store(directory(), "one");
    store.setObjectForKey(1, "of one");
    EXPECT_TRUE(store.setApplicationIdentifier("two"));
    EXPECT_EQ(store.path(), directory() + "/two.json");
    EXPECT_EQ(store.dictionaryRepresentation(), (Dictionary{{"from", "two"}}));
    store.setObjectForKey(2, "of two");
    EXPECT_TRUE(store.synchronize());
    EXPECT_EQ(FileUserDefaults(directory(), "one").dictionaryRepresentation(), (Dictionary{{"of one", 1}}));
    EXPECT_EQ(FileUserDefaults(directory(), "two").dictionaryRepresentation(),
              (Dictionary{{"from", "two"}, {"of two", 2}}));
    EXPECT_TRUE(store.setApplicationIdentifier(""));
    EXPECT_EQ(store.path(), directory() + "/file_user_defaults_test.json") << "the program's name";
}

TEST_F(FileUserDefaultsTest, NeverLeavesItsDirectoryWhateverTheIdentifier) {
    std::filesystem::create_directory(directory() + "/inner");
    for (const std::string_view identifier :
         {std::string_view("../app"), std::string_view("/etc/app"), std::string_view(".."), std::string_view("."),
          std::string_view("a\0b", 3), std::string_view("/"), std::string_view("\0", 1)}) {
        FileUserDefaults store(directory() + "/inner", identifier);
        store.setObjectForKey(1, "a");
        EXPECT_TRUE(store.synchronize()) << store.lastError();
        EXPECT_EQ(std::filesystem::path(store.path()).lexically_normal().parent_path(), directory() + "/inner");
        EXPECT_TRUE(std::filesystem::exists(store.path()));
    }
    EXPECT_THAT(names(), ElementsAre("inner"));
}

TEST_F(FileUserDefaultsTest, RefusesAnIdentifierThatFitsNoFileName) {
    FileUserDefaults store(directory(), "app");
    store.setObjectForKey(1, "a");
    for (const std::size_t length : {std::size_t{196}, std::size_t{256}, std::size_t{100'000}}) {
        EXPECT_FALSE(store.setApplicationIdentifier(std::string(length, 'x')));
        EXPECT_NE(store.lastError().find("too long"), std::string::npos);
        EXPECT_EQ(store.path(), document());
        EXPECT_NE(store.objectForKey("a"), nullptr);
    }
    EXPECT_FALSE(store.setApplicationIdentifier(std::string(70, '/'))) << "each takes three bytes";
    EXPECT_TRUE(store.setApplicationIdentifier(std::string(195, 'x')));
    store.setObjectForKey(1, "a");
    EXPECT_TRUE(store.synchronize()) << store.lastError();

    FileUserDefaults tooLong(directory(), std::string(300, 'x'));
    tooLong.setObjectForKey(1, "a");
    EXPECT_FALSE(tooLong.synchronize());
    EXPECT_NE(tooLong.lastError().find("choose a shorter application identifier"), std::string::npos);
}

TEST_F(FileUserDefaultsTest, IsWhatThePlatformOfTheSystemOffers) {
    const std::string result = tests::inChild([&]() -> std::string {
        ::setenv("XDG_CONFIG_HOME", (directory() + "/config").c_str(), 1);
        {
            LinuxPlatform platform;
            platform.userDefaults().setApplicationIdentifier("org.example.racer");
            platform.userDefaults().setObjectForKey(7, "lucky");
        }
        LinuxPlatform later;
        later.userDefaults().setApplicationIdentifier("org.example.racer");
        const PropertyList* const found = later.userDefaults().objectForKey("lucky");
        return found != nullptr && *found == PropertyList(7) ? "" : "not found " + later.userDefaults().lastError();
    });
    EXPECT_EQ(result, "");
    EXPECT_TRUE(std::filesystem::exists(directory() + "/config/qzgamecontroller/org.example.racer.json"));
}

TEST(UserDefaults, TakeAnIdentifierAlsoInMemoryAndThroughAJournal) {
    VirtualPlatform inMemory;
    JournalPlatform journal(inMemory);
    EXPECT_TRUE(journal.userDefaults().setApplicationIdentifier("org.example.racer"));
    journal.fail("setApplicationIdentifier", kIOReturnError);
    EXPECT_FALSE(journal.userDefaults().setApplicationIdentifier("org.example.other"));
    EXPECT_THAT(journal.entries(), ElementsAre("setApplicationIdentifier(org.example.racer)",
                                               "setApplicationIdentifier(org.example.other)"));
}

} // namespace
} // namespace qz::platform
