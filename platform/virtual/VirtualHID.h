// SPDX-License-Identifier: MIT
#pragma once

#include "platform/HIDManager.h"
#include "platform/report/Recording.h"
#include "platform/report/ReportDevice.h"

namespace qz::platform {

/// One element of a hand-made device.
struct VirtualElement {
    std::uint32_t cookie = 0;
    std::int32_t type = 0; ///< QZHIDElementType, or any other number
    std::int32_t collectionType = 0;
    std::uint32_t usagePage = 0;
    std::uint32_t usage = 0;
    std::int64_t min = 0; ///< logical range
    std::int64_t max = 0;
    bool preferredState = true;
    std::optional<std::vector<std::size_t>> children = std::nullopt; ///< members, as indices into the device's elements
};

/// What a virtual device is made of.
struct VirtualDeviceDescription {
    HIDProperties properties;
    std::optional<std::vector<VirtualElement>> elements = std::vector<VirtualElement>{}; ///< absent: no list at all
    std::vector<HIDUsagePair> usagePairs; ///< application collections; empty: the primary one alone
};

/// A device without hardware, hand-made or made of a real one's report descriptor. Made with std::make_shared only.
///
/// Hand-made elements may be anything, also what no real device can declare, but for two things that end the process: a
/// collection that contains itself, and more than 1,048,576 memberships (elements counted once for each collection
/// around them, because the layer above makes an object for each).
class QZGC_EXPORT VirtualDevice final : public ReportDevice {
public:
    explicit VirtualDevice(VirtualDeviceDescription description);
    /// The real device minus the wire: its elements follow from `descriptor`, and it takes reports.
    VirtualDevice(ReportDescriptor descriptor, const HIDProperties& properties);
    /// The device that was recorded: it has the properties, and so the IDs, that the Linux back end gives to one with
    /// this name, place and so on. `descriptor` is what the recording's descriptor declares.
    VirtualDevice(ReportDescriptor descriptor, RecordedDevice recorded);

    std::optional<RecordedDevice> recordedDevice() override { return recorded_; }

    using HIDDevice::removeProperty;
    using HIDDevice::setProperty;

    /// The handle of the element at `index` of the description or of the descriptor's list, or null beyond its end.
    IOHIDElementRef element(std::size_t index) const;

    /// What reading the element without polling answers from now on; nothing: reading it fails.
    void setLastKnownValue(std::size_t index, std::optional<std::int64_t> value);

private:
    friend class VirtualHIDServices;

    /// The values that `feed` answers.
    std::vector<HIDValue> takeReport(std::span<const std::uint8_t> report);

    std::optional<RecordedDevice> recorded_;
};

/// HID services without an operating system: devices come, send and go when the program says so.
///
/// `plug`, `unplug`, `send` and `fail` keep the order that HID.h promises: what they set off is delivered by the next
/// turn of the run loop that a manager is scheduled on. The operations named `deliver…` call the registered callback at
/// once and break any order, because the layer above must bear that too.
class QZGC_EXPORT VirtualHIDServices final : public HIDServices {
public:
    VirtualHIDServices();
    ~VirtualHIDServices() override;

    IOHIDManagerRef createManager(IOOptionBits options) override;

    /// Attaches a device; the handle stays valid until its removal has been delivered, or as long as the result is
    /// kept. A device that has been unplugged stays gone: what comes back is another one.
    ///
    /// Managers report it only if it matches what they look for, and QZGCHIDManager looks for joysticks and gamepads:
    /// "PrimaryUsagePage" 1 with "PrimaryUsage" 4 or 5, or such a pair in `usagePairs`. A device without any stays
    /// unseen, whatever elements it has. One that is made of a report descriptor has its pairs from there.
    std::shared_ptr<VirtualDevice> plug(VirtualDeviceDescription description);
    void plug(const std::shared_ptr<VirtualDevice>& device);

    /// Detaches a device: from now on reading its values fails, and its removal is on the way.
    void unplug(const std::shared_ptr<VirtualDevice>& device);

    /// Sends a new value of the element at `index` to the managers that are open now. It becomes the last known value
    /// when it is delivered.
    void send(const std::shared_ptr<VirtualDevice>& device, std::size_t index, std::int64_t raw);

    /// Sends an input report of a device made of a report descriptor to the managers that are open now. It is taken in
    /// when it is delivered, and then each value that is new in it is delivered as one.
    void sendReport(const std::shared_ptr<VirtualDevice>& device, std::span<const std::uint8_t> report);

    /// Reports through the matching callback that a device cannot be used, as for a device that is there but cannot be
    /// opened. It need not be plugged, and may be null.
    void fail(const std::shared_ptr<VirtualDevice>& device, IOReturn result);

    void deliverMatching(IOReturn result, IOHIDDeviceRef device);
    void deliverRemoval(IOReturn result, IOHIDDeviceRef device);
    void deliverInputValue(IOReturn result, IOHIDValueRef value);
    /// Takes a report in whole, calls the input-report callback and then the input-value callback for each value that
    /// was new in it, whatever another report does that is delivered inside one of these calls. The bytes stay the
    /// caller's.
    void deliverReport(const std::shared_ptr<VirtualDevice>& device, std::span<const std::uint8_t> report);

    /// From now on no manager can be made, or can again.
    void setCreationFails(bool fails) { creationFails_ = fails; }
    /// What opening a manager answers from now on; a manager is open only after success.
    void setOpenResult(IOReturn result) { openResult_ = result; }

private:
    class Manager;

    template<typename Action>
    void forEachManager(Action action);

    std::vector<std::shared_ptr<VirtualDevice>> devices_;
    std::vector<Manager*> managers_;
    IOReturn openResult_ = kIOReturnSuccess;
    bool creationFails_ = false;
};

} // namespace qz::platform
