// f_ratio_test.cpp -- the F distribution (f_ratio.cpp): g01edc, g01fdc:
// accuracy against the committed tables (data/f_ratio/) at every precision, and
// every failure.
#include "checks.hpp"

namespace {

using namespace talvo::test;

INSTANTIATE_TEST_SUITE_P(FRatio, Table, FamilyCases("f_ratio"), CaseName);

TEST(NumericsErrors, FRatio)
{
    DigitsScope d(20);
    expect_fail(NE_BAD_PARAM, "tail = 1331", [](NagError *f) { return TalvoMP_g01edc(S, F("1"), F("5"), F("7"), f); });
    expect_fail(NE_REAL_ARG_LT, "f = -1.", [](NagError *f) { return TalvoMP_g01edc(L, F("-1"), F("5"), F("7"), f); });
    expect_fail(NE_REAL_ARG_LE, "df1 = 0. ", [](NagError *f) { return TalvoMP_g01edc(L, F("1"), F("0"), F("7"), f); });
    expect_fail(NE_REAL_ARG_LE, "df2 = -3.", [](NagError *f) { return TalvoMP_g01edc(U, F("1"), F("5"), F("-3"), f); });
    expect_fail(NE_REAL_ARG_NAN, "f is undefined", [](NagError *f) { return TalvoMP_g01edc(L, undefined(), F("5"), F("7"), f); });
    expect_fail(NE_REAL_ARG_NAN, "df1 is undefined", [](NagError *f) { return TalvoMP_g01edc(L, F("1"), undefined(), F("7"), f); });
    expect_fail(NE_REAL_ARG_INF, "df2 = Float(infinity)", [](NagError *f) { return TalvoMP_g01edc(L, F("1"), F("5"), inf(), f); });
    expect_fail(NE_REAL_ARG_LT, "p = -0.25", [](NagError *f) { return TalvoMP_g01fdc(F("-0.25"), F("5"), F("7"), f); });
    expect_fail(NE_REAL_ARG_LE, "df2 = -1.", [](NagError *f) { return TalvoMP_g01fdc(F("0.5"), F("5"), F("-1"), f); });
    expect_fail(NE_REAL_ARG_NAN, "p is undefined", [](NagError *f) { return TalvoMP_g01fdc(undefined(), F("5"), F("7"), f); });
    expect_fail(NE_REAL_ARG_GE, "p = 1. ", [](NagError *f) { return TalvoMP_g01fdc(F("1"), F("5"), F("7"), f); });
    expect_fail(NE_REAL_ARG_LE, "df1 = 0. ", [](NagError *f) { return TalvoMP_g01fdc(F("0.5"), F("0"), F("7"), f); });
    expect_fail(NE_REAL_ARG_NAN, "df2 is undefined",
                [](NagError *f) { return TalvoMP_g01fdc(F("0.5"), F("5"), undefined(), f); });
}

} // namespace
