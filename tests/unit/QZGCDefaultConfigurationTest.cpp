// SPDX-License-Identifier: MIT
#include "tests/support/ConfigurationFixture.h"

namespace qz::test {
namespace {

using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

class DefaultConfiguration : public ConfigurationFixture {
protected:
    /// The default configuration of a gamepad with these elements.
    std::shared_ptr<QZGCDeviceConfiguration> of(std::vector<VirtualElement> elements) {
        return of(*device(gamepad("A", std::move(elements))));
    }
    std::shared_ptr<QZGCDeviceConfiguration> of(const QZHIDDevice& device) {
        return Internals::defaultConfiguration(*manager_, device);
    }

    static std::vector<std::pair<std::int64_t, std::string>> mappings(const QZGCDeviceConfiguration& configuration) {
        std::vector<std::pair<std::int64_t, std::string>> mappings;
        for (const auto& [cookie, action] : Internals::mappings(configuration)) {
            mappings.emplace_back(cookie, action.rawValue());
        }
        return mappings;
    }

    /// The cookies of the configured elements, none of which may be reversed.
    static std::vector<std::int64_t> configured(const QZGCDeviceConfiguration& configuration) {
        std::vector<std::int64_t> cookies;
        for (const auto& [cookie, element] : configuration.elements()) {
            EXPECT_FALSE(element.reversedDirection()) << cookie;
            cookies.push_back(cookie);
        }
        return cookies;
    }

    void giveLists(Actions x, Actions y, Actions buttons) {
        manager_ = manager(std::move(x), std::move(y), std::move(buttons));
    }

    std::shared_ptr<QZGCConfigurationManager> manager_ = manager();
};

TEST_F(DefaultConfiguration, HandsOutActionsUntilTheyRunOut) {
    std::vector<VirtualElement> elements;
    for (std::uint32_t number = 1; number <= 12; ++number) {
        elements.push_back(button(number, number));
    }
    elements.push_back(axis(21, usageX));
    elements.push_back(axis(22, usageY));
    elements.push_back(axis(23, usageZ));
    elements.push_back(axis(24, usageRz));
    elements.push_back(hat(25));
    giveLists(actions({"x1", "x2"}), actions({"y1"}), actions({"b1", "b2"}));
    const auto configuration = of(std::move(elements));
    EXPECT_THAT(mappings(*configuration),
                UnorderedElementsAre(Pair(1, "b1"), Pair(2, "b2"), Pair(21, "x1"), Pair(23, "x2"), Pair(22, "y1")));
    EXPECT_THAT(configured(*configuration),
                UnorderedElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 21, 22, 23, 24));
}

TEST_F(DefaultConfiguration, ServesXAndZFromOneListAndYAndRzFromAnotherInTheDevicesOrder) {
    EXPECT_THAT(mappings(*of({axis(1, usageX), axis(2, usageY), axis(3, usageZ), axis(4, usageRz)})),
                UnorderedElementsAre(Pair(1, "x1"), Pair(2, "y1"), Pair(3, "x2"), Pair(4, "y2")));
    EXPECT_THAT(mappings(*of({axis(4, usageRz), axis(3, usageZ), axis(2, usageY), axis(1, usageX)})),
                UnorderedElementsAre(Pair(4, "y1"), Pair(3, "x1"), Pair(2, "y2"), Pair(1, "x2")));
}

TEST_F(DefaultConfiguration, GoesByTheDevicesOrderAndNotByCookiesOrUsages) {
    EXPECT_THAT(mappings(*of({button(9, 12), button(4, 1), button(7, 3)})),
                UnorderedElementsAre(Pair(9, "b1"), Pair(4, "b2")));
}

TEST_F(DefaultConfiguration, SkipsWhatItDoesNotClassify) {
    const auto configuration =
        of({axis(1, usageRx), axis(2, usageRy), axis(3, usageSlider), axis(4, 0x37), axis(5, 0x38),
            element(6, QZHIDElementTypeButton, 0x01, 0x90, 0, 1), collection(7, {0, 1}),
            button(8, 1, QZHIDElementTypeAxis), axis(9, usageX, QZHIDElementTypeButton), hat(10)});
    EXPECT_THAT(configuration->elements(), IsEmpty());
    EXPECT_THAT(mappings(*configuration), IsEmpty());
}

TEST_F(DefaultConfiguration, ConfiguresConsumerElementsOfAnyTypeWithoutAnAction) {
    giveLists(actions({"x1"}), actions({"y1"}), actions({"b1", "b2", "b3"}));
    const auto configuration =
        of({consumerControl(1), consumerControl(2, QZHIDElementTypeCollection),
            consumerControl(3, QZHIDElementTypeOutput), consumerControl(4, QZHIDElementTypeMisc), button(5)});
    EXPECT_THAT(configured(*configuration), UnorderedElementsAre(1, 2, 3, 4, 5));
    EXPECT_THAT(mappings(*configuration), UnorderedElementsAre(Pair(5, "b1")));
}

TEST_F(DefaultConfiguration, TakesInputsOfTypeMiscToo) {
    EXPECT_THAT(mappings(*of({axis(1, usageX, QZHIDElementTypeMisc), button(2, 1, QZHIDElementTypeMisc)})),
                UnorderedElementsAre(Pair(1, "x1"), Pair(2, "b1")));
}

TEST_F(DefaultConfiguration, ServesMembersOfCollectionsOnce) {
    EXPECT_THAT(mappings(*of({collection(9, {1, 2}), button(1), button(2)})),
                UnorderedElementsAre(Pair(1, "b1"), Pair(2, "b2")));
}

TEST_F(DefaultConfiguration, TakesAnActionForEveryElementOfACookieAndKeepsTheLast) {
    giveLists({}, {}, actions({"b1", "b2", "b3"}));
    EXPECT_THAT(mappings(*of({button(1), button(1), button(2)})), UnorderedElementsAre(Pair(1, "b2"), Pair(2, "b3")));
}

TEST_F(DefaultConfiguration, KeepsAMappingWhenALaterElementOfTheCookieGetsNone) {
    giveLists({}, {}, actions({"b1"}));
    EXPECT_THAT(mappings(*of({button(1), button(1)})), UnorderedElementsAre(Pair(1, "b1")));
    EXPECT_THAT(mappings(*of({button(1), consumerControl(1)})), UnorderedElementsAre(Pair(1, "b1")));
}

TEST_F(DefaultConfiguration, HandsOutAnActionAsOftenAsItsListNamesIt) {
    giveLists(actions({"same"}), actions({"same"}), actions({"same", "same"}));
    EXPECT_THAT(mappings(*of({button(1), button(2), button(3), axis(4, usageX), axis(5, usageY)})),
                UnorderedElementsAre(Pair(1, "same"), Pair(2, "same"), Pair(4, "same"), Pair(5, "same")));
}

TEST_F(DefaultConfiguration, ConfiguresElementsAlsoWithoutAnyActions) {
    giveLists({}, {}, {});
    const auto configuration = of({button(1), axis(2, usageX), axis(3, usageRz), consumerControl(4)});
    EXPECT_THAT(configured(*configuration), UnorderedElementsAre(1, 2, 3, 4));
    EXPECT_THAT(mappings(*configuration), IsEmpty());
}

TEST_F(DefaultConfiguration, IsEmptyForADeviceWithoutElements) {
    for (auto elements : {std::optional<std::vector<VirtualElement>>(), std::optional(std::vector<VirtualElement>())}) {
        VirtualDeviceDescription description = gamepad("A", {});
        description.elements = std::move(elements);
        const auto itsDevice = device(std::move(description));
        const auto configuration = manager_->existingOrDefaultConfiguration(*itsDevice);
        EXPECT_THAT(configuration->elements(), IsEmpty());
        EXPECT_THAT(mappings(*configuration), IsEmpty());
        EXPECT_EQ(manager_->existingConfiguration(*itsDevice), configuration) << "registered like any other";
    }
}

TEST_F(DefaultConfiguration, LeavesTheListsTheTablesAndThePreferencesAlone) {
    const auto configuration = of({button(1), axis(2, usageX), axis(3, usageY)});
    EXPECT_EQ(namesOf(manager_->allActions()), (std::vector<std::string>{"x1", "x2", "y1", "y2", "b1", "b2"}));
    EXPECT_THAT(manager_->deviceInstanceConfigs(), IsEmpty());
    EXPECT_THAT(manager_->deviceTypeConfigs(), IsEmpty());
    EXPECT_THAT(platform_.userDefaults().dictionaryRepresentation(), IsEmpty());
    EXPECT_EQ(Internals::configManager(*configuration), nullptr) << "it has no owner";
}

TEST_F(DefaultConfiguration, IsMadeAnewAndEqualEveryTime) {
    const auto itsDevice = device(gamepad("A", {button(1), button(2), button(3), axis(4, usageX), consumerControl(5)}));
    const auto first = of(*itsDevice);
    const auto second = of(*itsDevice);
    EXPECT_NE(first, second);
    EXPECT_EQ(first->configPList(), second->configPList());
}

TEST_F(DefaultConfiguration, IgnoresTheLegacyLists) {
    manager_ = QZGCConfigurationManager::create(actions({"X"}), actions({"Y"}), actions({"B"}), actions({"X"}),
                                                actions({"B"}), actions({"Y"}), platform_);
    EXPECT_THAT(mappings(*of({axis(1, usageX), axis(2, usageY), button(3)})),
                UnorderedElementsAre(Pair(1, "X"), Pair(2, "Y"), Pair(3, "B")));
}

} // namespace
} // namespace qz::test
