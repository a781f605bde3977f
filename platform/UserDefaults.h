// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Export.h"
#include "platform/PropertyList.h"

#include <string>
#include <string_view>

namespace qz::platform {

/// The application's preferences: property lists under string keys.
///
/// What is set is seen by the next read at once; it reaches the disk with `synchronize`, at the latest at the orderly
/// end of the process. Used on one thread only; several processes may share one application's preferences.
class QZGC_EXPORT UserDefaults {
public:
    UserDefaults() = default;
    UserDefaults(const UserDefaults&) = delete;
    UserDefaults& operator=(const UserDefaults&) = delete;
    virtual ~UserDefaults();

    /// The value stored under `key`, or null; valid until the store is next written or synchronised.
    virtual const PropertyList* objectForKey(std::string_view key) const = 0;

    /// The dictionary stored under `key`; null when there is none or the value is of another kind.
    const PropertyList::Dictionary* dictionaryForKey(std::string_view key) const;

    /// Stores `object` under `key` in place of what stood there.
    virtual void setObjectForKey(PropertyList object, std::string_view key) = 0;

    /// Removes `key` and its value; nothing happens when it is not there.
    virtual void removeObjectForKey(std::string_view key) = 0;

    /// Brings memory and disk together at once: keys changed here are written, keys changed by others are read. False
    /// when that failed; `lastError` then says why, and nothing in memory or on disk is lost.
    virtual bool synchronize() = 0;

    /// Every stored value by its key.
    virtual const PropertyList::Dictionary& dictionaryRepresentation() const = 0;

    /// What went wrong in the last operation that touched the disk, one line for a person; empty when nothing did. It
    /// is not empty either when the operation succeeded but a person should know something: that a damaged file was set
    /// aside, or that the store cannot hold a value as it is.
    virtual std::string lastError() const = 0;

    /// Makes these the preferences of the application `identifier`, such as "org.example.racer"; an empty one means the
    /// program's name, which it is at first. An application calls this before anything is stored or read.
    ///
    /// Changes not yet synchronised go to the application they were made for. False, and nothing happens, when that
    /// failed or when the identifier is too long for a file name; `lastError` says which. What is
    /// kept in memory alone has no application: then true, and nothing happens.
    virtual bool setApplicationIdentifier(std::string_view identifier);
};

} // namespace qz::platform
