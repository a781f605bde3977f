// SPDX-License-Identifier: MIT
#pragma once

#include "HIDWrapper/QZGCHIDManager.h"
#include "HIDWrapper/QZHIDDevice.h"
#include "HIDWrapper/QZHIDElement.h"
#include "platform/virtual/VirtualPlatform.h"

#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace qz::platform {

inline constexpr std::int64_t int64Min = std::numeric_limits<std::int64_t>::min();
inline constexpr std::int64_t int64Max = std::numeric_limits<std::int64_t>::max();

/// The one line that a process writes which ends because of the named error, as a pattern for death tests.
inline const std::string overflowLine =
    "^QZGameController: fatal error: arithmetic overflow in the range mapping of a control's value\n$";
inline const std::string shortEntryLine = "^QZGameController: fatal error: a stored calibration holds fewer than the "
                                          "three numbers minimum, maximum and neutral\n$";

/// Under this key the devices that `ElementHost` makes keep their calibration.
inline constexpr std::string_view calibrationKey = "QZGameController-Calibrations-1234-5678";

inline VirtualElement elementOf(std::uint32_t cookie, QZHIDElementType type, std::uint32_t usagePage,
                                std::uint32_t usage, std::int64_t min = 0, std::int64_t max = 1) {
    VirtualElement element;
    element.cookie = cookie;
    element.type = type;
    element.usagePage = usagePage;
    element.usage = usage;
    element.min = min;
    element.max = max;
    return element;
}

/// A self-centring X axis.
inline VirtualElement xAxis(std::uint32_t cookie = 16, std::int64_t min = 0, std::int64_t max = 255) {
    return elementOf(cookie, QZHIDElementTypeAxis, 0x01, 0x30, min, max);
}

/// A slider that stays where it is put.
inline VirtualElement throttle(std::uint32_t cookie, std::int64_t min = 0, std::int64_t max = 255) {
    VirtualElement element = elementOf(cookie, QZHIDElementTypeMisc, 0x01, 0x36, min, max);
    element.preferredState = false;
    return element;
}

inline VirtualElement button(std::uint32_t cookie, std::uint32_t usage = 1) {
    return elementOf(cookie, QZHIDElementTypeButton, 0x09, usage);
}

inline VirtualElement hat(std::uint32_t cookie, std::int64_t min = 0, std::int64_t max = 7) {
    return elementOf(cookie, QZHIDElementTypeMisc, 0x01, 0x39, min, max);
}

/// A logical collection of Generic Desktop usage 5 for which the platform lists no members.
inline VirtualElement collection(std::uint32_t cookie) {
    VirtualElement element = elementOf(cookie, QZHIDElementTypeCollection, 0x01, 0x05, 0, 0);
    element.collectionType = QZHIDElementCollectionTypeLogical;
    return element;
}

/// The same with a list of members, as indices into the device's elements.
inline VirtualElement collection(std::uint32_t cookie, std::vector<std::size_t> members) {
    VirtualElement element = collection(cookie);
    element.children = std::move(members);
    return element;
}

/// One hand-made gamepad of vendor 1234 and product 5678 on a virtual platform, as the library sees it, without the
/// run loop between them.
struct ElementHost {
    explicit ElementHost(std::optional<std::vector<VirtualElement>> elements, PropertyList::Dictionary preferences = {})
        : ElementHost(std::move(elements), std::make_unique<VirtualPlatform>(std::move(preferences))) {}

    ElementHost(std::optional<std::vector<VirtualElement>> elements, std::unique_ptr<VirtualPlatform> itsPlatform)
        : platform(std::move(itsPlatform)), manager(QZGCHIDManager::create(nullptr, *platform)),
          plugged(plug(std::move(elements))), device(QZHIDDevice::create(plugged.get(), manager)) {}

    std::shared_ptr<VirtualDevice> plug(std::optional<std::vector<VirtualElement>> elements) const {
        VirtualDeviceDescription description;
        description.properties = {{"VendorID", std::int64_t{1234}},
                                  {"ProductID", std::int64_t{5678}},
                                  {"PrimaryUsagePage", std::int64_t{1}},
                                  {"PrimaryUsage", std::int64_t{5}}};
        description.elements = std::move(elements);
        return platform->hidServices().plug(std::move(description));
    }

    /// The device's own element at `index` of the description.
    const std::shared_ptr<QZHIDElement>& element(std::size_t index = 0) const {
        return device->ownedElements()->at(index);
    }

    const PropertyList* storedCalibration() const { return platform->userDefaults().objectForKey(calibrationKey); }

    std::unique_ptr<VirtualPlatform> platform;
    std::shared_ptr<QZGCHIDManager> manager;
    std::shared_ptr<VirtualDevice> plugged;
    std::shared_ptr<QZHIDDevice> device;
};

/// An element that no device has, for what depends on its record alone.
class LooseElement {
public:
    explicit LooseElement(const VirtualElement& shape)
        : record_{.cookie = shape.cookie,
                  .type = shape.type,
                  .collectionType = shape.collectionType,
                  .usagePage = shape.usagePage,
                  .usage = shape.usage,
                  .hasPreferredState = shape.preferredState,
                  .logicalMin = shape.min,
                  .logicalMax = shape.max,
                  .children = std::nullopt,
                  .device = nullptr},
          element_(QZHIDElement::create(&record_, nullptr, nullptr, nullptr)) {}
    LooseElement(const LooseElement&) = delete;
    LooseElement& operator=(const LooseElement&) = delete;

    QZHIDElement* operator->() const { return element_.get(); }
    QZHIDElement& operator*() const { return *element_; }

private:
    HIDElement record_;
    std::shared_ptr<QZHIDElement> element_;
};

/// Random numbers, the same ones in every run (SplitMix64).
class RandomNumbers {
public:
    std::uint64_t operator()() {
        std::uint64_t mixed = state_ += 0x9E3779B97F4A7C15U;
        mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9U;
        mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBU;
        return mixed ^ (mixed >> 31);
    }

    /// Of every magnitude up to `bits` bits and both signs.
    std::int64_t ofAnyMagnitude(unsigned bits = 63) {
        const auto any = static_cast<std::int64_t>(operator()());
        return any >> (63 - bits + operator()() % (bits + 1));
    }

private:
    std::uint64_t state_ = 0;
};

/// The class name and address that begin an element's description.
inline std::string identityOf(const QZHIDElement& element) {
    char text[64];
    std::snprintf(text, sizeof text, "<QZHIDElement: 0x%llx>",
                  static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(&element)));
    return text;
}

} // namespace qz::platform
