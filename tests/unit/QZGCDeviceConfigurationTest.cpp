// SPDX-License-Identifier: MIT
#include "tests/support/ConfigurationFixture.h"

#include <limits>

namespace qz::test {
namespace {

using namespace std::string_literals;

using testing::IsEmpty;

constexpr std::int64_t lowest = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t highest = std::numeric_limits<std::int64_t>::max();

class DeviceConfiguration : public ConfigurationFixture {
protected:
    using Flags = std::map<std::int64_t, bool>;
    using Names = std::map<std::int64_t, std::string>;

    std::shared_ptr<QZGCDeviceConfiguration> read(const Dictionary& prefs, bool legacyStyle = false) {
        return std::make_shared<QZGCDeviceConfiguration>(owner_, prefs, legacyStyle);
    }

    std::shared_ptr<QZGCDeviceConfiguration> readSpecifications(Dictionary specifications) {
        return read({{"QZGCElementSpecifications", std::move(specifications)}});
    }
    std::shared_ptr<QZGCDeviceConfiguration> readMappings(Dictionary mappings) {
        return read({{"QZGCMappings", std::move(mappings)}});
    }
    /// A legacy configuration with one action, "a", that has these elements.
    std::shared_ptr<QZGCDeviceConfiguration> readRealElements(PropertyList elements) {
        return read({{"a", Dictionary{{"EkRealElements", std::move(elements)}}}}, true);
    }

    static Flags flags(const QZGCDeviceConfiguration& configuration) {
        Flags flags;
        for (const auto& [cookie, element] : configuration.elements()) {
            flags.emplace(cookie, element.reversedDirection());
        }
        return flags;
    }

    static Names names(const QZGCDeviceConfiguration& configuration) {
        Names names;
        for (const auto& [cookie, action] : Internals::mappings(configuration)) {
            names.emplace(cookie, action.rawValue());
        }
        return names;
    }

    static Dictionary reversed(PropertyList flag) { return {{"QZGCReversedDirection", std::move(flag)}}; }

    /// The cookies that a text denotes, by each of the three ways in which the stored form carries one.
    std::vector<std::int64_t> cookiesOf(const std::string& text) {
        const Flags asElement = flags(*readSpecifications({{text, Dictionary{}}}));
        const Names asMapping = names(*readMappings({{text, "a"}}));
        const Names asMember = names(*readRealElements(PropertyList::Array{text}));
        EXPECT_EQ(asMapping, asMember) << text;
        std::vector<std::int64_t> cookies;
        for (const auto& [cookie, flag] : asElement) {
            cookies.push_back(cookie);
            EXPECT_TRUE(asMapping.contains(cookie)) << text;
        }
        EXPECT_EQ(asElement.size(), asMapping.size()) << text;
        return cookies;
    }

    std::shared_ptr<QZGCConfigurationManager> owner_ = manager();
};

TEST_F(DeviceConfiguration, IsEmptyAndWithoutAnOwnerWhenItIsMadeOfNothing) {
    const QZGCDeviceConfiguration configuration;
    EXPECT_THAT(configuration.elements(), IsEmpty());
    EXPECT_THAT(Internals::mappings(configuration), IsEmpty());
    EXPECT_EQ(Internals::configManager(configuration), nullptr);
}

TEST_F(DeviceConfiguration, KnowsItsOwnerWithoutKeepingItAlive) {
    const auto configuration = read({});
    EXPECT_EQ(Internals::configManager(*configuration), owner_);
    owner_.reset();
    EXPECT_EQ(Internals::configManager(*configuration), nullptr);
}

TEST_F(DeviceConfiguration, ReadsDecimalTextsOfCookies) {
    const std::vector<std::pair<std::string, std::int64_t>> texts = {
        {"7", 7},
        {"007", 7},
        {"+7", 7},
        {"+007", 7},
        {"-3", -3},
        {"-003", -3},
        {"0", 0},
        {"-0", 0},
        {"+0", 0},
        {"000", 0},
        {"4294967295", 4294967295},
        {"9223372036854775807", highest},
        {"+9223372036854775807", highest},
        {"-9223372036854775807", -highest},
        {"-9223372036854775808", lowest},
        {std::string(100, '0') + "9223372036854775807", highest},
        {"-" + std::string(1000, '0') + "9223372036854775808", lowest},
    };
    for (const auto& [text, cookie] : texts) {
        EXPECT_THAT(cookiesOf(text), testing::ElementsAre(cookie)) << text;
    }
}

TEST_F(DeviceConfiguration, TakesNoOtherTextForACookie) {
    for (const std::string& text : {""s,
                                    "+"s,
                                    "-"s,
                                    "+-5"s,
                                    "-+5"s,
                                    "--5"s,
                                    "++5"s,
                                    "5-"s,
                                    "5+"s,
                                    " 7"s,
                                    "7 "s,
                                    "\t7"s,
                                    "7\n"s,
                                    "- 7"s,
                                    "0x7"s,
                                    "0X7"s,
                                    "x7"s,
                                    "07h"s,
                                    "7.0"s,
                                    "7."s,
                                    ".7"s,
                                    "7e0"s,
                                    "1e3"s,
                                    "1,000"s,
                                    "1_000"s,
                                    "1'000"s,
                                    "7\0"s,
                                    "\0007"s,
                                    "7\0007"s,
                                    "\0"s,
                                    "9223372036854775808"s,
                                    "+9223372036854775808"s,
                                    "-9223372036854775809"s,
                                    "18446744073709551615"s,
                                    "18446744073709551623"s,
                                    "99999999999999999999999999"s,
                                    "-99999999999999999999999999"s,
                                    "inf"s,
                                    "nan"s,
                                    "true"s,
                                    "seven"s,
                                    "\xD9\xA7"s /* Arabic-Indic 7 */,
                                    "\xEF\xBC\x97"s /* fullwidth 7 */,
                                    "\xE2\x88\x92\x37"s /* 7 after a minus sign that is no hyphen */,
                                    "7\xCC\x81"s,
                                    "\xFF"s,
                                    "\xEF\xBB\xBF\x37"s}) {
        EXPECT_THAT(cookiesOf(text), IsEmpty()) << text;
    }
}

TEST_F(DeviceConfiguration, ReadsBothOfTwoTextsForOneCookieAndKeepsOne) {
    EXPECT_EQ(flags(*readSpecifications({{"7", reversed("1")}, {"07", reversed("1")}})), (Flags{{7, true}}));
    EXPECT_EQ(names(*readMappings({{"7", "a"}, {"07", "a"}})), (Names{{7, "a"}}));
}

TEST_F(DeviceConfiguration, IsReversedByAnyTextButZero) {
    for (const std::string& text : {"1"s, ""s, "true"s, "false"s, "no"s, "NO"s, "00"s, "-0"s, " 0"s, "0 "s, "0.0"s,
                                    "O"s, "0\0"s, "\0"s, "2"s, "\xFF"s}) {
        EXPECT_EQ(flags(*readSpecifications({{"7", reversed(text)}})), (Flags{{7, true}})) << text;
    }
    EXPECT_EQ(flags(*readSpecifications({{"7", reversed("0")}})), (Flags{{7, false}}));
}

TEST_F(DeviceConfiguration, IsNotReversedByWhatIsNoText) {
    for (const PropertyList& flag : {PropertyList(true), PropertyList(false), PropertyList(1), PropertyList(1.0),
                                     PropertyList(PropertyList::Array{"1"}), PropertyList(Dictionary{{"1", "1"}})}) {
        EXPECT_EQ(flags(*readSpecifications({{"7", reversed(flag)}})), (Flags{{7, false}}));
    }
    EXPECT_EQ(flags(*readSpecifications({{"7", Dictionary{}}})), (Flags{{7, false}}));
    EXPECT_EQ(flags(*readSpecifications({{"7", Dictionary{{"EkReversed", "1"}}}})), (Flags{{7, false}}));
    EXPECT_EQ(flags(*readSpecifications({{"7", Dictionary{{"qzgcreverseddirection", "1"}}}})), (Flags{{7, false}}));
}

TEST_F(DeviceConfiguration, SkipsAnElementWhoseSpecificationIsNoDictionary) {
    EXPECT_EQ(flags(*readSpecifications({{"1", "1"},
                                         {"2", PropertyList::Array{reversed("1")}},
                                         {"3", true},
                                         {"4", 1},
                                         {"5", 1.0},
                                         {"6", reversed("1")}})),
              (Flags{{6, true}}));
}

TEST_F(DeviceConfiguration, ReadsAMappingToAnyTextAndToNothingElse) {
    EXPECT_EQ(names(*readMappings({{"1", ""},
                                   {"2", "in none of the lists"},
                                   {"3", 7},
                                   {"4", true},
                                   {"5", 1.5},
                                   {"6", PropertyList::Array{"a"}},
                                   {"7", Dictionary{{"a", "a"}}},
                                   {"8", "a\0b"s}})),
              (Names{{1, ""}, {2, "in none of the lists"}, {8, "a\0b"s}}));
}

TEST_F(DeviceConfiguration, ReadsTheModernKeysInTheModernStyleOnly) {
    const Dictionary modern{{"QZGCElementSpecifications", Dictionary{{"1", reversed("1")}}},
                            {"QZGCMappings", Dictionary{{"1", "a"}, {"EkRealElements", PropertyList::Array{"2"}}}}};
    EXPECT_EQ(flags(*read(modern)), (Flags{{1, true}}));
    EXPECT_EQ(names(*read(modern)), (Names{{1, "a"}}));
    EXPECT_EQ(flags(*read(modern, true)), Flags());
    EXPECT_EQ(names(*read(modern, true)), (Names{{2, "QZGCMappings"}})) << "the key is an action's name there";
}

TEST_F(DeviceConfiguration, ReadsTheLegacyKeysInTheLegacyStyleOnly) {
    const Dictionary legacy{{"EkDeviceElementSpecifications", Dictionary{{"1", Dictionary{{"EkReversed", "1"}}}}},
                            {"a", Dictionary{{"EkRealElements", PropertyList::Array{"1", "2"}}}}};
    EXPECT_EQ(flags(*read(legacy, true)), (Flags{{1, true}}));
    EXPECT_EQ(names(*read(legacy, true)), (Names{{1, "a"}, {2, "a"}}));
    EXPECT_EQ(flags(*read(legacy)), Flags());
    EXPECT_EQ(names(*read(legacy)), Names());
}

TEST_F(DeviceConfiguration, TellsTheCaseOfItsKeys) {
    EXPECT_EQ(flags(*read({{"qzgcElementSpecifications", Dictionary{{"1", Dictionary{}}}}})), Flags());
    EXPECT_EQ(names(*read({{"QZGCmappings", Dictionary{{"1", "a"}}}})), Names());
    EXPECT_EQ(names(*read({{"a", Dictionary{{"ekRealElements", PropertyList::Array{"1"}}}}}, true)), Names());
}

TEST_F(DeviceConfiguration, ReadsTheLegacyFlagLikeTheModernOne) {
    const auto read = [&](PropertyList flag) {
        return flags(QZGCDeviceConfiguration(
            owner_, {{"EkDeviceElementSpecifications", Dictionary{{"1", Dictionary{{"EkReversed", std::move(flag)}}}}}},
            true));
    };
    EXPECT_EQ(read("0"), (Flags{{1, false}}));
    EXPECT_EQ(read("1"), (Flags{{1, true}}));
    EXPECT_EQ(read(""), (Flags{{1, true}}));
    EXPECT_EQ(read(true), (Flags{{1, false}}));
    EXPECT_EQ(flags(*this->read({{"EkDeviceElementSpecifications", Dictionary{{"1", reversed("1")}}}}, true)),
              (Flags{{1, false}}))
        << "the modern name of the flag means nothing there";
}

TEST_F(DeviceConfiguration, TakesEveryOtherLegacyKeyForAnAction) {
    const Dictionary elements{{"EkRealElements", PropertyList::Array{"1"}}, {"other", "ignored"}};
    for (const std::string& key : {""s, "QZGCMappings"s, "QZGCElementSpecifications"s, "EkReversed"s, "12"s, "\0"s}) {
        EXPECT_EQ(names(*read({{key, elements}}, true)), (Names{{1, key}}));
    }
    EXPECT_EQ(names(*read({{"QZGCElementSpecifications", Dictionary{{"1", reversed("1")}}}}, true)), Names());
    EXPECT_EQ(names(*read({{"EkDeviceElementSpecifications", elements}}, true)), Names());
}

TEST_F(DeviceConfiguration, VoidsALegacyArrayForOneMemberThatIsNoText) {
    for (const PropertyList& wrong : {PropertyList(3), PropertyList(true), PropertyList(3.0),
                                      PropertyList(PropertyList::Array{}), PropertyList(Dictionary{})}) {
        EXPECT_EQ(names(*readRealElements(PropertyList::Array{wrong, "1", "2"})), Names());
        EXPECT_EQ(names(*readRealElements(PropertyList::Array{"1", "2", wrong})), Names());
    }
    EXPECT_EQ(names(*readRealElements(PropertyList::Array{1, 2})), Names());
}

TEST_F(DeviceConfiguration, LeavesOutOnlyTheLegacyMemberThatIsNoCookie) {
    EXPECT_EQ(names(*readRealElements(PropertyList::Array{"1", "", "bad", "2 ", "3"})), (Names{{1, "a"}, {3, "a"}}));
}

TEST_F(DeviceConfiguration, ReadsNothingFromALegacyActionWithoutItsArray) {
    EXPECT_EQ(names(*readRealElements(PropertyList::Array{})), Names());
    EXPECT_EQ(names(*readRealElements("1")), Names());
    EXPECT_EQ(names(*readRealElements(Dictionary{{"1", "1"}})), Names());
    EXPECT_EQ(names(*read({{"a", Dictionary{}}}, true)), Names());
    EXPECT_EQ(names(*read({{"a", PropertyList::Array{"1"}}}, true)), Names());
    EXPECT_EQ(names(*read({{"a", "1"}, {"b", Dictionary{{"EkRealElements", PropertyList::Array{"1"}}}}}, true)),
              (Names{{1, "b"}}));
}

TEST_F(DeviceConfiguration, GivesACookieOfTwoLegacyActionsToOneOfThem) {
    const Dictionary elements{{"EkRealElements", PropertyList::Array{"1"}}};
    const Names mappings = names(*read({{"a", elements}, {"b", elements}}, true));
    ASSERT_EQ(mappings.size(), 1U);
    EXPECT_TRUE(mappings.at(1) == "a" || mappings.at(1) == "b");
}

TEST_F(DeviceConfiguration, ReadsNoMappingsWithoutAnOwner) {
    const Dictionary modern{{"QZGCElementSpecifications", Dictionary{{"1", reversed("1")}}},
                            {"QZGCMappings", Dictionary{{"1", "a"}}}};
    const Dictionary legacy{{"EkDeviceElementSpecifications", Dictionary{{"1", Dictionary{{"EkReversed", "1"}}}}},
                            {"a", Dictionary{{"EkRealElements", PropertyList::Array{"1"}}}}};
    owner_.reset();
    EXPECT_EQ(flags(*read(modern)), (Flags{{1, true}}));
    EXPECT_EQ(names(*read(modern)), Names());
    EXPECT_EQ(flags(*read(legacy, true)), (Flags{{1, true}}));
    EXPECT_EQ(names(*read(legacy, true)), Names());
}

TEST_F(DeviceConfiguration, ConvertsLegacyNamesInBothStyles) {
    owner_ = QZGCConfigurationManager::create(actions({"X"}), actions({"Y"}), actions({"B", "x"}), actions({"x"}),
                                              actions({"y"}), actions({"b", "Y"}), platform_);
    EXPECT_EQ(names(*readMappings({{"1", "x"}, {"2", "y"}, {"3", "b"}, {"4", "Y"}, {"5", "X"}, {"6", "other"}})),
              (Names{{1, "X"}, {2, "Y"}, {3, "B"}, {4, "x"}, {5, "X"}, {6, "other"}}));
    const auto elements = [](const char* cookie) {
        return Dictionary{{"EkRealElements", PropertyList::Array{cookie}}};
    };
    EXPECT_EQ(names(*read({{"x", elements("1")}, {"b", elements("2")}, {"X", elements("3")}}, true)),
              (Names{{1, "X"}, {2, "B"}, {3, "X"}}));
}

TEST_F(DeviceConfiguration, ConvertsNothingForElementsThatAreNotThere) {
    // The name lies beyond the end of its modern list: converting it would end the process.
    owner_ = QZGCConfigurationManager::create({}, {}, {}, actions({"a"}), Actions(), Actions(), platform_);
    EXPECT_EQ(names(*readRealElements(PropertyList::Array{"bad"})), Names());
    EXPECT_EQ(names(*readRealElements(PropertyList::Array{"1", 1})), Names());
    EXPECT_EQ(names(*readMappings({{"bad", "a"}})), Names());
}

TEST_F(DeviceConfiguration, CopiesItsTablesAndItsOwner) {
    const auto original = read({{"QZGCElementSpecifications", Dictionary{{"1", reversed("1")}, {"2", reversed("0")}}},
                                {"QZGCMappings", Dictionary{{"1", "a"}}}});
    const auto copy = original->copy();
    EXPECT_NE(copy, original);
    EXPECT_EQ(copy->configPList(), original->configPList());
    EXPECT_EQ(Internals::configManager(*copy), owner_);

    Internals::setReversedDirection(*copy, 2, true);
    EXPECT_EQ(flags(*copy), (Flags{{1, true}, {2, true}}));
    EXPECT_EQ(flags(*original), (Flags{{1, true}, {2, false}}));
    Internals::setReversedDirection(*original, 1, false);
    EXPECT_EQ(flags(*copy), (Flags{{1, true}, {2, true}}));
    Internals::setReversedDirection(*original, 3, true);
    EXPECT_EQ(flags(*original), (Flags{{1, false}, {2, false}})) << "no element is added";
}

TEST_F(DeviceConfiguration, KeepsTheMappingsOfACopyApart) {
    const auto device = this->device(gamepad("A", {button(1)}));
    const auto original = owner_->existingOrDefaultConfiguration(*device);
    const auto copy = original->copy();
    owner_->setMapping(*device->elementWithCookie(1), Action("new"));
    EXPECT_EQ(names(*original), (Names{{1, "new"}}));
    EXPECT_EQ(names(*copy), (Names{{1, "b1"}}));
}

TEST_F(DeviceConfiguration, KeepsAnElementConfigurationAsAValue) {
    const auto configuration = readSpecifications({{"1", reversed("1")}});
    const QZGCElementConfiguration taken = configuration->elements().at(1);
    Internals::setReversedDirection(*configuration, 1, false);
    EXPECT_TRUE(taken.reversedDirection());
    EXPECT_FALSE(QZGCElementConfiguration().reversedDirection());
}

TEST_F(DeviceConfiguration, WritesBothKeysAlsoWhenItIsEmpty) {
    EXPECT_EQ(QZGCDeviceConfiguration().configPList(),
              (Dictionary{{"QZGCElementSpecifications", Dictionary{}}, {"QZGCMappings", Dictionary{}}}));
}

TEST_F(DeviceConfiguration, WritesCanonicalCookiesAndEveryFlag) {
    const auto configuration = read({{"QZGCElementSpecifications", Dictionary{{"007", reversed("yes")},
                                                                              {"+8", reversed("0")},
                                                                              {"-0", reversed("")},
                                                                              {"-9223372036854775808", Dictionary{}}}},
                                     {"QZGCMappings", Dictionary{{"-007", "a"}, {"+9223372036854775807", ""}}},
                                     {"unknown", Dictionary{{"1", "a"}}}});
    EXPECT_EQ(configuration->configPList(),
              (Dictionary{{"QZGCElementSpecifications", Dictionary{{"7", reversed("1")},
                                                                   {"8", reversed("0")},
                                                                   {"0", reversed("1")},
                                                                   {"-9223372036854775808", reversed("0")}}},
                          {"QZGCMappings", Dictionary{{"-7", "a"}, {"9223372036854775807", ""}}}}));
}

} // namespace
} // namespace qz::test
