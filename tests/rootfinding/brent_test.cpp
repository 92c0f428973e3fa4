// Brent's method and its hybrids called directly, with native functions
// that count their evaluations.
#include "counted_function.hpp"
#include "rootfinding.hpp"
#include "stats_entries.h"
#include "stats_support.hpp"

#include <gtest/gtest.h>

#include <cmath>

using namespace stats::test;

namespace {

TalvoFloat Cube(TalvoFloat x) { return x * x * x - TalvoFloat(2.0); }
TalvoFloat Logistic(TalvoFloat x) { return TalvoFloat(1.0) / (TalvoFloat(1.0) + exp(-x)); }

} // namespace

TEST(Brent, ConvergesWithinTheTolerance)
{
    DigitsScope digits(30);
    Counted f(Cube);
    TalvoFloat root = STATS_BrentMethod_MP(kv(), TalvoFloat(0.0), f, TalvoFloat(0.0), TalvoFloat(2.0), F("1e-25"), 100);
    TalvoFloat exact = F("1.259921049894873164767210607278228350570251");
    EXPECT_LT(fabs(root - exact).to_double(), 1e-24);
    EXPECT_LT(f.calls, 30);
}

TEST(Brent, RootAtTheRightEndNeedsNoFurtherEvaluation)
{
    Counted f([](TalvoFloat x) { return x - TalvoFloat(3.0); });
    TalvoFloat root = STATS_BrentMethod_MP(kv(), TalvoFloat(0.0), f, TalvoFloat(1.0), TalvoFloat(3.0), F("1e-10"), 100);
    EXPECT_EQ(root.to_double(), 3.0);
    EXPECT_EQ(f.calls, 2);
}

TEST(Brent, ZeroRoundsFailAfterTheBracketCheck)
{
    Counted f(Cube);
    EXPECT_EQ(error_of([&] { STATS_BrentMethod_MP(kv(), TalvoFloat(0.0), f, TalvoFloat(0.0), TalvoFloat(2.0), F("1e-10"), 0); }),
              "maximum number of iterations exceeded in Brent root finding.");
    EXPECT_EQ(f.calls, 2);
    Counted g(Cube);
    EXPECT_EQ(error_of([&] { STATS_BrentMethod_MP(kv(), TalvoFloat(0.0), g, TalvoFloat(2.0), TalvoFloat(3.0), F("1e-10"), 0); }),
              "root must be bracketed by lower and upper boundaries.");
}

TEST(Brent, UndefinedValuesEndTheSearchAtOnce)
{
    // Undefined values have no sign: the bracket test passes, c stays at b,
    // the interval half-width is zero and b comes back.
    Counted f([](TalvoFloat) { return TalvoFloatUndefined(); });
    TalvoFloat r = STATS_BrentMethod_MP(kv(), TalvoFloat(0.0), f, TalvoFloat(0.0), TalvoFloat(2.0), F("1e-10"), 50);
    EXPECT_EQ(r.to_double(), 2.0);
    EXPECT_EQ(f.calls, 2);
}

TEST(BrentHybrid, MarchAndRefinementShareOneBudget)
{
    // From 0 towards the 0.999 quantile of the logistic law the march needs
    // a few rounds; the refinement then gets only what is left.
    Counted f(Logistic);
    TalvoFloat root = STATS_BrentMethodHybridLeft_MP(kv(), F("0.999"), f, TalvoFloat(0.5), TalvoFloat(1.0),
                                                     TalvoFloat(0.0), TalvoFloat(1.0), F("1e-12"), 100);
    EXPECT_NEAR(root.to_double(), std::log(999.0), 1e-9);
    int enough = f.calls;
    for (int budget = 1; budget < 100; ++budget) {
        Counted g(Logistic);
        std::string e = error_of([&] {
            STATS_BrentMethodHybridLeft_MP(kv(), F("0.999"), g, TalvoFloat(0.5), TalvoFloat(1.0), TalvoFloat(0.0),
                                           TalvoFloat(1.0), F("1e-12"), budget);
        });
        if (e.empty()) {
            // Every evaluation beyond the first two is one round.
            EXPECT_LE(g.calls, budget + 2) << budget;
            break;
        }
        EXPECT_TRUE(e == "BrentMethodHybrid was not able to converge on the specified root." ||
                    e == "maximum number of iterations exceeded in Brent root finding.")
            << e;
    }
    EXPECT_GT(enough, 3);
}

TEST(BrentHybrid, RightMarchFindsLowerQuantiles)
{
    DigitsScope digits(20);
    Counted f(Logistic);
    std::string e = error_of([&] {
        STATS_BrentMethodHybridRight_MP(kv(), F("1e-6"), f, TalvoFloat(0.0), TalvoFloat(0.5), TalvoFloat(-1.0),
                                        TalvoFloat(0.0), F("1e-12"), 200);
    });
    ASSERT_EQ(e, "");
    TalvoFloat root = STATS_BrentMethodHybridRight_MP(kv(), F("1e-6"), f, TalvoFloat(0.0), TalvoFloat(0.5),
                                                      TalvoFloat(-1.0), TalvoFloat(0.0), F("1e-12"), 200);
    EXPECT_NEAR(root.to_double(), std::log(1e-6 / (1 - 1e-6)), 1e-9);
}

TEST(BrentHybrid, UnboundChoosesTheSideOfTheRoot)
{
    Counted f(Logistic);
    EXPECT_NEAR(STATS_BrentMethodHybridUnbound_MP(kv(), F("0.2"), f, TalvoFloat(0.0), TalvoFloat(1.0), TalvoFloat(3.0),
                                                  TalvoFloat(1.0), F("1e-12"), 100)
                    .to_double(),
                std::log(0.25), 1e-9);
    Counted g(Logistic);
    TalvoFloat at = STATS_BrentMethodHybridUnbound_MP(kv(), Logistic(TalvoFloat(1.0)), g, TalvoFloat(0.0),
                                                      TalvoFloat(1.0), TalvoFloat(1.0), TalvoFloat(3.0), F("1e-12"), 0);
    EXPECT_EQ(at.to_double(), 1.0);
    EXPECT_EQ(g.calls, 2);
}

TEST(BrentEntry, DigitsRestoredAfterAnErrorInTheProcedure)
{
    DigitsScope digits(17);
    eval("bad := proc(x) error \"stop at %1\", x end proc");
    EXPECT_EQ(result(STATS_TalvoBrentMethod_MP, "0, bad, 0, 2, 1, 100"), "Error: stop at 0.");
    EXPECT_EQ(show(eval("Digits")), "17");
    // The procedure sees the raised precision.
    eval("seen := 0: probe := proc(x) global seen; seen := Digits; x - 1 end proc");
    EXPECT_EQ(result(STATS_TalvoBrentMethod_MP, "0, probe, 0, 2, 1, 100"), "1.");
    EXPECT_EQ(show(eval("seen")), "20");
    EXPECT_EQ(show(eval("Digits")), "17");
}
