// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Platform.h"
#include "platform/report/Recording.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qz::tools {

using Clock = std::chrono::steady_clock;

/// Where controllers and their input come from: this machine, or a recording. The preferences are this user's in both.
class Source {
public:
    Source() = default;
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;
    virtual ~Source() = default;

    virtual platform::Platform& platform() = 0;

    /// A descriptor that is readable while `turn` has something to do; -1 when only `due` tells.
    virtual int fileDescriptor() = 0;

    /// When there will be something to do without the descriptor's saying so; nothing: never.
    virtual std::optional<Clock::time_point> due() const = 0;

    /// Does what is ready or due, and answers how much that was.
    virtual std::size_t turn() = 0;

    /// Whether nothing can come any more.
    virtual bool hasEnded() const = 0;

    /// When what is being delivered happened, since the source began. In a recording what its events say.
    virtual std::chrono::microseconds time() const = 0;
};

/// The controllers that are attached to this machine.
std::unique_ptr<Source> makeMachineSource();

enum class Pace : std::uint8_t {
    RealTime, ///< as far apart as in the recording
    Fast,     ///< one thing after the other, with no waiting
};

/// The devices of a recording on the virtual back end. What they are and send goes through the whole library.
/// It ends before what happens later than `limit` after the first event.
std::unique_ptr<Source> makeRecordingSource(platform::Recording recording, Pace pace,
                                            std::optional<std::chrono::duration<double>> limit = std::nullopt);

/// When each event of a recording happens, counted from the first. One that lies before its predecessor counts as
/// simultaneous with it.
std::vector<std::chrono::microseconds> eventTimes(const platform::Recording& recording);
/// From the first event to the last.
std::chrono::microseconds durationOf(const platform::Recording& recording);

/// Reads a recording from a file ("-": standard input), the latest one from memory. Throws FileError.
platform::Recording readRecordingFile(const std::string& name);
/// The recording that the text of the file `name` holds. Throws FileError.
platform::Recording recordingIn(std::string_view text, const std::string& name);

} // namespace qz::tools
