// SPDX-License-Identifier: MIT
#include "platform/virtual/JournalPlatform.h"
#include "tests/support/ElementFixture.h"
#include "tests/support/ElementHeapMeter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

namespace qz::platform {
namespace {

using Array = PropertyList::Array;
using Dictionary = PropertyList::Dictionary;

std::vector<std::int64_t> cookiesOf(const QZHIDElementList& elements) {
    std::vector<std::int64_t> cookies;
    for (const auto& element : elements.value()) {
        cookies.push_back(element->cookie());
    }
    return cookies;
}

Dictionary preferencesWith(Dictionary calibration) {
    return {{std::string(calibrationKey), std::move(calibration)}};
}

// The element set

TEST(DeviceElements, AreOneForEveryElementThatThePlatformListsInItsOrder) {
    const ElementHost host(std::vector{xAxis(16), collection(3, {2}), button(9), elementOf(1, 999, 0xFF00, 1),
                                       elementOf(200, QZHIDElementTypeFeature, 8, 1)});
    ASSERT_TRUE(host.device->ownedElements());
    EXPECT_EQ(cookiesOf(host.device->ownedElements()), (std::vector<std::int64_t>{16, 3, 9, 1, 200}));
    for (std::size_t i = 0; i < 5; ++i) {
        const auto& element = host.element(i);
        EXPECT_EQ(element->ioHIDElementRef(), host.plugged->element(i));
        EXPECT_EQ(element->elementOwner(), host.device);
        EXPECT_EQ(element->device(), host.device);
        EXPECT_EQ(host.device->elementWithCookie(element->cookie()), element);
    }
    ASSERT_TRUE(host.device->elementsByCookie());
    EXPECT_EQ(host.device->elementsByCookie()->size(), 5U);
    EXPECT_EQ(host.device->elementOwner(), nullptr);
}

TEST(DeviceElements, AreFoundByTheirCookieAlone) {
    const ElementHost host(std::vector{xAxis(0), xAxis(16), xAxis(0x80000000U), xAxis(0xFFFFFFFFU)});
    EXPECT_EQ(host.device->elementWithCookie(0), host.element(0));
    EXPECT_EQ(host.device->elementWithCookie(16), host.element(1));
    EXPECT_EQ(host.device->elementWithCookie(2147483648), host.element(2));
    EXPECT_EQ(host.device->elementWithCookie(4294967295), host.element(3));
    for (const std::int64_t cookie : {std::int64_t{-1}, std::int64_t{1}, std::int64_t{-2147483648LL},
                                      std::int64_t{4294967296}, std::int64_t{4294967312}, int64Min, int64Max}) {
        EXPECT_EQ(host.device->elementWithCookie(cookie), nullptr) << cookie;
    }
}

TEST(DeviceElements, AreFoundWhateverTheOrderOfTheirCookiesAndTheGapsBetweenThem) {
    RandomNumbers random;
    for (const std::uint32_t spread : {1U, 2U, 3U, 10U, 100U, 5000U}) {
        const std::uint32_t largest = 60 * spread;
        std::vector<VirtualElement> elements;
        std::map<std::int64_t, std::size_t> lastWithCookie;
        for (std::size_t i = 0; i < 60; ++i) {
            const auto cookie = static_cast<std::uint32_t>(1 + random() % largest);
            elements.push_back(button(cookie, static_cast<std::uint32_t>(i)));
            lastWithCookie[cookie] = i;
        }
        const ElementHost host(std::move(elements));
        EXPECT_EQ(host.device->elementsByCookie()->size(), lastWithCookie.size());
        for (std::int64_t cookie = -2; cookie <= std::int64_t{largest} + 2; ++cookie) {
            const auto expected = lastWithCookie.find(cookie);
            ASSERT_EQ(host.device->elementWithCookie(cookie),
                      expected != lastWithCookie.end() ? host.element(expected->second) : nullptr)
                << cookie << " of cookies up to " << largest;
        }
    }
}

TEST(DeviceElements, WithOneCookieAreAllListedAndTheLaterOneIsFound) {
    const ElementHost host(std::vector{xAxis(16), button(16, 1), xAxis(17), button(16, 2)});
    EXPECT_EQ(cookiesOf(host.device->ownedElements()), (std::vector<std::int64_t>{16, 16, 17, 16}));
    EXPECT_EQ(host.device->elementWithCookie(16), host.element(3));
    EXPECT_EQ(host.device->elementsByCookie()->size(), 2U);
}

TEST(DeviceElements, OfACollectionAreFoundAsTheDevicesOwnObjects) {
    const ElementHost host(std::vector{collection(1, {1}), collection(2, {2}), xAxis(16)});
    EXPECT_EQ(host.device->elementWithCookie(16), host.element(2));
    EXPECT_NE(host.device->elementWithCookie(16), host.element(1)->ownedElements()->at(0));
    EXPECT_EQ(host.device->elementWithCookie(2), host.element(1));
    EXPECT_NE(host.device->elementWithCookie(2), host.element(0)->ownedElements()->at(0));
}

TEST(DeviceElements, AreAbsentWhenThePlatformGivesNoList) {
    VirtualPlatform platform(preferencesWith({{"16", Array{1, 2, 3}}}));
    JournalPlatform journal(platform);
    const auto manager = QZGCHIDManager::create(nullptr, journal);
    VirtualDeviceDescription description;
    description.properties = {{"VendorID", std::int64_t{1234}}, {"ProductID", std::int64_t{5678}}};
    description.elements = std::nullopt;
    const auto plugged = platform.hidServices().plug(std::move(description));
    journal.takeEntries();
    const auto device = QZHIDDevice::create(plugged.get(), manager);
    EXPECT_TRUE(journal.takeEntries().empty()) << "no calibration is loaded";
    EXPECT_FALSE(device->ownedElements());
    EXPECT_FALSE(device->elementsByCookie());
    EXPECT_FALSE(device->pushButtons());
    EXPECT_FALSE(device->movingControls());
    EXPECT_EQ(device->elementWithCookie(16), nullptr);
    EXPECT_EQ(device->elementWithCookie(0), nullptr);

    device->startCalibration();
    EXPECT_TRUE(journal.takeEntries().empty());
    device->endCalibration();
    EXPECT_EQ(*platform.userDefaults().objectForKey(calibrationKey), PropertyList(Dictionary{}));
    device->reportElements();
    EXPECT_EQ(platform.systemLog().entries(), std::vector<std::string>{"All elements, hierarchical:"});
}

TEST(DeviceElements, OfAnEmptyListAreAnEmptyList) {
    const ElementHost host(std::vector<VirtualElement>{});
    ASSERT_TRUE(host.device->ownedElements());
    EXPECT_TRUE(host.device->ownedElements()->empty());
    ASSERT_TRUE(host.device->elementsByCookie());
    EXPECT_TRUE(host.device->elementsByCookie()->empty());
    ASSERT_TRUE(host.device->pushButtons());
    EXPECT_TRUE(host.device->pushButtons()->empty());
    ASSERT_TRUE(host.device->movingControls());
    EXPECT_TRUE(host.device->movingControls()->empty());
}

TEST(DeviceElements, ShareOneLoadedCalibration) {
    VirtualPlatform platform(preferencesWith({{"16", Array{3, 252, 100}}, {"17", Array{4, 251, 101}}}));
    JournalPlatform journal(platform);
    const auto manager = QZGCHIDManager::create(nullptr, journal);
    VirtualDeviceDescription description;
    description.properties = {{"VendorID", std::int64_t{1234}}, {"ProductID", std::int64_t{5678}}};
    description.elements = std::vector{collection(1, {1, 2}), xAxis(16), xAxis(17), button(2)};
    const auto plugged = platform.hidServices().plug(std::move(description));
    journal.takeEntries();
    const auto device = QZHIDDevice::create(plugged.get(), manager);
    EXPECT_EQ(journal.entries(), std::vector<std::string>{"objectForKey(QZGameController-Calibrations-1234-5678)"});
    EXPECT_EQ(device->elementWithCookie(16)->observedMin(), 3);
    EXPECT_EQ(device->elementWithCookie(17)->observedMin(), 4);
    EXPECT_EQ(device->elementWithCookie(1)->ownedElements()->at(1)->observedNeutral(), 101);
}

TEST(DeviceElements, OfACollectionAreThoseOfTheTimeWhenItWasMadeWheneverTheyAreLookedAt) {
    const std::vector elements{collection(1, {2}), collection(2, {3, 3}), xAxis(16), button(17)};
    const ElementHost host(elements, preferencesWith({{"16", Array{3, 252, 100}}}));
    host.platform->userDefaults().setObjectForKey(Dictionary{{"16", Array{4, 251, 101}}}, calibrationKey);
    EXPECT_EQ(host.element(0)->ownedElements()->at(0)->observedMin(), 3) << "not what is stored by now";

    const auto group = host.element(0);
    group->setIoHIDElementRef(host.plugged->element(1));
    EXPECT_EQ(group->ownedElements()->size(), 1U) << "looked at before";
    const auto other = host.element(1);
    other->setIoHIDElementRef(host.plugged->element(0));
    EXPECT_EQ(cookiesOf(other->ownedElements()), (std::vector<std::int64_t>{17, 17})) << "never looked at before";

    other->setOwnedElements(std::nullopt);
    EXPECT_FALSE(other->ownedElements());
    host.element(3)->setOwnedElements(std::vector{group});
    EXPECT_EQ(cookiesOf(host.element(3)->ownedElements()), std::vector<std::int64_t>{2});
}

TEST(DeviceElements, OfACollectionCanBeLookedAtForTheFirstTimeWhenTheDeviceIsGone) {
    ElementHost host(std::vector{collection(1, {1}), xAxis(16)}, preferencesWith({{"16", Array{3, 252, 100}}}));
    const auto group = host.element(0);
    host.platform->hidServices().unplug(host.plugged);
    host.plugged = nullptr;
    host.device = nullptr;
    ASSERT_EQ(cookiesOf(group->ownedElements()), std::vector<std::int64_t>{16});
    const auto member = group->ownedElements()->at(0);
    EXPECT_EQ(member->observedMin(), 3);
    EXPECT_EQ(member->device(), nullptr);
    EXPECT_EQ(member->elementOwner(), group);
    EXPECT_EQ(group->ownedElements()->at(0), member) << "made once";
    EXPECT_FALSE(member->valueQualifiesForReporting(0.25));
}

TEST(DeviceElements, AreListedAsPushButtonsAndMovingControlsInTheirOrder) {
    const ElementHost host(std::vector{throttle(30), button(9, 5), collection(1, {1, 3}), xAxis(20), button(3, 1),
                                       hat(4), elementOf(5, QZHIDElementTypeAxis, 0x09, 1),
                                       elementOf(6, QZHIDElementTypeButton, 0x01, 0x31), button(9, 2)});
    const auto buttons = host.device->pushButtons();
    EXPECT_EQ(cookiesOf(buttons), (std::vector<std::int64_t>{9, 3, 9}));
    EXPECT_EQ(buttons->at(0), host.element(1));
    EXPECT_EQ(buttons->at(2), host.element(8));
    const auto controls = host.device->movingControls();
    EXPECT_EQ(cookiesOf(controls), (std::vector<std::int64_t>{30, 20}));
    EXPECT_EQ(controls->at(1), host.element(3));
}

TEST(DeviceElements, ListsOfButtonsAndControlsFollowTheOwnedElements) {
    const ElementHost host(std::vector{xAxis(16), button(17), button(18)});
    const auto before = host.device->pushButtons();
    host.device->setOwnedElements(std::vector{host.element(2), host.element(0)});
    EXPECT_EQ(cookiesOf(host.device->pushButtons()), std::vector<std::int64_t>{18});
    EXPECT_EQ(cookiesOf(host.device->movingControls()), std::vector<std::int64_t>{16});
    EXPECT_EQ(cookiesOf(before), (std::vector<std::int64_t>{17, 18}));
    host.device->setOwnedElements(std::nullopt);
    EXPECT_FALSE(host.device->pushButtons());
    EXPECT_FALSE(host.device->movingControls());
    EXPECT_NE(host.device->elementWithCookie(17), nullptr);
    host.device->setElementsByCookie(std::nullopt);
    EXPECT_EQ(host.device->elementWithCookie(17), nullptr);
}

TEST(DeviceElements, EachCostAtMost256BytesWithTheirTableEntries) {
    constexpr std::size_t count = 400;
    std::vector<VirtualElement> elements;
    for (std::uint32_t i = 0; i < count; ++i) {
        elements.push_back(i < 16 ? elementOf(i + 1, QZHIDElementTypeMisc, 0x01, 0x30 + i % 9, 0, 65535)
                                  : button(i + 1, i - 15));
    }
    ElementHost host(std::move(elements));
    host.device = nullptr;
    const ElementHeapMeter meter;
    host.device = QZHIDDevice::create(host.plugged.get(), host.manager);
    const std::size_t bytes = meter.liveBytes();
    ASSERT_EQ(host.device->movingControls()->size(), 16U);
    ASSERT_EQ(host.device->ownedElements()->size(), count);
    RecordProperty("bytesPerElement", static_cast<int>(bytes / count));
    EXPECT_LE(bytes / count, 256U);
    EXPECT_GE(bytes / count, sizeof(QZHIDElement));
}

TEST(DeviceElements, AreReleasedWithTheirDevice) {
    ElementHost host(std::vector{collection(1, {1}), xAxis(16)});
    const std::weak_ptr<QZHIDElement> group = host.element(0);
    const std::weak_ptr<QZHIDElement> member = host.element(0)->ownedElements()->at(0);
    const std::weak_ptr<QZHIDElement> axis = host.element(1);
    host.device = nullptr;
    EXPECT_TRUE(group.expired());
    EXPECT_TRUE(member.expired());
    EXPECT_TRUE(axis.expired());
}

TEST(DeviceElements, ReadTheirLastKnownValueThroughTheDevice) {
    const ElementHost host(std::vector{xAxis(16), button(17)});
    EXPECT_EQ(host.device->valueForElement(*host.element(0)), 0) << "nothing is known yet";
    host.plugged->setLastKnownValue(0, 77);
    host.plugged->setLastKnownValue(1, -5);
    EXPECT_EQ(host.device->valueForElement(*host.element(0)), 77);
    EXPECT_EQ(host.device->valueForElement(*host.element(1)), -5);

    const auto other = host.plug(std::vector{xAxis(16)});
    other->setLastKnownValue(0, 99);
    const auto foreign = QZHIDElement::create(other->element(0), nullptr, nullptr, nullptr);
    EXPECT_EQ(host.device->valueForElement(*foreign), 0) << "another device's element";

    host.platform->hidServices().unplug(host.plugged);
    EXPECT_EQ(host.device->valueForElement(*host.element(0)), 0);
}

// Calibration

TEST(DeviceCalibration, BeginsForEveryMovingControlOfTheDeviceAndSavesNothing) {
    VirtualPlatform platform(preferencesWith({{"16", Array{3, 252, 100}}}));
    JournalPlatform journal(platform);
    const auto manager = QZGCHIDManager::create(nullptr, journal);
    VirtualDeviceDescription description;
    description.properties = {{"VendorID", std::int64_t{1234}}, {"ProductID", std::int64_t{5678}}};
    description.elements = std::vector{xAxis(16), collection(1, {0}), button(2), throttle(19, -5, 5)};
    const auto plugged = platform.hidServices().plug(std::move(description));
    const auto device = QZHIDDevice::create(plugged.get(), manager);
    journal.takeEntries();
    device->startCalibration();
    EXPECT_TRUE(journal.entries().empty());
    const auto& elements = *device->ownedElements();
    EXPECT_EQ(elements[0]->calibrationMin(), 255);
    EXPECT_EQ(elements[0]->calibrationMax(), 0);
    EXPECT_EQ(elements[0]->observedMin(), 3);
    EXPECT_EQ(elements[2]->calibrationMin(), 0);
    EXPECT_EQ(elements[3]->calibrationMin(), 5);
    EXPECT_EQ(elements[3]->calibrationMax(), -5);
    EXPECT_EQ(elements[1]->ownedElements()->at(0)->calibrationMin(), 0) << "a collection's member takes no part";

    device->endCalibration();
    EXPECT_EQ(journal.entries(),
              (std::vector<std::string>{"setObjectForKey(QZGameController-Calibrations-1234-5678)", "synchronize()"}));
}

TEST(DeviceCalibration, TakesTheRangesOverAndSavesThem) {
    const ElementHost host(
        std::vector{xAxis(16), collection(1, {0, 3}), button(2), throttle(19), xAxis(0x80000010U, -100, 100), hat(3)},
        Dictionary{{std::string(calibrationKey),
                    Dictionary{{"16", Array{1, 2, 3}}, {"99", Array{4, 5, 6}}, {"016", Array{7, 8, 9}}}},
                   {"Other", Dictionary{{"16", Array{1, 2, 3}}}}});
    host.device->startCalibration();
    for (const std::int64_t raw : {252, 3, 252}) {
        host.element(0)->receivedNewCalibrationValue(raw);
    }
    host.element(3)->receivedNewCalibrationValue(0);
    host.element(3)->receivedNewCalibrationValue(255);
    host.element(4)->receivedNewCalibrationValue(-90);
    host.element(4)->receivedNewCalibrationValue(80);
    host.plugged->setLastKnownValue(0, 127);
    host.plugged->setLastKnownValue(3, 200);
    host.device->endCalibration();

    EXPECT_EQ(host.element(0)->observedMin(), 3);
    EXPECT_EQ(host.element(0)->observedMax(), 252);
    EXPECT_EQ(host.element(0)->observedNeutral(), 127);
    EXPECT_EQ(host.platform->userDefaults().dictionaryRepresentation(),
              (Dictionary{{std::string(calibrationKey), Dictionary{{"16", Array{3, 252, 127}},
                                                                   {"19", Array{0, 255, 127}},
                                                                   {"2147483664", Array{-90, 80, -5}}}},
                          {"Other", Dictionary{{"16", Array{1, 2, 3}}}}}));
    EXPECT_EQ(host.element(1)->ownedElements()->at(0)->observedMin(), 1);
}

TEST(DeviceCalibration, SavesTheRangeInForceOfAControlThatWasNotMoved) {
    const ElementHost host(std::vector{xAxis(16), xAxis(17, -3, 0)}, preferencesWith({{"16", Array{30, 20, 10, 5}}}));
    host.device->startCalibration();
    host.device->endCalibration();
    EXPECT_EQ(*host.storedCalibration(), PropertyList(Dictionary{{"16", Array{30, 20, 10}}, {"17", Array{-3, 0, -1}}}));
}

TEST(DeviceCalibration, OfADeviceWithoutMovingControlsSavesAnEmptyDictionary) {
    const ElementHost host(std::vector{button(1), hat(2)}, preferencesWith({{"16", Array{1, 2, 3}}}));
    host.device->endCalibration();
    ASSERT_NE(host.storedCalibration(), nullptr);
    EXPECT_EQ(*host.storedCalibration(), PropertyList(Dictionary{}));
}

TEST(DeviceCalibration, OfElementsWithOneCookieSavesTheLaterOne) {
    const ElementHost host(std::vector{xAxis(16, 0, 10), xAxis(16, 0, 20), button(16)});
    host.device->startCalibration();
    host.device->endCalibration();
    EXPECT_EQ(*host.storedCalibration(), PropertyList(Dictionary{{"16", Array{0, 20, 10}}}));
}

TEST(DeviceCalibration, ReachesAnotherDeviceOfTheModelWhenThatIsConnected) {
    const ElementHost host(std::vector{xAxis(16)});
    const auto connectedBefore = QZHIDDevice::create(host.plugged.get(), host.manager);
    host.device->startCalibration();
    host.element()->receivedNewCalibrationValue(10);
    host.element()->receivedNewCalibrationValue(20);
    host.device->endCalibration();
    EXPECT_EQ(connectedBefore->elementWithCookie(16)->observedMax(), 255);
    const auto connectedAfter =
        QZHIDDevice::create(host.plug(std::vector{xAxis(16), throttle(19)}).get(), host.manager);
    EXPECT_EQ(connectedAfter->elementWithCookie(16)->observedMin(), 10);
    EXPECT_EQ(connectedAfter->elementWithCookie(16)->observedMax(), 20);
    EXPECT_EQ(connectedAfter->elementWithCookie(16)->observedNeutral(), 15);
    EXPECT_EQ(connectedAfter->elementWithCookie(19)->observedMax(), 255);
    // The other device's end of calibration replaces the whole.
    connectedBefore->endCalibration();
    EXPECT_EQ(*host.storedCalibration(), PropertyList(Dictionary{{"16", Array{0, 255, 127}}}));
}

TEST(DeviceCalibration, IsSavedUnderTheKeyOfTheMomentItEnds) {
    const ElementHost host(std::vector{xAxis(16)});
    host.device->startCalibration();
    host.plugged->setProperty("ProductID", std::int64_t{7});
    host.device->endCalibration();
    EXPECT_EQ(host.platform->userDefaults().dictionaryRepresentation(),
              (Dictionary{{"QZGameController-Calibrations-1234-7", Dictionary{{"16", Array{0, 255, 127}}}}}));
}

TEST(DeviceCalibration, WorksOnAfterTheDeviceWasUnplugged) {
    const ElementHost host(std::vector{xAxis(16)});
    host.plugged->setLastKnownValue(0, 90);
    host.device->startCalibration();
    host.element()->receivedNewCalibrationValue(10);
    host.element()->receivedNewCalibrationValue(200);
    host.platform->hidServices().unplug(host.plugged);
    host.device->endCalibration();
    EXPECT_EQ(*host.storedCalibration(), PropertyList(Dictionary{{"16", Array{10, 200, 105}}}));
}

// The report

TEST(DeviceReport, WritesOneEntryForEveryOwnedElementInOrder) {
    const ElementHost host(std::vector{collection(1, {2, 1}), xAxis(16), button(17), hat(18)});
    EXPECT_TRUE(host.platform->systemLog().entries().empty()) << "nothing is logged without a request";
    host.device->reportElements();
    std::vector<std::string> expected{"All elements, hierarchical:"};
    for (const auto& element : *host.device->ownedElements()) {
        expected.push_back(element->description());
    }
    EXPECT_EQ(host.platform->systemLog().entries(), expected);
    EXPECT_EQ(std::ranges::count(expected[1], '\n'), 4);
    EXPECT_NE(expected[1].find("\n    " + identityOf(*host.element(0)->ownedElements()->at(0)) + "; cookie = 17, "),
              std::string::npos);
    EXPECT_EQ(expected[2].find(identityOf(*host.element(1)) + "; cookie = 16, "), 0U);
}

} // namespace
} // namespace qz::platform
