// SPDX-License-Identifier: MIT
#include "platform/linux/DocumentFile.h"

#include "platform/linux/FileErrors.h"
#include "platform/linux/RetryInterrupted.h"

#include <fcntl.h>
#include <utility>

namespace qz::platform {

namespace {

/// Reads an open file to its end, or until it proves larger than a document may be; 0 or the number of the error.
int readToEnd(SystemCalls& calls, int descriptor, std::size_t expectedLength, std::string& text) {
    // One byte more than expected, so that the end shows without growing.
    text.resize(expectedLength + 1);
    std::size_t length = 0;
    while (length <= largestDocument) {
        const ssize_t count =
            retryInterrupted([&] { return calls.read(descriptor, text.data() + length, text.size() - length); });
        if (count < 0) {
            return errno;
        }
        if (count == 0) {
            break;
        }
        length += static_cast<std::size_t>(count);
        if (length == text.size()) {
            text.resize(2 * length);
        }
    }
    text.resize(length);
    return 0;
}

} // namespace

bool FileDescriptor::close() {
    if (number_ < 0) {
        return true;
    }
    // Linux closes the descriptor even when it reports an interruption.
    const int result = calls_.close(number_);
    number_ = -1;
    return result == 0 || errno == EINTR;
}

DocumentReading readDocument(SystemCalls& calls, const std::string& path, std::string& text, std::string& error) {
    text.clear();
    const auto failed = [&](std::string reason) {
        text.clear();
        error = std::move(reason);
        return DocumentReading::failed;
    };
    // Not blocking: a pipe in place of the document must not stop the program.
    constexpr int flags = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    const FileDescriptor file(calls, retryInterrupted([&] { return calls.open(path.c_str(), flags, 0); }));
    if (!file.isOpen()) {
        return errno == ENOENT ? DocumentReading::absent : failed(fileErrorText("read", path, errno));
    }
    struct stat status {};
    if (calls.fileStatus(file.number(), &status) != 0) {
        return failed(fileErrorText("read", path, errno));
    }
    if (!S_ISREG(status.st_mode)) {
        return failed(notRegularFileText(path));
    }
    const std::string tooLarge = "cannot read " + path + ": it is larger than any preferences; move it away";
    if (status.st_size > static_cast<off_t>(largestDocument)) {
        return failed(tooLarge);
    }
    const int number = readToEnd(calls, file.number(), static_cast<std::size_t>(status.st_size), text);
    if (number != 0) {
        return failed(fileErrorText("read", path, number));
    }
    return text.size() <= largestDocument ? DocumentReading::complete : failed(tooLarge);
}

} // namespace qz::platform
