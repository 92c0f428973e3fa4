// poisson_test.cpp -- the Poisson distribution (poisson.cpp): g01bkc:
// accuracy against the committed tables (data/poisson/) at every precision, and
// every failure.
#include "checks.hpp"

namespace {

using namespace talvo::test;

INSTANTIATE_TEST_SUITE_P(Poisson, Table, FamilyCases("poisson"), CaseName);

TEST(NumericsErrors, Poisson)
{
    DigitsScope d(20);
    expect_fail3(NE_REAL_ARG_LE, "rlamda = 0. ", [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01bkc(F("0"), 1, a, b, c, f); });
    expect_fail3(NE_REAL_ARG_LE, "rlamda = -2.5",
                 [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01bkc(F("-2.5"), 1, a, b, c, f); });
    expect_fail3(NE_REAL_ARG_INF, "rlamda", [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01bkc(inf(), 1, a, b, c, f); });
    expect_fail3(NE_REAL_ARG_NAN, "rlamda is undefined",
                 [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01bkc(undefined(), 1, a, b, c, f); });
    expect_fail3(NE_INT_ARG_LT, "k = -3", [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01bkc(F("2"), -3, a, b, c, f); });
    expect_fail3(NE_INT_ARG_LT, "k = -1 is out of range: k must be >= 0",
                 [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01bkc(F("2"), -1, a, b, c, f); });
}

} // namespace
