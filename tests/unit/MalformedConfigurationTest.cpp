// SPDX-License-Identifier: MIT
#include "tests/support/ConfigurationFixture.h"
#include "tests/support/StoredConfigurationFromBytes.h"
#include "tests/support/StoredConfigurationModel.h"

#include <functional>
#include <random>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace qz::test {
namespace {

const ActionNames names{{{{"X"}, {"Y1", "Y2"}, {"B"}}}, {{{{"oldX"}, {"oldY1", "oldY2"}, {"oldB"}}}}};

Actions listOf(const std::vector<std::string>& from) {
    return {from.begin(), from.end()};
}

std::shared_ptr<QZGCConfigurationManager> managerOver(VirtualPlatform& platform) {
    const auto& legacy = *names.legacy;
    return QZGCConfigurationManager::create(listOf(names.modern[0]), listOf(names.modern[1]), listOf(names.modern[2]),
                                            listOf(legacy[0]), listOf(legacy[1]), listOf(legacy[2]), platform);
}

/// Whether `stored` is read for all that it means, and written and read again unchanged.
testing::AssertionResult survives(const PropertyList& stored, bool legacyStyle) {
    VirtualPlatform platform({{legacyStyle ? legacyConfigKey : configKey, stored}});
    const auto first = managerOver(platform);
    const ModelConfiguration model = modelConfiguration(stored, legacyStyle, names);
    const Dictionary read = Internals::configPList(*first);
    if (!isModernFormOf(read, model)) {
        return testing::AssertionFailure() << "was read otherwise than it says";
    }
    for (const auto& [deviceID, device] : model) {
        const bool isInstance = deviceID.find('.') != std::string::npos;
        if (first->deviceInstanceConfigs().contains(deviceID) != isInstance ||
            first->deviceTypeConfigs().contains(deviceID) == isInstance) {
            return testing::AssertionFailure() << "went to the wrong table: " << deviceID;
        }
    }
    first->saveUserDefaults();
    if (Internals::configPList(*managerOver(platform)) != read) {
        return testing::AssertionFailure() << "was read back otherwise than it was written";
    }
    return testing::AssertionSuccess();
}

/// Calls `use` with every tree that has one value of `tree` replaced by one of `replacements`.
void replaceEverywhere(const PropertyList& tree, const std::vector<PropertyList>& replacements,
                       const std::function<void(PropertyList)>& use) {
    for (const PropertyList& replacement : replacements) {
        use(replacement);
    }
    if (const auto* const dictionary = tree.dictionary()) {
        for (const auto& [key, value] : *dictionary) {
            replaceEverywhere(value, replacements,
                              [&, key = key, changed = *dictionary](PropertyList replaced) mutable {
                                  changed.insert_or_assign(key, std::move(replaced));
                                  use(changed);
                              });
        }
    } else if (const auto* const array = tree.array()) {
        for (std::size_t i = 0; i < array->size(); ++i) {
            replaceEverywhere((*array)[i], replacements, [&, changed = *array](PropertyList replaced) mutable {
                changed[i] = std::move(replaced);
                use(changed);
            });
        }
    }
}

const std::vector<PropertyList> everyKind = {
    true,
    false,
    0,
    1,
    -1,
    0.0,
    1.0,
    "",
    "0",
    "1",
    "text",
    PropertyList::Array{},
    PropertyList::Array{"1"},
    PropertyList::Array{1},
    PropertyList::Array{Dictionary{}},
    Dictionary{},
    Dictionary{{"1", "1"}},
    Dictionary{{"", Dictionary{}}},
    Dictionary{{"1", Dictionary{{"1", PropertyList::Array{"1"}}}}},
};

const Dictionary modernTree{
    {"1-2", Dictionary{{"QZGCElementSpecifications", Dictionary{{"1", Dictionary{{"QZGCReversedDirection", "1"}}},
                                                                {"2", Dictionary{{"QZGCReversedDirection", "0"}}}}},
                       {"QZGCMappings", Dictionary{{"1", "X"}, {"2", "oldB"}}},
                       {"other", Dictionary{{"1", "X"}}}}},
    {"1-2.3", Dictionary{{"QZGCElementSpecifications", Dictionary{}}, {"QZGCMappings", Dictionary{{"1", "oldX"}}}}},
};

const Dictionary legacyTree{
    {"1-2", Dictionary{{"EkDeviceElementSpecifications",
                        Dictionary{{"1", Dictionary{{"EkReversed", "1"}}}, {"2", Dictionary{{"EkReversed", "0"}}}}},
                       {"oldX", Dictionary{{"EkRealElements", PropertyList::Array{"1", "2"}}, {"other", "1"}}},
                       {"oldY2", Dictionary{{"EkRealElements", PropertyList::Array{"3"}}}}}},
    {"1-2.3", Dictionary{{"oldB", Dictionary{{"EkRealElements", PropertyList::Array{"1"}}}}}},
};

class MalformedConfiguration : public testing::TestWithParam<bool> {};

INSTANTIATE_TEST_SUITE_P(Forms, MalformedConfiguration, testing::Bool(),
                         [](const auto& form) { return std::string(form.param ? "Legacy" : "Modern"); });

TEST_P(MalformedConfiguration, KeepsEverythingElseWhenAValueIsOfAnyOtherKind) {
    const PropertyList tree = GetParam() ? legacyTree : modernTree;
    ASSERT_TRUE(survives(tree, GetParam()));
    int replaced = 0;
    replaceEverywhere(tree, everyKind, [&](PropertyList changed) {
        ++replaced;
        EXPECT_TRUE(survives(changed, GetParam())) << "replacement " << replaced;
    });
    EXPECT_GT(replaced, 250);
}

TEST_P(MalformedConfiguration, KeepsEverythingElseWhenTwoValuesAre) {
    const PropertyList tree = GetParam() ? legacyTree : modernTree;
    const std::vector<PropertyList> few = {1, "1", PropertyList::Array{"1", 1}, Dictionary{{"1", "1"}}};
    replaceEverywhere(tree, few, [&](PropertyList once) {
        replaceEverywhere(once, few, [&](PropertyList twice) { ASSERT_TRUE(survives(twice, GetParam())); });
    });
}

TEST_P(MalformedConfiguration, ReadsWhatChanceMakes) {
    std::mt19937 chance(20'240'229);
    std::size_t devices = 0;
    for (int round = 0; round < 4000; ++round) {
        std::vector<std::uint8_t> bytes(chance() % 400);
        for (std::uint8_t& byte : bytes) {
            byte = static_cast<std::uint8_t>(chance());
        }
        const PropertyList stored = StoredConfigurationFromBytes(bytes, GetParam()).configuration();
        devices += modelConfiguration(stored, GetParam(), names).size();
        ASSERT_TRUE(survives(stored, GetParam())) << "round " << round;
    }
    EXPECT_GT(devices, 2000U) << "chance is to make configurations, and not rubbish alone";
}

TEST_P(MalformedConfiguration, BearsAHundredThousandDevices) {
    const PropertyList device = (GetParam() ? legacyTree : modernTree).at("1-2");
    Dictionary stored;
    for (int i = 0; i < 100'000; ++i) {
        stored.emplace(std::to_string(i) + (i % 2 == 0 ? "-1" : "-1.2"), i % 1000 == 0 ? device : Dictionary{});
    }
    EXPECT_TRUE(survives(stored, GetParam()));
}

TEST_P(MalformedConfiguration, BearsAHundredThousandElements) {
    Dictionary specifications;
    Dictionary mappings;
    Dictionary device;
    PropertyList::Array cookies;
    const char* const flagKey = GetParam() ? "EkReversed" : "QZGCReversedDirection";
    for (std::int64_t i = 0; i < 100'000; ++i) {
        const std::string cookie = std::to_string(i * 40'000 - 2'000'000'000);
        specifications.emplace(cookie, Dictionary{{flagKey, i % 3 == 0 ? "0" : "1"}});
        if (GetParam()) {
            cookies.push_back(cookie);
        } else {
            mappings.emplace(cookie, i % 2 == 0 ? "oldY2" : "other");
        }
    }
    if (GetParam()) {
        device = {{"EkDeviceElementSpecifications", specifications},
                  {"oldX", Dictionary{{"EkRealElements", std::move(cookies)}}}};
    } else {
        device = {{"QZGCElementSpecifications", specifications}, {"QZGCMappings", std::move(mappings)}};
    }
    EXPECT_TRUE(survives(Dictionary{{"1-2", std::move(device)}}, GetParam()));
}

TEST(StoredConfigurationFuzz, AcceptsAFewInputsOfEveryLength) {
    std::mt19937 chance(7);
    for (std::size_t length = 0; length < 600; ++length) {
        std::vector<std::uint8_t> bytes(length);
        for (std::uint8_t& byte : bytes) {
            byte = static_cast<std::uint8_t>(chance());
        }
        EXPECT_EQ(LLVMFuzzerTestOneInput(bytes.data(), bytes.size()), 0);
    }
}

} // namespace
} // namespace qz::test
