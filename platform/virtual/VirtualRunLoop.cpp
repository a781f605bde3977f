// SPDX-License-Identifier: MIT
#include "platform/virtual/VirtualRunLoop.h"

#include <algorithm>

namespace qz::platform {

bool VirtualRunLoop::addSource(RunLoopSource& source, RunLoopMode mode) {
    if (std::ranges::find(sources(mode), &source) == sources(mode).end()) {
        sources(mode).push_back(&source);
    }
    return true;
}

void VirtualRunLoop::removeSource(RunLoopSource& source, RunLoopMode mode) {
    std::erase(sources(mode), &source);
}

std::size_t VirtualRunLoop::dispatch(RunLoopMode mode) {
    std::size_t handled = 0;
    // A copy, because a source may add and remove sources; one that has been removed meanwhile may be gone.
    for (RunLoopSource* const source : std::vector(sources(mode))) {
        if (std::ranges::find(sources(mode), source) != sources(mode).end()) {
            handled += source->perform();
        }
    }
    return handled;
}

} // namespace qz::platform
