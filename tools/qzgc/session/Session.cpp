// SPDX-License-Identifier: MIT
#include "tools/qzgc/session/Session.h"

#include "platform/Text.h"
#include "platform/virtual/VolatileUserDefaults.h"
#include "tools/qzgc/TextFile.h"
#include "tools/qzgc/session/Actions.h"
#include "tools/qzgc/session/StoredCalibration.h"
#include "tools/qzgc/session/Text.h"

#include <algorithm>
#include <iostream>

namespace qz::tools {

using namespace platform;

namespace {

std::unique_ptr<Source> makeSource(const SessionOptions& options) {
    if (options.from.empty()) {
        if (options.fast) {
            throw WrongUse("--fast is for recordings: name one with --from, or leave it out");
        }
        return makeMachineSource();
    }
    platform::Recording recording = readRecordingFile(options.from);
    if (!options.fast) {
        return makeRecordingSource(std::move(recording), Pace::RealTime);
    }
    // Without waiting only the recording's own time can tell what a limit leaves out.
    return makeRecordingSource(std::move(recording), Pace::Fast,
                               options.seconds ? std::optional(std::chrono::duration<double>(*options.seconds))
                                               : std::nullopt);
}

/// A session may be one of several in this process: the preferences are those of the first one's application.
void choosePreferences(UserDefaults& defaults, const SessionOptions& options) {
    if (!options.application.empty() && !defaults.setApplicationIdentifier(options.application)) {
        throw WrongUse("--application " + options.application + ": " + defaults.lastError());
    }
}

/// A platform with preferences of its own, which begin as a copy or empty: what only looks changes nothing.
class ReadingPlatform final : public Platform {
public:
    ReadingPlatform(Platform& platform, PropertyList::Dictionary preferences)
        : platform_(platform), userDefaults_(std::move(preferences)) {}

    HIDServices& hidServices() override { return platform_.hidServices(); }
    RunLoop& currentRunLoop() override { return platform_.currentRunLoop(); }
    UserDefaults& userDefaults() override { return userDefaults_; }
    SystemLog& systemLog() override { return platform_.systemLog(); }

private:
    Platform& platform_;
    VolatileUserDefaults userDefaults_;
};

std::string& lastWarning() {
    static std::string last;
    return last;
}

/// A command that looks for a controller first has two sessions, and one message is enough.
void warn(const std::string& warning) {
    if (!warning.empty() && warning != lastWarning()) {
        std::cerr << "qzgc: " << warning << '\n';
        lastWarning() = warning;
    }
}

/// An application of which nothing is stored may be a misspelt one. Preferences that could not be read look empty too,
/// and those that were damaged are when they are read again; that has been told then.
void remarkOnNewApplication(const SessionOptions& options, const UserDefaults& defaults) {
    if (!options.application.empty() && defaults.dictionaryRepresentation().empty() && lastWarning().empty()) {
        warn("no settings are stored for \"" + withoutControlCharacters(options.application) + "\" yet");
    }
}

} // namespace

std::string fileWord(const std::string& name) {
    const bool looksLikeAnOption = name.size() > 1 && name.starts_with('-');
    return shellWord((looksLikeAnOption ? "./" : "") + name);
}

std::string commandText(const std::string& command, const SessionOptions& options) {
    return "'qzgc " + command + (options.from.empty() ? "" : " --from " + fileWord(options.from)) + '\'';
}

bool Listener::hidManagerShouldConnectDevice(QZGCHIDManager& /*manager*/, IOHIDDeviceRef /*device*/) {
    return true;
}
void Listener::hidManagerDeviceConnected(QZGCHIDManager& /*manager*/, const std::shared_ptr<QZHIDDevice>& /*device*/) {}
void Listener::hidManagerDeviceDisconnected(QZGCHIDManager& /*manager*/,
                                            const std::shared_ptr<QZHIDDevice>& /*device*/) {}
void Listener::hidManagerElementNewRawValue(QZGCHIDManager& /*manager*/,
                                            const std::shared_ptr<QZHIDElement>& /*element*/,
                                            std::int64_t /*newRawValue*/) {}
void Listener::hidManagerActionNewValue(QZGCHIDManager& /*manager*/, const std::string& /*action*/,
                                        double /*newValue*/) {}
void Listener::hidManagerHidError(QZGCHIDManager& /*manager*/, IOReturn /*error*/) {}
void Listener::controllerUnusable(QZGCHIDManager& /*manager*/, IOHIDDeviceRef /*device*/, IOReturn /*why*/) {}

Session::Session(const SessionOptions& options) : source_(makeSource(options)), options_(options) {
    const ActionNames names = options.actions.empty() ? builtInActions() : readActionsFile(options.actions);
    choosePreferences(platform().userDefaults(), options);
    warn(platform().userDefaults().lastError());
    remarkOnNewApplication(options, platform().userDefaults());
    if (!options.mayStore) {
        reading_ = std::make_unique<ReadingPlatform>(source_->platform(), options.passesOverStored
                                                                              ? PropertyList::Dictionary{}
                                                                              : stored().dictionaryRepresentation());
    }
    configuration_ = makeConfigurationManager(names, platform());
    warn(platform().userDefaults().lastError());
    manager_ = QZGCHIDManager::create(configuration_, platform());
}

Session::~Session() {
    if (manager_) {
        IOHIDManagerRegisterDeviceMatchingCallback(manager_->gameControllerHidManager(), nullptr, nullptr);
    }
}

void Session::start(std::shared_ptr<Listener> listener) {
    listener_ = std::move(listener);
    if (const IOReturn result = manager_->setupWithDelegate(listener_); result != kIOReturnSuccess) {
        throw Failure("cannot look for controllers: " + statusText(result) + remedyText(result));
    }
    // The library tells a delegate that a device failed, not which one.
    IOHIDManagerRegisterDeviceMatchingCallback(manager_->gameControllerHidManager(), deviceMatched, this);
}

void Session::deviceMatched(void* context, IOReturn result, void* sender, IOHIDDeviceRef device) {
    auto& session = *static_cast<Session*>(context);
    if (device != nullptr) {
        expectUsableCalibration(device, session.platform().userDefaults(), session.options_);
    }
    if (result != kIOReturnSuccess && device != nullptr) {
        session.listener_->controllerUnusable(*session.manager_, device, result);
    } else {
        deviceMatchingCallback(session.manager_.get(), result, sender, device);
    }
}

void Session::settle() {
    // One turn brings all devices, another what belongs to them; input that never ends must not keep us.
    constexpr int turns = 8;
    for (int i = 0; i < turns && source_->turn() > 0 && source_->fileDescriptor() >= 0; ++i) {
    }
}

std::string statusText(IOReturn status) {
    switch (status) {
    case kIOReturnNotPermitted:
        return "no permission to read it";
    case kIOReturnExclusiveAccess:
        return "another program uses it alone";
    case kIOReturnNoDevice:
        return "it is gone";
    case kIOReturnIOError:
        return "it does not answer";
    case kIOReturnNoResources:
        return "the system has no resources left";
    default:
        return "error 0x" + hexadecimal(static_cast<std::uint32_t>(status), 8);
    }
}

std::string remedyText(IOReturn status) {
    switch (status) {
    case kIOReturnNotPermitted:
        return "; install the udev rule 60-qzgamecontroller.rules and plug the controller in again";
    case kIOReturnExclusiveAccess:
        return "; end that program";
    case kIOReturnNoDevice:
    case kIOReturnIOError:
        return "; plug it in again";
    case kIOReturnNoResources:
        return "; end other programs, or raise the limits of open files (ulimit -n) and inotify watches";
    default:
        return "";
    }
}

} // namespace qz::tools
