// SPDX-License-Identifier: MIT
#include "platform/linux/DocumentFile.h"

#include "platform/linux/FileErrors.h"
#include "platform/linux/RetryInterrupted.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <utility>

namespace qz::platform {

namespace {

/// Reads an open file to its end, or until it proves larger than a document may be; 0 or the number of the error.
/// `text` holds what has been read of it before.
int readToEnd(SystemCalls& calls, int descriptor, std::size_t expectedLength, std::string& text) {
    std::size_t length = text.size();
    // One byte more than expected, so that the end shows without growing.
    text.resize(std::max(expectedLength, length) + 1);
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

/// Reads an open file as long as it is like `known`; 0 or the number of the error. Either `isKnown` is then true, or
/// `text` is what has been read.
int readWhileLike(SystemCalls& calls, int descriptor, std::string_view known, std::string& text, bool& isKnown) {
    std::array<char, 16384> piece; // of the stack: a thread may have as little as 128 KiB
    std::size_t length = 0;
    for (;;) {
        const ssize_t count = retryInterrupted([&] { return calls.read(descriptor, piece.data(), piece.size()); });
        if (count < 0) {
            return errno;
        }
        const std::string_view found(piece.data(), static_cast<std::size_t>(count));
        isKnown = found.empty() && length == known.size();
        if (isKnown) {
            return 0;
        }
        if (found.empty() || known.substr(length, found.size()) != found) {
            text.reserve(known.size() + 1);
            text.append(known.substr(0, length)).append(found);
            return 0;
        }
        length += found.size();
    }
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

DocumentReading readDocument(SystemCalls& calls, const std::string& path, std::string_view known, std::string& text,
                             std::string& error) {
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
    const auto size = static_cast<std::size_t>(status.st_size);
    bool isKnown = false;
    int number = 0;
    if (!known.empty() && known.size() == size) {
        number = readWhileLike(calls, file.number(), known, text, isKnown);
    }
    if (number == 0 && isKnown) {
        return DocumentReading::unchanged;
    }
    if (number == 0) {
        number = readToEnd(calls, file.number(), size, text);
    }
    if (number != 0) {
        return failed(fileErrorText("read", path, number));
    }
    return text.size() <= largestDocument ? DocumentReading::complete : failed(tooLarge);
}

} // namespace qz::platform
