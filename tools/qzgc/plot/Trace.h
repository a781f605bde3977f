// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

namespace qz::tools {

/// How the time of a recording is laid out on a picture that is so many columns wide.
struct TimeScale {
    std::chrono::microseconds span{1}; ///< greater than 0
    int columns = 1;

    /// The column of a time, 0 to `columns` - 1.
    int column(std::chrono::microseconds time) const;
};

/// A value over time, as far as a picture can show it: for each column in which it changed the least, the greatest and
/// the last value. However long a recording is, no more is kept of it.
class Trace {
public:
    struct Column {
        int index;
        double low;
        double high;
        double last;        ///< held from here to the next column
        std::uint32_t seen; ///< which of the values 0 to 31 came up, a bit each
        bool begins;        ///< there was no value before
        bool ends;          ///< there is no value from here on
        bool paused;        ///< there was none for a while within the column

        friend bool operator==(const Column&, const Column&) = default;
    };

    explicit Trace(TimeScale scale) : scale_(scale) {}

    /// From this time on it has this value. Times do not go back.
    void add(std::chrono::microseconds time, double value);
    /// From this time on it has none.
    void end(std::chrono::microseconds time);

    const std::vector<Column>& columns() const noexcept { return columns_; }
    /// Whether it had more than one value.
    bool hasChanged() const noexcept { return hasChanged_; }

private:
    TimeScale scale_;
    std::vector<Column> columns_;
    bool hasChanged_ = false;
};

} // namespace qz::tools
