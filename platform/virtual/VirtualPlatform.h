// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Platform.h"
#include "platform/SystemLog.h"
#include "platform/virtual/VirtualHID.h"
#include "platform/virtual/VirtualRunLoop.h"
#include "platform/virtual/VolatileUserDefaults.h"

namespace qz::platform {

/// A system log that keeps its entries in memory.
class QZGC_EXPORT VirtualSystemLog final : public SystemLog {
public:
    void write(std::string_view text) override { entries_.emplace_back(text); }

    /// The entries so far, oldest first.
    const std::vector<std::string>& entries() const noexcept { return entries_; }

private:
    std::vector<std::string> entries_;
};

/// A system in one object, for tests, demonstrations and replays: nothing on the machine is read or written. For that,
/// QZGCConfigurationManager::create and QZGCHIDManager::create both have to be given it; whichever is not uses the real
/// system.
class QZGC_EXPORT VirtualPlatform final : public Platform {
public:
    VirtualPlatform() = default;
    explicit VirtualPlatform(PropertyList::Dictionary preferences) : userDefaults_(std::move(preferences)) {}

    VirtualHIDServices& hidServices() override { return hidServices_; }
    VirtualRunLoop& currentRunLoop() override { return runLoop_; }
    VolatileUserDefaults& userDefaults() override { return userDefaults_; }
    VirtualSystemLog& systemLog() override { return systemLog_; }

private:
    VirtualRunLoop runLoop_;
    VirtualHIDServices hidServices_;
    VolatileUserDefaults userDefaults_;
    VirtualSystemLog systemLog_;
};

} // namespace qz::platform
