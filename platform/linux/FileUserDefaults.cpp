// SPDX-License-Identifier: MIT
#include "platform/linux/FileUserDefaults.h"

#include "platform/linux/PreferencesPath.h"
#include "platform/linux/PropertyListJSON.h"

#include <unistd.h>
#include <utility>

namespace qz::platform {

FileUserDefaults::FileUserDefaults(SystemCalls& calls) : FileUserDefaults(preferencesDirectory(), {}, calls) {}

FileUserDefaults::FileUserDefaults(std::string directory, std::string_view identifier, SystemCalls& calls)
    : calls_(calls), directory_(std::move(directory)) {
    useDocument(identifier);
}

void FileUserDefaults::writePending() noexcept {
    if (changed_.empty() || changedBy_ != ::getpid()) {
        return;
    }
    try {
        synchronize();
    } catch (...) { // memory has run out: what is on the disk stays as it is
    }
}

void FileUserDefaults::useDocument(std::string_view identifier) {
    path_ = directory_.empty() ? std::string() : directory_ + "/" + documentName(identifier);
    values_.clear();
    seen_.clear();
    synchronize();
}

bool FileUserDefaults::setApplicationIdentifier(std::string_view identifier) {
    lastError_.clear();
    if (documentName(identifier).size() > longestDocumentName) {
        report("the application identifier is too long for a file name; choose a shorter one");
        return false;
    }
    if (!changed_.empty() && !synchronize()) {
        return false;
    }
    useDocument(identifier);
    return true;
}

const PropertyList* FileUserDefaults::objectForKey(std::string_view key) const {
    const auto found = values_.find(key);
    return found != values_.end() ? &found->second : nullptr;
}

void FileUserDefaults::setObjectForKey(PropertyList object, std::string_view key) {
    values_.insert_or_assign(std::string(key), std::move(object));
    noteChange(key);
}

void FileUserDefaults::removeObjectForKey(std::string_view key) {
    if (const auto found = values_.find(key); found != values_.end()) {
        noteChange(key);
        values_.erase(found);
    }
}

void FileUserDefaults::noteChange(std::string_view key) {
    changed_.emplace(key);
    changedBy_ = ::getpid();
}

/// Adds to what went wrong, on one line: paths may hold line breaks.
void FileUserDefaults::report(std::string text) {
    for (char& character : text) {
        const auto byte = static_cast<unsigned char>(character);
        character = byte < 0x20 || byte == 0x7f ? '?' : character;
    }
    lastError_ += (lastError_.empty() ? "" : "; ") + text;
}

bool FileUserDefaults::synchronize() {
    lastError_.clear();
    if (path_.empty()) {
        report("there is no home directory to keep preferences in; set HOME or XDG_CONFIG_HOME");
        return false;
    }
    return changed_.empty() ? refresh() : readAndWriteLocked();
}

/// Reads the document again, without a lock.
bool FileUserDefaults::refresh() {
    std::string text;
    std::string problem;
    switch (readDocument(calls_, path_, seen_, text, problem)) {
    case DocumentReading::failed:
        report(std::move(problem));
        return false;
    case DocumentReading::absent:
        adopt(Dictionary{});
        return true;
    case DocumentReading::unchanged:
        return true;
    case DocumentReading::complete:
        break;
    }
    if (adoptText(std::move(text), problem)) {
        return true;
    }
    report(path_ + " is damaged (" + problem + ")");
    return readAndWriteLocked();
}

bool FileUserDefaults::readAndWriteLocked() {
    std::string problem;
    const std::unique_ptr<LockedDocument> document = LockedDocument::lock(calls_, path_, problem);
    if (document == nullptr) {
        report(std::move(problem));
        return false;
    }
    lastError_.clear(); // what was read before the lock was held counts no longer
    std::string text;
    switch (readDocument(calls_, document->path(), seen_, text, problem)) {
    case DocumentReading::failed:
        report(std::move(problem));
        return false;
    case DocumentReading::absent:
        adopt(Dictionary{});
        break;
    case DocumentReading::unchanged:
        break;
    case DocumentReading::complete:
        if (!adoptText(std::move(text), problem) && !setAside(*document, problem)) {
            return false;
        }
        break;
    }
    return changed_.empty() || write(*document);
}

/// Takes over the text of the document. False, with the reason in `damage`, when it cannot be understood.
bool FileUserDefaults::adoptText(std::string text, std::string& damage) {
    JSONReading reading = propertyListFromJSON(text);
    Dictionary* const stored = reading.value ? reading.value->dictionary() : nullptr;
    if (stored == nullptr) {
        damage = reading.value ? "not an object" : std::move(reading.error);
        return false;
    }
    adopt(std::move(*stored));
    seen_ = std::move(text);
    return true;
}

/// Takes over what is stored; what was changed here stays changed.
void FileUserDefaults::adopt(Dictionary stored) {
    for (const std::string& key : changed_) {
        stored.erase(key);
        if (auto own = values_.extract(key)) {
            stored.insert(std::move(own));
        }
    }
    values_ = std::move(stored);
    seen_.clear();
}

bool FileUserDefaults::setAside(LockedDocument& document, std::string_view damage) {
    std::string problem;
    const std::string newPath = document.setAside(problem);
    report(document.path() + " is damaged (" + std::string(damage) + ")");
    if (newPath.empty()) {
        report(std::move(problem));
        return false;
    }
    report("it is kept as " + newPath);
    // What this object has read of the document before it was damaged goes into the new one.
    for (const auto& [key, value] : values_) {
        noteChange(key);
    }
    seen_.clear();
    return true;
}

bool FileUserDefaults::write(LockedDocument& document) {
    // The memory of the text before becomes that of the new one. Should writing fail, the document is read and parsed
    // once more by the next synchronisation.
    JSONWriting writing = jsonFromDictionary(values_, std::exchange(seen_, {}));
    std::string problem;
    if (!document.replace(writing.text, problem)) {
        report(std::move(problem));
        return false;
    }
    changed_.clear();
    seen_ = std::move(writing.text);
    if (!writing.exact) {
        report(document.path() + " cannot hold some values as they are: numbers that are not finite and deep nesting "
                                 "became null, ill-formed UTF-8 became U+FFFD");
        // From now on every process, this one too, sees the same.
        if (JSONReading reading = propertyListFromJSON(seen_); reading.value) {
            values_ = std::move(*reading.value->dictionary());
        }
    }
    return true;
}

} // namespace qz::platform
