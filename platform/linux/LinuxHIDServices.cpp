// SPDX-License-Identifier: MIT
#include "platform/linux/LinuxHIDServices.h"

#include "platform/linux/LinuxHIDManager.h"

#include <utility>

namespace qz::platform {

LinuxHIDServices::LinuxHIDServices(LinuxHIDPaths paths, SystemCalls& calls) : paths_(std::move(paths)), calls_(calls) {}

LinuxHIDServices::~LinuxHIDServices() = default;

IOHIDManagerRef LinuxHIDServices::createManager(IOOptionBits /*options*/) {
    return new LinuxHIDManager(paths_, calls_);
}

} // namespace qz::platform
