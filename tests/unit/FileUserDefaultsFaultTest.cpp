// SPDX-License-Identifier: MIT
#include "platform/linux/FileUserDefaults.h"

#include "tests/support/ScriptedSystemCalls.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>

namespace qz::platform {
namespace {

using Dictionary = PropertyList::Dictionary;

/// The errors that a call may well meet. For a document that is not there the system answers ENOENT, so that it is no
/// error of opening one.
const std::map<std::string, std::vector<int>, std::less<>> plausibleErrors = {
    {"close", {EINTR, EIO, ENOSPC, EDQUOT}},
    {"open", {EINTR, EACCES, EMFILE, ENFILE, ENOMEM, EIO, ELOOP, ENOTDIR, EROFS}},
    {"openAt", {EINTR, EACCES, EMFILE, ENFILE, ENOMEM, ENOSPC, EDQUOT, EROFS, EIO, EEXIST}},
    {"read", {EINTR, EIO, EISDIR}},
    {"write", {EINTR, EIO, ENOSPC, EDQUOT, EFBIG}},
    {"synchronizeFile", {EINTR, EIO, ENOSPC, EDQUOT, EROFS, EINVAL}},
    {"fileStatus", {EIO, ENOMEM}},
    {"fileStatusAt", {EIO, ENOENT}},
    {"lockFile", {EINTR, EWOULDBLOCK, ENOLCK, EOPNOTSUPP}},
    {"renameAt", {EINTR, EIO, ENOSPC, EDQUOT, EROFS, EACCES, EISDIR}},
    {"unlinkAt", {EIO, EACCES, ENOENT}},
    {"readLinkAt", {EINTR, EIO, EACCES, ELOOP}},
    {"makeDirectory", {EACCES, ENOSPC, EDQUOT, EROFS}},
    {"readDirectory", {EIO, ENOENT}},
    {"resourceLimit", {EINVAL}},
    {"sleep", {EINTR}},
};

const std::set<std::string, std::less<>> callsThatAreMadeAgain = {
    "open", "openAt", "read", "write", "synchronizeFile", "lockFile", "renameAt", "readLinkAt", "close", "sleep"};

/// What stands on the disk at the beginning, and what comes there before the store writes.
struct Scene {
    const char* name;
    void (*prepare)(const std::string& directory);
    void (*interfere)(const std::string& directory);
    Dictionary theirs;   ///< what is then stored there
    std::string damaged; ///< the text of a damaged document, which must never be lost
};

void writeGood(const std::string& directory) {
    tests::writeFile(directory + "/app.json", R"({"theirs": 0, "old": 1})");
}

void changeByAnother(const std::string& directory) {
    FileUserDefaults(directory, "app").setObjectForKey(5, "theirs");
}

const std::vector<Scene> scenes = {
    {"a document", writeGood, changeByAnother, {{"old", 1}, {"theirs", 5}}, ""},
    {"no directory",
     [](const std::string& directory) { std::filesystem::remove(directory); },
     [](const std::string&) {},
     {},
     ""},
    {"a damaged document",
     [](const std::string& directory) { tests::writeFile(directory + "/app.json", "{\"theirs\": "); },
     [](const std::string&) {},
     {},
     "{\"theirs\": "},
    {"leftovers of a crash",
     writeGood,
     [](const std::string& directory) {
         changeByAnother(directory);
         tests::writeFile(directory + "/app.json.tmp-1-1", "{\"the");
         tests::writeFile(directory + "/app.json.tmp-2-2", "");
     },
     {{"old", 1}, {"theirs", 5}},
     ""},
    {"a link",
     [](const std::string& directory) {
         std::filesystem::create_directory(directory + "/elsewhere");
         writeGood(directory + "/elsewhere");
         std::filesystem::create_symlink("elsewhere/app.json", directory + "/app.json");
     },
     changeByAnother,
     {{"old", 1}, {"theirs", 5}},
     ""},
};

/// One life of a store in which call number `failing` (from 0; none: -1) meets the error `number`.
class Life {
public:
    Life(const Scene& scene, int failing, int number)
        : scene_(scene), failing_(failing), number_(number), directory_(temporary_.path("d")),
          script_([this](std::string_view call) { return next(call); }) {
        std::filesystem::create_directory(directory_);
        scene.prepare(directory_);
    }

    void run() {
        FileUserDefaults store(directory_, "app", script_);
        scene_.interfere(directory_);
        const std::string oldText = tests::readFile(document());
        store.setObjectForKey(2, "mine");
        Dictionary expected = scene_.theirs;
        expected.insert_or_assign("mine", 2);
        const bool done = store.synchronize();
        if (!done) {
            EXPECT_NE(store.lastError().find(directory_), std::string::npos) << store.lastError();
            EXPECT_EQ(store.lastError().find('\n'), std::string::npos);
        }
        EXPECT_TRUE(done || number_ != EINTR || !callsThatAreMadeAgain.contains(failed_)) << "not made again";
        EXPECT_EQ(*store.objectForKey("mine"), PropertyList(2));
        const std::string newText = tests::readFile(document());
        const bool isNew = FileUserDefaults(copyOf(newText), "app").dictionaryRepresentation() == expected;
        EXPECT_TRUE(isNew || newText == oldText || (newText.empty() && damagedIsSomewhere())) << newText;
        EXPECT_TRUE(isNew || !done);
        checkDamagedIsKept();

        armed_ = false;
        EXPECT_TRUE(store.synchronize()) << store.lastError();
        EXPECT_EQ(store.dictionaryRepresentation(), expected);
        EXPECT_EQ(FileUserDefaults(directory_, "app").dictionaryRepresentation(), expected);
        checkDamagedIsKept();
        // What could not be removed at the time goes with the next change.
        store.setObjectForKey(3, "mine");
        EXPECT_TRUE(store.synchronize());
        EXPECT_FALSE(anyLeftovers());
    }

    const std::vector<std::string>& calls() const { return calls_; }
    const std::string& failed() const { return failed_; }

private:
    int next(std::string_view call) {
        if (!armed_) {
            return 0;
        }
        calls_.emplace_back(call);
        if (static_cast<int>(calls_.size()) - 1 != failing_) {
            return 0;
        }
        failed_ = call;
        return number_;
    }

    std::string document() const { return directory_ + "/app.json"; }

    /// A directory with a copy of the document, so that looking at it changes nothing.
    std::string copyOf(const std::string& text) const {
        std::filesystem::create_directory(temporary_.path("copy"));
        if (!text.empty()) {
            tests::writeFile(temporary_.path("copy/app.json"), text);
        }
        return temporary_.path("copy");
    }

    bool anyFile(const std::function<bool(const std::filesystem::path&)>& condition) const {
        if (!std::filesystem::exists(directory_)) {
            return false;
        }
        const std::filesystem::recursive_directory_iterator all(directory_);
        return std::any_of(begin(all), end(all), [&](const auto& entry) { return condition(entry.path()); });
    }

    bool damagedIsSomewhere() const {
        return anyFile([&](const auto& path) {
            return path.filename().string().starts_with("app.json") && tests::readFile(path) == scene_.damaged;
        });
    }

    void checkDamagedIsKept() const { EXPECT_TRUE(scene_.damaged.empty() || damagedIsSomewhere()); }

    bool anyLeftovers() const {
        return anyFile([](const auto& path) { return path.string().find(".tmp-") != std::string::npos; });
    }

    const Scene& scene_;
    int failing_;
    int number_;
    tests::TemporaryDirectory temporary_;
    std::string directory_;
    bool armed_ = true;
    std::vector<std::string> calls_;
    std::string failed_;
    tests::ScriptedSystemCalls script_;
};

TEST(FailingSystemCalls, LoseNothingWhicheverFailsWithWhicheverError) {
    std::set<std::string, std::less<>> failed;
    int lives = 0;
    for (const Scene& scene : scenes) {
        Life healthy(scene, -1, 0);
        healthy.run();
        for (std::size_t i = 0; i < healthy.calls().size(); ++i) {
            const std::string& call = healthy.calls()[i];
            ASSERT_TRUE(plausibleErrors.contains(call)) << call;
            for (const int number : plausibleErrors.at(call)) {
                SCOPED_TRACE(std::string(scene.name) + ": call " + std::to_string(i) + ", " + call + ", fails with " +
                             std::to_string(number));
                Life life(scene, static_cast<int>(i), number);
                life.run();
                EXPECT_EQ(life.failed(), call);
                failed.insert(call);
                ++lives;
            }
        }
    }
    RecordProperty("lives", lives);
    for (const auto& [call, errors] : plausibleErrors) {
        EXPECT_TRUE(failed.contains(call) || call == "sleep") << call << " never came";
    }
}

} // namespace
} // namespace qz::platform
