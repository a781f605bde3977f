// SPDX-License-Identifier: MIT
#include "tests/support/ConfigurationFixture.h"
#include "tests/support/CountedAllocations.h"

#include <algorithm>
#include <csignal>
#include <unordered_set>

namespace qz::test {
namespace {

using namespace std::string_literals;

using testing::ElementsAre;
using testing::IsEmpty;

/// Names of every kind, in the order of their bytes taken as unsigned numbers.
const std::vector<std::string> orderedNames = {
    ""s,
    "\0"s,
    "\0a"s,
    "\x01"s,
    "\n"s,
    " "s,
    "A"s,
    "Fire"s,
    "a"s,
    "a\0"s,
    "a\0b"s,
    "aa"s,
    "b"s,
    "e\xCC\x81"s,
    "fire"s,
    "fire engine",
    "\x7F"s,
    "\x80"s,
    "\xC3\xA9"s,
    "\xE2\x82\xAC"s,
    "\xEF\xBF\xBD",
    "\xF0\x9F\x98\x80"s,
    "\xFE"s,
    "\xFF"s,
    "\xFF\xFF"s,
};

/// Takes from `source` whatever a move takes.
Action movedOut(Action& source) {
    return std::move(source);
}

TEST(Action, HoldsAnyNameUnchanged) {
    for (const std::string& name : orderedNames) {
        EXPECT_EQ(Action(name).rawValue(), name);
    }
    const std::string veryLong(1'000'000, 'x');
    EXPECT_EQ(Action(veryLong).rawValue(), veryLong);
}

TEST(Action, IsEqualExactlyWhenTheNamesAre) {
    for (const std::string& a : orderedNames) {
        for (const std::string& b : orderedNames) {
            EXPECT_EQ(Action(a) == Action(b), a == b);
            EXPECT_EQ(Action(a) != Action(b), a != b);
        }
    }
}

TEST(Action, TellsUpperFromLowerCase) {
    EXPECT_NE(Action("Fire"), Action("fire"));
}

TEST(Action, TellsTwoSpellingsOfOneLetterApart) {
    EXPECT_NE(Action("\xC3\xA9"), Action("e\xCC\x81"));
}

TEST(Action, IsOrderedByTheBytesOfTheNameAsUnsignedNumbers) {
    for (std::size_t i = 0; i < orderedNames.size(); ++i) {
        for (std::size_t j = 0; j < orderedNames.size(); ++j) {
            const Action a(orderedNames[i]);
            const Action b(orderedNames[j]);
            EXPECT_EQ(a < b, i < j) << i << " " << j;
            EXPECT_EQ(a > b, i > j) << i << " " << j;
            EXPECT_EQ(a <= b, i <= j) << i << " " << j;
            EXPECT_EQ(a >= b, i >= j) << i << " " << j;
        }
    }
}

TEST(Action, WithTheEmptyNameComesBeforeAllOthers) {
    EXPECT_LT(Action(""), Action("\0"s));
    EXPECT_LT(Action(""), Action("a"));
    EXPECT_EQ(Action(""), Action(std::string()));
}

TEST(Action, HashesLikeItsName) {
    for (const std::string& name : orderedNames) {
        EXPECT_EQ(std::hash<Action>{}(Action(name)), std::hash<std::string>{}(name));
    }
    std::unordered_set<Action> set;
    for (const std::string& name : orderedNames) {
        set.insert(Action(name));
        set.insert(Action(name));
    }
    EXPECT_EQ(set.size(), orderedNames.size());
    EXPECT_TRUE(set.contains(Action("fire engine")));
    EXPECT_FALSE(set.contains(Action("FIRE ENGINE")));
}

TEST(Action, IsAValueThatChangesAloneWhenItIsAssigned) {
    Action original("jump");
    const Action copy = original;
    original = Action("duck");
    EXPECT_EQ(copy.rawValue(), "jump");
    EXPECT_EQ(original.rawValue(), "duck");
    const Action& itself = original;
    original = itself;
    EXPECT_EQ(original.rawValue(), "duck");
}

TEST(Action, OutlivesWhatItWasCopiedFrom) {
    auto original = std::make_unique<Action>("a name too long to be stored within a string object itself");
    const Action copy = *original;
    original.reset();
    EXPECT_EQ(copy.rawValue(), "a name too long to be stored within a string object itself");
}

TEST(Action, KeepsItsNameWhenItIsMovedFrom) {
    Action source("turn the ship by a hundred and eighty degrees");
    const Action target = movedOut(source);
    EXPECT_EQ(target, source);
    EXPECT_EQ(source.rawValue(), "turn the ship by a hundred and eighty degrees");
    EXPECT_EQ(std::hash<Action>{}(source), std::hash<Action>{}(target));
    source = Action("again");
    EXPECT_EQ(source.rawValue(), "again");
}

TEST(Action, StaysWholeInListsThatMoveTheirMembers) {
    Actions list;
    for (auto name = orderedNames.rbegin(); name != orderedNames.rend(); ++name) {
        list.emplace_back(*name);
    }
    std::ranges::sort(list);
    EXPECT_EQ(namesOf(list), orderedNames);
    list.erase(list.begin());
    std::rotate(list.begin(), list.begin() + 1, list.end());
    EXPECT_EQ(list.back().rawValue(), orderedNames[1]);
}

TEST(Action, IsCopiedWithoutAnAllocation) {
    const Action original(std::string(10'000, 'x'));
    Action other("other");
    const CountedAllocations allocations;
    const Action copy = original;
    other = copy;
    EXPECT_EQ(allocations.count(), 0U);
    EXPECT_EQ(other.rawValue().size(), 10'000U);
}

TEST(CountedAllocations, CountsWhatIsAllocated) {
    const CountedAllocations allocations;
    ::operator delete(::operator new(1));
    EXPECT_EQ(allocations.count(), 1U);
}

class ActionLists : public ConfigurationFixture {
protected:
    using Names = std::optional<Actions>;

    std::shared_ptr<QZGCConfigurationManager> manager(Actions x, Actions y, Actions buttons, Names legacyX,
                                                      Names legacyY, Names legacyButtons) {
        return QZGCConfigurationManager::create(std::move(x), std::move(y), std::move(buttons), std::move(legacyX),
                                                std::move(legacyY), std::move(legacyButtons), platform_);
    }

    static std::string converted(const std::shared_ptr<QZGCConfigurationManager>& manager, std::string name) {
        return Internals::convertLegacyToModern(*manager, Action(std::move(name))).rawValue();
    }
};

TEST_F(ActionLists, AreAllOneAfterTheOtherWithDuplicatesAndUnsorted) {
    const auto lists =
        manager(actions({"b", "a"}), actions({"c"}), actions({"b"}), actions({"l1"}), actions({"l2"}), actions({"l3"}));
    EXPECT_THAT(namesOf(lists->allActions()), ElementsAre("b", "a", "c", "b"));
    EXPECT_EQ(lists->actionCount(), 4);
    EXPECT_THAT(namesOf(lists->xActions()), ElementsAre("b", "a"));
    EXPECT_THAT(namesOf(lists->yActions()), ElementsAre("c"));
    EXPECT_THAT(namesOf(lists->buttonActions()), ElementsAre("b"));
}

TEST_F(ActionLists, MayAllBeEmpty) {
    const auto lists = manager({}, {}, {}, std::nullopt, std::nullopt, std::nullopt);
    EXPECT_THAT(lists->allActions(), IsEmpty());
    EXPECT_EQ(lists->actionCount(), 0);
}

TEST_F(ActionLists, AreGivenAsAFreshListThatBelongsToTheCaller) {
    const auto lists = manager(actions({"a"}), {}, {}, std::nullopt, std::nullopt, std::nullopt);
    Actions all = lists->allActions();
    all.clear();
    EXPECT_THAT(namesOf(lists->allActions()), ElementsAre("a"));
    EXPECT_THAT(namesOf(lists->xActions()), ElementsAre("a"));
}

class ActionConversion : public ActionLists {};

TEST_F(ActionConversion, NeedsAllThreeLegacyLists) {
    const Names some = actions({"old"});
    const Names none;
    const std::vector<std::array<Names, 3>> incomplete = {
        {none, none, none}, {some, none, none}, {none, some, none}, {none, none, some},
        {some, some, none}, {some, none, some}, {none, some, some},
    };
    for (const auto& [x, y, buttons] : incomplete) {
        const auto lists = manager(actions({"X"}), actions({"Y"}), actions({"B"}), x, y, buttons);
        EXPECT_EQ(converted(lists, "old"), "old");
        EXPECT_EQ(converted(lists, "X"), "X");
        EXPECT_EQ(converted(lists, ""), "");
    }
}

TEST_F(ActionConversion, CountsAnEmptyLegacyListAsThere) {
    const auto lists = manager(actions({"X"}), {}, {}, actions({"old"}), Actions(), Actions());
    EXPECT_EQ(converted(lists, "old"), "X");
}

TEST_F(ActionConversion, GoesByTheFirstPositionInAList) {
    const auto lists = manager(actions({"A", "B", "C"}), {}, {}, actions({"p", "q", "q"}), Actions(), Actions());
    EXPECT_EQ(converted(lists, "p"), "A");
    EXPECT_EQ(converted(lists, "q"), "B");
}

TEST_F(ActionConversion, SearchesXBeforeYBeforeButtons) {
    const auto lists =
        manager(actions({"X"}), actions({"Y", "Y2"}), actions({"B", "B2", "B3", "B4"}), actions({"everywhere"}),
                actions({"everywhere", "late"}), actions({"everywhere", "button", "other", "late"}));
    EXPECT_EQ(converted(lists, "everywhere"), "X");
    EXPECT_EQ(converted(lists, "late"), "Y2");
    EXPECT_EQ(converted(lists, "button"), "B2");
}

TEST_F(ActionConversion, LeavesANameThatNoLegacyListHas) {
    const auto lists =
        manager(actions({"X"}), actions({"Y"}), actions({"B"}), actions({"x"}), actions({"y"}), actions({"b"}));
    for (const std::string& name : orderedNames) {
        if (name != "b") {
            EXPECT_EQ(converted(lists, name), name);
        }
    }
    EXPECT_EQ(converted(lists, "X"), "X");
}

TEST_F(ActionConversion, TakesANameThatIsModernAndLegacyByItsLegacyPosition) {
    const auto lists = manager(actions({"left", "right"}), {}, {}, actions({"right", "left"}), Actions(), Actions());
    EXPECT_EQ(converted(lists, "right"), "left");
    EXPECT_EQ(converted(lists, "left"), "right");
}

TEST_F(ActionConversion, TellsCaseApart) {
    const auto lists = manager(actions({"X"}), {}, {}, actions({"old"}), Actions(), Actions());
    EXPECT_EQ(converted(lists, "OLD"), "OLD");
}

TEST_F(ActionConversion, MayFallShortOfTheModernList) {
    const auto lists = manager(actions({"A", "B"}), {}, {}, actions({"a"}), Actions(), Actions());
    EXPECT_EQ(converted(lists, "a"), "A");
    EXPECT_EQ(converted(lists, "B"), "B");
}

TEST_F(ActionConversion, ReachesTheLastPositionOfALegacyListThatIsTooLongUpToTheModernEnd) {
    const auto lists =
        manager({}, {}, actions({"B1", "B2", "B3"}), Actions(), Actions(), actions({"1", "2", "3", "4", "5"}));
    EXPECT_EQ(converted(lists, "3"), "B3");
    EXPECT_EQ(converted(lists, "unknown"), "unknown");
}

class ActionConversionDeathTest : public ActionConversion {};

TEST_F(ActionConversionDeathTest, EndsTheProcessBeyondTheModernListsEnd) {
    constexpr const char* message = "QZGameController: fatal error: a legacy action list is longer than its list of "
                                    "actions, and a stored name lies beyond the end\n";
    const auto inButtons =
        manager({}, {}, actions({"B1", "B2", "B3"}), Actions(), Actions(), actions({"1", "2", "3", "4", "5"}));
    EXPECT_EXIT(converted(inButtons, "4"), testing::KilledBySignal(SIGABRT), testing::StrEq(message));
    EXPECT_EXIT(converted(inButtons, "5"), testing::KilledBySignal(SIGABRT), testing::StrEq(message));
    const auto inX = manager({}, actions({"Y"}), actions({"B"}), actions({"old"}), actions({"old"}), Actions());
    EXPECT_EXIT(converted(inX, "old"), testing::KilledBySignal(SIGABRT), testing::StrEq(message));
    const auto inY = manager(actions({"X"}), {}, actions({"B"}), Actions(), actions({"old"}), actions({"old"}));
    EXPECT_EXIT(converted(inY, "old"), testing::KilledBySignal(SIGABRT), testing::StrEq(message));
}

} // namespace
} // namespace qz::test
