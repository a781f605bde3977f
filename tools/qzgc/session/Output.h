// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/ExitStatus.h"

#include <string>
#include <string_view>

namespace qz::tools {

/// Brings out what has been written to the standard output; failure, with a message, when it did not get there.
ExitStatus finishOutput();

/// A descriptor that text leaves the process on at once: who reads it misses nothing, and nothing waits in a buffer
/// when the process ends.
class Output {
public:
    /// `name` is what messages call it. The descriptor stays the caller's.
    Output(int fileDescriptor, std::string name) : fileDescriptor_(fileDescriptor), name_(std::move(name)) {}

    /// False when nobody reads it any more, which is no failure: SIGPIPE must be ignored. Throws Failure.
    bool write(std::string_view text);

    /// Whether what reads it can end before we do, so that the descriptor is to be watched.
    bool isPipe() const;

private:
    void waitUntilWritable() const;

    int fileDescriptor_;
    std::string name_;
};

} // namespace qz::tools
