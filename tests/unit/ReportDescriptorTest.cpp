// SPDX-License-Identifier: MIT
#include "platform/report/ReportDescriptor.h"

#include "platform/Text.h"
#include "tests/support/Hex.h"

#include <gmock/gmock.h>

namespace qz::platform {
namespace {

using test::bytes;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// "type page:usage min..max", both usage numbers in hexadecimal; "collection K page:usage" for a collection of kind K.
std::string text(const HIDElement& element) {
    const std::string usage = joined({hexadecimal(element.usagePage), ":", hexadecimal(element.usage)});
    if (element.type == kIOHIDElementTypeCollection) {
        return joined({"collection ", DecimalText(element.collectionType), " ", usage});
    }
    return joined({DecimalText(element.type), " ", usage, " ", DecimalText(element.logicalMin), "..",
                   DecimalText(element.logicalMax)});
}

ReportDescriptor parsed(std::string_view hex) {
    auto result = parseReportDescriptor(bytes(hex));
    if (const auto* const error = std::get_if<ReportDescriptorError>(&result)) {
        ADD_FAILURE() << "refused at " << error->offset << ": " << error->reason;
        return {};
    }
    return std::get<ReportDescriptor>(std::move(result));
}

std::vector<std::string> elements(std::string_view hex) {
    std::vector<std::string> texts;
    for (const HIDElement& element : parsed(hex).elements) {
        texts.push_back(text(element));
    }
    return texts;
}

/// "offset: reason", or nothing when the descriptor is accepted.
std::string refusal(std::span<const std::uint8_t> descriptor) {
    const auto result = parseReportDescriptor(descriptor);
    const auto* const error = std::get_if<ReportDescriptorError>(&result);
    return error != nullptr ? joined({DecimalText(static_cast<std::int64_t>(error->offset)), ": ", error->reason}) : "";
}

std::string refusal(std::string_view hex) {
    return refusal(bytes(hex));
}

std::string repeated(std::string_view hex, std::size_t times) {
    std::string result;
    for (std::size_t i = 0; i < times; ++i) {
        result += hex;
    }
    return result;
}

// Page 1, range 0..255, 8 bits, one field; what most of the descriptors below begin with.
constexpr std::string_view byteAxis = "05 01 15 00 26 ff 00 75 08 95 01 ";
constexpr std::string_view buttons = "05 09 15 00 25 01 75 01 ";

std::string after(std::string_view beginning, std::string_view rest) {
    return joined({beginning, rest});
}

TEST(ReportDescriptor, CountsCookiesFromOneInTheOrderOfTheItems) {
    const auto descriptor = parsed(after(byteAxis, "09 04 a1 01 09 30 81 02 09 31 91 02 c0 09 32 81 02"));
    std::vector<std::uint32_t> cookies;
    for (const HIDElement& element : descriptor.elements) {
        cookies.push_back(element.cookie);
    }
    EXPECT_THAT(cookies, ElementsAre(1, 2, 3, 4));
    EXPECT_THAT(descriptor.parents, ElementsAre(ReportDescriptor::noParent, 0, 0, ReportDescriptor::noParent));
}

TEST(ReportDescriptor, ReadsNothingFromNoBytes) {
    EXPECT_THAT(parsed("").elements, IsEmpty());
}

TEST(ReportDescriptor, TakesAnItemWithoutDataAsZero) {
    // Usage Page, Logical Minimum and Maximum without data after others with; a flagless Input is an Array.
    EXPECT_THAT(elements("05 09 04 09 01 15 7f 14 24 75 08 95 01 80"), ElementsAre("2 0:1 0..1"));
    EXPECT_THAT(elements(after(byteAxis, "a0 c0")), ElementsAre("collection 0 1:0"));
}

TEST(ReportDescriptor, MakesAnElementOfEachCollection) {
    EXPECT_THAT(elements("05 01 09 05 09 04 a1 01 a1 02 a2 80 07 c0 c0 c0"),
                ElementsAre("collection 1 1:5", "collection 2 1:0", "collection 128 1:0"));
    const auto descriptor = parsed("05 01 a1 01 a1 00 c0 a1 00 c0 c0 a1 01 c0");
    EXPECT_THAT(descriptor.parents, ElementsAre(ReportDescriptor::noParent, 0, 0, ReportDescriptor::noParent));
    EXPECT_TRUE(descriptor.elements.front().hasPreferredState);
}

TEST(ReportDescriptor, NamesAllApplicationCollectionsAlsoNestedOnes) {
    const auto descriptor = parsed("05 01 09 05 a1 01 05 0c 09 01 a1 01 c0 c0 05 01 09 02 a1 01 09 01 a1 00 c0 c0");
    std::vector<std::string> pairs;
    for (const HIDUsagePair pair : descriptor.applications) {
        pairs.push_back(joined({hexadecimal(pair.usagePage), ":", hexadecimal(pair.usage)}));
    }
    EXPECT_THAT(pairs, ElementsAre("1:5", "c:1", "1:2"));
}

TEST(ReportDescriptor, SkipsConstantFieldsWhateverUsagesTheyHave) {
    const auto descriptor = parsed(after(byteAxis, "09 30 81 03 09 31 81 01 09 32 81 02"));
    ASSERT_EQ(descriptor.elements.size(), 1U);
    EXPECT_EQ(text(descriptor.elements[0]), "3 1:32 0..255");
    EXPECT_EQ(descriptor.inputs.front().field.offset, 16U);
}

TEST(ReportDescriptor, SkipsTheBitsOfFieldsThatMakeNoElements) {
    // Widths 0 and 33, no field at all, no usage; then one that counts.
    const auto descriptor = parsed(
        after(byteAxis, "75 00 09 30 81 02 75 21 09 30 81 02 75 08 95 00 09 30 81 02 95 02 81 02 95 01 09 31 81 02"));
    ASSERT_EQ(descriptor.elements.size(), 1U);
    EXPECT_EQ(text(descriptor.elements[0]), "3 1:31 0..255");
    EXPECT_EQ(descriptor.inputs.front().field.offset, 33U + 16U);
}

TEST(ReportDescriptor, CountsTheBitsOfEachKindAndReportIDApart) {
    const auto descriptor = parsed(
        after(byteAxis, "85 01 09 30 81 02 09 31 91 02 09 32 b1 02 85 02 09 33 81 02 85 01 09 34 81 02 09 35 81 02"));
    std::vector<std::string> places;
    for (const ReportInput& input : descriptor.inputs) {
        places.push_back(joined({DecimalText(input.reportID), "@", DecimalText(input.field.offset)}));
    }
    EXPECT_THAT(places, ElementsAre("1@0", "2@0", "1@8", "1@16"));
}

TEST(ReportDescriptor, RepeatsTheLastUsageAndDropsSurplusOnes) {
    EXPECT_THAT(elements(after(byteAxis, "95 03 09 30 09 31 81 02 95 01 09 32 09 33 09 34 81 02")),
                ElementsAre("3 1:30 0..255", "3 1:31 0..255", "3 1:31 0..255", "3 1:32 0..255"));
}

TEST(ReportDescriptor, TakesSingleUsagesAndRangesAsTheyCame) {
    EXPECT_THAT(elements(after(buttons, "95 06 09 09 19 03 29 05 09 01 81 02")),
                ElementsAre("2 9:9 0..1", "2 9:3 0..1", "2 9:4 0..1", "2 9:5 0..1", "2 9:1 0..1", "2 9:1 0..1"));
}

TEST(ReportDescriptor, MakesARangeFromTheLastMinimumUnderTheSameMainItem) {
    EXPECT_THAT(elements(after(buttons, "95 03 29 02 81 02")), ElementsAre("2 9:0 0..1", "2 9:1 0..1", "2 9:2 0..1"));
    // The minimum of the main item before is forgotten; one minimum serves two maximums.
    EXPECT_THAT(elements(after(buttons, "95 01 19 08 29 08 81 02 29 00 81 02")),
                ElementsAre("2 9:8 0..1", "2 9:0 0..1"));
    EXPECT_THAT(elements(after(buttons, "95 04 19 01 29 02 29 02 81 02")),
                ElementsAre("2 9:1 0..1", "2 9:2 0..1", "2 9:1 0..1", "2 9:2 0..1"));
}

TEST(ReportDescriptor, TakesARangeThatEndsBelowItsBeginningAsEmpty) {
    EXPECT_THAT(elements(after(buttons, "95 02 19 05 29 04 81 02")), IsEmpty());
    EXPECT_THAT(elements(after(buttons, "95 02 19 05 29 04 09 07 81 02")), ElementsAre("2 9:7 0..1", "2 9:7 0..1"));
}

TEST(ReportDescriptor, EndsTheLocalItemsAtEveryMainItem) {
    EXPECT_THAT(elements(after(byteAxis, "09 30 00 81 02")), IsEmpty()) << "an unknown main item";
    EXPECT_THAT(elements(after(byteAxis, "09 30 81 03 81 02")), IsEmpty()) << "a constant field";
    EXPECT_THAT(elements(after(byteAxis, "a0 09 30 c0 81 02")), ElementsAre("collection 0 1:0")) << "End Collection";
}

TEST(ReportDescriptor, MakesAnElementOfEachUsageOfAnArray) {
    const auto descriptor = parsed("05 07 15 02 25 65 75 08 95 06 19 04 29 06 09 e0 81 00");
    std::vector<std::string> texts;
    for (const HIDElement& element : descriptor.elements) {
        texts.push_back(text(element));
    }
    EXPECT_THAT(texts, ElementsAre("4 7:4 0..1", "4 7:5 0..1", "4 7:6 0..1", "4 7:e0 0..1"));
    const ReportInput& input = descriptor.inputs.front();
    EXPECT_TRUE(input.isArray);
    EXPECT_EQ(input.count, 6U);
    EXPECT_EQ(input.elementCount, 4U);
    EXPECT_EQ(input.logicalMin, 2);
    EXPECT_EQ(input.logicalMax, 0x65);
}

TEST(ReportDescriptor, MakesTheFirst2048UsagesOfAnArray) {
    const auto descriptor = parsed("05 0c 15 00 27 ff ff 00 00 75 10 95 01 1a 00 00 2a ff ff 81 00");
    ASSERT_EQ(descriptor.elements.size(), 2048U);
    EXPECT_EQ(text(descriptor.elements.back()), "2 c:7ff 0..1");
    EXPECT_EQ(elements("05 0c 15 00 25 01 75 10 95 01 1a 00 00 2a fe 07 09 01 09 02 81 00").size(), 2048U);
}

TEST(ReportDescriptor, GivesInputsTheirTypes) {
    EXPECT_THAT(elements("05 07 15 00 25 01 75 08 95 01 09 04 81 00"), ElementsAre("4 7:4 0..1"));
    EXPECT_THAT(elements("05 09 15 00 25 08 75 08 95 01 09 04 81 00"), ElementsAre("2 9:4 0..1"));
    EXPECT_THAT(elements("05 01 15 00 25 01 75 08 95 01 09 30 81 02"), ElementsAre("2 1:30 0..1"));
    EXPECT_THAT(elements("05 01 15 00 25 01 75 08 95 01 09 30 81 06"), ElementsAre("2 1:30 0..1"));
    EXPECT_THAT(elements(after(byteAxis, "95 04 09 2f 09 30 09 38 09 39 81 02")),
                ElementsAre("1 1:2f 0..255", "3 1:30 0..255", "3 1:38 0..255", "1 1:39 0..255"));
    EXPECT_THAT(elements(after(byteAxis, "09 30 81 06")), ElementsAre("1 1:30 0..255")) << "relative";
    EXPECT_THAT(elements(after(byteAxis, "05 02 09 30 81 02")), ElementsAre("1 2:30 0..255")) << "another page";
    EXPECT_THAT(elements(after(byteAxis, "05 07 09 30 81 02")), ElementsAre("1 7:30 0..255")) << "no Array";
}

TEST(ReportDescriptor, TakesTheTypeFromTheElementsOwnPage) {
    EXPECT_THAT(elements("05 07 15 00 25 01 75 08 95 02 09 04 0b 01 00 09 00 81 00"),
                ElementsAre("4 7:4 0..1", "2 9:1 0..1"));
    EXPECT_THAT(elements(after(byteAxis, "05 02 0b 30 00 01 00 81 02")), ElementsAre("3 1:30 0..255"));
}

TEST(ReportDescriptor, GivesOutputsAndFeaturesOneTypeEach) {
    EXPECT_THAT(elements(after(byteAxis, "09 30 91 02 09 30 b1 02")),
                ElementsAre("129 1:30 0..255", "257 1:30 0..255"));
    EXPECT_THAT(elements("05 08 15 00 25 03 75 08 95 01 19 01 29 02 91 00 09 03 b1 00"),
                ElementsAre("129 8:1 0..1", "129 8:2 0..1", "257 8:3 0..1"));
    EXPECT_THAT(parsed(after(byteAxis, "09 30 91 02 09 30 b1 02")).inputs, IsEmpty());
}

TEST(ReportDescriptor, TakesALongUsageWithItsOwnPage) {
    EXPECT_THAT(elements(after(byteAxis, "0b 31 00 02 00 81 02 09 30 81 02")),
                ElementsAre("1 2:31 0..255", "3 1:30 0..255"));
    EXPECT_THAT(elements(after(byteAxis, "0b 31 00 00 00 81 02")), ElementsAre("3 1:31 0..255"))
        << "an upper half of 0 is no page";
}

TEST(ReportDescriptor, TakesARangesPageFromTheMaximumThenTheMinimum) {
    EXPECT_THAT(elements(after(buttons, "95 02 1b 01 00 02 00 2b 02 00 03 00 81 02")),
                ElementsAre("2 3:1 0..1", "2 3:2 0..1"));
    EXPECT_THAT(elements(after(buttons, "95 02 1b 01 00 02 00 29 02 81 02")), ElementsAre("2 2:1 0..1", "2 2:2 0..1"));
    EXPECT_THAT(elements(after(buttons, "95 02 19 01 2b 02 00 03 00 81 02")), ElementsAre("2 3:1 0..1", "2 3:2 0..1"));
    EXPECT_THAT(elements(after(buttons, "95 02 1b 05 00 02 00 2b 01 00 03 00 81 02")), IsEmpty())
        << "the pages do not count for which end is the lower one";
    // Named between the two, and again before the field: the page at the maximum is the range's.
    EXPECT_THAT(elements("05 01 15 00 25 01 75 01 95 03 19 01 05 09 29 02 05 0c 09 05 81 02"),
                ElementsAre("2 9:1 0..1", "2 9:2 0..1", "2 c:5 0..1"));
}

TEST(ReportDescriptor, KeepsSeveralPagesInOneField) {
    EXPECT_THAT(elements("05 09 15 00 25 01 75 01 95 03 19 01 29 02 05 0c 0a 23 02 81 02"),
                ElementsAre("2 9:1 0..1", "2 9:2 0..1", "2 c:223 0..1"));
}

TEST(ReportDescriptor, GivesAPageNamedLateToTheUsagesBeforeIt) {
    EXPECT_THAT(elements("05 01 15 00 25 01 75 01 95 02 09 01 09 02 05 09 81 02"),
                ElementsAre("2 9:1 0..1", "2 9:2 0..1"));
    // Back to the first that has it already, and no further.
    EXPECT_THAT(elements("05 01 15 00 25 01 75 01 95 04 09 01 05 09 09 02 05 0c 09 03 05 01 09 04 05 09 81 02"),
                ElementsAre("2 1:1 0..1", "2 9:2 0..1", "2 9:3 0..1", "2 9:4 0..1"));
    // Not when the last short usage has it; usages with a page of their own neither take it nor stop it.
    EXPECT_THAT(elements("05 01 15 00 25 01 75 01 95 02 09 01 05 09 09 02 81 02"),
                ElementsAre("2 1:1 0..1", "2 9:2 0..1"));
    EXPECT_THAT(elements("05 01 15 00 25 01 75 01 95 03 09 01 0b 07 00 0c 00 09 02 05 09 81 02"),
                ElementsAre("2 9:1 0..1", "2 c:7 0..1", "2 9:2 0..1"));
    EXPECT_THAT(elements("05 01 15 00 25 01 75 01 95 02 09 01 0b 07 00 0c 00 05 09 81 02"),
                ElementsAre("2 9:1 0..1", "2 c:7 0..1"));
    EXPECT_THAT(elements("05 0c 09 05 05 01 a1 01 c0"), ElementsAre("collection 1 1:5")) << "collections too";
    EXPECT_THAT(elements("05 01 15 00 25 01 75 01 95 01 09 01 09 02 05 09 81 02"), ElementsAre("2 9:1 0..1"))
        << "although the last one is a surplus";
    EXPECT_THAT(elements("05 01 15 00 25 01 75 01 95 02 09 01 a9 01 09 02 05 09 09 03 a9 00 81 02"),
                ElementsAre("2 9:1 0..1", "2 9:2 0..1"))
        << "an alternative that does not count is no last usage";
    EXPECT_THAT(elements("05 01 15 00 25 01 75 01 95 02 19 01 29 02 05 09 81 02"),
                ElementsAre("2 9:1 0..1", "2 9:2 0..1"))
        << "ranges too";
}

TEST(ReportDescriptor, CutsPagesTo16Bits) {
    EXPECT_THAT(elements("07 09 00 01 00 15 00 25 01 75 01 95 01 09 01 81 02"), ElementsAre("2 9:1 0..1"));
    EXPECT_THAT(elements("06 00 ff 15 00 25 01 75 01 95 01 09 01 81 02"), ElementsAre("2 ff00:1 0..1"));
}

TEST(ReportDescriptor, SavesAllGlobalsAndGivesThemBack) {
    const auto descriptor =
        parsed("05 01 15 81 25 7f 75 08 95 01 85 03 a4 05 09 15 00 25 01 75 01 95 02 85 04 09 01 81 02 b4 09 36 81 02");
    std::vector<std::string> texts;
    for (const HIDElement& element : descriptor.elements) {
        texts.push_back(text(element));
    }
    EXPECT_THAT(texts, ElementsAre("2 9:1 0..1", "2 9:1 0..1", "3 1:36 -127..127"));
    EXPECT_EQ(descriptor.inputs[0].reportID, 4U);
    EXPECT_EQ(descriptor.inputs[1].reportID, 3U);
    EXPECT_EQ(descriptor.inputs[1].field.width, 8);
    EXPECT_EQ(descriptor.inputs[1].count, 1U);
}

TEST(ReportDescriptor, CountsTheFirstOfADelimitedSet) {
    EXPECT_THAT(elements(after(byteAxis, "95 02 a9 01 09 30 09 31 19 36 29 37 a9 00 09 32 81 02")),
                ElementsAre("3 1:30 0..255", "3 1:32 0..255"));
    EXPECT_THAT(elements(after(buttons, "95 03 a9 01 19 03 29 04 09 31 a9 00 a9 01 09 07 09 08 a9 00 81 02")),
                ElementsAre("2 9:3 0..1", "2 9:4 0..1", "2 9:7 0..1"));
    EXPECT_THAT(elements(after(byteAxis, "a9 01 09 30 09 31 81 02 95 02 09 32 09 33 81 02")),
                ElementsAre("3 1:30 0..255", "3 1:32 0..255", "3 1:33 0..255"))
        << "a set that is left open ends with the main item";
    EXPECT_THAT(elements(after(buttons, "95 01 a9 01 19 05 29 04 09 07 a9 00 81 02")), IsEmpty())
        << "an empty range is the first alternative all the same";
    EXPECT_THAT(elements(after(byteAxis, "95 02 a9 01 09 30 a9 01 09 31 a9 00 09 32 81 02")),
                ElementsAre("3 1:30 0..255", "3 1:32 0..255"))
        << "a set that is opened twice is one";
}

TEST(ReportDescriptor, ReadsLogicalMaximumByTheSignOfTheMinimum) {
    EXPECT_THAT(elements("05 01 15 00 26 ff ff 75 10 95 01 09 30 81 02"), ElementsAre("3 1:30 0..65535"));
    EXPECT_THAT(elements("05 01 25 ff 15 00 75 08 95 01 09 30 81 02"), ElementsAre("3 1:30 0..255"));
    EXPECT_THAT(elements("05 01 15 81 25 ff 75 08 95 01 09 30 81 02"), ElementsAre("3 1:30 -127..-1"));
    EXPECT_THAT(elements("05 01 25 ff 15 81 75 08 95 01 09 30 81 02"), ElementsAre("3 1:30 -127..-1"))
        << "whichever came first";
    EXPECT_THAT(elements("05 01 15 00 27 ff ff ff ff 75 20 95 01 09 30 81 02"), ElementsAre("3 1:30 0..4294967295"));
    EXPECT_THAT(elements("05 01 17 00 00 00 80 27 ff ff ff 7f 75 20 95 01 09 30 81 02"),
                ElementsAre("3 1:30 -2147483648..2147483647"));
    EXPECT_THAT(elements("05 01 15 00 26 ff ff 75 10 95 01 09 30 81 02 15 ff 09 31 81 02"),
                ElementsAre("3 1:30 0..65535", "3 1:31 -1..-1"))
        << "read anew at each main item";
    EXPECT_THAT(elements("05 01 16 00 80 a4 26 ff ff 15 00 b4 26 ff 7f 75 10 95 01 09 30 81 02"),
                ElementsAre("3 1:30 -32768..32767"));
}

TEST(ReportDescriptor, LeavesAMaximumBelowTheMinimumAsDeclared) {
    EXPECT_THAT(elements("05 01 15 0a 25 05 75 08 95 01 09 30 81 02"), ElementsAre("3 1:30 10..5"));
}

TEST(ReportDescriptor, GivesABitTheRange0To1) {
    EXPECT_THAT(elements("05 09 15 00 26 ff 03 75 01 95 01 09 01 81 02"), ElementsAre("2 9:1 0..1"));
    EXPECT_THAT(elements("05 09 15 00 24 75 01 95 01 09 01 91 02"), ElementsAre("129 9:1 0..1"));
    EXPECT_THAT(elements("05 09 15 01 25 02 75 01 95 01 09 01 81 02"), ElementsAre("1 9:1 1..2"));
    EXPECT_THAT(elements("05 09 15 00 25 02 75 02 95 01 09 01 81 02"), ElementsAre("1 9:1 0..2"));
}

TEST(ReportDescriptor, SignsFieldsOnlyBelowZero) {
    EXPECT_TRUE(parsed("05 01 15 ff 25 01 75 08 95 01 09 30 81 02").inputs.front().field.isSigned);
    EXPECT_FALSE(parsed("05 01 15 00 25 ff 75 08 95 01 09 30 81 02").inputs.front().field.isSigned);
}

TEST(ReportDescriptor, TakesThePreferredStateFromTheFlag) {
    const auto descriptor = parsed(after(byteAxis, "09 30 81 02 09 31 81 22 05 07 19 01 29 02 81 20"));
    EXPECT_TRUE(descriptor.elements[0].hasPreferredState);
    EXPECT_FALSE(descriptor.elements[1].hasPreferredState);
    EXPECT_FALSE(descriptor.elements[2].hasPreferredState);
    EXPECT_FALSE(descriptor.elements[3].hasPreferredState);
}

TEST(ReportDescriptor, SkipsWhatItDoesNotKnow) {
    EXPECT_THAT(elements(after(byteAxis, "09 30 fe 02 17 aa bb c5 01 e5 02 39 03 79 04 0d 05 6e 07 08 81 02 00")),
                ElementsAre("3 1:30 0..255"))
        << "a long item, global, local and reserved items, and a 00 at the end";
    EXPECT_THAT(elements("fe 00 00"), IsEmpty());
}

TEST(ReportDescriptor, SaysWhetherInputReportsBeginWithAnID) {
    EXPECT_FALSE(parsed(after(byteAxis, "09 30 81 02 85 01 09 31 91 02 09 32 b1 02")).inputHasReportIDs);
    EXPECT_TRUE(parsed(after(byteAxis, "09 30 81 02 85 01 09 31 81 02")).inputHasReportIDs);
    EXPECT_TRUE(parsed(after(byteAxis, "09 30 81 02 85 01 81 03")).inputHasReportIDs) << "a constant one counts";
    EXPECT_EQ(parsed(after(byteAxis, "09 30 81 02 85 01 09 31 81 02")).inputs.front().reportID, 0U);
}

TEST(ReportDescriptor, RefusesAnItemThatIsCutOff) {
    EXPECT_EQ(refusal("05 01 26 ff"), "2: the item is cut off");
    EXPECT_EQ(refusal("05"), "0: the item is cut off");
    EXPECT_EQ(refusal("05 01 27 00 00 00"), "2: the item is cut off");
    EXPECT_EQ(refusal("05 01 fe"), "2: the item is cut off");
    EXPECT_EQ(refusal("05 01 fe 02 00 aa"), "2: the item is cut off");
}

TEST(ReportDescriptor, RefusesCollectionsThatDoNotMatch) {
    EXPECT_EQ(refusal("05 01 a1 01 c0 c0"), "5: no collection is open that could end here");
    EXPECT_EQ(refusal("05 01 a1 01 a1 00 c0"), "7: a collection is left open");
}

TEST(ReportDescriptor, RefusesStatesThatDoNotMatch) {
    EXPECT_EQ(refusal("05 01 b4"), "2: no state is pushed that could be popped");
    EXPECT_EQ(refusal("a4 b4 b4"), "2: no state is pushed that could be popped");
    EXPECT_EQ(refusal(repeated("a4", 16)), "") << "what is left pushed is no fault";
    EXPECT_EQ(refusal(repeated("a4", 17)), "16: more than 16 states are pushed");
}

TEST(ReportDescriptor, RefusesAReportIDOutOfRange) {
    EXPECT_EQ(refusal("85 ff"), "");
    EXPECT_EQ(refusal("05 01 85 00"), "2: the Report ID is not within 1 to 255");
    EXPECT_EQ(refusal("05 01 84"), "2: the Report ID is not within 1 to 255");
    EXPECT_EQ(refusal("05 01 86 00 01"), "2: the Report ID is not within 1 to 255");
}

TEST(ReportDescriptor, RefusesCollectionsTooDeep) {
    EXPECT_EQ(refusal(repeated("a0", 64) + repeated("c0", 64)), "");
    EXPECT_EQ(refusal(repeated("a0", 65) + repeated("c0", 65)), "64: more than 64 collections within each other");
}

TEST(ReportDescriptor, RefusesTooManyElements) {
    // 16,383 and one, or two, more.
    EXPECT_EQ(refusal(after(buttons, "96 ff 3f 09 01 81 02 95 01 09 01 81 02")), "");
    EXPECT_EQ(refusal(after(buttons, "96 ff 3f 09 01 81 02 95 01 09 01 81 02 09 01 91 02")),
              "23: more than 16384 elements");
    EXPECT_EQ(refusal(after(buttons, "96 00 40 09 01 81 02 a0 c0")), "15: more than 16384 elements");
    EXPECT_EQ(refusal(after(buttons, "97 ff ff ff ff 75 00 09 01 81 02")), "") << "fields of no width make none";
}

TEST(ReportDescriptor, RefusesTooManyMemberships) {
    // Collections 0 and 1 deep, then elements 2 deep: 1 + 2 * n memberships.
    EXPECT_EQ(refusal("05 09 75 01 a0 a0 96 fd 3f 09 01 81 02 c0 c0"), "");
    EXPECT_EQ(refusal("05 09 75 01 a0 a0 a0 96 a9 2a 09 01 81 02 c0 c0 c0"), "");
    // 3 + 3 * 10,921 = 32,766, and one element two deep or three elements more.
    EXPECT_EQ(refusal("05 09 75 01 a0 a0 a0 96 a9 2a 09 01 81 02 c0 95 01 09 01 81 02 c0 c0"), "");
    EXPECT_EQ(refusal("05 09 75 01 a0 a0 a0 96 a9 2a 09 01 81 02 c0 c0 95 02 09 01 81 02 c0"), "");
    EXPECT_EQ(refusal("05 09 75 01 a0 a0 a0 96 a9 2a 09 01 81 02 c0 c0 95 03 09 01 81 02 c0"),
              "20: more than 32768 memberships of elements in collections");
    EXPECT_EQ(refusal("05 09 75 01 a0 a0 a0 96 aa 2a 09 01 81 02 c0 c0 c0"),
              "12: more than 32768 memberships of elements in collections");
}

TEST(ReportDescriptor, RefusesAReportThatIsTooLong) {
    EXPECT_EQ(refusal("75 08 96 00 40 81 01"), "");
    EXPECT_EQ(refusal("75 08 96 01 40 81 01"), "5: a report of more than 16384 bytes");
    EXPECT_EQ(refusal("75 08 96 00 40 81 01 91 01 b1 01 85 01 81 01"), "") << "each kind and ID has its own";
    EXPECT_EQ(refusal("75 08 96 00 40 81 01 75 01 95 01 81 01"), "11: a report of more than 16384 bytes");
    EXPECT_EQ(refusal("77 ff ff ff ff 97 ff ff ff ff 81 01"), "10: a report of more than 16384 bytes");
    EXPECT_EQ(refusal("77 00 00 00 80 95 02 81 01"), "7: a report of more than 16384 bytes");
}

TEST(ReportDescriptor, RefusesADescriptorThatIsTooLong) {
    EXPECT_EQ(refusal(std::vector<std::uint8_t>(4096)), "");
    EXPECT_EQ(refusal(std::vector<std::uint8_t>(4097)), "4096: more than 4096 bytes");
    EXPECT_EQ(refusal(repeated("00", 4095) + "05 01"), "4095: more than 4096 bytes") << "the item that goes beyond";
    EXPECT_EQ(refusal("c0" + repeated("00", 5000)), "0: no collection is open that could end here");
}

TEST(ReportDescriptor, NamesTheFirstFault) {
    EXPECT_EQ(refusal("85 00 c0 26 00"), "0: the Report ID is not within 1 to 255");
}

} // namespace
} // namespace qz::platform
