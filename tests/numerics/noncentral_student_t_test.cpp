// noncentral_student_t_test.cpp -- the non-central t distribution (noncentral/noncentral_student_t.cpp): g01gbc:
// accuracy against the committed tables (data/noncentral_student_t/) at every precision, and
// every failure.
#include "checks.hpp"

namespace {

using namespace talvo::test;

INSTANTIATE_TEST_SUITE_P(NonCentralStudentT, Table, FamilyCases("noncentral_student_t"), CaseName);

TEST(NumericsErrors, NonCentralStudentT)
{
    DigitsScope d(20);
    TalvoFloat tol;
    expect_fail(NE_REAL_ARG_LE, "df = 0. ", [&](NagError *f) { return TalvoMP_g01gbc(F("1"), F("0"), F("1"), tol, 100, f); });
    expect_fail(NE_REAL_ARG_NAN, "delta is undefined",
                [&](NagError *f) { return TalvoMP_g01gbc(F("1"), F("5"), undefined(), tol, 100, f); });
    expect_fail(NE_REAL_ARG_INF, "delta", [&](NagError *f) { return TalvoMP_g01gbc(F("1"), F("5"), inf(), tol, 100, f); });
    expect_fail(NE_INT_ARG_LT, "max_iter = 0 is out of range: max_iter must be >= 1",
                [&](NagError *f) { return TalvoMP_g01gbc(F("1"), F("5"), F("1"), tol, 0, f); });
    expect_fail(NE_REAL_ARG_NAN, "tol is undefined",
                [&](NagError *f) { return TalvoMP_g01gbc(F("1"), F("5"), F("1"), undefined(), 100, f); });
    expect_fail(NE_REAL_ARG_NAN, "t is undefined",
                [&](NagError *f) { return TalvoMP_g01gbc(undefined(), F("5"), F("1"), tol, 100, f); });
    expect_fail(NE_REAL_ARG_LE, "df = -2.", [&](NagError *f) { return TalvoMP_g01gbc(F("1"), F("-2"), F("1"), tol, 100, f); });
}

} // namespace
