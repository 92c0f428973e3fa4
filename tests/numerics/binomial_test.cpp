// binomial_test.cpp -- the binomial distribution (binomial.cpp): g01bjc:
// accuracy against the committed tables (data/binomial/) at every precision, and
// every failure.
#include "checks.hpp"

#include <chrono>

namespace {

using namespace talvo::test;

INSTANTIATE_TEST_SUITE_P(Binomial, Table, FamilyCases("binomial"), CaseName);

TEST(NumericsErrors, Binomial)
{
    DigitsScope d(20);
    expect_fail3(NE_INT_ARG_LT, "n = -1 is out of range: n must be >= 0",
                 [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01bjc(-1, F("0.5"), 0, a, b, c, f); });
    expect_fail3(NE_REAL_ARG_LE, "p = 0. ", [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01bjc(5, F("0"), 1, a, b, c, f); });
    expect_fail3(NE_REAL_ARG_GE, "p = 1. ", [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01bjc(5, F("1"), 1, a, b, c, f); });
    expect_fail3(NE_REAL_ARG_NAN, "p is undefined",
                 [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01bjc(5, undefined(), 1, a, b, c, f); });
    expect_fail3(NE_INT_ARG_LT, "k = -1", [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01bjc(5, F("0.5"), -1, a, b, c, f); });
    expect_fail3(NE_ARG_COMBINATION, "k = 6 is out of range: k must be <= n = 5",
                 [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01bjc(5, F("0.5"), 6, a, b, c, f); });
}

// Parameters whose series would need more terms than any call may take are
// refused at once instead of running for minutes.
TEST(NumericsErrors, TooCostly)
{
    DigitsScope d(30);
    auto start = std::chrono::steady_clock::now();
    expect_fail3(NE_TOO_COSTLY, "too large", [](auto *a, auto *b, auto *c, NagError *f) {
        TalvoMP_g01bjc(2000000000000000000L, F("0.5"), 1000000000000000000L, a, b, c, f);
    });
    double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    EXPECT_LT(seconds, 5.0);
}

} // namespace
