// SPDX-License-Identifier: MIT
#pragma once

#include "platform/HIDManagerBase.h"
#include "platform/linux/HIDRawWatch.h"
#include "platform/linux/LinuxHIDDevice.h"
#include "platform/linux/LinuxHIDServices.h"

#include <array>
#include <deque>
#include <list>
#include <span>

namespace qz::platform {

/// A manager of the kernel's HID devices.
///
/// A node is known by its name only from its creation to its deletion; what is open is known by the descriptor alone,
/// because the kernel gives the number of a node that has gone to the next device at once.
class LinuxHIDManager final : public HIDManagerBase {
public:
    LinuxHIDManager(const LinuxHIDPaths& paths, SystemCalls& calls);

    IOReturn open(IOOptionBits options) override;
    IOReturn close(IOOptionBits options) override;

private:
    /// Reports taken in one turn, from all devices together.
    static constexpr std::size_t readsPerTurn = 128;
    /// No less than what the kernel keeps of one device: HIDRAW_BUFFER_SIZE in drivers/hid/hidraw.c, of which one stays
    /// free.
    static constexpr std::size_t reportsKept = 64;

    struct Node {
        std::uint64_t serial; ///< tells a node from a later one of the same name; see `nextSerial`
        std::string name;
        std::shared_ptr<LinuxHIDDevice> device = nullptr; ///< null when it is not wanted, or not known yet
        bool isKnown = false;                             ///< whether its descriptor has been read
        bool hasEnded = false;                            ///< open, and nothing comes after what can still be read
        bool isToBeConfirmed = false;                     ///< open, but perhaps another device's
        bool isWatched = false;                           ///< whether `watch_` has taken it
        bool isDeleted = false;                           ///< ended, and the name may be another node's by now
        std::size_t readsLeft = reportsKept;              ///< once it is deleted
        bool isReported = false;                          ///< for certain; it remains so until it has gone
        IOReturn reported = kIOReturnSuccess;             ///< why it cannot be opened, as far as that has been told
    };
    /// The nodes of one name.
    struct Namesakes {
        Node* present = nullptr;     ///< the one that is not deleted
        bool someAreDeleted = false; ///< and still to be drained
    };
    /// Something to report, in its turn.
    struct Notice {
        enum class Kind : std::uint8_t { Arrival, Removal, Failure } kind;
        std::shared_ptr<LinuxHIDDevice> device;
        IOReturn result = kIOReturnSuccess;
    };
    /// What is still to be delivered of one report: itself, unless nobody wants it, and values.
    struct Input {
        std::shared_ptr<LinuxHIDDevice> device;
        std::span<const std::uint8_t> report;
        std::span<const std::uint32_t> indices;
    };

    ~LinuxHIDManager() override;

    [[gnu::hot]] int fileDescriptor() const noexcept override { return watch_.fileDescriptor(); }
    void descriptorIsUsed() noexcept override;
    bool mayBeAskedAnytime() const noexcept override { return true; }
    bool acquire() override;
    void discover() override;
    void beginTurn(int milliseconds) override;
    bool deliverNext() override;
    void endTurn() noexcept override;

    bool deliverReport();
    bool deliverValue();
    bool deliverNotice();
    bool deliver(const Notice& notice);
    bool takeInput();
    bool isToPoll() noexcept;
    void poll();
    void leaveToKernel() noexcept;
    bool isToldByKernel(const Node* node) const noexcept;
    void makeReady(std::uint64_t serial, std::size_t among);
    bool readReport(Node& node);
    void takeIn(const Node& node, std::span<const std::uint8_t> report);
    void loadProperties();

    void list();
    void visit(const std::string& name);
    bool applyChanges();
    void apply(const NodeChange& change);
    void examine(Node& node);
    void identify(Node& node);
    void openNode(Node& node);
    template<typename Open>
    int withRoom(const Open& open);
    void confirmOpened();
    bool hasChanged(const Node& node) const;
    void watchOpened();
    void cannotBeOpened(Node& node, IOReturn why);
    void closeNode(Node& node);
    void arrive(const Node& node);
    void nodeDeleted(Node& node);
    void end(Node& node);
    bool isStale(const Node& node) const;
    bool isThere(const Node& node) const;
    bool isDraining() const noexcept;
    bool hasWork() const noexcept;

    std::string nodePath(const Node& node) const;
    Namesakes findNodes(std::string_view name) noexcept;
    Node* findNode(std::uint64_t serial) noexcept;
    Node& addNode(const std::string& name);
    std::uint64_t nextSerial();

    const LinuxHIDPaths& paths_;
    SystemCalls& calls_;
    HIDRawWatch watch_;
    HIDRawClass class_;
    std::list<Node> nodes_;
    std::vector<Node*> places_; ///< each node where its serial says; null where none is
    std::deque<Notice> notices_;
    Input input_;
    std::vector<std::uint64_t> ready_; ///< serials of what may have something to read, each once in a round
    std::size_t nextReady_ = 0;        ///< those before have had their read in this round
    std::size_t toldByKernel_ = 0;     ///< how many of those before may have more, which the kernel can be asked
    std::uint64_t lastRead_ = HIDRawWatch::changes; ///< the node that brought the last report
    std::vector<NodeChange> changes_;
    std::size_t nextChange_ = 0; ///< those in `changes_` from here on are still to be taken in
    std::uint64_t nodesSoFar_ = 0;
    std::size_t reads_ = 0; ///< in this turn
    int mayWait_ = 0;       ///< milliseconds, of the next look for what is ready
    bool open_ = false;
    bool wasClosed_ = false;        ///< since it was last opened
    bool propertiesFailed_ = false; ///< whether devices have properties that could not be read for want of resources
    bool isListed_ = false;         ///< whether all nodes that were there have been looked at
    bool hasToConfirm_ = false;     ///< whether there are nodes to be confirmed
    bool hasOpened_ = false;        ///< whether there are nodes that are open and not watched yet
    bool cannotWatch_ = false;      ///< whether the kernel would not watch some of them when it was last asked
    bool hasPolled_ = false;        ///< in this turn
    bool hasReported_ = false;      ///< whether this turn has reported an arrival
    bool propertiesWait_ = false;   ///< whether devices have been reported whose properties are still to be read
    /// What one read of a node can bring: a report and its ID. Here, and not by itself, so that it is near the rest.
    std::array<std::uint8_t, ReportDescriptorLimits::reportBytes + 1> buffer_;
};

} // namespace qz::platform
