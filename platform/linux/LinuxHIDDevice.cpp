// SPDX-License-Identifier: MIT
#include "platform/linux/LinuxHIDDevice.h"

#include "platform/linux/RetryInterrupted.h"
#include "platform/report/Recording.h"

#include <fcntl.h>
#include <utility>

namespace qz::platform {

IOReturn statusOfOpening(int error) noexcept {
    switch (error) {
    case 0:
        return kIOReturnSuccess;
    case EACCES:
    case EPERM:
        return kIOReturnNotPermitted;
    case ENOENT:
    case ENODEV:
    case ENXIO:
    case ESHUTDOWN:
        return kIOReturnNoDevice;
    case EIO:
        return kIOReturnIOError;
    case EBUSY:
        return kIOReturnExclusiveAccess;
    case EMFILE:
    case ENFILE:
    case ENOMEM:
    case ENOSPC:
        return kIOReturnNoResources;
    default:
        return kIOReturnError;
    }
}

namespace {

std::uint16_t cut(std::uint32_t number) {
    return static_cast<std::uint16_t>(number); // the kernel's numbers of devices have 16 bits, whatever their type
}

} // namespace

LinuxHIDDevice::LinuxHIDDevice(SystemCalls& calls, std::vector<std::uint8_t> bytes, ReportDescriptor descriptor,
                               HIDDevicePath path)
    : ReportDevice(std::move(descriptor), HIDProperties{}), calls_(calls), path_(std::move(path)),
      bytes_(std::move(bytes)), identity_(numbersInName(path_)) {
    if (identity_.bus == 0 && identity_.vendor == 0 && identity_.product == 0) {
        return;
    }
    setProperty("VendorID", std::int64_t{identity_.vendor});
    setProperty("ProductID", std::int64_t{identity_.product});
    if (const std::string_view transport = transportOf(identity_); !transport.empty()) {
        setProperty("Transport", std::string(transport));
    }
}

LinuxHIDDevice::~LinuxHIDDevice() {
    closeNode();
}

int LinuxHIDDevice::openNode(const std::string& path) {
    descriptor_ =
        retryInterrupted([&] { return calls_.open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY, 0); });
    return isOpen() ? 0 : errno;
}

void LinuxHIDDevice::closeNode() noexcept {
    if (isOpen()) {
        calls_.close(std::exchange(descriptor_, -1));
    }
}

bool LinuxHIDDevice::isNodeDeleted() const {
    struct stat status {};
    return calls_.fileStatus(descriptor_, &status) == 0 && status.st_nlink == 0;
}

void LinuxHIDDevice::loadProperties() {
    if (isComplete_) {
        return;
    }
    HIDProperties properties;
    isComplete_ = readProperties(calls_, path_, properties, identity_);
    setProperties(properties);
}

std::optional<RecordedDevice> LinuxHIDDevice::recordedDevice() {
    loadProperties();
    return RecordedDevice{.name = identity_.name,
                          .phys = identity_.phys,
                          .uniq = identity_.uniq,
                          .bus = cut(identity_.bus),
                          .vendor = cut(identity_.vendor),
                          .product = cut(identity_.product),
                          .descriptor = bytes_};
}

void LinuxHIDDevice::detach() noexcept {
    closeNode();
    isComplete_ = true;
}

} // namespace qz::platform
