// SPDX-License-Identifier: MIT
#include "platform/linux/HIDRawWatch.h"

#include "platform/linux/HIDSysfs.h"
#include "platform/linux/RetryInterrupted.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <utility>

namespace qz::platform {

HIDRawWatch::HIDRawWatch(SystemCalls& calls, std::string deviceDirectory)
    : calls_(calls), deviceDirectory_(std::move(deviceDirectory)) {}

HIDRawWatch::~HIDRawWatch() {
    release();
}

bool HIDRawWatch::acquire() {
    if (isAcquired()) {
        return true;
    }
    const bool complete = acquireAll();
    if (!complete) {
        release();
    }
    return complete;
}

bool HIDRawWatch::acquireAll() {
    set_ = calls_.epollCreate(EPOLL_CLOEXEC);
    if (set_ < 0) {
        return false;
    }
    wake_ = calls_.eventCreate(1, EFD_CLOEXEC | EFD_NONBLOCK);
    awake_ = true;
    if (wake_ < 0 || !watch(wake_, wakeUp)) {
        return false;
    }
    inotify_ = calls_.inotifyCreate(IN_CLOEXEC | IN_NONBLOCK);
    if (inotify_ < 0 ||
        calls_.inotifyAddWatch(inotify_, deviceDirectory_.c_str(), IN_CREATE | IN_ATTRIB | IN_DELETE | IN_ONLYDIR) <
            0 ||
        !watch(inotify_, changes)) {
        return false;
    }
    polled_.push_back({.fd = inotify_, .events = POLLIN, .revents = 0});
    places_.push_back({.serial = changes, .isInSet = true});
    return true;
}

void HIDRawWatch::release() noexcept {
    polled_.clear();
    places_.clear();
    closeDescriptor(inotify_);
    closeDescriptor(wake_);
    closeDescriptor(set_);
}

void HIDRawWatch::closeDescriptor(int& descriptor) noexcept {
    if (descriptor >= 0) {
        calls_.close(std::exchange(descriptor, -1));
    }
}

bool HIDRawWatch::watch(int descriptor, std::uint64_t serial) noexcept {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.u64 = serial;
    return calls_.epollControl(set_, EPOLL_CTL_ADD, descriptor, &event) == 0;
}

bool HIDRawWatch::add(int descriptor, std::uint64_t serial) {
    auto found = std::ranges::find(polled_, descriptor, &pollfd::fd);
    if (found == polled_.end()) {
        found = polled_.insert(found,
                               {.fd = descriptor, .events = POLLIN, .revents = 0}); // which takes no room in the kernel
        places_.push_back({.serial = serial, .isInSet = false});
    }
    Polled& place = places_[static_cast<std::size_t>(found - polled_.begin())];
    if (usesSet_) {
        place.isInSet = place.isInSet || watch(descriptor, serial);
        isMissing_ = isMissing_ || !place.isInSet;
    } else if (polled_.size() > mostPolled) {
        useSet();
    }
    return !usesSet_ || place.isInSet;
}

void HIDRawWatch::useSet() noexcept {
    usesSet_ = true;
    fillSet();
}

void HIDRawWatch::fillSet() noexcept {
    isMissing_ = false;
    for (std::size_t i = 0; i < polled_.size(); ++i) {
        places_[i].isInSet = places_[i].isInSet || watch(polled_[i].fd, places_[i].serial);
        isMissing_ = isMissing_ || !places_[i].isInSet;
    }
}

void HIDRawWatch::remove(int descriptor) {
    const auto found = std::ranges::find(polled_, descriptor, &pollfd::fd);
    if (found == polled_.end()) {
        return;
    }
    const auto place = places_.begin() + (found - polled_.begin());
    if (place->isInSet) {
        // Closing alone would not do: a child process may have a copy of the descriptor, which keeps the set's entry.
        calls_.epollControl(set_, EPOLL_CTL_DEL, descriptor, nullptr);
    }
    places_.erase(place);
    polled_.erase(found);
}

[[gnu::hot]] void HIDRawWatch::setAwake(bool awake) noexcept {
    if (awake == awake_ || !isAcquired()) {
        return;
    }
    eventfd_t count = 1;
    const ssize_t size = retryInterrupted(
        [&] { return awake ? calls_.write(wake_, &count, sizeof count) : calls_.read(wake_, &count, sizeof count); });
    if (size >= 0) {
        awake_ = awake;
    }
}

[[gnu::hot]] std::span<const epoll_event> HIDRawWatch::poll(int milliseconds) {
    if (!isAcquired()) {
        return {};
    }
    if (isMissing_) {
        fillSet();
    }
    if (awake_) {
        milliseconds = 0;
    }
    if (!usesSet_ || isMissing_ || (milliseconds != 0 && polled_.size() <= mostPolled)) {
        return pollEach(milliseconds);
    }
    // What does not fit is still ready at the next turn; the kernel takes turns among the ready ones.
    const int count = calls_.epollWait(set_, events_.data(), static_cast<int>(events_.size()), milliseconds);
    return {events_.data(), static_cast<std::size_t>(std::max(count, 0))};
}

/// Those that do not fit come first the next time.
[[gnu::hot]] std::span<const epoll_event> HIDRawWatch::pollEach(int milliseconds) {
    static_assert(POLLIN == EPOLLIN && POLLHUP == EPOLLHUP && POLLERR == EPOLLERR);
    const int ready = calls_.poll(polled_.data(), polled_.size(), milliseconds);
    std::size_t i = nextPolled_ < polled_.size() ? nextPolled_ : 0;
    std::size_t count = 0;
    for (std::size_t left = ready > 0 ? polled_.size() : 0; left > 0 && count < events_.size(); --left) {
        if (polled_[i].revents != 0) {
            events_[count].events = static_cast<std::uint32_t>(polled_[i].revents);
            events_[count].data.u64 = places_[i].serial;
            ++count;
        }
        i = i + 1 < polled_.size() ? i + 1 : 0;
    }
    nextPolled_ = count == events_.size() ? i : 0;
    return {events_.data(), count};
}

bool HIDRawWatch::readChanges(std::vector<NodeChange>& list) {
    std::array<char, 4096> buffer;
    const ssize_t size = retryInterrupted([&] { return calls_.read(inotify_, buffer.data(), buffer.size()); });
    for (std::size_t offset = 0;
         offset + sizeof(inotify_event) <= static_cast<std::size_t>(std::max<ssize_t>(size, 0));) {
        inotify_event event{};
        std::memcpy(&event, buffer.data() + offset, sizeof event);
        // The name is padded with zeros up to `len`.
        const char* const name = event.len != 0 ? buffer.data() + offset + sizeof event : "";
        offset += sizeof event + event.len;
        if ((event.mask & IN_Q_OVERFLOW) != 0) {
            list.push_back({NodeChange::Kind::Lost});
        } else if (isHIDRawName(name)) {
            const auto kind = (event.mask & IN_DELETE) != 0   ? NodeChange::Kind::Deleted
                              : (event.mask & IN_CREATE) != 0 ? NodeChange::Kind::Created
                                                              : NodeChange::Kind::Altered;
            list.push_back({kind, name});
        }
    }
    return size > 0;
}

} // namespace qz::platform
