// SPDX-License-Identifier: MIT
#include "platform/report/ReportDevice.h"

#include "platform/Text.h"
#include "tests/support/CountedAllocations.h"
#include "tests/support/Hex.h"

#include <gmock/gmock.h>

#include <array>

namespace qz::platform {
namespace {

using test::bytes;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::shared_ptr<ReportDevice> device(std::string_view hex, HIDProperties properties = {}) {
    return std::make_shared<ReportDevice>(std::get<ReportDescriptor>(parseReportDescriptor(bytes(hex))),
                                          std::move(properties));
}

/// "cookie=value" for each value that the report delivers.
std::vector<std::string> fed(ReportDevice& device, std::string_view hex) {
    std::vector<std::string> texts;
    for (const std::uint32_t index : device.feed(bytes(hex))) {
        const HIDValue value = device.value(index);
        texts.push_back(joined({DecimalText(value.element->cookie), "=", DecimalText(value.integerValue)}));
    }
    return texts;
}

std::optional<std::int64_t> known(const ReportDevice& device, std::size_t index) {
    return device.lastKnownValue(&device.elements()->at(index));
}

// X and Y of one byte each, four buttons of one bit, four bits of padding.
constexpr std::string_view pad = "05 01 15 00 26 ff 00 75 08 95 02 09 30 09 31 81 02 "
                                 "05 09 25 01 75 01 95 04 19 01 29 04 81 02 81 03";
// The same with a wheel of one relative byte at the end.
constexpr std::string_view wheel = "05 01 15 00 26 ff 00 75 08 95 02 09 30 09 31 81 02 15 81 25 7f 95 01 09 38 81 06";
// Six slots of one byte over the keyboard usages 0 to 4, then a byte of eight modifiers.
constexpr std::string_view keyboard = "05 07 15 00 25 04 75 08 95 06 19 00 29 04 81 00 "
                                      "25 01 75 01 95 08 19 e0 29 e7 81 02";

TEST(ReportDevice, HasThePropertiesGivenAndTheFirstApplicationsUsage) {
    const auto stick = device("05 01 09 04 a1 01 c0 05 0c 09 01 a1 01 c0", {{"Product", "stick"}});
    EXPECT_EQ(*stick->property("Product"), PropertyValue("stick"));
    EXPECT_EQ(*stick->property("PrimaryUsagePage"), PropertyValue(std::int64_t{1}));
    EXPECT_EQ(*stick->property("PrimaryUsage"), PropertyValue(std::int64_t{4}));
    const auto named = device("05 01 09 04 a1 01 c0", {{"PrimaryUsage", std::int64_t{5}}});
    EXPECT_EQ(*named->property("PrimaryUsage"), PropertyValue(std::int64_t{5}));
    EXPECT_EQ(device("05 01 09 30 75 08 95 01 81 02")->property("PrimaryUsage"), nullptr);
}

TEST(ReportDevice, MatchesByAnyOfItsApplications) {
    const auto stick = device("05 01 09 02 a1 01 05 01 09 05 a1 01 c0 c0 09 04 a1 00 c0");
    const auto matches = [&](int page, int usage) {
        return stick->matches({{"DeviceUsagePage", page}, {"DeviceUsage", usage}});
    };
    EXPECT_TRUE(matches(1, 2));
    EXPECT_TRUE(matches(1, 5));
    EXPECT_FALSE(matches(1, 4));
    EXPECT_FALSE(matches(5, 1));
}

TEST(ReportDevice, ListsTheMembersOfItsCollections) {
    const auto stick = device("05 01 09 04 a1 01 a1 02 75 08 95 02 09 30 09 31 81 02 c0 a1 00 c0 09 32 95 01 81 02 c0");
    const auto cookies = [&](std::size_t index) {
        std::vector<std::uint32_t> result;
        for (const IOHIDElementRef child : *stick->elements()->at(index).children) {
            result.push_back(child->cookie);
        }
        return result;
    };
    EXPECT_THAT(cookies(0), ElementsAre(2, 5, 6));
    EXPECT_THAT(cookies(1), ElementsAre(3, 4));
    EXPECT_THAT(cookies(4), IsEmpty());
    EXPECT_FALSE(stick->elements()->at(2).children) << "no list at all for what is no collection";
}

TEST(ReportDevice, KnowsNoValueBeforeTheFirstReport) {
    const auto stick = device(pad);
    EXPECT_FALSE(known(*stick, 0));
    fed(*stick, "10 20 00");
    EXPECT_EQ(known(*stick, 0), 16);
}

TEST(ReportDevice, DeliversFirstValuesThenChangesInTheOrderOfCookies) {
    const auto stick = device(pad);
    EXPECT_THAT(fed(*stick, "10 00 04"), ElementsAre("1=16", "2=0", "3=0", "4=0", "5=1", "6=0"));
    EXPECT_THAT(fed(*stick, "10 00 04"), IsEmpty());
    EXPECT_THAT(fed(*stick, "11 00 0c"), ElementsAre("1=17", "6=1"));
    EXPECT_THAT(fed(*stick, "11 80 00"), ElementsAre("2=128", "5=0", "6=0"));
    EXPECT_EQ(known(*stick, 5), 0);
}

TEST(ReportDevice, IgnoresPaddingAndBytesBeyondTheDeclaredOnes) {
    const auto stick = device(pad);
    fed(*stick, "10 00 04");
    EXPECT_THAT(fed(*stick, "10 00 f4"), IsEmpty());
    EXPECT_THAT(fed(*stick, "10 00 f4 ff ff ff ff ff ff ff"), IsEmpty());
    EXPECT_THAT(fed(*stick, "10 01 f4 00 ff"), ElementsAre("2=1"));
}

TEST(ReportDevice, DropsAReportThatIsEmptyOrHasAnUnknownID) {
    const auto stick = device(pad);
    EXPECT_THAT(fed(*stick, ""), IsEmpty());
    EXPECT_FALSE(known(*stick, 0));
    const auto two = device("05 01 15 00 26 ff 00 75 08 95 01 09 30 81 02 85 02 09 31 81 02 85 03 09 32 91 02");
    EXPECT_THAT(fed(*two, ""), IsEmpty());
    EXPECT_THAT(fed(*two, "01 05"), IsEmpty());
    EXPECT_THAT(fed(*two, "03 05"), IsEmpty()) << "the ID of an Output";
    for (std::uint32_t id = 4; id < 256; ++id) {
        const std::array report{static_cast<std::uint8_t>(id), std::uint8_t{5}};
        EXPECT_THAT(two->feed(report), IsEmpty()) << id;
    }
    EXPECT_THAT(fed(*two, "02 05"), ElementsAre("2=5"));
    EXPECT_THAT(fed(*two, "00 06"), ElementsAre("1=6")) << "fields before the first Report ID belong to ID 0";
    EXPECT_FALSE(known(*two, 2)) << "an Output has no value";
}

TEST(ReportDevice, TakesTheFirstByteAsDataWhenOnlyOthersHaveIDs) {
    const auto stick = device("05 01 15 00 26 ff 00 75 08 95 01 09 30 81 02 85 03 09 31 91 02 09 32 b1 02");
    EXPECT_THAT(fed(*stick, "03"), ElementsAre("1=3"));
}

TEST(ReportDevice, KeepsTheReportsOfDifferentIDsApart) {
    const auto two = device("05 01 15 00 26 ff 00 75 08 95 01 85 01 09 30 81 02 85 02 09 31 81 02");
    EXPECT_THAT(fed(*two, "01 05"), ElementsAre("1=5"));
    EXPECT_THAT(fed(*two, "02 05"), ElementsAre("2=5"));
    EXPECT_THAT(fed(*two, "01 05"), IsEmpty());
    EXPECT_THAT(fed(*two, "02 06"), ElementsAre("2=6"));
}

TEST(ReportDevice, KeepsWhatAShortReportDoesNotCarryWholly) {
    const auto stick = device("05 01 16 00 80 26 ff 7f 75 10 95 02 09 30 09 31 81 02");
    EXPECT_THAT(fed(*stick, "01 02 03"), ElementsAre("1=513")) << "half of Y is no value";
    EXPECT_FALSE(known(*stick, 1));
    EXPECT_THAT(fed(*stick, "01 02 03 04"), ElementsAre("2=1027"));
    EXPECT_THAT(fed(*stick, "01 02 05"), IsEmpty());
    EXPECT_THAT(fed(*stick, "01 02 06"), IsEmpty());
    EXPECT_EQ(known(*stick, 1), 1027);
    EXPECT_THAT(fed(*stick, "01 02 06 04"), ElementsAre("2=1030")) << "although only a byte that came before is new";
    EXPECT_THAT(fed(*stick, "02 02"), ElementsAre("1=514"));
    EXPECT_THAT(fed(*stick, "03 02"), ElementsAre("1=515"));
    EXPECT_THAT(fed(*stick, "03 02 06 04"), IsEmpty());
    EXPECT_THAT(fed(*stick, "03"), IsEmpty());
}

TEST(ReportDevice, DeliversARelativeFieldWheneverItIsNotZero) {
    const auto mouse = device(wheel);
    EXPECT_THAT(fed(*mouse, "01 02 00"), ElementsAre("1=1", "2=2", "3=0"));
    EXPECT_THAT(fed(*mouse, "01 02 00"), IsEmpty());
    EXPECT_THAT(fed(*mouse, "01 02 ff"), ElementsAre("3=-1"));
    EXPECT_THAT(fed(*mouse, "01 02 ff"), ElementsAre("3=-1"));
    EXPECT_THAT(fed(*mouse, "05 02 ff"), ElementsAre("1=5", "3=-1"));
    EXPECT_THAT(fed(*mouse, "05 02 00"), ElementsAre("3=0"));
    EXPECT_THAT(fed(*mouse, "05 02 00"), IsEmpty());
}

TEST(ReportDevice, DeliversValuesOutsideTheLogicalRangeAsTheyAre) {
    const auto hat = device("05 01 15 01 25 08 75 04 95 02 09 39 09 39 81 42");
    EXPECT_THAT(fed(*hat, "f0"), ElementsAre("1=0", "2=15"));
}

TEST(ReportDevice, ReadsAnArrayAsOneValueForEachUsage) {
    const auto keys = device(keyboard);
    EXPECT_THAT(fed(*keys, "02 00 00 00 00 00 01"), ElementsAre("1=1", "2=0", "3=1", "4=0", "5=0", "6=1", "7=0", "8=0",
                                                                "9=0", "10=0", "11=0", "12=0", "13=0"));
    EXPECT_THAT(fed(*keys, "04 02 00 00 00 00 01"), ElementsAre("5=1")) << "2 is held in another slot";
    EXPECT_THAT(fed(*keys, "04 04 04 04 04 04 00"), ElementsAre("1=0", "3=0", "6=0"));
    EXPECT_THAT(fed(*keys, "05 ff 09 04 04 04 00"), IsEmpty()) << "slots outside the logical range name nothing";
}

TEST(ReportDevice, CountsTheIndicesOfAnArrayFromTheLogicalMinimum) {
    const auto keys = device("05 09 15 05 25 07 75 08 95 01 19 01 29 04 81 00");
    EXPECT_THAT(fed(*keys, "05"), ElementsAre("1=1", "2=0", "3=0", "4=0"));
    EXPECT_THAT(fed(*keys, "07"), ElementsAre("1=0", "3=1"));
    EXPECT_THAT(fed(*keys, "08"), ElementsAre("3=0")) << "the fourth usage lies beyond the maximum";
    EXPECT_THAT(fed(*keys, "04"), IsEmpty());
    const auto below = device("05 09 15 ff 25 01 75 08 95 01 19 01 29 03 81 00");
    EXPECT_THAT(fed(*below, "ff"), ElementsAre("1=1", "2=0", "3=0"));
    EXPECT_THAT(fed(*below, "01"), ElementsAre("1=0", "3=1"));
}

TEST(ReportDevice, KeepsAnArrayUnlessAllItsSlotsCame) {
    const auto keys = device(keyboard);
    EXPECT_THAT(fed(*keys, "02 00 00 00 00"), IsEmpty());
    EXPECT_FALSE(known(*keys, 0));
    EXPECT_THAT(fed(*keys, "02 00 00 00 00 00"), ElementsAre("1=1", "2=0", "3=1", "4=0", "5=0"));
    EXPECT_THAT(fed(*keys, "03 00 00 00 00"), IsEmpty());
    EXPECT_THAT(fed(*keys, "03 00 00 00 00 00"), ElementsAre("3=0", "4=1"));
}

TEST(ReportDevice, ReadsUsagesOfAnArrayThatAreDeclaredTwiceAsTwo) {
    const auto keys = device("05 09 15 00 25 02 75 08 95 01 09 05 09 05 09 06 81 00");
    EXPECT_THAT(fed(*keys, "01"), ElementsAre("1=0", "2=1", "3=0"));
}

TEST(ReportDevice, DeliversAnArraysRelativeValuesWhileTheyAreOne) {
    const auto keys = device("05 09 15 00 25 01 75 08 95 01 09 05 09 06 81 04");
    EXPECT_THAT(fed(*keys, "01"), ElementsAre("1=0", "2=1"));
    EXPECT_THAT(fed(*keys, "01"), ElementsAre("2=1"));
    EXPECT_THAT(fed(*keys, "00"), ElementsAre("1=1", "2=0"));
    EXPECT_THAT(fed(*keys, "00"), ElementsAre("1=1")) << "a slot of 0 names the first usage";
}

TEST(ReportDevice, ReadsFieldsThatStraddleBytesAndWords) {
    // 7 bits of padding, then six fields of 21 bits: none begins on a byte, and two cross the eight bytes compared at
    // once.
    const auto odd = device("05 01 75 07 95 01 81 03 15 00 27 ff ff 1f 00 75 15 95 06 09 30 81 02");
    const auto report = [](const std::vector<std::uint64_t>& values) {
        std::vector<std::uint8_t> result(17);
        std::size_t at = 7;
        for (const std::uint64_t value : values) {
            for (std::size_t i = 0; i < 21; ++i, ++at) {
                result[at / 8] = static_cast<std::uint8_t>(result[at / 8] | ((value >> i & 1U) << (at % 8)));
            }
        }
        return result;
    };
    std::vector<std::uint64_t> values{1, 2, 3, 4, 5, 6};
    EXPECT_EQ(odd->feed(report(values)).size(), 6U);
    for (std::size_t i = 0; i < values.size(); ++i) {
        for (std::size_t bit = 0; bit < 21; ++bit) {
            values[i] ^= std::uint64_t{1} << bit;
            const auto changed = odd->feed(report(values));
            ASSERT_THAT(changed, ElementsAre(i)) << "bit " << bit;
            ASSERT_EQ(odd->value(changed[0]).integerValue, static_cast<std::int64_t>(values[i]));
        }
    }
}

TEST(ReportDevice, DecodesReportsBeyondThoseThatAreComparedToo) {
    // Four Arrays of 8,188 slots of two bytes: more than is kept for comparing; then a button alone.
    const auto huge = device("05 09 15 00 25 01 75 10 96 fc 1f 85 01 19 01 29 02 81 00 85 02 19 03 29 04 81 00 "
                             "85 03 19 05 29 06 81 00 85 04 19 07 29 08 81 04 85 05 75 01 95 01 09 09 81 02");
    for (std::uint8_t id = 1; id <= 4; ++id) {
        std::vector<std::uint8_t> report(1 + 2 * 8188);
        report[0] = id;
        const std::uint32_t first = 2 * (id - 1U);
        const bool isRelative = id == 4;
        EXPECT_THAT(huge->feed(report), ElementsAre(first, first + 1));
        EXPECT_EQ(huge->feed(report).size(), isRelative ? 1U : 0U);
        for (std::size_t i = 1; i < report.size(); i += 2) {
            report[i] = 1;
        }
        EXPECT_THAT(huge->feed(report), ElementsAre(first, first + 1)) << "all slots name the second usage";
        report[report.size() - 2] = 0;
        if (isRelative) {
            EXPECT_THAT(huge->feed(report), ElementsAre(first, first + 1));
        } else {
            EXPECT_THAT(huge->feed(report), ElementsAre(first)) << "the last slot counts";
        }
    }
    EXPECT_THAT(fed(*huge, "05 01"), ElementsAre("9=1"));
    EXPECT_THAT(fed(*huge, "05 01"), IsEmpty());
}

TEST(ReportDevice, ForgetsASlotThatNamesAUsageBeyondTheElements) {
    const auto keys = device("05 0c 15 00 27 ff ff 00 00 75 10 95 02 1a 00 00 2a ff ff 81 00");
    EXPECT_EQ(keys->feed(bytes("ff 07 00 00")).size(), 2048U);
    EXPECT_THAT(fed(*keys, "00 08 ff ff"), ElementsAre("1=0", "2048=0"));
    EXPECT_THAT(fed(*keys, "00 08 01 00"), ElementsAre("2=1"));
}

TEST(ReportDevice, TakesAReportOfNothingButItsID) {
    const auto two = device("05 01 15 00 26 ff 00 75 08 95 01 85 01 09 30 81 02 85 02 09 31 81 02");
    EXPECT_THAT(fed(*two, "01"), IsEmpty());
    EXPECT_THAT(fed(*two, "01 00"), ElementsAre("1=0"));
    EXPECT_THAT(fed(*two, "01"), IsEmpty());
    EXPECT_THAT(fed(*two, "01 00"), IsEmpty());
}

TEST(ReportDevice, TakesReportsInWithoutAllocating) {
    const auto keys = device(keyboard);
    const auto stick = device(pad);
    const auto first = bytes("02 00 00 00 00 00 01");
    const auto second = bytes("03 01 00 00 00 00 80");
    const test::CountedAllocations allocations;
    for (int i = 0; i < 10; ++i) {
        keys->feed(first);
        keys->feed(second);
        stick->feed(first);
        stick->feed(second);
    }
    EXPECT_EQ(allocations.count(), 0U);
}

} // namespace
} // namespace qz::platform
