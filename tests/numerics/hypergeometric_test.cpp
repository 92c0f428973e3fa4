// hypergeometric_test.cpp -- the hypergeometric distribution (hypergeometric.cpp): g01blc:
// accuracy against the committed tables (data/hypergeometric/) at every precision, and
// every failure.
#include "checks.hpp"

namespace {

using namespace talvo::test;

INSTANTIATE_TEST_SUITE_P(Hypergeometric, Table, FamilyCases("hypergeometric"), CaseName);

TEST(NumericsErrors, Hypergeometric)
{
    DigitsScope d(20);
    expect_fail3(NE_INT_ARG_LT, "n = -1", [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01blc(-1, 0, 0, 0, a, b, c, f); });
    expect_fail3(NE_INT_ARG_LT, "l = -2", [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01blc(10, -2, 3, 0, a, b, c, f); });
    expect_fail3(NE_INT_ARG_LT, "m = -3", [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01blc(10, 2, -3, 0, a, b, c, f); });
    expect_fail3(NE_ARG_COMBINATION, "l = 11 is out of range: l must be <= n = 10",
                 [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01blc(10, 11, 3, 0, a, b, c, f); });
    expect_fail3(NE_ARG_COMBINATION, "m = 12 is out of range: m must be <= n = 10",
                 [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01blc(10, 3, 12, 0, a, b, c, f); });
    expect_fail3(NE_INT_ARG_LT, "k = -1", [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01blc(10, 3, 4, -1, a, b, c, f); });
    expect_fail3(NE_ARG_COMBINATION, "k = 4 is out of range: k must be <= min(l, m) = 3",
                 [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01blc(10, 3, 4, 4, a, b, c, f); });
    expect_fail3(NE_ARG_COMBINATION, "k = 1 is out of range: k must be >= l + m - n = 2",
                 [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01blc(10, 6, 6, 1, a, b, c, f); });
}

} // namespace
