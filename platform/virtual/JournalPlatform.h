// SPDX-License-Identifier: MIT
#pragma once

#include "platform/HIDManager.h"
#include "platform/Platform.h"

#include <memory>

namespace qz::platform {

/// Writes down every operation that passes through a platform, and makes chosen ones fail.
///
/// Wraps any platform, which must outlive it. An entry is the operation's platform name with its arguments, such as
/// "IOHIDManagerOpen(0)"; functions and contexts are written as "function" or "NULL". What is asked of a device, an
/// element or a value is no operation of a platform and is not written down.
class QZGC_EXPORT JournalPlatform final : public Platform {
public:
    explicit JournalPlatform(Platform& wrapped);
    ~JournalPlatform() override;

    HIDServices& hidServices() override;
    RunLoop& currentRunLoop() override;
    UserDefaults& userDefaults() override;
    SystemLog& systemLog() override;

    /// The entries so far, oldest first.
    const std::vector<std::string>& entries() const noexcept;

    /// Forgets the entries so far and answers them.
    std::vector<std::string> takeEntries();

    /// From now on `operation` (its platform name) does not reach the wrapped platform: one that answers a status
    /// answers `result`, a creation answers null, a synchronisation or the setting of an application identifier false,
    /// any other does nothing. Success ends it. CFRelease and CFRunLoopGetCurrent cannot fail.
    void fail(std::string_view operation, IOReturn result);

private:
    class Journal;
    class Services;
    class Manager;
    class Defaults;
    class Log;

    Platform& wrapped_;
    std::unique_ptr<Journal> journal_;
    std::unique_ptr<Services> services_;
    std::unique_ptr<Defaults> defaults_;
    std::unique_ptr<Log> log_;
};

} // namespace qz::platform
