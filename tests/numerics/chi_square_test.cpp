// chi_square_test.cpp -- the chi-square distribution (chi_square.cpp): g01ecc, g01fcc:
// accuracy against the committed tables (data/chi_square/) at every precision, and
// every failure.
#include "checks.hpp"

namespace {

using namespace talvo::test;

INSTANTIATE_TEST_SUITE_P(ChiSquare, Table, FamilyCases("chi_square"), CaseName);

TEST(NumericsErrors, ChiSquare)
{
    DigitsScope d(20);
    expect_fail(NE_BAD_PARAM, "tail = 1331 is not accepted",
                [](NagError *f) { return TalvoMP_g01ecc(S, F("1"), F("5"), f); });
    expect_fail(NE_BAD_PARAM, "tail = 1332", [](NagError *f) { return TalvoMP_g01ecc(C, F("1"), F("5"), f); });
    expect_fail(NE_REAL_ARG_LT, "x = -1. is out of range: x must be >= 0",
                [](NagError *f) { return TalvoMP_g01ecc(L, F("-1"), F("5"), f); });
    expect_fail(NE_REAL_ARG_NAN, "x is undefined", [](NagError *f) { return TalvoMP_g01ecc(L, undefined(), F("5"), f); });
    expect_fail(NE_REAL_ARG_LE, "df = 0. ", [](NagError *f) { return TalvoMP_g01ecc(U, F("1"), F("0"), f); });
    expect_fail(NE_REAL_ARG_INF, "df", [](NagError *f) { return TalvoMP_g01ecc(U, F("1"), inf(), f); });
    expect_fail(NE_REAL_ARG_NAN, "df is undefined", [](NagError *f) { return TalvoMP_g01ecc(L, F("1"), undefined(), f); });
    expect_fail(NE_REAL_ARG_LE, "df = -7.", [](NagError *f) { return TalvoMP_g01ecc(L, F("1"), F("-7"), f); });
    expect_fail(NE_REAL_ARG_NAN, "p is undefined", [](NagError *f) { return TalvoMP_g01fcc(undefined(), F("5"), f); });
    expect_fail(NE_REAL_ARG_LT, "p = -0.5", [](NagError *f) { return TalvoMP_g01fcc(F("-0.5"), F("5"), f); });
    expect_fail(NE_REAL_ARG_GE, "p = 1. ", [](NagError *f) { return TalvoMP_g01fcc(F("1"), F("5"), f); });
    expect_fail(NE_REAL_ARG_LE, "df = -2.", [](NagError *f) { return TalvoMP_g01fcc(F("0.5"), F("-2"), f); });
    expect_fail(NE_REAL_ARG_NAN, "df is undefined", [](NagError *f) { return TalvoMP_g01fcc(F("0.5"), undefined(), f); });
}

} // namespace
