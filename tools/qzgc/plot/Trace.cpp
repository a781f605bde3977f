// SPDX-License-Identifier: MIT
#include "tools/qzgc/plot/Trace.h"

#include <algorithm>

namespace qz::tools {

namespace {

std::uint32_t bitOf(double value) {
    return value >= 0 && value < 32 ? 1U << static_cast<unsigned>(value) : 0;
}

} // namespace

int TimeScale::column(std::chrono::microseconds time) const {
    const double part = static_cast<double>(time.count()) / static_cast<double>(span.count());
    return static_cast<int>(std::clamp(part * columns, 0.0, static_cast<double>(columns - 1)));
}

void Trace::add(std::chrono::microseconds time, double value) {
    const int index = scale_.column(time);
    hasChanged_ = hasChanged_ || (!columns_.empty() && columns_.back().last != value);
    if (columns_.empty() || columns_.back().index != index) {
        const bool begins = columns_.empty() || columns_.back().ends;
        columns_.push_back({index, value, value, value, bitOf(value), begins, false, false});
        return;
    }
    Column& column = columns_.back();
    column.low = std::min(column.low, value);
    column.high = std::max(column.high, value);
    column.last = value;
    column.seen |= bitOf(value);
    column.paused = column.paused || column.ends;
    column.ends = false;
}

void Trace::end(std::chrono::microseconds time) {
    if (columns_.empty() || columns_.back().ends) {
        return;
    }
    const int index = scale_.column(time);
    if (columns_.back().index != index) {
        const double last = columns_.back().last;
        columns_.push_back({index, last, last, last, bitOf(last), false, true, false});
    }
    columns_.back().ends = true;
}

} // namespace qz::tools
