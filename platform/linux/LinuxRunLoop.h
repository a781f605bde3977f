// SPDX-License-Identifier: MIT
#pragma once

#include "platform/RunLoop.h"
#include "platform/linux/SystemCalls.h"

#include <array>
#include <vector>

namespace qz::platform {

/// One epoll set for each mode. A set is itself a descriptor that polls as readable, so the loop can live inside any
/// other, and an idle loop wakes nobody.
class LinuxRunLoop final : public RunLoop {
public:
    explicit LinuxRunLoop(SystemCalls& calls = SystemCalls::kernel());
    ~LinuxRunLoop() override;

    bool addSource(RunLoopSource& source, RunLoopMode mode) override;
    void removeSource(RunLoopSource& source, RunLoopMode mode) override;
    void suspendSource(RunLoopSource& source, RunLoopMode mode) override;
    void resumeSource(RunLoopSource& source, RunLoopMode mode) override;

    /// -1 when the kernel gave no epoll set.
    int fileDescriptor(RunLoopMode mode) const noexcept override;
    bool usesDescriptors(RunLoopMode mode) const noexcept override;

    std::size_t dispatch(RunLoopMode mode) override;
    std::size_t runInMode(RunLoopMode mode, std::chrono::milliseconds timeout) override;

private:
    struct Entry {
        RunLoopSource* source;
        std::uint64_t serial; ///< tells an entry from a later one for the same source
        int fileDescriptor;   ///< -1: asked at every turn
        std::uint32_t events = EPOLLIN;
        bool isWatched = false; ///< whether the set has the descriptor
    };
    struct Set {
        int fileDescriptor = -1;
        std::vector<Entry> entries;
        bool isComplete = true; ///< whether it has the descriptors of all entries
        /// Whether the loop has waited for the set, or the client may. Asking for the set's descriptor changes it,
        /// which to the client changes nothing.
        mutable bool isUsed = false;
    };

    Set& set(RunLoopMode mode) { return sets_[static_cast<std::size_t>(mode)]; }
    const Set& set(RunLoopMode mode) const { return sets_[static_cast<std::size_t>(mode)]; }
    static void use(const Set& target) noexcept;
    bool watch(Set& target, Entry& entry);
    void watchMissing(Set& target);
    std::vector<std::uint64_t> readyWithoutSet(Set& target, int milliseconds);
    void setEvents(RunLoopSource& source, RunLoopMode mode, std::uint32_t events);
    std::size_t perform(RunLoopMode mode, std::uint64_t serial);
    std::size_t performReady(RunLoopMode mode, int milliseconds);

    SystemCalls& calls_;
    std::array<Set, 2> sets_;
    std::uint64_t nextSerial_ = 0;
};

} // namespace qz::platform
