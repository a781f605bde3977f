// SPDX-License-Identifier: MIT
#pragma once

#include "QZGameController/QZGCConfigurationManager.h"
#include "tests/support/Hosts.h"
#include "tests/support/RecordingDelegate.h"

#include <gmock/gmock.h>

#include <utility>

namespace qz::tests {

/// The characters of a story about a QZGCHIDManager: a host, the manager, its delegate and the log of what it was told.
/// The application has one action, "Fire", which the first button of every device triggers.
class ManagerStory {
public:
    explicit ManagerStory(const HostKind& kind) : host(kind.make()) { manager = makeManager(); }

    std::shared_ptr<QZGCHIDManager> makeManager() {
        using Action = QZGCConfigurationManager::Action;
        return QZGCHIDManager::create(QZGCConfigurationManager::create({}, {}, {Action("Fire")}, std::nullopt,
                                                                       std::nullopt, std::nullopt, host->platform()),
                                      host->platform());
    }

    qz::platform::IOReturn setUp() { return manager->setupWithDelegate(delegate); }

    std::size_t turn() { return host->turn(); }
    std::size_t turnModally() { return host->turn(qz::platform::NSModalPanelRunLoopMode); }

    /// The events since the last call.
    EventLog told() { return std::exchange(events, {}); }

    /// The names of the connected devices.
    std::vector<std::string> connected() const { return namesOfDevices(*manager); }

    std::unique_ptr<Host> host;
    EventLog events;
    std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>(events);
    std::shared_ptr<QZGCHIDManager> manager;
};

/// The fixture of stories that run over every host.
class OverHosts : public ::testing::TestWithParam<HostKind>, public ManagerStory {
protected:
    OverHosts() : ManagerStory(GetParam()) {}
};

} // namespace qz::tests
