// SPDX-License-Identifier: MIT
#include "tools/qzgc/plot/SeenValues.h"

#include <algorithm>
#include <utility>

namespace qz::tools {

void SeenValues::add(std::int64_t raw) {
    least_ = empty() ? raw : std::min(least_, raw);
    greatest_ = empty() ? raw : std::max(greatest_, raw);
    ++count_;
    ++groups_.try_emplace(raw >> shift_, Group{raw, 0}).first->second.count;
    while (groups_.size() > mostGroups) {
        mergeNeighbours();
    }
}

void SeenValues::mergeNeighbours() {
    std::map<std::int64_t, Group> merged;
    for (const auto& [number, group] : groups_) {
        merged.try_emplace(number >> 1U, Group{group.raw, 0}).first->second.count += group.count;
    }
    groups_ = std::move(merged);
    ++shift_;
}

} // namespace qz::tools
