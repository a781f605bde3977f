// SPDX-License-Identifier: MIT
#include "platform/linux/LinuxHIDManager.h"

#include <algorithm>
#include <utility>

namespace qz::platform {

void LinuxHIDManager::list() {
    std::vector<std::string> names;
    isListed_ = listHIDRawNodes(calls_, paths_.classDirectory, names);
    for (auto next = nodes_.begin(); isListed_ && next != nodes_.end();) {
        Node& node = *next++;
        if (!node.isDeleted && std::ranges::find(names, node.name) == names.end()) {
            nodeDeleted(node);
        }
    }
    for (const std::string& name : names) {
        visit(name);
    }
    confirmOpened();
}

/// Looks at the node that has this name now, which may be another than the one known.
void LinuxHIDManager::visit(const std::string& name) {
    if (Node* const node = findNode(name); node != nullptr && isStale(*node)) {
        nodeDeleted(*node);
    }
    const bool isStillDraining =
        std::ranges::any_of(nodes_, [&](const Node& node) { return node.name == name && node.isDeleted; });
    if (isStillDraining) {
        changes_.push_back({NodeChange::Kind::Created, name}); // its removal comes first
    } else {
        examine(nodeNamed(name));
    }
}

bool LinuxHIDManager::isStale(const Node& node) const {
    if (!node.device) {
        return true; // nothing is lost by looking again
    }
    return node.device->isOpen()
               ? node.device->isNodeDeleted()
               : readDevicePath(calls_, paths_.classDirectory, node.name).path != node.device->sysfsPath();
}

/// Takes in a part of the changes of nodes; false when there are none. What happened after a deletion waits until the
/// deleted node is drained, so that its removal is reported before what came in its place.
bool LinuxHIDManager::applyChanges() {
    if (nextChange_ == changes_.size()) {
        nextChange_ = 0;
        changes_.clear();
        if (!watch_.readChanges(changes_)) {
            return false;
        }
    }
    while (nextChange_ < changes_.size() && !isDraining()) {
        const NodeChange change = changes_[nextChange_++]; // a copy: applying it may add another
        apply(change);
        confirmOpened();
    }
    return true;
}

bool LinuxHIDManager::isDraining() const noexcept {
    return std::ranges::any_of(nodes_, &Node::isDeleted);
}

void LinuxHIDManager::apply(const NodeChange& change) {
    switch (change.kind) {
    case NodeChange::Kind::Created:
    case NodeChange::Kind::Altered: // where /dev is not the kernel's own, a node may have become another device's
        visit(change.name);
        return;
    case NodeChange::Kind::Deleted:
        // A list may have been quicker than the news: what is open may be a later node of this name.
        if (Node* const node = findNode(change.name);
            node != nullptr && !(node->device && node->device->isOpen() && !node->device->isNodeDeleted())) {
            nodeDeleted(*node);
        }
        return;
    case NodeChange::Kind::Lost:
        list();
        return;
    }
}

/// Does what can be done for a node at present.
void LinuxHIDManager::examine(Node& node) {
    if (!node.isKnown) {
        identify(node);
    }
    if (!node.device) {
        return;
    }
    if (open_) {
        openNode(node);
    } else {
        arrive(node);
    }
}

void LinuxHIDManager::identify(Node& node) {
    // The place first: what stands there is this device's, while the name may be another's by the next call.
    HIDDevicePath path = readDevicePath(calls_, paths_.classDirectory, node.name);
    std::vector<std::uint8_t> bytes;
    if (const int error = readReportDescriptor(calls_, path, bytes); error != 0) {
        isListed_ = isListed_ && statusOfOpening(error) != kIOReturnNoResources;
        return;
    }
    node.isKnown = true;
    auto descriptor = parseReportDescriptor(bytes);
    if (std::holds_alternative<ReportDescriptorError>(descriptor)) {
        return;
    }
    auto device = std::make_shared<LinuxHIDDevice>(calls_, std::move(bytes),
                                                   std::get<ReportDescriptor>(std::move(descriptor)), std::move(path));
    if (isWanted(*device)) {
        node.device = std::move(device);
    }
}

void LinuxHIDManager::openNode(Node& node) {
    if (node.device->isOpen()) {
        if (!node.isToBeConfirmed) {
            arrive(node); // it was open before it was wanted again
        }
        return;
    }
    const int error = node.device->openNode(paths_.deviceDirectory + "/" + node.name);
    if (error == ENOENT || error == ENODEV || error == ENXIO) {
        return; // it has gone again, or comes later than what sysfs says of it
    }
    if (error != 0) {
        cannotBeOpened(node, statusOfOpening(error));
        return;
    }
    node.isToBeConfirmed = true;
    hasToConfirm_ = true;
}

/// A name may have become another device's between the look at sysfs and the opening. The kernel tells of a deletion
/// before it gives the name away, so nodes that it has told nothing of are those that they were taken for.
void LinuxHIDManager::confirmOpened() {
    if (!std::exchange(hasToConfirm_, false)) {
        return;
    }
    while (watch_.readChanges(changes_)) {
    }
    for (Node& node : nodes_) {
        if (!std::exchange(node.isToBeConfirmed, false)) {
            continue;
        }
        if (hasChanged(node) &&
            readDevicePath(calls_, paths_.classDirectory, node.name).path != node.device->sysfsPath()) {
            node.device->closeNode(); // the news of the other device is on the way
            continue;
        }
        node.reported = kIOReturnSuccess;
        hasOpened_ = true;
        cannotWatch_ = false;
        arrive(node);
    }
}

/// Whether there is news of the node that has not been taken in yet.
bool LinuxHIDManager::hasChanged(const Node& node) const {
    return std::any_of(
        changes_.begin() + static_cast<std::ptrdiff_t>(nextChange_), changes_.end(),
        [&](const NodeChange& change) { return change.kind == NodeChange::Kind::Lost || change.name == node.name; });
}

/// Watching begins with the next wait: what has arrived is reported first, and what comes meanwhile is not lost. What
/// the kernel has no resources to watch is read in every turn, and tried again in the next.
void LinuxHIDManager::watchOpened() {
    hasOpened_ = cannotWatch_ = false;
    for (Node& node : nodes_) {
        if (node.isWatched || !node.device || !node.device->isOpen()) {
            continue;
        }
        node.isWatched = watch_.add(node.device->descriptor(), node.serial);
        if (!node.isWatched) {
            hasOpened_ = cannotWatch_ = true;
            makeReady(node.serial);
        }
    }
}

void LinuxHIDManager::cannotBeOpened(Node& node, IOReturn why) {
    if (why != node.reported) {
        node.reported = why;
        notices_.push_back({Notice::Kind::Failure, node.device, why});
    }
}

void LinuxHIDManager::closeNode(Node& node) {
    if (node.device->isOpen()) {
        node.isWatched = false;
        watch_.remove(node.device->descriptor());
        node.device->closeNode();
    }
}

void LinuxHIDManager::arrive(const Node& node) {
    const bool isOnItsWay = std::ranges::any_of(notices_, [&](const Notice& notice) {
        return notice.kind == Notice::Kind::Arrival && notice.device == node.device;
    });
    if (!isOnItsWay && !isReported(node.device.get())) {
        notices_.push_back({Notice::Kind::Arrival, node.device});
    }
}

/// The node has lost its name. What has been read into the kernel's queue before still counts.
void LinuxHIDManager::nodeDeleted(Node& node) {
    if (!node.device || !node.device->isOpen()) {
        end(node);
        return;
    }
    node.hasEnded = true;
    node.isDeleted = true;
    makeReady(node.serial);
}

/// The device is gone; `node` too.
void LinuxHIDManager::end(Node& node) {
    if (node.device) {
        closeNode(node);
        node.device->detach();
        node.device->markGone();
        notices_.push_back({Notice::Kind::Removal, node.device});
        if (input_.device == node.device) {
            input_ = {}; // it keeps no handle alive
        }
    }
    nodes_.remove_if([serial = node.serial](const Node& each) { return each.serial == serial; });
}

LinuxHIDManager::Node* LinuxHIDManager::findNode(std::string_view name) {
    const auto found =
        std::ranges::find_if(nodes_, [&](const Node& node) { return node.name == name && !node.isDeleted; });
    return found != nodes_.end() ? &*found : nullptr;
}

[[gnu::hot]] LinuxHIDManager::Node* LinuxHIDManager::findNode(std::uint64_t serial) {
    const auto found = std::ranges::find(nodes_, serial, &Node::serial);
    return found != nodes_.end() ? &*found : nullptr;
}

LinuxHIDManager::Node& LinuxHIDManager::nodeNamed(const std::string& name) {
    Node* const node = findNode(name);
    return node != nullptr ? *node : nodes_.emplace_back(Node{.serial = nextSerial_++, .name = name});
}

} // namespace qz::platform
