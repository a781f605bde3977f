// SPDX-License-Identifier: MIT
#include "platform/linux/LinuxRunLoop.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace qz::platform {

LinuxRunLoop::LinuxRunLoop(SystemCalls& calls) : calls_(calls) {
    for (Set& set : sets_) {
        set.fileDescriptor = calls_.epollCreate(EPOLL_CLOEXEC);
    }
}

LinuxRunLoop::~LinuxRunLoop() {
    for (const Set& set : sets_) {
        if (set.fileDescriptor >= 0) {
            calls_.close(set.fileDescriptor);
        }
    }
}

bool LinuxRunLoop::addSource(RunLoopSource& source, RunLoopMode mode) {
    Set& target = set(mode);
    const auto found = std::ranges::find(target.entries, &source, &Entry::source);
    if (found != target.entries.end()) {
        return watch(target, *found);
    }
    return watch(target, target.entries.emplace_back(Entry{&source, nextSerial_++, source.fileDescriptor()}));
}

/// Has the set wait for an entry, unless it does or need not; false when the kernel refused.
bool LinuxRunLoop::watch(Set& target, Entry& entry) {
    if (entry.isWatched || entry.fileDescriptor < 0) {
        return true;
    }
    if (target.fileDescriptor < 0) {
        target.fileDescriptor = calls_.epollCreate(EPOLL_CLOEXEC); // refused before
    }
    epoll_event event{};
    event.events = entry.events;
    event.data.u64 = entry.serial;
    entry.isWatched = calls_.epollControl(target.fileDescriptor, EPOLL_CTL_ADD, entry.fileDescriptor, &event) == 0;
    target.isComplete = target.isComplete && entry.isWatched;
    return entry.isWatched;
}

/// Tries again what the kernel has refused: a source that was moved to another mode has nobody else who would.
void LinuxRunLoop::watchMissing(Set& target) {
    if (std::exchange(target.isComplete, true)) {
        return;
    }
    for (Entry& entry : target.entries) {
        watch(target, entry);
    }
}

void LinuxRunLoop::removeSource(RunLoopSource& source, RunLoopMode mode) {
    Set& target = set(mode);
    const auto found = std::ranges::find(target.entries, &source, &Entry::source);
    if (found == target.entries.end()) {
        return;
    }
    if (found->isWatched) {
        calls_.epollControl(target.fileDescriptor, EPOLL_CTL_DEL, found->fileDescriptor, nullptr);
    }
    target.entries.erase(found);
}

/// Changing what is waited for takes nothing from the kernel that it could refuse, unlike adding.
void LinuxRunLoop::setEvents(RunLoopSource& source, RunLoopMode mode, std::uint32_t events) {
    Set& target = set(mode);
    const auto found = std::ranges::find(target.entries, &source, &Entry::source);
    if (found == target.entries.end()) {
        return;
    }
    found->events = events;
    if (found->isWatched) {
        epoll_event event{};
        event.events = events;
        event.data.u64 = found->serial;
        calls_.epollControl(target.fileDescriptor, EPOLL_CTL_MOD, found->fileDescriptor, &event);
    }
}

void LinuxRunLoop::suspendSource(RunLoopSource& source, RunLoopMode mode) {
    setEvents(source, mode, 0);
}

void LinuxRunLoop::resumeSource(RunLoopSource& source, RunLoopMode mode) {
    setEvents(source, mode, EPOLLIN);
}

int LinuxRunLoop::fileDescriptor(RunLoopMode mode) const noexcept {
    use(set(mode));
    return set(mode).fileDescriptor;
}

bool LinuxRunLoop::usesDescriptors(RunLoopMode mode) const noexcept {
    return set(mode).isUsed;
}

void LinuxRunLoop::use(const Set& target) noexcept {
    if (!std::exchange(target.isUsed, true)) {
        for (const Entry& entry : target.entries) {
            entry.source->descriptorIsUsed();
        }
    }
}

std::size_t LinuxRunLoop::perform(RunLoopMode mode, std::uint64_t serial) {
    // Looked up again by its serial: a source served before it in this turn may have removed it.
    const auto found = std::ranges::find(set(mode).entries, serial, &Entry::serial);
    return found != set(mode).entries.end() ? found->source->perform() : 0;
}

[[gnu::hot]] std::size_t LinuxRunLoop::dispatch(RunLoopMode mode) {
    watchMissing(set(mode));
    const std::vector<Entry>& entries = set(mode).entries;
    if (entries.size() == 1 && entries.front().source->mayBeAskedAnytime()) {
        return entries.front().source->perform();
    }
    return performReady(mode, 0);
}

[[gnu::hot]] std::size_t LinuxRunLoop::runInMode(RunLoopMode mode, std::chrono::milliseconds timeout) {
    const auto longest = std::chrono::milliseconds(std::numeric_limits<int>::max());
    watchMissing(set(mode));
    const int milliseconds =
        timeout < std::chrono::milliseconds::zero() ? -1 : static_cast<int>(std::min(timeout, longest).count());
    const std::vector<Entry>& entries = set(mode).entries;
    if (entries.size() == 1) {
        if (const auto handled = entries.front().source->waitAndPerform(milliseconds)) {
            return *handled;
        }
    }
    return performReady(mode, milliseconds);
}

/// Waits, at most so long, for the set or an entry that it does not have, which takes no room in the kernel, and
/// answers those of the latter that are ready.
std::vector<std::uint64_t> LinuxRunLoop::readyWithoutSet(Set& target, int milliseconds) {
    std::vector<pollfd> polled{{.fd = target.fileDescriptor, .events = POLLIN, .revents = 0}};
    std::vector<std::uint64_t> serials{0};
    for (const Entry& entry : target.entries) {
        if (!entry.isWatched && entry.fileDescriptor >= 0 && entry.events != 0) {
            polled.push_back({.fd = entry.fileDescriptor, .events = POLLIN, .revents = 0});
            serials.push_back(entry.serial);
        }
    }
    std::vector<std::uint64_t> ready;
    const int count = calls_.poll(polled.data(), polled.size(), milliseconds);
    for (std::size_t i = 1; count > 0 && i < polled.size(); ++i) {
        if (polled[i].revents != 0) {
            ready.push_back(serials[i]);
        }
    }
    return ready;
}

/// Waits, at most so long, and serves what is ready then.
std::size_t LinuxRunLoop::performReady(RunLoopMode mode, int milliseconds) {
    use(set(mode));
    std::vector<std::uint64_t> askedEveryTurn;
    for (const Entry& entry : set(mode).entries) {
        if (entry.fileDescriptor < 0) {
            askedEveryTurn.push_back(entry.serial);
        }
    }
    std::size_t handled = 0;
    for (const std::uint64_t serial : askedEveryTurn) {
        handled += perform(mode, serial);
    }
    milliseconds = askedEveryTurn.empty() ? milliseconds : 0;
    if (!set(mode).isComplete) {
        for (const std::uint64_t serial : readyWithoutSet(set(mode), std::exchange(milliseconds, 0))) {
            handled += perform(mode, serial);
        }
    }

    // What does not fit is still ready at the next turn; the kernel takes turns among the ready ones.
    std::array<epoll_event, 16> events{};
    const int ready = set(mode).fileDescriptor >= 0 ? calls_.epollWait(set(mode).fileDescriptor, events.data(),
                                                                       static_cast<int>(events.size()), milliseconds)
                                                    : 0;
    for (int i = 0; i < ready; ++i) {
        handled += perform(mode, events[static_cast<std::size_t>(i)].data.u64);
    }
    return handled;
}

} // namespace qz::platform
