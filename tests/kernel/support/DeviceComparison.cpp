// SPDX-License-Identifier: MIT
#include "tests/kernel/support/DeviceComparison.h"

#include "tests/kernel/support/KernelMapping.h"
#include "tests/kernel/support/Results.h"

#include <algorithm>
#include <linux/input.h>
#include <set>

using namespace qz::platform;

namespace qz::tests {

namespace {

constexpr std::uint32_t hatSwitch = 0x10039;
constexpr std::uint32_t penInRange = 0xd0032;
constexpr std::uint32_t keyboardPage = 7;
constexpr std::uint32_t errorRollOver = 0x70001;

/// The kernel makes two events of a hat, and of the four buttons of a directional pad.
bool isDirection(std::uint32_t usage) {
    return usage == hatSwitch || (usage >= 0x10090 && usage <= 0x10093);
}

std::uint32_t usageOf(const HIDElement& element) {
    return element.usagePage << 16U | element.usage;
}

} // namespace

DeviceComparison::DeviceComparison(const ReportDescriptor& descriptor, const HIDNodes& nodes)
    : descriptor_(descriptor), paths_(nodes), values_(descriptor.elements.size()) {
    for (const std::string& node : nodes.events) {
        nodes_.emplace_back(node);
    }
    pairUp();
}

/// By usage, the elements and the kernel's codes in the kernel's order: report after report, as they first appear.
std::map<std::uint32_t, DeviceComparison::Usage> DeviceComparison::usages() const {
    std::map<std::uint32_t, Usage> usages;
    std::vector<std::uint32_t> reportIDs;
    for (const ReportInput& input : descriptor_.inputs) {
        if (std::ranges::find(reportIDs, input.reportID) == reportIDs.end()) {
            reportIDs.push_back(input.reportID);
        }
    }
    for (const std::uint32_t id : reportIDs) {
        for (const ReportInput& input : descriptor_.inputs) {
            for (std::uint32_t i = 0; input.reportID == id && i < input.elementCount; ++i) {
                const std::uint32_t element = input.firstElement + i;
                usages[usageOf(descriptor_.elements[element])].elements.push_back(element);
            }
        }
    }
    if (nodes_.empty()) {
        return usages;
    }
    for (const MappedUsage& mapped : kernelMapping(paths_.directory, nodes_.front())) {
        if (mapped.code.type != EV_KEY || mapped.code.code != KEY_RESERVED) {
            usages[mapped.usage].codes.push_back(mapped.code);
        }
    }
    return usages;
}

void DeviceComparison::pairUp() {
    const std::map<std::uint32_t, Usage> all = usages();
    std::multiset<EvdevNode::Code> codes;
    for (const auto& [usage, both] : all) {
        inputElements_ += both.elements.size();
        codes.insert(both.codes.begin(), both.codes.end());
    }
    for (const auto& [usage, both] : all) {
        for (std::size_t i = 0; both.elements.size() == both.codes.size() && i < both.codes.size(); ++i) {
            const auto node = nodeWith(both.codes[i]);
            if (!isDirection(usage) && codes.count(both.codes[i]) == 1 && node) {
                pairs_.push_back({both.elements[i], *node, both.codes[i]});
            }
        }
    }
}

/// The one node that has this code.
std::optional<std::size_t> DeviceComparison::nodeWith(EvdevNode::Code code) const {
    std::optional<std::size_t> found;
    for (std::size_t i = 0; i < nodes_.size(); ++i) {
        if (nodes_[i].has(code)) {
            if (found) {
                return std::nullopt;
            }
            found = i;
        }
    }
    return found;
}

bool DeviceComparison::compare() {
    if (!std::ranges::all_of(nodes_, &EvdevNode::update)) {
        fault_ = "the kernel has dropped events";
        return false;
    }
    for (const Pair& pair : pairs_) {
        const auto value = values_[pair.element];
        if (!value) {
            continue;
        }
        ++counts_.compared;
        const std::int32_t kernels = nodes_[pair.node].value(pair.code);
        if (pair.code.type == EV_KEY ? (kernels != 0) == (*value != 0) : kernels == *value) {
            ++counts_.agreeing;
            continue;
        }
        const std::string reason = reasonFor(pair, *value);
        if (reason.empty()) {
            fault_ = "cookie " + std::to_string(pair.element + 1) + " is " + std::to_string(*value) + ", event " +
                     std::to_string(pair.code.type) + ":" + std::to_string(pair.code.code) + " is " +
                     std::to_string(kernels);
            return false;
        }
        ++counts_.reasons[reason];
    }
    return true;
}

/// Why the kernel knows another value; empty when it should not.
std::string DeviceComparison::reasonFor(const Pair& pair, std::int64_t value) const {
    const HIDElement& element = descriptor_.elements[pair.element];
    if (pair.code.type == EV_KEY && (element.logicalMin != 0 || element.logicalMax != 1)) {
        return "button of more than one bit"; // to the input core 2 is the repetition of what is pressed
    }
    if (element.usagePage == keyboardPage && hasRolledOver()) {
        return "keyboard with too many keys pressed"; // of which hid_input_array_field takes nothing
    }
    const auto declares = [&](const ReportInput& input) {
        return pair.element >= input.firstElement && pair.element - input.firstElement < input.elementCount;
    };
    const auto input = std::ranges::find_if(descriptor_.inputs, declares);
    if (pair.code.type == EV_KEY && input != descriptor_.inputs.end() && input->isRelative) {
        return "relative button"; // hidinput_hid_event lets go of it at once
    }
    if (usageOf(element) == penInRange) {
        return "tool of a pen"; // which hidinput_hid_event chooses by all the pen's switches together
    }
    if (pair.code.type == EV_ABS && (value < element.logicalMin || value > element.logicalMax)) {
        // hidinput_hid_event clamps such a value, or ignores it when the field has a null state.
        return "outside the logical range";
    }
    return "";
}

/// Why no value at all can be compared; empty when some can.
std::string DeviceComparison::whyNothing() const {
    if (inputElements_ == 0) {
        return "; it has no values";
    }
    if (nodes_.empty()) {
        // hidinput_connect in drivers/hid/hid-input.c makes none where it maps no usage, such as those of vendors.
        return "; the kernel makes no input device of it";
    }
    return pairs_.empty() ? "; no value has an event of its own" : "";
}

bool DeviceComparison::hasRolledOver() const {
    for (std::size_t i = 0; i < values_.size(); ++i) {
        if (usageOf(descriptor_.elements[i]) == errorRollOver && values_[i].value_or(0) != 0) {
            return true;
        }
    }
    return false;
}

ComparisonCounts& DeviceComparison::sum() {
    static ComparisonCounts sum;
    return sum;
}

void DeviceComparison::tellAs(const std::string& name, std::size_t reports) const {
    std::string reasons = whyNothing();
    for (const auto& [reason, count] : counts_.reasons) {
        reasons += "; " + std::to_string(count) + " " + reason;
        sum().reasons[reason] += count;
    }
    sum().compared += counts_.compared;
    sum().agreeing += counts_.agreeing;
    tellFormatted("  %-38s %5zu reports, %3zu of %3zu elements: %6zu compared, %6zu agree, %5zu differ%s", name.c_str(),
                  reports, pairs_.size(), inputElements_, counts_.compared, counts_.agreeing,
                  counts_.compared - counts_.agreeing, reasons.c_str());
}

std::map<std::uint32_t, std::size_t> inputReportBytes(std::span<const std::uint8_t> descriptor) {
    std::map<std::uint32_t, std::size_t> bits;
    struct Globals {
        std::uint32_t size = 0;
        std::uint32_t count = 0;
        std::uint32_t id = 0;
    };
    std::vector<Globals> stack(1);
    for (std::size_t at = 0; at < descriptor.size();) {
        const std::uint8_t prefix = descriptor[at];
        const std::size_t bytes = (prefix & 3U) == 3 ? 4 : prefix & 3U;
        std::uint32_t data = 0;
        for (std::size_t i = 0; i < bytes && at + 1 + i < descriptor.size(); ++i) {
            data |= std::uint32_t{descriptor[at + 1 + i]} << (8 * i);
        }
        switch (prefix & ~3U) {
        case 0x74: // Report Size
            stack.back().size = data;
            break;
        case 0x84: // Report ID
            stack.back().id = data;
            break;
        case 0x94: // Report Count
            stack.back().count = data;
            break;
        case 0xa4: // Push
            stack.push_back(stack.back());
            break;
        case 0xb4: // Pop
            stack.pop_back();
            break;
        case 0x80: // Input
            bits[stack.back().id] += std::size_t{stack.back().size} * stack.back().count;
            break;
        default:
            break;
        }
        at += 1 + bytes;
    }
    for (auto& [report, length] : bits) {
        length = (length + 7) / 8;
    }
    return bits;
}

std::vector<std::vector<std::uint8_t>> randomReports(std::span<const std::uint8_t> bytes,
                                                     const ReportDescriptor& descriptor, std::mt19937& random,
                                                     bool anyBytes) {
    std::map<std::uint32_t, std::vector<std::uint8_t>> reports;
    for (const auto& [id, length] : inputReportBytes(bytes)) {
        reports[id].resize(length);
    }
    for (auto& [id, report] : reports) {
        std::ranges::generate(report, [&] { return static_cast<std::uint8_t>(random()); });
    }
    for (const ReportInput& input : descriptor.inputs) {
        for (std::uint32_t i = 0; !anyBytes && i < input.count; ++i) {
            const HIDElement& element = descriptor.elements[input.firstElement + (input.isArray ? 0 : i)];
            const std::int64_t low = input.isArray ? input.logicalMin : element.logicalMin;
            const std::int64_t high = std::max(low, input.isArray ? input.logicalMax : element.logicalMax);
            const std::int64_t value = std::uniform_int_distribution<std::int64_t>(low, high)(random);
            for (std::uint32_t bit = 0; bit < input.field.width; ++bit) {
                const std::size_t at = input.field.offset + std::size_t{i} * input.field.width + bit;
                const auto mask = static_cast<std::uint8_t>(1U << (at % 8));
                std::uint8_t& byte = reports[input.reportID][at / 8];
                byte = static_cast<std::uint8_t>(((value >> bit) & 1) != 0 ? byte | mask : byte & ~mask);
            }
        }
    }
    std::vector<std::vector<std::uint8_t>> result;
    for (auto& [id, report] : reports) {
        if (descriptor.inputHasReportIDs) {
            report.insert(report.begin(), static_cast<std::uint8_t>(id));
        }
        result.push_back(std::move(report));
    }
    return result;
}

} // namespace qz::tests
