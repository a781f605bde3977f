// SPDX-License-Identifier: MIT
#include "tests/support/ConfigurationFixture.h"

#include "platform/virtual/JournalPlatform.h"

#include <csignal>

namespace qz::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Key;
using testing::Optional;

constexpr const char* typeID = "121-305";
constexpr const char* instanceID = "121-305.A";

// The cookies of the gamepad below.
constexpr std::int64_t firstButton = 1;
constexpr std::int64_t secondButton = 2;
constexpr std::int64_t xAxis = 3;
constexpr std::int64_t rxAxis = 4;

class ConfigurationManager : public ConfigurationFixture {
protected:
    static std::optional<std::string> name(QZGCConfigurationManager& manager, const QZHIDDevice& device,
                                           std::int64_t cookie) {
        const auto action = manager.action(*device.elementWithCookie(cookie));
        return action ? std::optional(action->rawValue()) : std::nullopt;
    }
};

TEST_F(ConfigurationManager, StartsWithEmptyTablesWhenNothingIsStored) {
    const auto configurations = manager();
    EXPECT_THAT(configurations->deviceInstanceConfigs(), IsEmpty());
    EXPECT_THAT(configurations->deviceTypeConfigs(), IsEmpty());
    EXPECT_THAT(platform_.userDefaults().dictionaryRepresentation(), IsEmpty());
}

TEST_F(ConfigurationManager, FindsNoConfigurationForANewDeviceAndMakesNone) {
    const auto configurations = manager();
    const auto device = pad("A");
    EXPECT_EQ(configurations->existingConfiguration(*device), nullptr);
    EXPECT_THAT(configurations->deviceInstanceConfigs(), IsEmpty());
    EXPECT_THAT(configurations->deviceTypeConfigs(), IsEmpty());
}

TEST_F(ConfigurationManager, FindsTheUnitBeforeTheModel) {
    store({{typeID, storedDevice("b2", "0")}, {instanceID, storedDevice("b1", "0")}});
    const auto configurations = manager();
    EXPECT_EQ(configurations->existingConfiguration(*pad("A")), configurations->deviceInstanceConfigs().at(instanceID));
    EXPECT_EQ(configurations->existingConfiguration(*pad("B")), configurations->deviceTypeConfigs().at(typeID));
    EXPECT_EQ(configurations->existingOrDefaultConfiguration(*pad("A")),
              configurations->deviceInstanceConfigs().at(instanceID));
    EXPECT_EQ(name(*configurations, *pad("A"), firstButton), "b1");
    EXPECT_EQ(name(*configurations, *pad("B"), firstButton), "b2");
}

TEST_F(ConfigurationManager, FindsTheUnitAlsoWithoutItsModel) {
    store({{instanceID, storedDevice("b2", "0")}});
    const auto configurations = manager();
    EXPECT_EQ(name(*configurations, *pad("A"), firstButton), "b2");
    EXPECT_THAT(configurations->deviceTypeConfigs(), IsEmpty());
}

TEST_F(ConfigurationManager, RegistersOneDefaultUnderBothIDsAtTheFirstActionQuestion) {
    const auto configurations = manager();
    const auto device = pad("A");
    EXPECT_THAT(configurations->actionString(*device->elementWithCookie(firstButton)), Optional(std::string("b1")));
    ASSERT_THAT(configurations->deviceInstanceConfigs(), ElementsAre(Key(instanceID)));
    ASSERT_THAT(configurations->deviceTypeConfigs(), ElementsAre(Key(typeID)));
    EXPECT_EQ(configurations->deviceInstanceConfigs().at(instanceID), configurations->deviceTypeConfigs().at(typeID));
    EXPECT_EQ(configurations->existingConfiguration(*device), configurations->deviceTypeConfigs().at(typeID));
    EXPECT_EQ(configurations->existingOrDefaultConfiguration(*device), configurations->deviceTypeConfigs().at(typeID));
}

TEST_F(ConfigurationManager, AnswersAnActionAndItsNameAlike) {
    const auto configurations = manager();
    const auto device = pad("A");
    for (const auto& element : *device->ownedElements()) {
        const auto action = configurations->action(*element);
        const auto actionName = configurations->actionString(*element);
        ASSERT_EQ(action.has_value(), actionName.has_value());
        if (action) {
            EXPECT_EQ(action->rawValue(), *actionName);
        }
    }
}

TEST_F(ConfigurationManager, RegistersTheDefaultAlsoForAnElementThatIsNotMapped) {
    const auto configurations = manager();
    const auto device = pad("A");
    EXPECT_EQ(configurations->action(*device->elementWithCookie(rxAxis)), std::nullopt);
    EXPECT_NE(configurations->existingConfiguration(*device), nullptr);
}

TEST_F(ConfigurationManager, LetsASecondUnitShareTheDefaultOfItsModel) {
    const auto configurations = manager();
    const auto first = configurations->existingOrDefaultConfiguration(*pad("A"));
    EXPECT_EQ(configurations->existingOrDefaultConfiguration(*pad("B")), first);
    EXPECT_THAT(configurations->deviceInstanceConfigs(), ElementsAre(Key(instanceID)));
}

TEST_F(ConfigurationManager, ShowsAnEditOfASharedDefaultInBothTables) {
    const auto configurations = manager();
    const auto device = pad("A");
    const auto configuration = configurations->existingOrDefaultConfiguration(*device);
    configurations->setMapping(*device->elementWithCookie(firstButton), Action("new"));
    configurations->setReverseDirection(true, *device->elementWithCookie(xAxis));
    EXPECT_EQ(mapped(*configurations->deviceTypeConfigs().at(typeID), firstButton), "new");
    EXPECT_TRUE(isReversed(*configurations->deviceTypeConfigs().at(typeID), xAxis));
    EXPECT_EQ(name(*configurations, *pad("B"), firstButton), "new");
}

TEST_F(ConfigurationManager, MakesTwoOfASharedDefaultBySavingAndReading) {
    const auto before = manager();
    const auto device = pad("A");
    before->existingOrDefaultConfiguration(*device);
    before->saveUserDefaults();
    const auto after = manager();
    EXPECT_NE(after->deviceInstanceConfigs().at(instanceID), after->deviceTypeConfigs().at(typeID));
    EXPECT_EQ(Internals::configPList(*after), Internals::configPList(*before));
    after->setMapping(*device->elementWithCookie(firstButton), Action("new"));
    EXPECT_EQ(mapped(*after->deviceInstanceConfigs().at(instanceID), firstButton), "new");
    EXPECT_EQ(mapped(*after->deviceTypeConfigs().at(typeID), firstButton), "b1");
}

TEST_F(ConfigurationManager, ReplacesBothConfigurationsWhenADefaultIsAskedFor) {
    store({{typeID, storedDevice("model", "1")},
           {instanceID, storedDevice("unit", "1")},
           {"9-9", storedDevice("other", "1")}});
    const auto configurations = manager();
    const auto device = pad("A");
    const auto unit = configurations->deviceInstanceConfigs().at(instanceID);
    const auto fresh = configurations->makeAndRegisterDefaultConfiguration(*device);
    EXPECT_NE(fresh, unit);
    EXPECT_EQ(configurations->deviceInstanceConfigs().at(instanceID), fresh);
    EXPECT_EQ(configurations->deviceTypeConfigs().at(typeID), fresh);
    EXPECT_EQ(name(*configurations, *device, firstButton), "b1");
    EXPECT_FALSE(isReversed(*fresh, xAxis));
    EXPECT_EQ(mapped(*configurations->deviceTypeConfigs().at("9-9"), firstButton), "other");
    EXPECT_EQ(mapped(*unit, firstButton), "unit") << "the replaced one is left as it was";
    EXPECT_NE(configurations->makeAndRegisterDefaultConfiguration(*device), fresh);
}

TEST_F(ConfigurationManager, NeverMakesAConfigurationForTheQuestionOfDirection) {
    const auto configurations = manager();
    const auto device = pad("A");
    for (int i = 0; i < 3; ++i) {
        for (const auto& element : *device->ownedElements()) {
            EXPECT_FALSE(configurations->mustReverseDirection(*element));
        }
    }
    EXPECT_EQ(configurations->existingConfiguration(*device), nullptr);
    EXPECT_THAT(configurations->deviceTypeConfigs(), IsEmpty());
}

TEST_F(ConfigurationManager, AnswersTheDirectionFromTheUnitAloneWhenItIsConfigured) {
    store({{typeID, storedDevice("b1", "1")}, {instanceID, Dictionary{}}});
    const auto configurations = manager();
    EXPECT_FALSE(configurations->mustReverseDirection(*pad("A")->elementWithCookie(xAxis)));
    EXPECT_TRUE(configurations->mustReverseDirection(*pad("B")->elementWithCookie(xAxis)));
    EXPECT_FALSE(configurations->mustReverseDirection(*pad("B")->elementWithCookie(secondButton)));
}

TEST_F(ConfigurationManager, AnswersNoActionFromTheUnitEvenWhenTheModelHasOne) {
    store({{typeID, storedDevice("b1", "0")}, {instanceID, Dictionary{}}});
    const auto configurations = manager();
    EXPECT_EQ(name(*configurations, *pad("A"), firstButton), std::nullopt);
}

TEST_F(ConfigurationManager, ReversesInBothTablesWhereTheElementIsConfigured) {
    const Dictionary flag{{"QZGCReversedDirection", "0"}};
    store({{typeID, Dictionary{{"QZGCElementSpecifications", Dictionary{{"1", flag}, {"2", flag}}}}},
           {instanceID, Dictionary{{"QZGCElementSpecifications", Dictionary{{"2", flag}, {"3", flag}}}}}});
    const auto configurations = manager();
    const auto device = pad("A");
    for (const std::int64_t cookie : {firstButton, secondButton, xAxis, rxAxis}) {
        configurations->setReverseDirection(true, *device->elementWithCookie(cookie));
    }
    const auto& unit = *configurations->deviceInstanceConfigs().at(instanceID);
    const auto& model = *configurations->deviceTypeConfigs().at(typeID);
    EXPECT_EQ(unit.elements().size(), 2U);
    EXPECT_TRUE(isReversed(unit, secondButton));
    EXPECT_TRUE(isReversed(unit, xAxis));
    EXPECT_EQ(model.elements().size(), 2U);
    EXPECT_TRUE(isReversed(model, firstButton));
    EXPECT_TRUE(isReversed(model, secondButton));
    EXPECT_FALSE(configurations->mustReverseDirection(*device->elementWithCookie(rxAxis)));

    configurations->setReverseDirection(false, *device->elementWithCookie(secondButton));
    EXPECT_FALSE(isReversed(unit, secondButton));
    EXPECT_FALSE(isReversed(model, secondButton));
    EXPECT_TRUE(isReversed(unit, xAxis));
}

TEST_F(ConfigurationManager, MapsInTheFirstConfigurationFoundOnly) {
    store({{typeID, storedDevice("b1", "0")}, {instanceID, storedDevice("b1", "0")}});
    const auto configurations = manager();
    const auto device = pad("A");
    configurations->setMapping(*device->elementWithCookie(firstButton), Action("new"));
    configurations->setMapping(*device->elementWithCookie(secondButton), Action("second"));
    const auto& unit = *configurations->deviceInstanceConfigs().at(instanceID);
    const auto& model = *configurations->deviceTypeConfigs().at(typeID);
    EXPECT_EQ(mapped(unit, firstButton), "new");
    EXPECT_EQ(mapped(unit, secondButton), "second");
    EXPECT_EQ(mapped(model, firstButton), "b1");
    EXPECT_EQ(Internals::mappings(model).size(), 1U);

    configurations->clearMapping(*device->elementWithCookie(firstButton));
    EXPECT_EQ(name(*configurations, *device, firstButton), std::nullopt);
    EXPECT_EQ(mapped(model, firstButton), "b1");
}

TEST_F(ConfigurationManager, MapsForEveryUnitOfAModelThatHasNoneOfItsOwn) {
    store({{typeID, storedDevice("b1", "0")}});
    const auto configurations = manager();
    configurations->setMapping(*pad("A")->elementWithCookie(firstButton), Action("new"));
    EXPECT_EQ(name(*configurations, *pad("B"), firstButton), "new");
    EXPECT_THAT(configurations->deviceInstanceConfigs(), IsEmpty());
    configurations->clearMapping(*pad("B")->elementWithCookie(firstButton));
    EXPECT_EQ(name(*configurations, *pad("A"), firstButton), std::nullopt);
}

TEST_F(ConfigurationManager, LeavesTheConfiguredElementWhenAMappingIsCleared) {
    store({{instanceID, storedDevice("b1", "1")}});
    const auto configurations = manager();
    const auto device = pad("A");
    configurations->clearMapping(*device->elementWithCookie(firstButton));
    configurations->clearMapping(*device->elementWithCookie(firstButton));
    EXPECT_TRUE(configurations->mustReverseDirection(*device->elementWithCookie(firstButton)));
    EXPECT_EQ(configurations->existingConfiguration(*device)->elements().size(), 2U);
}

TEST_F(ConfigurationManager, MakesNoElementConfigurationByAnEdit) {
    store({{instanceID, Dictionary{}}, {typeID, Dictionary{}}});
    const auto configurations = manager();
    const auto device = pad("A");
    for (const auto& element : *device->ownedElements()) {
        configurations->setReverseDirection(true, *element);
        configurations->setMapping(*element, Action("a"));
        configurations->clearMapping(*element);
        EXPECT_FALSE(configurations->mustReverseDirection(*element));
    }
    EXPECT_THAT(configurations->deviceInstanceConfigs().at(instanceID)->elements(), IsEmpty());
    EXPECT_THAT(configurations->deviceTypeConfigs().at(typeID)->elements(), IsEmpty());
}

TEST_F(ConfigurationManager, IgnoresEditsOfADeviceWithoutAConfiguration) {
    const auto configurations = manager();
    const auto device = pad("A");
    const auto element = device->elementWithCookie(firstButton);
    configurations->setMapping(*element, Action("lost"));
    configurations->clearMapping(*element);
    configurations->setReverseDirection(true, *element);
    EXPECT_EQ(configurations->existingConfiguration(*device), nullptr);
    EXPECT_EQ(name(*configurations, *device, firstButton), "b1");
    configurations->setMapping(*element, Action("kept"));
    EXPECT_EQ(name(*configurations, *device, firstButton), "kept");
}

TEST_F(ConfigurationManager, LetsTwoElementsHaveOneAction) {
    const auto configurations = manager();
    const auto device = pad("A");
    configurations->existingOrDefaultConfiguration(*device);
    configurations->setMapping(*device->elementWithCookie(secondButton), Action("b1"));
    EXPECT_EQ(name(*configurations, *device, firstButton), "b1");
    EXPECT_EQ(name(*configurations, *device, secondButton), "b1");
    configurations->clearMapping(*device->elementWithCookie(firstButton));
    EXPECT_EQ(name(*configurations, *device, firstButton), std::nullopt);
    EXPECT_EQ(name(*configurations, *device, secondButton), "b1");
}

TEST_F(ConfigurationManager, MapsAnyElementToAnyAction) {
    const auto configurations = manager();
    const auto device = pad("A");
    configurations->existingOrDefaultConfiguration(*device);
    configurations->setMapping(*device->elementWithCookie(rxAxis), Action("in none of the lists"));
    configurations->setMapping(*device->elementWithCookie(firstButton), Action(""));
    EXPECT_EQ(name(*configurations, *device, rxAxis), "in none of the lists");
    EXPECT_EQ(name(*configurations, *device, firstButton), "");
}

TEST_F(ConfigurationManager, ConvertsNoActionThatIsMappedWhileItRuns) {
    const auto configurations = QZGCConfigurationManager::create(
        actions({"X"}), actions({"Y"}), actions({"B"}), actions({"x"}), actions({"y"}), actions({"b"}), platform_);
    const auto device = pad("A");
    configurations->existingOrDefaultConfiguration(*device);
    configurations->setMapping(*device->elementWithCookie(firstButton), Action("b"));
    EXPECT_EQ(name(*configurations, *device, firstButton), "b");
}

TEST_F(ConfigurationManager, AnswersNothingForAnElementWhoseDeviceIsGone) {
    const auto configurations = manager();
    auto device = pad("A");
    configurations->existingOrDefaultConfiguration(*device);
    const auto before = Internals::configPList(*configurations);
    const auto orphan = device->elementWithCookie(firstButton);
    device.reset();
    EXPECT_EQ(configurations->action(*orphan), std::nullopt);
    EXPECT_EQ(configurations->actionString(*orphan), std::nullopt);
    EXPECT_FALSE(configurations->mustReverseDirection(*orphan));
    configurations->setMapping(*orphan, Action("new"));
    configurations->clearMapping(*orphan);
    configurations->setReverseDirection(true, *orphan);
    EXPECT_EQ(Internals::configPList(*configurations), before);
    EXPECT_TRUE(configurations->isElementCompatible(*orphan, Action("b1")));
}

TEST_F(ConfigurationManager, AnswersAMemberOfACollectionLikeTheDevicesOwnObject) {
    const auto configurations = manager();
    const auto device = this->device(gamepad("A", {button(1), collection(9, {0})}));
    const auto& member = device->elementWithCookie(9)->ownedElements()->front();
    EXPECT_NE(member, device->elementWithCookie(1));
    EXPECT_THAT(configurations->actionString(*member), Optional(std::string("b1")));
}

TEST_F(ConfigurationManager, OffersActionsByTheKindOfTheElement) {
    const auto configurations =
        QZGCConfigurationManager::create(actions({"x", "xb"}), actions({"y"}), actions({"b", "xb"}), actions({"lx"}),
                                         actions({"ly"}), actions({"lb"}), platform_);
    const auto device = this->device(
        gamepad("A", {button(1), axis(3, usageX), axis(4, usageRx), hat(5), consumerControl(6, QZHIDElementTypeOutput),
                      button(8, 1, QZHIDElementTypeMisc), consumerControl(9, QZHIDElementTypeCollection),
                      axis(10, usageSlider, QZHIDElementTypeMisc), axis(11, usageX, QZHIDElementTypeButton)}));
    const auto offered = [&](std::int64_t cookie) {
        std::vector<std::string> names;
        for (const char* each : {"x", "xb", "y", "b", "lx", "ly", "lb", "none", ""}) {
            if (configurations->isElementCompatible(*device->elementWithCookie(cookie), Action(each))) {
                names.emplace_back(each);
            }
        }
        return names;
    };
    EXPECT_THAT(offered(1), ElementsAre("xb", "b"));
    EXPECT_THAT(offered(8), ElementsAre("xb", "b"));
    EXPECT_THAT(offered(3), ElementsAre("x", "xb", "y"));
    EXPECT_THAT(offered(4), ElementsAre("x", "xb", "y"));
    EXPECT_THAT(offered(10), ElementsAre("x", "xb", "y"));
    EXPECT_THAT(offered(6), ElementsAre("xb", "b"));
    EXPECT_THAT(offered(9), ElementsAre("xb", "b"));
    EXPECT_THAT(offered(5), IsEmpty());
    EXPECT_THAT(offered(11), IsEmpty());
    EXPECT_THAT(configurations->deviceTypeConfigs(), IsEmpty()) << "the question registers nothing";
}

TEST_F(ConfigurationManager, TakesTablesFromTheApplication) {
    const auto configurations = manager();
    const auto device = pad("A");
    const auto element = device->elementWithCookie(firstButton);
    ASSERT_THAT(configurations->actionString(*element), Optional(std::string("b1")));
    const auto empty = std::make_shared<QZGCDeviceConfiguration>();

    configurations->setDeviceInstanceConfig(instanceID, empty);
    EXPECT_EQ(configurations->actionString(*element), std::nullopt);
    configurations->setDeviceInstanceConfig(instanceID, nullptr);
    EXPECT_THAT(configurations->deviceInstanceConfigs(), IsEmpty());
    EXPECT_THAT(configurations->actionString(*element), Optional(std::string("b1"))) << "the model's";
    configurations->setDeviceTypeConfig(typeID, empty);
    EXPECT_EQ(configurations->actionString(*element), std::nullopt);
    configurations->setDeviceTypeConfig("unknown", nullptr);
    EXPECT_THAT(configurations->deviceTypeConfigs(), ElementsAre(Key(typeID)));

    configurations->setDeviceInstanceConfigs({{instanceID, empty}, {"nothing", nullptr}});
    EXPECT_THAT(configurations->deviceInstanceConfigs(), ElementsAre(Key(instanceID)));
    configurations->setDeviceInstanceConfigs({});
    configurations->setDeviceTypeConfigs({{"nothing", nullptr}});
    EXPECT_THAT(configurations->deviceTypeConfigs(), IsEmpty());
    EXPECT_THAT(configurations->actionString(*element), Optional(std::string("b1"))) << "a new default";
}

TEST_F(ConfigurationManager, SavesOnlyWhenItIsAskedTo) {
    platform::JournalPlatform journal(platform_);
    store({{instanceID, storedDevice("b1", "0")}});
    const auto configurations = QZGCConfigurationManager::create(actions({"x"}), actions({"y"}), actions({"b"}),
                                                                 std::nullopt, std::nullopt, std::nullopt, journal);
    EXPECT_THAT(journal.takeEntries(), ElementsAre("objectForKey(QZGameControllerConfig)"));
    const auto device = pad("A");
    const auto other = this->device({});
    configurations->action(*device->elementWithCookie(firstButton));
    configurations->setMapping(*device->elementWithCookie(firstButton), Action("new"));
    configurations->clearMapping(*device->elementWithCookie(secondButton));
    configurations->setReverseDirection(true, *device->elementWithCookie(xAxis));
    configurations->makeAndRegisterDefaultConfiguration(*other);
    configurations->setDeviceTypeConfigs({});
    const auto copy = configurations->copy();
    EXPECT_THAT(journal.takeEntries(), IsEmpty());
    copy->saveUserDefaults();
    EXPECT_THAT(journal.takeEntries(), ElementsAre("setObjectForKey(QZGameControllerConfig)", "synchronize()"));
}

TEST_F(ConfigurationManager, TakesThePlatformRightAfterTheActions) {
    platform::JournalPlatform journal(platform_);
    store({{instanceID, storedDevice("old", "0")}});
    const auto configurations =
        QZGCConfigurationManager::create(actions({"x"}), actions({"y"}), actions({"b"}), journal);
    EXPECT_THAT(journal.takeEntries(), ElementsAre("objectForKey(QZGameControllerConfig)"));
    EXPECT_EQ(configurations->xActions(), actions({"x"}));
    EXPECT_EQ(configurations->yActions(), actions({"y"}));
    EXPECT_EQ(configurations->buttonActions(), actions({"b"}));
    const auto device = pad("A");
    EXPECT_EQ(name(*configurations, *device, firstButton), "old") << "stored on that platform, and not converted";
    configurations->saveUserDefaults();
    EXPECT_THAT(journal.takeEntries(), ElementsAre("setObjectForKey(QZGameControllerConfig)", "synchronize()"));
}

TEST(ConfigurationManagerDeathTest, CannotBeMadeWithoutActionLists) {
    EXPECT_EXIT(QZGCConfigurationManager::create(), testing::KilledBySignal(SIGABRT),
                testing::StrEq("QZGameController: fatal error: class \"QZGameController.QZGCConfigurationManager\" "
                               "cannot be made by \"init()\": it needs the application's action lists\n"));
}

} // namespace
} // namespace qz::test
