// SPDX-License-Identifier: MIT
#include "platform/linux/LinuxHIDDevice.h"

#include "platform/linux/RetryInterrupted.h"

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

LinuxHIDDevice::LinuxHIDDevice(SystemCalls& calls, ReportDescriptor descriptor, HIDDevicePath path)
    : ReportDevice(std::move(descriptor), propertiesInName(path)), calls_(calls), path_(std::move(path)) {}

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
    isComplete_ = readProperties(calls_, path_, properties);
    for (auto& [key, value] : properties) {
        setProperty(key, std::move(value));
    }
}

void LinuxHIDDevice::detach() noexcept {
    closeNode();
    isComplete_ = true;
}

} // namespace qz::platform
