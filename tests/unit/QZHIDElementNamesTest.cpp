// SPDX-License-Identifier: MIT
#include "HIDWrapper/QZHIDElementNames.h"

#include "tests/support/ElementFixture.h"

#include <gtest/gtest.h>

#include <array>

namespace qz::platform {
namespace {

constexpr std::array movingNames{"X", "Y", "Z", "Rx", "Ry", "Rz", "Slider", "Dial", "Wheel"};
constexpr std::array padNames{"Up", "Down", "Right", "Left"};

/// Name and key, separated by a bar.
std::string namesOf(QZHIDElementType type, std::uint32_t page, std::uint32_t usage) {
    const LooseElement element(elementOf(1, type, page, usage));
    return element->name() + "|" + element->nameKey();
}

/// Name and key of what has this name in a table.
std::string tableNames(const char* name) {
    std::string names(name);
    names += "|QZHID_";
    return names += name;
}

TEST(BaseNames, OfMovingControlsRunFromXToHatswitch) {
    constexpr std::array names{"X", "Y", "Z", "Rx", "Ry", "Rz", "Slider", "Dial", "Wheel", "Hatswitch"};
    for (std::size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(movingControlBaseName(0x30 + static_cast<std::int64_t>(i)), names[i]);
    }
    for (const std::int64_t usage : {-0x30, -1, 0, 9, 0x2F, 0x3A, 0x90, 0x130}) {
        EXPECT_EQ(movingControlBaseName(usage), std::nullopt) << usage;
    }
    EXPECT_EQ(movingControlBaseName(0xFFFFFFFF), std::nullopt);
    EXPECT_EQ(movingControlBaseName(0x100000030), std::nullopt);
}

TEST(BaseNames, OfDirectionPadPartsRunFromUpToLeft) {
    for (std::size_t i = 0; i < padNames.size(); ++i) {
        EXPECT_EQ(padPartBaseName(0x90 + static_cast<std::int64_t>(i)), padNames[i]);
    }
    for (const std::int64_t usage : {-1, 0, 3, 0x30, 0x8F, 0x94, 0x190}) {
        EXPECT_EQ(padPartBaseName(usage), std::nullopt) << usage;
    }
    EXPECT_EQ(padPartBaseName(0x100000090), std::nullopt);
}

TEST(ElementNames, OfPushButtonsHoldTheirNumber) {
    for (const QZHIDElementType type : {1, 2}) {
        EXPECT_EQ(namesOf(type, 0x09, 1), "Button 1|QZHID_Button1");
        EXPECT_EQ(namesOf(type, 0x09, 3), "Button 3|QZHID_Button3");
        EXPECT_EQ(namesOf(type, 0x09, 0), "Button 0|QZHID_Button0");
        EXPECT_EQ(namesOf(type, 0x09, 48), "Button 48|QZHID_Button48");
        EXPECT_EQ(namesOf(type, 0x09, 0x223), "Button 547|QZHID_Button547");
        EXPECT_EQ(namesOf(type, 0x09, 0xFFFFFFFF), "Button 4294967295|QZHID_Button4294967295");
    }
}

TEST(ElementNames, OfButtonsOfAnotherTypeAreGeneric) {
    for (const QZHIDElementType type : {0, -1, 3, 4, 129, 257, 513, 999}) {
        EXPECT_EQ(namesOf(type, 0x09, 3), "9 / 3|QZHID_9_3") << type;
    }
}

TEST(ElementNames, OfMovingControlsComeFromTheTable) {
    for (std::uint32_t i = 0; i < movingNames.size(); ++i) {
        for (const QZHIDElementType type : {1, 3}) {
            EXPECT_EQ(namesOf(type, 0x01, 0x30 + i), tableNames(movingNames[i]));
        }
    }
}

TEST(ElementNames, OfAxesOfAnotherTypeOrPageAreGeneric) {
    for (const QZHIDElementType type : {0, -1, 2, 4, 129, 257, 513, 999}) {
        EXPECT_EQ(namesOf(type, 0x01, 0x35), "1 / 53|QZHID_1_53") << type;
    }
    EXPECT_EQ(namesOf(QZHIDElementTypeAxis, 0x02, 0x30), "2 / 48|QZHID_2_48");
    EXPECT_EQ(namesOf(QZHIDElementTypeAxis, 0x01, 0x2F), "1 / 47|QZHID_1_47");
}

TEST(ElementNames, OfAHatAreGenericAndNeverHatswitch) {
    for (const QZHIDElementType type : {1, 2, 3}) {
        EXPECT_EQ(namesOf(type, 0x01, 0x39), "1 / 57|QZHID_1_57");
    }
}

TEST(ElementNames, OfDirectionPadPartsComeFromTheTableForAnyType) {
    for (const QZHIDElementType type : {0, -1, 1, 2, 3, 4, 129, 257, 513, 999}) {
        for (std::uint32_t i = 0; i < padNames.size(); ++i) {
            EXPECT_EQ(namesOf(type, 0x01, 0x90 + i), tableNames(padNames[i]));
        }
        EXPECT_EQ(namesOf(type, 0x01, 0x8F), "1 / 143|QZHID_1_143");
        EXPECT_EQ(namesOf(type, 0x01, 0x94), "1 / 148|QZHID_1_148");
    }
    EXPECT_EQ(namesOf(QZHIDElementTypeButton, 0x02, 0x90), "2 / 144|QZHID_2_144");
}

TEST(ElementNames, OfConsumerControlsAreHomeOrGenericWithTheKeysPrefixTwice) {
    for (const QZHIDElementType type : {0, -1, 1, 2, 3, 4, 129, 257, 513, 999}) {
        EXPECT_EQ(namesOf(type, 0x0C, 0x223), "Home|QZHID_Home");
        EXPECT_EQ(namesOf(type, 0x0C, 0xE9), "12 / 233|QZHID_QZHID_12_233");
        EXPECT_EQ(namesOf(type, 0x0C, 0), "12 / 0|QZHID_QZHID_12_0");
        EXPECT_EQ(namesOf(type, 0x0C, 0x30), "12 / 48|QZHID_QZHID_12_48");
        EXPECT_EQ(namesOf(type, 0x0C, 0x222), "12 / 546|QZHID_QZHID_12_546");
        EXPECT_EQ(namesOf(type, 0x0C, 0x224), "12 / 548|QZHID_QZHID_12_548");
    }
    EXPECT_EQ(namesOf(QZHIDElementTypeButton, 0x01, 0x223), "1 / 547|QZHID_1_547");
}

TEST(ElementNames, OfEverythingElseArePageAndUsageInDecimal) {
    EXPECT_EQ(namesOf(QZHIDElementTypeCollection, 0x01, 0x05), "1 / 5|QZHID_1_5");
    EXPECT_EQ(namesOf(QZHIDElementTypeMisc, 0xFF00, 1), "65280 / 1|QZHID_65280_1");
    EXPECT_EQ(namesOf(QZHIDElementTypeScanCodes, 0x07, 0x2C), "7 / 44|QZHID_7_44");
    EXPECT_EQ(namesOf(QZHIDElementTypeOutput, 0x08, 0x4B), "8 / 75|QZHID_8_75");
    EXPECT_EQ(namesOf(QZHIDElementTypeMisc, 0, 0), "0 / 0|QZHID_0_0");
    EXPECT_EQ(namesOf(QZHIDElementTypeMisc, 0xFFFFFFFF, 0xFFFFFFFE),
              "4294967295 / 4294967294|QZHID_4294967295_4294967294");
}

TEST(ElementNames, DoNotDependOnTheCookieOrThePlace) {
    const ElementHost host(std::vector{collection(1, {2}), xAxis(16), xAxis(17, -5, 5)});
    for (const auto& axis : {host.element(1), host.element(2), host.element(0)->ownedElements()->at(0)}) {
        EXPECT_EQ(axis->name(), "X");
        EXPECT_EQ(axis->nameKey(), "QZHID_X");
    }
}

TEST(ElementDescription, IsOneLineForAnElementThatIsNoCollection) {
    const LooseElement axis(xAxis(16, 0, 255));
    EXPECT_EQ(axis->description(), identityOf(*axis) + "; cookie = 16, name = X, nameKey = QZHID_X, type = 3, "
                                                       "logmin/max = 0/255, usage = 0x0030, usagePage = 0x0001");
}

TEST(ElementDescription, WritesNumbersAsTheyAre) {
    const LooseElement odd(elementOf(0xFFFFFFFF, -1, 0xFFFFFFFF, 0xABCDE, int64Min, int64Max));
    EXPECT_EQ(odd->description(), identityOf(*odd) + "; cookie = 4294967295, name = 4294967295 / 703710, nameKey = "
                                                     "QZHID_4294967295_703710, type = -1, logmin/max = "
                                                     "-9223372036854775808/9223372036854775807, usage = 0xabcde, "
                                                     "usagePage = 0xffffffff");
    const LooseElement home(elementOf(0, 999, 0x0C, 0x223, -5, -7));
    EXPECT_EQ(home->description(), identityOf(*home) + "; cookie = 0, name = Home, nameKey = QZHID_Home, type = 999, "
                                                       "logmin/max = -5/-7, usage = 0x0223, usagePage = 0x000c");
    const LooseElement nothing(elementOf(7, 0, 0, 0, 0, 0));
    EXPECT_EQ(nothing->description(), identityOf(*nothing) + "; cookie = 7, name = 0 / 0, nameKey = QZHID_0_0, "
                                                             "type = 0, logmin/max = 0/0, usage = 0x0000, "
                                                             "usagePage = 0x0000");
}

TEST(ElementDescription, ShowsTheLogicalRangeNotTheObservedOne) {
    const LooseElement axis(xAxis(16, 0, 255));
    axis->setObservedMin(3);
    axis->setObservedMax(252);
    EXPECT_NE(axis->description().find("logmin/max = 0/255,"), std::string::npos);
}

TEST(ElementDescription, IsIndentedByFourBlanksALevel) {
    const LooseElement axis(xAxis());
    const std::string line = axis->description();
    EXPECT_EQ(line.front(), '<');
    EXPECT_EQ(axis->descriptionAtLevel(1), "    " + line);
    EXPECT_EQ(axis->descriptionAtLevel(3), std::string(12, ' ') + line);
    EXPECT_EQ(axis->descriptionAtLevel(0), line);
    EXPECT_EQ(axis->descriptionAtLevel(-1), line);
    EXPECT_EQ(axis->descriptionAtLevel(std::numeric_limits<std::int32_t>::min()), line);
}

TEST(ElementDescription, ListsTheMembersOfACollectionAtTheirPlace) {
    const ElementHost host(std::vector{collection(1, {1, 2, 4}), button(2, 7), collection(3, {3}), hat(4), xAxis(5)});
    const auto& outer = *host.element(0);
    const auto& members = *outer.ownedElements();
    const auto& nested = *members.at(1);
    const std::string expected =
        identityOf(outer) +
        "; cookie = 1, name = 1 / 5, nameKey = QZHID_1_5, type = 513, logmin/max = 0/0, usage = 0x0005, "
        "usagePage = 0x0001, collection type = 2. Children:\n"
        "--- begin collection ---\n"
        "    " +
        identityOf(*members.at(0)) +
        "; cookie = 2, name = Button 7, nameKey = QZHID_Button7, type = 2, logmin/max = 0/1, usage = 0x0007, "
        "usagePage = 0x0009\n"
        "    " +
        identityOf(nested) +
        "; cookie = 3, name = 1 / 5, nameKey = QZHID_1_5, type = 513, logmin/max = 0/0, usage = 0x0005, "
        "usagePage = 0x0001, collection type = 2. Children:\n"
        "    --- begin collection ---\n"
        "        " +
        identityOf(*nested.ownedElements()->at(0)) +
        "; cookie = 4, name = 1 / 57, nameKey = QZHID_1_57, type = 1, logmin/max = 0/7, usage = 0x0039, "
        "usagePage = 0x0001\n"
        "    --- end collection ---\n"
        "    " +
        identityOf(*members.at(2)) +
        "; cookie = 5, name = X, nameKey = QZHID_X, type = 3, logmin/max = 0/255, usage = 0x0030, "
        "usagePage = 0x0001\n"
        "--- end collection ---";
    EXPECT_EQ(outer.description(), expected);
}

TEST(ElementDescription, OfACollectionBeginsAtTheLevelAskedFor) {
    const ElementHost host(std::vector{collection(1, {1}), button(2)});
    const auto& group = *host.element(0);
    const std::string line = "; cookie = 1, name = 1 / 5, nameKey = QZHID_1_5, type = 513, logmin/max = 0/0, "
                             "usage = 0x0005, usagePage = 0x0001, collection type = 2. Children:\n";
    const std::string member = group.ownedElements()->at(0)->description();
    EXPECT_EQ(group.descriptionAtLevel(2), "        " + identityOf(group) + line +
                                               "        --- begin collection ---\n"
                                               "            " +
                                               member + "\n        --- end collection ---");
    // Below zero the members stay unindented for as long as the level does.
    EXPECT_EQ(group.descriptionAtLevel(-1),
              identityOf(group) + line + "--- begin collection ---\n" + member + "\n--- end collection ---");
}

TEST(ElementDescription, OfACollectionWithoutMembersIsTheSameForNoListAndAnEmptyOne) {
    for (VirtualElement shape : {collection(9), collection(9, {})}) {
        shape.collectionType = 0x80;
        const ElementHost host(std::vector{shape});
        EXPECT_EQ(host.element()->description(),
                  identityOf(*host.element()) +
                      "; cookie = 9, name = 1 / 5, nameKey = QZHID_1_5, type = 513, logmin/max = 0/0, "
                      "usage = 0x0005, usagePage = 0x0001, collection type = 128. Children:\n"
                      "--- begin collection ---\n"
                      "--- end collection ---");
    }
}

TEST(ElementDescription, NamesTheCollectionTypeNoneAfterAChangeOfMembersAlone) {
    // Owned elements that the application gave to an element that is no collection are not described.
    const ElementHost host(std::vector{xAxis(16), button(17)});
    host.element(0)->setOwnedElements(std::vector{host.element(1)});
    EXPECT_EQ(host.element(0)->description().find('\n'), std::string::npos);
}

} // namespace
} // namespace qz::platform
