// The discrete search called directly: the bisection's invariant, the
// marches' rounding, and integer positions at the ends of the native range.
#include "counted_function.hpp"
#include "rootfinding.hpp"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>

using namespace stats::test;

namespace {

// The distribution function of a fair die, k/6 clamped to [0, 1].
TalvoFloat Die(TalvoFloat k)
{
    double v = std::floor(k.to_double());
    return TalvoFloat(v < 0 ? 0.0 : v > 6 ? 1.0 : v / 6);
}

} // namespace

TEST(DiscreteInterpolation, FairDie)
{
    Counted f(Die);
    EXPECT_EQ(STATS_DiscreteInterpolation_MP(kv(), F("0.5"), f, 0, 6, 20), 3);
    EXPECT_LE(f.calls, 6);
}

TEST(DiscreteInterpolation, EveryTargetGivesTheFirstIntegerReachingIt)
{
    // f(k) = k/1000 on [0, 1000]: the answer to y = j/1000 + 1/2000 is j + 1.
    for (long lo : {0L, 17L}) {
        for (long j = lo; j < 1000; j += 37) {
            Counted f([](TalvoFloat k) { return k / TalvoFloat(1000.0); });
            TalvoFloat y = TalvoFloat(double(j) / 1000 + 0.0005);
            EXPECT_EQ(STATS_DiscreteInterpolation_MP(kv(), y, f, lo, 1000, 64), j + 1) << j;
            EXPECT_LE(f.calls, 2 + 11);
        }
    }
}

TEST(DiscreteInterpolation, ValueAtLoEqualToTargetSearchesAbove)
{
    Counted f(Die);
    EXPECT_EQ(STATS_DiscreteInterpolation_MP(kv(), TalvoFloat(2.0) / TalvoFloat(6.0), f, 2, 6, 20), 3);
}

TEST(DiscreteInterpolation, WholeNativeRangeWithoutOverflow)
{
    // A step function at 2^62: 64 halvings of [LONG_MIN, LONG_MAX] find it.
    // Positions become floats at the current precision: 20 digits hold
    // every 64-bit integer exactly.
    DigitsScope digits(20);
    TalvoFloat step = F("4611686018427387904");
    Counted f([&](TalvoFloat k) { return TalvoFloat(k >= step ? 1.0 : 0.0); });
    EXPECT_EQ(STATS_DiscreteInterpolation_MP(kv(), TalvoFloat(0.5), f, LONG_MIN, LONG_MAX, 70), 1L << 62);
}

TEST(DiscreteInterpolationHybrid, LeftMarchHandsOverTheRemainingRounds)
{
    Counted f([](TalvoFloat k) { return k / TalvoFloat(1000.0); });
    EXPECT_EQ(STATS_DiscreteInterpolationHybridLeft_MP(kv(), F("0.7005"), f, TalvoFloat(0.0), TalvoFloat(1.0), 0, 10,
                                                       40),
              701);
    // With too small a budget the bisection runs out.
    Counted g([](TalvoFloat k) { return k / TalvoFloat(1000.0); });
    EXPECT_EQ(error_of([&] {
                  STATS_DiscreteInterpolationHybridLeft_MP(kv(), F("0.7005"), g, TalvoFloat(0.0), TalvoFloat(1.0), 0,
                                                           10, 3);
              }),
              "maximum number of iterations exceeded in discrete root finding.");
}

TEST(DiscreteInterpolationHybrid, RightTestsTheValueAtTheRightPoint)
{
    Counted f(Die);
    // f(6) >= y at once: [initialPoint, rightBarrier] goes to the bisection,
    // which returns initialPoint because its value is already above y.
    EXPECT_EQ(STATS_DiscreteInterpolationHybridRight_MP(kv(), F("0.2"), f, TalvoFloat(0.0), TalvoFloat(1.0), 4, 6, 20),
              4);
}

TEST(DiscreteInterpolationHybrid, SaturatedStepsNeverWrapAround)
{
    // A flat start sends the secant to infinity; the step saturates at the
    // largest integer and the bisection finds the answer from there.
    Counted f([](TalvoFloat k) { return TalvoFloat(k.to_double() >= 1e6 ? 1.0 : 0.0); });
    EXPECT_EQ(STATS_DiscreteInterpolationHybridLeft_MP(kv(), TalvoFloat(0.5), f, TalvoFloat(0.0), TalvoFloat(1.0), -5, -2,
                                                       100),
              1000000);
}
