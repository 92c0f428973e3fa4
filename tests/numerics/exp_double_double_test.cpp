// exp_double_double_test.cpp -- the double-double first step of the correctly
// rounded exponential (core/double_double_functions.cpp): wherever it answers, its
// float is MPFR's correctly rounded exp; it answers almost everywhere it
// applies, and nowhere else.
#include "talvo_mp_ball.h"

#include <gtest/gtest.h>
#include <mpfr.h>

#include <cmath>
#include <cstdint>
#include <random>

namespace {

struct Mpfr {
    mpfr_t v;
    explicit Mpfr(mpfr_prec_t p) { mpfr_init2(v, p); }
    ~Mpfr() { mpfr_clear(v); }
};

// Random x of xprec bits: a random significand, scaled to 2^s with s in
// [smin, smax], random sign.
void random_x(std::mt19937_64 &g, mpfr_ptr x, int smin, int smax)
{
    const mpfr_prec_t p = mpfr_get_prec(x);
    uint64_t m = g() | (uint64_t(1) << 63);
    if (p < 64)
        m &= ~((uint64_t(1) << (64 - p)) - 1);
    std::uniform_int_distribution<int> scale(smin, smax);
    mpfr_set_ui_2exp(x, m, scale(g) - 64, MPFR_RNDN); // exact: m has at most p bits
    if (g() & 1)
        mpfr_neg(x, x, MPFR_RNDN);
}

TEST(ExpDoubleDouble, AnswersAreMpfrsCorrectlyRoundedExp)
{
    std::mt19937_64 g(20261127);
    long answered = 0, tried = 0;
    for (mpfr_prec_t xprec : {8, 24, 53, 54, 60, 64}) {
        for (mpfr_prec_t prec : {2, 11, 38, 53, 54, 57, 63, 64}) {
            Mpfr x(xprec), fast(prec), ref(prec);
            for (int i = 0; i < 20000; ++i) {
                // Exponents from tiny arguments (exp near 1, on either side)
                // to the edge of the range taken.
                random_x(g, x.v, i % 2 == 0 ? -80 : -3, 10);
                mpfr_set_nan(fast.v);
                mpfr_exp(ref.v, x.v, MPFR_RNDN);
                ++tried;
                if (!talvo::mp::exp_rounded_small(fast.v, x.v)) {
                    EXPECT_TRUE(mpfr_nan_p(fast.v)); // untouched when it declines
                    continue;
                }
                ++answered;
                ASSERT_TRUE(mpfr_equal_p(fast.v, ref.v))
                    << "x = " << mpfr_get_d(x.v, MPFR_RNDN) << " xprec " << xprec << " prec " << prec;
            }
        }
    }
    // It declines |x| > 600 (about 40% of the draws of larger exponent, a
    // quarter of all) and the few values within 2^-90 of a rounding
    // boundary; everything else it answers.
    EXPECT_GT(answered, tried * 7 / 10);
}

TEST(ExpDoubleDouble, EdgesOfItsRange)
{
    Mpfr x(64), fast(54), ref(54);
    // |x| up to 600 answered, beyond declined.
    for (double v : {600.0, -600.0, 599.9999999999999, -1e-20, 1e-25, 0.6931471805599453, 0.5, 1.0}) {
        mpfr_set_d(x.v, v, MPFR_RNDN);
        mpfr_exp(ref.v, x.v, MPFR_RNDN);
        ASSERT_TRUE(talvo::mp::exp_rounded_small(fast.v, x.v)) << v;
        EXPECT_TRUE(mpfr_equal_p(fast.v, ref.v)) << v;
    }
    for (double v : {600.5, -601.0, 1e6}) {
        mpfr_set_d(x.v, v, MPFR_RNDN);
        EXPECT_FALSE(talvo::mp::exp_rounded_small(fast.v, x.v)) << v;
    }
    // Not a regular number, or more than 64 bits: declined.
    mpfr_set_zero(x.v, 1);
    EXPECT_FALSE(talvo::mp::exp_rounded_small(fast.v, x.v));
    mpfr_set_inf(x.v, -1);
    EXPECT_FALSE(talvo::mp::exp_rounded_small(fast.v, x.v));
    mpfr_set_nan(x.v);
    EXPECT_FALSE(talvo::mp::exp_rounded_small(fast.v, x.v));
    Mpfr wide(65), out65(65);
    mpfr_set_d(wide.v, 0.5, MPFR_RNDN);
    EXPECT_FALSE(talvo::mp::exp_rounded_small(fast.v, wide.v));
    mpfr_set_d(x.v, 0.5, MPFR_RNDN);
    EXPECT_FALSE(talvo::mp::exp_rounded_small(out65.v, x.v));
    // All 64 bits of x in use, results of 64 bits.
    Mpfr r64(64), ref64(64);
    mpfr_set_ui_2exp(x.v, ~uint64_t(0), -64, MPFR_RNDN); // 1 - 2^-64
    ASSERT_TRUE(talvo::mp::exp_rounded_small(r64.v, x.v));
    mpfr_exp(ref64.v, x.v, MPFR_RNDN);
    EXPECT_TRUE(mpfr_equal_p(r64.v, ref64.v));
}

// Arguments whose exponential lies close to the middle between two floats of
// 54 bits (x = the logarithm of such a middle, to 64 bits: exp(x) is then
// within about 2^-64 of it, a two-thousandth of a unit in the last place),
// where a wrong error bound or rounding test would show first.
TEST(ExpDoubleDouble, NearRoundingBoundariesAnswersAreRight)
{
    Mpfr mid(200), lx(200), x(64), fast(54), ref(54);
    std::mt19937_64 g(7);
    int answered = 0;
    for (int i = 0; i < 20000; ++i) {
        // A middle (2j + 1) 2^-54 between two 54-bit floats in [1, 2), or the
        // same scaled by 2^-30 and 2^30.
        uint64_t j = (g() >> 11) | (uint64_t(1) << 52);
        mpfr_set_ui_2exp(mid.v, 2 * j + 1, -54 + 30 * (i % 3 - 1), MPFR_RNDN);
        mpfr_log(lx.v, mid.v, MPFR_RNDN);
        mpfr_set(x.v, lx.v, MPFR_RNDN);
        mpfr_set_nan(fast.v);
        if (!talvo::mp::exp_rounded_small(fast.v, x.v))
            continue;
        ++answered;
        mpfr_exp(ref.v, x.v, MPFR_RNDN);
        ASSERT_TRUE(mpfr_equal_p(fast.v, ref.v)) << i;
    }
    EXPECT_GT(answered, 19000);
}

} // namespace
