// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

namespace qz::platform {

/// How many memberships a hand-made device may have at the most: two hundred megabytes of element objects.
inline constexpr std::size_t maximumMemberships = 1U << 20U;

/// Ends the process when an element contains itself, directly or through others, or when there are too many
/// memberships: the layer above, which follows them, would never end. `children[i]` lists the members of element i.
void checkMemberships(const std::vector<std::optional<std::vector<std::size_t>>>& children);

} // namespace qz::platform
