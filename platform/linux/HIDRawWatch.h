// SPDX-License-Identifier: MIT
#pragma once

#include "platform/linux/SystemCalls.h"

#include <array>
#include <limits>
#include <span>
#include <string>
#include <vector>

namespace qz::platform {

/// What happened to a device node.
struct NodeChange {
    enum class Kind : std::uint8_t {
        Created,
        Altered, ///< its owner, mode or access list
        Deleted,
        Lost, ///< changes of any nodes that are not told: there were too many
    };
    Kind kind;
    std::string name = {}; ///< of the node, within its directory
};

/// All that one HID manager waits for, behind one descriptor: the changes of device nodes, input on the nodes that are
/// open, and a wake-up of its own.
///
/// Behind the descriptor is an epoll set. The nodes are put into it only when somebody waits for the descriptor, or
/// when there are too many for a `poll` of each: every report that comes to a node in a set has to wake the set as
/// well.
class HIDRawWatch {
public:
    static constexpr std::uint64_t changes = 0; ///< stands for changes of nodes where a serial is given
    static constexpr std::uint64_t wakeUp = std::numeric_limits<std::uint64_t>::max(); ///< stands for being awake

    HIDRawWatch(SystemCalls& calls, std::string deviceDirectory);
    HIDRawWatch(const HIDRawWatch&) = delete;
    HIDRawWatch& operator=(const HIDRawWatch&) = delete;
    ~HIDRawWatch();

    /// Gets from the kernel what all this takes, and is awake then; false, and it has nothing, when that failed. Having
    /// it already, it changes nothing.
    bool acquire();
    bool isAcquired() const noexcept { return set_ >= 0; }

    /// -1 before `acquire`.
    int fileDescriptor() const noexcept { return set_; }

    /// From now on the descriptor tells of the nodes too. What the kernel has no resources for is tried again in each
    /// `poll`.
    void useSet() noexcept;

    /// Whether whoever waits is told of all that has been added: false after the kernel has refused some.
    bool isComplete() const noexcept { return !isMissing_; }

    /// Watches a node that was opened; `serial` is above 0. False when the kernel has no resources left for what this
    /// takes at present, which without the set is nothing.
    bool add(int descriptor, std::uint64_t serial);
    void remove(int descriptor);

    /// While awake, the descriptor is readable.
    void setAwake(bool awake) noexcept;

    /// Waits until something is ready, at most so long (below 0: without end), and answers what is: the serial of a
    /// node, `changes` or `wakeUp` as each event's number. Valid until the next call.
    std::span<const epoll_event> poll(int milliseconds);
    /// Whether nothing will come after what can still be read.
    static bool hasEnded(const epoll_event& event) noexcept { return (event.events & (EPOLLHUP | EPOLLERR)) != 0; }

    /// Appends the next changes; false when none are waiting. They may all be of nodes that are no HID devices',
    /// and then nothing is appended.
    bool readChanges(std::vector<NodeChange>& list);

private:
    /// A wait for so many descriptors costs less without the set than with it: 6 of 90 microseconds on an emulated
    /// processor, where a report comes to a program that waits.
    static constexpr std::size_t mostPolled = 8;

    struct Polled {
        std::uint64_t serial;
        bool isInSet;
    };

    std::span<const epoll_event> pollEach(int milliseconds);
    bool acquireAll();
    void release() noexcept;
    bool watch(int descriptor, std::uint64_t serial) noexcept;
    void fillSet() noexcept;
    void closeDescriptor(int& descriptor) noexcept;

    SystemCalls& calls_;
    std::string deviceDirectory_;
    int set_ = -1;
    int inotify_ = -1;
    int wake_ = -1;
    bool awake_ = false;
    bool usesSet_ = false;       ///< whether the nodes have to be in the set
    bool isMissing_ = false;     ///< whether some should be in the set and are not
    std::size_t nextPolled_ = 0; ///< where `pollEach` begins to look, when there was no room for all the last time
    std::vector<pollfd> polled_; ///< all descriptors but what wakes the set
    std::vector<Polled> places_; ///< what belongs to each of `polled_`
    std::array<epoll_event, 32> events_{};
};

} // namespace qz::platform
