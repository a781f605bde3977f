// SPDX-License-Identifier: MIT
#include "HIDWrapper/QZHIDDevice.h"

#include "HIDWrapper/QZGCHIDManager.h"
#include "HIDWrapper/QZHIDElement.h"
#include "HIDWrapper/QZHIDUsages.h"
#include "QZGameController/QZGCCalibrationValues.h"
#include "platform/FatalError.h"
#include "platform/SystemLog.h"
#include "platform/Text.h"

using namespace qz::platform;

namespace {

QZHIDElementList elementsThat(const QZHIDElementList& elements, bool (QZHIDElement::*fit)() const) {
    if (!elements) {
        return std::nullopt;
    }
    std::vector<std::shared_ptr<QZHIDElement>> fitting;
    for (const auto& element : *elements) {
        if ((element.get()->*fit)()) {
            fitting.push_back(element);
        }
    }
    return fitting;
}

} // namespace

std::shared_ptr<QZHIDDevice> QZHIDDevice::create(IOHIDDeviceRef deviceRef,
                                                 const std::shared_ptr<QZGCHIDManager>& manager) {
    if (!manager) {
        fatalError("a QZHIDDevice cannot be made without its manager");
    }
    auto device = std::make_shared<QZHIDDevice>(Private{}, deviceRef, manager);
    device->setupElements();
    return device;
}

QZHIDDevice::QZHIDDevice(Private /*only create makes one*/, IOHIDDeviceRef deviceRef,
                         const std::shared_ptr<QZGCHIDManager>& manager)
    : ioHIDDeviceRef_(pin(deviceRef)), manager_(manager), platform_(manager->platform()) {}

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
    if (integerPropertyWithKey("PrimaryUsagePage") != usages::genericDesktopPage) {
        return "Unknown";
    }
    switch (integerPropertyWithKey("PrimaryUsage")) {
    case usages::joystick:
        return "Joystick";
    case usages::gamePad:
        return "Gamepad";
    default:
        return "Unknown";
    }
}

void QZHIDDevice::setIoHIDDeviceRef(IOHIDDeviceRef deviceRef) {
    ioHIDDeviceRef_ = pin(deviceRef);
    // Revisions of two devices' properties do not compare.
    knownIDs_.reset();
    configurationLookup_ = {};
}

QZHIDUserPrefIDs QZHIDDevice::userPrefIDs() const {
    const std::int64_t vendor = vendorID();
    const std::int64_t product = productID();
    if (vendor == 0 && product == 0) {
        const std::string type = joined({"generic_", kind()});
        return {type, joined({type, ".0"})};
    }
    const std::string type = joined({DecimalText(vendor), "-", DecimalText(product)});
    const std::optional<std::string> serial = serialNo();
    // A location is a 32-bit number; one with the top bit set was widened with sign, which is no part of it.
    const std::string location = hexadecimal(static_cast<std::uint32_t>(locationID()));
    return {type, joined({type, ".", serial ? *serial : location})};
}

const QZHIDUserPrefIDs& QZHIDDevice::currentUserPrefIDs() const {
    const std::uint64_t revision = IOHIDDeviceGetPropertyRevision(ioHIDDeviceRef());
    if (!knownIDs_ || knownIDs_->propertyRevision != revision) {
        knownIDs_ = {revision, userPrefIDs()};
    }
    return knownIDs_->ids;
}

std::string QZHIDDevice::calibrationsPrefKey() const {
    return joined({"QZGameController-Calibrations-", DecimalText(vendorID()), "-", DecimalText(productID())});
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
    return joined({identityText("QZHIDDevice", this), ", ", kind(), ", product name ", productName().value_or("(null)"),
                   ", product ID ", DecimalText(productID()), ", serial no. ", serialNo().value_or("(null)"),
                   ", location ID ", DecimalText(locationID()), ", vendor ID ", DecimalText(vendorID()),
                   ", vendor ID source ", DecimalText(vendorIDSource()), ", unique ID ", DecimalText(uniqueID()),
                   ", physical device unique ID ", DecimalText(physicalDeviceUniqueID())});
}

void QZHIDDevice::setupElements() {
    const auto list = IOHIDDeviceCopyMatchingElements(ioHIDDeviceRef());
    if (!list) {
        return;
    }
    const auto calibration =
        std::make_shared<const QZGCCalibrationValues>(calibrationsPrefKey(), platform_.userDefaults());
    const auto self = shared_from_this();
    std::vector<std::shared_ptr<QZHIDElement>> elements;
    std::vector<std::pair<std::int64_t, std::shared_ptr<QZHIDElement>>> byCookie;
    elements.reserve(list->size());
    byCookie.reserve(list->size());
    for (const IOHIDElementRef elementRef : *list) {
        elements.push_back(QZHIDElement::create(elementRef, self, self, calibration));
        byCookie.emplace_back(elements.back()->cookie(), elements.back());
    }
    ownedElements_ = std::move(elements);
    elementsByCookie_.emplace(std::move(byCookie));
}

std::shared_ptr<QZHIDElement> QZHIDDevice::elementWithCookie(std::int64_t cookie) const {
    if (!elementsByCookie_) {
        return nullptr;
    }
    const auto found = elementsByCookie_->find(cookie);
    return found != elementsByCookie_->end() ? found->second : nullptr;
}

QZHIDElementList QZHIDDevice::pushButtons() const {
    return elementsThat(ownedElements_, &QZHIDElement::isPushButton);
}

QZHIDElementList QZHIDDevice::movingControls() const {
    return elementsThat(ownedElements_, &QZHIDElement::isMovingControl);
}

std::int64_t QZHIDDevice::valueForElement(const QZHIDElement& element) const {
    HIDValue value;
    const IOReturn result = IOHIDDeviceGetValueWithOptions(ioHIDDeviceRef(), element.ioHIDElementRef(), value,
                                                           kIOHIDDeviceGetValueWithoutUpdateOption);
    return result == kIOReturnSuccess ? IOHIDValueGetIntegerValue(&value) : 0;
}

void QZHIDDevice::startCalibration() {
    if (ownedElements_) {
        for (const auto& element : *ownedElements_) {
            element->startCalibration();
        }
    }
}

void QZHIDDevice::endCalibration() {
    QZGCCalibrationValues calibration;
    if (ownedElements_) {
        for (const auto& element : *ownedElements_) {
            element->endCalibration();
            if (element->isSubjectToCalibration()) {
                calibration.setElement(element->cookie(), element->observedMin(), element->observedMax(),
                                       element->observedNeutral());
            }
        }
    }
    calibration.saveToPrefs(calibrationsPrefKey(), platform_.userDefaults());
}

void QZHIDDevice::reportElements() const {
    platform_.systemLog().write("All elements, hierarchical:");
    if (ownedElements_) {
        for (const auto& element : *ownedElements_) {
            platform_.systemLog().write(element->description());
        }
    }
}
