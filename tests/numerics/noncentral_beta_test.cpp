// noncentral_beta_test.cpp -- the non-central beta and F distributions (noncentral/noncentral_beta.cpp): g01gec, and g01gdc, the non-central F as the non-central beta at a transformed point:
// accuracy against the committed tables (data/noncentral_beta/) at every precision, and
// every failure.
#include "checks.hpp"

namespace {

using namespace talvo::test;

INSTANTIATE_TEST_SUITE_P(NonCentralBeta, Table, FamilyCases("noncentral_beta"), CaseName);

TEST(NumericsErrors, NonCentralBeta)
{
    DigitsScope d(20);
    TalvoFloat tol;
    expect_fail(NE_REAL_ARG_GT, "x = 2. ", [&](NagError *f) { return TalvoMP_g01gec(F("2"), F("2"), F("3"), F("1"), tol, 100, f); });
    expect_fail(NE_REAL_ARG_LE, "a = 0. ", [&](NagError *f) { return TalvoMP_g01gec(F("0.5"), F("0"), F("3"), F("1"), tol, 100, f); });
    expect_fail(NE_REAL_ARG_LT, "lambda = -2.",
                [&](NagError *f) { return TalvoMP_g01gec(F("0.5"), F("2"), F("3"), F("-2"), tol, 100, f); });
    expect_fail(NE_INT_ARG_LT, "max_iter = -5",
                [&](NagError *f) { return TalvoMP_g01gec(F("0.5"), F("2"), F("3"), F("1"), tol, -5, f); });
    expect_fail(NE_REAL_ARG_LT, "x = -0.5", [&](NagError *f) { return TalvoMP_g01gec(F("-0.5"), F("2"), F("3"), F("1"), tol, 100, f); });
    expect_fail(NE_REAL_ARG_LE, "b = -1.", [&](NagError *f) { return TalvoMP_g01gec(F("0.5"), F("2"), F("-1"), F("1"), tol, 100, f); });
    expect_fail(NE_REAL_ARG_NAN, "lambda is undefined",
                [&](NagError *f) { return TalvoMP_g01gec(F("0.5"), F("2"), F("3"), undefined(), tol, 100, f); });
}

TEST(NumericsErrors, NonCentralFRatio)
{
    DigitsScope d(20);
    TalvoFloat tol;
    expect_fail(NE_REAL_ARG_LT, "f = -1.",
                [&](NagError *f) { return TalvoMP_g01gdc(F("-1"), F("5"), F("7"), F("1"), tol, 100, f); });
    expect_fail(NE_REAL_ARG_LE, "df1 = 0. ",
                [&](NagError *f) { return TalvoMP_g01gdc(F("1"), F("0"), F("7"), F("1"), tol, 100, f); });
    expect_fail(NE_REAL_ARG_LE, "df2 = 0. ",
                [&](NagError *f) { return TalvoMP_g01gdc(F("1"), F("5"), F("0"), F("1"), tol, 100, f); });
    expect_fail(NE_REAL_ARG_LT, "lambda = -1.",
                [&](NagError *f) { return TalvoMP_g01gdc(F("1"), F("5"), F("7"), F("-1"), tol, 100, f); });
    expect_fail(NE_REAL_ARG_NAN, "f is undefined",
                [&](NagError *f) { return TalvoMP_g01gdc(undefined(), F("5"), F("7"), F("1"), tol, 100, f); });
    expect_fail(NE_REAL_ARG_NAN, "lambda is undefined",
                [&](NagError *f) { return TalvoMP_g01gdc(F("1"), F("5"), F("7"), undefined(), tol, 100, f); });
    expect_fail(NE_INT_ARG_LT, "max_iter = 0 is out of range: max_iter must be >= 1",
                [&](NagError *f) { return TalvoMP_g01gdc(F("1"), F("5"), F("7"), F("1"), tol, 0, f); });
}

} // namespace
