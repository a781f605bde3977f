// SPDX-License-Identifier: MIT
#include "platform/report/Recording.h"
#include "platform/report/ReportDevice.h"
#include "tests/kernel/support/DeviceComparison.h"
#include "tests/kernel/support/Results.h"
#include "tests/kernel/support/UhidDevice.h"
#include "tests/support/LinuxDevicesPlatform.h"
#include "tests/support/PlatformClient.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>

using namespace qz::platform;

namespace qz::tests {
namespace {

using Bytes = std::vector<std::uint8_t>;

/// A device of tests/devices, made by the kernel.
class Devices : public ::testing::TestWithParam<std::string> {
public:
    static std::vector<std::string> files() {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(QZGC_TEST_DATA "/devices")) {
            if (entry.path().extension() == ".hid") {
                names.push_back(entry.path().stem());
            }
        }
        std::ranges::sort(names);
        return names;
    }
    static void SetUpTestSuite() { tell("Devices of tests/devices, against the kernel's input layer:"); }
    static void TearDownTestSuite() {
        const ComparisonCounts& sum = DeviceComparison::sum();
        tellFormatted("  all: %zu values compared, %zu agree, %zu differ for the reasons given", sum.compared,
                      sum.agreeing, sum.compared - sum.agreeing);
        EXPECT_GE(sum.agreeing * 10, sum.compared * 9) << "too many differences to be exceptions";
    }
    static std::string testName(const ::testing::TestParamInfo<std::string>& info) {
        std::string name = info.param;
        std::ranges::replace_if(
            name, [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0; }, '_');
        return name;
    }

protected:
    static Recording readDevice() {
        std::ifstream file(QZGC_TEST_DATA "/devices/" + GetParam() + ".hid", std::ios::binary);
        auto result = readRecording(std::string{std::istreambuf_iterator<char>(file), {}});
        return std::get<Recording>(std::move(result));
    }
    UhidDescription uhidDescription() const {
        return {.name = recorded.name,
                .phys = {},
                .uniq = recorded.uniq,
                .bus = recorded.bus,
                .vendor = recorded.vendor,
                .product = recorded.product,
                .version = 0x0203,
                .descriptor = recorded.descriptor};
    }

    /// Has the library find the device among those that meet the criteria; null when it does not.
    std::shared_ptr<HIDDevice> connect(const std::vector<HIDMatchingDictionary>& criteria) {
        uhid.emplace(uhidDescription());
        IOHIDManagerSetDeviceMatchingMultiple(client.manager(), criteria);
        client.onMatched = [this](IOHIDDeviceRef device) { found = pin(device); };
        client.schedule();
        EXPECT_EQ(client.open(), kIOReturnSuccess);
        turn();
        return found;
    }
    void turn() {
        while (platform.currentRunLoop().dispatch(kCFRunLoopDefaultMode) > 0) {
        }
    }

    const Recording recording = readDevice();
    const RecordedDevice& recorded = recording.devices.front();
    const std::variant<ReportDescriptor, ReportDescriptorError> parsed = parseReportDescriptor(recorded.descriptor);
    std::optional<UhidDevice> uhid;
    LinuxDevicesPlatform platform;
    EventLog events;
    PlatformClient client{platform, events};
    std::shared_ptr<HIDDevice> found;
};

INSTANTIATE_TEST_SUITE_P(Of, Devices, ::testing::ValuesIn(Devices::files()), Devices::testName);

const PropertyValue* property(const std::shared_ptr<HIDDevice>& device, const char* key) {
    return IOHIDDeviceGetProperty(device.get(), key);
}

std::string text(const std::shared_ptr<HIDDevice>& device, const char* key) {
    const PropertyValue* const value = property(device, key);
    return value != nullptr ? std::get<std::string>(*value) : "";
}

std::int64_t number(const std::shared_ptr<HIDDevice>& device, const char* key) {
    const PropertyValue* const value = property(device, key);
    return value != nullptr ? std::get<std::int64_t>(*value) : 0;
}

/// FNV-1a with 32 bits, of which the highest is dropped: how a place becomes a location.
std::int64_t locationOf(std::string_view place) {
    std::uint32_t hash = 2166136261U;
    for (const char character : place) {
        hash = (hash ^ static_cast<unsigned char>(character)) * 16777619U;
    }
    hash &= 0x7fffffffU;
    return hash != 0 ? hash : 1;
}

void expectSameElements(const ReportDescriptor& expected, const std::vector<IOHIDElementRef>& elements) {
    ASSERT_EQ(elements.size(), expected.elements.size());
    std::vector<std::vector<std::uint32_t>> children(elements.size());
    for (std::size_t i = 0; i < elements.size(); ++i) {
        if (expected.parents[i] != ReportDescriptor::noParent) {
            children[expected.parents[i]].push_back(expected.elements[i].cookie);
        }
    }
    for (std::size_t i = 0; i < elements.size(); ++i) {
        const HIDElement& want = expected.elements[i];
        const HIDElement& have = *elements[i];
        SCOPED_TRACE("cookie " + std::to_string(want.cookie));
        EXPECT_EQ(have.cookie, want.cookie);
        EXPECT_EQ(have.type, want.type);
        EXPECT_EQ(have.collectionType, want.collectionType);
        EXPECT_EQ(have.usagePage, want.usagePage);
        EXPECT_EQ(have.usage, want.usage);
        EXPECT_EQ(have.hasPreferredState, want.hasPreferredState);
        EXPECT_EQ(have.logicalMin, want.logicalMin);
        EXPECT_EQ(have.logicalMax, want.logicalMax);
        std::vector<std::uint32_t> cookies;
        for (const IOHIDElementRef child : have.children.value_or(std::span<const IOHIDElementRef>())) {
            cookies.push_back(child->cookie);
        }
        EXPECT_EQ(cookies, children[i]);
    }
}

bool isController(const ReportDescriptor& descriptor) {
    return std::ranges::any_of(descriptor.applications, [](const HIDUsagePair& application) {
        return application.usagePage == 1 && (application.usage == 4 || application.usage == 5);
    });
}

/// The criteria of this device, whatever it is: its first application.
std::vector<HIDMatchingDictionary> itself(const ReportDescriptor& descriptor) {
    const HIDUsagePair& first = descriptor.applications.front();
    return {{{"DeviceUsagePage", static_cast<std::int32_t>(first.usagePage)},
             {"DeviceUsage", static_cast<std::int32_t>(first.usage)}}};
}

TEST_P(Devices, AreUsedWhenTheyAreJoysticksOrGamePads) {
    const auto* const descriptor = std::get_if<ReportDescriptor>(&parsed);
    if (descriptor == nullptr) {
        EXPECT_THROW(connect(gameControllers()), std::runtime_error) << "the kernel takes what the library refuses";
        return;
    }
    EXPECT_EQ(connect(gameControllers()) != nullptr, isController(*descriptor));
}

TEST_P(Devices, HaveTheElementsAndPropertiesOfTheirDescription) {
    const auto* const descriptor = std::get_if<ReportDescriptor>(&parsed);
    if (descriptor == nullptr) {
        return; // there is none
    }
    const std::shared_ptr<HIDDevice> device = connect(itself(*descriptor));
    ASSERT_NE(device, nullptr);
    expectSameElements(*descriptor, IOHIDDeviceCopyMatchingElements(device.get()).value());
    EXPECT_EQ(text(device, "Product"), recorded.name);
    EXPECT_EQ(text(device, "SerialNumber"), recorded.uniq);
    EXPECT_EQ(property(device, "SerialNumber") == nullptr, recorded.uniq.empty());
    EXPECT_EQ(number(device, "VendorID"), recorded.vendor);
    EXPECT_EQ(number(device, "ProductID"), recorded.product);
    EXPECT_EQ(number(device, "PrimaryUsagePage"), descriptor->applications.front().usagePage);
    EXPECT_EQ(number(device, "PrimaryUsage"), descriptor->applications.front().usage);
    EXPECT_EQ(text(device, "Transport"), recorded.bus == 5 ? "Bluetooth" : recorded.bus == 3 ? "USB" : "");
    const std::string place = uhid->phys().substr(0, uhid->phys().rfind('/'));
    if (recorded.bus != 5) {
        EXPECT_EQ(number(device, "LocationID"), locationOf(place));
    } else if (!recorded.uniq.empty()) {
        EXPECT_EQ(number(device, "LocationID"), locationOf(recorded.uniq));
    }
    EXPECT_GT(number(device, "LocationID"), 0);
}

/// The reports to send: those that were recorded, then for each kind of report some of any bytes and some whose fields
/// are within their logical range.
std::vector<Bytes> reportsFor(const Recording& recording, const ReportDescriptor& descriptor) {
    std::vector<Bytes> reports;
    for (const RecordedEvent& event : recording.events) {
        if (event.device == 0 && event.kind == RecordedEvent::Kind::Report) {
            reports.push_back(event.report);
        }
    }
    std::mt19937 random(static_cast<std::uint32_t>(recording.devices.front().descriptor.size()));
    for (int round = 0; round < 60; ++round) {
        for (Bytes& report : randomReports(recording.devices.front().descriptor, descriptor, random, round % 3 == 0)) {
            reports.push_back(std::move(report));
        }
    }
    return reports;
}

TEST_P(Devices, SendTheValuesThatTheKernelsOwnInputLayerSees) {
    const auto* const descriptor = std::get_if<ReportDescriptor>(&parsed);
    if (descriptor == nullptr) {
        tellFormatted("  %-38s has no valid descriptor, which the kernel refuses too", GetParam().c_str());
        return;
    }
    ASSERT_NE(connect(itself(*descriptor)), nullptr);
    ReportDevice model(*descriptor, {});
    DeviceComparison comparison(*descriptor, uhid->nodes());
    std::vector<std::pair<std::uint32_t, std::int64_t>> delivered;
    client.onValue = [&](IOHIDValueRef value) { delivered.emplace_back(value->element->cookie, value->integerValue); };
    const std::vector<Bytes> reports = reportsFor(recording, *descriptor);
    for (const Bytes& report : reports) {
        ASSERT_TRUE(uhid->send(report));
        delivered.clear();
        turn();
        std::vector<std::pair<std::uint32_t, std::int64_t>> expected;
        for (const std::uint32_t index : model.feed(report)) {
            const HIDValue value = model.value(index);
            expected.emplace_back(value.element->cookie, value.integerValue);
        }
        ASSERT_EQ(delivered, expected);
        for (const auto& [cookie, value] : delivered) {
            comparison.setValue(cookie, value);
        }
        ASSERT_TRUE(comparison.compare()) << comparison.fault();
    }
    EXPECT_FALSE(reports.empty());
    comparison.tellAs(GetParam(), reports.size());
}

} // namespace
} // namespace qz::tests
