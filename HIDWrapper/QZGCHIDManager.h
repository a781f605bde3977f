// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Export.h"
#include "platform/HID.h"
#include "platform/Platform.h"

#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

class QZGCConfigurationManager;
class QZGCHIDManagerDelegate;
class QZHIDDevice;
class QZHIDElement;

/// The connected devices by their platform handle, in the order of their admission.
class QZGC_EXPORT QZHIDDeviceTable {
public:
    using Entry = std::pair<qz::platform::IOHIDDeviceRef, std::shared_ptr<QZHIDDevice>>;

    /// The device under this handle, or null; valid until the table is changed.
    const std::shared_ptr<QZHIDDevice>* find(qz::platform::IOHIDDeviceRef handle) const;

    /// The same without a share in it, for what every value asks.
    QZHIDDevice* device(qz::platform::IOHIDDeviceRef handle) const;

    /// Stores a device; one that replaces another under the same handle takes over its place. Null removes it.
    void set(qz::platform::IOHIDDeviceRef handle, std::shared_ptr<QZHIDDevice> device);
    void remove(qz::platform::IOHIDDeviceRef handle);

    const std::vector<Entry>& entries() const noexcept { return entries_; }

private:
    struct Place {
        std::size_t position;
        QZHIDDevice* device;
    };

    std::vector<Entry> entries_;
    std::unordered_map<qz::platform::IOHIDDeviceRef, Place> places_;
};

/// The entry point of the library: finds joysticks and gamepads, admits them with the delegate's consent, follows them
/// as they come and go, and reports what their controls do.
///
/// Everything happens on the thread that runs the platform's run loop; use the manager on that thread only.
class QZGC_EXPORT QZGCHIDManager final : public std::enable_shared_from_this<QZGCHIDManager> {
    struct Private {
        explicit Private() = default;
    };

public:
    /// A manager that reports actions and not raw values, with nothing matched, scheduled or opened yet.
    /// `configurationManager` may be null: nothing is reversed then and no control has an action. `platform` must
    /// outlive the manager and everything made by it.
    static std::shared_ptr<QZGCHIDManager>
    create(std::shared_ptr<QZGCConfigurationManager> configurationManager,
           qz::platform::Platform& platform = qz::platform::Platform::standard());

    QZGCHIDManager(Private, std::shared_ptr<QZGCConfigurationManager> configurationManager,
                   qz::platform::Platform& platform);
    QZGCHIDManager(const QZGCHIDManager&) = delete;
    QZGCHIDManager& operator=(const QZGCHIDManager&) = delete;
    ~QZGCHIDManager();

    /// Begins to follow devices and report to `delegate`, which is held weakly. With no delegate every device is
    /// admitted and nothing is reported.
    ///
    /// Success, or the platform's answer to opening. After a failure the manager stays scheduled and reports
    /// connections, but no values: nothing is undone, by design.
    qz::platform::IOReturn setupWithDelegate(const std::shared_ptr<QZGCHIDManagerDelegate>& delegate);

    /// The steps of the set-up, in its order. The first asks the platform for devices one of whose application
    /// collections is a joystick (usage page 1, usage 4) or a gamepad (1, 5); no other device is ever reported.
    void matchWithGameControllers();
    void registerConnectionCallbacks();
    void scheduleWithRunLoop();

    void unscheduleFromRunLoop();

    /// The connected devices, in the order of their admission.
    std::vector<std::shared_ptr<QZHIDDevice>> devices() const;

    /// What the platform's callbacks call. Who calls them directly holds a share in the manager meanwhile.
    void hidDeviceConnected(qz::platform::IOHIDDeviceRef deviceRef);
    void hidDeviceDisconnected(qz::platform::IOHIDDeviceRef deviceRef);
    void inputValueUpdate(qz::platform::IOHIDValueRef value);
    void hidError(qz::platform::IOReturn error);

    /// The two ways of a value: to the delegate, or, in calibration mode, to the calibration of its element alone.
    void inputValueUpdateRegular(qz::platform::IOHIDValueRef value);
    void inputValueUpdateForCalibration(qz::platform::IOHIDValueRef value);

    /// The element of a connected device that the value belongs to, or null.
    std::shared_ptr<QZHIDElement> elementForValueRef(qz::platform::IOHIDValueRef value) const;

    /// Enters, and leaves, calibration mode: nothing is reported in between, and leaving it ends the calibration of
    /// every device connected then and saves what was seen. Entering it starts those connected now; one that connects
    /// in between is not started, so its ranges widen from what its elements last had (by design). In a mode already
    /// entered or left nothing happens.
    void startCalibration();
    void endCalibration();

    /// Lets the devices connected now report only changes greater than `hysteresis` (normalised scale, clamped to 0.0
    /// to 1.0), and everything again. A device that connects later reports everything.
    void startLimitedValueReportingWithHysteresis(double hysteresis);
    void endLimitedValueReporting();

    /// Whether events arrive while the run loop runs in the modal-panel mode (true) or in the default mode (false). The
    /// setter moves the scheduling at once, also before the set-up; with the current value it does nothing.
    bool modalMode() const noexcept { return modalMode_; }
    void setModalMode(bool modalMode);

    /// Whether the delegate receives raw values (false at first) and action values (true at first).
    bool reportRawValues() const noexcept { return reportRawValues_; }
    void setReportRawValues(bool report) noexcept { reportRawValues_ = report; }
    bool reportMappedValues() const noexcept { return reportMappedValues_; }
    void setReportMappedValues(bool report) noexcept { reportMappedValues_ = report; }

    /// True from the end of a successful set-up; decides what destruction undoes.
    bool successfullySetUp() const noexcept { return successfullySetUp_; }
    void setSuccessfullySetUp(bool setUp) noexcept { successfullySetUp_ = setUp; }

    /// Where values go. The setter changes the flag alone; `startCalibration` and `endCalibration` tell the devices
    /// too.
    bool calibrationMode() const noexcept { return calibrationMode_; }
    void setCalibrationMode(bool calibrationMode) noexcept { calibrationMode_ = calibrationMode; }

    const std::shared_ptr<QZGCConfigurationManager>& configManager() const noexcept { return configManager_; }
    void setConfigManager(std::shared_ptr<QZGCConfigurationManager> configManager) {
        configManager_ = std::move(configManager);
    }

    std::shared_ptr<QZGCHIDManagerDelegate> delegate() const noexcept { return delegate_.lock(); }
    void setDelegate(const std::shared_ptr<QZGCHIDManagerDelegate>& delegate) noexcept { delegate_ = delegate; }

    /// The platform's manager, released with this object; null when none could be made. One that is replaced is the
    /// caller's to release.
    qz::platform::IOHIDManagerRef gameControllerHidManager() const noexcept { return gameControllerHidManager_; }
    void setGameControllerHidManager(qz::platform::IOHIDManagerRef manager) noexcept {
        gameControllerHidManager_ = manager;
    }

    const QZHIDDeviceTable& connectedHIDDevices() const noexcept { return connectedHIDDevices_; }
    void setConnectedHIDDevices(QZHIDDeviceTable devices) { std::swap(connectedHIDDevices_, devices); }

    qz::platform::Platform& platform() const noexcept { return platform_; }

private:
    qz::platform::RunLoopMode scheduledMode() const noexcept;
    const std::shared_ptr<QZHIDElement>* findElement(qz::platform::IOHIDValueRef value) const;
    void reportRawAndMappedValue(const std::shared_ptr<QZHIDElement>& element, std::int64_t raw, double reported);
    void reportMappedValue(const QZHIDElement& element, double reported);

    qz::platform::Platform& platform_;
    bool modalMode_ = false;
    bool reportRawValues_ = false;
    bool reportMappedValues_ = true;
    bool successfullySetUp_ = false;
    bool calibrationMode_ = false;
    std::shared_ptr<QZGCConfigurationManager> configManager_;
    std::weak_ptr<QZGCHIDManagerDelegate> delegate_;
    qz::platform::IOHIDManagerRef gameControllerHidManager_;
    QZHIDDeviceTable connectedHIDDevices_;
};

/// The functions that a QZGCHIDManager registers with the platform; `context` is the manager, which they keep alive to
/// their end. Result 0 hands the device on, any other result is an error.
QZGC_EXPORT void deviceMatchingCallback(void* context, qz::platform::IOReturn result, void* sender,
                                        qz::platform::IOHIDDeviceRef device);
QZGC_EXPORT void deviceRemovalCallback(void* context, qz::platform::IOReturn result, void* sender,
                                       qz::platform::IOHIDDeviceRef device);
QZGC_EXPORT void inputValueCallback(void* context, qz::platform::IOReturn result, void* sender,
                                    qz::platform::IOHIDValueRef value);
