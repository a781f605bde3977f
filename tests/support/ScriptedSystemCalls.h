// SPDX-License-Identifier: MIT
#pragma once

#include "platform/linux/SystemCalls.h"

#include <cerrno>
#include <functional>
#include <string_view>
#include <utility>

namespace qz::platform::tests {

/// The kernel's calls, before each of which a script is asked. The script gets the name of the call; it answers 0 to
/// let it through, or the number of the error that it is to fail with.
class ScriptedSystemCalls : public SystemCalls {
public:
    using Script = std::function<int(std::string_view call)>;

    explicit ScriptedSystemCalls(Script script) : script_(std::move(script)) {}

    /// None: all calls get through.
    void setScript(Script script) { script_ = std::move(script); }
    bool refusesAdditions = false; ///< whether the kernel has no resources left for descriptors to wait for

    int epollCreate(int flags) override { return asked("epollCreate") ? SystemCalls::epollCreate(flags) : -1; }
    int epollControl(int set, int operation, int descriptor, epoll_event* event) override {
        if (operation == EPOLL_CTL_ADD && refusesAdditions) {
            errno = ENOSPC;
            return -1;
        }
        return asked("epollControl") ? SystemCalls::epollControl(set, operation, descriptor, event) : -1;
    }
    int epollWait(int set, epoll_event* events, int capacity, int timeoutMilliseconds) override {
        return asked("epollWait") ? SystemCalls::epollWait(set, events, capacity, timeoutMilliseconds) : -1;
    }
    int poll(pollfd* descriptors, nfds_t count, int timeoutMilliseconds) override {
        return asked("poll") ? SystemCalls::poll(descriptors, count, timeoutMilliseconds) : -1;
    }
    int eventCreate(unsigned count, int flags) override {
        return asked("eventCreate") ? SystemCalls::eventCreate(count, flags) : -1;
    }
    int inotifyCreate(int flags) override { return asked("inotifyCreate") ? SystemCalls::inotifyCreate(flags) : -1; }
    int inotifyAddWatch(int inotify, const char* path, std::uint32_t mask) override {
        return asked("inotifyAddWatch") ? SystemCalls::inotifyAddWatch(inotify, path, mask) : -1;
    }
    int close(int descriptor) override {
        // A descriptor is closed whatever close reports.
        const int result = SystemCalls::close(descriptor);
        return asked("close") ? result : -1;
    }
    int open(const char* path, int flags, mode_t mode) override {
        return asked("open") ? SystemCalls::open(path, flags, mode) : -1;
    }
    int openAt(int directory, const char* path, int flags, mode_t mode) override {
        return asked("openAt") ? SystemCalls::openAt(directory, path, flags, mode) : -1;
    }
    ssize_t read(int descriptor, void* bytes, std::size_t count) override {
        return asked("read") ? SystemCalls::read(descriptor, bytes, count) : -1;
    }
    ssize_t write(int descriptor, const void* bytes, std::size_t count) override {
        return asked("write") ? SystemCalls::write(descriptor, bytes, count) : -1;
    }
    int synchronizeFile(int descriptor) override {
        return asked("synchronizeFile") ? SystemCalls::synchronizeFile(descriptor) : -1;
    }
    int fileStatus(int descriptor, struct stat* status) override {
        return asked("fileStatus") ? SystemCalls::fileStatus(descriptor, status) : -1;
    }
    int fileStatusAt(int directory, const char* path, struct stat* status, int flags) override {
        return asked("fileStatusAt") ? SystemCalls::fileStatusAt(directory, path, status, flags) : -1;
    }
    int lockFile(int descriptor, int operation) override {
        return asked("lockFile") ? SystemCalls::lockFile(descriptor, operation) : -1;
    }
    int renameAt(int fromDirectory, const char* from, int toDirectory, const char* to) override {
        return asked("renameAt") ? SystemCalls::renameAt(fromDirectory, from, toDirectory, to) : -1;
    }
    int unlinkAt(int directory, const char* path, int flags) override {
        return asked("unlinkAt") ? SystemCalls::unlinkAt(directory, path, flags) : -1;
    }
    ssize_t readLinkAt(int directory, const char* path, char* buffer, std::size_t size) override {
        return asked("readLinkAt") ? SystemCalls::readLinkAt(directory, path, buffer, size) : -1;
    }
    int makeDirectory(const char* path, mode_t mode) override {
        return asked("makeDirectory") ? SystemCalls::makeDirectory(path, mode) : -1;
    }
    ssize_t readDirectory(int directory, void* entries, std::size_t size) override {
        return asked("readDirectory") ? SystemCalls::readDirectory(directory, entries, size) : -1;
    }
    int resourceLimit(int resource, rlimit* limit) override {
        return asked("resourceLimit") ? SystemCalls::resourceLimit(resource, limit) : -1;
    }
    int sleep(const timespec* duration) override { return asked("sleep") ? SystemCalls::sleep(duration) : -1; }

protected:
    bool asked(std::string_view call) {
        const int number = script_ ? script_(call) : 0;
        errno = number;
        return number == 0;
    }

private:
    Script script_;
};

} // namespace qz::platform::tests
