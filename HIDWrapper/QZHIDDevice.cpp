// SPDX-License-Identifier: MIT
#include "HIDWrapper/QZHIDDevice.h"

#include "HIDWrapper/QZGCHIDManager.h"
#include "platform/Text.h"

using namespace qz::platform;

namespace {

constexpr std::int64_t genericDesktopPage = 0x01;
constexpr std::int64_t joystickUsage = 0x04;
constexpr std::int64_t gamePadUsage = 0x05;

constexpr std::string_view absent = "(null)";

} // namespace

std::shared_ptr<QZHIDDevice> QZHIDDevice::create(IOHIDDeviceRef deviceRef,
                                                 const std::shared_ptr<QZGCHIDManager>& manager) {
    return std::make_shared<QZHIDDevice>(Private{}, deviceRef, manager);
}

QZHIDDevice::QZHIDDevice(Private /*only create makes one*/, IOHIDDeviceRef deviceRef,
                         const std::shared_ptr<QZGCHIDManager>& manager)
    : ioHIDDeviceRef_(pin(deviceRef)), manager_(manager) {}

QZHIDDevice::~QZHIDDevice() = default;

std::optional<std::string> QZHIDDevice::stringPropertyWithKey(std::string_view key) const {
    const PropertyValue* const property = IOHIDDeviceGetProperty(ioHIDDeviceRef(), key);
    const auto* const string = property != nullptr ? std::get_if<std::string>(property) : nullptr;
    return string != nullptr ? std::optional(*string) : std::nullopt;
}

std::int64_t QZHIDDevice::integerPropertyWithKey(std::string_view key) const {
    const PropertyValue* const property = IOHIDDeviceGetProperty(ioHIDDeviceRef(), key);
    const auto* const integer = property != nullptr ? std::get_if<std::int64_t>(property) : nullptr;
    return integer != nullptr ? static_cast<std::int32_t>(*integer) : 0;
}

double QZHIDDevice::floatPropertyWithKey(std::string_view key) const {
    const PropertyValue* const property = IOHIDDeviceGetProperty(ioHIDDeviceRef(), key);
    const auto* const number = property != nullptr ? std::get_if<double>(property) : nullptr;
    return number != nullptr ? *number : 0.0;
}

std::string QZHIDDevice::kind() const {
    if (integerPropertyWithKey("PrimaryUsagePage") != genericDesktopPage) {
        return "Unknown";
    }
    switch (integerPropertyWithKey("PrimaryUsage")) {
    case joystickUsage:
        return "Joystick";
    case gamePadUsage:
        return "Gamepad";
    default:
        return "Unknown";
    }
}

QZUserPrefIDs QZHIDDevice::userPrefIDs() const {
    const std::int64_t vendor = vendorID();
    const std::int64_t product = productID();
    if (vendor == 0 && product == 0) {
        const std::string type = "generic_" + kind();
        return {type, type + ".0"};
    }
    const std::string type = std::to_string(vendor) + "-" + std::to_string(product);
    const std::optional<std::string> serial = serialNo();
    // A location is a 32-bit number; one with the top bit set was widened with sign, which is no part of it.
    return {type, type + "." + (serial ? *serial : hexadecimal(static_cast<std::uint32_t>(locationID())))};
}

std::string QZHIDDevice::calibrationsPrefKey() const {
    return "QZGameController-Calibrations-" + std::to_string(vendorID()) + "-" + std::to_string(productID());
}

void QZHIDDevice::startLimitedValueReportingWithHysteresis(double hysteresis) {
    isInLimitedVRMode_ = true;
    if (hysteresis > 1.0) {
        limitedVRHysteresis_ = 1.0;
    } else if (hysteresis < 0.0) {
        limitedVRHysteresis_ = 0.0;
    } else {
        limitedVRHysteresis_ = hysteresis;
    }
}

std::string QZHIDDevice::description() const {
    std::string text = identityText("QZHIDDevice", this);
    text += ", " + kind();
    text += ", product name " + productName().value_or(std::string(absent));
    text += ", product ID " + std::to_string(productID());
    text += ", serial no. " + serialNo().value_or(std::string(absent));
    text += ", location ID " + std::to_string(locationID());
    text += ", vendor ID " + std::to_string(vendorID());
    text += ", vendor ID source " + std::to_string(vendorIDSource());
    text += ", unique ID " + std::to_string(uniqueID());
    text += ", physical device unique ID " + std::to_string(physicalDeviceUniqueID());
    return text;
}
