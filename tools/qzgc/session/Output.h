// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/ExitStatus.h"

#include <functional>
#include <string>
#include <string_view>

namespace qz::tools {

/// "cannot write to standard output: No space left on device; make room": with what to do where that is known. `error`
/// is an errno; 0 where there is none.
std::string cannotWrite(const std::string& name, int error);

/// Brings out what has been written to the standard output; failure, with a message, when it did not get there.
ExitStatus finishOutput();

/// A descriptor that text leaves the process on at once: who reads it misses nothing, and nothing waits in a buffer
/// when the process ends.
class Output {
public:
    /// Waits until the descriptor can be written to; false when the rest is not wanted any more.
    using Wait = std::function<bool(int fileDescriptor)>;

    /// `name` is what messages call it. The descriptor stays the caller's.
    Output(int fileDescriptor, std::string name, Wait wait = waitUntilWritable)
        : fileDescriptor_(fileDescriptor), name_(std::move(name)), wait_(std::move(wait)) {}

    /// False when nobody reads it any more, which is no failure (SIGPIPE must be ignored), or the wait was given up.
    /// From then on nothing is written, so that what has been written is a beginning of the whole. A text of up to
    /// PIPE_BUF bytes gets out whole or not at all. Throws Failure.
    bool write(std::string_view text);

    /// Whether what reads it can end before we do, so that the descriptor is to be watched.
    bool isPipe() const;

private:
    static bool waitUntilWritable(int fileDescriptor);

    int fileDescriptor_;
    std::string name_;
    Wait wait_;
    bool isOver_ = false;
};

} // namespace qz::tools
