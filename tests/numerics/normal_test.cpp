// normal_test.cpp -- the standard normal distribution (normal.cpp): g01eac, g01fac:
// accuracy against the committed tables (data/normal/) at every precision, and
// every failure.
#include "checks.hpp"

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
