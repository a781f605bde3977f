// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

namespace qz::tools {

/// Finds out which control a user moves or presses to have it bound.
///
/// The first 300 ms are the baseline: what is held then, is on its way or jitters does not count. From then on a
/// control counts when it has gone half the way from where it rested to an end of its travel, and at least a quarter of
/// the whole; it is taken when it is half as far again from its rest as any other. Times are the caller's, and never
/// fall.
class BindingDetector {
public:
    using Time = std::chrono::microseconds;
    static constexpr Time baseline{300'000};

    enum class Kind : std::uint8_t {
        Button,  ///< counts as wholly moved while it is pressed
        Moving,  ///< has a position
        Turning, ///< sends steps in either direction
        Hat,     ///< has a centre outside its range
    };
    struct Control {
        std::int64_t cookie = 0;
        Kind kind = Kind::Button;
        std::int64_t minimum = 0; ///< where its travel ends, in raw values
        std::int64_t maximum = 1;
        bool fits = true;                                 ///< whether it may be bound; others are told alone
        std::optional<std::int64_t> known = std::nullopt; ///< the value before the beginning
    };
    enum class Direction : std::uint8_t { None, ToMinimum, ToMaximum };
    struct Found {
        std::int64_t cookie;
        Direction direction; ///< None for what has no direction
        std::int64_t from;   ///< rest
        std::int64_t to;
        double excursion; ///< in fractions of its travel
    };

    BindingDetector(const std::vector<Control>& controls, Time begin);

    void see(std::int64_t cookie, std::int64_t raw, Time now);

    bool isTakingBaseline(Time now) const noexcept { return now < begin_ + baseline; }

    /// The control that the user means, once that is clear.
    std::optional<Found> found(Time now);
    /// The one that is farthest from its rest, clear or not; nothing when all are at rest.
    std::optional<Found> leader(Time now);
    /// Those that are clearly moved at the same time, so that none can be taken; otherwise none.
    std::vector<std::int64_t> rivals(Time now);
    /// One that is clearly moved and does not fit, while none moves that does.
    std::optional<std::int64_t> misfit(Time now);

private:
    struct Tracked {
        Control control;
        std::optional<std::int64_t> value = std::nullopt;
        std::optional<std::int64_t> rest = std::nullopt;
        std::int64_t noise = 0;
        std::int64_t low = 0; ///< of the values since `since`
        std::int64_t high = 0;
        Time since{0};
        Time last{0};
        bool isPressed = false;
        std::optional<Time> pressed = std::nullopt; ///< when it was pressed last
        int changes = 0;                            ///< of a button during the baseline
        std::int64_t steps = 0;
    };

    void seeSwitch(Tracked& tracked, bool isPressed, Time now);
    void seePosition(Tracked& tracked, std::int64_t raw, Time now);
    void seeSteps(Tracked& tracked, std::int64_t raw, Time now);
    void settle(Time now);
    void settle(Tracked& tracked, Time now);
    static double excursion(const Tracked& tracked, Time now);
    static bool isClear(const Tracked& tracked, Time now);
    static Found describe(const Tracked& tracked, Time now);
    const Tracked* farthest(bool fits, Time now) const;

    std::vector<Tracked> controls_;
    Time begin_;
};

} // namespace qz::tools
