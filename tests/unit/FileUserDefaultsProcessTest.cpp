// SPDX-License-Identifier: MIT
#include "platform/linux/FileUserDefaults.h"

#include "tests/support/ChildProcess.h"
#include "tests/support/ScriptedSystemCalls.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <random>
#include <sys/file.h>
#include <thread>

namespace qz::platform {
namespace {

using Dictionary = PropertyList::Dictionary;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class ManyProcessesTest : public ::testing::Test {
protected:
    const std::string& directory() const { return temporary_.path(); }
    std::string document() const { return temporary_.path("app.json"); }
    std::vector<std::string> names() const { return temporary_.names(); }
    Dictionary stored() const { return FileUserDefaults(directory(), "app").dictionaryRepresentation(); }

    /// Writes `count` keys of its own, one after the other; false when one was not written.
    bool writeKeys(const std::string& prefix, int count) const {
        FileUserDefaults store(directory(), "app");
        for (int i = 0; i < count; ++i) {
            store.setObjectForKey(i, prefix + std::to_string(i));
            if (!store.synchronize()) {
                return false;
            }
        }
        return true;
    }

    void expectKeys(const std::vector<std::string>& prefixes, int count) const {
        const Dictionary all = stored();
        EXPECT_EQ(all.size(), prefixes.size() * static_cast<std::size_t>(count));
        for (const std::string& prefix : prefixes) {
            for (int i = 0; i < count; ++i) {
                const auto found = all.find(prefix + std::to_string(i));
                ASSERT_NE(found, all.end()) << prefix << i;
                EXPECT_EQ(found->second, PropertyList(i));
            }
        }
    }

private:
    tests::TemporaryDirectory temporary_;
};

TEST_F(ManyProcessesTest, NeverLoseEachOthersKeys) {
    constexpr int count = 1'000;
    {
        tests::ChildProcess one([&](int) { return writeKeys("one-", count) ? 0 : 1; });
        tests::ChildProcess two([&](int) { return writeKeys("two-", count) ? 0 : 1; });
        EXPECT_EQ(one.wait(), 0);
        EXPECT_EQ(two.wait(), 0);
    }
    expectKeys({"one-", "two-"}, count);
    EXPECT_THAT(names(), ElementsAre("app.json", "app.json.lock"));
}

TEST_F(ManyProcessesTest, AreNotNeededForTwoObjectsToShareADocument) {
    constexpr int count = 200;
    bool oneIsGood = false;
    std::thread other([&] { oneIsGood = writeKeys("one-", count); });
    EXPECT_TRUE(writeKeys("two-", count));
    other.join();
    EXPECT_TRUE(oneIsGood);
    expectKeys({"one-", "two-"}, count);
}

/// Twenty keys that all have the same value: a document is whole exactly when they have.
void setState(FileUserDefaults& store, std::int64_t state) {
    for (int i = 0; i < 20; ++i) {
        store.setObjectForKey(state, "key-" + std::to_string(i));
    }
}

/// The state of a document; -1 when it is not whole.
std::int64_t stateOf(const Dictionary& values) {
    const std::int64_t state = values.empty() ? -1 : values.begin()->second.integer().value_or(-1);
    const bool whole = values.size() == 20 && std::ranges::all_of(values, [&](const auto& entry) {
                           return entry.second == PropertyList(state);
                       });
    return whole ? state : -1;
}

TEST_F(ManyProcessesTest, LeaveAWholeDocumentWhenTheyAreKilledAtAnyMoment) {
    std::mt19937 random(6);
    std::int64_t last = 0;
    {
        FileUserDefaults store(directory(), "app");
        setState(store, 0);
    }
    int leftovers = 0;
    for (int kill = 0; kill < 300; ++kill) {
        tests::ChildProcess child([&](int descriptor) {
            FileUserDefaults store(directory(), "app");
            for (std::int64_t state = last + 1;; ++state) {
                setState(store, state);
                if (!store.synchronize() || ::write(descriptor, "x", 1) != 1) {
                    return 1;
                }
            }
        });
        std::int64_t reported = last;
        for (std::size_t saves = random() % 3 + 1; saves > 0; --saves) {
            ASSERT_TRUE(child.waitForByte());
            ++reported;
        }
        for (std::atomic<std::uint64_t> spins = random() % 100'000; spins > 0; --spins) {
        }
        child.kill();
        ASSERT_TRUE(WIFSIGNALED(child.wait()));
        reported += static_cast<std::int64_t>(child.readToEnd().size());

        const FileUserDefaults store(directory(), "app");
        ASSERT_EQ(store.lastError(), "");
        last = stateOf(store.dictionaryRepresentation());
        ASSERT_TRUE(last == reported || last == reported + 1) << last << " after " << reported;
        ASSERT_LE(names().size(), 3U) << "one temporary file at most";
        leftovers += names().size() == 3 ? 1 : 0;
    }
    RecordProperty("leftovers", leftovers);
    EXPECT_TRUE(writeKeys("after-", 1));
    EXPECT_THAT(names(), ElementsAre("app.json", "app.json.lock"));
}

TEST_F(ManyProcessesTest, LeaveAWholeDocumentWhenTheyAreKilledBeforeAnySystemCall) {
    int kills = 0;
    for (const char* const text : {"", "{\"damaged"}) {
        for (int fatalCall = 1;; ++fatalCall) {
            for (const std::string& name : names()) {
                std::filesystem::remove(directory() + "/" + name);
            }
            if (*text == '\0') {
                FileUserDefaults store(directory(), "app");
                setState(store, 1);
            } else {
                tests::writeFile(document(), text);
            }
            tests::ChildProcess child([&](int) {
                int calls = 0;
                tests::ScriptedSystemCalls deadly(
                    [&](std::string_view) { return ++calls == fatalCall ? std::raise(SIGKILL) : 0; });
                FileUserDefaults store(directory(), "app", deadly);
                setState(store, 2);
                return store.synchronize() ? 0 : 1;
            });
            const int status = child.wait();
            ASSERT_TRUE(status == 0 || WIFSIGNALED(status));
            if (*text != '\0') {
                const bool inPlace = tests::readFile(document()) == text;
                ASSERT_TRUE(inPlace || tests::readFile(document() + ".damaged-1") == text) << fatalCall;
            }
            FileUserDefaults store(directory(), "app");
            const std::int64_t state = stateOf(store.dictionaryRepresentation());
            ASSERT_TRUE(state == 2 || (status != 0 && (state == 1 || *text != '\0'))) << fatalCall;
            setState(store, 3);
            ASSERT_TRUE(store.synchronize()) << "a dead process holds no lock: " << store.lastError();
            ASSERT_FALSE(
                std::ranges::any_of(names(), [](const auto& name) { return name.find(".tmp-") != name.npos; }));
            if (status == 0) {
                break;
            }
            ++kills;
        }
    }
    EXPECT_GT(kills, 40);
    RecordProperty("kills", kills);
}

/// Waits without spending time: a sleep ends at once.
tests::ScriptedSystemCalls withoutSleeping() {
    return tests::ScriptedSystemCalls([](std::string_view call) { return call == "sleep" ? EINTR : 0; });
}

TEST_F(ManyProcessesTest, DoNotWaitForEverForALock) {
    ASSERT_TRUE(writeKeys("theirs-", 1));
    auto calls = withoutSleeping();
    FileUserDefaults store(directory(), "app", calls);
    store.setObjectForKey(1, "mine");
    {
        const FileDescriptor holder(SystemCalls::kernel(), ::open((document() + ".lock").c_str(), O_RDWR | O_CLOEXEC));
        ASSERT_EQ(::flock(holder.number(), LOCK_EX), 0);
        EXPECT_FALSE(store.synchronize());
        EXPECT_THAT(store.lastError(), HasSubstr(document() + ".lock: "));
        EXPECT_THAT(store.lastError(), HasSubstr("end the process that holds the lock"));
        EXPECT_EQ(stored().size(), 1U) << "reading needs no lock";
    }
    EXPECT_TRUE(store.synchronize()) << store.lastError();
    EXPECT_EQ(stored().size(), 2U);
}

TEST_F(ManyProcessesTest, DoNotTrustALockThatWasRemoved) {
    ASSERT_TRUE(writeKeys("theirs-", 1));
    const std::string lock = document() + ".lock";
    std::optional<FileDescriptor> former(std::in_place, SystemCalls::kernel(),
                                         ::open(lock.c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_EQ(::flock(former->number(), LOCK_EX), 0);
    std::optional<FileDescriptor> present;
    // While this process waits, the file is removed and another process locks a new one.
    tests::ScriptedSystemCalls calls([&](std::string_view call) {
        if (call == "sleep" && former) {
            std::filesystem::remove(lock);
            present.emplace(SystemCalls::kernel(), ::open(lock.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
            EXPECT_EQ(::flock(present->number(), LOCK_EX), 0);
            former.reset();
        }
        return call == "sleep" ? EINTR : 0;
    });
    FileUserDefaults store(directory(), "app", calls);
    store.setObjectForKey(1, "mine");
    EXPECT_FALSE(store.synchronize());
    EXPECT_FALSE(former.has_value());
    present.reset();
    EXPECT_TRUE(store.synchronize());
    EXPECT_EQ(stored().size(), 2U);
}

TEST_F(ManyProcessesTest, LetGoOfTheLockAlsoWhenAChildWasForkedMeanwhile) {
    std::optional<tests::ChildProcess> child;
    tests::ScriptedSystemCalls forking([&](std::string_view call) {
        if (call == "write" && !child) {
            child.emplace([](int) { return ::pause(); });
        }
        return 0;
    });
    FileUserDefaults store(directory(), "app", forking);
    store.setObjectForKey(1, "a");
    ASSERT_TRUE(store.synchronize());
    ASSERT_TRUE(child.has_value());
    auto calls = withoutSleeping();
    FileUserDefaults other(directory(), "app", calls);
    other.setObjectForKey(1, "b");
    EXPECT_TRUE(other.synchronize()) << other.lastError();
}

TEST_F(ManyProcessesTest, LeaveTheChangesOfAParentToTheParent) {
    auto store = std::make_unique<FileUserDefaults>(directory(), "app");
    store->setObjectForKey(1, "a");
    {
        tests::ChildProcess child([&](int) { return store.reset(), 0; });
        EXPECT_EQ(child.wait(), 0);
    }
    EXPECT_EQ(stored(), Dictionary{});
    {
        tests::ChildProcess child([&](int) {
            store->setObjectForKey(2, "b");
            return store.reset(), 0;
        });
        EXPECT_EQ(child.wait(), 0);
    }
    EXPECT_EQ(stored(), (Dictionary{{"a", 1}, {"b", 2}}));
    store->setObjectForKey(3, "a");
    store.reset();
    EXPECT_EQ(stored(), (Dictionary{{"a", 3}, {"b", 2}}));
}

} // namespace
} // namespace qz::platform
