// SPDX-License-Identifier: MIT
#pragma once

#include "platform/HID.h"

#include <deque>

namespace qz::platform {

struct RecordedDevice;

/// The properties of a device under their names.
using HIDProperties = std::map<std::string, PropertyValue, std::less<>>;

/// The usage of one application collection of a device.
struct HIDUsagePair {
    std::uint32_t usagePage = 0;
    std::uint32_t usage = 0;
};

/// A matching dictionary in the form in which devices are tested against it.
struct HIDCriterion {
    std::optional<std::int32_t> usagePage = std::nullopt;
    std::optional<std::int32_t> usage = std::nullopt;
    std::vector<std::pair<std::string, std::int32_t>> others = {}; ///< integer properties by name
};
QZGC_EXPORT HIDCriterion criterionOf(const HIDMatchingDictionary& dictionary);

/// What an IOHIDDeviceRef points to: the properties, elements and last known values of one device, the same in every
/// back end. A back end derives its devices from this class and writes through the protected operations.
///
/// The object outlives the unplugging while a client pins it. Made with std::make_shared only.
class QZGC_EXPORT HIDDevice : public std::enable_shared_from_this<HIDDevice> {
public:
    HIDDevice(const HIDDevice&) = delete;
    HIDDevice& operator=(const HIDDevice&) = delete;
    virtual ~HIDDevice();

    /// The property with this name, or null; valid until it is next changed.
    const PropertyValue* property(std::string_view key);
    std::uint64_t propertyRevision() const noexcept { return propertyRevision_; }

    /// The device's elements in order; absent when the platform gives no list. Neither moves nor changes.
    const std::optional<std::vector<HIDElement>>& elements() const noexcept { return elements_; }

    /// The value that `element` last had; nothing before the first one, and for an element of another device.
    std::optional<std::int64_t> lastKnownValue(IOHIDElementRef element) const;

    /// Whether the device has all that `criterion` names. "DeviceUsagePage" and "DeviceUsage" are tested against each
    /// application collection as a pair, every other name against the integer property of that name.
    bool fits(const HIDCriterion& criterion);
    bool matches(const HIDMatchingDictionary& criterion) { return fits(criterionOf(criterion)); }

    /// What describes the device in a recording (platform/report/Recording.h), as far as it is known; nothing for one
    /// that has no report descriptor. A virtual device made of it has the same elements and the same IDs.
    virtual std::optional<RecordedDevice> recordedDevice();

    /// True from the unplugging on.
    bool isGone() const noexcept { return gone_; }

protected:
    HIDDevice() = default;

    /// Called when a property is asked for that is not there: a back end that takes its time may set what it has left
    /// out so far.
    virtual void loadProperties() {}

    void setProperty(std::string_view key, PropertyValue value);
    /// Sets all of these.
    void setProperties(const HIDProperties& properties);
    /// Whether the property is there, without asking the back end for more.
    bool hasProperty(std::string_view key) noexcept;
    void removeProperty(std::string_view key);

    /// Takes the elements over, once. `children[i]` lists the members of element i as indices, absent where there is no
    /// list; indices beyond the end are left out.
    void setElements(std::vector<HIDElement> elements,
                     const std::vector<std::optional<std::vector<std::size_t>>>& children);
    /// The same where `parents[i]` is the index of the collection around element i, which stands before it, or a number
    /// beyond the end: each collection lists its members, and each element is a member of one at most.
    void setElementTree(std::vector<HIDElement> elements, std::span<const std::uint32_t> parents);

    /// The usages of the application collections; without a call the primary one, taken from the properties.
    void setUsagePairs(std::vector<HIDUsagePair> usagePairs) { usagePairs_ = std::move(usagePairs); }

    void setLastKnownValue(IOHIDElementRef element, std::optional<std::int64_t> value);
    /// The last known values, in the order of `elements()`.
    std::span<std::optional<std::int64_t>> lastKnownValues() noexcept { return lastKnownValues_; }
    std::span<const std::optional<std::int64_t>> lastKnownValues() const noexcept { return lastKnownValues_; }
    void markGone() noexcept { gone_ = true; }

private:
    struct NamedProperty {
        std::string name;
        std::optional<PropertyValue> value; ///< absent once it has been removed
    };

    NamedProperty* findProperty(std::string_view key) noexcept;
    std::optional<std::size_t> indexOf(IOHIDElementRef element) const;

    /// A handful, which a search from the front finds soonest. Clients hold pointers to values, so none ever moves.
    std::deque<NamedProperty> properties_;
    std::uint64_t propertyRevision_ = 0;
    std::vector<HIDUsagePair> usagePairs_;
    std::optional<std::vector<HIDElement>> elements_;
    std::vector<IOHIDElementRef> children_;
    std::vector<std::optional<std::int64_t>> lastKnownValues_;
    bool gone_ = false;
};

} // namespace qz::platform
