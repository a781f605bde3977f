// SPDX-License-Identifier: MIT
#pragma once

#include "platform/HIDDevice.h"
#include "platform/HIDManager.h"

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
    std::map<std::string, PropertyValue, std::less<>> properties;
    std::optional<std::vector<VirtualElement>> elements = std::vector<VirtualElement>{}; ///< absent: no list at all
    std::vector<HIDUsagePair> usagePairs; ///< application collections; empty: the primary one alone
};

/// A device without hardware. Elements may be anything, also what no real device can declare, but for two things that
/// end the process: a collection that contains itself, and more than 1,048,576 memberships (elements counted once for
/// each collection around them, because the layer above makes an object for each). Made with std::make_shared only.
class QZGC_EXPORT VirtualDevice final : public HIDDevice {
public:
    explicit VirtualDevice(VirtualDeviceDescription description);

    using HIDDevice::removeProperty;
    using HIDDevice::setProperty;

    /// The handle of the element at `index` of the description, or null beyond its end.
    IOHIDElementRef element(std::size_t index) const;

    /// What reading the element without polling answers from now on; nothing: reading it fails.
    void setLastKnownValue(std::size_t index, std::optional<std::int64_t> value);

private:
    friend class VirtualHIDServices;
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
    std::shared_ptr<VirtualDevice> plug(VirtualDeviceDescription description);
    void plug(const std::shared_ptr<VirtualDevice>& device);

    /// Detaches a device: from now on reading its values fails, and its removal is on the way.
    void unplug(const std::shared_ptr<VirtualDevice>& device);

    /// Sends a new value of the element at `index` to the managers that are open now. It becomes the last known value
    /// when it is delivered.
    void send(const std::shared_ptr<VirtualDevice>& device, std::size_t index, std::int64_t raw);

    /// Reports through the matching callback that a device cannot be used, as for a device that is there but cannot be
    /// opened. It need not be plugged, and may be null.
    void fail(const std::shared_ptr<VirtualDevice>& device, IOReturn result);

    void deliverMatching(IOReturn result, IOHIDDeviceRef device);
    void deliverRemoval(IOReturn result, IOHIDDeviceRef device);
    void deliverInputValue(IOReturn result, IOHIDValueRef value);

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
