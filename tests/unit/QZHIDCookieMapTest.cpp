// SPDX-License-Identifier: MIT
#include "HIDWrapper/QZHIDCookieMap.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <random>
#include <string>

namespace {

using ::testing::ElementsAre;
using ::testing::Pair;

constexpr std::int64_t lowest = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t highest = std::numeric_limits<std::int64_t>::max();

using Map = QZHIDCookieMap<std::string>;

TEST(CookieMap, FindsNothingWhenEmpty) {
    const Map map;
    EXPECT_EQ(map.find(0), map.end());
    EXPECT_FALSE(map.contains(lowest));
    EXPECT_TRUE(map.empty());
}

TEST(CookieMap, IsWalkedInAscendingOrderHoweverItWasFilled) {
    Map map;
    map.insert_or_assign(7, "seven");
    map.insert_or_assign(-3, "minus three");
    map.insert_or_assign(9, "nine");
    map.insert_or_assign(8, "eight");
    EXPECT_THAT(map, ElementsAre(Pair(-3, "minus three"), Pair(7, "seven"), Pair(8, "eight"), Pair(9, "nine")));
}

TEST(CookieMap, KeepsTheLastOfSeveralWithOneCookie) {
    const Map map({{2, "first"}, {1, "one"}, {2, "second"}, {2, "third"}});
    EXPECT_THAT(map, ElementsAre(Pair(1, "one"), Pair(2, "third")));
}

TEST(CookieMap, ReplacesAndErases) {
    Map map({{1, "one"}, {2, "two"}});
    map.insert_or_assign(2, "zwei");
    EXPECT_EQ(map.at(2), "zwei");
    EXPECT_EQ(map.size(), 2U);
    EXPECT_EQ(map.erase(1), 1U);
    EXPECT_EQ(map.erase(1), 0U);
    EXPECT_THAT(map, ElementsAre(Pair(2, "zwei")));
}

TEST(CookieMap, HoldsBothEndsOfTheNumbersAtOnce) {
    const Map map({{highest, "highest"}, {lowest, "lowest"}, {0, "zero"}});
    EXPECT_EQ(map.at(lowest), "lowest");
    EXPECT_EQ(map.at(0), "zero");
    EXPECT_EQ(map.at(highest), "highest");
    EXPECT_FALSE(map.contains(highest - 1));
    EXPECT_FALSE(map.contains(lowest + 1));
    EXPECT_FALSE(map.contains(-1));
}

TEST(CookieMap, AnswersLikeAnOrdinaryMapWhateverTheGaps) {
    std::mt19937 random(20);
    for (const int gap : {1, 2, 3, 12, 1000}) {
        for (int round = 0; round < 200; ++round) {
            std::uniform_int_distribution<std::int64_t> cookies(-40, 40);
            std::map<std::int64_t, std::string> model;
            Map map;
            const int count = std::uniform_int_distribution(0, 60)(random);
            for (int i = 0; i < count; ++i) {
                const std::int64_t cookie = cookies(random) * gap + (i % gap);
                model.insert_or_assign(cookie, std::to_string(i));
                map.insert_or_assign(cookie, std::to_string(i));
                if (i % 5 == 0) {
                    const std::int64_t erased = cookies(random) * gap;
                    ASSERT_EQ(map.erase(erased), model.erase(erased));
                }
            }
            ASSERT_TRUE(
                std::equal(map.begin(), map.end(), model.begin(), model.end(),
                           [](const auto& a, const auto& b) { return a.first == b.first && a.second == b.second; }));
            for (std::int64_t cookie = -45 * gap; cookie <= 45 * gap; cookie += gap == 1000 ? 7 : 1) {
                const auto found = map.find(cookie);
                const auto wanted = model.find(cookie);
                ASSERT_EQ(found == map.end(), wanted == model.end()) << cookie;
                if (wanted != model.end()) {
                    ASSERT_EQ(found->second, wanted->second) << cookie;
                }
            }
        }
    }
}

TEST(CookieMap, IsWholeWhenAnOldValueGoesAway) {
    struct Watcher {
        explicit Watcher(std::function<void()> action) : atEnd(std::move(action)) {}
        ~Watcher() { atEnd(); }
        std::function<void()> atEnd;
    };
    QZHIDCookieMap<std::shared_ptr<Watcher>> map;
    int seen = 0;
    const auto look = [&] { seen += map.contains(1) && map.at(1) == nullptr ? 1 : 0; };
    map.insert_or_assign(1, std::make_shared<Watcher>(look));
    map.insert_or_assign(1, nullptr);
    EXPECT_EQ(seen, 1);

    map.insert_or_assign(2, std::make_shared<Watcher>([&] { seen += map.contains(2) ? 0 : 1; }));
    map.erase(2);
    EXPECT_EQ(seen, 2);
}

} // namespace
