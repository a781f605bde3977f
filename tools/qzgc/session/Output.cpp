// SPDX-License-Identifier: MIT
#include "tools/qzgc/session/Output.h"

#include "tools/qzgc/session/Session.h"

#include <cerrno>
#include <iostream>
#include <poll.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace qz::tools {

ExitStatus finishOutput() {
    if (!std::cout.flush()) {
        std::cerr << "qzgc: cannot write to standard output\n";
        return exitFailure;
    }
    return exitSuccess;
}

bool Output::write(std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(fileDescriptor_, text.data(), text.size());
        if (count >= 0) {
            text.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno == EPIPE) {
            return false;
        } else if (errno == EAGAIN) {
            waitUntilWritable();
        } else if (errno != EINTR) {
            throw Failure("cannot write to " + name_ + ": " + std::generic_category().message(errno));
        }
    }
    return true;
}

bool Output::isPipe() const {
    struct stat status {};
    return ::fstat(fileDescriptor_, &status) == 0 && S_ISFIFO(status.st_mode);
}

void Output::waitUntilWritable() const {
    pollfd output{fileDescriptor_, POLLOUT, 0};
    static_cast<void>(::poll(&output, 1, -1)); // whatever ends it, the next attempt to write tells
}

} // namespace qz::tools
