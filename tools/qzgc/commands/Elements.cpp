// SPDX-License-Identifier: MIT
#include "tools/qzgc/commands/Elements.h"

#include "QZGameController/QZGameController.h"
#include "platform/Text.h"
#include "platform/report/Recording.h"
#include "platform/virtual/VirtualPlatform.h"
#include "tools/qzgc/Hexadecimal.h"
#include "tools/qzgc/TextFile.h"
#include "tools/qzgc/session/ChosenController.h"
#include "tools/qzgc/session/Output.h"

#include <algorithm>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <set>

using qz::platform::hexadecimal;
using qz::platform::parseReportDescriptor;
using qz::platform::ReportDescriptor;
using qz::platform::ReportDescriptorError;
using qz::platform::VirtualDevice;
using qz::platform::VirtualPlatform;

namespace qz::tools {

namespace {

using Bytes = std::vector<std::uint8_t>;

struct NamedDescriptor {
    std::string name; ///< empty where the source is a descriptor alone
    Bytes bytes;
};

/// No descriptor does without control characters: the prefix of an item that names a usage page is one.
bool isText(std::string_view contents) {
    return std::ranges::none_of(contents, [](char each) {
        return static_cast<unsigned char>(each) < ' ' && blanks.find(each) == std::string_view::npos;
    });
}

/// Why a text does not stand for bytes: the place of the first character that is neither digit nor blank.
std::string faultOfHexadecimal(std::string_view text) {
    const auto at = findNoHexadecimal(text);
    if (at == std::string_view::npos) {
        return "not two hexadecimal digits for each byte";
    }
    const std::string_view before = text.substr(0, at);
    const auto line = 1 + std::ranges::count(before, '\n');
    const auto column = at - (before.rfind('\n') + 1); // npos + 1 is 0
    return "line " + std::to_string(line) + ", column " + std::to_string(column + 1) +
           ": neither a hexadecimal digit nor a blank";
}

std::vector<NamedDescriptor> descriptorsInFile(const std::string& name) {
    const std::string contents = readFile(name);
    if (!isText(contents)) {
        return {{"", Bytes(contents.begin(), contents.end())}};
    }
    if (auto bytes = bytesOfHexadecimal(contents)) {
        return {{"", *std::move(bytes)}};
    }
    // Every line of a recording that counts has a colon, and no other text that is of use here has one.
    if (contents.find(':') == std::string::npos) {
        throw FileError(name, faultOfHexadecimal(contents));
    }
    std::vector<NamedDescriptor> descriptors;
    for (platform::RecordedDevice& device : recordingIn(contents, name).devices) {
        descriptors.push_back({std::move(device.name), std::move(device.descriptor)});
    }
    return descriptors;
}

std::vector<NamedDescriptor> readDescriptors(const std::string& source) {
    std::error_code error;
    if (source == "-" || std::filesystem::exists(source, error)) {
        return descriptorsInFile(source);
    }
    if (auto bytes = bytesOfHexadecimal(source)) {
        return {{"", *std::move(bytes)}};
    }
    const bool isNoName = findNoHexadecimal(source) == std::string::npos;
    throw FileError(source, isNoName ? faultOfHexadecimal(source) : "no such file");
}

std::string typeText(QZHIDElementType type) {
    switch (type) {
    case QZHIDElementTypeMisc:
        return "input";
    case QZHIDElementTypeButton:
        return "button";
    case QZHIDElementTypeAxis:
        return "axis";
    case QZHIDElementTypeScanCodes:
        return "key";
    case QZHIDElementTypeOutput:
        return "output";
    case QZHIDElementTypeFeature:
        return "feature";
    case QZHIDElementTypeCollection:
        return "collection";
    default:
        return std::to_string(type);
    }
}

void printElement(const QZHIDElement& element, std::size_t depth) {
    std::string range;
    if (!element.isCollection()) {
        range = rangeText(element.theoreticalMin(), element.theoreticalMax());
    }
    const std::string usage = hexadecimal(static_cast<std::uint64_t>(element.usagePage()), 2) + ":" +
                              hexadecimal(static_cast<std::uint64_t>(element.usage()), 2);
    std::cout << std::right << std::setw(6) << element.cookie() << "  " << std::left << std::setw(11)
              << typeText(element.type()) << std::setw(10) << usage << std::setw(18) << range
              << std::string(2 * depth, ' ') << element.name() << '\n';
    if (element.ownedElements()) {
        for (const auto& member : *element.ownedElements()) {
            printElement(*member, depth + 1);
        }
    }
}

/// The device lists every element; those that are members of another are shown under it.
std::vector<std::shared_ptr<QZHIDElement>> outermostElements(const QZHIDDevice& device) {
    std::set<std::int64_t> members;
    std::vector<std::shared_ptr<QZHIDElement>> elements = elementsOf(device);
    for (const auto& element : elements) {
        for (const auto& member : element->ownedElements().value_or(std::vector<std::shared_ptr<QZHIDElement>>{})) {
            members.insert(member->cookie());
        }
    }
    std::erase_if(elements, [&](const auto& element) { return members.contains(element->cookie()); });
    return elements;
}

void printElements(const QZHIDDevice& device) {
    const auto elements = outermostElements(device);
    if (elements.empty()) {
        std::cout << "no elements\n";
        return;
    }
    std::cout << "cookie  type       usage     range             name\n";
    for (const auto& element : elements) {
        printElement(*element, 0);
    }
}

void appendElement(JSONText& text, const QZHIDElement& element) {
    text.beginObject()
        .member("cookie", element.cookie())
        .member("type", typeText(element.type()))
        .member("usagePage", element.usagePage())
        .member("usage", element.usage())
        .member("name", element.name())
        .member("nameKey", element.nameKey());
    if (!element.isCollection()) {
        text.member("minimum", element.theoreticalMin()).member("maximum", element.theoreticalMax());
    }
    if (element.ownedElements()) {
        text.key("members").beginArray();
        for (const auto& member : *element.ownedElements()) {
            appendElement(text, *member);
        }
        text.endArray();
    }
    text.endObject();
}

void appendElements(JSONText& text, const QZHIDDevice& device) {
    text.key("elements").beginArray();
    for (const auto& element : outermostElements(device)) {
        appendElement(text, *element);
    }
    text.endArray();
}

ReportDescriptor parse(const NamedDescriptor& descriptor, const std::string& source) {
    if (descriptor.bytes.empty()) {
        throw FileError(source.empty() ? "--descriptor" : source, "there is no descriptor: it is empty");
    }
    auto parsed = parseReportDescriptor(descriptor.bytes);
    if (const auto* const error = std::get_if<ReportDescriptorError>(&parsed)) {
        const std::string device = descriptor.name.empty() ? "" : descriptor.name + ": ";
        throw FileError(source, device + "the descriptor is refused at byte " + std::to_string(error->offset) + ": " +
                                    std::string(error->reason));
    }
    return std::get<ReportDescriptor>(std::move(parsed));
}

void printElementsOf(ReportDescriptor descriptor, const std::string& name, JSONText* json) {
    VirtualPlatform virtualPlatform;
    const auto handle = std::make_shared<VirtualDevice>(std::move(descriptor), platform::HIDProperties{});
    const auto manager = QZGCHIDManager::create(nullptr, virtualPlatform);
    manager->hidDeviceConnected(handle.get());
    const auto device = manager->devices().front();
    if (json != nullptr) {
        json->beginObject().member("name", name.empty() ? std::nullopt : std::optional(name));
        appendElements(*json, *device);
        json->endObject();
        return;
    }
    if (!name.empty()) {
        std::cout << name << '\n';
    }
    printElements(*device);
}

} // namespace

ExitStatus printElementsOfDescriptor(const std::string& source, bool json) {
    const auto descriptors = readDescriptors(source);
    std::vector<ReportDescriptor> parsed; // all of them before the first is printed
    parsed.reserve(descriptors.size());
    for (const NamedDescriptor& each : descriptors) {
        parsed.push_back(parse(each, source));
    }
    JSONText text;
    text.beginArray();
    for (std::size_t i = 0; i < parsed.size(); ++i) {
        printElementsOf(std::move(parsed[i]), descriptors[i].name, json ? &text : nullptr);
    }
    if (json) {
        std::cout << text.endArray().text() << '\n';
    }
    return finishOutput();
}

ExitStatus printElementsOfController(const SessionOptions& options, const std::string& device, bool json) {
    const auto listener = std::make_shared<ChosenControllerListener>(chooseController(options, device));
    const SessionOptions fast = withoutWaiting(options);
    Session session(fast);
    const auto chosen = awaitChosen(session, fast, listener);
    if (json) {
        JSONText text;
        text.beginArray().beginObject();
        appendMembers(text, listener->chosen());
        appendElements(text, *chosen);
        std::cout << text.endObject().endArray().text() << '\n';
    } else {
        std::cout << listener->chosen().name << '\n';
        printElements(*chosen);
    }
    return finishOutput();
}

} // namespace qz::tools
