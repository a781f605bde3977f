// SPDX-License-Identifier: MIT
#include "QZGameController/QZGCCalibrationValues.h"

#include "platform/virtual/JournalPlatform.h"
#include "tests/support/ElementFixture.h"

#include <gtest/gtest.h>

#include <functional>

namespace qz::platform {
namespace {

using Array = PropertyList::Array;
using Dictionary = PropertyList::Dictionary;

constexpr std::string_view key = "Calibrations";

QZGCCalibrationValues loaded(PropertyList stored) {
    const VolatileUserDefaults defaults(Dictionary{{std::string(key), std::move(stored)}});
    return QZGCCalibrationValues(key, defaults);
}

/// What a store writes, as the preferences then hold it.
PropertyList saved(const QZGCCalibrationValues& values) {
    VolatileUserDefaults defaults;
    values.saveToPrefs(key, defaults);
    const PropertyList* const object = defaults.objectForKey(key);
    return object != nullptr ? *object : PropertyList("nothing was saved");
}

bool isEmpty(const QZGCCalibrationValues& values) {
    return saved(values) == PropertyList(Dictionary{});
}

TEST(QZGCCalibrationValues, ANewStoreAnswersZeroForEveryReader) {
    const QZGCCalibrationValues values;
    for (const std::int64_t cookie : {std::int64_t{0}, std::int64_t{16}, std::int64_t{-1}, int64Min, int64Max}) {
        EXPECT_FALSE(values.contains(cookie)) << cookie;
        EXPECT_EQ(values.minimum(cookie), 0) << cookie;
        EXPECT_EQ(values.maximum(cookie), 0) << cookie;
        EXPECT_EQ(values.neutral(cookie), 0) << cookie;
    }
}

TEST(QZGCCalibrationValues, AnswersWhatWasSetForTheCookieAlone) {
    QZGCCalibrationValues values;
    values.setElement(16, 3, 252, 127);
    EXPECT_TRUE(values.contains(16));
    EXPECT_EQ(values.minimum(16), 3);
    EXPECT_EQ(values.maximum(16), 252);
    EXPECT_EQ(values.neutral(16), 127);
    for (const std::int64_t other : {1, 6, 15, 17, 160, 161, 116, -16}) {
        EXPECT_FALSE(values.contains(other)) << other;
        EXPECT_EQ(values.minimum(other), 0) << other;
        EXPECT_EQ(values.maximum(other), 0) << other;
        EXPECT_EQ(values.neutral(other), 0) << other;
    }
}

TEST(QZGCCalibrationValues, ASecondSettingReplacesTheFirstWhole) {
    QZGCCalibrationValues values;
    values.setElement(16, 3, 252, 127);
    values.setElement(19, 0, 255, 126);
    values.setElement(16, 4, 251, 0);
    EXPECT_EQ(values.minimum(16), 4);
    EXPECT_EQ(values.maximum(16), 251);
    EXPECT_EQ(values.neutral(16), 0);
    EXPECT_EQ(saved(values), PropertyList(Dictionary{{"16", Array{4, 251, 0}}, {"19", Array{0, 255, 126}}}));
}

TEST(QZGCCalibrationValues, TakesRangesInAnyOrderOfTheirNumbers) {
    QZGCCalibrationValues values;
    values.setElement(1, 252, 3, 500);
    EXPECT_EQ(values.minimum(1), 252);
    EXPECT_EQ(values.maximum(1), 3);
    EXPECT_EQ(values.neutral(1), 500);
}

TEST(QZGCCalibrationValues, WritesTheCookieInDecimalAndTheNumbersInTheOrderMinimumMaximumNeutral) {
    QZGCCalibrationValues values;
    values.setElement(16, 3, 252, 127);
    values.setElement(19, 0, 255, 127);
    values.setElement(0, 1, 2, 3);
    values.setElement(4294967295, 4, 5, 6);
    values.setElement(-16, 7, 8, 9);
    values.setElement(int64Min, 10, 11, 12);
    EXPECT_EQ(saved(values), PropertyList(Dictionary{{"16", Array{3, 252, 127}},
                                                     {"19", Array{0, 255, 127}},
                                                     {"0", Array{1, 2, 3}},
                                                     {"4294967295", Array{4, 5, 6}},
                                                     {"-16", Array{7, 8, 9}},
                                                     {"-9223372036854775808", Array{10, 11, 12}}}));
    EXPECT_TRUE(values.contains(-16));
    EXPECT_EQ(values.neutral(int64Min), 12);
}

TEST(QZGCCalibrationValues, NegativeAndExtremeValuesRoundTripUnchanged) {
    QZGCCalibrationValues values;
    values.setElement(16, -32768, -1, -16384);
    values.setElement(17, int64Min, int64Max, 0);
    const QZGCCalibrationValues again = loaded(saved(values));
    EXPECT_EQ(again.minimum(16), -32768);
    EXPECT_EQ(again.maximum(16), -1);
    EXPECT_EQ(again.neutral(16), -16384);
    EXPECT_EQ(again.minimum(17), int64Min);
    EXPECT_EQ(again.maximum(17), int64Max);
    EXPECT_EQ(again.neutral(17), 0);
}

TEST(QZGCCalibrationValues, LoadsFromItsKeyAlone) {
    const VolatileUserDefaults defaults(
        Dictionary{{"A", Dictionary{{"16", Array{1, 2, 3}}}}, {"B", Dictionary{{"17", Array{4, 5, 6}}}}});
    const QZGCCalibrationValues values("B", defaults);
    EXPECT_FALSE(values.contains(16));
    EXPECT_EQ(values.minimum(17), 4);
    EXPECT_TRUE(isEmpty(QZGCCalibrationValues("C", defaults)));
}

TEST(QZGCCalibrationValues, AKeyWrittenOtherwiseNeverMatchesACookie) {
    const QZGCCalibrationValues values = loaded(Dictionary{{"016", Array{1, 2, 3}},
                                                           {"+16", Array{1, 2, 3}},
                                                           {" 16", Array{1, 2, 3}},
                                                           {"16 ", Array{1, 2, 3}},
                                                           {"0x10", Array{1, 2, 3}},
                                                           {"16.0", Array{1, 2, 3}},
                                                           {"-0", Array{1, 2, 3}},
                                                           {"", Array{1, 2, 3}},
                                                           {"X", Array{1, 2, 3}}});
    EXPECT_FALSE(isEmpty(values));
    EXPECT_FALSE(values.contains(16));
    EXPECT_EQ(values.minimum(16), 0);
    EXPECT_EQ(values.maximum(16), 0);
    EXPECT_EQ(values.neutral(16), 0);
    EXPECT_FALSE(values.contains(0));
    EXPECT_FALSE(values.contains(1));
}

TEST(QZGCCalibrationValues, AForeignKeyDoesNotHarmTheOthers) {
    const QZGCCalibrationValues values = loaded(Dictionary{{"016", Array{1, 2, 3}}, {"16", Array{4, 5, 6}}});
    EXPECT_EQ(values.minimum(16), 4);
    EXPECT_EQ(values.maximum(16), 5);
    EXPECT_EQ(values.neutral(16), 6);
}

TEST(QZGCCalibrationValues, KeepsArraysOfAnyLengthAsTheyAre) {
    const PropertyList stored(
        Dictionary{{"016", Array{9}}, {"16", Array{1, 2, 3, 4}}, {"17", Array{}}, {"18", Array{1, 2}}});
    const QZGCCalibrationValues values = loaded(stored);
    EXPECT_TRUE(values.contains(17));
    EXPECT_EQ(saved(values), stored);
}

TEST(QZGCCalibrationValues, ReadsTheFirstThreeOfFourNumbers) {
    const QZGCCalibrationValues values = loaded(Dictionary{{"16", Array{3, 252, 127, 99}}});
    EXPECT_TRUE(values.contains(16));
    EXPECT_EQ(values.minimum(16), 3);
    EXPECT_EQ(values.maximum(16), 252);
    EXPECT_EQ(values.neutral(16), 127);
}

TEST(QZGCCalibrationValues, AShortEntryAnswersForTheNumbersThatItHas) {
    const QZGCCalibrationValues values =
        loaded(Dictionary{{"16", Array{3}}, {"17", Array{4, 5}}, {"18", Array{6, 7, 8}}});
    EXPECT_EQ(values.minimum(16), 3);
    EXPECT_EQ(values.minimum(17), 4);
    EXPECT_EQ(values.maximum(17), 5);
    EXPECT_EQ(values.neutral(18), 8);
}

TEST(QZGCCalibrationValuesDeathTest, AShortEntryEndsTheProcessWhenAskedForANumberItDoesNotHold) {
    const QZGCCalibrationValues values =
        loaded(Dictionary{{"16", Array{}}, {"17", Array{1}}, {"18", Array{1, 2}}, {"19", Array{1, 2, 3}}});
    const auto killed = ::testing::KilledBySignal(SIGABRT);
    EXPECT_EXIT(values.minimum(16), killed, shortEntryLine);
    EXPECT_EXIT(values.maximum(16), killed, shortEntryLine);
    EXPECT_EXIT(values.neutral(16), killed, shortEntryLine);
    EXPECT_EXIT(values.maximum(17), killed, shortEntryLine);
    EXPECT_EXIT(values.neutral(17), killed, shortEntryLine);
    EXPECT_EXIT(values.neutral(18), killed, shortEntryLine);
}

/// One value of every kind of property list; a dictionary and an array also with content that would fit.
std::vector<PropertyList> everyKind() {
    return {true,
            false,
            1,
            0,
            3.0,
            3.5,
            "",
            "3",
            Array{},
            Array{1, 2, 3},
            Array{Dictionary{{"16", Array{1, 2, 3}}}},
            Dictionary{},
            Dictionary{{"16", Array{1, 2, 3}}}};
}

/// Expects that `stored` is ignored as a whole and left as it is, by a store and by a device whose axis has cookie 16.
void expectIgnored(const PropertyList& stored) {
    EXPECT_TRUE(isEmpty(loaded(stored)));

    const ElementHost host(std::vector{xAxis(16)}, Dictionary{{std::string(calibrationKey), stored}});
    EXPECT_EQ(host.element()->observedMin(), 0);
    EXPECT_EQ(host.element()->observedMax(), 255);
    EXPECT_EQ(host.element()->observedNeutral(), 127);
    ASSERT_NE(host.storedCalibration(), nullptr);
    EXPECT_EQ(*host.storedCalibration(), stored);
}

TEST(QZGCCalibrationValues, IgnoresWhateverIsStoredInPlaceOfADictionary) {
    std::size_t tried = 0;
    for (const PropertyList& wrong : everyKind()) {
        if (wrong.dictionary() == nullptr) {
            SCOPED_TRACE(tried++);
            expectIgnored(wrong);
        }
    }
    EXPECT_EQ(tried, 11U);
}

TEST(QZGCCalibrationValues, OneEntryThatIsNoArrayVoidsTheWhole) {
    std::size_t tried = 0;
    for (const PropertyList& wrong : everyKind()) {
        if (wrong.array() != nullptr) {
            continue;
        }
        // Before, between and behind the well-formed entries, in place of one, and alone.
        for (const char* const place : {"1", "17", "99", "16"}) {
            SCOPED_TRACE(tried++);
            Dictionary stored{{"16", Array{1, 2, 3}}, {"18", Array{4, 5, 6}}};
            stored.insert_or_assign(place, wrong);
            expectIgnored(stored);
        }
        expectIgnored(Dictionary{{"16", wrong}});
    }
    EXPECT_EQ(tried, 40U);
}

TEST(QZGCCalibrationValues, OneNumberThatIsNoIntegerVoidsTheWhole) {
    std::size_t tried = 0;
    for (const PropertyList& wrong : everyKind()) {
        if (wrong.integer()) {
            continue;
        }
        for (std::size_t position = 0; position < 4; ++position) {
            for (const char* const place : {"1", "17", "99", "16"}) {
                SCOPED_TRACE(tried++);
                Array numbers{1, 2, 3, 4};
                numbers[position] = wrong;
                Dictionary stored{{"16", Array{1, 2, 3}}, {"18", Array{4, 5, 6}}};
                stored.insert_or_assign(place, numbers);
                expectIgnored(stored);
            }
        }
        expectIgnored(Dictionary{{"16", Array{wrong}}});
    }
    EXPECT_EQ(tried, 176U);
}

TEST(QZGCCalibrationValues, LoadingWritesNothing) {
    VirtualPlatform platform(Dictionary{{"Calibrations", Dictionary{{"16", Array{1, "2", 3}}}}});
    JournalPlatform journal(platform);
    const QZGCCalibrationValues values(key, journal.userDefaults());
    EXPECT_EQ(journal.entries(), std::vector<std::string>{"objectForKey(Calibrations)"});
    EXPECT_EQ(*platform.userDefaults().objectForKey(key), PropertyList(Dictionary{{"16", Array{1, "2", 3}}}));
}

TEST(QZGCCalibrationValues, SavingSetsTheObjectAndThenSynchronises) {
    VirtualPlatform platform;
    JournalPlatform journal(platform);
    QZGCCalibrationValues values;
    values.setElement(16, 1, 2, 3);
    values.saveToPrefs(key, journal.userDefaults());
    EXPECT_EQ(journal.entries(), (std::vector<std::string>{"setObjectForKey(Calibrations)", "synchronize()"}));
}

TEST(QZGCCalibrationValues, SavingReplacesWhatWasStoredAndNothingElse) {
    VolatileUserDefaults defaults(Dictionary{{"Calibrations", Dictionary{{"16", Array{1, 2, 3}}}},
                                             {"Calibrations-2", Dictionary{{"16", Array{7, 8, 9}}}},
                                             {"Sound", true}});
    QZGCCalibrationValues values;
    values.setElement(17, 4, 5, 6);
    values.saveToPrefs(key, defaults);
    EXPECT_EQ(defaults.dictionaryRepresentation(), (Dictionary{{"Calibrations", Dictionary{{"17", Array{4, 5, 6}}}},
                                                               {"Calibrations-2", Dictionary{{"16", Array{7, 8, 9}}}},
                                                               {"Sound", true}}));
}

TEST(QZGCCalibrationValues, AnEmptyStoreIsSavedAsAnEmptyDictionary) {
    VolatileUserDefaults defaults(Dictionary{{"Calibrations", Dictionary{{"16", Array{1, 2, 3}}}}});
    QZGCCalibrationValues().saveToPrefs(key, defaults);
    EXPECT_EQ(defaults.dictionaryRepresentation(), (Dictionary{{"Calibrations", Dictionary{}}}));
}

TEST(QZGCCalibrationValues, AFailureToSynchroniseGoesUnnoticed) {
    VirtualPlatform platform;
    JournalPlatform journal(platform);
    journal.fail("synchronize", kIOReturnIOError);
    QZGCCalibrationValues values;
    values.setElement(16, 1, 2, 3);
    values.saveToPrefs(key, journal.userDefaults());
    EXPECT_EQ(*platform.userDefaults().objectForKey(key), PropertyList(Dictionary{{"16", Array{1, 2, 3}}}));
    EXPECT_TRUE(platform.systemLog().entries().empty());
}

TEST(QZGCCalibrationValues, ALaterChangeOfThePreferencesDoesNotReachALoadedStore) {
    VolatileUserDefaults defaults(Dictionary{{"Calibrations", Dictionary{{"16", Array{1, 2, 3}}}}});
    const QZGCCalibrationValues values(key, defaults);
    defaults.removeObjectForKey(key);
    EXPECT_EQ(values.maximum(16), 2);
}

} // namespace
} // namespace qz::platform
