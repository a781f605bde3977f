// SPDX-License-Identifier: MIT
#include "platform/linux/FileUserDefaults.h"

#include "platform/linux/PropertyListJSON.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ScriptedSystemCalls.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <sys/stat.h>

namespace qz::platform {
namespace {

using Dictionary = PropertyList::Dictionary;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class DamagedDocumentTest : public ::testing::Test {
protected:
    const std::string& directory() const { return temporary_.path(); }
    std::string document() const { return temporary_.path("app.json"); }
    std::string aside(int number) const { return document() + ".damaged-" + std::to_string(number); }
    std::vector<std::string> names() const { return temporary_.names(); }

private:
    tests::TemporaryDirectory temporary_;
};

TEST_F(DamagedDocumentTest, IsSetAsideUnderANewName) {
    tests::writeFile(document(), "{\"a\": 1,\n");
    FileUserDefaults store(directory(), "app");
    EXPECT_EQ(store.dictionaryRepresentation(), Dictionary{});
    EXPECT_THAT(store.lastError(), HasSubstr(document()));
    EXPECT_THAT(store.lastError(), HasSubstr("line 2, column 1: not JSON"));
    EXPECT_THAT(store.lastError(), HasSubstr("kept as " + aside(1)));
    EXPECT_EQ(tests::readFile(aside(1)), "{\"a\": 1,\n");
    EXPECT_FALSE(std::filesystem::exists(document()));
    store.setObjectForKey(1, "b");
    EXPECT_TRUE(store.synchronize());
    EXPECT_EQ(store.lastError(), "");
    EXPECT_EQ(FileUserDefaults(directory(), "app").dictionaryRepresentation(), (Dictionary{{"b", 1}}));
}

TEST_F(DamagedDocumentTest, NeverTakesTheNameOfAnEarlierOne) {
    for (int i = 1; i <= 12; ++i) {
        tests::writeFile(document(), std::to_string(i) + "{");
        const FileUserDefaults store(directory(), "app");
        for (int earlier = 1; earlier <= i; ++earlier) {
            EXPECT_EQ(tests::readFile(aside(earlier)), std::to_string(earlier) + "{");
        }
    }
    std::filesystem::remove(aside(3));
    std::filesystem::create_directory(aside(3));
    tests::writeFile(document(), "13{");
    const FileUserDefaults store(directory(), "app");
    EXPECT_EQ(tests::readFile(aside(13)), "13{");
}

TEST_F(DamagedDocumentTest, IsWhateverIsNoObject) {
    int number = 0;
    for (const char* const text : {"", " ", "[]", "1", "null", R"("text")", R"({"a": 1, "a": 2})", R"({"a": 1e400})",
                                   "{\"a\": \"\xff\"}", "{} {}"}) {
        tests::writeFile(document(), text);
        const FileUserDefaults store(directory(), "app");
        EXPECT_THAT(store.lastError(), HasSubstr("is damaged")) << text;
        EXPECT_EQ(tests::readFile(aside(++number)), text);
    }
}

TEST_F(DamagedDocumentTest, IsRecognisedWhereverItWasCut) {
    {
        FileUserDefaults store(directory(), "app");
        store.setObjectForKey(PropertyList::Array{1, -2.5, "\xe2\x82\xac\n", Dictionary{}}, "list");
        store.setObjectForKey(Dictionary{{"on", true}}, "map");
    }
    const std::string whole = tests::readFile(document());
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        for (const std::string& name : names()) {
            std::filesystem::remove(directory() + "/" + name);
        }
        const std::string cut = whole.substr(0, length);
        tests::writeFile(document(), cut);
        FileUserDefaults store(directory(), "app");
        if (length + 1 >= whole.size()) { // without the line break at its end it is still whole
            EXPECT_EQ(store.dictionaryRepresentation().size(), 2U);
            EXPECT_EQ(store.lastError(), "");
            continue;
        }
        EXPECT_EQ(store.dictionaryRepresentation(), Dictionary{});
        EXPECT_EQ(tests::readFile(aside(1)), cut);
        store.setObjectForKey(1, "new");
        ASSERT_TRUE(store.synchronize());
        EXPECT_THAT(names(), ElementsAre("app.json", "app.json.damaged-1", "app.json.lock"));
        EXPECT_EQ(tests::readFile(aside(1)), cut);
    }
}

TEST_F(DamagedDocumentTest, IsNeverLostWhateverItsBytes) {
    std::mt19937 random(5);
    for (int i = 0; i < 2'000; ++i) {
        std::string text(random() % 40, '\0');
        for (char& byte : text) {
            byte = random() % 2 == 0 ? static_cast<char>(random()) : "{}[]\":,1e-. \n"[random() % 13];
        }
        tests::writeFile(document(), text);
        const JSONReading reading = propertyListFromJSON(text);
        const bool good = reading.value && reading.value->dictionary() != nullptr;
        FileUserDefaults store(directory(), "app");
        ASSERT_EQ(store.lastError().empty(), good);
        ASSERT_EQ(tests::readFile(good ? document() : aside(1)), text);
        std::filesystem::remove(document());
        std::filesystem::remove(aside(1));
    }
}

TEST_F(DamagedDocumentTest, LeavesMemoryWholeWhenItWasGoodBefore) {
    tests::writeFile(document(), R"({"kept": 1, "changed": 1})");
    FileUserDefaults store(directory(), "app");
    tests::writeFile(document(), "{\"kep");
    const Dictionary expected = {{"changed", 2}, {"kept", 1}};
    store.setObjectForKey(2, "changed");
    EXPECT_TRUE(store.synchronize());
    EXPECT_THAT(store.lastError(), HasSubstr("kept as " + aside(1)));
    EXPECT_EQ(store.dictionaryRepresentation(), expected);
    EXPECT_EQ(FileUserDefaults(directory(), "app").dictionaryRepresentation(), expected);

    tests::writeFile(document(), "");
    EXPECT_TRUE(store.synchronize()) << "with nothing changed, too";
    EXPECT_EQ(FileUserDefaults(directory(), "app").dictionaryRepresentation(), expected);
    EXPECT_EQ(tests::readFile(aside(1)), "{\"kep");
    EXPECT_EQ(tests::readFile(aside(2)), "");
}

TEST_F(DamagedDocumentTest, IsLeftAloneWhenSomebodyRepairsItMeanwhile) {
    tests::writeFile(document(), "{\"a");
    bool first = true;
    tests::ScriptedSystemCalls repairing([&](std::string_view call) {
        if (call == "lockFile" && std::exchange(first, false)) {
            tests::writeFile(document(), "{\"a\": 1}");
        }
        return 0;
    });
    const FileUserDefaults store(directory(), "app", repairing);
    EXPECT_FALSE(first);
    EXPECT_EQ(store.dictionaryRepresentation(), (Dictionary{{"a", 1}}));
    EXPECT_EQ(store.lastError(), "");
    EXPECT_THAT(names(), ElementsAre("app.json", "app.json.lock"));
}

TEST_F(DamagedDocumentTest, StaysInPlaceWhereItCannotBeSetAside) {
    tests::writeFile(document(), "{\"a");
    ASSERT_EQ(::chmod(document().c_str(), 0644), 0);
    ASSERT_EQ(::chmod(directory().c_str(), 0555), 0);
    const std::string result = tests::asOrdinaryUser([&] {
        FileUserDefaults store(directory(), "app");
        std::string report = store.lastError() + "\n";
        store.setObjectForKey(1, "b");
        report += store.synchronize() ? "written" : store.lastError();
        return report + "\n" + (store.objectForKey("b") != nullptr ? "remembered" : "forgotten");
    });
    ASSERT_EQ(::chmod(directory().c_str(), 0755), 0);
    EXPECT_THAT(result, HasSubstr(document() + " is damaged (line 1, column 4: not JSON); cannot lock"));
    EXPECT_THAT(result, HasSubstr("Permission denied; check the owner and the permissions"));
    EXPECT_THAT(result, HasSubstr("remembered"));
    EXPECT_EQ(tests::readFile(document()), "{\"a");
    EXPECT_THAT(names(), ElementsAre("app.json"));
}

TEST_F(DamagedDocumentTest, StandsWhereALinkLeadsAndIsSetAsideThere) {
    std::filesystem::create_directory(directory() + "/elsewhere");
    const std::string target = directory() + "/elsewhere/real.json";
    tests::writeFile(target, "{");
    std::filesystem::create_symlink(target, document());
    { FileUserDefaults(directory(), "app").setObjectForKey(1, "a"); }
    EXPECT_EQ(tests::readFile(target + ".damaged-1"), "{");
    EXPECT_EQ(std::filesystem::read_symlink(document()), target);
    EXPECT_EQ(FileUserDefaults(directory(), "app").dictionaryRepresentation(), (Dictionary{{"a", 1}}));
    EXPECT_THAT(names(), ElementsAre("app.json", "elsewhere"));
}

} // namespace
} // namespace qz::platform
