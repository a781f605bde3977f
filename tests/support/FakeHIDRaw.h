// SPDX-License-Identifier: MIT
#pragma once

#include "platform/linux/LinuxHIDServices.h"
#include "tests/support/ScriptedSystemCalls.h"
#include "tests/support/TemporaryDirectory.h"

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace qz::platform::tests {

/// What a fake device is to sysfs.
struct FakeHIDDevice {
    std::string name = "pad";
    std::vector<std::uint8_t> descriptor = {};
    std::uint32_t bus = 3; ///< USB; 5 Bluetooth
    std::uint32_t vendor = 0x1234;
    std::uint32_t product = 0x5678;
    std::string phys = {};
    std::string uniq = {};
    std::string parent = "virtual/misc/uhid";         ///< the directory of the device's parent, below /sys/devices
    std::map<std::string, std::string> usbFiles = {}; ///< in the parent's parent, such as "product" to "Stick\n"
    bool hasSysfs = true;                             ///< false: `addSysfs` comes later
    bool hasNode = true;                              ///< false: `addNode` comes later
};

/// The devices of a kernel, made of files: the trees of sysfs and of device nodes are in a temporary directory, and
/// what is read from an open node is what the test has sent. A node's number is given to the next device as soon as it
/// is free. All other calls are the kernel's, and a script can make any of them fail.
class FakeHIDRaw : public ScriptedSystemCalls {
public:
    FakeHIDRaw();
    ~FakeHIDRaw() override;

    LinuxHIDPaths paths() const { return {root_.path("sys/class/hidraw"), root_.path("dev")}; }

    /// Attaches a device and answers the number of its node.
    int plug(const FakeHIDDevice& device);
    void addSysfs(int number);
    void addNode(int number);

    /// Detaches a device: its files go, and what reads its node comes to the end.
    void unplug(int number);
    /// The same in steps, as they can be seen from another process.
    void removeNode(int number);
    void removeSysfs(int number);
    void hangUp(int number);

    /// Sends a report to all who have the node open; like the kernel's, a queue that is full loses it.
    void send(int number, const std::vector<std::uint8_t>& report);

    /// What opening the node fails with from now on (0: with nothing). Unlike in the kernel nothing tells of it.
    void setOpenError(int number, int error) { devices_.at(number).openError = error; }
    /// Changes the attributes of the node, as giving access to it does.
    void touchNode(int number);

    std::string nodePath(int number) const { return root_.path("dev/hidraw" + std::to_string(number)); }
    /// The device's directory below sysfs.
    std::string deviceDirectory(int number) const;
    /// The path of the node's directory in sysfs, as the kernel names it.
    std::string sysfsPath(int number) const;

    /// The descriptors that are open to nodes.
    std::vector<int> descriptors() const;
    std::size_t openNodes() const { return readers_.size(); }
    std::map<std::string, int> opened; ///< how often a node of this name was opened, or that was tried

    int open(const char* path, int flags, mode_t mode) override;
    int close(int descriptor) override;
    int fileStatus(int descriptor, struct stat* status) override;

private:
    struct Device {
        FakeHIDDevice what;
        std::string directory; ///< below sys/devices
        int openError = 0;
        std::uint64_t serial = 0; ///< tells two devices of one number apart
    };
    struct Reader {
        std::uint64_t serial;
        int peer;
    };

    TemporaryDirectory root_;
    std::map<int, Device> devices_;
    std::map<int, Reader> readers_; ///< by the descriptor that was given out
    std::set<std::uint64_t> deleted_;
    std::uint64_t plugged_ = 0;
};

} // namespace qz::platform::tests
