// Brent's method and its hybrids called directly, with native functions
// that count their evaluations.
#include "counted_function.hpp"
#include "rootfinding.hpp"
#include "stats_entries.h"
#include "stats_support.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include <mpfr.h>

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

namespace {

// Brent's rounds written in TalvoFloat expressions, one collected float per
// operation: the reference the library's loop (frame-held MPFR floats)
// must follow step for step.
TalvoFloat PlainBrent(TalvoFloat y, STATS_TalvoCallbackAdapter_MP &f, TalvoFloat a, TalvoFloat b, TalvoFloat tol,
                      int maxIterations)
{
    auto same = [](const TalvoFloat &u, const TalvoFloat &v) { return (u > 0L && v > 0L) || (u < 0L && v < 0L); };
    TalvoFloat fa = f.Call(a) - y, fb = f.Call(b) - y;
    if (same(fa, fb))
        throw std::runtime_error("root must be bracketed by lower and upper boundaries.");
    TalvoFloat c = b, fc = fb, d(0.0), e(0.0);
    for (int iteration = 0; iteration < maxIterations; ++iteration) {
        if (same(fb, fc)) {
            c = a;
            fc = fa;
            d = b - a;
            e = d;
        }
        if (fabs(fc) < fabs(fb)) {
            a = b;
            b = c;
            c = a;
            fa = fb;
            fb = fc;
            fc = fa;
        }
        TalvoFloat tol1 = TalvoFloat(2.0) * tol * fabs(b) + TalvoFloat(0.5) * tol;
        TalvoFloat xm = TalvoFloat(0.5) * (c - b);
        if (fabs(xm) <= tol1 || fb == TalvoFloat(0.0))
            return b;
        if (fabs(e) >= tol1 && fabs(fa) > fabs(fb)) {
            TalvoFloat s = fb / fa, p, q;
            if (a == c) {
                p = TalvoFloat(2.0) * xm * s;
                q = TalvoFloat(1.0) - s;
            } else {
                TalvoFloat r = fb / fc;
                q = fa / fc;
                p = s * (TalvoFloat(2.0) * xm * q * (q - r) - (b - a) * (r - TalvoFloat(1.0)));
                q = (q - TalvoFloat(1.0)) * (r - TalvoFloat(1.0)) * (s - TalvoFloat(1.0));
            }
            if (p > 0L)
                q = -q;
            p = fabs(p);
            TalvoFloat min1 = TalvoFloat(3.0) * xm * q - fabs(tol1 * q), min2 = fabs(e * q);
            if (TalvoFloat(2.0) * p < (min1 < min2 ? min1 : min2)) {
                e = d;
                d = p / q;
            } else {
                d = xm;
                e = d;
            }
        } else {
            d = xm;
            e = d;
        }
        a = b;
        fa = fb;
        b = fabs(d) > tol1 ? b + d : b + Sign(tol1, xm);
        fb = f.Call(b) - y;
    }
    throw std::runtime_error("maximum number of iterations exceeded in Brent root finding.");
}

// f, recording every point it is asked for.
class Recorded : public STATS_TalvoCallbackAdapter_MP {
public:
    explicit Recorded(std::function<TalvoFloat(TalvoFloat)> f) : STATS_TalvoCallbackAdapter_MP(kv()), m_f(std::move(f))
    {
    }
    TalvoFloat Call(TalvoFloat x) override
    {
        points.push_back(x);
        return m_f(x);
    }
    std::vector<TalvoFloat> points;

private:
    std::function<TalvoFloat(TalvoFloat)> m_f;
};

bool Identical(const TalvoFloat &u, const TalvoFloat &v)
{
    mpfr_srcptr x = u.mpfr(), w = v.mpfr();
    if (mpfr_get_prec(x) != mpfr_get_prec(w))
        return false;
    if (mpfr_nan_p(x) || mpfr_nan_p(w))
        return mpfr_nan_p(x) && mpfr_nan_p(w);
    return mpfr_equal_p(x, w) && mpfr_signbit(x) == mpfr_signbit(w);
}

// A float of `digits` digits whatever "Digits" is.
TalvoFloat Wide(const char *text, long digits)
{
    return TalvoFloat::from_handle(talvo_float_parse(text, talvo_float_precision_bits(digits)));
}

} // namespace

// Every point asked for, the float returned (value and precision) and the
// error raised are those of the search in plain float arithmetic, over
// functions that make it interpolate, bisect, hit a root exactly, meet an
// undefined value or run out of rounds; brackets given wider than the
// working precision; tolerances from zero to negative; Digits on both sides
// of the one-limb precisions.
TEST(Brent, StepsAreThoseOfPlainFloatArithmetic)
{
    struct Fn {
        const char *name;
        std::function<TalvoFloat(TalvoFloat)> f;
    };
    const std::vector<Fn> fns = {
        {"cube", Cube},
        {"logistic", [](TalvoFloat x) { return Logistic(x) - F("0.3"); }},
        {"step", [](TalvoFloat x) { return x < F("0.7") ? TalvoFloat(-1.0) : TalvoFloat(1.0); }},
        {"steep", [](TalvoFloat x) { return exp(TalvoFloat(40.0) * (x - F("1.3"))) - TalvoFloat(1.0); }},
        {"flat", [](TalvoFloat x) { return pow(x - F("0.9"), 5.0); }},
        {"exact", [](TalvoFloat x) { return x - TalvoFloat(1.0); }},
        {"ninth power", [](TalvoFloat x) { return pow(x, 9.0) - F("0.5"); }},
        {"reciprocal", [](TalvoFloat x) { return F("0.8") - TalvoFloat(1.0) / x; }},
        {"log", [](TalvoFloat x) { return log(x) + F("0.25"); }},
        {"kink", [](TalvoFloat x) { return x < F("1.1") ? x - F("1.1") : TalvoFloat(1000.0) * (x - F("1.1")); }},
        {"undefined past 1.5", [](TalvoFloat x) { return x > F("1.5") ? TalvoFloatUndefined() : x - F("1.2"); }},
    };
    const char *tols[] = {"1e-30", "1e-12", "1e-6", "0", "-1e-8"};
    int compared = 0;
    for (long digits : {5L, 10L, 15L, 17L, 18L, 19L, 30L, 60L}) {
        DigitsScope scope(digits);
        for (const Fn &fn : fns)
            for (const char *tol : tols)
                for (int wide = 0; wide < 2; ++wide)
                    for (int rounds : {3, 100}) {
                        const TalvoFloat a = wide ? Wide("0.1000000000000000000000000000000000000001", 45) : F("0.1");
                        const TalvoFloat b = wide ? Wide("2.0000000000000000000000000000000000000003", 45) : F("2");
                        Recorded mine(fn.f), plain(fn.f);
                        std::string e1, e2;
                        TalvoFloat r1, r2;
                        e1 = error_of([&] { r1 = STATS_BrentMethod_MP(kv(), TalvoFloat(0.0), mine, a, b, F(tol), rounds); });
                        try {
                            r2 = PlainBrent(TalvoFloat(0.0), plain, a, b, F(tol), rounds);
                        } catch (const std::runtime_error &x) {
                            e2 = x.what();
                        }
                        const std::string where = std::string(fn.name) + " tol " + tol + " Digits " +
                                                  std::to_string(digits) + (wide ? " wide" : "") + " rounds " +
                                                  std::to_string(rounds);
                        ASSERT_EQ(e1, e2) << where;
                        ASSERT_EQ(mine.points.size(), plain.points.size()) << where;
                        for (size_t i = 0; i < mine.points.size(); ++i)
                            ASSERT_TRUE(Identical(mine.points[i], plain.points[i])) << where << " point " << i;
                        if (e1.empty()) {
                            ASSERT_TRUE(Identical(r1, r2)) << where;
                        }
                        ++compared;
                    }
    }
    EXPECT_EQ(compared, 8 * 11 * 5 * 2 * 2);
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
