// SPDX-License-Identifier: MIT
#include "platform/linux/SystemCalls.h"

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

int SystemCalls::epollWait(int set, epoll_event* events, int capacity, int timeoutMilliseconds) {
    return ::epoll_wait(set, events, capacity, timeoutMilliseconds);
}

int SystemCalls::close(int descriptor) {
    return ::close(descriptor);
}

} // namespace qz::platform
