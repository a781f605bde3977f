// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>

namespace qz::tools {

/// How often which raw values came up. Of very many different ones neighbours are counted together.
class SeenValues {
public:
    static constexpr std::size_t mostGroups = 4096;

    struct Group {
        std::int64_t raw; ///< one of its values
        std::size_t count;

        friend bool operator==(const Group&, const Group&) = default;
    };

    void add(std::int64_t raw);

    bool empty() const noexcept { return count_ == 0; }
    std::size_t count() const noexcept { return count_; }
    std::int64_t least() const noexcept { return least_; }
    std::int64_t greatest() const noexcept { return greatest_; }
    /// Whether each group is a single value.
    bool isExact() const noexcept { return shift_ == 0; }
    /// In the order of the values.
    const std::map<std::int64_t, Group>& groups() const noexcept { return groups_; }

private:
    void mergeNeighbours();

    std::map<std::int64_t, Group> groups_;
    unsigned shift_ = 0; ///< a group holds 2 to this power of values that follow one another
    std::size_t count_ = 0;
    std::int64_t least_ = 0;
    std::int64_t greatest_ = 0;
};

} // namespace qz::tools
