// SPDX-License-Identifier: MIT
#pragma once

#include "platform/UserDefaults.h"
#include "platform/linux/DocumentFile.h"

#include <set>
#include <string>

namespace qz::platform {

/// Preferences in a file: one JSON document for each application, shared by all of its processes.
///
/// The document is read when the object is made; after that the disk is touched only by `synchronize`, by a change of
/// the application identifier and, when changes are left to write, by the destructor. Any number of objects, in one
/// process or many, may work on one document.
class FileUserDefaults final : public UserDefaults {
public:
    /// The preferences of the running program, in the user's own directory (see PreferencesPath.h).
    explicit FileUserDefaults(SystemCalls& calls = SystemCalls::kernel());

    /// The preferences of the application `identifier` in `directory`, an absolute path; nothing is ever written when
    /// that is empty.
    FileUserDefaults(std::string directory, std::string_view identifier, SystemCalls& calls = SystemCalls::kernel());

    /// Writes what has not been synchronised, unless it was changed by another process than this one: a forked child
    /// that ends in an orderly way leaves its parent's changes to the parent.
    ~FileUserDefaults() override { writePending(); }

    /// What the destructor does, for an object that is never destroyed.
    void writePending() noexcept;

    const PropertyList* objectForKey(std::string_view key) const override;
    void setObjectForKey(PropertyList object, std::string_view key) override;
    void removeObjectForKey(std::string_view key) override;
    bool synchronize() override;
    const PropertyList::Dictionary& dictionaryRepresentation() const override { return values_; }
    std::string lastError() const override { return lastError_; }
    bool setApplicationIdentifier(std::string_view identifier) override;

    /// Where the document is or will be.
    const std::string& path() const noexcept { return path_; }

private:
    using Dictionary = PropertyList::Dictionary;

    void useDocument(std::string_view identifier);
    bool refresh();
    bool readAndWriteLocked();
    bool adoptText(std::string text, std::string& damage);
    void adopt(Dictionary stored);
    bool setAside(LockedDocument& document, std::string_view damage);
    bool write(LockedDocument& document);
    void noteChange(std::string_view key);
    void report(std::string text);

    SystemCalls& calls_;
    std::string directory_;
    std::string path_; ///< empty when there is no directory

    Dictionary values_;
    std::set<std::string, std::less<>> changed_; ///< keys set or removed here since they were last written
    pid_t changedBy_ = 0;                        ///< the process that changed something last

    /// The document as last seen: the same text again needs no second parsing. Empty when there was none; an empty file
    /// is no document.
    std::string seen_;
    std::string lastError_;
};

} // namespace qz::platform
