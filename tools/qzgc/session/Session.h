// SPDX-License-Identifier: MIT
#pragma once

#include "QZGameController/QZGameController.h"
#include "tools/qzgc/session/Source.h"

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

namespace qz::tools {

/// What could not be done, in one line with a remedy.
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A command line that asks for what cannot be, in one line with a remedy.
class WrongUse : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// What the commands have in common on the command line.
struct SessionOptions {
    std::string application = {};  ///< whose preferences are read and edited; empty: the tool's own
    std::string actions = {};      ///< file with the application's actions; empty: a built-in set
    std::string from = {};         ///< recording whose devices take the place of this machine's; empty: the machine's
    bool mayStore = false;         ///< whether the preferences may be changed, were it to bring an old form up to date
    bool passesOverStored = false; ///< whether, without mayStore, all is looked at as if nothing were stored
    bool fast = false;             ///< whether a recording is played without waiting
    std::optional<double> seconds = std::nullopt; ///< how long a command follows its devices, where it has such a limit
};

/// The name of a file as a shell, and the command line, read it.
std::string fileWord(const std::string& name);
/// "'qzgc list --from flight.hid'": for messages, a command to run next, about the controllers of the same source.
std::string commandText(const std::string& command, const SessionOptions& options);

/// A delegate that admits everything and passes over all else; commands override what they need.
class Listener : public QZGCHIDManagerDelegate {
public:
    bool hidManagerShouldConnectDevice(QZGCHIDManager& manager, platform::IOHIDDeviceRef device) override;
    void hidManagerDeviceConnected(QZGCHIDManager& manager, const std::shared_ptr<QZHIDDevice>& device) override;
    void hidManagerDeviceDisconnected(QZGCHIDManager& manager, const std::shared_ptr<QZHIDDevice>& device) override;
    void hidManagerElementNewRawValue(QZGCHIDManager& manager, const std::shared_ptr<QZHIDElement>& element,
                                      std::int64_t newRawValue) override;
    void hidManagerActionNewValue(QZGCHIDManager& manager, const std::string& action, double newValue) override;
    void hidManagerHidError(QZGCHIDManager& manager, platform::IOReturn error) override;

    /// A controller is there that cannot be used now. It may become usable later, and is connected then.
    virtual void controllerUnusable(QZGCHIDManager& manager, platform::IOHIDDeviceRef device, platform::IOReturn why);
};

/// The library at work, set up as an application does it: a source, a configuration manager with the application's
/// actions and preferences, and a HID manager.
class Session {
public:
    /// Throws FileError, WrongUse or Failure.
    explicit Session(const SessionOptions& options);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session();

    /// Sets the manager up with this listener, which the session keeps alive. Throws Failure.
    void start(std::shared_ptr<Listener> listener);

    /// Takes turns until all controllers that are there at the beginning have been reported.
    void settle();

    Source& source() noexcept { return *source_; }
    platform::Platform& platform() noexcept { return reading_ ? *reading_ : source_->platform(); }
    /// The preferences on the disk, whether or not those of `platform` are a copy.
    platform::UserDefaults& stored() noexcept { return source_->platform().userDefaults(); }
    QZGCHIDManager& manager() noexcept { return *manager_; }
    const std::shared_ptr<QZGCConfigurationManager>& configuration() const noexcept { return configuration_; }

private:
    static void deviceMatched(void* context, platform::IOReturn result, void* sender, platform::IOHIDDeviceRef device);

    std::unique_ptr<Source> source_;
    std::unique_ptr<platform::Platform> reading_; ///< the source's, with a copy of the preferences
    SessionOptions options_;
    std::shared_ptr<QZGCConfigurationManager> configuration_;
    std::shared_ptr<QZGCHIDManager> manager_;
    std::shared_ptr<Listener> listener_;
};

/// "no permission to read it", and so on: what a status means to a user.
std::string statusText(platform::IOReturn status);
/// What a user can do about it; empty when nothing.
std::string remedyText(platform::IOReturn status);

} // namespace qz::tools
