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

ExitStatus finishOutput() {
    if (!std::cout.flush()) {
        std::cerr << "qzgc: cannot write to standard output\n";
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
            throw Failure("cannot write to " + name_ + ": " + std::generic_category().message(errno));
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
