// SPDX-License-Identifier: MIT
#include "platform/linux/LinuxRunLoop.h"

#include <algorithm>
#include <limits>

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
    if (std::ranges::any_of(target.entries, [&](const Entry& entry) { return entry.source == &source; })) {
        return true;
    }
    if (target.fileDescriptor < 0) {
        target.fileDescriptor = calls_.epollCreate(EPOLL_CLOEXEC); // refused before
    }
    const Entry entry{&source, nextSerial_++, source.fileDescriptor()};
    if (entry.fileDescriptor >= 0) {
        epoll_event event{};
        event.events = EPOLLIN;
        event.data.u64 = entry.serial;
        if (calls_.epollControl(target.fileDescriptor, EPOLL_CTL_ADD, entry.fileDescriptor, &event) != 0) {
            return false;
        }
    }
    target.entries.push_back(entry);
    return true;
}

void LinuxRunLoop::removeSource(RunLoopSource& source, RunLoopMode mode) {
    Set& target = set(mode);
    const auto found = std::ranges::find(target.entries, &source, &Entry::source);
    if (found == target.entries.end()) {
        return;
    }
    if (found->fileDescriptor >= 0) {
        calls_.epollControl(target.fileDescriptor, EPOLL_CTL_DEL, found->fileDescriptor, nullptr);
    }
    target.entries.erase(found);
}

/// Changing what is waited for takes nothing from the kernel that it could refuse, unlike adding.
void LinuxRunLoop::setEvents(RunLoopSource& source, RunLoopMode mode, std::uint32_t events) {
    const Set& target = set(mode);
    const auto found = std::ranges::find(target.entries, &source, &Entry::source);
    if (found != target.entries.end() && found->fileDescriptor >= 0) {
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
    return sets_[static_cast<std::size_t>(mode)].fileDescriptor;
}

std::size_t LinuxRunLoop::perform(RunLoopMode mode, std::uint64_t serial) {
    // Looked up again by its serial: a source served before it in this turn may have removed it.
    const auto found = std::ranges::find(set(mode).entries, serial, &Entry::serial);
    return found != set(mode).entries.end() ? found->source->perform() : 0;
}

[[gnu::hot]] std::size_t LinuxRunLoop::dispatch(RunLoopMode mode) {
    const std::vector<Entry>& entries = set(mode).entries;
    if (entries.size() == 1 && entries.front().source->mayBeAskedAnytime()) {
        return entries.front().source->perform();
    }
    return performReady(mode, 0);
}

[[gnu::hot]] std::size_t LinuxRunLoop::runInMode(RunLoopMode mode, std::chrono::milliseconds timeout) {
    const auto longest = std::chrono::milliseconds(std::numeric_limits<int>::max());
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

/// Waits, at most so long, and serves what is ready then.
std::size_t LinuxRunLoop::performReady(RunLoopMode mode, int milliseconds) {
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

    // What does not fit is still ready at the next turn; the kernel takes turns among the ready ones.
    std::array<epoll_event, 16> events{};
    const int ready = set(mode).fileDescriptor >= 0
                          ? calls_.epollWait(set(mode).fileDescriptor, events.data(), static_cast<int>(events.size()),
                                             askedEveryTurn.empty() ? milliseconds : 0)
                          : 0;
    for (int i = 0; i < ready; ++i) {
        handled += perform(mode, events[static_cast<std::size_t>(i)].data.u64);
    }
    return handled;
}

} // namespace qz::platform
