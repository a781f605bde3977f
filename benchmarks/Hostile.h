// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace qz::bench {

/// A descriptor of 4,096 bytes, none more, that declares as much of something as the limits let it.
struct Hostile {
    std::string_view name;
    std::vector<std::uint8_t> descriptor;
};
std::vector<Hostile> hostileDescriptors();

} // namespace qz::bench
