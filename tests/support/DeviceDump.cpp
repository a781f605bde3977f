// SPDX-License-Identifier: MIT
#include "tests/support/DeviceDump.h"

#include "platform/Text.h"
#include "platform/report/ReportDevice.h"

namespace qz::test {

namespace {

using platform::hexadecimal;
using platform::HIDElement;
using platform::joined;
using platform::ReportDescriptor;
using platform::ReportInput;

constexpr std::size_t shortestRun = 4;

std::string usageText(std::uint32_t usagePage, std::uint32_t usage) {
    return joined({hexadecimal(usagePage, 4), ":", hexadecimal(usage, 4)});
}

std::string typeText(std::int32_t type) {
    switch (type) {
    case 1:
        return "misc";
    case 2:
        return "button";
    case 3:
        return "axis";
    case 4:
        return "scan codes";
    case 129:
        return "output";
    case 257:
        return "feature";
    case 513:
        return "collection";
    default:
        return std::to_string(type);
    }
}

class Dump {
public:
    explicit Dump(const ReportDescriptor& descriptor);

    std::string text() const;

private:
    std::size_t depthOf(std::size_t index) const;
    bool areAlike(std::size_t left, std::size_t right) const;
    std::size_t runFrom(std::size_t first) const;
    std::string lineOf(std::size_t first, std::size_t count) const;
    std::string placeOf(std::size_t first, std::size_t count) const;

    const ReportDescriptor& descriptor_;
    std::vector<const ReportInput*> inputOf_; ///< for each element; null where it is no input
};

Dump::Dump(const ReportDescriptor& descriptor)
    : descriptor_(descriptor), inputOf_(descriptor.elements.size(), nullptr) {
    for (const ReportInput& input : descriptor.inputs) {
        for (std::size_t i = 0; i < input.elementCount; ++i) {
            inputOf_.at(input.firstElement + i) = &input;
        }
    }
}

std::string Dump::text() const {
    std::string text;
    for (const platform::HIDUsagePair& application : descriptor_.applications) {
        text += joined({"application ", usageText(application.usagePage, application.usage), "\n"});
    }
    text += joined({"input reports begin with an ID: ", descriptor_.inputHasReportIDs ? "yes" : "no", "\n"});
    for (std::size_t i = 0; i < descriptor_.elements.size();) {
        const std::size_t run = runFrom(i);
        const std::size_t count = run < shortestRun ? 1 : run;
        text += lineOf(i, count);
        i += count;
    }
    return text;
}

std::size_t Dump::depthOf(std::size_t index) const {
    std::size_t depth = 0;
    for (std::size_t i = descriptor_.parents.at(index); i != ReportDescriptor::noParent;
         i = descriptor_.parents.at(i)) {
        ++depth;
    }
    return depth;
}

bool Dump::areAlike(std::size_t left, std::size_t right) const {
    const HIDElement& a = descriptor_.elements[left];
    const HIDElement& b = descriptor_.elements[right];
    return a.type == b.type && a.usagePage == b.usagePage && a.logicalMin == b.logicalMin &&
           a.logicalMax == b.logicalMax && a.hasPreferredState == b.hasPreferredState &&
           a.collectionType == b.collectionType && descriptor_.parents[left] == descriptor_.parents[right] &&
           inputOf_[left] == inputOf_[right];
}

std::size_t Dump::runFrom(std::size_t first) const {
    const std::vector<HIDElement>& elements = descriptor_.elements;
    if (first + 1 >= elements.size() || elements[first].type == 513) {
        return 1;
    }
    const std::uint32_t step = elements[first + 1].usage - elements[first].usage;
    if (step > 1) {
        return 1;
    }
    std::size_t end = first + 1;
    while (end < elements.size() && areAlike(first, end) && elements[end].usage - elements[end - 1].usage == step) {
        ++end;
    }
    return end - first;
}

std::string Dump::lineOf(std::size_t first, std::size_t count) const {
    const HIDElement& element = descriptor_.elements[first];
    const HIDElement& last = descriptor_.elements[first + count - 1];
    std::string line(2 * depthOf(first), ' ');
    line += std::to_string(element.cookie);
    if (count > 1) {
        line += ".." + std::to_string(last.cookie);
    }
    line += joined({" ", typeText(element.type), " ", usageText(element.usagePage, element.usage)});
    if (last.usage != element.usage) {
        line += ".." + hexadecimal(last.usage, 4);
    }
    if (element.type == 513) {
        line += ", kind " + std::to_string(element.collectionType);
    } else {
        line += joined({", ", std::to_string(element.logicalMin), "..", std::to_string(element.logicalMax)});
    }
    line += placeOf(first, count);
    if (!element.hasPreferredState) {
        line += ", no preferred state";
    }
    return line + "\n";
}

std::string Dump::placeOf(std::size_t first, std::size_t count) const {
    if (inputOf_[first] == nullptr) {
        return {};
    }
    const ReportInput& input = *inputOf_[first];
    const std::size_t index = first - input.firstElement;
    const std::string width = std::to_string(input.field.width);
    std::string place;
    if (input.reportID != 0) {
        place += ", report " + std::to_string(input.reportID);
    }
    if (input.isArray) {
        const std::int64_t value = input.logicalMin + static_cast<std::int64_t>(index);
        place += joined({", array ", std::to_string(input.field.offset), "+", width, "x", std::to_string(input.count),
                         ", value ", std::to_string(value)});
    } else {
        const std::size_t offset = input.field.offset + index * input.field.width;
        place += joined({", bits ", std::to_string(offset), "+", width});
        if (count > 1) {
            place += "x" + std::to_string(count);
        }
    }
    place += input.field.isSigned ? ", signed" : "";
    place += input.isRelative ? ", relative" : "";
    return place;
}

} // namespace

std::string dumpDevice(std::span<const std::uint8_t> descriptor, std::span<const std::vector<std::uint8_t>> reports) {
    auto parsed = platform::parseReportDescriptor(descriptor);
    if (const auto* error = std::get_if<platform::ReportDescriptorError>(&parsed)) {
        return joined({"refused at byte ", std::to_string(error->offset), ": ", error->reason, "\n"});
    }
    auto& declared = std::get<ReportDescriptor>(parsed);
    std::string text = Dump(declared).text();
    const auto device = std::make_shared<platform::ReportDevice>(std::move(declared), platform::HIDProperties{});
    for (std::size_t i = 0; i < reports.size(); ++i) {
        text += joined({"report ", std::to_string(i + 1), ":"});
        for (const std::uint32_t index : device->feed(reports[i])) {
            const platform::HIDValue value = device->value(index);
            text += joined({" ", std::to_string(value.element->cookie), "=", std::to_string(value.integerValue)});
        }
        text += "\n";
    }
    return text;
}

} // namespace qz::test
