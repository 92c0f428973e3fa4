// normal_test.cpp -- the standard normal distribution (normal.cpp): g01eac, g01fac:
// accuracy against the committed tables (data/normal/) at every precision, and
// every failure.
#include "checks.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

namespace {

using namespace talvo::test;

INSTANTIATE_TEST_SUITE_P(Normal, Table, FamilyCases("normal"), CaseName);

TEST(NumericsErrors, Normal)
{
    DigitsScope d(20);
    expect_fail(NE_BAD_PARAM, "tail = 1333", [](NagError *f) { return TalvoMP_g01eac(BadTail, F("1"), f); });
    expect_fail(NE_BAD_PARAM, "tail = 0", [](NagError *f) { return TalvoMP_g01eac(ZeroTail, F("1"), f); });
    expect_fail(NE_REAL_ARG_NAN, "x is undefined", [](NagError *f) { return TalvoMP_g01eac(L, undefined(), f); });
    expect_fail(NE_BAD_PARAM, "tail", [](NagError *f) { return TalvoMP_g01fac(BadTail, F("0.5"), f); });
    expect_fail(NE_REAL_ARG_LE, "p = 0. ", [](NagError *f) { return TalvoMP_g01fac(L, F("0"), f); });
    expect_fail(NE_REAL_ARG_LE, "p = -0.25", [](NagError *f) { return TalvoMP_g01fac(U, F("-0.25"), f); });
    expect_fail(NE_REAL_ARG_GE, "p = 1. ", [](NagError *f) { return TalvoMP_g01fac(S, F("1"), f); });
    expect_fail(NE_REAL_ARG_GE, "p must be < 1", [](NagError *f) { return TalvoMP_g01fac(C, F("1.5"), f); });
    expect_fail(NE_REAL_ARG_NAN, "p is undefined", [](NagError *f) { return TalvoMP_g01fac(L, undefined(), f); });
}

} // namespace

// The series behind the deviate's first attempt (TalvoMP_normal_series_enclosure):
// its bounds hold Q(m) = P(Z >= m) as the full routine (g01eac, 40 digits
// further) computes it, on a grid of m from 0 to 6 at 10, 15 and 20 digits,
// and are narrow enough for the Newton step.  It declines only where the
// cancellation in 1/2 - m phi(m) S needs more bits than the fixed point
// holds: never for m <= 5 at up to 15 digits, nor for m <= 3 at 20 digits
// (above about 22 digits it always declines, and the error function answers).
namespace {

struct SeriesCount {
    int checked = 0, outside = 0, wide = 0, declined = 0;
    double least_declined = 100; // the smallest m declined
};

SeriesCount CheckSeries(long digits)
{
    DigitsScope d(digits);
    SeriesCount n;
    for (int i = 0; i <= 240; ++i) {
        // m = i / 40 plus an irrational-looking offset, so no point is special.
        TalvoFloat m = F(std::to_string(i / 40.0 + (i > 0 ? 0.0123456789 : 0.0)).c_str());
        TalvoFloat lo, hi;
        if (!TalvoMP_normal_series_enclosure(m, &lo, &hi)) {
            ++n.declined;
            n.least_declined = std::min(n.least_declined, mpfr_get_d(m.mpfr(), MPFR_RNDN));
            continue;
        }
        TalvoFloat ref;
        {
            DigitsScope more(digits + 40);
            NagError fail{};
            ref = TalvoMP_g01eac(U, m, &fail);
            EXPECT_EQ(fail.code, NE_NOERROR);
        }
        ++n.checked;
        if (mpfr_cmp(lo.mpfr(), ref.mpfr()) > 0 || mpfr_cmp(ref.mpfr(), hi.mpfr()) > 0)
            ++n.outside;
        mpfr_t w;
        mpfr_init2(w, 64);
        mpfr_sub(w, hi.mpfr(), lo.mpfr(), MPFR_RNDU);
        mpfr_div(w, w, ref.mpfr(), MPFR_RNDU);
        if (mpfr_cmp_d(w, std::ldexp(1.0, -static_cast<int>(digits * 3.32) - 16)) > 0)
            ++n.wide;
        mpfr_clear(w);
    }
    return n;
}

class NormalSeries : public ::testing::TestWithParam<long> {};

TEST_P(NormalSeries, BoundsHoldTheFullRoutinesTail)
{
    SeriesCount n = CheckSeries(GetParam());
    EXPECT_EQ(n.outside, 0) << n.outside << " of " << n.checked;
    EXPECT_EQ(n.wide, 0) << n.wide << " of " << n.checked;
    EXPECT_GT(n.least_declined, GetParam() <= 15 ? 5.0 : 3.0) << n.declined << " declined";
}

INSTANTIATE_TEST_SUITE_P(Digits, NormalSeries, ::testing::Values(10L, 15L, 20L),
                         [](const ::testing::TestParamInfo<long> &i) { return "D" + std::to_string(i.param); });

} // namespace

// The deviate with its probability (TalvoMP_g01fac_lower_with_probability):
// the deviate is g01fac's, bit for bit, and a settled probability is
// g01eac's at that deviate, bit for bit; at up to 30 digits almost every
// ordinary probability is settled (else the caller pays a second error
// function).
namespace {

class DeviateWithProbability : public ::testing::TestWithParam<long> {};

TEST_P(DeviateWithProbability, IsTheTwoRoutinesAnswers)
{
    DigitsScope d(GetParam());
    int ordinary = 0, settled_ordinary = 0;
    unsigned long s = 987654321;
    for (int i = 0; i < 400; ++i) {
        s = s * 6364136223846793005UL + 1442695040888963407UL;
        double u = double(s >> 11) / 9007199254740992.0;
        // Uniform probabilities, then some tails down to 1e-300.
        std::string text = std::to_string(u);
        if (i % 8 == 7)
            text = "1e-" + std::to_string(1 + (i * 37) % 300);
        char buf[40];
        if (i % 8 != 7) {
            std::snprintf(buf, sizeof buf, "%.17g", u > 0 ? u : 0.5);
            text = buf;
        }
        TalvoFloat p = F(text.c_str());
        if (!(mpfr_cmp_ui(p.mpfr(), 0) > 0 && mpfr_cmp_ui(p.mpfr(), 1) < 0))
            continue;
        NagError f1{}, f2{}, f3{};
        TalvoFloat prob;
        int settled = 0;
        TalvoFloat z = TalvoMP_g01fac_lower_with_probability(p, &prob, &settled, &f1);
        TalvoFloat ref = TalvoMP_g01fac(L, p, &f2);
        ASSERT_EQ(f1.code, NE_NOERROR);
        EXPECT_TRUE(mpfr_equal_p(z.mpfr(), ref.mpfr()) && mpfr_get_prec(z.mpfr()) == mpfr_get_prec(ref.mpfr()))
            << text;
        if (settled) {
            TalvoFloat want = TalvoMP_g01eac(L, z, &f3);
            EXPECT_TRUE(mpfr_equal_p(prob.mpfr(), want.mpfr()) &&
                        mpfr_get_prec(prob.mpfr()) == mpfr_get_prec(want.mpfr()))
                << text << " at " << GetParam() << " got " << talvo_float_to_string(prob.handle(), 40) << " want " << talvo_float_to_string(want.handle(), 40) << " z " << talvo_float_to_string(z.handle(), 40);
        }
        if (i % 8 != 7 && u > 1e-6 && u < 1 - 1e-6) {
            ++ordinary;
            settled_ordinary += settled;
        }
    }
    if (GetParam() <= 30) {
        EXPECT_GE(settled_ordinary * 10, ordinary * 9) << settled_ordinary << " of " << ordinary;
    }
}

INSTANTIATE_TEST_SUITE_P(Digits, DeviateWithProbability, ::testing::Values(10L, 15L, 20L, 30L, 31L, 50L),
                         [](const ::testing::TestParamInfo<long> &i) { return "D" + std::to_string(i.param); });

} // namespace
