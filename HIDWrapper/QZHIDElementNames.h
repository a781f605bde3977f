// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace qz::platform {

/// The short names of the Generic Desktop usages, which the caller has made sure of: X to Hatswitch (0x30 to 0x39), and
/// the parts of a direction pad (0x90 to 0x93); absent for any other usage.
std::optional<std::string_view> movingControlBaseName(std::int64_t usage);
std::optional<std::string_view> padPartBaseName(std::int64_t usage);

} // namespace qz::platform
