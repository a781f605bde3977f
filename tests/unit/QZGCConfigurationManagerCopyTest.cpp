// SPDX-License-Identifier: MIT
#include "tests/support/ConfigurationFixture.h"

namespace qz::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Key;
using testing::Optional;

constexpr const char* typeID = "121-305";
constexpr const char* instanceID = "121-305.A";

class ConfigurationManagerCopy : public ConfigurationFixture {};

TEST_F(ConfigurationManagerCopy, HasTheListsAndConfigurationsOfTheOriginal) {
    store({{instanceID, storedDevice("b1", "1")}, {typeID, storedDevice("b2", "0")}});
    const auto original = QZGCConfigurationManager::create(actions({"X"}), actions({"Y"}), actions({"B"}),
                                                           actions({"x"}), actions({"y"}), actions({"b"}), platform_);
    const auto copy = original->copy();
    EXPECT_THAT(namesOf(copy->xActions()), ElementsAre("X"));
    EXPECT_THAT(namesOf(copy->yActions()), ElementsAre("Y"));
    EXPECT_THAT(namesOf(copy->buttonActions()), ElementsAre("B"));
    EXPECT_EQ(Internals::convertLegacyToModern(*copy, Action("x")), Action("X"));
    EXPECT_EQ(Internals::convertLegacyToModern(*copy, Action("y")), Action("Y"));
    EXPECT_EQ(Internals::convertLegacyToModern(*copy, Action("b")), Action("B"));
    EXPECT_EQ(Internals::configPList(*copy), Internals::configPList(*original));
    EXPECT_THAT(copy->deviceInstanceConfigs(), ElementsAre(Key(instanceID)));
    EXPECT_THAT(copy->deviceTypeConfigs(), ElementsAre(Key(typeID)));
}

TEST_F(ConfigurationManagerCopy, IsMadeWithoutThePreferences) {
    const auto original = manager();
    store({{instanceID, storedDevice("b1", "1")}});
    platform_.userDefaults().setObjectForKey(Dictionary{{instanceID, Dictionary{}}}, legacyConfigKey);
    EXPECT_THAT(original->copy()->deviceInstanceConfigs(), IsEmpty());
}

TEST_F(ConfigurationManagerCopy, MakesTwoOfASharedDefault) {
    const auto original = manager();
    const auto device = pad("A");
    const auto shared = original->existingOrDefaultConfiguration(*device);
    const auto copy = original->copy();
    const auto unit = copy->deviceInstanceConfigs().at(instanceID);
    const auto model = copy->deviceTypeConfigs().at(typeID);
    EXPECT_NE(unit, shared);
    EXPECT_NE(model, shared);
    EXPECT_NE(unit, model);
    copy->setMapping(*device->elementWithCookie(1), Action("new"));
    EXPECT_EQ(mapped(*unit, 1), "new");
    EXPECT_EQ(mapped(*model, 1), "b1");
    EXPECT_EQ(mapped(*shared, 1), "b1");
    original->setReverseDirection(true, *device->elementWithCookie(3));
    EXPECT_FALSE(isReversed(*unit, 3));
    EXPECT_FALSE(isReversed(*model, 3));
}

TEST_F(ConfigurationManagerCopy, LeavesTheOwnerOfItsConfigurationsAsItWas) {
    store({{instanceID, storedDevice("b1", "1")}});
    auto original = manager();
    original->makeAndRegisterDefaultConfiguration(*this->device({}));
    const auto copy = original->copy();
    EXPECT_EQ(Internals::configManager(*copy->deviceInstanceConfigs().at(instanceID)), original);
    EXPECT_EQ(Internals::configManager(*copy->deviceTypeConfigs().at("generic_Unknown")), nullptr);
    EXPECT_EQ(Internals::configManager(*copy->copy()->deviceInstanceConfigs().at(instanceID)), original);
    original.reset();
    EXPECT_EQ(Internals::configManager(*copy->deviceInstanceConfigs().at(instanceID)), nullptr);
}

TEST_F(ConfigurationManagerCopy, AnswersForTheDevicesOfTheOriginal) {
    const auto original = manager();
    const auto device = pad("A");
    const auto element = device->elementWithCookie(1);
    original->action(*element);
    const auto copy = original->copy();
    copy->setMapping(*element, Action("copy's"));
    EXPECT_THAT(copy->actionString(*element), Optional(std::string("copy's")));
    EXPECT_THAT(original->actionString(*element), Optional(std::string("b1")));
}

} // namespace
} // namespace qz::test
