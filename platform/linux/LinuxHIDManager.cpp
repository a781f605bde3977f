// SPDX-License-Identifier: MIT
#include "platform/linux/LinuxHIDManager.h"

#include "platform/linux/RetryInterrupted.h"

#include <algorithm>
#include <utility>

namespace qz::platform {

LinuxHIDManager::LinuxHIDManager(const LinuxHIDPaths& paths, SystemCalls& calls)
    : paths_(paths), calls_(calls), watch_(calls, paths.deviceDirectory), class_(calls, paths.classDirectory) {}

LinuxHIDManager::~LinuxHIDManager() {
    for (const Node& node : nodes_) {
        if (node.device) {
            node.device->detach();
        }
    }
}

IOReturn LinuxHIDManager::open(IOOptionBits /*options*/) {
    if (!serveSchedules()) {
        return kIOReturnNoResources;
    }
    // What was told while it was closed may not be all: not every /dev is the kernel's own.
    if (isDiscovering() && (std::exchange(wasClosed_, false) || !isListed_)) {
        list();
    }
    open_ = true;
    for (Node& node : nodes_) {
        examine(node);
    }
    confirmOpened();
    watch_.setAwake(hasWork() || !isListed_); // the next turn tries again
    return kIOReturnSuccess;
}

IOReturn LinuxHIDManager::close(IOOptionBits /*options*/) {
    open_ = false;
    wasClosed_ = true;
    if (input_.device) {
        input_.device->forgetValues(input_.indices); // else they would not be news when it is open again
        input_ = {};
    }
    ready_.clear();
    nextReady_ = toldByKernel_ = 0;
    std::erase_if(notices_, [](const Notice& notice) { return notice.kind == Notice::Kind::Failure; });
    for (auto next = nodes_.begin(); next != nodes_.end();) {
        Node& node = *next++;
        node.reported = kIOReturnSuccess;
        if (node.hasEnded) {
            end(node);
        } else if (node.device) {
            closeNode(node);
            arrive(node);
        }
    }
    watch_.setAwake(hasWork());
    return kIOReturnSuccess;
}

bool LinuxHIDManager::acquire() {
    if (watch_.isAcquired()) {
        return true;
    }
    if (!watch_.acquire()) {
        return false;
    }
    if (isDiscovering()) {
        list(); // what an earlier scheduling could not do
    }
    return true;
}

void LinuxHIDManager::discover() {
    if (watch_.isAcquired()) {
        list();
        watch_.setAwake(hasWork());
    }
}

/// What a turn has left in nodes that the set now has no room for, nobody would be told of: the next turn looks.
void LinuxHIDManager::descriptorIsUsed() noexcept {
    watch_.useSet();
    if (!watch_.isComplete()) {
        watch_.setAwake(true);
    }
}

[[gnu::hot]] void LinuxHIDManager::beginTurn(int milliseconds) {
    reads_ = 0;
    hasPolled_ = false;
    hasReported_ = false;
    if (!isListed_) {
        list(); // once more in each turn that comes anyway, until the system has the resources
    }
    // What is left is done first, and then there is no reason to wait.
    mayWait_ = hasWork() ? 0 : milliseconds;
    propertiesWait_ = propertiesWait_ || std::exchange(propertiesFailed_, false);
    // Most turns are for the next report of the same device, so it is tried before the kernel is asked which it is.
    if (mayWait_ == 0 && ready_.empty() && findNode(lastRead_) != nullptr) {
        ready_.push_back(lastRead_);
    }
}

[[gnu::hot]] bool LinuxHIDManager::deliverNext() {
    while (!deliverReport() && !deliverValue() && (notices_.empty() || !deliverNotice())) {
        loadProperties();
        if (!takeInput()) {
            return false;
        }
    }
    return true;
}

[[gnu::hot]] void LinuxHIDManager::endTurn() noexcept {
    leaveToKernel();
    watch_.setAwake(hasWork());
}

[[gnu::hot]] bool LinuxHIDManager::hasWork() const noexcept {
    return !input_.report.empty() || !input_.indices.empty() || !notices_.empty() || !ready_.empty() ||
           nextChange_ < changes_.size() || (hasOpened_ && !cannotWatch_) || propertiesWait_;
}

[[gnu::hot]] bool LinuxHIDManager::deliverReport() {
    if (input_.report.empty()) {
        return false;
    }
    callInputReport(kIOReturnSuccess, input_.device.get(), std::exchange(input_.report, {}));
    return true;
}

[[gnu::hot]] bool LinuxHIDManager::deliverValue() {
    if (input_.indices.empty()) {
        return false;
    }
    const HIDValue value = input_.device->value(input_.indices.front());
    input_.indices = input_.indices.subspan(1);
    callInputValue(kIOReturnSuccess, &value);
    return true;
}

bool LinuxHIDManager::deliverNotice() {
    while (!notices_.empty()) {
        const Notice notice = std::move(notices_.front());
        notices_.pop_front();
        if (deliver(notice)) {
            return true;
        }
    }
    return false;
}

bool LinuxHIDManager::deliver(const Notice& notice) {
    switch (notice.kind) {
    case Notice::Kind::Arrival:
        // One that cannot be opened now arrives when it can.
        if (open_ && !notice.device->isOpen()) {
            return false;
        }
        propertiesWait_ = true;
        if (!reportArrival(notice.device)) {
            return false;
        }
        hasReported_ = true;
        return true;
    case Notice::Kind::Removal:
        return reportRemoval(notice.device);
    case Notice::Kind::Failure:
        if (notice.device->isGone()) {
            return false;
        }
        callMatching(notice.result, notice.device.get());
        return true;
    }
    return false;
}

/// Looks what is ready, or reads once, from what has waited longest; false when nothing is left or the turn has had
/// enough.
[[gnu::hot]] bool LinuxHIDManager::takeInput() {
    if (reads_ == readsPerTurn) {
        return false;
    }
    if (isToPoll()) {
        if (hasReported_) {
            return false; // enough for a turn; there is another one to come
        }
        poll();
        if (!notices_.empty()) {
            return true;
        }
    }
    if (ready_.empty()) {
        return false;
    }
    ++reads_;
    if (nextReady_ == ready_.size()) {
        nextReady_ = toldByKernel_ = 0;
    }
    const std::uint64_t serial = ready_[nextReady_];
    Node* const node = findNode(serial);
    bool mayHaveMore = false;
    if (serial == HIDRawWatch::changes) {
        mayHaveMore = applyChanges();
    } else if (node != nullptr && node->device->isOpen()) {
        mayHaveMore = readReport(*node); // else it may be its end
    }
    if (mayHaveMore) {
        ++nextReady_;
        toldByKernel_ += isToldByKernel(node) ? 1 : 0;
    } else {
        ready_.erase(ready_.begin() + static_cast<std::ptrdiff_t>(nextReady_));
    }
    return true;
}

/// Once in a turn, and then after each round in which several brought something: asking the kernel which of them have
/// more is one call, and reading from each to find out that it has not is one for each.
[[gnu::hot]] bool LinuxHIDManager::isToPoll() noexcept {
    return hasPolled_ ? toldByKernel_ > 1 && nextReady_ == ready_.size() : ready_.empty() || reads_ > 0;
}

/// Whether the kernel says so when there is something to read: always of changes of nodes (null).
[[gnu::hot]] bool LinuxHIDManager::isToldByKernel(const Node* node) const noexcept {
    return node == nullptr || (node->isWatched && !node->hasEnded && watch_.isComplete());
}

/// Forgets of what has been read in this round that it may have more, as far as the kernel will say so.
[[gnu::hot]] void LinuxHIDManager::leaveToKernel() noexcept {
    if (nextReady_ == 0) {
        return;
    }
    const auto next = ready_.begin() + static_cast<std::ptrdiff_t>(nextReady_);
    const auto rest =
        std::remove_if(ready_.begin(), next, [this](std::uint64_t each) { return isToldByKernel(findNode(each)); });
    nextReady_ = static_cast<std::size_t>(rest - ready_.begin());
    toldByKernel_ = 0;
    ready_.erase(rest, next);
}

[[gnu::hot]] void LinuxHIDManager::poll() {
    hasPolled_ = true;
    leaveToKernel();
    if (hasOpened_) {
        watchOpened();
    }
    const std::size_t before = ready_.size(); // the events are all of different nodes
    for (const epoll_event& event : watch_.poll(std::exchange(mayWait_, 0))) {
        if (HIDRawWatch::hasEnded(event)) {
            if (Node* const node = findNode(event.data.u64)) {
                node->hasEnded = true;
            }
        }
        if (event.data.u64 != HIDRawWatch::wakeUp) {
            makeReady(event.data.u64, before);
        }
    }
    if (nextChange_ < changes_.size()) {
        makeReady(HIDRawWatch::changes, ready_.size());
    }
}

/// Adds what is not among the first so many that are ready.
[[gnu::hot]] void LinuxHIDManager::makeReady(std::uint64_t serial, std::size_t among) {
    for (std::size_t i = 0; i < among; ++i) {
        if (ready_[i] == serial) {
            return;
        }
    }
    ready_.push_back(serial);
}

[[gnu::hot]] bool LinuxHIDManager::readReport(Node& node) {
    // A device that has lost its node but not gone may send without end.
    if (node.isDeleted && node.readsLeft-- == 0) {
        end(node);
        return false;
    }
    const ssize_t size =
        retryInterrupted([&] { return calls_.read(node.device->descriptor(), buffer_.data(), buffer_.size()); });
    if (size > 0) {
        lastRead_ = node.serial;
        node.isReported = node.isReported || isReported(node.device.get());
        if (node.isReported) {
            takeIn(node, {buffer_.data(), static_cast<std::size_t>(size)});
        } // else nobody hears of its values, and they must not count as known later
        return true;
    }
    if (size < 0 && errno == EAGAIN && !node.hasEnded) {
        return false;
    }
    // Unplugged, or an error that will not pass: a descriptor that stays readable and brings nothing must not be kept.
    end(node);
    return false;
}

[[gnu::hot]] void LinuxHIDManager::takeIn(const Node& node, std::span<const std::uint8_t> report) {
    if (input_.device != node.device) {
        input_.device = node.device;
    }
    input_.indices = node.device->feed(report);
    input_.report = wantsInputReports() ? report : std::span<const std::uint8_t>();
}

/// Reads what nobody has asked for, after the arrivals: reporting them does not wait for it, and it must be known when
/// the device is gone. What the system has no resources for is tried once more in each turn that comes anyway.
void LinuxHIDManager::loadProperties() {
    if (!std::exchange(propertiesWait_, false)) {
        return;
    }
    for (const Node& node : nodes_) {
        if (node.device && isReported(node.device.get())) {
            node.device->loadProperties();
            propertiesFailed_ = propertiesFailed_ || !node.device->hasAllProperties();
        }
    }
}

} // namespace qz::platform
