// SPDX-License-Identifier: MIT
#include "HIDWrapper/QZHIDElement.h"

#include "QZGameController/QZGCCalibrationValues.h"
#include "tests/support/ElementFixture.h"

#include <gtest/gtest.h>

#include <set>
#include <type_traits>

namespace qz::platform {
namespace {

using Array = PropertyList::Array;
using Dictionary = PropertyList::Dictionary;

// Types, as exported

TEST(QZHIDElementType, HasThePlatformsNumbers) {
    static_assert(std::is_same_v<QZHIDElementType, std::int32_t>);
    EXPECT_EQ(QZHIDElementTypeMisc, 1);
    EXPECT_EQ(QZHIDElementTypeButton, 2);
    EXPECT_EQ(QZHIDElementTypeAxis, 3);
    EXPECT_EQ(QZHIDElementTypeScanCodes, 4);
    EXPECT_EQ(QZHIDElementTypeOutput, 129);
    EXPECT_EQ(QZHIDElementTypeFeature, 257);
    EXPECT_EQ(QZHIDElementTypeCollection, 513);
}

TEST(QZHIDElementType, NumbersCollectionsAsTheHIDStandardDoes) {
    static_assert(std::is_same_v<QZHIDElementCollectionType, std::int32_t>);
    EXPECT_EQ(QZHIDElementCollectionTypeNone, -1);
    EXPECT_EQ(QZHIDElementCollectionTypePhysical, 0);
    EXPECT_EQ(QZHIDElementCollectionTypeApplication, 1);
    EXPECT_EQ(QZHIDElementCollectionTypeLogical, 2);
    EXPECT_EQ(QZHIDElementCollectionTypeReport, 3);
    EXPECT_EQ(QZHIDElementCollectionTypeNamedArray, 4);
    EXPECT_EQ(QZHIDElementCollectionTypeUsageSwitch, 5);
    EXPECT_EQ(QZHIDElementCollectionTypeUsageModifier, 6);
}

// Attributes

TEST(QZHIDElement, AnswersTheAttributesOfItsRecord) {
    VirtualElement shape = elementOf(16, QZHIDElementTypeFeature, 0xFF00, 0x1234, -127, 128);
    shape.preferredState = false;
    const ElementHost host(std::vector{shape});
    const QZHIDElement& element = *host.element();
    EXPECT_EQ(element.ioHIDElementRef(), host.plugged->element(0));
    EXPECT_EQ(element.cookie(), 16);
    EXPECT_EQ(element.type(), 257);
    EXPECT_EQ(element.usagePage(), 0xFF00);
    EXPECT_EQ(element.usage(), 0x1234);
    EXPECT_EQ(element.theoreticalMin(), -127);
    EXPECT_EQ(element.theoreticalMax(), 128);
    EXPECT_FALSE(element.hasPreferredState());
    EXPECT_TRUE(LooseElement(xAxis())->hasPreferredState());
}

TEST(QZHIDElement, WidensCookieUsageAndPageWithZeros) {
    for (const std::uint32_t number : {0x7FFFFFFFU, 0x80000000U, 0x80000001U, 0xFFFFFFFFU}) {
        const LooseElement element(elementOf(number, QZHIDElementTypeMisc, number, number));
        EXPECT_EQ(element->cookie(), static_cast<std::int64_t>(number));
        EXPECT_EQ(element->usagePage(), static_cast<std::int64_t>(number));
        EXPECT_EQ(element->usage(), static_cast<std::int64_t>(number));
        EXPECT_GT(element->cookie(), 0);
    }
}

TEST(QZHIDElement, OnlyACollectionHasACollectionType) {
    for (const std::int32_t collectionType : {-1, 0, 1, 2, 3, 4, 5, 6, 7, 255, 1000}) {
        VirtualElement shape = collection(1);
        shape.collectionType = collectionType;
        EXPECT_EQ(LooseElement(shape)->collectionType(), collectionType);
        for (const QZHIDElementType type : {0, -1, 1, 2, 3, 4, 129, 257, 512, 514, 999}) {
            shape.type = type;
            EXPECT_EQ(LooseElement(shape)->collectionType(), QZHIDElementCollectionTypeNone) << type;
        }
    }
}

TEST(QZHIDElement, BeginsWithTheFieldsThatTheApplicationMaySet) {
    for (const VirtualElement& shape : {xAxis(), throttle(1), button(2), hat(3), collection(4)}) {
        const LooseElement element(shape);
        EXPECT_FALSE(element->twoState());
        EXPECT_EQ(element->hysteresis(), 0.0);
        EXPECT_EQ(element->calibrationMin(), 0);
        EXPECT_EQ(element->calibrationMax(), 0);
    }
}

TEST(QZHIDElement, LetsEveryFieldButTheDeviceBeWritten) {
    const ElementHost host(std::vector{xAxis(), button(17)});
    QZHIDElement& element = *host.element();
    element.setTwoState(true);
    element.setObservedMin(-1);
    element.setObservedMax(-2);
    element.setObservedNeutral(-3);
    element.setHysteresis(-0.5);
    element.setLastReportedValue(7.5);
    element.setCalibrationMin(11);
    element.setCalibrationMax(12);
    element.setElementOwner(host.element(1));
    element.setOwnedElements(std::vector{host.element(1)});
    element.setIoHIDElementRef(host.plugged->element(1));
    EXPECT_TRUE(element.twoState());
    EXPECT_EQ(element.observedMin(), -1);
    EXPECT_EQ(element.observedMax(), -2);
    EXPECT_EQ(element.observedNeutral(), -3);
    EXPECT_EQ(element.hysteresis(), -0.5);
    EXPECT_EQ(element.lastReportedValue(), 7.5);
    EXPECT_EQ(element.calibrationMin(), 11);
    EXPECT_EQ(element.calibrationMax(), 12);
    EXPECT_EQ(element.elementOwner(), host.element(1));
    ASSERT_TRUE(element.ownedElements());
    EXPECT_EQ(element.ownedElements()->front(), host.element(1));
    EXPECT_EQ(element.ioHIDElementRef(), host.plugged->element(1));
    EXPECT_EQ(element.device(), host.device);
}

TEST(QZHIDElement, ReadsTheAttributesOfAReplacedReferenceFromThenOn) {
    const ElementHost host(std::vector{xAxis(16, 0, 255), button(17, 3), collection(18)});
    QZHIDElement& element = *host.element();
    element.setIoHIDElementRef(host.plugged->element(1));
    EXPECT_EQ(element.cookie(), 17);
    EXPECT_EQ(element.name(), "Button 3");
    EXPECT_TRUE(element.isPushButton());
    EXPECT_FALSE(element.isSubjectToCalibration());
    EXPECT_EQ(element.theoreticalMax(), 1);
    element.setIoHIDElementRef(host.plugged->element(2));
    EXPECT_EQ(element.collectionType(), QZHIDElementCollectionTypeLogical);
    // What construction took from the first reference stays.
    EXPECT_EQ(element.observedMax(), 255);
    EXPECT_EQ(element.observedNeutral(), 127);
    EXPECT_EQ(element.lastReportedValue(), 0.5);
    EXPECT_FALSE(element.ownedElements());
    EXPECT_EQ(host.device->elementWithCookie(16).get(), &element);
}

TEST(QZHIDElement, AReplacedReferenceIsKeptLikeTheFirst) {
    const ElementHost host(std::vector{xAxis(16)});
    {
        const auto other = host.plug(std::vector{throttle(19, -5, 5)});
        host.element()->setIoHIDElementRef(other->element(0));
        host.platform->hidServices().unplug(other);
    }
    EXPECT_EQ(host.element()->cookie(), 19);
    EXPECT_EQ(host.element()->theoreticalMin(), -5);
    EXPECT_EQ(host.element()->name(), "Slider");
    EXPECT_EQ(host.device->valueForElement(*host.element()), 0);
}

TEST(QZHIDElement, AnswersZeroAndNothingWithoutAReference) {
    const ElementHost host(std::vector{xAxis(16)});
    host.plugged->setLastKnownValue(0, 77);
    QZHIDElement& element = *host.element();
    element.setIoHIDElementRef(nullptr);
    EXPECT_EQ(element.ioHIDElementRef(), nullptr);
    EXPECT_EQ(element.cookie(), 0);
    EXPECT_EQ(element.type(), 0);
    EXPECT_EQ(element.collectionType(), QZHIDElementCollectionTypeNone);
    EXPECT_EQ(element.usage(), 0);
    EXPECT_EQ(element.usagePage(), 0);
    EXPECT_EQ(element.theoreticalMin(), 0);
    EXPECT_EQ(element.theoreticalMax(), 0);
    EXPECT_FALSE(element.hasPreferredState());
    EXPECT_FALSE(element.isMovingControl());
    EXPECT_FALSE(element.isPushButton());
    EXPECT_EQ(element.name(), "0 / 0");
    EXPECT_EQ(element.nameKey(), "QZHID_0_0");
    EXPECT_EQ(element.neutralValue(), std::nullopt);
    EXPECT_EQ(host.device->valueForElement(element), 0);
    EXPECT_EQ(element.normalizedValue(255), 1.0);
    element.startCalibration();
    element.endCalibration();
    EXPECT_EQ(element.observedMax(), 255);
    EXPECT_TRUE(element.valueQualifiesForReporting(1.0));

    const auto made = QZHIDElement::create(nullptr, host.device, host.device, nullptr);
    EXPECT_EQ(made->observedMax(), 0);
    EXPECT_FALSE(made->ownedElements());
    EXPECT_EQ(made->normalizedValue(5), 0.0);
}

// Classification

TEST(QZHIDElement, ClassifiesEveryTypePageAndUsageByTheTable) {
    const std::set<std::uint32_t> movingUsages{0x30, 0x31, 0x32, 0x33, 0x34, 0x35, 0x36, 0x37, 0x38};
    const std::set<std::uint32_t> padUsages{0x90, 0x91, 0x92, 0x93};
    for (const QZHIDElementType type : {0, -1, 1, 2, 3, 4, 5, 128, 129, 256, 257, 512, 513, 514, 999}) {
        for (const std::uint32_t page : {0x00U, 0x01U, 0x02U, 0x07U, 0x09U, 0x0CU, 0xFF00U, 0x10001U, 0x80000001U}) {
            for (const std::uint32_t usage :
                 {0x00U, 0x01U, 0x05U, 0x2FU,  0x30U,    0x31U,    0x32U,       0x33U,       0x34U,
                  0x35U, 0x36U, 0x37U, 0x38U,  0x39U,    0x3AU,    0x8FU,       0x90U,       0x91U,
                  0x92U, 0x93U, 0x94U, 0x223U, 0x10030U, 0x10090U, 0x130U,      0x190U,      0x138U,
                  0xB0U, 0x10U, 0x13U, 0xFFU,  0x3BU,    0xE9U,    0x80000030U, 0xFFFFFF91U, 0xFFFFFFFFU}) {
                SCOPED_TRACE(::testing::Message() << "type " << type << ", page " << page << ", usage " << usage);
                const LooseElement element(elementOf(1, type, page, usage));
                const bool moving = (type == 1 || type == 3) && page == 0x01 && movingUsages.contains(usage);
                EXPECT_EQ(element->isPushButton(), (type == 1 || type == 2) && page == 0x09);
                EXPECT_EQ(element->isConsumerElement(), page == 0x0C);
                EXPECT_EQ(element->isMovingControl(), moving);
                EXPECT_EQ(element->isSubjectToCalibration(), moving);
                EXPECT_EQ(element->isXAxis(), moving && usage == 0x30);
                EXPECT_EQ(element->isYAxis(), moving && usage == 0x31);
                EXPECT_EQ(element->isZAxis(), moving && usage == 0x32);
                EXPECT_EQ(element->isRzAxis(), moving && usage == 0x35);
                EXPECT_EQ(element->isPartOfDirectionPad(), page == 0x01 && padUsages.contains(usage));
                EXPECT_EQ(element->isCollection(), type == 513);
                EXPECT_EQ(element->type(), type);
            }
        }
    }
}

TEST(QZHIDElement, AnXAxisOfTypeButtonIsNoMovingControl) {
    const LooseElement element(elementOf(1, QZHIDElementTypeButton, 0x01, 0x30));
    EXPECT_FALSE(element->isMovingControl());
    EXPECT_FALSE(element->isXAxis());
}

TEST(QZHIDElement, AButtonOfTypeAxisIsNoPushButton) {
    EXPECT_FALSE(LooseElement(elementOf(1, QZHIDElementTypeAxis, 0x09, 1))->isPushButton());
}

TEST(QZHIDElement, DPadAndConsumerControlsMayBeOfAnyType) {
    for (const QZHIDElementType type : {0, -1, 1, 2, 3, 4, 129, 257, 513, 999}) {
        EXPECT_TRUE(LooseElement(elementOf(1, type, 0x01, 0x93))->isPartOfDirectionPad()) << type;
        EXPECT_FALSE(LooseElement(elementOf(1, type, 0x01, 0x94))->isPartOfDirectionPad()) << type;
        EXPECT_TRUE(LooseElement(elementOf(1, type, 0x0C, 0x01))->isConsumerElement()) << type;
    }
}

TEST(QZHIDElement, AHatSwitchIsNoMovingControl) {
    const LooseElement element(hat(1));
    EXPECT_FALSE(element->isMovingControl());
    EXPECT_FALSE(element->isSubjectToCalibration());
    EXPECT_EQ(element->lastReportedValue(), 0.0);
}

// Ranges at construction

TEST(QZHIDElement, BeginsWithTheLogicalRangeAndItsMidpointTruncatedTowardZero) {
    struct Case {
        std::int64_t min, max, neutral;
    };
    for (const Case& each : {Case{0, 255, 127},
                             {-127, 128, 0},
                             {-5, 0, -2},
                             {-3, 0, -1},
                             {0, 1023, 511},
                             {-128, 127, 0},
                             {-3, -2, -2},
                             {-1, -1, -1},
                             {1, 2, 1},
                             {3, 3, 3},
                             {255, 0, 127},
                             {5, -10, -2},
                             {-2147483648, 2147483647, 0},
                             {0, 4294967295, 2147483647},
                             {int64Min, int64Max, 0},
                             {int64Max, int64Min, 0},
                             {int64Min, int64Min, int64Min},
                             {int64Max, int64Max, int64Max},
                             {int64Max - 1, int64Max, int64Max - 1},
                             {int64Min, int64Min + 1, int64Min + 1},
                             {int64Min, -1, -4611686018427387904},
                             {0, int64Max, 4611686018427387903}}) {
        SCOPED_TRACE(::testing::Message() << each.min << ".." << each.max);
        const LooseElement element(xAxis(16, each.min, each.max));
        EXPECT_EQ(element->theoreticalMin(), each.min);
        EXPECT_EQ(element->theoreticalMax(), each.max);
        EXPECT_EQ(element->observedMin(), each.min);
        EXPECT_EQ(element->observedMax(), each.max);
        EXPECT_EQ(element->observedNeutral(), each.neutral);
    }
}

TEST(QZHIDElement, TheMidpointIsHalfTheTrueSumForRangesOfAnyKind) {
    __extension__ using Wide = __int128;
    RandomNumbers random;
    for (int i = 0; i < 20000; ++i) {
        const std::int64_t min = random.ofAnyMagnitude();
        const std::int64_t max = random.ofAnyMagnitude();
        const LooseElement element(hat(1, min, max));
        ASSERT_EQ(element->observedNeutral(), static_cast<std::int64_t>((Wide{min} + Wide{max}) / 2))
            << min << ".." << max;
    }
}

TEST(QZHIDElement, TheLastReportedValueBeginsAtRestForSelfCentringMovingControlsAlone) {
    EXPECT_EQ(LooseElement(xAxis())->lastReportedValue(), 0.5);
    EXPECT_EQ(LooseElement(xAxis(16, 3, 3))->lastReportedValue(), 0.5);
    EXPECT_EQ(LooseElement(throttle(1))->lastReportedValue(), 0.0);
    EXPECT_EQ(LooseElement(button(1))->lastReportedValue(), 0.0);
    EXPECT_EQ(LooseElement(hat(1))->lastReportedValue(), 0.0);
    EXPECT_EQ(LooseElement(elementOf(1, QZHIDElementTypeButton, 0x01, 0x30))->lastReportedValue(), 0.0);
    VirtualElement dial = elementOf(1, QZHIDElementTypeMisc, 0x01, 0x37);
    EXPECT_EQ(LooseElement(dial)->lastReportedValue(), 0.5);
    dial.preferredState = false;
    EXPECT_EQ(LooseElement(dial)->lastReportedValue(), 0.0);
}

std::shared_ptr<const QZGCCalibrationValues> storeOf(std::int64_t cookie, std::int64_t min, std::int64_t max,
                                                     std::int64_t neutral) {
    const auto values = std::make_shared<QZGCCalibrationValues>();
    values->setElement(cookie, min, max, neutral);
    return values;
}

TEST(QZHIDElement, TakesTheStoredRangeUncheckedWhenItIsSubjectToCalibration) {
    struct Case {
        std::int64_t min, max, neutral;
    };
    // Within the logical range and outside, inverted, empty, the rest point outside, and the ends of 64 bits.
    for (const Case& each : {Case{3, 252, 100},
                             {-1000, 1000, 5},
                             {252, 3, 127},
                             {7, 7, 7},
                             {10, 20, 30},
                             {10, 20, -30},
                             {0, 0, 0},
                             {int64Min, int64Max, int64Max}}) {
        SCOPED_TRACE(::testing::Message() << each.min << ".." << each.max);
        const ElementHost host(
            std::vector{xAxis(16), throttle(19)},
            Dictionary{{std::string(calibrationKey), Dictionary{{"16", Array{each.min, each.max, each.neutral}},
                                                                {"19", Array{each.max, each.min, each.neutral, 5}}}}});
        EXPECT_EQ(host.element()->observedMin(), each.min);
        EXPECT_EQ(host.element()->observedMax(), each.max);
        EXPECT_EQ(host.element()->observedNeutral(), each.neutral);
        EXPECT_EQ(host.element(1)->observedMin(), each.max);
        EXPECT_EQ(host.element(1)->observedMax(), each.min);
        EXPECT_EQ(host.element(1)->observedNeutral(), each.neutral);
        EXPECT_EQ(host.element()->theoreticalMin(), 0);
        EXPECT_EQ(host.element()->theoreticalMax(), 255);
        EXPECT_EQ(host.element()->calibrationMin(), 0);
        EXPECT_EQ(host.element()->calibrationMax(), 0);
        EXPECT_EQ(host.element()->lastReportedValue(), 0.5);
    }
}

TEST(QZHIDElement, AStoredRangeDoesNotReachAnElementThatIsNotSubjectToCalibration) {
    const Dictionary stored{{"1", Array{10, 20, 12}}, {"2", Array{10, 20, 12}}, {"3", Array{10, 20, 12}}};
    const ElementHost host(std::vector{button(1), hat(2), elementOf(3, QZHIDElementTypeButton, 0x01, 0x30, 0, 99)},
                           Dictionary{{std::string(calibrationKey), stored}});
    EXPECT_EQ(host.element(0)->observedMax(), 1);
    EXPECT_EQ(host.element(1)->observedMax(), 7);
    EXPECT_EQ(host.element(1)->observedNeutral(), 3);
    EXPECT_EQ(host.element(2)->observedMin(), 0);
    EXPECT_EQ(host.element(2)->observedMax(), 99);
}

TEST(QZHIDElement, AStoreWithoutTheCookieAndNoStoreLeaveTheLogicalRange) {
    const ElementHost host(std::vector{xAxis(16)});
    const IOHIDElementRef record = host.plugged->element(0);
    const auto other = storeOf(17, 3, 252, 100);
    const auto own = storeOf(16, 3, 252, 100);
    EXPECT_EQ(QZHIDElement::create(record, host.device, host.device, other)->observedMin(), 0);
    EXPECT_EQ(QZHIDElement::create(record, host.device, host.device, nullptr)->observedMin(), 0);
    EXPECT_EQ(QZHIDElement::create(record, host.device, host.device, own)->observedMin(), 3);
}

TEST(QZHIDElement, AStoredCookieAboveTwoToTheThirtyOneIsFoundInDecimal) {
    const ElementHost host(std::vector{xAxis(0xFFFFFFF0U), xAxis(0x80000000U)},
                           Dictionary{{std::string(calibrationKey), Dictionary{{"4294967280", Array{3, 252, 100}},
                                                                               {"-16", Array{1, 2, 3}},
                                                                               {"2147483648", Array{4, 5, 6}},
                                                                               {"-2147483648", Array{1, 2, 3}}}}});
    EXPECT_EQ(host.element(0)->observedMin(), 3);
    EXPECT_EQ(host.element(1)->observedMin(), 4);
}

TEST(QZHIDElementDeathTest, ConnectingWithAShortEntryForACalibratedElementEndsTheProcess) {
    for (const Array& entry : {Array{}, Array{1}, Array{1, 2}}) {
        const Dictionary preferences{{std::string(calibrationKey), Dictionary{{"16", entry}}}};
        EXPECT_EXIT(ElementHost(std::vector{xAxis(16)}, preferences), ::testing::KilledBySignal(SIGABRT),
                    shortEntryLine);
    }
}

TEST(QZHIDElement, ShortEntriesThatNobodyAsksForDoNoHarm) {
    const Dictionary stored{
        {"1", Array{}}, {"2", Array{1}}, {"016", Array{1, 2}}, {"16", Array{3, 252, 100}}, {"99", Array{}}};
    const ElementHost host(std::vector{button(1), hat(2), xAxis(16)},
                           Dictionary{{std::string(calibrationKey), stored}});
    EXPECT_EQ(host.element(0)->observedMax(), 1);
    EXPECT_EQ(host.element(1)->observedMax(), 7);
    EXPECT_EQ(host.element(2)->observedMin(), 3);
}

// Members and owners

TEST(QZHIDElement, OnlyACollectionOwnsElements) {
    for (const QZHIDElementType type : {0, -1, 1, 2, 3, 4, 129, 257, 512, 999}) {
        VirtualElement shape = collection(1, {1});
        shape.type = type;
        const ElementHost host(std::vector{shape, button(2)});
        ASSERT_TRUE(IOHIDElementGetChildren(host.plugged->element(0)));
        EXPECT_FALSE(host.element()->ownedElements()) << type;
    }
}

TEST(QZHIDElement, ACollectionWithoutAMemberListDiffersFromOneWithAnEmptyList) {
    const ElementHost host(std::vector{collection(1), collection(2, {})});
    EXPECT_FALSE(host.element(0)->ownedElements());
    ASSERT_TRUE(host.element(1)->ownedElements());
    EXPECT_TRUE(host.element(1)->ownedElements()->empty());
}

TEST(QZHIDElement, ACollectionOwnsAnElementForEveryMemberInThePlatformsOrder) {
    // Neither sorted nor filtered: an unknown type, an output, and a member that is listed twice.
    const ElementHost host(std::vector{collection(1, {4, 2, 3, 1, 2}), xAxis(16), button(17),
                                       elementOf(18, 999, 0xFF00, 1), elementOf(19, QZHIDElementTypeOutput, 8, 1)});
    const auto& members = host.element()->ownedElements();
    ASSERT_TRUE(members);
    std::vector<std::int64_t> cookies;
    for (const auto& member : *members) {
        cookies.push_back(member->cookie());
        EXPECT_EQ(member->device(), host.device);
        EXPECT_EQ(member->elementOwner(), host.element());
        EXPECT_FALSE(member->ownedElements());
    }
    EXPECT_EQ(cookies, (std::vector<std::int64_t>{19, 17, 18, 16, 17}));
    EXPECT_NE((*members)[1], (*members)[4]);
}

TEST(QZHIDElement, AMemberExistsAtItsPlaceUnderEveryCollectionAroundItAndInTheDevicesList) {
    const ElementHost host(std::vector{collection(1, {1}), collection(2, {2, 3}), xAxis(16), button(17)});
    const auto outer = host.element(0);
    const auto innerOfOuter = outer->ownedElements()->at(0);
    const auto inner = host.element(1);
    ASSERT_TRUE(innerOfOuter->ownedElements());
    ASSERT_TRUE(inner->ownedElements());
    EXPECT_NE(innerOfOuter, inner);
    EXPECT_EQ(innerOfOuter->cookie(), 2);

    const std::set<QZHIDElement*> axes{host.element(2).get(), inner->ownedElements()->at(0).get(),
                                       innerOfOuter->ownedElements()->at(0).get()};
    EXPECT_EQ(axes.size(), 3U);
    for (const QZHIDElement* const axis : axes) {
        EXPECT_EQ(axis->cookie(), 16);
        EXPECT_EQ(axis->ioHIDElementRef(), host.plugged->element(2));
    }
    EXPECT_EQ(innerOfOuter->ownedElements()->at(1)->cookie(), 17);

    EXPECT_EQ(outer->elementOwner(), host.device);
    EXPECT_EQ(inner->elementOwner(), host.device);
    EXPECT_EQ(host.element(2)->elementOwner(), host.device);
    EXPECT_EQ(innerOfOuter->elementOwner(), outer);
    EXPECT_EQ(innerOfOuter->ownedElements()->at(0)->elementOwner(), innerOfOuter);
    EXPECT_EQ(inner->ownedElements()->at(0)->elementOwner(), inner);
    EXPECT_EQ(host.device->elementOwner(), nullptr);
    EXPECT_EQ(innerOfOuter->ownedElements()->at(0)->device(), host.device);
}

TEST(QZHIDElement, MembersTakeTheStoredRangeTooAndKeepItThroughACalibration) {
    const ElementHost host(std::vector{collection(1, {1}), collection(2, {2}), xAxis(16)},
                           Dictionary{{std::string(calibrationKey), Dictionary{{"16", Array{3, 252, 100}}}}});
    const auto member = host.element(1)->ownedElements()->at(0);
    const auto deepMember = host.element(0)->ownedElements()->at(0)->ownedElements()->at(0);
    host.device->startCalibration();
    host.element(2)->receivedNewCalibrationValue(50);
    host.element(2)->receivedNewCalibrationValue(200);
    host.device->endCalibration();
    EXPECT_EQ(host.element(2)->observedMin(), 50);
    for (const auto& each : {member, deepMember}) {
        EXPECT_EQ(each->observedMin(), 3);
        EXPECT_EQ(each->observedMax(), 252);
        EXPECT_EQ(each->observedNeutral(), 100);
        EXPECT_EQ(each->calibrationMin(), 0);
        EXPECT_EQ(each->calibrationMax(), 0);
    }
}

TEST(QZHIDElement, DoesNotKeepItsDeviceOrOwnerAlive) {
    ElementHost host(std::vector{collection(1, {1}), xAxis(16)});
    const auto collectionElement = host.element(0);
    auto member = collectionElement->ownedElements()->at(0);
    const auto axis = host.element(1);
    const std::weak_ptr<QZHIDDevice> device = host.device;
    host.device = nullptr;
    EXPECT_TRUE(device.expired());
    EXPECT_EQ(axis->device(), nullptr);
    EXPECT_EQ(axis->elementOwner(), nullptr);
    EXPECT_EQ(member->device(), nullptr);
    EXPECT_EQ(member->elementOwner(), collectionElement);
    const std::weak_ptr<QZHIDElement> weakMember = member;
    member = nullptr;
    EXPECT_FALSE(weakMember.expired());
    collectionElement->setOwnedElements(std::nullopt);
    EXPECT_TRUE(weakMember.expired());
}

TEST(QZHIDElement, AMemberOutlivesItsCollection) {
    std::shared_ptr<QZHIDElement> member;
    {
        const ElementHost host(std::vector{collection(1, {1}), xAxis(16)});
        member = host.element(0)->ownedElements()->at(0);
    }
    EXPECT_EQ(member->elementOwner(), nullptr);
    EXPECT_EQ(member->device(), nullptr);
    EXPECT_EQ(member->cookie(), 16);
}

TEST(QZHIDElement, AnswersAfterEverythingElseIsGone) {
    std::shared_ptr<QZHIDElement> axis;
    std::shared_ptr<QZHIDElement> group;
    {
        const ElementHost host(std::vector{collection(1, {1}), xAxis(16, 0, 1000)});
        group = host.element(0);
        axis = host.element(1);
        host.plugged->setLastKnownValue(1, 77);
        EXPECT_EQ(host.device->valueForElement(*axis), 77);
        host.platform->hidServices().unplug(host.plugged);
        EXPECT_EQ(host.device->valueForElement(*axis), 0);
    }
    EXPECT_EQ(axis->cookie(), 16);
    EXPECT_EQ(axis->theoreticalMax(), 1000);
    EXPECT_TRUE(axis->isXAxis());
    EXPECT_TRUE(axis->hasPreferredState());
    EXPECT_EQ(axis->nameKey(), "QZHID_X");
    EXPECT_EQ(group->collectionType(), QZHIDElementCollectionTypeLogical);
    EXPECT_EQ(group->ownedElements()->at(0)->name(), "X");
    EXPECT_NE(group->description().find("cookie = 16, name = X"), std::string::npos);
    EXPECT_EQ(axis->normalizedValue(500), 0.5);
    EXPECT_EQ(axis->neutralValue(), 0.5);
    EXPECT_FALSE(axis->valueQualifiesForReporting(1.0));
    EXPECT_EQ(axis->lastReportedValue(), 0.5);

    axis->startCalibration();
    axis->receivedNewCalibrationValue(100);
    axis->receivedNewCalibrationValue(900);
    axis->endCalibration();
    EXPECT_EQ(axis->observedMin(), 100);
    EXPECT_EQ(axis->observedNeutral(), 500);
}

TEST(QZHIDElement, AThousandNestedCollectionsAreBuiltDescribedAndReleased) {
    constexpr std::size_t levels = 1000;
    std::vector<VirtualElement> elements;
    for (std::size_t i = 0; i < levels; ++i) {
        elements.push_back(collection(static_cast<std::uint32_t>(i + 1), {i + 1}));
    }
    elements.push_back(xAxis(5000, 0, 255));
    ElementHost host(std::move(elements),
                     Dictionary{{std::string(calibrationKey), Dictionary{{"5000", Array{3, 252, 100}}}}});
    ASSERT_EQ(host.device->ownedElements()->size(), levels + 1);

    std::size_t depth = 0;
    std::shared_ptr<QZHIDElement> innermost = host.element(0);
    while (innermost->ownedElements()) {
        ASSERT_EQ(innermost->ownedElements()->size(), 1U);
        innermost = innermost->ownedElements()->front();
        ++depth;
    }
    EXPECT_EQ(depth, levels);
    EXPECT_EQ(innermost->observedMin(), 3);
    EXPECT_NE(innermost, host.device->elementWithCookie(5000));

    const std::string text = host.element(0)->description();
    const std::string line = "\n" + std::string(4 * levels, ' ') + identityOf(*innermost) + "; cookie = 5000, ";
    EXPECT_NE(text.find(line), std::string::npos);
    EXPECT_TRUE(text.ends_with("\n    --- end collection ---\n--- end collection ---"));

    innermost = nullptr;
    const std::weak_ptr<QZHIDElement> outermost = host.element(0);
    host.device = nullptr;
    EXPECT_TRUE(outermost.expired());
}

// Calibration of one element

class QZHIDElementCalibration : public ::testing::Test {
protected:
    QZHIDElement& axis() const { return *host_.element(0); }
    QZHIDElement& slider() const { return *host_.element(1); }
    QZHIDElement& push() const { return *host_.element(2); }
    void rest(std::optional<std::int64_t> raw) const { host_.plugged->setLastKnownValue(0, raw); }

    static void calibrate(QZHIDElement& element, std::initializer_list<std::int64_t> values) {
        element.startCalibration();
        for (const std::int64_t value : values) {
            element.receivedNewCalibrationValue(value);
        }
    }

    static void expectRange(const QZHIDElement& element, std::int64_t min, std::int64_t max, std::int64_t neutral) {
        EXPECT_EQ(element.observedMin(), min);
        EXPECT_EQ(element.observedMax(), max);
        EXPECT_EQ(element.observedNeutral(), neutral);
    }

    ElementHost host_{std::vector{xAxis(16, 0, 1023), throttle(19, 0, 1023), button(1)}};
};

TEST_F(QZHIDElementCalibration, BeginsWithAnInvertedEmptyRange) {
    axis().startCalibration();
    EXPECT_EQ(axis().calibrationMin(), 1023);
    EXPECT_EQ(axis().calibrationMax(), 0);
    expectRange(axis(), 0, 1023, 511);
}

TEST_F(QZHIDElementCalibration, BeginsFromTheLogicalRangeNotTheObservedOne) {
    axis().setObservedMin(100);
    axis().setObservedMax(200);
    axis().startCalibration();
    EXPECT_EQ(axis().calibrationMin(), 1023);
    EXPECT_EQ(axis().calibrationMax(), 0);
}

TEST_F(QZHIDElementCalibration, DoesNotBeginForAnElementThatIsNotSubjectToIt) {
    push().setCalibrationMin(5);
    push().setCalibrationMax(6);
    push().startCalibration();
    EXPECT_EQ(push().calibrationMin(), 5);
    EXPECT_EQ(push().calibrationMax(), 6);
    push().endCalibration();
    expectRange(push(), 0, 1, 0);
}

TEST_F(QZHIDElementCalibration, TakesTheRangeSeenAndThePositionOfRest) {
    rest(512);
    calibrate(axis(), {600, 400, 700});
    EXPECT_EQ(axis().calibrationMin(), 400);
    EXPECT_EQ(axis().calibrationMax(), 700);
    expectRange(axis(), 0, 1023, 511);
    axis().endCalibration();
    expectRange(axis(), 400, 700, 512);
    EXPECT_EQ(axis().calibrationMin(), 400);
    EXPECT_EQ(axis().calibrationMax(), 700);
}

TEST_F(QZHIDElementCalibration, ARestValueOfZeroCountsAsUnknown) {
    rest(0);
    calibrate(axis(), {600, 400, 700});
    axis().endCalibration();
    expectRange(axis(), 400, 700, 550);
}

TEST_F(QZHIDElementCalibration, AFailedReadCountsAsUnknownToo) {
    rest(std::nullopt);
    calibrate(axis(), {600, 400, 701});
    axis().endCalibration();
    expectRange(axis(), 400, 701, 550);
}

TEST_F(QZHIDElementCalibration, ARestValueIsTakenWhereverItLies) {
    for (const std::int64_t raw : {std::int64_t{5}, std::int64_t{-5}, std::int64_t{99999}, int64Min, int64Max}) {
        rest(raw);
        calibrate(axis(), {600, 400, 700});
        axis().endCalibration();
        expectRange(axis(), 400, 700, raw);
    }
}

TEST_F(QZHIDElementCalibration, TheMidpointTruncatesTowardZeroAndReachesTheEndsOf64Bits) {
    struct Case {
        std::int64_t min, max, neutral;
    };
    for (const Case& each : {Case{-5, 0, -2},
                             {-4, 1, -1},
                             {int64Min, int64Max, 0},
                             {int64Max - 1, int64Max, int64Max - 1},
                             {int64Min, int64Min + 1, int64Min + 1}}) {
        axis().setCalibrationMin(each.min);
        axis().setCalibrationMax(each.max);
        axis().endCalibration();
        expectRange(axis(), each.min, each.max, each.neutral);
    }
}

TEST_F(QZHIDElementCalibration, AValueThatLowersTheMinimumIsNotConsideredForTheMaximum) {
    axis().startCalibration();
    axis().receivedNewCalibrationValue(600);
    EXPECT_EQ(axis().calibrationMin(), 600);
    EXPECT_EQ(axis().calibrationMax(), 0);
    axis().receivedNewCalibrationValue(400);
    EXPECT_EQ(axis().calibrationMin(), 400);
    EXPECT_EQ(axis().calibrationMax(), 0);
    axis().receivedNewCalibrationValue(400);
    EXPECT_EQ(axis().calibrationMin(), 400);
    EXPECT_EQ(axis().calibrationMax(), 400);
    axis().receivedNewCalibrationValue(700);
    axis().receivedNewCalibrationValue(650);
    EXPECT_EQ(axis().calibrationMin(), 400);
    EXPECT_EQ(axis().calibrationMax(), 700);
}

TEST_F(QZHIDElementCalibration, AFirstValueAtOrAboveTheLogicalMaximumMovesTheMaximum) {
    axis().startCalibration();
    axis().receivedNewCalibrationValue(1023);
    EXPECT_EQ(axis().calibrationMin(), 1023);
    EXPECT_EQ(axis().calibrationMax(), 1023);
    axis().receivedNewCalibrationValue(1100);
    EXPECT_EQ(axis().calibrationMin(), 1023);
    EXPECT_EQ(axis().calibrationMax(), 1100);
}

TEST_F(QZHIDElementCalibration, TakesValuesOutsideTheLogicalRange) {
    calibrate(axis(), {-50, 2000});
    axis().endCalibration();
    expectRange(axis(), -50, 2000, 975);
}

TEST_F(QZHIDElementCalibration, OneSingleValueChangesNothing) {
    rest(512);
    calibrate(axis(), {300});
    EXPECT_EQ(axis().calibrationMin(), 300);
    EXPECT_EQ(axis().calibrationMax(), 0);
    axis().endCalibration();
    expectRange(axis(), 0, 1023, 511);
}

TEST_F(QZHIDElementCalibration, NoValueAndAnEmptyRangeChangeNothing) {
    rest(512);
    calibrate(axis(), {});
    axis().endCalibration();
    expectRange(axis(), 0, 1023, 511);
    calibrate(axis(), {400, 400});
    ASSERT_EQ(axis().calibrationMin(), axis().calibrationMax());
    axis().endCalibration();
    expectRange(axis(), 0, 1023, 511);
}

TEST_F(QZHIDElementCalibration, AnEndWithoutABeginningChangesNothing) {
    rest(512);
    axis().endCalibration();
    expectRange(axis(), 0, 1023, 511);
}

TEST_F(QZHIDElementCalibration, ARangeOfTwoNeighboursIsUsable) {
    rest(7);
    calibrate(axis(), {400, 401});
    axis().endCalibration();
    expectRange(axis(), 400, 401, 7);
}

TEST_F(QZHIDElementCalibration, AControlWithoutAPreferredStateKeepsItsRestPoint) {
    host_.plugged->setLastKnownValue(1, 650);
    calibrate(slider(), {600, 700});
    slider().endCalibration();
    expectRange(slider(), 600, 700, 511);
    EXPECT_EQ(slider().calibrationMin(), 600);
    EXPECT_EQ(slider().calibrationMax(), 700);
}

TEST_F(QZHIDElementCalibration, AControlWithoutAPreferredStateKeepsAStoredRestPoint) {
    const ElementHost host(std::vector{throttle(19)},
                           Dictionary{{std::string(calibrationKey), Dictionary{{"19", Array{3, 252, 9}}}}});
    calibrate(*host.element(), {60, 70});
    host.element()->endCalibration();
    expectRange(*host.element(), 60, 70, 9);
}

TEST_F(QZHIDElementCalibration, ReceivesAValueWithoutAskingWhetherItIsSubjectToIt) {
    push().receivedNewCalibrationValue(-5);
    push().receivedNewCalibrationValue(5);
    EXPECT_EQ(push().calibrationMin(), -5);
    EXPECT_EQ(push().calibrationMax(), 5);
    push().endCalibration();
    expectRange(push(), 0, 1, 0);
}

TEST_F(QZHIDElementCalibration, AnElementOfAnInvertedLogicalRangeBeginsWithAUsableOne) {
    const ElementHost host(std::vector{xAxis(16, 10, -10)});
    host.element()->startCalibration();
    EXPECT_EQ(host.element()->calibrationMin(), -10);
    EXPECT_EQ(host.element()->calibrationMax(), 10);
    host.element()->endCalibration();
    expectRange(*host.element(), -10, 10, 0);
}

TEST_F(QZHIDElementCalibration, TheLastReportedValueStaysThroughIt) {
    ASSERT_TRUE(axis().valueQualifiesForReporting(0.75));
    rest(512);
    calibrate(axis(), {600, 400, 700});
    EXPECT_EQ(axis().lastReportedValue(), 0.75);
    axis().endCalibration();
    EXPECT_EQ(axis().lastReportedValue(), 0.75);
    EXPECT_FALSE(axis().valueQualifiesForReporting(0.75));
}

TEST_F(QZHIDElementCalibration, TheRangeThatIsBeingSeenIsNotUsedBeforeItsEnd) {
    calibrate(axis(), {600, 400, 700});
    EXPECT_EQ(axis().normalizedValue(1023), 1.0);
    EXPECT_EQ(axis().normalizedValue(511), 0.5);
    EXPECT_LT(axis().normalizedValue(700), 0.75);
    axis().endCalibration();
    EXPECT_EQ(axis().normalizedValue(700), 1.0);
}

} // namespace
} // namespace qz::platform
