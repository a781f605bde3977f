// SPDX-License-Identifier: MIT
#pragma once

#include "platform/linux/SystemCalls.h"

#include <memory>
#include <string>
#include <string_view>

namespace qz::platform {

/// A document is a file that is read as a whole and only ever replaced as a whole. Operations that fail leave one line
/// for a person in `error`: what failed, for which path, why, and what to do about it.

/// The largest document that is read or written: far above what any application stores (10,000 devices with 40 elements
/// each take less than 40 million bytes), and below what exhausts the memory of a small machine.
inline constexpr std::size_t largestDocument = std::size_t{256} << 20U;

enum class DocumentReading {
    complete,
    unchanged, ///< the document is the text that is known already
    absent,    ///< there is no such file, or the directories or the link that lead to it end before
    failed,
};

/// Reads a document. Needs no lock: the text is that of before or of after a replacement. A document that is byte for
/// byte `known` is only compared, which takes no memory, and `text` is empty then; an empty `known` is none.
DocumentReading readDocument(SystemCalls& calls, const std::string& path, std::string_view known, std::string& text,
                             std::string& error);

/// A file descriptor, closed with its owner.
class FileDescriptor {
public:
    FileDescriptor(SystemCalls& calls, int number) : calls_(calls), number_(number) {}
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() { close(); }

    int number() const noexcept { return number_; }
    bool isOpen() const noexcept { return number_ >= 0; }

    /// Closes at once; false, with errno, when the system reports that what was written is lost.
    bool close();

private:
    SystemCalls& calls_;
    int number_;
};

/// A document that no other process and no other object of this process changes as long as this object lives.
///
/// Where the path is a symbolic link, or ends in a chain of them, the document is what stands at its end, and
/// everything happens in the directory there: the link stays.
class LockedDocument {
public:
    /// Takes the lock, after making the directories of `path` that are missing. Waits for another holder, but only for
    /// some seconds: one that was stopped may never let go. Null when that failed.
    static std::unique_ptr<LockedDocument> lock(SystemCalls& calls, const std::string& path, std::string& error);

    LockedDocument(const LockedDocument&) = delete;
    LockedDocument& operator=(const LockedDocument&) = delete;
    ~LockedDocument();

    /// Where the document really is.
    std::string path() const { return directoryPath_ + name_; }

    /// Puts `text` in place of the document, if there is one, readable and writable for its owner only. A crash at any
    /// moment leaves the old document or the new one. False when that failed; then the old one stands, but for one
    /// case: when only the last step failed, bringing the new name to the disk, the new one does.
    bool replace(std::string_view text, std::string& error);

    /// Gives the document a new name, one that nothing had before, and answers its new path; empty when that failed.
    std::string setAside(std::string& error);

private:
    LockedDocument(SystemCalls& calls, std::string directoryPath, std::string name, int directory);

    bool mayBeReplaced(std::string& error);
    bool takeLock(std::string& error);
    bool waitForLock();
    void removeLeftovers();
    int writeTemporary(const std::string& name, std::string_view text);
    int rename(const std::string& from, const std::string& to);
    int synchronizeDirectory();

    SystemCalls& calls_;
    std::string directoryPath_; ///< with a slash at its end
    std::string name_;
    FileDescriptor directory_;
    std::unique_ptr<FileDescriptor> lock_;
};

} // namespace qz::platform
