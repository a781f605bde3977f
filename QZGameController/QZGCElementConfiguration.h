// SPDX-License-Identifier: MIT
#pragma once

/// What is configured for one element of a device, apart from its action. A value: copies are independent.
class QZGCElementConfiguration {
public:
    /// Whether one minus the normalised value is reported in place of the value.
    bool reversedDirection() const noexcept { return reversedDirection_; }

private:
    friend class QZGCDeviceConfiguration;

    bool reversedDirection_ = false;
};
