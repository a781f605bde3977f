// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/session/Calibration.h"

#include <chrono>
#include <functional>

namespace qz::tools {

/// Leads a user through a calibration. It draws nothing and waits for nothing; times are the caller's, and never fall.
class CalibrationGuide {
public:
    using Time = std::chrono::microseconds;
    using Look = std::function<std::vector<CalibrationRow>()>;

    enum class Step : std::uint8_t {
        Moving,     ///< everything to its ends
        LettingGo,  ///< until all values are still
        Confirming, ///< what would be stored
    };

    /// All values have to be still for this long.
    static constexpr Time stillness{1'000'000};

    explicit CalibrationGuide(Look look);

    /// A key as Screen::takeKey answers it.
    void press(int key, Time now);
    /// Looks where the controls are.
    void tick(Time now);

    Step step() const noexcept { return step_; }
    const std::vector<CalibrationRow>& rows() const noexcept { return rows_; }
    bool hasEnded() const noexcept { return hasEnded_; }
    bool isConfirmed() const noexcept { return isConfirmed_; }
    /// How many lines the user has scrolled down; the view keeps it within what there is.
    int scrolled() const noexcept { return scrolled_; }
    void keepScrolledBelow(int end) noexcept;

    /// The user can see the step; until then no key leads on from it.
    void noteShown() noexcept { isShown_ = true; }

    /// What the user is to do.
    std::string instruction() const;

private:
    void go(Step step, Time now);
    bool isStillWithin(std::int64_t part) const;
    void cancel();

    Look look_;
    Step step_ = Step::Moving;
    std::vector<CalibrationRow> rows_;
    std::vector<std::optional<std::int64_t>> stillAt_; ///< the values that the stillness is measured from
    Time stillSince_{0};
    bool waits_ = true; ///< for stillness, because the user does
    std::string said_;
    int scrolled_ = 0;
    bool isShown_ = false;
    bool hasEnded_ = false;
    bool isConfirmed_ = false;
};

} // namespace qz::tools
