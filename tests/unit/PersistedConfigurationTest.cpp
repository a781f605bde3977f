// SPDX-License-Identifier: MIT
#include "tests/support/ConfigurationFixture.h"

#include "platform/virtual/JournalPlatform.h"

namespace qz::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Key;

Dictionary flag(const char* text) {
    return {{"QZGCReversedDirection", text}};
}

/// A modern device dictionary.
Dictionary modern(Dictionary specifications, Dictionary mappings) {
    return {{"QZGCElementSpecifications", std::move(specifications)}, {"QZGCMappings", std::move(mappings)}};
}

Dictionary realElements(PropertyList::Array cookies) {
    return {{"EkRealElements", std::move(cookies)}};
}

/// A type and an instance of it, as the library writes them.
const Dictionary modernExample{
    {"121-305", modern({{"48", flag("0")}, {"49", flag("1")}}, {{"48", "moveX"}, {"49", "moveY"}, {"2", "fire"}})},
    {"121-305.1a2b00", modern({}, {{"2", "jump"}})},
};

/// The type in the earlier form.
const Dictionary legacyExample{
    {"121-305", Dictionary{{"EkDeviceElementSpecifications", Dictionary{{"49", Dictionary{{"EkReversed", "1"}}}}},
                           {"oldMoveY", realElements({"49"})},
                           {"oldFire", realElements({"2", "3"})}}},
};

/// What becomes of it.
const Dictionary migratedExample{
    {"121-305", modern({{"49", flag("1")}}, {{"49", "moveY"}, {"2", "fire"}, {"3", "fire"}})},
};

class PersistedConfiguration : public ConfigurationFixture {
protected:
    std::shared_ptr<QZGCConfigurationManager> manager(platform::Platform& platform) {
        return QZGCConfigurationManager::create(actions({"moveX"}), actions({"moveY"}), actions({"fire", "jump"}),
                                                actions({"oldMoveX"}), actions({"oldMoveY"}),
                                                actions({"oldFire", "oldJump"}), platform);
    }
    std::shared_ptr<QZGCConfigurationManager> manager() { return manager(platform_); }

    void storeLegacy(PropertyList configuration) {
        platform_.userDefaults().setObjectForKey(std::move(configuration), legacyConfigKey);
    }

    const Dictionary& preferences() { return platform_.userDefaults().dictionaryRepresentation(); }
};

TEST_F(PersistedConfiguration, IsWrittenAsItWasRead) {
    store(modernExample);
    const auto configurations = manager();
    EXPECT_THAT(configurations->deviceTypeConfigs(), ElementsAre(Key("121-305")));
    EXPECT_THAT(configurations->deviceInstanceConfigs(), ElementsAre(Key("121-305.1a2b00")));
    EXPECT_EQ(Internals::configPList(*configurations), modernExample);
    EXPECT_EQ(preferences(), (Dictionary{{configKey, modernExample}})) << "reading writes nothing";
}

TEST_F(PersistedConfiguration, OwnsWhatItRead) {
    store(modernExample);
    const auto configurations = manager();
    EXPECT_EQ(Internals::configManager(*configurations->deviceTypeConfigs().at("121-305")), configurations);
}

TEST_F(PersistedConfiguration, TellsInstancesByAFullStopAnywhere) {
    Dictionary stored;
    for (const char* deviceID : {"generic_Gamepad", "generic_Gamepad.0", ".", "", "1-2.", ".1-2", "1.2-3", " 1-2 ",
                                 "1-2\xE2\x80\xA4", "1-2..", "EkinorBindings", "QZGCMappings"}) {
        stored.emplace(deviceID, Dictionary{});
    }
    store(stored);
    const auto configurations = manager();
    EXPECT_THAT(configurations->deviceInstanceConfigs(),
                ElementsAre(Key("."), Key(".1-2"), Key("1-2."), Key("1-2.."), Key("1.2-3"), Key("generic_Gamepad.0")));
    EXPECT_THAT(configurations->deviceTypeConfigs(),
                ElementsAre(Key(""), Key(" 1-2 "), Key("1-2\xE2\x80\xA4"), Key("EkinorBindings"), Key("QZGCMappings"),
                            Key("generic_Gamepad")));
}

TEST_F(PersistedConfiguration, ReadsADeviceThatYieldsNothingAsAnEmptyOne) {
    store({{"1-2", Dictionary{}}, {"1-2.3", Dictionary{{"unknown", Dictionary{{"1", "a"}}}}}});
    const auto configurations = manager();
    configurations->saveUserDefaults();
    EXPECT_EQ(preferences(), (Dictionary{{configKey, Dictionary{{"1-2", modern({}, {})}, {"1-2.3", modern({}, {})}}}}));
}

TEST_F(PersistedConfiguration, SkipsDevicesThatAreNoDictionaries) {
    store({{"1-1", PropertyList::Array{modern({}, {{"1", "a"}})}},
           {"1-2", "text"},
           {"1-3", 1},
           {"1-4", true},
           {"1-5", 1.0},
           {"1-6", modern({}, {{"1", "a"}})}});
    EXPECT_THAT(manager()->deviceTypeConfigs(), ElementsAre(Key("1-6")));
}

TEST_F(PersistedConfiguration, ReplacesTheWholeStoredValue) {
    store(modernExample);
    const auto configurations = manager();
    store({{"9-9", modern({}, {{"1", "a"}})}, {"121-305", Dictionary{{"unknown", "kept?"}}}});
    configurations->saveUserDefaults();
    EXPECT_EQ(preferences(), (Dictionary{{configKey, modernExample}}));
}

TEST_F(PersistedConfiguration, IsWrittenBeforeItIsSynchronised) {
    platform::JournalPlatform journal(platform_);
    const auto configurations = manager(journal);
    EXPECT_THAT(journal.takeEntries(),
                ElementsAre("objectForKey(QZGameControllerConfig)", "objectForKey(EkinorBindings)"));
    configurations->saveUserDefaults();
    EXPECT_THAT(journal.takeEntries(), ElementsAre("setObjectForKey(QZGameControllerConfig)", "synchronize()"));
    EXPECT_EQ(preferences(), (Dictionary{{configKey, Dictionary{}}})) << "an empty one is written too";
}

TEST_F(PersistedConfiguration, KeepsTheTypeOfTwoConfigurationsWithOneKey) {
    store({{"1-2", modern({}, {{"1", "type"}})}, {"1-2.3", modern({}, {{"1", "instance"}})}});
    const auto configurations = manager();
    configurations->setDeviceTypeConfig("1-2.3", configurations->deviceTypeConfigs().at("1-2"));
    configurations->saveUserDefaults();
    const auto again = manager();
    EXPECT_EQ(Internals::configPList(*again),
              (Dictionary{{"1-2", modern({}, {{"1", "type"}})}, {"1-2.3", modern({}, {{"1", "type"}})}}));
    EXPECT_THAT(again->deviceTypeConfigs(), ElementsAre(Key("1-2")));
    EXPECT_THAT(again->deviceInstanceConfigs(), ElementsAre(Key("1-2.3"))) << "by its full stop";
}

TEST_F(PersistedConfiguration, KeepsASharedConfigurationUnderEachOfItsKeys) {
    const auto before = manager();
    const auto device = this->device(gamepad("A", {button(1), axis(2, usageX)}));
    before->existingOrDefaultConfiguration(*device);
    before->saveUserDefaults();
    const Dictionary expected = modern({{"1", flag("0")}, {"2", flag("0")}}, {{"1", "fire"}, {"2", "moveX"}});
    EXPECT_EQ(preferences(), (Dictionary{{configKey, Dictionary{{"121-305", expected}, {"121-305.A", expected}}}}));
}

TEST_F(PersistedConfiguration, LosesEditsThatAreNotSaved) {
    store(modernExample);
    const auto device = this->device(gamepad("A", {button(2)}));
    manager()->setMapping(*device->elementWithCookie(2), Action("lost"));
    EXPECT_EQ(preferences(), (Dictionary{{configKey, modernExample}}));
}

TEST_F(PersistedConfiguration, ComesBackWithItsEdits) {
    store(modernExample);
    const auto device = this->device(gamepad("A", {button(2), axis(48, usageX), axis(49, usageY)}));
    const auto before = manager();
    before->setMapping(*device->elementWithCookie(2), Action("jump"));
    before->clearMapping(*device->elementWithCookie(48));
    before->setReverseDirection(true, *device->elementWithCookie(48));
    before->setReverseDirection(false, *device->elementWithCookie(49));
    before->saveUserDefaults();
    EXPECT_EQ(preferences().at(configKey).dictionary()->at("121-305"),
              PropertyList(modern({{"48", flag("1")}, {"49", flag("0")}}, {{"49", "moveY"}, {"2", "jump"}})));
    EXPECT_EQ(Internals::configPList(*manager()), Internals::configPList(*before));
}

TEST_F(PersistedConfiguration, ComesBackWithNamesOfEveryKind) {
    using namespace std::string_literals;
    Dictionary mappings;
    int cookie = 0;
    for (const std::string& name : {""s,
                                    " "s,
                                    std::string(1'000'000, 'n'),
                                    "\0"s,
                                    "a\0b"s,
                                    "\x01\x1F\x7F\r\n\t"s,
                                    "\"\\/\b\f"s,
                                    "0"s,
                                    "EkReversed"s,
                                    "\xC3\xA9"s,
                                    "e\xCC\x81"s,
                                    "\xE2\x82\xAC"s,
                                    "\xF0\x9F\x98\x80"s,
                                    "\xEF\xBB\xBF"s,
                                    "\xEF\xBF\xBF"s,
                                    "\xF4\x8F\xBF\xBF"s,
                                    "\xE2\x80\xAE"s,
                                    "\xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D"s,
                                    "\xED\xA0\x80"s,
                                    "\xC0\x80"s,
                                    "\xFF\xFE"s,
                                    "\x80"s}) {
        mappings.emplace(std::to_string(++cookie), name);
    }
    const Dictionary stored{{"1-2", modern({}, mappings)}};
    store(stored);
    manager()->saveUserDefaults();
    EXPECT_EQ(preferences(), (Dictionary{{configKey, stored}}));
}

TEST_F(PersistedConfiguration, ReadsLegacyNamesOfTheModernFormAsModernOnes) {
    store({{"1-2", modern({}, {{"1", "oldMoveX"}, {"2", "oldJump"}, {"3", "fire"}, {"4", "other"}})}});
    EXPECT_EQ(Internals::configPList(*manager()),
              (Dictionary{{"1-2", modern({}, {{"1", "moveX"}, {"2", "jump"}, {"3", "fire"}, {"4", "other"}})}}));
}

class LegacyConfiguration : public PersistedConfiguration {};

TEST_F(LegacyConfiguration, IsMigratedOnceAndRemoved) {
    storeLegacy(legacyExample);
    const auto configurations = manager();
    EXPECT_EQ(Internals::configPList(*configurations), migratedExample);
    EXPECT_EQ(preferences(), (Dictionary{{configKey, migratedExample}}));
    EXPECT_EQ(Internals::configPList(*manager()), migratedExample);
}

TEST_F(LegacyConfiguration, IsRemovedAfterTheModernFormIsOnTheDiskAndNothingFollows) {
    storeLegacy(legacyExample);
    platform::JournalPlatform journal(platform_);
    manager(journal);
    EXPECT_THAT(journal.takeEntries(),
                ElementsAre("objectForKey(QZGameControllerConfig)", "objectForKey(EkinorBindings)",
                            "setObjectForKey(QZGameControllerConfig)", "synchronize()",
                            "removeObjectForKey(EkinorBindings)"));
    manager(journal);
    EXPECT_THAT(journal.takeEntries(), ElementsAre("objectForKey(QZGameControllerConfig)"));
}

TEST_F(LegacyConfiguration, IsMigratedWhateverTheSynchronisationAnswers) {
    storeLegacy(legacyExample);
    platform::JournalPlatform journal(platform_);
    journal.fail("synchronize", platform::kIOReturnError);
    manager(journal);
    EXPECT_EQ(preferences(), (Dictionary{{configKey, migratedExample}}));
}

TEST_F(LegacyConfiguration, StaysUntouchedNextToAModernOne) {
    for (const Dictionary& present : {modernExample, Dictionary{}}) {
        platform_.userDefaults().setObjectForKey(present, configKey);
        storeLegacy(legacyExample);
        platform::JournalPlatform journal(platform_);
        EXPECT_EQ(Internals::configPList(*manager(journal)), present);
        EXPECT_THAT(journal.takeEntries(), ElementsAre("objectForKey(QZGameControllerConfig)"));
        EXPECT_EQ(preferences(), (Dictionary{{configKey, present}, {legacyConfigKey, legacyExample}}));
    }
}

TEST_F(LegacyConfiguration, IsReadWhereTheModernOneIsNoDictionary) {
    for (const PropertyList& wrong : {PropertyList("text"), PropertyList(1), PropertyList(true), PropertyList(0.5),
                                      PropertyList(PropertyList::Array{modernExample})}) {
        platform_.userDefaults().setObjectForKey(wrong, configKey);
        storeLegacy(legacyExample);
        EXPECT_EQ(Internals::configPList(*manager()), migratedExample);
        EXPECT_EQ(preferences(), (Dictionary{{configKey, migratedExample}}));
    }
}

TEST_F(LegacyConfiguration, IsLeftWhereItIsNoDictionary) {
    for (const PropertyList& wrong : {PropertyList("text"), PropertyList(1), PropertyList(true), PropertyList(0.5),
                                      PropertyList(PropertyList::Array{legacyExample})}) {
        storeLegacy(wrong);
        platform::JournalPlatform journal(platform_);
        const auto configurations = manager(journal);
        EXPECT_THAT(configurations->deviceTypeConfigs(), IsEmpty());
        EXPECT_THAT(configurations->deviceInstanceConfigs(), IsEmpty());
        EXPECT_THAT(journal.takeEntries(),
                    ElementsAre("objectForKey(QZGameControllerConfig)", "objectForKey(EkinorBindings)"));
        EXPECT_EQ(preferences(), (Dictionary{{legacyConfigKey, wrong}}));
    }
}

TEST_F(LegacyConfiguration, IsMigratedAlsoWhenItIsEmpty) {
    storeLegacy(Dictionary{});
    manager();
    EXPECT_EQ(preferences(), (Dictionary{{configKey, Dictionary{}}}));
}

TEST_F(LegacyConfiguration, IsToldFromTheModernOneByItsKeyAlone) {
    store(legacyExample);
    EXPECT_EQ(Internals::configPList(*manager()), (Dictionary{{"121-305", modern({}, {})}}));
    platform_.userDefaults().removeObjectForKey(configKey);
    storeLegacy(modernExample);
    EXPECT_EQ(Internals::configPList(*manager()),
              (Dictionary{{"121-305", modern({}, {})}, {"121-305.1a2b00", modern({}, {})}}));
}

TEST_F(LegacyConfiguration, TellsInstancesByAFullStopToo) {
    storeLegacy(Dictionary{{"1-2.3", Dictionary{{"oldFire", realElements({"1"})}}},
                           {"1-2", Dictionary{{"jump", realElements({"1"})}}}});
    const auto configurations = manager();
    EXPECT_THAT(configurations->deviceInstanceConfigs(), ElementsAre(Key("1-2.3")));
    EXPECT_THAT(configurations->deviceTypeConfigs(), ElementsAre(Key("1-2")));
    EXPECT_EQ(preferences().at(configKey),
              PropertyList(Dictionary{{"1-2.3", modern({}, {{"1", "fire"}})}, {"1-2", modern({}, {{"1", "jump"}})}}));
}

TEST_F(LegacyConfiguration, KeepsItsNamesWhenTheApplicationGivesNoLegacyLists) {
    storeLegacy(legacyExample);
    QZGCConfigurationManager::create({}, {}, {}, Actions(), std::nullopt, Actions(), platform_);
    EXPECT_EQ(preferences().at(configKey),
              PropertyList(Dictionary{
                  {"121-305", modern({{"49", flag("1")}}, {{"49", "oldMoveY"}, {"2", "oldFire"}, {"3", "oldFire"}})}}));
}

} // namespace
} // namespace qz::test
