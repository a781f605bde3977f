// SPDX-License-Identifier: MIT
#include "tests/support/ConfigurationFixture.h"
#include "tests/support/CountedAllocations.h"

namespace qz::test {
namespace {

using testing::Optional;

/// A stored device whose element 1 is reversed and has this action.
Dictionary reversedWith(const char* action) {
    return {{"QZGCElementSpecifications", Dictionary{{"1", Dictionary{{"QZGCReversedDirection", "1"}}}}},
            {"QZGCMappings", Dictionary{{"1", action}}}};
}

/// The questions that every value asks. Their answers may be remembered, but no change of what they follow from may
/// ever be missed.
class ConfigurationLookup : public ConfigurationFixture {
protected:
    static auto actionIs(const char* name) { return Optional(std::string(name)); }

    /// The allocations of a few rounds of questions about all elements.
    static std::size_t allocationsOf(QZGCConfigurationManager& configurations, const QZHIDDevice& device) {
        const CountedAllocations allocations;
        for (int i = 0; i < 3; ++i) {
            for (const auto& element : *device.ownedElements()) {
                reversed_ = configurations.mustReverseDirection(*element);
                length_ = configurations.actionString(*element).value_or("").size();
                mapped_ = configurations.action(*element).has_value();
            }
        }
        return allocations.count();
    }

private:
    // Written so that no question can be left out as unused.
    static inline volatile bool reversed_ = false;
    static inline volatile bool mapped_ = false;
    static inline volatile std::size_t length_ = 0;
};

TEST_F(ConfigurationLookup, FollowsTheSerialNumber) {
    store({{"121-305.A", reversedWith("of A")}, {"121-305.B", reversedWith("of B")}, {"121-305", Dictionary{}}});
    const auto configurations = manager();
    const auto device = pad("A");
    const auto element = device->elementWithCookie(1);
    EXPECT_THAT(configurations->actionString(*element), actionIs("of A"));
    lastHandle().setProperty("SerialNumber", std::string("B"));
    EXPECT_THAT(configurations->actionString(*element), actionIs("of B"));
    EXPECT_EQ(configurations->existingConfiguration(*device), configurations->deviceInstanceConfigs().at("121-305.B"));
    lastHandle().setProperty("SerialNumber", std::string("C"));
    EXPECT_EQ(configurations->actionString(*element), std::nullopt);
    EXPECT_FALSE(configurations->mustReverseDirection(*element));
    lastHandle().setProperty("SerialNumber", std::string("A"));
    EXPECT_TRUE(configurations->mustReverseDirection(*element));
    lastHandle().removeProperty("SerialNumber");
    EXPECT_FALSE(configurations->mustReverseDirection(*element));
}

TEST_F(ConfigurationLookup, FollowsEveryPropertyOfTheIDs) {
    store({{"121-305.A", reversedWith("at first")},
           {"7-305.A", reversedWith("vendor")},
           {"7-8.A", reversedWith("product")},
           {"7-8.1f", reversedWith("location")},
           {"generic_Gamepad.0", reversedWith("generic")},
           {"generic_Joystick", reversedWith("kind")}});
    const auto configurations = manager();
    const auto device = pad("A");
    const auto element = device->elementWithCookie(1);
    EXPECT_THAT(configurations->actionString(*element), actionIs("at first"));
    lastHandle().setProperty("VendorID", std::int64_t{7});
    EXPECT_THAT(configurations->actionString(*element), actionIs("vendor"));
    lastHandle().setProperty("ProductID", std::int64_t{8});
    EXPECT_THAT(configurations->actionString(*element), actionIs("product"));
    lastHandle().removeProperty("SerialNumber");
    lastHandle().setProperty("LocationID", std::int64_t{0x1F});
    EXPECT_THAT(configurations->actionString(*element), actionIs("location"));
    lastHandle().setProperty("VendorID", 7.0);
    lastHandle().setProperty("ProductID", std::int64_t{0});
    EXPECT_THAT(configurations->actionString(*element), actionIs("generic"));
    lastHandle().setProperty("PrimaryUsage", std::int64_t{4});
    EXPECT_THAT(configurations->actionString(*element), actionIs("kind"));
}

TEST_F(ConfigurationLookup, FollowsTheDeviceThatAHandleIsReplacedBy) {
    store({{"121-305.A", reversedWith("of A")}, {"121-305.B", reversedWith("of B")}});
    const auto configurations = manager();
    const auto device = pad("A");
    const auto element = device->elementWithCookie(1);
    EXPECT_THAT(configurations->actionString(*element), actionIs("of A"));
    const auto other = pad("B");
    // As many properties, set as often: only the device tells the two apart.
    device->setIoHIDDeviceRef(other->ioHIDDeviceRef());
    EXPECT_THAT(configurations->actionString(*element), actionIs("of B"));
}

TEST_F(ConfigurationLookup, FollowsTheTables) {
    store({{"121-305", reversedWith("of the model")}, {"9-9.A", reversedWith("of another")}});
    const auto configurations = manager();
    const auto device = pad("A");
    const auto element = device->elementWithCookie(1);
    EXPECT_THAT(configurations->actionString(*element), actionIs("of the model"));

    // Kept, so that an answer from a configuration that is no longer registered would be a clear one.
    const auto ofTheModel = configurations->deviceTypeConfigs().at("121-305");
    const auto empty = std::make_shared<QZGCDeviceConfiguration>();
    configurations->setDeviceInstanceConfig("121-305.A", configurations->deviceInstanceConfigs().at("9-9.A"));
    EXPECT_THAT(configurations->actionString(*element), actionIs("of another"));
    configurations->setDeviceInstanceConfigs({});
    EXPECT_THAT(configurations->actionString(*element), actionIs("of the model"));
    configurations->setDeviceTypeConfig("121-305", nullptr);
    EXPECT_FALSE(configurations->mustReverseDirection(*element));
    configurations->setDeviceTypeConfig("121-305", ofTheModel);
    EXPECT_TRUE(configurations->mustReverseDirection(*element));
    configurations->setDeviceTypeConfigs({{"121-305", empty}});
    EXPECT_EQ(configurations->actionString(*element), std::nullopt);
    configurations->makeAndRegisterDefaultConfiguration(*device);
    EXPECT_THAT(configurations->actionString(*element), actionIs("b1"));
    configurations->setDeviceInstanceConfig("121-305.A", nullptr);
    configurations->setDeviceTypeConfig("121-305", empty);
    EXPECT_EQ(configurations->actionString(*element), std::nullopt);
}

TEST_F(ConfigurationLookup, FindsADefaultThatAnotherUnitOfTheModelGot) {
    const auto configurations = manager();
    const auto first = pad("A");
    const auto second = pad("B");
    EXPECT_FALSE(configurations->mustReverseDirection(*second->elementWithCookie(1)));
    configurations->action(*first->elementWithCookie(1));
    configurations->setReverseDirection(true, *first->elementWithCookie(1));
    EXPECT_TRUE(configurations->mustReverseDirection(*second->elementWithCookie(1)));
}

TEST_F(ConfigurationLookup, FollowsEditsAtOnce) {
    const auto configurations = manager();
    const auto device = pad("A");
    const auto element = device->elementWithCookie(1);
    for (const char* name : {"one", "two", "", "three"}) {
        configurations->existingOrDefaultConfiguration(*device);
        configurations->setMapping(*element, Action(name));
        EXPECT_THAT(configurations->actionString(*element), actionIs(name));
        configurations->clearMapping(*element);
        EXPECT_EQ(configurations->action(*element), std::nullopt);
        configurations->setReverseDirection(true, *element);
        EXPECT_TRUE(configurations->mustReverseDirection(*element));
        configurations->setReverseDirection(false, *element);
        EXPECT_FALSE(configurations->mustReverseDirection(*element));
    }
}

TEST_F(ConfigurationLookup, KeepsTwoManagersApartThatOneDeviceIsAskedOfInTurns) {
    store({{"121-305", reversedWith("of the first")}});
    const auto first = manager();
    store({{"121-305.A", Dictionary{{"QZGCMappings", Dictionary{{"1", "of the second"}}}}}});
    const auto second = manager();
    const auto device = pad("A");
    const auto element = device->elementWithCookie(1);
    for (int i = 0; i < 3; ++i) {
        EXPECT_THAT(first->actionString(*element), actionIs("of the first"));
        EXPECT_THAT(second->actionString(*element), actionIs("of the second"));
        EXPECT_TRUE(first->mustReverseDirection(*element));
        EXPECT_FALSE(second->mustReverseDirection(*element));
    }
    second->setMapping(*element, Action("edited"));
    EXPECT_THAT(first->actionString(*element), actionIs("of the first"));
    EXPECT_THAT(second->actionString(*element), actionIs("edited"));
    EXPECT_EQ(allocationsOf(*first, *device) + allocationsOf(*second, *device), 0U);
}

TEST_F(ConfigurationLookup, KeepsManagersApartHoweverOftenTheirTablesHaveChanged) {
    const auto device = pad("A");
    const auto element = device->elementWithCookie(1);
    std::vector<std::shared_ptr<QZGCConfigurationManager>> managers;
    for (std::size_t changes = 0; changes < 8; ++changes) {
        managers.push_back(manager({}, {}, {}));
        for (std::size_t i = 0; i < changes; ++i) {
            managers.back()->makeAndRegisterDefaultConfiguration(*device);
            managers.back()->setMapping(*element, Action(std::to_string(changes)));
        }
    }
    for (std::size_t first = 0; first < managers.size(); ++first) {
        for (std::size_t second = 1; second < managers.size(); ++second) {
            managers[first]->mustReverseDirection(*element);
            EXPECT_THAT(managers[second]->actionString(*element), Optional(std::to_string(second)));
        }
    }
    for (const auto& each : managers) {
        each->mustReverseDirection(*element);
        managers.front()->mustReverseDirection(*element);
        EXPECT_EQ(managers.front()->existingConfiguration(*device), nullptr);
    }
}

TEST_F(ConfigurationLookup, RemembersNothingOfAManagerThatIsGone) {
    const auto device = pad("A");
    const auto element = device->elementWithCookie(1);
    for (int i = 0; i < 20; ++i) {
        // Each one is made where the last one was, if the allocator will have it so.
        const auto configurations = manager({}, {}, {});
        EXPECT_FALSE(configurations->mustReverseDirection(*element));
        EXPECT_EQ(configurations->existingConfiguration(*device), nullptr);
        configurations->action(*element);
        configurations->setMapping(*element, Action("mapped"));
        configurations->setReverseDirection(true, *element);
        EXPECT_THAT(configurations->actionString(*element), actionIs("mapped"));
        EXPECT_TRUE(configurations->mustReverseDirection(*element));
    }
}

TEST_F(ConfigurationLookup, AllocatesNothingOnceTheDeviceHasItsConfiguration) {
    const auto configurations = manager();
    const auto device = pad("a serial number that is too long to be stored within a string");
    configurations->action(*device->elementWithCookie(1));
    EXPECT_EQ(allocationsOf(*configurations, *device), 0U);
    configurations->setMapping(*device->elementWithCookie(1), Action(std::string(1000, 'n')));
    configurations->setReverseDirection(true, *device->elementWithCookie(2));
    EXPECT_EQ(allocationsOf(*configurations, *device), 0U) << "after edits";
    configurations->clearMapping(*device->elementWithCookie(1));
    EXPECT_EQ(allocationsOf(*configurations, *device), 0U) << "after an edit";
}

TEST_F(ConfigurationLookup, AllocatesNothingAfterTheTablesHaveChanged) {
    const auto configurations = manager();
    const auto device = pad("a serial number that is too long to be stored within a string");
    configurations->action(*device->elementWithCookie(1));
    const auto other = this->device({});
    configurations->action(*this->device(gamepad("B", {button(1)}))->elementWithCookie(1));
    configurations->existingOrDefaultConfiguration(*other);
    EXPECT_EQ(allocationsOf(*configurations, *device), 0U) << "after the default of another device";
    configurations->setDeviceInstanceConfig("9-9.9", std::make_shared<QZGCDeviceConfiguration>());
    configurations->makeAndRegisterDefaultConfiguration(*device);
    EXPECT_EQ(allocationsOf(*configurations, *device), 0U) << "after its own default was made anew";
    configurations->setDeviceInstanceConfigs({});
    EXPECT_EQ(allocationsOf(*configurations, *device), 0U) << "with the model's configuration alone";
}

TEST_F(ConfigurationLookup, AllocatesNothingForTheDirectionOfADeviceThatHasNoConfiguration) {
    const auto configurations = manager();
    const auto device = pad("a serial number that is too long to be stored within a string");
    configurations->mustReverseDirection(*device->elementWithCookie(1));
    const CountedAllocations allocations;
    EXPECT_FALSE(configurations->mustReverseDirection(*device->elementWithCookie(1)));
    EXPECT_FALSE(configurations->mustReverseDirection(*device->elementWithCookie(2)));
    EXPECT_EQ(allocations.count(), 0U);
}

} // namespace
} // namespace qz::test
