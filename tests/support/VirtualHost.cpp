// SPDX-License-Identifier: MIT
#include "tests/support/VirtualHost.h"

#include "HIDWrapper/QZHIDElementType.h"

using namespace qz::platform;

namespace qz::tests {

namespace {

constexpr std::int32_t applicationCollection = 1; // HID 1.11 section 6.2.2.6
constexpr std::int32_t inputMiscType = 1;
constexpr std::int32_t inputButtonType = 2;

VirtualElement collectionElement(const Application& application) {
    return {.type = QZHIDElementTypeCollection,
            .collectionType = applicationCollection,
            .usagePage = application.usagePage,
            .usage = application.usage,
            .children = std::vector<std::size_t>{}};
}

VirtualElement controlElement(const Control& control) {
    return {.type = control.min == 0 && control.max == 1 ? inputButtonType : inputMiscType,
            .usagePage = control.usagePage,
            .usage = control.usage,
            .min = control.min,
            .max = control.max,
            .children = std::nullopt};
}

/// The elements that the report descriptor of such a device gives; the places of the controls go to `controls`.
std::vector<VirtualElement> elementsOf(const std::vector<Application>& applications,
                                       std::vector<std::size_t>& controls) {
    std::vector<VirtualElement> elements;
    const auto add = [&](VirtualElement element) {
        element.cookie = static_cast<std::uint32_t>(elements.size() + 1);
        elements.push_back(std::move(element));
        return elements.size() - 1;
    };
    for (const Application& application : applications) {
        const std::size_t collection = add(collectionElement(application));
        for (const Control& control : application.controls) {
            controls.push_back(add(controlElement(control)));
            elements[collection].children->push_back(controls.back());
        }
    }
    return elements;
}

VirtualDeviceDescription virtualDescription(const DeviceDescription& description, std::vector<std::size_t>& controls) {
    VirtualDeviceDescription result;
    result.properties = {{"Product", description.name},
                         {"VendorID", std::int64_t{description.vendorID}},
                         {"ProductID", std::int64_t{description.productID}}};
    if (!description.serialNumber.empty()) {
        result.properties.emplace("SerialNumber", description.serialNumber);
    }
    for (const Application& application : description.applications) {
        result.usagePairs.push_back({application.usagePage, application.usage});
    }
    if (!result.usagePairs.empty()) {
        result.properties.emplace("PrimaryUsagePage", std::int64_t{result.usagePairs.front().usagePage});
        result.properties.emplace("PrimaryUsage", std::int64_t{result.usagePairs.front().usage});
    }
    result.elements = elementsOf(description.applications, controls);
    return result;
}

} // namespace

VirtualHost::VirtualHost(std::unique_ptr<RunLoop> runLoop) : platform_(std::move(runLoop)) {}

DeviceId VirtualHost::plug(const DeviceDescription& description) {
    std::vector<std::size_t> controls;
    VirtualDeviceDescription made = virtualDescription(description, controls);
    plugged_.push_back({platform_.hidServices().plug(std::move(made)), std::move(controls)});
    return static_cast<DeviceId>(plugged_.size() - 1);
}

void VirtualHost::plugUnusable(const DeviceDescription& description, IOReturn error) {
    std::vector<std::size_t> controls;
    platform_.hidServices().fail(std::make_shared<VirtualDevice>(virtualDescription(description, controls)), error);
}

void VirtualHost::unplug(DeviceId device) {
    if (const auto plugged = plugged_.at(static_cast<std::size_t>(device)).device.lock()) {
        platform_.hidServices().unplug(plugged);
    }
}

void VirtualHost::send(DeviceId device, std::size_t control, std::int64_t raw) {
    const Plugged& sender = plugged_.at(static_cast<std::size_t>(device));
    if (const auto plugged = sender.device.lock()) {
        platform_.hidServices().send(plugged, sender.elements.at(control), raw);
    }
}

} // namespace qz::tests
