// SPDX-License-Identifier: MIT
#include "platform/linux/FileUserDefaults.h"

#include "platform/linux/PropertyListJSON.h"
#include "tests/support/ScriptedSystemCalls.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <sys/stat.h>

// A document is compared with the text seen last before it is parsed again. Whatever differs must be found.

namespace qz::platform {
namespace {

using Dictionary = PropertyList::Dictionary;

/// How much of a document is compared at a time.
constexpr std::size_t pieceLength = 16'384;

Dictionary dictionaryOf(const std::string& text) {
    JSONReading reading = propertyListFromJSON(text);
    return reading.value ? *reading.value->dictionary() : Dictionary{};
}

/// Lets a test change files before a reading, and remembers the largest size asked for.
class WatchedReading final : public SystemCalls {
public:
    ssize_t read(int descriptor, void* bytes, std::size_t count) override {
        largest = std::max(largest, count);
        ++readings;
        if (before) {
            before(readings);
        }
        return SystemCalls::read(descriptor, bytes, count);
    }

    std::function<void(int number)> before;
    std::size_t largest = 0;
    int readings = 0;
};

class ComparedDocument : public ::testing::Test {
protected:
    ComparedDocument() { tests::writeFile(document(), text_); }

    const std::string& directory() const { return temporary_.path(); }
    std::string document() const { return temporary_.path("app.json"); }
    Dictionary stored() const { return FileUserDefaults(directory(), "app").dictionaryRepresentation(); }

    struct stat status() const {
        struct stat result {};
        EXPECT_EQ(::stat(document().c_str(), &result), 0);
        return result;
    }
    void setTimes(const struct stat& from) const {
        const std::array times{from.st_atim, from.st_mtim};
        EXPECT_EQ(::utimensat(AT_FDCWD, document().c_str(), times.data(), 0), 0);
    }

    const std::string text_ = R"({"theirs": ")" + std::string(3 * pieceLength, 'x') + R"(", "number": 1})";

private:
    tests::TemporaryDirectory temporary_;
};

TEST_F(ComparedDocument, IsNotReadAsAWholeWhenItStayedTheSame) {
    WatchedReading calls;
    FileUserDefaults store(directory(), "app", calls);
    EXPECT_GT(calls.largest, text_.size());
    const PropertyList* const theirs = store.objectForKey("theirs");
    calls.largest = 0;
    EXPECT_TRUE(store.synchronize());
    EXPECT_LE(calls.largest, pieceLength);
    EXPECT_EQ(store.objectForKey("theirs"), theirs) << "the very same object";
    // Nor is the text that the store has written itself.
    store.setObjectForKey(1, "mine");
    EXPECT_TRUE(store.synchronize());
    calls.largest = 0;
    store.setObjectForKey(2, "mine");
    EXPECT_TRUE(store.synchronize());
    EXPECT_LE(calls.largest, pieceLength);
    EXPECT_EQ(store.objectForKey("theirs"), theirs);
}

TEST_F(ComparedDocument, IsReadWhereverAByteHasChangedBetweenTwoSaves) {
    for (const std::size_t place : {text_.find('x'), pieceLength - 1, pieceLength, 2 * pieceLength - 1, 2 * pieceLength,
                                    text_.rfind('x'), text_.size() - 2}) {
        tests::writeFile(document(), text_);
        FileUserDefaults store(directory(), "app");
        const struct stat before = status();
        std::string changed = text_;
        changed[place] = '2'; // the last place is that of the number
        tests::writeFile(document(), changed);
        setTimes(before);
        ASSERT_EQ(status().st_ino, before.st_ino);
        ASSERT_EQ(status().st_size, before.st_size);
        store.setObjectForKey("second", "mine");
        EXPECT_TRUE(store.synchronize()) << store.lastError();
        Dictionary expected = dictionaryOf(changed);
        expected.insert_or_assign("mine", "second");
        EXPECT_TRUE(store.dictionaryRepresentation() == expected) << place;
        EXPECT_TRUE(stored() == expected) << place;
    }
}

TEST_F(ComparedDocument, KeepsWhatAnotherProcessSavedInTheSameSizeAndTime) {
    FileUserDefaults one(directory(), "app");
    one.setObjectForKey(1, "mine");
    ASSERT_TRUE(one.synchronize());
    const struct stat before = status();
    { FileUserDefaults(directory(), "app").setObjectForKey(2, "number"); }
    setTimes(before);
    ASSERT_EQ(status().st_size, before.st_size);
    one.setObjectForKey(3, "mine");
    EXPECT_TRUE(one.synchronize());
    EXPECT_EQ(stored().at("number"), PropertyList(2));
    EXPECT_EQ(stored().at("mine"), PropertyList(3));
    EXPECT_TRUE(one.dictionaryRepresentation() == stored());
}

TEST_F(ComparedDocument, IsParsedAgainAfterAWriteThatFailed) {
    FileUserDefaults store(directory(), "app");
    store.setObjectForKey(1, "mine");
    ASSERT_TRUE(store.synchronize());
    tests::ScriptedSystemCalls full([](std::string_view call) { return call == "write" ? ENOSPC : 0; });
    FileUserDefaults failing(directory(), "app", full);
    failing.setObjectForKey(2, "mine");
    EXPECT_FALSE(failing.synchronize());
    EXPECT_EQ(*failing.objectForKey("mine"), PropertyList(2));
    EXPECT_EQ(stored().at("mine"), PropertyList(1));
    store.setObjectForKey(7, "number");
    ASSERT_TRUE(store.synchronize());
    EXPECT_FALSE(failing.synchronize());
    EXPECT_EQ(*failing.objectForKey("number"), PropertyList(7));
    EXPECT_EQ(*failing.objectForKey("mine"), PropertyList(2));
}

TEST_F(ComparedDocument, IsReadToItsEndWhenItGrowsOrShrinksMeanwhile) {
    const std::string longer = text_.substr(0, text_.size() - 1) + R"(, "new": 1})";
    const std::string shorter = R"({"number": 5})";
    for (const std::string& text :
         {longer, shorter, std::string("{}"), std::string(), text_ + std::string(pieceLength, ' ')}) {
        for (const int reading : {1, 2, 4}) {
            tests::writeFile(document(), text_);
            WatchedReading calls;
            FileUserDefaults store(directory(), "app", calls);
            calls.readings = 0;
            calls.before = [&](int now) {
                if (now == reading) {
                    tests::writeFile(document(), text);
                }
            };
            // Half of the old text and half of the new may be what is found; the next reading then puts it right.
            store.synchronize();
            calls.before = nullptr;
            EXPECT_TRUE(store.synchronize());
            EXPECT_TRUE(store.dictionaryRepresentation() == dictionaryOf(tests::readFile(document())))
                << text.size() << " " << reading;
        }
    }
}

TEST_F(ComparedDocument, IsNotTakenForTheSameWhenItIsCutMeanwhile) {
    for (const std::size_t length : {std::size_t{0}, pieceLength, 2 * pieceLength}) {
        tests::writeFile(document(), text_);
        WatchedReading calls;
        FileUserDefaults store(directory(), "app", calls);
        const Dictionary values = store.dictionaryRepresentation();
        calls.readings = 0;
        calls.before = [&](int number) {
            if (number == static_cast<int>(length / pieceLength) + 1) {
                std::filesystem::resize_file(document(), length);
            }
        };
        EXPECT_TRUE(store.synchronize());
        EXPECT_NE(store.lastError().find("is damaged"), std::string::npos) << length;
        EXPECT_TRUE(stored() == values) << "what the store still knows of it";
    }
}

} // namespace
} // namespace qz::platform
