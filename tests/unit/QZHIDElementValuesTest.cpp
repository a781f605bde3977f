// SPDX-License-Identifier: MIT
#include "tests/support/ElementFixture.h"
#include "tests/support/ElementHeapMeter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace qz::platform {
namespace {

using Array = PropertyList::Array;
using Dictionary = PropertyList::Dictionary;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

// The smallest step around the quarters of the scale of which all sums and differences are exact.
constexpr double step = 0x1p-53;

constexpr double above(double value) {
    return value + step;
}

constexpr double below(double value) {
    return value - step;
}

/// A moving control with this observed range and rest point, whatever its logical range.
void observe(QZHIDElement& element, std::int64_t min, std::int64_t max, std::int64_t neutral) {
    element.setObservedMin(min);
    element.setObservedMax(max);
    element.setObservedNeutral(neutral);
}

// Range mapping

double map(std::int64_t low, std::int64_t high, double a, double b, std::int64_t raw) {
    return QZHIDElement::normalizedValueInRange(low, high, a, b, raw);
}

TEST(RangeMapping, TheScaleRunsFromZeroToOneAroundOneHalf) {
    EXPECT_EQ(QZHIDElement::normalizedMin(), 0.0);
    EXPECT_EQ(QZHIDElement::normalizedNeutral(), 0.5);
    EXPECT_EQ(QZHIDElement::normalizedMax(), 1.0);
}

TEST(RangeMapping, MapsLinearly) {
    EXPECT_EQ(map(0, 4, 0.0, 1.0, 1), 0.25);
    EXPECT_EQ(map(-2, 2, 0.0, 1.0, 1), 0.75);
    EXPECT_EQ(map(10, 20, -1.0, 3.0, 15), 1.0);
    EXPECT_EQ(map(0, 7, 0.0, 1.0, 2), 0.2857142857142857);
}

TEST(RangeMapping, DividesThenMultipliesThenAdds) {
    // Each of these comes out otherwise when the product comes before the division, when two operations are fused into
    // one rounding, or when the two ends are weighted and summed.
    EXPECT_EQ(map(0, 14, 0.1, 0.7, 9), 0.48571428571428577);
    EXPECT_EQ(map(0, 14, 0.1, 0.4, 13), 0.37857142857142867);
    EXPECT_EQ(map(0, 17, 0.1, 0.4, 6), 0.20588235294117652);
    EXPECT_EQ(map(100, 117, 0.1, 0.4, 106), 0.20588235294117652);
}

TEST(RangeMapping, ClampsToTheNearerEnd) {
    EXPECT_EQ(map(0, 255, 0.0, 0.5, -1), 0.0);
    EXPECT_EQ(map(0, 255, 0.0, 0.5, 256), 0.5);
    EXPECT_EQ(map(0, 255, 0.25, 0.5, int64Min), 0.25);
    EXPECT_EQ(map(0, 255, 0.25, 0.5, int64Max), 0.5);
    EXPECT_EQ(map(0, 255, 0.25, 0.5, 0), 0.25);
    EXPECT_EQ(map(0, 255, 0.25, 0.5, 255), 0.5);
}

TEST(RangeMapping, AnEmptyOrInvertedRangeGivesTheLowEndWhateverTheValue) {
    for (const std::int64_t raw : {int64Min, std::int64_t{-1}, std::int64_t{0}, std::int64_t{10}, int64Max}) {
        EXPECT_EQ(map(10, 10, 0.25, 0.75, raw), 0.25);
        EXPECT_EQ(map(11, 10, 0.25, 0.75, raw), 0.25);
        EXPECT_EQ(map(int64Max, 0, 0.25, 0.75, raw), 0.25);
        EXPECT_EQ(map(int64Min, int64Min, 0.25, 0.75, raw), 0.25);
        EXPECT_EQ(map(0, int64Min, 0.25, 0.75, raw), 0.25);
    }
    EXPECT_EQ(map(10, 11, 0.25, 0.75, 11), 0.75);
}

TEST(RangeMapping, ComparesWithTheHighEndFirstWhenTheScaleIsInverted) {
    EXPECT_EQ(map(0, 4, 1.0, 0.0, 0), 0.0);
    EXPECT_EQ(map(0, 4, 1.0, 0.0, 1), 0.0);
    EXPECT_EQ(map(0, 4, 1.0, 0.0, 4), 1.0);
    EXPECT_EQ(map(0, 4, 0.5, 0.5, 3), 0.5);
}

TEST(RangeMapping, ReadsNothingOfTheElementItIsAskedOn) {
    const LooseElement element(xAxis(16, 5, 5));
    EXPECT_EQ(element->normalizedValueInRange(0, 4, 0.0, 1.0, 1), 0.25);
}

TEST(RangeMapping, WorksToTheEndsOf64Bits) {
    EXPECT_EQ(map(0, int64Max, 0.0, 1.0, int64Max), 1.0);
    EXPECT_EQ(map(0, int64Max, 0.0, 1.0, int64Max / 2 + 1), 0.5);
    EXPECT_EQ(map(int64Min, -1, 0.0, 1.0, int64Min), 0.0);
    EXPECT_EQ(map(int64Min, -1, 0.0, 1.0, -1), 1.0);
    EXPECT_EQ(map(int64Min / 2, int64Max / 2, 0.0, 1.0, 0), 0.5);
    EXPECT_EQ(map(-1, int64Max - 1, 0.0, 1.0, int64Max - 1), 1.0);
}

TEST(RangeMappingDeathTest, AnOverflowOfTheSpanEndsTheProcess) {
    const auto killed = ::testing::KilledBySignal(SIGABRT);
    EXPECT_EXIT(map(int64Min, int64Max, 0.0, 1.0, 0), killed, overflowLine);
    EXPECT_EXIT(map(int64Min, 0, 0.0, 1.0, 0), killed, overflowLine);
    EXPECT_EXIT(map(-1, int64Max, 0.0, 1.0, 0), killed, overflowLine);
    // Inverted, but the subtraction comes before the question.
    EXPECT_EXIT(map(int64Max, int64Min, 0.0, 1.0, 0), killed, overflowLine);
    EXPECT_EXIT(map(1, int64Min, 0.0, 1.0, 0), killed, overflowLine);
}

TEST(RangeMappingDeathTest, AnOverflowOfTheOffsetEndsTheProcess) {
    const auto killed = ::testing::KilledBySignal(SIGABRT);
    EXPECT_EXIT(map(1, 8, 0.0, 1.0, int64Min), killed, overflowLine);
    EXPECT_EXIT(map(-8, -1, 0.0, 1.0, int64Max), killed, overflowLine);
}

// Normalisation

TEST(NormalizedValue, MapsAnAxisInTwoHalvesAroundItsRestPoint) {
    const LooseElement axis(xAxis(16, 0, 255));
    EXPECT_EQ(axis->normalizedValue(0), 0.0);
    EXPECT_EQ(axis->normalizedValue(64), 0.25196850393700787);
    EXPECT_EQ(axis->normalizedValue(127), 0.5);
    EXPECT_EQ(axis->normalizedValue(191), 0.75);
    EXPECT_EQ(axis->normalizedValue(255), 1.0);
    EXPECT_EQ(axis->normalizedValue(-3), 0.0);
    EXPECT_EQ(axis->normalizedValue(300), 1.0);
}

TEST(NormalizedValue, UsesTheStoredCalibration) {
    const ElementHost host(std::vector{xAxis(16, 0, 1023)},
                           Dictionary{{std::string(calibrationKey), Dictionary{{"16", Array{400, 700, 512}}}}});
    EXPECT_EQ(host.element()->normalizedValue(400), 0.0);
    EXPECT_EQ(host.element()->normalizedValue(456), 0.25);
    EXPECT_EQ(host.element()->normalizedValue(512), 0.5);
    EXPECT_EQ(host.element()->normalizedValue(606), 0.75);
    EXPECT_EQ(host.element()->normalizedValue(700), 1.0);
    EXPECT_EQ(host.element()->normalizedValue(0), 0.0);
    EXPECT_EQ(host.element()->normalizedValue(1023), 1.0);
}

TEST(NormalizedValue, IsLinearWhenTheRestPointIsNotStrictlyInside) {
    const LooseElement axis(xAxis(16, 0, 1023));
    for (const std::int64_t neutral :
         {int64Min, std::int64_t{-1}, std::int64_t{0}, std::int64_t{1023}, std::int64_t{1024}, int64Max}) {
        SCOPED_TRACE(neutral);
        axis->setObservedNeutral(neutral);
        EXPECT_EQ(axis->normalizedValue(0), 0.0);
        EXPECT_EQ(axis->normalizedValue(512), 0.5004887585532747);
        EXPECT_EQ(axis->normalizedValue(1023), 1.0);
    }
}

TEST(NormalizedValue, TakesARestPointNextToAnEnd) {
    const LooseElement axis(xAxis(16, 0, 1023));
    axis->setObservedNeutral(1);
    EXPECT_EQ(axis->normalizedValue(0), 0.0);
    EXPECT_EQ(axis->normalizedValue(1), 0.5);
    EXPECT_EQ(axis->normalizedValue(512), 0.75);
    axis->setObservedNeutral(1022);
    EXPECT_EQ(axis->normalizedValue(511), 0.25);
    EXPECT_EQ(axis->normalizedValue(1022), 0.5);
    EXPECT_EQ(axis->normalizedValue(1023), 1.0);
}

TEST(NormalizedValue, MapsAThrottleInTwoHalvesToo) {
    const LooseElement slider(throttle(19, 0, 255));
    EXPECT_EQ(slider->normalizedValue(127), 0.5);
    EXPECT_EQ(slider->normalizedValue(191), 0.75);
}

TEST(NormalizedValue, MapsEverythingElseLinearly) {
    const LooseElement push(button(1));
    EXPECT_EQ(push->normalizedValue(0), 0.0);
    EXPECT_EQ(push->normalizedValue(1), 1.0);

    const LooseElement analogue(elementOf(1, QZHIDElementTypeMisc, 0x09, 1, 0, 255));
    EXPECT_EQ(analogue->observedNeutral(), 127);
    EXPECT_EQ(analogue->normalizedValue(127), 0.4980392156862745);
    observe(*analogue, 0, 4, 1);
    EXPECT_EQ(analogue->normalizedValue(1), 0.25);
    EXPECT_EQ(analogue->normalizedValue(2), 0.5);
}

TEST(NormalizedValue, TakesTheNullPositionOfAHatToAnEnd) {
    const LooseElement zeroBased(hat(1, 0, 7));
    EXPECT_EQ(zeroBased->normalizedValue(2), 0.2857142857142857);
    EXPECT_EQ(zeroBased->normalizedValue(7), 1.0);
    EXPECT_EQ(zeroBased->normalizedValue(8), 1.0);
    const LooseElement oneBased(hat(2, 1, 8));
    EXPECT_EQ(oneBased->normalizedValue(0), 0.0);
    EXPECT_EQ(oneBased->normalizedValue(1), 0.0);
    EXPECT_EQ(oneBased->normalizedValue(8), 1.0);
}

TEST(NormalizedValue, OfAnEmptyOrInvertedRangeIsZero) {
    for (const VirtualElement& shape :
         {xAxis(16, 7, 7), xAxis(16, 8, 7), hat(1, 7, 7), hat(1, 7, 0), button(1), throttle(2, 0, 0)}) {
        const LooseElement element(shape);
        if (shape.usagePage == 0x09) {
            observe(*element, 1, 1, 1);
        }
        for (const std::int64_t raw : {int64Min, std::int64_t{0}, std::int64_t{7}, std::int64_t{8}, int64Max}) {
            EXPECT_EQ(element->normalizedValue(raw), 0.0);
        }
    }
}

TEST(NormalizedValue, OfAnInvertedOrEmptyStoredRangeIsZero) {
    const ElementHost host(
        std::vector{xAxis(16), xAxis(17), xAxis(18)},
        Dictionary{{std::string(calibrationKey),
                    Dictionary{{"16", Array{252, 3, 127}}, {"17", Array{9, 9, 9}}, {"18", Array{10, 20, 20}}}}});
    for (const std::int64_t raw : {0, 3, 9, 127, 252, 255}) {
        EXPECT_EQ(host.element(0)->normalizedValue(raw), 0.0);
        EXPECT_EQ(host.element(1)->normalizedValue(raw), 0.0);
    }
    EXPECT_EQ(host.element(2)->normalizedValue(15), 0.5);
    EXPECT_EQ(host.element(2)->normalizedValue(20), 1.0);
}

TEST(NormalizedValue, FollowsTheObservedRangeAtOnceAndNothingElse) {
    const ElementHost host(std::vector{xAxis(16, 0, 100), button(17)});
    QZHIDElement& axis = *host.element();
    EXPECT_EQ(axis.normalizedValue(75), 0.75);
    observe(axis, 0, 200, 150);
    EXPECT_EQ(axis.normalizedValue(75), 0.25);
    axis.setObservedNeutral(75);
    EXPECT_EQ(axis.normalizedValue(75), 0.5);

    axis.setCalibrationMin(70);
    axis.setCalibrationMax(80);
    axis.setHysteresis(1.0);
    axis.setTwoState(true);
    axis.setLastReportedValue(0.125);
    host.device->startLimitedValueReportingWithHysteresis(1.0);
    EXPECT_EQ(axis.normalizedValue(75), 0.5);
    EXPECT_EQ(axis.normalizedValue(200), 1.0);
    EXPECT_EQ(axis.lastReportedValue(), 0.125);
}

TEST(NormalizedValue, MapsRangesAtTheEndsOf64Bits) {
    const LooseElement axis(xAxis(16, 0, 255));
    observe(*axis, -int64Max, int64Max, 0);
    EXPECT_EQ(axis->normalizedValue(-int64Max), 0.0);
    EXPECT_EQ(axis->normalizedValue(0), 0.5);
    EXPECT_EQ(axis->normalizedValue(int64Max), 1.0);
    EXPECT_EQ(axis->normalizedValue(int64Max / 2 + 1), 0.75);
    observe(*axis, int64Min, int64Max, -1);
    EXPECT_EQ(axis->normalizedValue(int64Min), 0.0);
    EXPECT_EQ(axis->normalizedValue(-1), 0.5);
    observe(*axis, int64Min, int64Max, 0);
    EXPECT_EQ(axis->normalizedValue(0), 0.5);
    EXPECT_EQ(axis->normalizedValue(int64Max), 1.0);
}

TEST(NormalizedValueDeathTest, AnOverflowOfTheSpanEndsTheProcess) {
    const auto killed = ::testing::KilledBySignal(SIGABRT);
    const LooseElement axis(xAxis(16, 0, 255));
    observe(*axis, int64Min, int64Max, 0);
    EXPECT_EXIT(axis->normalizedValue(-1), killed, overflowLine);
    observe(*axis, int64Min, int64Max, -1);
    EXPECT_EXIT(axis->normalizedValue(0), killed, overflowLine);
    observe(*axis, int64Min, int64Max, int64Max);
    EXPECT_EXIT(axis->normalizedValue(0), killed, overflowLine);
    const LooseElement wideHat(hat(1, int64Min, int64Max));
    EXPECT_EXIT(wideHat->normalizedValue(0), killed, overflowLine);
    EXPECT_EXIT(wideHat->neutralValue(), killed, overflowLine);
}

TEST(NormalizedValueDeathTest, AnOverflowOfTheOffsetEndsTheProcess) {
    const auto killed = ::testing::KilledBySignal(SIGABRT);
    EXPECT_EXIT(LooseElement(hat(1, 1, 8))->normalizedValue(int64Min), killed, overflowLine);
    EXPECT_EXIT(LooseElement(hat(1, -8, -1))->normalizedValue(int64Max), killed, overflowLine);
    const LooseElement axis(xAxis(16, 0, 255));
    observe(*axis, 10, 30, 20);
    EXPECT_EXIT(axis->normalizedValue(int64Min), killed, overflowLine);
    observe(*axis, -30, -10, -20);
    EXPECT_EXIT(axis->normalizedValue(int64Max), killed, overflowLine);
}

TEST(NormalizedValueDeathTest, AStoredRangeWiderThan64BitsEndsTheProcessWithTheFirstValueOnly) {
    const ElementHost host(std::vector{xAxis(16)},
                           Dictionary{{std::string(calibrationKey), Dictionary{{"16", Array{int64Min, int64Max, 0}}}}});
    EXPECT_EQ(host.element()->normalizedValue(5), 0.5);
    EXPECT_EXIT(host.element()->normalizedValue(-5), ::testing::KilledBySignal(SIGABRT), overflowLine);
}

/// The mapping once more, as plainly as it can be written; no compiler fuses over a volatile.
double plainly(bool moving, std::int64_t min, std::int64_t max, std::int64_t neutral, std::int64_t raw) {
    const auto linear = [raw](std::int64_t low, std::int64_t high, double from, double to) {
        if (high <= low) {
            return from;
        }
        const volatile double share = static_cast<double>(raw - low) / static_cast<double>(high - low);
        const volatile double part = (to - from) * share;
        return std::clamp(from + part, from, to);
    };
    if (!moving || neutral <= min || neutral >= max) {
        return linear(min, max, 0.0, 1.0);
    }
    if (raw == neutral) {
        return 0.5;
    }
    return raw < neutral ? linear(min, neutral, 0.0, 0.5) : linear(neutral, max, 0.5, 1.0);
}

TEST(NormalizedValue, StaysOnTheScaleRisesWithTheRawValueAndEqualsThePlainFormula) {
    RandomNumbers random;
    // Small enough that no difference overflows.
    const auto number = [&] { return random.ofAnyMagnitude(60); };
    const LooseElement axis(xAxis());
    const LooseElement other(hat(1));
    std::size_t insideRanges = 0;
    for (int range = 0; range < 4000; ++range) {
        const std::int64_t min = number();
        const std::int64_t max = number();
        const std::int64_t neutral = range % 2 == 0 ? number() : min + (max - min) / 3;
        insideRanges += min < neutral && neutral < max ? 1U : 0U;
        observe(*axis, min, max, neutral);
        observe(*other, min, max, neutral);

        std::vector<std::int64_t> raws{min - 1, min, min + 1, neutral - 1, neutral, neutral + 1, max - 1, max, max + 1};
        for (int i = 0; i < 12; ++i) {
            raws.push_back(i % 2 == 0 ? number()
                                      : std::midpoint(min, max) + number() % (max - min == 0 ? 1 : max - min));
        }
        std::ranges::sort(raws);
        double lastOfAxis = 0.0;
        double lastOfOther = 0.0;
        for (const std::int64_t raw : raws) {
            const double value = axis->normalizedValue(raw);
            ASSERT_EQ(value, plainly(true, min, max, neutral, raw))
                << min << ".." << max << ", " << neutral << ", " << raw;
            ASSERT_GE(value, lastOfAxis) << min << ".." << max << ", " << neutral << ", " << raw;
            ASSERT_LE(value, 1.0);
            lastOfAxis = value;
            const double linear = other->normalizedValue(raw);
            ASSERT_EQ(linear, plainly(false, min, max, neutral, raw)) << min << ".." << max << ", " << raw;
            ASSERT_GE(linear, lastOfOther);
            ASSERT_LE(linear, 1.0);
            lastOfOther = linear;
        }
    }
    EXPECT_GT(insideRanges, 1000U);
}

TEST(NormalizedValue, IsOneHalfAtTheRestPointAlone) {
    const LooseElement axis(xAxis(16, 0, 65535));
    for (std::int64_t raw = 0; raw <= 65535; ++raw) {
        ASSERT_EQ(axis->normalizedValue(raw) == 0.5, raw == 32767) << raw;
    }
}

// Neutral value

TEST(NeutralValue, OfACentredAxisIsOneHalf) {
    EXPECT_EQ(LooseElement(xAxis(16, 0, 255))->neutralValue(), 0.5);
    EXPECT_EQ(LooseElement(xAxis(16, -100, 2000))->neutralValue(), 0.5);
}

TEST(NeutralValue, IsAbsentWithoutAPreferredState) {
    EXPECT_EQ(LooseElement(throttle(19))->neutralValue(), std::nullopt);
    VirtualElement shape = hat(1);
    shape.preferredState = false;
    EXPECT_EQ(LooseElement(shape)->neutralValue(), std::nullopt);
}

TEST(NeutralValue, FollowsTheObservedRangeAndRestPoint) {
    const LooseElement axis(xAxis(16, 0, 255));
    observe(*axis, 0, 100, 100);
    EXPECT_EQ(axis->neutralValue(), 1.0);
    observe(*axis, 0, 100, -5);
    EXPECT_EQ(axis->neutralValue(), 0.0);
    observe(*axis, 0, 100, 30);
    EXPECT_EQ(axis->neutralValue(), 0.5);
    observe(*axis, 9, 9, 9);
    EXPECT_EQ(axis->neutralValue(), 0.0);
    EXPECT_EQ(LooseElement(hat(1, 0, 8))->neutralValue(), 0.5);
    EXPECT_EQ(LooseElement(hat(1, 0, 7))->neutralValue(), 3.0 / 7.0);
    EXPECT_EQ(LooseElement(button(1))->neutralValue(), 0.0);
}

// Reporting filter

class ReportingFilter : public ::testing::Test {
protected:
    ReportingFilter() { itsHat().setObservedNeutral(3); }

    void setLimited(bool limited, double hysteresis) const {
        if (limited) {
            device().startLimitedValueReportingWithHysteresis(hysteresis);
        } else {
            device().endLimitedValueReporting();
        }
    }

    /// The answer of `element` to `value` when `last` was the last value reported. Also expects that a true answer, and
    /// no other, makes it the last one.
    static bool qualifies(QZHIDElement& element, double last, double value) {
        element.setLastReportedValue(last);
        const bool answer = element.valueQualifiesForReporting(value);
        if (!(std::isnan(value) || std::isnan(last))) {
            EXPECT_EQ(element.lastReportedValue(), answer ? value : last);
        }
        return answer;
    }

    QZHIDElement& axis() const { return *host_.element(0); }   ///< self-centring, rest at 0.5
    QZHIDElement& slider() const { return *host_.element(1); } ///< no preferred state
    QZHIDElement& itsHat() const { return *host_.element(2); } ///< preferred state, rest at 0.375
    QZHIDElement& push() const { return *host_.element(3); }   ///< preferred state, rest at 0.0
    QZHIDDevice& device() const { return *host_.device; }

    ElementHost host_{std::vector{xAxis(16, 0, 256), throttle(19, 0, 256), hat(20, 0, 8), button(1)}};
};

TEST_F(ReportingFilter, AValueEqualToTheLastOneNeverPasses) {
    for (const bool limited : {false, true}) {
        setLimited(limited, 0.0);
        for (const bool twoState : {false, true}) {
            for (QZHIDElement* const element : {&axis(), &slider(), &itsHat(), &push()}) {
                element->setTwoState(twoState);
                // The ends, the rest points and any other value.
                for (const double value : {0.0, 0.25, 0.375, 0.5, 1.0}) {
                    EXPECT_FALSE(qualifies(*element, value, value)) << value;
                }
                EXPECT_FALSE(qualifies(*element, 0.0, -0.0));
            }
        }
    }
}

TEST_F(ReportingFilter, ATwoStateElementPassesExactlyTheChangesBetweenZeroAndAnythingElse) {
    for (const int mode : {0, 1, 2, 3}) {
        SCOPED_TRACE(mode);
        setLimited(mode % 2 == 1, 1.0);
        for (QZHIDElement* const element : {&axis(), &slider(), &itsHat(), &push()}) {
            element->setTwoState(true);
            element->setHysteresis(mode >= 2 ? 1.0 : 0.0);
            for (const double last : {0.0, 0.25, 0.5, 0.75, 1.0}) {
                for (const double value : {0.0, 0.25, 0.5, 0.75, 1.0}) {
                    EXPECT_EQ(qualifies(*element, last, value), (last == 0.0) != (value == 0.0))
                        << last << " to " << value;
                }
            }
        }
    }
}

TEST_F(ReportingFilter, ATwoStateElementReportsPressAndReleaseInEveryMode) {
    for (const bool limited : {false, true}) {
        setLimited(limited, 1.0);
        push().setTwoState(true);
        push().setLastReportedValue(0.0);
        EXPECT_TRUE(push().valueQualifiesForReporting(1.0));
        EXPECT_FALSE(push().valueQualifiesForReporting(1.0));
        EXPECT_TRUE(push().valueQualifiesForReporting(0.0));
        EXPECT_FALSE(push().valueQualifiesForReporting(0.0));
    }
}

TEST_F(ReportingFilter, NothingPassesOnceTheDeviceIsGoneExceptTwoState) {
    const auto axis = host_.element(0);
    const auto push = host_.element(3);
    host_.device = nullptr;
    for (const double value : {0.0, 0.25, 0.75, 1.0}) {
        EXPECT_FALSE(qualifies(*axis, 0.5, value)) << value;
    }
    EXPECT_FALSE(qualifies(*axis, 0.75, 0.5));
    push->setTwoState(true);
    EXPECT_TRUE(qualifies(*push, 0.0, 1.0));
    EXPECT_TRUE(qualifies(*push, 1.0, 0.0));
    EXPECT_FALSE(qualifies(*push, 0.5, 1.0));
}

TEST_F(ReportingFilter, InLimitedModeOnlyAChangeGreaterThanTheDevicesHysteresisPasses) {
    device().startLimitedValueReportingWithHysteresis(0.25);
    for (QZHIDElement* const element : {&axis(), &slider(), &itsHat(), &push()}) {
        EXPECT_FALSE(qualifies(*element, 0.5, 0.75));
        EXPECT_TRUE(qualifies(*element, 0.5, above(0.75)));
        EXPECT_FALSE(qualifies(*element, 0.5, below(0.75)));
        EXPECT_FALSE(qualifies(*element, 0.5, 0.25));
        EXPECT_TRUE(qualifies(*element, 0.5, below(0.25)));
        EXPECT_FALSE(qualifies(*element, 0.5, above(0.25)));
    }
}

TEST_F(ReportingFilter, InLimitedModeTheEndsAndTheRestPointAreNoExceptions) {
    device().startLimitedValueReportingWithHysteresis(0.2);
    EXPECT_FALSE(qualifies(axis(), 0.9, 1.0));
    EXPECT_TRUE(qualifies(axis(), 0.9, 0.6));
    EXPECT_FALSE(qualifies(axis(), 0.1, 0.0));
    EXPECT_FALSE(qualifies(axis(), 0.6, 0.5));
    EXPECT_TRUE(qualifies(axis(), 0.75, 0.5));
    EXPECT_FALSE(qualifies(slider(), 0.9, 1.0));
    EXPECT_TRUE(qualifies(slider(), 0.75, 1.0));
}

TEST_F(ReportingFilter, InLimitedModeTheElementsOwnHysteresisPlaysNoPart) {
    device().startLimitedValueReportingWithHysteresis(0.25);
    axis().setHysteresis(1.0);
    EXPECT_TRUE(qualifies(axis(), 0.5, 0.8));
    axis().setHysteresis(0.0);
    EXPECT_FALSE(qualifies(axis(), 0.5, 0.7));
}

TEST_F(ReportingFilter, InLimitedModeAHysteresisOfZeroPassesEveryChangeAndOfOneNone) {
    device().startLimitedValueReportingWithHysteresis(0.0);
    EXPECT_TRUE(qualifies(axis(), 0.5, above(0.5)));
    EXPECT_TRUE(qualifies(axis(), 0.5, below(0.5)));
    device().startLimitedValueReportingWithHysteresis(2.0);
    EXPECT_FALSE(qualifies(axis(), 0.0, 1.0));
    EXPECT_FALSE(qualifies(axis(), 1.0, 0.0));
}

TEST_F(ReportingFilter, OutsideLimitedModeAChangeGreaterThanTheElementsHysteresisPasses) {
    // The slider and a hat away from its rest point, so that no other rule lets these values through.
    for (QZHIDElement* const element : {&slider(), &itsHat()}) {
        element->setHysteresis(0.25);
        EXPECT_FALSE(qualifies(*element, 0.5, 0.75));
        EXPECT_TRUE(qualifies(*element, 0.5, above(0.75)));
        EXPECT_TRUE(qualifies(*element, 0.5, 0.76));
        EXPECT_FALSE(qualifies(*element, 0.5, 0.25));
        EXPECT_TRUE(qualifies(*element, 0.5, below(0.25)));
        EXPECT_FALSE(qualifies(*element, 0.5, below(0.75)));
    }
}

TEST_F(ReportingFilter, AChangeOfExactlyTheHysteresisPassesOnlyToTheRestPoint) {
    axis().setHysteresis(0.25);
    EXPECT_FALSE(qualifies(axis(), 0.5, 0.75));
    EXPECT_TRUE(qualifies(axis(), 0.75, 0.5));
}

TEST_F(ReportingFilter, WithTheElementsFirstHysteresisEveryChangePasses) {
    for (QZHIDElement* const element : {&axis(), &slider(), &itsHat(), &push()}) {
        EXPECT_TRUE(qualifies(*element, 0.5, above(0.5)));
        EXPECT_TRUE(qualifies(*element, 0.5, below(0.5)));
        EXPECT_TRUE(qualifies(*element, 0.0, std::numeric_limits<double>::denorm_min()));
        EXPECT_TRUE(qualifies(*element, 0.25, 0.5));
    }
}

TEST_F(ReportingFilter, ANegativeHysteresisStillStopsAnEqualValue) {
    slider().setHysteresis(-1.0);
    EXPECT_TRUE(qualifies(slider(), 0.5, above(0.5)));
    EXPECT_FALSE(qualifies(slider(), 0.5, 0.5));
}

TEST_F(ReportingFilter, TheEndsOfTravelAlwaysPass) {
    for (QZHIDElement* const element : {&axis(), &slider(), &itsHat(), &push()}) {
        element->setHysteresis(0.25);
        EXPECT_TRUE(qualifies(*element, 0.95, 1.0));
        EXPECT_TRUE(qualifies(*element, below(1.0), 1.0));
        EXPECT_TRUE(qualifies(*element, above(0.0), 0.0));
        EXPECT_FALSE(qualifies(*element, 1.0, below(1.0)));
        EXPECT_FALSE(qualifies(*element, 0.0, above(0.0)));
        element->setHysteresis(5.0);
        EXPECT_TRUE(qualifies(*element, 0.0, 1.0));
        EXPECT_TRUE(qualifies(*element, 1.0, 0.0));
    }
}

TEST_F(ReportingFilter, TheReturnToRestAlwaysPassesForASelfCentringElementAlone) {
    axis().setHysteresis(0.25);
    EXPECT_TRUE(qualifies(axis(), 0.52, 0.5));
    EXPECT_TRUE(qualifies(axis(), 0.48, 0.5));
    EXPECT_FALSE(qualifies(axis(), 0.52, above(0.5)));
    EXPECT_FALSE(qualifies(axis(), 0.52, below(0.5)));
    slider().setHysteresis(0.25);
    EXPECT_FALSE(qualifies(slider(), 0.52, 0.5));
}

TEST_F(ReportingFilter, TheRestPointIsWhereTheObservedNeutralLies) {
    itsHat().setHysteresis(0.25);
    EXPECT_TRUE(qualifies(itsHat(), 0.4, 0.375));
    EXPECT_FALSE(qualifies(itsHat(), 0.4, 0.5));
    itsHat().setObservedNeutral(4);
    EXPECT_FALSE(qualifies(itsHat(), 0.4, 0.375));
    EXPECT_TRUE(qualifies(itsHat(), 0.4, 0.5));

    axis().setHysteresis(0.25);
    observe(axis(), 0, 256, 0);
    EXPECT_FALSE(qualifies(axis(), 0.52, 0.5));
}

TEST_F(ReportingFilter, OutsideLimitedModeTheDevicesHysteresisPlaysNoPart) {
    device().startLimitedValueReportingWithHysteresis(1.0);
    device().endLimitedValueReporting();
    EXPECT_EQ(device().limitedVRHysteresis(), 1.0);
    EXPECT_TRUE(qualifies(slider(), 0.5, above(0.5)));
    device().setLimitedVRHysteresis(0.0);
    slider().setHysteresis(0.25);
    EXPECT_FALSE(qualifies(slider(), 0.5, 0.7));
}

TEST_F(ReportingFilter, AChangeOfModeOrCalibrationDoesNotResetTheLastReportedValue) {
    ASSERT_TRUE(axis().valueQualifiesForReporting(0.75));
    device().startLimitedValueReportingWithHysteresis(0.25);
    EXPECT_EQ(axis().lastReportedValue(), 0.75);
    EXPECT_FALSE(axis().valueQualifiesForReporting(0.5));
    EXPECT_TRUE(axis().valueQualifiesForReporting(0.25));
    device().endLimitedValueReporting();
    EXPECT_EQ(axis().lastReportedValue(), 0.25);
    device().startCalibration();
    axis().receivedNewCalibrationValue(10);
    axis().receivedNewCalibrationValue(20);
    device().endCalibration();
    ASSERT_EQ(axis().observedMin(), 10);
    EXPECT_EQ(axis().lastReportedValue(), 0.25);
    EXPECT_FALSE(axis().valueQualifiesForReporting(0.25));
}

TEST_F(ReportingFilter, SmallChangesAreMeasuredFromTheLastReportedValueNotTheLastSeen) {
    slider().setHysteresis(0.25);
    slider().setLastReportedValue(0.125);
    EXPECT_FALSE(slider().valueQualifiesForReporting(0.25));
    EXPECT_FALSE(slider().valueQualifiesForReporting(0.375));
    EXPECT_TRUE(slider().valueQualifiesForReporting(0.5));
    EXPECT_FALSE(slider().valueQualifiesForReporting(0.375));
}

TEST_F(ReportingFilter, ANumberThatIsNoneCountsAsNoChange) {
    // No comparison with it is true: neither "equal", nor "greater than the hysteresis", nor "at the end of travel".
    for (const double hysteresis : {0.0, 0.25, -1.0}) {
        axis().setHysteresis(hysteresis);
        EXPECT_FALSE(qualifies(axis(), 0.5, nan));
        EXPECT_EQ(axis().lastReportedValue(), 0.5);
    }
    device().startLimitedValueReportingWithHysteresis(0.0);
    EXPECT_FALSE(qualifies(axis(), 0.5, nan));
    EXPECT_EQ(axis().lastReportedValue(), 0.5);
}

TEST_F(ReportingFilter, ForATwoStateElementANumberThatIsNoneIsNotZero) {
    push().setTwoState(true);
    EXPECT_TRUE(qualifies(push(), 0.0, nan));
    EXPECT_TRUE(std::isnan(push().lastReportedValue()));
    EXPECT_FALSE(push().valueQualifiesForReporting(1.0));
    EXPECT_FALSE(push().valueQualifiesForReporting(nan));
    EXPECT_TRUE(push().valueQualifiesForReporting(0.0));
    EXPECT_FALSE(qualifies(push(), 1.0, nan));
}

TEST_F(ReportingFilter, AfterALastValueThatIsNoneOnlyTheEndsAndTheRestPointPass) {
    EXPECT_FALSE(qualifies(axis(), nan, 0.75));
    EXPECT_TRUE(qualifies(axis(), nan, 0.5));
    EXPECT_TRUE(qualifies(axis(), nan, 1.0));
    EXPECT_TRUE(qualifies(axis(), nan, 0.0));
    EXPECT_FALSE(qualifies(slider(), nan, 0.5));
    device().startLimitedValueReportingWithHysteresis(0.0);
    EXPECT_FALSE(qualifies(axis(), nan, 1.0));
}

TEST_F(ReportingFilter, AHysteresisThatIsNoNumberLeavesTheEndsAndTheRestPoint) {
    axis().setHysteresis(nan);
    EXPECT_FALSE(qualifies(axis(), 0.0, 0.75));
    EXPECT_TRUE(qualifies(axis(), 0.75, 0.5));
    EXPECT_TRUE(qualifies(axis(), 0.75, 1.0));
    device().startLimitedValueReportingWithHysteresis(nan);
    EXPECT_FALSE(qualifies(axis(), 0.0, 1.0));
    EXPECT_FALSE(qualifies(axis(), 0.0, 0.5));
}

// The road of an input value

TEST_F(ReportingFilter, NeitherNormalisingNorFilteringAllocates) {
    {
        const ElementHeapMeter meter;
        static_cast<void>(std::make_unique<std::vector<int>>(100));
        ASSERT_GE(meter.allocations(), 1U) << "the meter does not see the program's allocations";
        EXPECT_EQ(meter.liveBytes(), 0U);
    }
    const LooseElement withoutDevice(xAxis());
    std::size_t passed = 0;
    const ElementHeapMeter meter;
    for (const bool limited : {false, true}) {
        setLimited(limited, 0.25);
        for (QZHIDElement* const element : {&axis(), &slider(), &itsHat(), &push(), &*withoutDevice}) {
            for (const bool twoState : {false, true}) {
                element->setTwoState(twoState);
                element->setHysteresis(0.125);
                for (std::int64_t raw = -300; raw < 300; ++raw) {
                    passed += element->valueQualifiesForReporting(element->normalizedValue(raw)) ? 1U : 0U;
                }
                passed += element->neutralValue() ? 1U : 0U;
            }
        }
    }
    EXPECT_EQ(meter.allocations(), 0U);
    EXPECT_GT(passed, 20U);
}

} // namespace
} // namespace qz::platform
