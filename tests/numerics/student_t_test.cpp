// student_t_test.cpp -- Student's t distribution (student_t.cpp): g01ebc, g01fbc:
// accuracy against the committed tables (data/student_t/) at every precision, and
// every failure.
#include "checks.hpp"

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
