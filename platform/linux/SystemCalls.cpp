// SPDX-License-Identifier: MIT
#include "platform/linux/SystemCalls.h"

#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace qz::platform {

SystemCalls& SystemCalls::kernel() {
    static SystemCalls calls;
    return calls;
}

SystemCalls::~SystemCalls() = default;

int SystemCalls::epollCreate(int flags) {
    return ::epoll_create1(flags);
}

int SystemCalls::epollControl(int set, int operation, int descriptor, epoll_event* event) {
    return ::epoll_ctl(set, operation, descriptor, event);
}

[[gnu::hot]] int SystemCalls::epollWait(int set, epoll_event* events, int capacity, int timeoutMilliseconds) {
    return ::epoll_wait(set, events, capacity, timeoutMilliseconds);
}

[[gnu::hot]] int SystemCalls::poll(pollfd* descriptors, nfds_t count, int timeoutMilliseconds) {
    return ::poll(descriptors, count, timeoutMilliseconds);
}

int SystemCalls::eventCreate(unsigned count, int flags) {
    return ::eventfd(count, flags);
}

int SystemCalls::inotifyCreate(int flags) {
    return ::inotify_init1(flags);
}

int SystemCalls::inotifyAddWatch(int inotify, const char* path, std::uint32_t mask) {
    return ::inotify_add_watch(inotify, path, mask);
}

int SystemCalls::close(int descriptor) {
    return ::close(descriptor);
}

int SystemCalls::open(const char* path, int flags, mode_t mode) {
    return ::open(path, flags, mode);
}

int SystemCalls::openAt(int directory, const char* path, int flags, mode_t mode) {
    return ::openat(directory, path, flags, mode);
}

[[gnu::hot]] ssize_t SystemCalls::read(int descriptor, void* bytes, std::size_t count) {
    return ::read(descriptor, bytes, count);
}

ssize_t SystemCalls::write(int descriptor, const void* bytes, std::size_t count) {
    return ::write(descriptor, bytes, count);
}

int SystemCalls::synchronizeFile(int descriptor) {
    return ::fsync(descriptor);
}

int SystemCalls::fileStatus(int descriptor, struct stat* status) {
    return ::fstat(descriptor, status);
}

int SystemCalls::fileStatusAt(int directory, const char* path, struct stat* status, int flags) {
    return ::fstatat(directory, path, status, flags);
}

int SystemCalls::lockFile(int descriptor, int operation) {
    return ::flock(descriptor, operation);
}

int SystemCalls::renameAt(int fromDirectory, const char* from, int toDirectory, const char* to) {
    return ::renameat(fromDirectory, from, toDirectory, to);
}

int SystemCalls::unlinkAt(int directory, const char* path, int flags) {
    return ::unlinkat(directory, path, flags);
}

ssize_t SystemCalls::readLinkAt(int directory, const char* path, char* buffer, std::size_t size) {
    return ::readlinkat(directory, path, buffer, size);
}

int SystemCalls::makeDirectory(const char* path, mode_t mode) {
    return ::mkdir(path, mode);
}

ssize_t SystemCalls::readDirectory(int directory, void* entries, std::size_t size) {
    return ::getdents64(directory, entries, size);
}

int SystemCalls::resourceLimit(int resource, rlimit* limit) {
    return ::getrlimit(resource, limit);
}

int SystemCalls::sleep(const timespec* duration) {
    return ::nanosleep(duration, nullptr);
}

} // namespace qz::platform
