// SPDX-License-Identifier: MIT
#pragma once

#include "platform/RunLoop.h"

#include <array>
#include <vector>

namespace qz::platform {

/// A run loop that is driven by hand: each `dispatch` asks every source of the mode once, in the order of their adding.
class QZGC_EXPORT VirtualRunLoop final : public RunLoop {
public:
    bool addSource(RunLoopSource& source, RunLoopMode mode) override;
    void removeSource(RunLoopSource& source, RunLoopMode mode) override;
    int fileDescriptor(RunLoopMode /*mode*/) const noexcept override { return -1; }
    std::size_t dispatch(RunLoopMode mode) override;

private:
    std::vector<RunLoopSource*>& sources(RunLoopMode mode) { return sources_[static_cast<std::size_t>(mode)]; }

    std::array<std::vector<RunLoopSource*>, 2> sources_;
};

} // namespace qz::platform
