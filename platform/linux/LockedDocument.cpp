// SPDX-License-Identifier: MIT
#include "platform/linux/DocumentFile.h"

#include "platform/Text.h"
#include "platform/linux/FileErrors.h"
#include "platform/linux/RetryInterrupted.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <climits>
#include <cstdint>
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace qz::platform {

namespace {

constexpr mode_t ownerOnly = 0600;
constexpr const char* lockSuffix = ".lock";
constexpr const char* temporaryInfix = ".tmp-";

std::string_view parentOf(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? std::string_view() : path.substr(0, slash + 1);
}

/// Follows the chain of symbolic links that `path` ends in, also when nothing stands at its end; 0 or the number of the
/// error.
int followLinks(SystemCalls& calls, std::string& path) {
    constexpr int longestChain = 40; // as the kernel has it
    std::array<char, PATH_MAX> buffer{};
    for (int i = 0; i < longestChain; ++i) {
        const ssize_t length =
            retryInterrupted([&] { return calls.readLinkAt(AT_FDCWD, path.c_str(), buffer.data(), buffer.size()); });
        if (length < 0) {
            return errno == EINVAL || errno == ENOENT ? 0 : errno;
        }
        const std::string_view target(buffer.data(), static_cast<std::size_t>(length));
        if (target.size() == buffer.size()) {
            return ENAMETOOLONG;
        }
        path = target.starts_with('/') ? std::string(target) : std::string(parentOf(path)) + std::string(target);
    }
    return ELOOP;
}

/// Makes a directory and those above it that are missing, for their owner only, as the XDG Base Directory Specification
/// wants it. 0 or the number of the error.
int makeDirectories(SystemCalls& calls, const std::string& path) {
    const auto make = [&](std::size_t length) {
        return calls.makeDirectory(path.substr(0, length).c_str(), 0700) == 0 || errno == EEXIST ? 0 : errno;
    };
    std::size_t length = path.find_last_not_of('/') + 1;
    const std::size_t whole = length;
    int number = make(length);
    while (number == ENOENT) {
        length = path.rfind('/', length - 1);
        if (length == std::string::npos || length == 0) {
            return number;
        }
        number = make(length);
    }
    while (number == 0 && length < whole) {
        length = std::min(path.find('/', length + 1), whole);
        number = make(length);
    }
    return number;
}

int openDirectory(SystemCalls& calls, const std::string& path) {
    return retryInterrupted([&] { return calls.open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0); });
}

/// The names in an open directory that has not been read yet; those before the first error.
std::vector<std::string> namesIn(SystemCalls& calls, int directory) {
    std::vector<std::string> names;
    alignas(dirent64) std::array<char, 8192> entries{};
    for (ssize_t size = 0; (size = calls.readDirectory(directory, entries.data(), entries.size())) > 0;) {
        for (ssize_t offset = 0; offset < size;) {
            const auto* const entry = reinterpret_cast<const dirent64*>(entries.data() + offset);
            names.emplace_back(static_cast<const char*>(entry->d_name));
            offset += entry->d_reclen;
        }
    }
    return names;
}

/// 0 or the number of the error.
int writeAll(SystemCalls& calls, int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = retryInterrupted([&] { return calls.write(descriptor, text.data(), text.size()); });
        if (count <= 0) {
            return count < 0 ? errno : ENOSPC;
        }
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    return 0;
}

} // namespace

LockedDocument::LockedDocument(SystemCalls& calls, std::string directoryPath, std::string name, int directory)
    : calls_(calls), directoryPath_(std::move(directoryPath)), name_(std::move(name)), directory_(calls, directory) {}

LockedDocument::~LockedDocument() {
    if (lock_ != nullptr) {
        // Explicitly: closing alone leaves the lock to a child that was forked meanwhile and has the descriptor too.
        calls_.lockFile(lock_->number(), LOCK_UN);
    }
}

std::unique_ptr<LockedDocument> LockedDocument::lock(SystemCalls& calls, const std::string& path, std::string& error) {
    std::string target = path;
    if (const int number = followLinks(calls, target); number != 0) {
        error = fileErrorText("reach", path, number);
        return nullptr;
    }
    const std::string directoryPath(parentOf(target));
    int directory = openDirectory(calls, directoryPath);
    // At the end of a link nothing is made: the file system that belongs there may not be mounted.
    if (directory < 0 && errno == ENOENT && target == path) {
        const int number = makeDirectories(calls, directoryPath);
        errno = number;
        directory = number == 0 ? openDirectory(calls, directoryPath) : -1;
    }
    if (directory < 0) {
        error = fileErrorText("use the directory", directoryPath, errno);
        return nullptr;
    }
    std::unique_ptr<LockedDocument> document(
        new LockedDocument(calls, directoryPath, target.substr(directoryPath.size()), directory));
    return document->mayBeReplaced(error) && document->takeLock(error) ? std::move(document) : nullptr;
}

/// Whether a file stands there, or nothing.
bool LockedDocument::mayBeReplaced(std::string& error) {
    struct stat status {};
    if (calls_.fileStatusAt(directory_.number(), name_.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        const int number = errno;
        error = fileErrorText("use", path(), number);
        return number == ENOENT;
    }
    // Before a lock is made: people link what they do not want to be kept to /dev/null.
    error = notRegularFileText(path());
    return S_ISREG(status.st_mode);
}

bool LockedDocument::takeLock(std::string& error) {
    const std::string name = name_ + lockSuffix;
    const auto failed = [&](int number) {
        error = fileErrorText("lock", directoryPath_ + name, number);
        return false;
    };
    constexpr int flags = O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
    for (int attempt = 0; attempt < 100; ++attempt) {
        const int descriptor =
            retryInterrupted([&] { return calls_.openAt(directory_.number(), name.c_str(), flags, ownerOnly); });
        if (descriptor < 0) {
            return failed(errno);
        }
        lock_ = std::make_unique<FileDescriptor>(calls_, descriptor);
        struct stat locked {};
        if (!waitForLock() || calls_.fileStatus(descriptor, &locked) != 0) {
            return failed(errno);
        }
        // When the file was removed while this waited, the lock on it excludes nobody who comes later.
        struct stat named {};
        if (calls_.fileStatusAt(directory_.number(), name.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0) {
            if (named.st_ino == locked.st_ino && named.st_dev == locked.st_dev) {
                return true;
            }
        } else if (errno != ENOENT) {
            return failed(errno);
        }
    }
    return failed(ETIMEDOUT);
}

/// Asks again and again: to wait in flock would be to wait for ever for a process that has been stopped.
bool LockedDocument::waitForLock() {
    constexpr timespec pause{0, 2'000'000};
    constexpr int mostAttempts = 5'000; // 10 seconds
    for (int attempt = 0; attempt < mostAttempts; ++attempt) {
        if (retryInterrupted([&] { return calls_.lockFile(lock_->number(), LOCK_EX | LOCK_NB); }) == 0) {
            return true;
        }
        if (errno != EWOULDBLOCK) {
            return false;
        }
        calls_.sleep(&pause);
    }
    errno = ETIMEDOUT;
    return false;
}

bool LockedDocument::replace(std::string_view text, std::string& error) {
    if (text.size() > largestDocument) {
        error = "cannot write " + path() + ": the preferences are too large; store less";
        return false;
    }
    removeLeftovers();
    const std::uint64_t now = static_cast<std::uint64_t>(std::chrono::system_clock::now().time_since_epoch().count());
    const std::string temporary =
        name_ + temporaryInfix + hexadecimal(static_cast<std::uint64_t>(::getpid())) + "-" + hexadecimal(now);
    int number = writeTemporary(temporary, text);
    if (number == 0) {
        number = rename(temporary, name_);
        if (number == 0) {
            number = synchronizeDirectory();
        } else {
            calls_.unlinkAt(directory_.number(), temporary.c_str(), 0);
        }
    }
    if (number != 0) {
        error = fileErrorText("write", path(), number);
    }
    return number == 0;
}

/// Removes the temporary files of processes that crashed: nobody else writes one while the lock is held.
void LockedDocument::removeLeftovers() {
    const std::string prefix = name_ + temporaryInfix;
    for (const std::string& name : namesIn(calls_, directory_.number())) {
        if (name.starts_with(prefix)) {
            calls_.unlinkAt(directory_.number(), name.c_str(), 0);
        }
    }
}

/// Writes `text` to a new file and brings it to the disk. 0, or the number of the error; then there is no such file.
int LockedDocument::writeTemporary(const std::string& name, std::string_view text) {
    // Beyond the limit the system would not only refuse but end the process with SIGXFSZ.
    rlimit limit{};
    if (calls_.resourceLimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY &&
        text.size() > limit.rlim_cur) {
        return EFBIG;
    }
    constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW;
    FileDescriptor file(
        calls_, retryInterrupted([&] { return calls_.openAt(directory_.number(), name.c_str(), flags, ownerOnly); }));
    if (!file.isOpen()) {
        return errno;
    }
    int number = writeAll(calls_, file.number(), text);
    if (number == 0 && retryInterrupted([&] { return calls_.synchronizeFile(file.number()); }) != 0) {
        number = errno;
    }
    if (!file.close() && number == 0) {
        number = errno;
    }
    if (number != 0) {
        calls_.unlinkAt(directory_.number(), name.c_str(), 0);
    }
    return number;
}

/// 0 or the number of the error.
int LockedDocument::rename(const std::string& from, const std::string& to) {
    const int directory = directory_.number();
    return retryInterrupted([&] { return calls_.renameAt(directory, from.c_str(), directory, to.c_str()); }) == 0
               ? 0
               : errno;
}

/// Brings a renaming to the disk. 0 or the number of the error.
int LockedDocument::synchronizeDirectory() {
    if (retryInterrupted([&] { return calls_.synchronizeFile(directory_.number()); }) == 0) {
        return 0;
    }
    // Some file systems have no such operation for directories.
    return errno == EINVAL || errno == EOPNOTSUPP ? 0 : errno;
}

std::string LockedDocument::setAside(std::string& error) {
    constexpr int mostNames = 10'000;
    // The name is taken with an empty file first, so that the renaming can overwrite nothing else.
    constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW;
    int number = EEXIST;
    for (int i = 1; number == EEXIST && i <= mostNames; ++i) {
        const std::string name = name_ + ".damaged-" + std::to_string(i);
        FileDescriptor placeholder(calls_, retryInterrupted([&] {
                                       return calls_.openAt(directory_.number(), name.c_str(), flags, ownerOnly);
                                   }));
        if (!placeholder.isOpen()) {
            number = errno;
            continue;
        }
        placeholder.close();
        number = rename(name_, name);
        if (number == 0) {
            // Before a new document takes the place: else a crash could leave neither name to the old one.
            synchronizeDirectory();
            return directoryPath_ + name;
        }
        calls_.unlinkAt(directory_.number(), name.c_str(), 0);
    }
    error = fileErrorText("set aside", path(), number);
    return {};
}

} // namespace qz::platform
