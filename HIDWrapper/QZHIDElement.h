// SPDX-License-Identifier: MIT
#pragma once

#include "HIDWrapper/QZHIDElementOwning.h"
#include "HIDWrapper/QZHIDElementType.h"
#include "platform/HID.h"

#include <cstdint>
#include <string>

class QZGCCalibrationValues;
class QZHIDDevice;

/// One control of a device: a button, an axis, a hat, a collection of others, or whatever else the device declares.
///
/// Made by its device, and once more by every collection around it: only the device's own object is found by cookie,
/// takes part in calibration and receives input. Attributes answer as long as the object lives, also after the
/// unplugging.
class QZGC_EXPORT QZHIDElement final : public QZHIDElementOwning, public std::enable_shared_from_this<QZHIDElement> {
    struct Private {
        explicit Private() = default;
    };

public:
    /// An element with its members and its ranges: the stored ones when `calibrationValues` (may be null) has them and
    /// the element is subject to calibration, else the logical range and its midpoint. They are taken as stored,
    /// unchecked.
    static std::shared_ptr<QZHIDElement> create(qz::platform::IOHIDElementRef elementRef,
                                                const std::shared_ptr<QZHIDElementOwning>& owner,
                                                const std::shared_ptr<QZHIDDevice>& device,
                                                const std::shared_ptr<const QZGCCalibrationValues>& calibrationValues);
    QZHIDElement(Private, qz::platform::IOHIDElementRef elementRef, const std::shared_ptr<QZHIDElementOwning>& owner,
                 const std::shared_ptr<QZHIDDevice>& device);

    // What the platform says of the element, read at every call.
    std::int64_t cookie() const { return IOHIDElementGetCookie(ioHIDElementRef()); }
    QZHIDElementType type() const { return IOHIDElementGetType(ioHIDElementRef()); }
    QZHIDElementCollectionType collectionType() const;
    std::int64_t usage() const { return IOHIDElementGetUsage(ioHIDElementRef()); }
    std::int64_t usagePage() const { return IOHIDElementGetUsagePage(ioHIDElementRef()); }
    std::int64_t theoreticalMin() const { return IOHIDElementGetLogicalMin(ioHIDElementRef()); }
    std::int64_t theoreticalMax() const { return IOHIDElementGetLogicalMax(ioHIDElementRef()); }
    /// Whether the control springs back to a rest position.
    bool hasPreferredState() const { return IOHIDElementHasPreferredState(ioHIDElementRef()); }

    bool isCollection() const { return type() == QZHIDElementTypeCollection; }
    bool isPushButton() const;
    bool isConsumerElement() const;
    /// An axis, slider, dial or wheel. Not a hat, by design: it has no rest point to normalise around.
    bool isMovingControl() const;
    bool isSubjectToCalibration() const { return isMovingControl(); }
    bool isXAxis() const;
    bool isYAxis() const;
    bool isZAxis() const;
    bool isRzAxis() const;
    bool isPartOfDirectionPad() const;

    /// A short label such as "Button 3", "Rz" or "Up"; usage page and usage in decimal for what has none.
    std::string name() const;
    /// An identifier such as "QZHID_Button3" for the same control.
    std::string nameKey() const;
    /// The element and, for a collection, its members, one line each, indented by four blanks a level.
    std::string descriptionAtLevel(std::int32_t level) const;
    std::string description() const { return descriptionAtLevel(0); }

    /// The scale of normalised values.
    static constexpr double normalizedMin() { return 0.0; }
    static constexpr double normalizedNeutral() { return 0.5; }
    static constexpr double normalizedMax() { return 1.0; }

    /// `raw` on the normalised scale, by the observed range: a moving control in two halves around its rest point when
    /// that lies strictly inside the range, anything else in one. Ends the process when the arithmetic overflows 64
    /// bits.
    double normalizedValue(std::int64_t raw) const;

    /// Maps rawLow..rawHigh onto normalizedLow..normalizedHigh and clamps; normalizedLow for an empty or inverted
    /// range. Ends the process when a difference of raw values overflows 64 bits.
    static double normalizedValueInRange(std::int64_t rawLow, std::int64_t rawHigh, double normalizedLow,
                                         double normalizedHigh, std::int64_t rawValue);

    /// The normalised rest value; absent for a control that does not spring back.
    std::optional<double> neutralValue() const;

    /// Whether `value`, on the normalised scale, differs enough from the last reported one to be reported now; true
    /// makes it the last reported one. A change must exceed the hysteresis; but a change to an end of travel or to the
    /// rest point is let through, except in limited value reporting. A two-state element reports changes between zero
    /// and non-zero, and an element whose device is gone nothing else.
    bool valueQualifiesForReporting(double value);

    /// Begins a calibration with an empty, inverted range; nothing for an element that is not subject to it.
    void startCalibration();
    /// Widens the calibration range. By design a value that lowers the minimum is not considered for the maximum.
    void receivedNewCalibrationValue(std::int64_t value);
    /// Takes the calibration range, and the position of rest, over into the observed ones if a usable range was seen.
    void endCalibration();

    /// Whether the application wants only 0.0 and 1.0 of this element. The library never sets it.
    bool twoState() const noexcept { return twoState_; }
    void setTwoState(bool twoState) noexcept { twoState_ = twoState; }

    /// The range and rest point, in raw values, that normalisation uses.
    std::int64_t observedMin() const noexcept { return observedMin_; }
    void setObservedMin(std::int64_t raw) noexcept { observedMin_ = raw; }
    std::int64_t observedMax() const noexcept { return observedMax_; }
    void setObservedMax(std::int64_t raw) noexcept { observedMax_ = raw; }
    std::int64_t observedNeutral() const noexcept { return observedNeutral_; }
    void setObservedNeutral(std::int64_t raw) noexcept { observedNeutral_ = raw; }

    /// The change, in units of the normalised scale, that a value must exceed to be reported. The library never sets
    /// it.
    double hysteresis() const noexcept { return hysteresis_; }
    void setHysteresis(double hysteresis) noexcept { hysteresis_ = hysteresis; }
    double lastReportedValue() const noexcept { return lastReportedValue_; }
    void setLastReportedValue(double value) noexcept { lastReportedValue_ = value; }

    /// The raw values seen by the current or last calibration; the minimum above the maximum when there were too few.
    std::int64_t calibrationMin() const noexcept { return calibrationMin_; }
    void setCalibrationMin(std::int64_t raw) noexcept { calibrationMin_ = raw; }
    std::int64_t calibrationMax() const noexcept { return calibrationMax_; }
    void setCalibrationMax(std::int64_t raw) noexcept { calibrationMax_ = raw; }

    qz::platform::IOHIDElementRef ioHIDElementRef() const noexcept { return ioHIDElementRef_.get(); }
    void setIoHIDElementRef(qz::platform::IOHIDElementRef elementRef);

    /// The device it belongs to; null when that is gone.
    std::shared_ptr<QZHIDDevice> device() const noexcept { return device_.lock(); }

    std::shared_ptr<QZHIDElementOwning> elementOwner() const noexcept override { return elementOwner_.lock(); }
    void setElementOwner(const std::shared_ptr<QZHIDElementOwning>& owner) noexcept { elementOwner_ = owner; }

    /// A collection's members; absent for any other element, and where the platform lists none. They are made when they
    /// are first asked for, of what the collection was made of.
    const QZHIDElementList& ownedElements() const override;
    void setOwnedElements(QZHIDElementList elements);

private:
    friend class QZGCConfigurationManager;

    /// The device without a share in it, for what every value asks: nothing on that way can end the device.
    QZHIDDevice* liveDevice() const noexcept { return device_.expired() ? nullptr : devicePointer_; }

    /// A collection's own elements. Few programs look at them, and all have their equals in the device's list, so they
    /// cost nothing before that.
    struct Members {
        QZHIDElementList list;
        /// Whose members are still to be made; null when they are there.
        QZHIDElement* collection;
        std::shared_ptr<const QZGCCalibrationValues> calibrationValues;
    };

    void setupChildrenWithCalibrationValues(const std::shared_ptr<const QZGCCalibrationValues>& calibrationValues);
    void setupRangesWithCalibrationValues(const QZGCCalibrationValues* calibrationValues);
    void appendDescription(std::string& text, std::int32_t level) const;

    bool twoState_ = false;
    std::shared_ptr<const qz::platform::HIDElement> ioHIDElementRef_;
    std::weak_ptr<QZHIDDevice> device_;
    QZHIDDevice* devicePointer_;
    std::int64_t observedMin_ = 0;
    std::int64_t observedMax_ = 0;
    std::int64_t observedNeutral_ = 0;
    double hysteresis_ = 0.0;
    double lastReportedValue_ = 0.0;
    std::weak_ptr<QZHIDElementOwning> elementOwner_;
    std::unique_ptr<Members> members_; ///< null for an element without any
    std::int64_t calibrationMin_ = 0;
    std::int64_t calibrationMax_ = 0;
};
