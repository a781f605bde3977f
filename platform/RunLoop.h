// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Export.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace qz::platform {

/// The two modes in which an application runs its event loop. What is scheduled in one mode is held back while the loop
/// runs in the other.
enum class RunLoopMode : std::uint8_t { Default, ModalPanel };

/// Under their platform names: the mode of ordinary operation, and the mode while a modal panel is shown.
inline constexpr RunLoopMode kCFRunLoopDefaultMode = RunLoopMode::Default;
inline constexpr RunLoopMode NSModalPanelRunLoopMode = RunLoopMode::ModalPanel;

/// Something that a run loop serves: one HID manager, for example.
class QZGC_EXPORT RunLoopSource {
public:
    RunLoopSource() = default;
    RunLoopSource(const RunLoopSource&) = delete;
    RunLoopSource& operator=(const RunLoopSource&) = delete;
    virtual ~RunLoopSource();

    /// The descriptor that becomes readable when there is something to do, owned by the source; -1 when the source has
    /// none and wants to be asked at every turn.
    virtual int fileDescriptor() const noexcept = 0;

    /// Called by a loop that has answered false to `RunLoop::usesDescriptors` when that changes: only from now on the
    /// descriptor has to tell of everything. A source that is added later asks the loop itself.
    virtual void descriptorIsUsed() noexcept {}

    /// Whether `perform` finds out itself that there is nothing to do, so that it may be called also when the
    /// descriptor is not readable. A loop with no other source need not ask the system first which of its sources is
    /// ready.
    virtual bool mayBeAskedAnytime() const noexcept { return false; }

    /// Does what there is to do and says how much: the number of events handled. May add and remove sources, this one
    /// included, and may run the loop again; an exception passes through to who runs the loop.
    virtual std::size_t perform() = 0;

    /// The same, but waits for something to do first, at most so long (below 0: without end). Nothing, and then it has
    /// done nothing, when the source cannot wait by itself, or not now. Called by a loop that has no other source: it
    /// saves asking the system twice, what is ready and in which source.
    virtual std::optional<std::size_t> waitAndPerform(int milliseconds);
};

/// The event loop of the thread that uses the library, one set of sources for each mode.
///
/// An application that waits for nothing else calls `runInMode` again and again. Else it lives inside the application's
/// own loop: wait for `fileDescriptor(mode)` to become readable, by any means, then call `dispatch(mode)`. Used on one
/// thread only.
class QZGC_EXPORT RunLoop {
public:
    RunLoop() = default;
    RunLoop(const RunLoop&) = delete;
    RunLoop& operator=(const RunLoop&) = delete;
    virtual ~RunLoop();

    /// Serves `source`, which is not owned and must be removed before it is destroyed, while the loop runs in `mode`.
    /// False when the system has no resources left to wait for it: the loop's descriptor tells nothing of it yet, but
    /// every turn looks whether it is ready, waits for it too where it waits, and tries again. Adding a source again to
    /// a mode tries that as well, and changes nothing else.
    virtual bool addSource(RunLoopSource& source, RunLoopMode mode) = 0;

    /// No longer serves `source` in `mode`; not even later in the turn that is in progress.
    virtual void removeSource(RunLoopSource& source, RunLoopMode mode) = 0;

    /// Takes no notice of the descriptor of a source that cannot do anything at present, and does so again. Neither can
    /// fail for want of resources. A loop that asks its sources at every turn has nothing to do here.
    virtual void suspendSource(RunLoopSource& source, RunLoopMode mode);
    virtual void resumeSource(RunLoopSource& source, RunLoopMode mode);

    /// Whether the loop, or who runs it, may wait for the descriptors of its sources in `mode`. While it does not, all
    /// waiting is left to a source's `waitAndPerform`, and a source can do without what its descriptor costs.
    virtual bool usesDescriptors(RunLoopMode /*mode*/) const noexcept { return true; }

    /// A descriptor that is readable while `dispatch(mode)` has something to do, owned by the loop; -1 for a loop that
    /// is driven by hand. A program that waits in `runInMode` alone is served a little sooner if it never asks for it.
    virtual int fileDescriptor(RunLoopMode mode) const noexcept = 0;

    /// One turn: handles what is ready in `mode`, never waits, and returns the number of events handled.
    virtual std::size_t dispatch(RunLoopMode mode) = 0;

    /// One turn that waits until something is ready in `mode`, at most so long (below 0: without end), and handles it
    /// like `dispatch`. May end earlier with nothing handled, as when the process gets a signal. A loop without a
    /// descriptor never waits.
    virtual std::size_t runInMode(RunLoopMode mode, std::chrono::milliseconds timeout);
};

/// A run loop as the HID operations name it.
using CFRunLoopRef = RunLoop*;

} // namespace qz::platform
