// student_t_test.cpp -- Student's t distribution (student_t.cpp): g01ebc, g01fbc:
// accuracy against the committed tables (data/student_t/) at every precision, and
// every failure.
#include "checks.hpp"

#include <cmath>

namespace {

using namespace talvo::test;

INSTANTIATE_TEST_SUITE_P(StudentT, Table, FamilyCases("student_t"), CaseName);

TEST(NumericsErrors, StudentT)
{
    DigitsScope d(20);
    expect_fail(NE_BAD_PARAM, "tail = 1333", [](NagError *f) { return TalvoMP_g01ebc(BadTail, F("1"), F("5"), f); });
    expect_fail(NE_REAL_ARG_NAN, "t is undefined", [](NagError *f) { return TalvoMP_g01ebc(L, undefined(), F("5"), f); });
    expect_fail(NE_REAL_ARG_LE, "df = 0. is out of range: df must be > 0",
                [](NagError *f) { return TalvoMP_g01ebc(L, F("1"), F("0"), f); });
    expect_fail(NE_REAL_ARG_LE, "df = -3.", [](NagError *f) { return TalvoMP_g01ebc(U, F("1"), F("-3"), f); });
    expect_fail(NE_REAL_ARG_INF, "df = Float(infinity)", [](NagError *f) { return TalvoMP_g01ebc(U, F("1"), inf(), f); });
    expect_fail(NE_REAL_ARG_NAN, "df is undefined", [](NagError *f) { return TalvoMP_g01ebc(S, F("1"), undefined(), f); });
    expect_fail(NE_BAD_PARAM, "tail", [](NagError *f) { return TalvoMP_g01fbc(ZeroTail, F("0.5"), F("5"), f); });
    expect_fail(NE_REAL_ARG_LE, "p = 0. ", [](NagError *f) { return TalvoMP_g01fbc(L, F("0"), F("5"), f); });
    expect_fail(NE_REAL_ARG_GE, "p = 1. ", [](NagError *f) { return TalvoMP_g01fbc(C, F("1"), F("5"), f); });
    expect_fail(NE_REAL_ARG_LE, "df = -0.5", [](NagError *f) { return TalvoMP_g01fbc(L, F("0.3"), F("-0.5"), f); });
    expect_fail(NE_REAL_ARG_NAN, "p is undefined", [](NagError *f) { return TalvoMP_g01fbc(U, undefined(), F("5"), f); });
    expect_fail(NE_REAL_ARG_NAN, "df is undefined", [](NagError *f) { return TalvoMP_g01fbc(S, F("0.3"), undefined(), f); });
    expect_fail(NE_REAL_ARG_INF, "df = Float(infinity)", [](NagError *f) { return TalvoMP_g01fbc(L, F("0.3"), inf(), f); });
}

} // namespace

// The series behind the deviate's first attempt (TalvoMP_t_series_enclosure):
// its bounds hold S = P(|T| >= t) and C = P(|T| <= t) as the full routine
// (g01ebc, two-tailed, 40 digits further) computes them, on a grid of t
// from 10^-8 to 10^12 (far tails of both) and degrees of freedom from 0.3 to
// 10^6, at 10, 15, 20 and 30 digits; both ways of summing (ball arithmetic
// for a df seen once, fixed point once the same df comes again) are
// checked, and the bounds are narrow enough to be of use.  With the radius
// shrunk by the test hook the same check finds values outside.
namespace {

const char *const kGridT[] = {"1e-8", "0.001", "0.1", "0.5", "0.7265", "1", "1.5", "2",
                              "3.5",  "5",     "10",  "30",  "100",    "1e4", "1e8", "1e12"};
const char *const kGridDf[] = {"0.3", "1", "2", "2.5", "5", "7", "60", "1000001", "1e6"};

struct GridCount {
    int checked = 0, outside = 0, wide = 0;
};

// One point: the bounds against the reference; the width against 2^-(goal).
void CheckPoint(const TalvoFloat &t, const TalvoFloat &df, bool want_s, long digits, GridCount &n)
{
    TalvoFloat lo, hi;
    if (!TalvoMP_t_series_enclosure(t, df, want_s ? 1 : 0, &lo, &hi))
        return;
    TalvoFloat ref;
    {
        DigitsScope more(digits + 40);
        NagError fail{};
        ref = TalvoMP_g01ebc(want_s ? S : C, t, df, &fail);
        ASSERT_EQ(fail.code, NE_NOERROR);
    }
    ++n.checked;
    if (mpfr_cmp(lo.mpfr(), ref.mpfr()) > 0 || mpfr_cmp(ref.mpfr(), hi.mpfr()) > 0)
        ++n.outside;
    // hi - lo below 2^-(bits of the digits) of the value.
    mpfr_t w;
    mpfr_init2(w, 64);
    mpfr_sub(w, hi.mpfr(), lo.mpfr(), MPFR_RNDU);
    mpfr_div(w, w, ref.mpfr(), MPFR_RNDU);
    if (mpfr_cmp_d(w, std::ldexp(1.0, -static_cast<int>(digits * 3.32))) > 0)
        ++n.wide;
    mpfr_clear(w);
}

GridCount CheckGrid(long digits)
{
    DigitsScope d(digits);
    GridCount n;
    const TalvoFloat other = F("3.25");
    for (const char *dft : kGridDf) {
        TalvoFloat df = F(dft);
        for (bool want_s : {true, false})
            for (const char *tt : kGridT) {
                TalvoFloat t = F(tt);
                // A df seen once: the sums in ball arithmetic.
                TalvoFloat lo, hi;
                TalvoMP_t_series_enclosure(F("1"), other, 1, &lo, &hi);
                CheckPoint(t, df, want_s, digits, n);
                // The same df again: the fixed-point sums where they hold the bits.
                CheckPoint(t, df, want_s, digits, n);
            }
    }
    return n;
}

class TSeries : public ::testing::TestWithParam<long> {};

TEST_P(TSeries, BoundsHoldTheFullRoutinesTails)
{
    GridCount n = CheckGrid(GetParam());
    EXPECT_EQ(n.outside, 0) << n.outside << " of " << n.checked;
    EXPECT_EQ(n.wide, 0) << n.wide << " of " << n.checked;
    // Most of the grid is within the series' reach (the rest is left to the
    // full routine: a t so small or so large that a double cannot hold it).
    EXPECT_GE(n.checked * 10, 2 * 9 * 2 * 16 * 8) << n.checked;
}

TEST_P(TSeries, ANarrowedBoundIsCaught)
{
    long was = TalvoMP_t_series_radius_shift(40);
    GridCount n = CheckGrid(GetParam());
    TalvoMP_t_series_radius_shift(was);
    EXPECT_GT(n.outside * 4, n.checked) << n.outside << " of " << n.checked;
}

INSTANTIATE_TEST_SUITE_P(Digits, TSeries, ::testing::Values(10L, 15L, 20L, 30L),
                         [](const ::testing::TestParamInfo<long> &i) { return "D" + std::to_string(i.param); });

} // namespace
