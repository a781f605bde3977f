// SPDX-License-Identifier: MIT
#include "tools/qzgc/session/OutputFile.h"

#include "tools/qzgc/TextFile.h"
#include "tools/qzgc/session/Session.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace qz::tools {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail(const std::string& name, int error) {
    throw Failure(FileError(name, "cannot be written: " + std::generic_category().message(error)).what());
}

/// What cannot be opened is a wrong name.
[[noreturn]] void refuse(const std::string& name, int error) {
    throw FileError(name, "cannot be written: " + std::generic_category().message(error));
}

class OpenFile {
public:
    explicit OpenFile(int fileDescriptor) : fileDescriptor_(fileDescriptor) {}
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile() { close(); }

    bool isOpen() const noexcept { return fileDescriptor_ >= 0; }
    int get() const noexcept { return fileDescriptor_; }

    bool write(std::string_view text) const {
        while (!text.empty()) {
            const ssize_t written = ::write(fileDescriptor_, text.data(), text.size());
            if (written < 0 && errno != EINTR) {
                return false;
            }
            text.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
        }
        return true;
    }

    bool close() {
        const bool closed = fileDescriptor_ < 0 || ::close(fileDescriptor_) == 0;
        fileDescriptor_ = -1;
        return closed;
    }

private:
    int fileDescriptor_;
};

void writeThrough(const std::string& name, std::string_view contents) {
    OpenFile file(::open(name.c_str(), O_WRONLY | O_CLOEXEC));
    if (!file.isOpen()) {
        refuse(name, errno);
    }
    if (!file.write(contents) || !file.close()) {
        fail(name, errno);
    }
}

/// Rights of a new file, or those that the old one has.
mode_t rightsFor(const std::optional<struct stat>& old) {
    if (old) {
        return old->st_mode & 0777U;
    }
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666U & ~mask;
}

bool fill(const OpenFile& file, std::string_view contents, mode_t rights) {
    return file.write(contents) && ::fchmod(file.get(), rights) == 0 && ::fsync(file.get()) == 0;
}

} // namespace

void replaceFile(const std::string& name, std::string_view contents) {
    std::error_code error;
    const fs::path resolved = fs::is_symlink(name, error) ? fs::weakly_canonical(name, error) : fs::path(name);
    const std::string target = error || resolved.empty() ? name : resolved.string();

    std::optional<struct stat> old(std::in_place);
    if (::stat(target.c_str(), &*old) != 0) {
        old.reset();
    }
    if (old && !S_ISREG(old->st_mode)) {
        writeThrough(target, contents);
        return;
    }
    if (old && ::access(target.c_str(), W_OK) != 0) {
        refuse(name, errno); // a file that is protected is not replaced by one that is not
    }
    std::string temporary = target + ".XXXXXX";
    OpenFile file(::mkostemp(temporary.data(), O_CLOEXEC));
    if (!file.isOpen()) {
        refuse(name, errno);
    }
    if (!fill(file, contents, rightsFor(old)) || !file.close() || ::rename(temporary.c_str(), target.c_str()) != 0) {
        const int reason = errno;
        ::unlink(temporary.c_str());
        fail(name, reason);
    }
}

} // namespace qz::tools
