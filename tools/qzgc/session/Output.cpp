// SPDX-License-Identifier: MIT
#include "tools/qzgc/session/Output.h"

#include "tools/qzgc/session/Session.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <iostream>
#include <poll.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace qz::tools {

namespace {

std::string remedyOf(int error) {
    switch (error) {
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
        return "; make room, or write to another place";
    case EBADF:
        return "; it is closed or cannot be written to: begin the command with one that can";
    case EPIPE:
        return "; what reads it has ended";
    default:
        return "";
    }
}

} // namespace

std::string cannotWrite(const std::string& name, int error) {
    const std::string reason = error == 0 ? "" : ": " + std::generic_category().message(error) + remedyOf(error);
    return "cannot write to " + name + reason;
}

ExitStatus finishOutput() {
    // A stream that failed earlier does nothing any more, and commands ask the system for nothing while they print.
    errno = std::cout.good() ? 0 : errno;
    if (!std::cout.flush()) {
        std::cerr << "qzgc: " << cannotWrite("standard output", errno) << '\n';
        return exitFailure;
    }
    return exitSuccess;
}

bool Output::write(std::string_view text) {
    while (!text.empty() && !isOver_) {
        // A pipe that can be written to has room for so much; the call to write more would wait, deaf to signals.
        const std::size_t size = std::min<std::size_t>(text.size(), PIPE_BUF);
        const bool isWanted = wait_(fileDescriptor_);
        const ssize_t count = isWanted ? ::write(fileDescriptor_, text.data(), size) : 0;
        if (count >= 0) {
            text.remove_prefix(static_cast<std::size_t>(count));
            isOver_ = !isWanted;
        } else if (errno == EPIPE) {
            isOver_ = true;
        } else if (errno != EAGAIN && errno != EINTR) {
            throw Failure(cannotWrite(name_, errno));
        }
    }
    return text.empty();
}

bool Output::isPipe() const {
    struct stat status {};
    return ::fstat(fileDescriptor_, &status) == 0 && S_ISFIFO(status.st_mode);
}

bool Output::waitUntilWritable(int fileDescriptor) {
    pollfd output{fileDescriptor, POLLOUT, 0};
    static_cast<void>(::poll(&output, 1, -1)); // whatever ends it, the attempt to write tells
    return true;
}

} // namespace qz::tools
