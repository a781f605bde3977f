// SPDX-License-Identifier: MIT
#include "platform/linux/FileUserDefaults.h"

#include "tests/support/ChildProcess.h"
#include "tests/support/ScriptedSystemCalls.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

namespace qz::platform {
namespace {

using Dictionary = PropertyList::Dictionary;
using ::testing::AnyOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class FailingDiskTest : public ::testing::Test {
protected:
    const std::string& directory() const { return temporary_.path(); }
    std::string document() const { return temporary_.path("app.json"); }
    std::vector<std::string> names() const { return temporary_.names(); }
    Dictionary stored() const { return FileUserDefaults(directory(), "app").dictionaryRepresentation(); }

private:
    tests::TemporaryDirectory temporary_;
};

/// Sets "mine" and tries to write it. Answers the error, or what is wrong with the way it was reported.
std::string errorOfWriting(FileUserDefaults& store, const PropertyList& value = 2) {
    store.setObjectForKey(value, "mine");
    const bool written = store.synchronize();
    const PropertyList* const remembered = store.objectForKey("mine");
    if (written || remembered == nullptr || *remembered != value) {
        return written ? "written" : "forgotten";
    }
    return store.lastError().find('\n') == std::string::npos ? store.lastError() : "more than one line";
}

TEST_F(FailingDiskTest, RefusesWhatIsNoRegularFile) {
    const auto check = [&](const char* what) {
        FileUserDefaults store(directory(), "app");
        const std::string error = errorOfWriting(store);
        EXPECT_EQ(error, "cannot use " + document() + ": it is not a regular file; move it away") << what;
        EXPECT_THAT(names(), ElementsAre("app.json")) << what;
        std::filesystem::remove(document());
        EXPECT_TRUE(store.synchronize()) << what;
        EXPECT_EQ(stored(), (Dictionary{{"mine", 2}})) << what;
        std::filesystem::remove(document());
        std::filesystem::remove(document() + ".lock");
    };
    std::filesystem::create_directory(document());
    check("a directory");
    ASSERT_EQ(::mkfifo(document().c_str(), 0600), 0);
    check("a pipe");
    const FileDescriptor socket(SystemCalls::kernel(), ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    ASSERT_LT(document().size(), sizeof address.sun_path);
    document().copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(socket.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    check("a socket");
    std::filesystem::create_symlink("/dev/null", document());
    FileUserDefaults store(directory(), "app");
    EXPECT_EQ(errorOfWriting(store), "cannot use /dev/null: it is not a regular file; move it away");
    EXPECT_FALSE(std::filesystem::exists("/dev/null.lock"));
}

TEST_F(FailingDiskTest, RefusesAFileThatNoPreferencesFill) {
    tests::writeFile(document(), "{}");
    std::filesystem::resize_file(document(), largestDocument + 1);
    FileUserDefaults store(directory(), "app");
    EXPECT_THAT(errorOfWriting(store), HasSubstr("larger than any preferences"));
    EXPECT_EQ(std::filesystem::file_size(document()), largestDocument + 1);
    EXPECT_THAT(names(), ElementsAre("app.json", "app.json.lock"));

    std::string error;
    const auto locked = LockedDocument::lock(SystemCalls::kernel(), directory() + "/other.json", error);
    ASSERT_NE(locked, nullptr) << error;
    const std::string text(largestDocument + 1, ' ');
    EXPECT_FALSE(locked->replace(text, error)) << "nobody could read it";
    EXPECT_THAT(error, HasSubstr("too large"));
    EXPECT_FALSE(std::filesystem::exists(directory() + "/other.json"));
}

TEST_F(FailingDiskTest, RefusesLinksThatLeadNowhere) {
    std::filesystem::create_symlink("app.json", document());
    {
        FileUserDefaults store(directory(), "app");
        EXPECT_THAT(errorOfWriting(store), HasSubstr("repair the symbolic links"));
    }
    std::filesystem::remove(document());
    std::filesystem::create_symlink("not/there.json", document());
    FileUserDefaults store(directory(), "app");
    EXPECT_THAT(errorOfWriting(store), HasSubstr(directory() + "/not/: No such file or directory"));
    EXPECT_THAT(names(), ElementsAre("app.json"));
}

TEST_F(FailingDiskTest, NeverOverwritesWhatItCannotRead) {
    tests::writeFile(document(), R"({"theirs": 1})");
    ASSERT_EQ(::chmod(document().c_str(), 0), 0);
    ASSERT_EQ(::chmod(directory().c_str(), 0777), 0);
    const std::string result = tests::asOrdinaryUser([&] {
        FileUserDefaults store(directory(), "app");
        return errorOfWriting(store);
    });
    EXPECT_EQ(result, "cannot read " + document() +
                          ": Permission denied; check the owner and the permissions of the file and its directories");
    EXPECT_EQ(::chmod(document().c_str(), 0600), 0);
    EXPECT_EQ(tests::readFile(document()), R"({"theirs": 1})");
}

TEST_F(FailingDiskTest, NamesTheDocumentWhoseDirectoryIsClosed) {
    ASSERT_EQ(::chmod(directory().c_str(), 0), 0);
    const std::string result = tests::asOrdinaryUser([&] {
        FileUserDefaults store(directory(), "app");
        return errorOfWriting(store);
    });
    EXPECT_EQ(::chmod(directory().c_str(), 0755), 0);
    EXPECT_EQ(result, "cannot reach " + document() +
                          ": Permission denied; check the owner and the permissions of the file and its directories");
}

TEST_F(FailingDiskTest, ReadsWhereItMayNotWrite) {
    tests::writeFile(document(), R"({"theirs": 1})");
    ASSERT_EQ(::chmod(document().c_str(), 0644), 0);
    ASSERT_EQ(::chmod(directory().c_str(), 0555), 0);
    const std::string result = tests::asOrdinaryUser([&] {
        FileUserDefaults store(directory(), "app");
        if (store.objectForKey("theirs") == nullptr || !store.synchronize()) {
            return "reading failed: " + store.lastError();
        }
        return errorOfWriting(store);
    });
    ASSERT_EQ(::chmod(directory().c_str(), 0755), 0);
    EXPECT_THAT(result, HasSubstr(document() + ".lock: Permission denied; check the owner"));
    EXPECT_EQ(tests::readFile(document()), R"({"theirs": 1})");
    EXPECT_THAT(names(), ElementsAre("app.json"));
}

TEST_F(FailingDiskTest, KeepsTheLastErrorOnOneLine) {
    FileUserDefaults store(directory() + "/a\nb", "app");
    tests::writeFile(directory() + "/a\nb", "");
    EXPECT_THAT(errorOfWriting(store), HasSubstr("/a?b/"));
}

TEST_F(FailingDiskTest, KeepsChangesWhenTheIdentifierCannotBeLeft) {
    std::filesystem::create_directory(document());
    FileUserDefaults store(directory(), "app");
    store.setObjectForKey(2, "mine");
    EXPECT_FALSE(store.setApplicationIdentifier("other"));
    EXPECT_THAT(store.lastError(), HasSubstr(document()));
    EXPECT_EQ(store.path(), document());
    std::filesystem::remove(document());
    EXPECT_TRUE(store.setApplicationIdentifier("other"));
    EXPECT_EQ(stored(), (Dictionary{{"mine", 2}}));
}

/// Writes more than the limit on the size of files allows, in a child of its own.
std::string errorBeyondTheLimit(const std::string& directory, SystemCalls& calls, sighandler_t atLimit) {
    return tests::inChild([&] {
        const rlimit limit{.rlim_cur = 100, .rlim_max = 100};
        if (std::signal(SIGXFSZ, atLimit) == SIG_ERR || ::setrlimit(RLIMIT_FSIZE, &limit) != 0) {
            return std::string("no limit");
        }
        FileUserDefaults store(directory, "app", calls);
        return errorOfWriting(store, std::string(1000, 'x'));
    });
}

TEST_F(FailingDiskTest, SurvivesTheLimitOnTheSizeOfFiles) {
    { FileUserDefaults(directory(), "app").setObjectForKey(1, "theirs"); }
    const std::string before = tests::readFile(document());
    // When the limit is not told, the kernel's refusal counts; then a signal would end the process.
    tests::ScriptedSystemCalls withoutLimit([](std::string_view call) { return call == "resourceLimit" ? EINVAL : 0; });
    const std::string expected =
        "cannot write " + document() + ": File too large; raise the limit on the size of files (ulimit -f)";
    EXPECT_EQ(errorBeyondTheLimit(directory(), SystemCalls::kernel(), SIG_DFL), expected);
    EXPECT_EQ(errorBeyondTheLimit(directory(), SystemCalls::kernel(), SIG_IGN), expected);
    EXPECT_EQ(errorBeyondTheLimit(directory(), withoutLimit, SIG_IGN), expected);
    EXPECT_EQ(tests::readFile(document()), before);
    EXPECT_THAT(names(), ElementsAre("app.json", "app.json.lock"));
}

/// Mounts a file system of 256 KiB over `directory`, for this process alone.
bool mountSmallFileSystem(const std::string& directory) {
    const bool isRoot = ::geteuid() == 0;
    return ::unshare(isRoot ? CLONE_NEWNS : CLONE_NEWUSER | CLONE_NEWNS) == 0 &&
           ::mount("none", "/", "none", MS_REC | MS_PRIVATE, nullptr) == 0 &&
           ::mount("none", directory.c_str(), "tmpfs", 0, "size=256k") == 0;
}

constexpr const char* notRun = "not run";

/// Runs `work` in a child that has such a file system at `directory`. Where nobody may mount one this is told to who
/// reads the output, and to CTest, and the answer is `notRun`.
std::string onSmallFileSystem(const std::string& directory, const std::function<std::string()>& work) {
    std::string result = tests::inChild(
        [&] { return mountSmallFileSystem(directory) ? work() : std::string("no mount: ") + std::strerror(errno); });
    if (!result.starts_with("no mount: ")) {
        return result;
    }
    std::printf("not run here: %s\n", result.c_str());
    return notRun;
}

TEST_F(FailingDiskTest, SurvivesAFullDisk) {
    const std::string result = onSmallFileSystem(directory(), [&]() -> std::string {
        FileUserDefaults store(directory(), "app");
        store.setObjectForKey(1, "theirs");
        if (!store.synchronize()) {
            return store.lastError();
        }
        const std::string before = tests::readFile(document());
        tests::writeFile(directory() + "/filler", std::string(200'000, 'x'));
        std::string error = errorOfWriting(store, std::string(100'000, 'x'));
        if (tests::readFile(document()) != before || names().size() != 3) {
            return "the disk was changed";
        }
        std::filesystem::remove(directory() + "/filler");
        return store.synchronize() && stored().size() == 2 ? error : "not written when there was space again";
    });
    EXPECT_THAT(result, AnyOf(notRun, "cannot write " + document() + ": No space left on device; free some space"));
}

TEST_F(FailingDiskTest, SurvivesAReadOnlyDisk) {
    const std::string result = onSmallFileSystem(directory(), [&]() -> std::string {
        { FileUserDefaults(directory(), "app").setObjectForKey(1, "theirs"); }
        const auto setWritable = [&](bool writable) {
            return ::mount("none", directory().c_str(), "tmpfs", MS_REMOUNT | (writable ? 0 : MS_RDONLY), "") == 0;
        };
        if (!setWritable(false)) {
            return "not mounted again";
        }
        FileUserDefaults store(directory(), "app");
        std::string error = errorOfWriting(store);
        if (stored() != Dictionary{{"theirs", 1}}) {
            return "the disk was changed";
        }
        return setWritable(true) && store.synchronize() && stored().size() == 2 ? error : "not written afterwards";
    });
    EXPECT_THAT(result, AnyOf(notRun, "cannot lock " + document() +
                                          ".lock: Read-only file system; make the file system writable"));
}

/// Takes and gives a few bytes at a time, and is interrupted before each of them.
class StutteringSystemCalls final : public SystemCalls {
public:
    ssize_t read(int descriptor, void* bytes, std::size_t count) override {
        return interrupted() ? -1 : SystemCalls::read(descriptor, bytes, std::min<std::size_t>(count, 5));
    }
    ssize_t write(int descriptor, const void* bytes, std::size_t count) override {
        if (written >= capacity) {
            errno = ENOSPC;
            return -1;
        }
        written += 7;
        return interrupted() ? -1 : SystemCalls::write(descriptor, bytes, std::min<std::size_t>(count, 7));
    }

    std::size_t capacity = std::numeric_limits<std::size_t>::max();
    std::size_t written = 0;

private:
    bool interrupted() {
        interrupt_ = !interrupt_;
        errno = EINTR;
        return interrupt_;
    }

    bool interrupt_ = false;
};

TEST_F(FailingDiskTest, BearsInterruptionsAndPartialTransfers) {
    tests::writeFile(document(), R"({"theirs": "a text of more than a few bytes"})");
    StutteringSystemCalls calls;
    FileUserDefaults store(directory(), "app", calls);
    store.setObjectForKey(std::string(10'000, 'x'), "mine");
    EXPECT_TRUE(store.synchronize()) << store.lastError();
    const Dictionary expected = {{"mine", std::string(10'000, 'x')}, {"theirs", "a text of more than a few bytes"}};
    EXPECT_EQ(stored(), expected);

    calls.capacity = calls.written + 700;
    EXPECT_THAT(errorOfWriting(store, std::string(10'000, 'y')), HasSubstr("No space left on device"));
    EXPECT_EQ(stored(), expected);
    EXPECT_THAT(names(), ElementsAre("app.json", "app.json.lock"));
}

TEST_F(FailingDiskTest, GrowsWithAFileThatGrowsWhileItIsRead) {
    tests::writeFile(document(), "{");
    const std::string rest = R"("a": ")" + std::string(100'000, 'x') + R"("})";
    tests::ScriptedSystemCalls growing([&](std::string_view call) {
        if (call == "read" && std::filesystem::file_size(document()) == 1) {
            tests::writeFile(document(), "{" + rest);
        }
        return 0;
    });
    const FileUserDefaults store(directory(), "app", growing);
    EXPECT_EQ(store.lastError(), "");
    EXPECT_NE(store.objectForKey("a"), nullptr);
}

TEST_F(FailingDiskTest, CountsAFileSystemWithoutDirectorySynchronisationAsGood) {
    for (const int number : {EINVAL, EOPNOTSUPP, EIO}) {
        int calls = 0;
        tests::ScriptedSystemCalls script(
            [&](std::string_view call) { return call == "synchronizeFile" && ++calls == 2 ? number : 0; });
        FileUserDefaults store(directory(), "app", script);
        store.setObjectForKey(number, "a");
        EXPECT_EQ(store.synchronize(), number != EIO);
        EXPECT_EQ(calls, 2) << "the file, then the directory";
    }
}

} // namespace
} // namespace qz::platform
