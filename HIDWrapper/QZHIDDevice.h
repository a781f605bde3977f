// SPDX-License-Identifier: MIT
#pragma once

#include "HIDWrapper/QZHIDCookieMap.h"
#include "HIDWrapper/QZHIDElementOwning.h"
#include "platform/HID.h"

#include <cstdint>
#include <string>
#include <string_view>

class QZGCConfigurationManager;
class QZGCDeviceConfiguration;
class QZGCHIDManager;

/// A device's own elements by their cookie; of several with one cookie the last. Absent when there is no list.
using QZHIDElementsByCookie = std::optional<QZHIDCookieMap<std::shared_ptr<QZHIDElement>>>;

/// The two strings under which a device's settings are kept.
struct QZHIDUserPrefIDs {
    std::string aDeviceTypeID; ///< the model; holds no "."
    std::string aInstanceID;   ///< one unit of it; the type ID, "." and a suffix
};

/// One connected joystick or gamepad: the root of its element tree.
///
/// Made by QZGCHIDManager when it admits a device; lives until the manager removes it and the last client lets go. Once
/// the device is unplugged it still answers, only its values read as 0.
class QZGC_EXPORT QZHIDDevice final : public QZHIDElementOwning, public std::enable_shared_from_this<QZHIDDevice> {
    struct Private {
        explicit Private() = default;
    };

public:
    /// A device with its elements, which take the stored calibration of the model over. `manager` must not be null.
    static std::shared_ptr<QZHIDDevice> create(qz::platform::IOHIDDeviceRef deviceRef,
                                               const std::shared_ptr<QZGCHIDManager>& manager);
    QZHIDDevice(Private, qz::platform::IOHIDDeviceRef deviceRef, const std::shared_ptr<QZGCHIDManager>& manager);
    ~QZHIDDevice() override;

    /// The string property `key`; absent when there is none or it is of another kind.
    std::optional<std::string> stringPropertyWithKey(std::string_view key) const;

    /// The integer property `key`, cut to 32 bits and widened with sign. 0 when it is absent, not a number, or a
    /// floating-point number (by design: two kinds of number never mix).
    std::int64_t integerPropertyWithKey(std::string_view key) const;

    /// The floating-point property `key`; 0.0 when it is absent or of another kind, an integer included.
    double floatPropertyWithKey(std::string_view key) const;

    std::optional<std::string> productName() const { return stringPropertyWithKey("Product"); }
    std::int64_t productID() const { return integerPropertyWithKey("ProductID"); }
    std::optional<std::string> serialNo() const { return stringPropertyWithKey("SerialNumber"); }
    std::int64_t locationID() const { return integerPropertyWithKey("LocationID"); }
    std::int64_t vendorID() const { return integerPropertyWithKey("VendorID"); }
    std::int64_t vendorIDSource() const { return integerPropertyWithKey("VendorIDSource"); }
    std::int64_t uniqueID() const { return integerPropertyWithKey("UniqueID"); }
    std::int64_t physicalDeviceUniqueID() const { return integerPropertyWithKey("PhysicalDeviceUniqueID"); }

    /// "Joystick", "Gamepad" or "Unknown", from the primary usage.
    std::string kind() const;

    /// The IDs that follow from the properties as they are now. The type is vendor and product; the suffix of an
    /// instance is its serial number or, without one, its location in hexadecimal. A device without vendor and product
    /// is "generic_" and its kind, with the suffix "0" always.
    QZHIDUserPrefIDs userPrefIDs() const;

    /// The preferences key of the calibration, which all devices of one vendor and product share.
    std::string calibrationsPrefKey() const;

    /// One line with all of the above, for people.
    std::string description() const;

    /// Every element of the device in the platform's order, members of collections included; absent when the platform
    /// gives no list.
    const QZHIDElementList& ownedElements() const noexcept override { return ownedElements_; }
    void setOwnedElements(QZHIDElementList elements) { ownedElements_ = std::move(elements); }
    const QZHIDElementsByCookie& elementsByCookie() const noexcept { return elementsByCookie_; }
    void setElementsByCookie(QZHIDElementsByCookie elements) { elementsByCookie_ = std::move(elements); }

    /// Null: a device is the root.
    std::shared_ptr<QZHIDElementOwning> elementOwner() const noexcept override { return nullptr; }

    /// The device's own element with this cookie, or null. For a member of a collection this is the object in
    /// `ownedElements()`, which takes part in calibration and input, not the collection's child.
    std::shared_ptr<QZHIDElement> elementWithCookie(std::int64_t cookie) const;

    /// Those of `ownedElements()` that are push buttons, or moving controls, in their order; absent without a list.
    QZHIDElementList pushButtons() const;
    QZHIDElementList movingControls() const;

    /// The last raw value known of `element`, without polling the device; 0 when it cannot be read.
    std::int64_t valueForElement(const QZHIDElement& element) const;

    /// Begins, and ends, the calibration of the moving controls. The end saves their ranges as the calibration of every
    /// device of this vendor and product, in place of an earlier one.
    void startCalibration();
    void endCalibration();

    /// Writes the element tree to the system log.
    void reportElements() const;

    /// From now on elements report only changes greater than `hysteresis`, in units of the normalised scale (0.0
    /// to 1.0; values outside are clamped). Two-state elements are not affected.
    void startLimitedValueReportingWithHysteresis(double hysteresis);
    void endLimitedValueReporting() { isInLimitedVRMode_ = false; }
    bool isInLimitedVRMode() const noexcept { return isInLimitedVRMode_; }
    void setIsInLimitedVRMode(bool limited) noexcept { isInLimitedVRMode_ = limited; }
    double limitedVRHysteresis() const noexcept { return limitedVRHysteresis_; }
    void setLimitedVRHysteresis(double hysteresis) noexcept { limitedVRHysteresis_ = hysteresis; }

    /// The handle; it answers as long as this object lives, also after the unplugging.
    qz::platform::IOHIDDeviceRef ioHIDDeviceRef() const noexcept { return ioHIDDeviceRef_.get(); }
    void setIoHIDDeviceRef(qz::platform::IOHIDDeviceRef deviceRef);

    /// The manager that made the device; null when it is gone.
    std::shared_ptr<QZGCHIDManager> manager() const noexcept { return manager_.lock(); }
    void setManager(const std::shared_ptr<QZGCHIDManager>& manager) noexcept { manager_ = manager; }

private:
    friend class QZGCConfigurationManager;

    /// What was computed from the properties, and the revision of theirs that it holds for.
    struct KnownIDs {
        std::uint64_t propertyRevision = 0;
        QZHIDUserPrefIDs ids;
    };
    /// The configuration last found for the device, and what it holds for. No tables have the revision 0.
    struct ConfigurationLookup {
        std::uint64_t tablesRevision = 0;
        std::uint64_t propertyRevision = 0;
        QZGCDeviceConfiguration* configuration = nullptr;
    };

    void setupElements();
    /// The same as `userPrefIDs()` without a copy; valid until it is next asked.
    const QZHIDUserPrefIDs& currentUserPrefIDs() const;

    // First what every value needs.
    QZHIDElementsByCookie elementsByCookie_;
    mutable ConfigurationLookup configurationLookup_;
    std::shared_ptr<qz::platform::HIDDevice> ioHIDDeviceRef_;
    bool isInLimitedVRMode_ = false;
    double limitedVRHysteresis_ = 0.0;
    QZHIDElementList ownedElements_;
    std::weak_ptr<QZGCHIDManager> manager_;
    qz::platform::Platform& platform_;
    mutable std::optional<KnownIDs> knownIDs_;
};
