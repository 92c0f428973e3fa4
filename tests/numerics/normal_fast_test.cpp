// normal_fast_test.cpp -- g01fac's double-double step (normal_fast.cpp):
// wherever it answers, its deviate is the correctly rounded deviate and its
// probability the correctly rounded P(Z <= z) of that deviate (the ball
// paths' values at 25 more digits, rounded); it answers nearly every call it
// applies to; and g01fac and the deviate entry's probability agree with it.
#include "checks.hpp"

#include <mpfr.h>

#include <cmath>
#include <cstdio>
#include <random>
#include <string>

namespace {

using namespace talvo::test;

std::string text(const TalvoFloat &x)
{
    char buf[96];
    mpfr_snprintf(buf, sizeof buf, "%.30Rg", x.mpfr());
    return buf;
}

// x rounded to prec bits.
bool same_after_rounding(const TalvoFloat &reference, const TalvoFloat &x)
{
    mpfr_t r;
    mpfr_init2(r, mpfr_get_prec(x.mpfr()));
    mpfr_set(r, reference.mpfr(), MPFR_RNDN);
    const bool same = mpfr_equal_p(r, x.mpfr()) != 0;
    mpfr_clear(r);
    return same;
}

// A probability of the current precision: log-uniform towards 0 or 1, or
// uniform in the middle, with every bit of the precision used.
TalvoFloat random_probability(std::mt19937_64 &g)
{
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    char buf[64];
    const int kind = static_cast<int>(g() % 3);
    double v = kind == 0 ? std::pow(10.0, -250 * unit(g)) : kind == 1 ? unit(g) : 1 - std::pow(10.0, -15 * unit(g));
    if (!(v > 0 && v < 1))
        v = 0.25;
    char extra[8];
    std::snprintf(buf, sizeof buf, "%.16e", v);
    std::snprintf(extra, sizeof extra, "%03d", static_cast<int>(g() % 1000));
    std::string s(buf);
    s.insert(s.find('e'), extra);
    TalvoFloat p = F(s.c_str());
    if (!(mpfr_cmp_ui(p.mpfr(), 0) > 0 && mpfr_cmp_ui(p.mpfr(), 1) < 0))
        return F("0.25");
    return p;
}

TEST(NormalDoubleDouble, DeviatesAndProbabilitiesAreCorrectlyRounded)
{
    std::mt19937_64 g(20261128);
    for (int digits : {8, 10, 15, 18}) {
        long tried = 0, answered = 0, settled = 0;
        for (int i = 0; i < 1500; ++i) {
            const int lower = static_cast<int>(g() & 1);
            TalvoFloat p, z, prob;
            int ok = 0;
            {
                DigitsScope d(digits);
                p = random_probability(g);
                ok = TalvoMP_normal_deviate_double_double(p, lower, &z, &prob);
            }
            ++tried;
            if (!ok)
                continue;
            ++answered;
            const int was = TalvoMP_set_fast_paths(0);
            {
                DigitsScope d(digits + 25);
                NagError fail;
                INIT_FAIL(fail);
                TalvoFloat ref = TalvoMP_g01fac(lower ? Nag_LowerTail : Nag_UpperTail, p, &fail);
                ASSERT_EQ(fail.code, NE_NOERROR);
                EXPECT_TRUE(same_after_rounding(ref, z))
                    << "Digits " << digits << (lower ? " lower" : " upper") << " p = " << text(p) << " z = " << text(z)
                    << " reference " << text(ref);
                if (!mpfr_nan_p(prob.mpfr())) {
                    ++settled;
                    // P(Z <= z) of the rounded z, z exact at any precision.
                    TalvoFloat P = TalvoMP_g01eac(Nag_LowerTail, z, &fail);
                    ASSERT_EQ(fail.code, NE_NOERROR);
                    EXPECT_TRUE(same_after_rounding(P, prob))
                        << "Digits " << digits << " z = " << text(z) << " probability " << text(prob);
                }
            }
            TalvoMP_set_fast_paths(was);
        }
        // It declines within about 4e-4 of 1/2, beyond 10^-250 and where the
        // rounding is too close to call: a few percent of these at most.
        EXPECT_GE(answered, tried * 9 / 10) << "Digits " << digits;
        EXPECT_GE(settled, answered * 9 / 10) << "Digits " << digits;
    }
}

// g01fac answers with the double-double step where it applies, so its
// deviates are those of the step; and it still answers where the step
// declines.
TEST(NormalDoubleDouble, G01facGivesTheStepsAnswers)
{
    DigitsScope d(15);
    std::mt19937_64 g(5);
    for (int i = 0; i < 500; ++i) {
        TalvoFloat p = random_probability(g), z, prob;
        NagError fail;
        INIT_FAIL(fail);
        TalvoFloat r = TalvoMP_g01fac(Nag_LowerTail, p, &fail);
        ASSERT_EQ(fail.code, NE_NOERROR);
        if (TalvoMP_normal_deviate_double_double(p, 1, &z, &prob)) {
            EXPECT_TRUE(mpfr_equal_p(r.mpfr(), z.mpfr())) << text(p);
        }
    }
    for (const char *p : {"0.5000001", "1e-300", "0.9999999999999999"}) {
        NagError fail;
        INIT_FAIL(fail);
        TalvoFloat r = TalvoMP_g01fac(Nag_LowerTail, F(p), &fail);
        EXPECT_EQ(fail.code, NE_NOERROR) << p;
        EXPECT_TRUE(std::isfinite(mpfr_get_d(r.mpfr(), MPFR_RNDN))) << p;
    }
    TalvoFloat z, prob;
    EXPECT_EQ(TalvoMP_normal_deviate_double_double(F("0.5000001"), 1, &z, &prob), 0); // too close to 1/2
    EXPECT_EQ(TalvoMP_normal_deviate_double_double(F("1e-300"), 1, &z, &prob), 0);    // beyond the nodes
    {
        DigitsScope wide(25); // more than 64 bits
        EXPECT_EQ(TalvoMP_normal_deviate_double_double(F("0.3"), 1, &z, &prob), 0);
    }
    const int was = TalvoMP_set_fast_paths(0);
    EXPECT_EQ(TalvoMP_normal_deviate_double_double(F("0.3"), 1, &z, &prob), 0);
    TalvoMP_set_fast_paths(was);
}

} // namespace
