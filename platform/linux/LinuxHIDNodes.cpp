// SPDX-License-Identifier: MIT
#include "platform/linux/LinuxHIDManager.h"

#include "platform/Text.h"

#include <algorithm>
#include <fcntl.h>
#include <utility>

namespace qz::platform {

void LinuxHIDManager::list() {
    std::vector<std::string> names;
    isListed_ = class_.list(names);
    for (auto next = nodes_.begin(); isListed_ && next != nodes_.end();) {
        Node& node = *next++;
        if (!node.isDeleted && std::ranges::find(names, node.name) == names.end()) {
            nodeDeleted(node);
        }
    }
    for (const std::string& name : names) {
        visit(name);
    }
    class_.close();
    confirmOpened();
}

/// Looks at the node that has this name now, which may be another than the one known.
void LinuxHIDManager::visit(const std::string& name) {
    Namesakes found = findNodes(name);
    if (found.present != nullptr && isStale(*found.present)) {
        nodeDeleted(*found.present);
        found = findNodes(name);
    }
    if (found.someAreDeleted) {
        changes_.push_back({NodeChange::Kind::Created, name}); // the removals come first
    } else {
        examine(found.present != nullptr ? *found.present : addNode(name));
    }
}

bool LinuxHIDManager::isStale(const Node& node) const {
    if (!node.device) {
        return true; // nothing is lost by looking again
    }
    return node.device->isOpen() ? node.device->isNodeDeleted()
                                 : class_.devicePath(node.name).path != node.device->sysfsPath();
}

/// Whether there is a node of this name, as far as that has to be asked. The kernel deletes a node before it takes the
/// device out of sysfs, so a place that has not changed does not say so.
bool LinuxHIDManager::isThere(const Node& node) const {
    struct stat status {};
    return (node.device && node.device->isOpen()) ||
           calls_.fileStatusAt(AT_FDCWD, nodePath(node).c_str(), &status, 0) == 0;
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
        // A list may have been quicker than the news: what is known may be a later node of this name.
        if (Node* const node = findNodes(change.name).present; node != nullptr && (isStale(*node) || !isThere(*node))) {
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

/// What `open` answers, an error of the system or 0. While nodes are listed that may be the last descriptor's doing,
/// and then it is given back and `open` tried again.
template<typename Open>
int LinuxHIDManager::withRoom(const Open& open) {
    const int error = open();
    return (error == EMFILE || error == ENFILE) && class_.close() ? open() : error;
}

void LinuxHIDManager::identify(Node& node) {
    // The place first: what stands there is this device's, while the name may be another's by the next call.
    HIDDevicePath path = class_.devicePath(node.name);
    std::vector<std::uint8_t> bytes;
    if (const int error = withRoom([&] { return readReportDescriptor(calls_, path, bytes); }); error != 0) {
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
    const int error = withRoom([&] { return node.device->openNode(nodePath(node)); });
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
        if (hasChanged(node) && class_.devicePath(node.name).path != node.device->sysfsPath()) {
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
            makeReady(node.serial, ready_.size());
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
    makeReady(node.serial, ready_.size());
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
    places_[static_cast<std::uint32_t>(node.serial)] = nullptr;
    nodes_.remove_if([serial = node.serial](const Node& each) { return each.serial == serial; });
}

std::string LinuxHIDManager::nodePath(const Node& node) const {
    return joined({paths_.deviceDirectory, "/", node.name});
}

LinuxHIDManager::Namesakes LinuxHIDManager::findNodes(std::string_view name) noexcept {
    Namesakes found;
    for (Node& node : nodes_) {
        if (node.name == name) {
            found.someAreDeleted = found.someAreDeleted || node.isDeleted;
            found.present = node.isDeleted ? found.present : &node;
        }
    }
    return found;
}

[[gnu::hot]] LinuxHIDManager::Node* LinuxHIDManager::findNode(std::uint64_t serial) noexcept {
    const auto place = static_cast<std::uint32_t>(serial);
    Node* const node = place < places_.size() ? places_[place] : nullptr;
    return node != nullptr && node->serial == serial ? node : nullptr;
}

LinuxHIDManager::Node& LinuxHIDManager::addNode(const std::string& name) {
    const std::uint64_t serial = nextSerial();
    Node& node = nodes_.emplace_back(Node{.serial = serial, .name = name});
    places_[static_cast<std::uint32_t>(serial)] = &node;
    return node;
}

/// The place among `places_` in the lower half, where a node is found without a search, and in the upper one how many
/// nodes there have been, which tells it from earlier ones in its place and from all that is no node's.
std::uint64_t LinuxHIDManager::nextSerial() {
    const auto place = std::ranges::find(places_, nullptr);
    const auto index = static_cast<std::uint64_t>(place - places_.begin());
    if (place == places_.end()) {
        places_.push_back(nullptr);
    }
    return ++nodesSoFar_ << 32U | index;
}

} // namespace qz::platform
