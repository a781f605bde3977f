// SPDX-License-Identifier: MIT
#include "platform/linux/FileErrors.h"

#include <cerrno>
#include <system_error>

namespace qz::platform {

namespace {

std::string_view adviceFor(int number) {
    switch (number) {
    case EACCES:
    case EPERM:
        return "check the owner and the permissions of the file and its directories";
    case EROFS:
        return "make the file system writable";
    case ENOSPC:
    case EDQUOT:
        return "free some space";
    case EFBIG:
        return "raise the limit on the size of files (ulimit -f)";
    case EISDIR:
    case ENOTDIR:
    case EEXIST:
    case ENXIO:
        return "move away what stands in its place";
    case ELOOP:
        return "repair the symbolic links";
    case ENAMETOOLONG:
        return "choose a shorter application identifier or directory";
    case ENOENT:
        return "make the directory or repair the symbolic link";
    case EMFILE:
    case ENFILE:
        return "close some files";
    case ETIMEDOUT:
        return "end the process that holds the lock";
    case ENOLCK:
    case EOPNOTSUPP:
    case ENOSYS:
        return "use a file system that supports flock";
    case EIO:
        return "check the disk";
    default:
        return "try again";
    }
}

} // namespace

std::string fileErrorText(std::string_view attempt, std::string_view path, int number) {
    return "cannot " + std::string(attempt) + " " + std::string(path) + ": " + std::generic_category().message(number) +
           "; " + std::string(adviceFor(number));
}

std::string notRegularFileText(std::string_view path) {
    return "cannot use " + std::string(path) + ": it is not a regular file; move it away";
}

} // namespace qz::platform
