// SPDX-License-Identifier: MIT
#pragma once

#include <sys/epoll.h>

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
    virtual int close(int descriptor);
};

} // namespace qz::platform
