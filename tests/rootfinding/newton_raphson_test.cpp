// Newton-Raphson called directly: evaluation order and counts, barriers,
// the hints, and the hybrid's bracketing.
#include "counted_function.hpp"
#include "rootfinding.hpp"
#include "stats_entries.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace stats::test;

namespace {

TalvoFloat Square(TalvoFloat x) { return x * x - TalvoFloat(2.0); }
TalvoFloat Twice(TalvoFloat x) { return TalvoFloat(2.0) * x; }
TalvoFloat Logistic(TalvoFloat x) { return TalvoFloat(1.0) / (TalvoFloat(1.0) + exp(-x)); }
TalvoFloat LogisticDensity(TalvoFloat x)
{
    TalvoFloat e = exp(-x), d = TalvoFloat(1.0) + e;
    return e / (d * d);
}

} // namespace

TEST(NewtonRaphson, QuadraticConvergence)
{
    DigitsScope digits(50);
    Counted f(Square), df(Twice);
    TalvoFloat root = STATS_NewtonRaphson_MP(kv(), TalvoFloat(0.0), f, df, TalvoFloat(1.0), 0, TalvoFloat(0.0), 0,
                                             TalvoFloat(0.0), F("1e-45"), 50);
    EXPECT_LT(fabs(root - sqrt(TalvoFloat(2.0))).to_double(), 1e-48);
    EXPECT_LE(f.calls, 10); // about doubling digits per step
}

TEST(NewtonRaphson, StartOutsideABarrierIsRefusedBeforeAnyEvaluation)
{
    Counted f(Square), df(Twice);
    EXPECT_EQ(error_of([&] {
                  STATS_NewtonRaphson_MP(kv(), TalvoFloat(0.0), f, df, TalvoFloat(-1.0), 1, TalvoFloat(0.0), 0,
                                         TalvoFloat(0.0), F("1e-10"), 50);
              }),
              "the specified initial point must be between the specified barriers");
    EXPECT_EQ(f.calls + df.calls, 0);
}

TEST(NewtonRaphson, ZeroRoundsReturnZeroNotTheStart)
{
    Counted f(Square), df(Twice);
    TalvoFloat r = STATS_NewtonRaphson_MP(kv(), TalvoFloat(0.0), f, df, TalvoFloat(5.0), 0, TalvoFloat(0.0), 0,
                                          TalvoFloat(0.0), F("1e-10"), 0);
    EXPECT_EQ(r.to_double(), 0.0);
}

TEST(NewtonRaphson, BarrierConvergenceReturnsTheLowerBarrierWhenBothHold)
{
    // Both barriers at 1: the iterate settles there and the lower one wins.
    Counted f([](TalvoFloat x) { return x - TalvoFloat(1.0); }), df([](TalvoFloat) { return TalvoFloat(1.0); });
    TalvoFloat lower(1.0), upper = F("1.0000000000001");
    TalvoFloat r = STATS_NewtonRaphson_MP(kv(), TalvoFloat(0.0), f, df, TalvoFloat(1.0), 1, lower, 1, upper,
                                          F("1e-10"), 50);
    EXPECT_EQ(r.handle(), lower.handle());
}

TEST(NewtonRaphsonSafe, StaysInsideTheBracket)
{
    // A start where the Newton step would leave the bracket bisects instead.
    Counted f([](TalvoFloat x) { return x / (TalvoFloat(1.0) + fabs(x)); }), df([](TalvoFloat x) {
        TalvoFloat d = TalvoFloat(1.0) + fabs(x);
        return TalvoFloat(1.0) / (d * d);
    });
    TalvoFloat r = STATS_NewtonRaphsonSafe_MP(kv(), TalvoFloat(0.0), f, df, TalvoFloat(9.0), TalvoFloat(-10.0),
                                              TalvoFloat(10.0), F("1e-9"), 100);
    EXPECT_LT(fabs(r).to_double(), 1e-9);
}

TEST(NewtonRaphsonHybrid, BracketsFromEitherSide)
{
    DigitsScope digits(30);
    for (const char *p : {"1e-8", "0.001", "0.3", "0.999", "0.99999999"}) {
        Counted f(Logistic), df(LogisticDensity);
        TalvoFloat y = F(p);
        TalvoFloat r = STATS_NewtonRaphsonHybrid_MP(kv(), y, f, df, TalvoFloat(0.5), TalvoFloat(0.0), TalvoFloat(1.0),
                                                    0, TalvoFloat(0.0), 0, TalvoFloat(0.0), F("1e-25"), 200);
        TalvoFloat exact = log(y / (TalvoFloat(1.0) - y));
        EXPECT_LT(fabs(r - exact).to_double(), 1e-20) << p << " " << r.to_double();
        EXPECT_LT(f.calls, 120) << p;
    }
}

// The refinement starts at the middle of the bracket; when its first step is
// a bisection, that lands on the middle again and leaves x unchanged, which
// returns x.  (A test on the bracket's low end, as the safe form makes, would
// go on searching.)  x^3 = 0.001 in [-1, 1]: at the middle 0 the derivative
// is 0, so the first step bisects onto 0 and 0 is returned, not the root 0.1.
TEST(NewtonRaphsonHybrid, FirstBisectionOntoTheMiddleReturnsIt)
{
    DigitsScope digits(20);
    Counted f([](TalvoFloat x) { return x * x * x; }), df([](TalvoFloat x) { return TalvoFloat(3.0) * x * x; });
    TalvoFloat r = STATS_NewtonRaphsonHybrid_MP(kv(), F("0.001"), f, df, TalvoFloat(-1.0), TalvoFloat(-10.0),
                                                TalvoFloat(10.0), 1, TalvoFloat(-1.0), 1, TalvoFloat(1.0), F("1e-15"),
                                                50);
    EXPECT_TRUE(r == TalvoFloat(0.0)) << r.to_double();
    EXPECT_EQ(f.calls, 2); // x0 and the middle
    EXPECT_EQ(df.calls, 1);
    EXPECT_EQ(result(STATS_TalvoNewtonRaphsonHybrid_MP,
                     "0.001, x -> x^3, x -> 3*x^2, -1, -10, 10, true, -1, true, 1, 1, 50"),
              "0.");
    // The safe form tests the low end and finds the root from the same start.
    EXPECT_EQ(result(STATS_TalvoNewtonRaphsonSafe_MP, "0.001, x -> x^3, x -> 3*x^2, 0, -1, 1, 1, 50"), "0.1");
}

TEST(NewtonRaphsonEntry, DigitsRestoredAfterAnErrorInTheDerivative)
{
    DigitsScope digits(12);
    eval("nodf := proc(x) error \"no derivative\" end proc");
    EXPECT_EQ(result(STATS_TalvoNewtonRaphson_MP, "0, x -> x^2 - 2, nodf, 1, false, 0, false, 0, 1, 50"),
              "Error: no derivative");
    EXPECT_EQ(show(eval("Digits")), "12");
    EXPECT_EQ(result(STATS_TalvoNewtonRaphsonSafe_MP, "0, x -> x^2 - 2, nodf, 1, 0, 2, 1, 50"), "Error: no derivative");
    EXPECT_EQ(show(eval("Digits")), "12");
    EXPECT_EQ(result(STATS_TalvoNewtonRaphsonHybrid_MP, "0.5, x -> x, nodf, 1, 0, 1, false, 0, false, 0, 1, 50"),
              "Error: no derivative");
    EXPECT_EQ(show(eval("Digits")), "12");
}
