// SPDX-License-Identifier: MIT
#include "tools/qzgc/ScenarioReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <string_view>

using qz::platform::PropertyList;
using qz::platform::PropertyValue;

namespace qz::tools {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A scenario with these members beside the empty ones that must be there.
std::string document(std::string_view members) {
    return R"({"actions": {}, "devices": {}, "steps": [], )" + std::string(members) + "}";
}

std::string withActions(std::string_view actions) {
    return R"({"devices": {}, "steps": [], "actions": )" + std::string(actions) + "}";
}

std::string withPad(std::string_view definition) {
    return R"({"actions": {}, "steps": [], "devices": {"pad": )" + std::string(definition) + "}}";
}

std::string withProperties(std::string_view properties) {
    return withPad(R"({"elements": [], "properties": )" + std::string(properties) + "}");
}

std::string withElements(std::string_view elements) {
    return withPad(R"({"properties": {}, "elements": )" + std::string(elements) + "}");
}

/// An element that is whole but for these members.
std::string withElement(std::string_view members) {
    return withElements(R"([{"cookie": 1, "type": 2, "usagePage": 9, "usage": 1, )" + std::string(members) + "}]");
}

/// Steps in a scenario with the devices "pad", which has two elements, and "bare", which has no list.
std::string withSteps(std::string_view steps) {
    return R"({"actions": {}, "devices": {"bare": {"properties": {}, "elements": null}, "pad": {"properties": {}, )"
           R"("elements": [{"cookie": 1, "type": 2, "usagePage": 9, "usage": 1}, )"
           R"({"cookie": 2, "type": 2, "usagePage": 9, "usage": 2}]}}, "steps": )" +
           std::string(steps) + "}";
}

std::string withStep(std::string_view step) {
    return withSteps("[" + std::string(step) + "]");
}

/// Why the text is refused; empty when it is not.
std::string refusal(const std::string& text) {
    try {
        readScenario(text);
        return {};
    } catch (const ScenarioError& error) {
        return error.what();
    }
}

struct Refused {
    std::string text;
    const char* reason;
};

void expectRefusals(const std::vector<Refused>& cases) {
    for (const auto& [text, reason] : cases) {
        EXPECT_EQ(refusal(text), reason) << text;
    }
}

TEST(ScenarioReader, RefusesWhatIsNoJSON) {
    expectRefusals({
        {"", "line 1, column 1: not valid JSON: the text ends too early"},
        {"{\"actions\": {},\n  ", "line 2, column 3: not valid JSON: the text ends too early"},
        {"{\"actions\": \"x", "line 1, column 15: not valid JSON: the text ends too early"},
        {"{} {}", "line 1, column 4: not valid JSON at the end of '{} {'"},
        {"{\"steps\": [],\n \"actions\": [1,]}",
         "line 2, column 16: not valid JSON at the end of ' \"actions\": [1,]'"},
        {"{'actions': {}}", "line 1, column 2: not valid JSON at the end of '{''"},
        {"{\"actions\": {} \"steps\"}", "line 1, column 22: not valid JSON at the end of 'actions\": {} \"steps\"'"},
        {"[01]", "line 1, column 3: not valid JSON at the end of '[01'"},
        {"[+1]", "line 1, column 2: not valid JSON at the end of '[+'"},
        {"[.5]", "line 1, column 2: not valid JSON at the end of '[.'"},
        {"[NaN]", "line 1, column 2: not valid JSON at the end of '[N'"},
        {"// no comments\n{}", "line 1, column 1: not valid JSON at the end of '/'"},
        {"[\"a\tb\"]", "line 1, column 4: not valid JSON at the end of '[\"a\\x09'"},
        {"[\"a\nb\"]", "line 1, column 4: not valid JSON at the end of '[\"a\\x0a'"},
        {"[\"\\ud83d\"]", "line 1, column 9: not valid JSON at the end of '[\"\\ud83d\"'"},
        {"[\"\xff\"]", "line 1, column 3: not valid JSON at the end of '[\"\\xff'"},
        {"[\"\xc3\"]", "line 1, column 4: not valid JSON at the end of '[\"\\xc3\"'"},
        {std::string("{}\0{}", 5), "line 1, column 3: not valid JSON: a NUL character"},
    });
}

TEST(ScenarioReader, RefusesAKeyThatOccursTwiceAtAnyDepth) {
    expectRefusals({
        {document(R"("delegate": true, "delegate": true)"), "delegate: the key occurs twice in the object"},
        {document(R"("preferences": {"a": [0, {"b": 1, "c": 2, "b": 3}]})"),
         "preferences.a[1].b: the key occurs twice in the object"},
        {withStep(R"({"do": "restart", "\u0064o": "restart"})"), "steps[0].do: the key occurs twice in the object"},
        {document(R"("preferences": {"": {"a.b": 1, "a.b": 1}})"),
         R"(preferences[""]["a.b"]: the key occurs twice in the object)"},
    });
}

TEST(ScenarioReader, RefusesNumbersThatNothingCanHold) {
    expectRefusals({
        {document(R"("openResult": 9223372036854775808)"), "openResult: the integer does not fit into 64 bits"},
        {document(R"("preferences": {"a": [-9223372036854775809]})"),
         "preferences.a[0]: the integer does not fit into 64 bits"},
        {document(R"("preferences": {"a": 18446744073709551616})"),
         "preferences.a: the integer does not fit into 64 bits"},
        {document(R"("preferences": {"a": )" + std::string(400, '9') + "}"),
         "preferences.a: the integer does not fit into 64 bits"},
        {withStep(R"({"do": "startLimitedValueReporting", "hysteresis": 9223372036854775808})"),
         "steps[0].hysteresis: the integer does not fit into 64 bits"},
        {document(R"("preferences": {"a": 1e309})"),
         "preferences.a: the number is beyond the range of floating-point numbers"},
    });
}

TEST(ScenarioReader, RefusesADocumentOfAnotherShape) {
    expectRefusals({
        {"[]", "scenario: expected an object"},
        {"null", "scenario: expected an object"},
        {"{}", "actions: missing"},
        {R"({"actions": {}, "steps": []})", "devices: missing"},
        {R"({"actions": {}, "devices": {}})", "steps: missing"},
        {document(R"("comment": "x")"), "comment: unknown key; correct it, or leave it out"},
        {document(R"("delegate": 1)"), "delegate: expected true or false"},
        {document(R"("delegate": null)"), "delegate: expected true or false"},
        {document(R"("openResult": "0")"), "openResult: expected an integer"},
        {document(R"("openResult": 2147483648)"), "openResult: expected an integer from -2147483648 to 2147483647"},
        {document(R"("openResult": -2147483649)"), "openResult: expected an integer from -2147483648 to 2147483647"},
        {document(R"("preferences": [])"), "preferences: expected an object"},
        {document(R"("preferences": {"a": null})"), "preferences.a: null is no preference value"},
        {document(R"("preferences": {"a b": {"c": [1, null]}})"),
         R"(preferences["a b"].c[1]: null is no preference value)"},
        {R"({"actions": {}, "devices": [], "steps": []})", "devices: expected an object"},
        {R"({"actions": {}, "devices": {}, "steps": {}})", "steps: expected an array"},
    });
}

TEST(ScenarioReader, RefusesActionsOfAnotherShape) {
    expectRefusals({
        {withActions("[]"), "actions: expected an object"},
        {withActions(R"({"z": []})"), "actions.z: unknown key; correct it, or leave it out"},
        {withActions(R"({"x": "a"})"), "actions.x: expected an array"},
        {withActions(R"({"y": ["a", 1]})"), "actions.y[1]: expected a string"},
        {withActions(R"({"legacyX": null})"), "actions.legacyX: expected an array"},
    });
}

TEST(ScenarioReader, RefusesDevicesOfAnotherShape) {
    expectRefusals({
        {withPad("null"), "devices.pad: expected an object"},
        {withPad(R"({"elements": []})"), "devices.pad.properties: missing"},
        {withPad(R"({"properties": {}})"), R"(devices.pad: expected either "elements" or "reportDescriptor")"},
        {withPad(R"({"properties": {}, "elements": null, "reportDescriptor": ""})"),
         R"(devices.pad: expected either "elements" or "reportDescriptor")"},
        {withPad(R"({"properties": {}, "elements": [], "serial": 1})"),
         "devices.pad.serial: unknown key; correct it, or leave it out"},
        {withPad(R"({"properties": {}, "reportDescriptor": 5})"), "devices.pad.reportDescriptor: expected a string"},
        {withPad(R"({"properties": {}, "reportDescriptor": "050"})"),
         "devices.pad.reportDescriptor: expected two hexadecimal digits for each byte"},
        {withPad(R"({"properties": {}, "reportDescriptor": "05 1"})"),
         "devices.pad.reportDescriptor: expected two hexadecimal digits for each byte"},
        {withPad(R"({"properties": {}, "reportDescriptor": "0x05"})"),
         "devices.pad.reportDescriptor: expected two hexadecimal digits for each byte"},
        {withProperties("[]"), "devices.pad.properties: expected an object"},
        {withProperties(R"({"VendorID": true})"), "devices.pad.properties.VendorID: expected a string or a number"},
        {withProperties(R"({"VendorID": null})"), "devices.pad.properties.VendorID: expected a string or a number"},
        {withProperties(R"({"VendorID": [1]})"), "devices.pad.properties.VendorID: expected a string or a number"},
        {withElements("{}"), "devices.pad.elements: expected an array or null"},
        {withElements("[1]"), "devices.pad.elements[0]: expected an object"},
        {withElements(R"([{"type": 2, "usagePage": 9, "usage": 1}])"), "devices.pad.elements[0].cookie: missing"},
        {withElements(R"([{"cookie": 1, "usagePage": 9, "usage": 1}])"), "devices.pad.elements[0].type: missing"},
        {withElements(R"([{"cookie": 1, "type": 2, "usage": 1}])"), "devices.pad.elements[0].usagePage: missing"},
        {withElements(R"([{"cookie": 1, "type": 2, "usagePage": 9}])"), "devices.pad.elements[0].usage: missing"},
        {withElements(R"([{"cookie": -1, "type": 2, "usagePage": 9, "usage": 1}])"),
         "devices.pad.elements[0].cookie: expected an integer from 0 to 4294967295"},
        {withElements(R"([{"cookie": 4294967296, "type": 2, "usagePage": 9, "usage": 1}])"),
         "devices.pad.elements[0].cookie: expected an integer from 0 to 4294967295"},
        {withElements(R"([{"cookie": 1.0, "type": 2, "usagePage": 9, "usage": 1}])"),
         "devices.pad.elements[0].cookie: expected an integer"},
        {withElements(R"([{"cookie": 1, "type": 2147483648, "usagePage": 9, "usage": 1}])"),
         "devices.pad.elements[0].type: expected an integer from -2147483648 to 2147483647"},
        {withElements(R"([{"cookie": 1, "type": 2, "usagePage": -9, "usage": 1}])"),
         "devices.pad.elements[0].usagePage: expected an integer from 0 to 4294967295"},
        {withElements(R"([{"cookie": 1, "type": 2, "usagePage": 9, "usage": 4294967296}])"),
         "devices.pad.elements[0].usage: expected an integer from 0 to 4294967295"},
        {withElement(R"("logicalMax": 1)"),
         "devices.pad.elements[0].logicalMax: unknown key; correct it, or leave it out"},
        {withElement(R"("collectionType": 2147483648)"),
         "devices.pad.elements[0].collectionType: expected an integer from -2147483648 to 2147483647"},
        {withElement(R"("min": 0.5)"), "devices.pad.elements[0].min: expected an integer"},
        {withElement(R"("max": "1")"), "devices.pad.elements[0].max: expected an integer"},
        {withElement(R"("preferredState": 1)"), "devices.pad.elements[0].preferredState: expected true or false"},
    });
}

TEST(ScenarioReader, RefusesChildrenThatAreNotThereOrHoldTheirOwnCollection) {
    const auto collections = [](const std::vector<std::string>& children) {
        std::string elements;
        for (const std::string& each : children) {
            elements += elements.empty() ? "[" : ", ";
            elements += R"({"cookie": 1, "type": 513, "usagePage": 1, "usage": 0, "children": )" + each + "}";
        }
        return withElements(elements + "]");
    };
    expectRefusals({
        {collections({"null"}), "devices.pad.elements[0].children: expected an array"},
        {collections({"[1]"}), "devices.pad.elements[0].children[0]: no element 1: there are 1"},
        {collections({"[1, -1]", "[]"}), "devices.pad.elements[0].children[1]: no element -1: there are 2"},
        {collections({"[\"0\"]"}), "devices.pad.elements[0].children[0]: expected an integer"},
        {collections({"[]", "[0, 1]"}), "devices.pad.elements[1].children[1]: the element contains itself"},
        {collections({"[2]", "[0]", "[1]"}), "devices.pad.elements[1].children[0]: the element contains itself"},
        {collections({"[1]", "[2, 3]", "[]", "[2, 1]"}),
         "devices.pad.elements[3].children[1]: the element contains itself"},
        // also where the library would not look: an element that is no collection
        {withElement(R"("children": [0])"), "devices.pad.elements[0].children[0]: the element contains itself"},
    });
    // Two ways to one element are no circle.
    EXPECT_EQ(refusal(collections({"[1, 2]", "[3]", "[3, 3]", "[]"})), "");
}

TEST(ScenarioReader, RefusesStepsOfAnotherShape) {
    expectRefusals({
        {withStep("7"), "steps[0]: expected an object"},
        {withStep("{}"), "steps[0].do: missing"},
        {withStep(R"({"do": 1})"), "steps[0].do: expected a string"},
        {withStep(R"({"do": "Attach", "device": "pad"})"), R"(steps[0].do: there is no step "Attach")"},
        {withStep(R"({"do": "a\n\"b\""})"), R"(steps[0].do: there is no step "a\n\"b\"")"},
        {withSteps(R"([{"do": "restart"}, {"do": "restart", "device": "pad"}])"),
         "steps[1].device: unknown key; correct it, or leave it out"},
        {withStep(R"({"do": "attach"})"), "steps[0].device: missing"},
        {withStep(R"({"do": "attach", "device": 0})"), "steps[0].device: expected a string"},
        {withStep(R"({"do": "attach", "device": "Pad"})"), R"(steps[0].device: there is no device "Pad")"},
        {withStep(R"({"do": "describe", "device": ""})"), R"(steps[0].device: there is no device "")"},
        {withStep(R"({"do": "detach", "device": "pad", "result": 2147483648})"),
         "steps[0].result: expected an integer from -2147483648 to 2147483647"},
        {withStep(R"({"do": "detach", "device": "pad", "result": null})"), "steps[0].result: expected an integer"},
        {withStep(R"({"do": "value", "device": "pad", "element": 0})"), "steps[0].raw: missing"},
        {withStep(R"({"do": "value", "device": "pad", "raw": 0})"), "steps[0].element: missing"},
        {withStep(R"({"do": "value", "device": "pad", "element": 0, "raw": 1.0})"),
         "steps[0].raw: expected an integer"},
        {withStep(R"({"do": "value", "device": "pad", "element": 0, "raw": null})"),
         "steps[0].raw: expected an integer"},
        {withStep(R"({"do": "value", "device": "pad", "element": 2, "raw": 0})"),
         "steps[0].element: no element 2: the device has 2"},
        {withStep(R"({"do": "value", "device": "pad", "element": -1, "raw": 0})"),
         "steps[0].element: no element -1: the device has 2"},
        {withStep(R"({"do": "lastKnown", "device": "bare", "element": 0, "raw": 0})"),
         "steps[0].element: the device has no element list"},
        {withStep(R"({"do": "lastKnown", "device": "pad", "element": 1, "raw": true})"),
         "steps[0].raw: expected an integer or null"},
        {withStep(R"({"do": "report", "device": "pad", "bytes": ""})"),
         R"(steps[0].device: the device has no "reportDescriptor")"},
        {withStep(R"({"do": "report", "device": "pad"})"), "steps[0].bytes: missing"},
        {withStep(R"({"do": "set", "calibrationMode": true})"),
         "steps[0].calibrationMode: unknown key; correct it, or leave it out"},
        {withStep(R"({"do": "set", "modalMode": 0})"), "steps[0].modalMode: expected true or false"},
        {withStep(R"({"do": "startLimitedValueReporting"})"), "steps[0].hysteresis: missing"},
        {withStep(R"({"do": "startLimitedValueReporting", "hysteresis": "0.5"})"),
         "steps[0].hysteresis: expected a number"},
        {withStep(R"({"do": "element", "device": "pad", "cookie": 1, "twoState": 1})"),
         "steps[0].twoState: expected true or false"},
        {withStep(R"({"do": "element", "device": "pad", "cookie": 1, "observedMin": 0.0})"),
         "steps[0].observedMin: expected an integer"},
        {withStep(R"({"do": "element", "device": "pad", "cookie": 1, "calibrationMin": 0})"),
         "steps[0].calibrationMin: unknown key; correct it, or leave it out"},
        {withStep(R"({"do": "setMapping", "device": "pad", "cookie": "1", "action": "a"})"),
         "steps[0].cookie: expected an integer"},
        {withStep(R"({"do": "setMapping", "device": "pad", "cookie": 1, "action": null})"),
         "steps[0].action: expected a string"},
        {withStep(R"({"do": "clearMapping", "device": "pad"})"), "steps[0].cookie: missing"},
        {withStep(R"({"do": "setReverseDirection", "device": "pad", "cookie": 1, "reversed": "true"})"),
         "steps[0].reversed: expected true or false"},
        {withStep(R"({"do": "normalize", "device": "pad", "cookie": 1})"), "steps[0].raw: missing"},
        {withStep(R"({"do": "compatible", "device": "pad", "cookie": 1})"), "steps[0].action: missing"},
        {withStep(R"({"do": "preferences", "key": "a"})"), "steps[0].key: unknown key; correct it, or leave it out"},
    });
}

TEST(ScenarioReader, LimitsNesting) {
    const auto nested = [](std::size_t levels) {
        // the document and the preferences are two
        return document("\"preferences\": {\"a\": " + std::string(levels - 2, '[') + std::string(levels - 2, ']') +
                        "}");
    };
    EXPECT_EQ(refusal(nested(maximumNesting)), "");
    std::string place = "preferences.a";
    for (std::size_t i = 0; i < maximumNesting - 2; ++i) {
        place += "[0]";
    }
    EXPECT_EQ(refusal(nested(maximumNesting + 1)), place + ": nested deeper than 1000 levels");
    EXPECT_EQ(refusal(std::string(1000000, '[')).substr(0, 9), "[0][0][0]");
}

/// A collection around another around another, `levels` deep, with `leaves` elements in the innermost one.
std::string nestedCollections(std::size_t levels, std::size_t leaves) {
    std::string elements = "[";
    for (std::size_t i = 0; i < levels; ++i) {
        elements += R"({"cookie": 1, "type": 513, "usagePage": 1, "usage": 0, "children": [)";
        const std::size_t last = i + 1 == levels ? levels + leaves : i + 2;
        for (std::size_t child = i + 1; child < last; ++child) {
            elements += std::to_string(child) + (child + 1 == last ? "" : ",");
        }
        elements += "]}" + std::string(i + 1 == levels && leaves == 0 ? "" : ",");
    }
    for (std::size_t i = 0; i < leaves; ++i) {
        elements += R"({"cookie": 1, "type": 2, "usagePage": 9, "usage": 0})" + std::string(i + 1 == leaves ? "" : ",");
    }
    return withElements(elements + "]");
}

TEST(ScenarioReader, LimitsMemberships) {
    constexpr const char* tooMany = "devices.pad.elements: more than 32768 memberships in all collections together";
    // Of n collections around each other the first holds n - 1, the second n - 2, and so on; each holds every leaf.
    EXPECT_EQ(refusal(nestedCollections(1, 32768)), "");
    EXPECT_EQ(refusal(nestedCollections(1, 32769)), tooMany);
    EXPECT_EQ(refusal(nestedCollections(256, 0)), "");      // 32,640
    EXPECT_EQ(refusal(nestedCollections(257, 0)), tooMany); // 32,896
    EXPECT_EQ(refusal(nestedCollections(64, 480)), "");     // 2,016 + 64 * 480 = 32,736
    EXPECT_EQ(refusal(nestedCollections(64, 481)), tooMany);
    EXPECT_EQ(refusal(nestedCollections(100000, 0)), tooMany); // without exhausting the stack
}

TEST(ScenarioReader, CountsAMembershipForEachWayDown) {
    const auto doubled = [](std::size_t collections) {
        std::string elements = "[";
        for (std::size_t i = 1; i <= collections; ++i) {
            const std::string next = std::to_string(i);
            elements +=
                R"({"cookie": 1, "type": 513, "usagePage": 1, "usage": 0, "children": [)" + next + "," + next + "]},";
        }
        return withElements(elements + R"({"cookie": 1, "type": 2, "usagePage": 9, "usage": 0}])");
    };
    EXPECT_EQ(refusal(doubled(13)), ""); // 2 * (2^13 - 1) + 2 * (2^12 - 1) + ... = 32,738
    EXPECT_NE(refusal(doubled(14)), "");
    EXPECT_NE(refusal(doubled(200)), ""); // the count would not fit into any integer
    // An element of another type may list members too; the platform's limits do not ask for the type.
    std::string children = "1";
    for (int i = 0; i < 32768; ++i) {
        children += ",1";
    }
    EXPECT_NE(refusal(withElements(R"([{"cookie": 1, "type": 2, "usagePage": 9, "usage": 0, "children": [)" + children +
                                   R"(]}, {"cookie": 1, "type": 2, "usagePage": 9, "usage": 0}])")),
              "");
}

TEST(ScenarioReader, FillsInWhatMayBeLeftOut) {
    const Scenario scenario = readScenario(withElement(R"("min": -1)"));
    EXPECT_TRUE(scenario.hasDelegate);
    EXPECT_EQ(scenario.openResult, 0);
    EXPECT_THAT(scenario.preferences, IsEmpty());
    EXPECT_THAT(scenario.actions.x, IsEmpty());
    EXPECT_FALSE(scenario.actions.legacyX);
    ASSERT_EQ(scenario.devices.size(), 1U);
    EXPECT_EQ(scenario.devices[0].name, "pad");
    const platform::VirtualElement& element = scenario.devices[0].description.elements->at(0);
    EXPECT_EQ(element.collectionType, 0);
    EXPECT_EQ(element.min, -1);
    EXPECT_EQ(element.max, 0);
    EXPECT_TRUE(element.preferredState);
    EXPECT_FALSE(element.children);
}

TEST(ScenarioReader, ReadsADeviceToItsLimits) {
    const Scenario scenario = readScenario(withPad(R"({"properties": {"a": 9223372036854775807, "b": 1e0, "c": "1"},
        "elements": [{"cookie": 4294967295, "type": -2147483648, "collectionType": 2147483647, "usagePage": 4294967295,
                      "usage": 0, "min": -9223372036854775808, "max": 9223372036854775807, "preferredState": false,
                      "children": []}, {"cookie": 0, "type": 513, "usagePage": 0, "usage": 4294967295,
                      "children": [0, 0]}]})"));
    const platform::VirtualDeviceDescription& description = scenario.devices.at(0).description;
    EXPECT_EQ(description.properties.at("a"), PropertyValue(std::numeric_limits<std::int64_t>::max()));
    EXPECT_EQ(description.properties.at("b"), PropertyValue(1.0));
    EXPECT_EQ(description.properties.at("c"), PropertyValue("1"));
    const platform::VirtualElement& element = description.elements->at(0);
    EXPECT_EQ(element.cookie, 4294967295U);
    EXPECT_EQ(element.type, std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(element.collectionType, std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(element.usagePage, 4294967295U);
    EXPECT_EQ(element.min, std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(element.max, std::numeric_limits<std::int64_t>::max());
    EXPECT_FALSE(element.preferredState);
    EXPECT_THAT(*element.children, IsEmpty());
    EXPECT_THAT(*description.elements->at(1).children, ElementsAre(0, 0));
    EXPECT_FALSE(readScenario(withElements("null")).devices.at(0).description.elements);
}

TEST(ScenarioReader, KeepsTheKindsOfPreferenceValues) {
    const Scenario scenario = readScenario(
        document(R"("preferences": {"a": [true, 1, 1.0, -0.0, "1", [], {}], "b": {"": -9223372036854775808}})"));
    const PropertyList::Dictionary expected{
        {"a", PropertyList::Array{true, 1, 1.0, -0.0, "1", PropertyList::Array{}, PropertyList::Dictionary{}}},
        {"b", PropertyList::Dictionary{{"", std::numeric_limits<std::int64_t>::min()}}}};
    EXPECT_EQ(scenario.preferences, expected);
}

TEST(ScenarioReader, FindsDevicesInWhateverOrderTheDocumentHasItsParts) {
    const Scenario scenario = readScenario(
        R"({"steps": [{"result": -1, "do": "attach", "device": "b"}], "delegate": false, "openResult": -2147483648,
            "devices": {"a": {"elements": null, "properties": {}}, "b": {"elements": null, "properties": {}}},
            "actions": {"legacyY": [], "y": ["b", "b"], "buttons": ["\u0000"]}})");
    const auto& attach = std::get<steps::Attach>(scenario.steps.at(0));
    EXPECT_EQ(attach.device, 1U);
    EXPECT_EQ(attach.result, -1);
    EXPECT_FALSE(scenario.hasDelegate);
    EXPECT_EQ(scenario.openResult, std::numeric_limits<std::int32_t>::min());
    EXPECT_THAT(scenario.actions.y, ElementsAre("b", "b"));
    EXPECT_THAT(scenario.actions.buttons, ElementsAre(std::string(1, '\0')));
    EXPECT_THAT(*scenario.actions.legacyY, IsEmpty());
    EXPECT_FALSE(scenario.actions.legacyButtons);
}

TEST(ScenarioReader, ReadsTheFieldsOfSteps) {
    const Scenario scenario = readScenario(withSteps(R"([
        {"do": "value", "device": "pad", "element": 1, "raw": -9223372036854775808},
        {"do": "lastKnown", "device": "pad", "element": 0, "raw": null},
        {"do": "lastKnown", "device": "pad", "element": 0, "raw": 7},
        {"do": "set", "modalMode": true},
        {"do": "startLimitedValueReporting", "hysteresis": 1},
        {"do": "element", "device": "pad", "cookie": -1, "twoState": false, "hysteresis": 2, "lastReportedValue": 0.25,
         "observedMax": 9223372036854775807}])"));
    const auto& value = std::get<steps::Value>(scenario.steps.at(0));
    EXPECT_EQ(value.device, 1U);
    EXPECT_EQ(value.element, 1U);
    EXPECT_EQ(value.raw, std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(value.result, 0);
    EXPECT_FALSE(std::get<steps::LastKnown>(scenario.steps.at(1)).raw);
    EXPECT_EQ(std::get<steps::LastKnown>(scenario.steps.at(2)).raw, 7);
    EXPECT_FALSE(std::get<steps::Set>(scenario.steps.at(3)).reportRawValues);
    EXPECT_EQ(std::get<steps::Set>(scenario.steps.at(3)).modalMode, true);
    EXPECT_EQ(std::get<steps::StartLimitedValueReporting>(scenario.steps.at(4)).hysteresis, 1.0);
    const auto& edit = std::get<steps::EditElement>(scenario.steps.at(5));
    EXPECT_EQ(edit.cookie, -1);
    EXPECT_EQ(edit.twoState, false);
    EXPECT_EQ(edit.hysteresis, 2.0);
    EXPECT_EQ(edit.lastReportedValue, 0.25);
    EXPECT_EQ(edit.observedMax, std::numeric_limits<std::int64_t>::max());
    EXPECT_FALSE(edit.observedMin);
    EXPECT_FALSE(edit.observedNeutral);
}

} // namespace
} // namespace qz::tools
