// identities_test.cpp -- properties that tie the routines together (computed
// two ways, they must agree): complementary tails add to 1, a deviate is the
// inverse of its probability, a result at D digits is the 2D-digit result
// rounded, discrete probabilities add up to the distribution function; and
// the limits and end points, tol and max_iter.
#include "checks.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

namespace {

using namespace talvo::test;

// |a - b| / |b| in units of 10^(1 - digits).
double units(const TalvoFloat &a, const TalvoFloat &b, long digits)
{
    mpfr_t d, s;
    mpfr_init2(d, 4 * talvo_float_precision() + 64);
    mpfr_init2(s, 4 * talvo_float_precision() + 64);
    mpfr_sub(d, a.mpfr(), b.mpfr(), MPFR_RNDN);
    if (mpfr_zero_p(b.mpfr())) {
        double r = mpfr_zero_p(d) ? 0.0 : INFINITY;
        mpfr_clears(d, s, static_cast<mpfr_ptr>(nullptr));
        return r;
    }
    mpfr_div(d, d, b.mpfr(), MPFR_RNDN);
    mpfr_abs(d, d, MPFR_RNDN);
    mpfr_ui_pow_ui(s, 10, static_cast<unsigned long>(digits - 1), MPFR_RNDN);
    mpfr_mul(d, d, s, MPFR_RNDN);
    double r = mpfr_get_d(d, MPFR_RNDU);
    mpfr_clears(d, s, static_cast<mpfr_ptr>(nullptr));
    return r;
}

TalvoFloat sum(const TalvoFloat &a, const TalvoFloat &b) { return a + b; }

// Complementary tails add to 1 (the two are computed separately).
TEST(NumericsIdentities, TailsAddToOne)
{
    for (long digits : {15L, 50L}) {
        DigitsScope d(digits + 10); // add with guard digits, compare at `digits`
        NagError f{};
        TalvoFloat one(1.0);
        for (const char *x : {"-3.5", "0.25", "2"}) {
            EXPECT_LT(units(sum(TalvoMP_g01eac(L, F(x), &f), TalvoMP_g01eac(U, F(x), &f)), one, digits), 1);
            EXPECT_LT(units(sum(TalvoMP_g01eac(S, F(x), &f), TalvoMP_g01eac(C, F(x), &f)), one, digits), 1);
            EXPECT_LT(units(sum(TalvoMP_g01ebc(L, F(x), F("3.5"), &f), TalvoMP_g01ebc(U, F(x), F("3.5"), &f)), one, digits), 1);
            EXPECT_LT(units(sum(TalvoMP_g01ebc(S, F(x), F("3.5"), &f), TalvoMP_g01ebc(C, F(x), F("3.5"), &f)), one, digits), 1);
        }
        for (const char *x : {"0.5", "3", "12"}) {
            EXPECT_LT(units(sum(TalvoMP_g01ecc(L, F(x), F("4.5"), &f), TalvoMP_g01ecc(U, F(x), F("4.5"), &f)), one, digits), 1);
            EXPECT_LT(units(sum(TalvoMP_g01edc(L, F(x), F("3"), F("9"), &f), TalvoMP_g01edc(U, F(x), F("3"), F("9"), &f)), one, digits), 1);
            EXPECT_LT(units(sum(TalvoMP_g01efc(L, F(x), F("2.5"), F("1.5"), &f), TalvoMP_g01efc(U, F(x), F("2.5"), F("1.5"), &f)), one, digits), 1);
        }
        for (const char *x : {"0.125", "0.5", "0.875"}) {
            TalvoFloat p, q, pdf;
            TalvoMP_g01eec(F(x), F("2.5"), F("0.75"), TalvoFloat(), &p, &q, &pdf, &f);
            EXPECT_LT(units(sum(p, q), one, digits), 1);
        }
        EXPECT_EQ(f.code, NE_NOERROR) << f.message;
    }
}

// Symmetric distributions: the lower tail at x is the upper tail at -x.
TEST(NumericsIdentities, Symmetry)
{
    DigitsScope d(40);
    NagError f{};
    for (const char *x : {"0.75", "4", "30"}) {
        TalvoFloat nx = -F(x);
        EXPECT_LT(units(TalvoMP_g01eac(L, nx, &f), TalvoMP_g01eac(U, F(x), &f), 40), 1);
        EXPECT_LT(units(TalvoMP_g01ebc(L, nx, F("7"), &f), TalvoMP_g01ebc(U, F(x), F("7"), &f), 40), 1);
        EXPECT_LT(units(TalvoMP_g01fac(U, TalvoMP_g01eac(U, F(x), &f), &f), F(x), 35), 1);
    }
    EXPECT_EQ(f.code, NE_NOERROR) << f.message;
}

// cdf(deviate(p)) = p, for every deviate, in both tails and far out.
TEST(NumericsIdentities, DeviatesInvertProbabilities)
{
    for (long digits : {20L, 60L}) {
        DigitsScope d(digits);
        NagError f{};
        for (const char *ps : {"1e-30", "0.01", "0.3", "0.5", "0.9", "0.999999"}) {
            TalvoFloat p = F(ps);
            long check = digits - 4; // the deviate's rounding moves the probability by its condition number
            EXPECT_LT(units(TalvoMP_g01eac(L, TalvoMP_g01fac(L, p, &f), &f), p, check), 1) << ps;
            EXPECT_LT(units(TalvoMP_g01ebc(L, TalvoMP_g01fbc(L, p, F("4.5"), &f), F("4.5"), &f), p, check), 1) << ps;
            EXPECT_LT(units(TalvoMP_g01ebc(S, TalvoMP_g01fbc(S, p, F("4.5"), &f), F("4.5"), &f), p, check), 1) << ps;
            EXPECT_LT(units(TalvoMP_g01ebc(C, TalvoMP_g01fbc(C, p, F("4.5"), &f), F("4.5"), &f), p, check), 1) << ps;
            EXPECT_LT(units(TalvoMP_g01ecc(L, TalvoMP_g01fcc(p, F("7"), &f), F("7"), &f), p, check), 1) << ps;
            EXPECT_LT(units(TalvoMP_g01edc(L, TalvoMP_g01fdc(p, F("3"), F("11"), &f), F("3"), F("11"), &f), p, check), 1) << ps;
            EXPECT_LT(units(TalvoMP_g01efc(L, TalvoMP_g01ffc(p, F("2.5"), F("3"), TalvoFloat(), &f), F("2.5"), F("3"), &f), p, check), 1) << ps;
            TalvoFloat x = TalvoMP_g01fec(p, F("1.5"), F("4"), TalvoFloat(), &f), pl, pu, pdf;
            TalvoMP_g01eec(x, F("1.5"), F("4"), TalvoFloat(), &pl, &pu, &pdf, &f);
            EXPECT_LT(units(pl, p, check), 1) << ps;
        }
        EXPECT_EQ(f.code, NE_NOERROR) << f.message;
    }
}

// A result at D digits is the 2D-digit result rounded to D digits: within
// one unit of the D-th digit of it.
TEST(NumericsIdentities, PrecisionsAgree)
{
    struct Case {
        const char *name;
        std::function<TalvoFloat(NagError *)> call;
    };
    std::vector<Case> cases = {
        {"g01eac", [](NagError *f) { return TalvoMP_g01eac(L, F("-7.25"), f); }},
        {"g01fbc", [](NagError *f) { return TalvoMP_g01fbc(L, F("0.0625"), F("2.5"), f); }},
        {"g01ecc", [](NagError *f) { return TalvoMP_g01ecc(U, F("71.5"), F("33"), f); }},
        {"g01gbc", [](NagError *f) { return TalvoMP_g01gbc(F("-2.5"), F("6"), F("0.75"), TalvoFloat(), 1000, f); }},
        {"g01gcc", [](NagError *f) { return TalvoMP_g01gcc(F("17.5"), F("3"), F("9.25"), TalvoFloat(), 1000, f); }},
        {"g01gec", [](NagError *f) { return TalvoMP_g01gec(F("0.375"), F("3"), F("2"), F("5"), TalvoFloat(), 1000, f); }},
    };
    for (auto &c : cases) {
        for (long digits : {17L, 45L}) {
            NagError f{};
            TalvoFloat lo, hi;
            {
                DigitsScope d(digits);
                lo = c.call(&f);
            }
            {
                DigitsScope d(2 * digits);
                hi = c.call(&f);
            }
            EXPECT_EQ(f.code, NE_NOERROR) << f.message;
            EXPECT_LT(units(lo, hi, digits), 1) << c.name << " at " << digits;
        }
    }
}

// Discrete: the point probabilities add up to the distribution function, and
// the two tails to 1.
TEST(NumericsIdentities, DiscreteSums)
{
    DigitsScope d(35);
    NagError f{};
    TalvoFloat le, gt, eq, acc(0.0), one(1.0);
    for (long k = 0; k <= 12; ++k) {
        TalvoMP_g01bjc(12, F("0.35"), k, &le, &gt, &eq, &f);
        acc = acc + eq;
        EXPECT_LT(units(acc, le, 32), 1) << "binomial k = " << k;
        EXPECT_LT(units(le + gt, one, 32), 1);
    }
    acc = TalvoFloat(0.0);
    for (long k = 0; k <= 20; ++k) {
        TalvoMP_g01bkc(F("4.75"), k, &le, &gt, &eq, &f);
        acc = acc + eq;
        EXPECT_LT(units(acc, le, 32), 1) << "Poisson k = " << k;
    }
    acc = TalvoFloat(0.0);
    for (long k = 0; k <= 9; ++k) {
        TalvoMP_g01blc(30, 12, 9, k, &le, &gt, &eq, &f);
        acc = acc + eq;
        EXPECT_LT(units(acc, le, 32), 1) << "hypergeometric k = " << k;
    }
    EXPECT_LT(units(le, one, 32), 1); // k = min(l, m): all of it
    EXPECT_EQ(f.code, NE_NOERROR) << f.message;
}

// The ends of the supports and the limits.
TEST(NumericsIdentities, EndsAndLimits)
{
    DigitsScope d(30);
    NagError f{};
    TalvoFloat inf = TalvoFloat(1.0) / TalvoFloat(0.0);
    auto is = [](const TalvoFloat &v, long n) { return mpfr_cmp_si(v.mpfr(), n) == 0; };
    EXPECT_TRUE(is(TalvoMP_g01eac(L, inf, &f), 1));
    EXPECT_TRUE(is(TalvoMP_g01eac(L, -inf, &f), 0));
    EXPECT_TRUE(mpfr_cmp_d(TalvoMP_g01eac(U, F("0"), &f).mpfr(), 0.5) == 0);
    EXPECT_TRUE(is(TalvoMP_g01fac(L, F("0.5"), &f), 0));
    EXPECT_TRUE(is(TalvoMP_g01fbc(U, F("0.5"), F("3"), &f), 0));
    EXPECT_TRUE(is(TalvoMP_g01ebc(S, F("0"), F("3"), &f), 1));
    EXPECT_TRUE(is(TalvoMP_g01ecc(L, F("0"), F("3"), &f), 0));
    EXPECT_TRUE(is(TalvoMP_g01ecc(U, inf, F("3"), &f), 0));
    EXPECT_TRUE(is(TalvoMP_g01fcc(F("0"), F("3"), &f), 0));
    EXPECT_TRUE(is(TalvoMP_g01fdc(F("0"), F("3"), F("4"), &f), 0));
    EXPECT_TRUE(is(TalvoMP_g01fec(F("0"), F("3"), F("4"), TalvoFloat(), &f), 0));
    EXPECT_TRUE(is(TalvoMP_g01fec(F("1"), F("3"), F("4"), TalvoFloat(), &f), 1));
    EXPECT_TRUE(is(TalvoMP_g01ffc(F("0"), F("3"), F("4"), TalvoFloat(), &f), 0));
    EXPECT_TRUE(is(TalvoMP_g01efc(U, F("0"), F("3"), F("4"), &f), 1));
    // Beta density at the ends: infinite for a < 1, b for a = 1, 0 for a > 1.
    TalvoFloat p, q, pdf;
    TalvoMP_g01eec(F("0"), F("0.5"), F("3"), TalvoFloat(), &p, &q, &pdf, &f);
    EXPECT_TRUE(is(p, 0) && is(q, 1) && IsTalvoFloatInfinity(pdf));
    TalvoMP_g01eec(F("0"), F("1"), F("3"), TalvoFloat(), &p, &q, &pdf, &f);
    EXPECT_TRUE(is(pdf, 3));
    TalvoMP_g01eec(F("1"), F("2"), F("3"), TalvoFloat(), &p, &q, &pdf, &f);
    EXPECT_TRUE(is(p, 1) && is(q, 0) && is(pdf, 0));
    // Non-central: t = 0 gives Phi(-delta); chi-square with df = 0 has mass e^(-lambda/2) at 0.
    EXPECT_LT(units(TalvoMP_g01gbc(F("0"), F("5"), F("1.5"), TalvoFloat(), 100, &f), TalvoMP_g01eac(L, F("-1.5"), &f), 30), 1);
    TalvoFloat mass = TalvoMP_g01gcc(F("0"), F("0"), F("3"), TalvoFloat(), 100, &f);
    EXPECT_LT(units(mass, exp(F("-1.5")), 29), 1);
    EXPECT_TRUE(is(TalvoMP_g01gcc(F("0"), F("2"), F("3"), TalvoFloat(), 100, &f), 0));
    // lambda = 0: the central distributions.
    EXPECT_LT(units(TalvoMP_g01gcc(F("3"), F("4"), F("0"), TalvoFloat(), 100, &f), TalvoMP_g01ecc(L, F("3"), F("4"), &f), 30), 1);
    EXPECT_LT(units(TalvoMP_g01gbc(F("1.25"), F("4"), F("0"), TalvoFloat(), 100, &f), TalvoMP_g01ebc(L, F("1.25"), F("4"), &f), 30), 1);
    EXPECT_LT(units(TalvoMP_g01gdc(F("1.25"), F("4"), F("6"), F("0"), TalvoFloat(), 100, &f),
                    TalvoMP_g01edc(L, F("1.25"), F("4"), F("6"), &f), 30), 1);
    // Binomial at k = n: everything at or below, p^n at the point.
    TalvoFloat le, gt, eq;
    TalvoMP_g01bjc(7, F("0.5"), 7, &le, &gt, &eq, &f);
    EXPECT_TRUE(is(le, 1) && is(gt, 0));
    EXPECT_TRUE(mpfr_cmp_d(eq.mpfr(), 1.0 / 128) == 0);
    TalvoMP_g01bjc(0, F("0.5"), 0, &le, &gt, &eq, &f);
    EXPECT_TRUE(is(le, 1) && is(gt, 0) && is(eq, 1));
    EXPECT_EQ(f.code, NE_NOERROR) << f.message;
}

// tol asks for fewer digits: the result is within tol of the full one.
TEST(NumericsIdentities, ToleranceIsRespected)
{
    DigitsScope d(60);
    NagError f{};
    TalvoFloat full = TalvoMP_g01gcc(F("130"), F("10"), F("100"), TalvoFloat(), 10000, &f);
    for (const char *tol : {"1e-5", "1e-20", "1e-45"}) {
        TalvoFloat rough = TalvoMP_g01gcc(F("130"), F("10"), F("100"), F(tol), 10000, &f);
        TalvoFloat rel = fabs((rough - full) / full);
        EXPECT_LT(mpfr_cmp(rel.mpfr(), F(tol).mpfr()), 0) << "tol " << tol;
    }
    // A looser tolerance needs fewer terms.
    NagError a{}, b{};
    TalvoMP_g01gcc(F("130"), F("10"), F("100"), F("1e-8"), 2, &a);
    TalvoMP_g01gcc(F("130"), F("10"), F("100"), TalvoFloat(), 2, &b);
    ASSERT_EQ(a.code, NE_CONV);
    ASSERT_EQ(b.code, NE_CONV);
    EXPECT_LT(a.iterations, b.iterations);
    // tol values that ask for more than Digits, or nothing, mean full precision.
    for (const char *tol : {"0", "1e-100", "1", "5"}) {
        TalvoFloat v = TalvoMP_g01gcc(F("130"), F("10"), F("100"), F(tol), 10000, &f);
        EXPECT_LT(units(v, full, 60), 1) << "tol " << tol;
    }
    EXPECT_EQ(f.code, NE_NOERROR) << f.message;
}

// The same for every routine that reads tol: within tol of the full result
// for a loose and a tight tolerance, and a loose tolerance sums fewer terms.
TEST(NumericsIdentities, ToleranceIsRespectedByEveryRoutine)
{
    DigitsScope d(60);
    struct Case {
        const char *name;
        std::function<TalvoFloat(const TalvoFloat &tol, Integer max_iter, NagError *)> call;
        bool series; // a Poisson-weighted series (max_iter counts its terms)
    } cases[] = {
        {"g01gbc", [](const TalvoFloat &t, Integer m, NagError *f) { return TalvoMP_g01gbc(F("3"), F("10"), F("12"), t, m, f); }, true},
        {"g01gdc", [](const TalvoFloat &t, Integer m, NagError *f) { return TalvoMP_g01gdc(F("3"), F("20"), F("200"), F("50"), t, m, f); }, true},
        {"g01gec", [](const TalvoFloat &t, Integer m, NagError *f) { return TalvoMP_g01gec(F("0.6"), F("10"), F("20"), F("60"), t, m, f); }, true},
        {"g01fec", [](const TalvoFloat &t, Integer, NagError *f) { return TalvoMP_g01fec(F("0.975"), F("2.5"), F("3.5"), t, f); }, false},
        {"g01ffc", [](const TalvoFloat &t, Integer, NagError *f) { return TalvoMP_g01ffc(F("0.01"), F("3.5"), F("2"), t, f); }, false},
    };
    for (auto &c : cases) {
        NagError f{};
        TalvoFloat full = c.call(TalvoFloat(), 100000, &f);
        ASSERT_EQ(f.code, NE_NOERROR) << c.name << ": " << f.message;
        for (const char *tol : {"1e-6", "1e-30"}) {
            TalvoFloat rough = c.call(F(tol), 100000, &f);
            ASSERT_EQ(f.code, NE_NOERROR) << c.name << ": " << f.message;
            TalvoFloat rel = fabs((rough - full) / full);
            EXPECT_LT(mpfr_cmp(rel.mpfr(), F(tol).mpfr()), 0) << c.name << " tol " << tol;
        }
        if (c.series) {
            NagError a{}, b{};
            c.call(F("1e-6"), 2, &a);
            c.call(TalvoFloat(), 2, &b);
            ASSERT_EQ(a.code, NE_CONV) << c.name;
            ASSERT_EQ(b.code, NE_CONV) << c.name;
            EXPECT_LT(a.iterations, b.iterations) << c.name;
        }
    }
}

// Results are floats of the current precision.
TEST(NumericsIdentities, ResultPrecision)
{
    for (long digits : {10L, 33L, 200L}) {
        DigitsScope d(digits);
        NagError f{};
        TalvoFloat v = TalvoMP_g01ecc(L, F("3"), F("4"), &f);
        EXPECT_EQ(mpfr_get_prec(v.mpfr()), talvo_float_precision());
        TalvoFloat p, q, pdf;
        TalvoMP_g01eec(F("0.25"), F("2"), F("3"), TalvoFloat(), &p, &q, &pdf, &f);
        EXPECT_EQ(mpfr_get_prec(pdf.mpfr()), talvo_float_precision());
    }
}

} // namespace
