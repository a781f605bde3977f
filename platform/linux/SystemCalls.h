// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/types.h>

namespace qz::platform {

/// The system calls of the Linux back end, one function each, so that a test can make any of them fail. Arguments,
/// results and errno are those of the calls.
class SystemCalls {
public:
    /// The calls of the running kernel.
    static SystemCalls& kernel();

    SystemCalls() = default;
    SystemCalls(const SystemCalls&) = delete;
    SystemCalls& operator=(const SystemCalls&) = delete;
    virtual ~SystemCalls();

    virtual int epollCreate(int flags);
    virtual int epollControl(int set, int operation, int descriptor, epoll_event* event);
    virtual int epollWait(int set, epoll_event* events, int capacity, int timeoutMilliseconds);
    virtual int poll(pollfd* descriptors, nfds_t count, int timeoutMilliseconds);
    virtual int eventCreate(unsigned count, int flags); ///< eventfd
    virtual int inotifyCreate(int flags);
    virtual int inotifyAddWatch(int inotify, const char* path, std::uint32_t mask);
    virtual int close(int descriptor);

    virtual int open(const char* path, int flags, mode_t mode);
    virtual int openAt(int directory, const char* path, int flags, mode_t mode);
    virtual ssize_t read(int descriptor, void* bytes, std::size_t count);
    virtual ssize_t write(int descriptor, const void* bytes, std::size_t count);
    virtual int synchronizeFile(int descriptor); ///< fsync
    virtual int fileStatus(int descriptor, struct stat* status);
    virtual int fileStatusAt(int directory, const char* path, struct stat* status, int flags);
    virtual int lockFile(int descriptor, int operation); ///< flock
    virtual int renameAt(int fromDirectory, const char* from, int toDirectory, const char* to);
    virtual int unlinkAt(int directory, const char* path, int flags);
    virtual ssize_t readLinkAt(int directory, const char* path, char* buffer, std::size_t size);
    virtual int makeDirectory(const char* path, mode_t mode);
    virtual ssize_t readDirectory(int directory, void* entries, std::size_t size); ///< getdents64
    virtual int resourceLimit(int resource, rlimit* limit);
    virtual int sleep(const timespec* duration); ///< nanosleep, what is left of an interrupted sleep not told
};

} // namespace qz::platform
