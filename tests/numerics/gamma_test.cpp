// gamma_test.cpp -- the gamma distribution (gamma.cpp): g01efc, g01ffc:
// accuracy against the committed tables (data/gamma/) at every precision, and
// every failure.
#include "checks.hpp"

#include <chrono>

namespace {

using namespace talvo::test;

INSTANTIATE_TEST_SUITE_P(Gamma, Table, FamilyCases("gamma"), CaseName);

TEST(NumericsErrors, Gamma)
{
    DigitsScope d(20);
    expect_fail(NE_BAD_PARAM, "tail = 1332", [](NagError *f) { return TalvoMP_g01efc(C, F("1"), F("2"), F("3"), f); });
    expect_fail(NE_REAL_ARG_LT, "g = -1.", [](NagError *f) { return TalvoMP_g01efc(L, F("-1"), F("2"), F("3"), f); });
    expect_fail(NE_REAL_ARG_LE, "a = 0. ", [](NagError *f) { return TalvoMP_g01efc(L, F("1"), F("0"), F("3"), f); });
    expect_fail(NE_REAL_ARG_LE, "b = -3.", [](NagError *f) { return TalvoMP_g01efc(U, F("1"), F("2"), F("-3"), f); });
    expect_fail(NE_REAL_ARG_NAN, "g is undefined", [](NagError *f) { return TalvoMP_g01efc(L, undefined(), F("2"), F("3"), f); });
    expect_fail(NE_REAL_ARG_INF, "b = Float(infinity)", [](NagError *f) { return TalvoMP_g01efc(L, F("1"), F("2"), inf(), f); });
    expect_fail(NE_BAD_PARAM, "tail = 1333", [](NagError *f) { return TalvoMP_g01efc(BadTail, F("1"), F("2"), F("3"), f); });
    expect_fail(NE_REAL_ARG_GE, "p = 1. ", [](NagError *f) { return TalvoMP_g01ffc(F("1"), F("2"), F("3"), TalvoFloat(), f); });
    expect_fail(NE_REAL_ARG_LE, "a = -1.", [](NagError *f) { return TalvoMP_g01ffc(F("0.5"), F("-1"), F("3"), TalvoFloat(), f); });
    expect_fail(NE_REAL_ARG_LE, "b = 0. ", [](NagError *f) { return TalvoMP_g01ffc(F("0.5"), F("2"), F("0"), TalvoFloat(), f); });
    expect_fail(NE_REAL_ARG_NAN, "a is undefined",
                [](NagError *f) { return TalvoMP_g01ffc(F("0.5"), undefined(), F("3"), TalvoFloat(), f); });
    expect_fail(NE_REAL_ARG_LT, "p = -0.5", [](NagError *f) { return TalvoMP_g01ffc(F("-0.5"), F("2"), F("3"), TalvoFloat(), f); });
    expect_fail(NE_REAL_ARG_NAN, "tol is undefined",
                [](NagError *f) { return TalvoMP_g01ffc(F("0.5"), F("2"), F("3"), undefined(), f); });
}

// Parameters whose series would need more terms than any call may take are
// refused at once instead of running for minutes.
TEST(NumericsErrors, TooCostly)
{
    DigitsScope d(30);
    auto start = std::chrono::steady_clock::now();
    expect_fail(NE_TOO_COSTLY, "too large", [](NagError *f) { return TalvoMP_g01efc(L, F("1e18"), F("1e18"), F("1"), f); });
    double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    EXPECT_LT(seconds, 5.0);
}

} // namespace
