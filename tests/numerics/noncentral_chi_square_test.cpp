// noncentral_chi_square_test.cpp -- the non-central chi-square distribution (noncentral/noncentral_chi_square.cpp): g01gcc:
// accuracy against the committed tables (data/noncentral_chi_square/) at every precision, and
// every failure.
#include "checks.hpp"

#include <chrono>

namespace {

using namespace talvo::test;

INSTANTIATE_TEST_SUITE_P(NonCentralChiSquare, Table, FamilyCases("noncentral_chi_square"), CaseName);

TEST(NumericsErrors, NonCentralChiSquare)
{
    DigitsScope d(20);
    TalvoFloat tol;
    expect_fail(NE_REAL_ARG_LT, "x = -1.", [&](NagError *f) { return TalvoMP_g01gcc(F("-1"), F("5"), F("1"), tol, 100, f); });
    expect_fail(NE_REAL_ARG_LT, "df = -1.", [&](NagError *f) { return TalvoMP_g01gcc(F("1"), F("-1"), F("1"), tol, 100, f); });
    expect_fail(NE_REAL_ARG_LT, "lambda = -2.",
                [&](NagError *f) { return TalvoMP_g01gcc(F("1"), F("5"), F("-2"), tol, 100, f); });
    expect_fail(NE_ARG_COMBINATION, "lambda must be > 0 when df = 0",
                [&](NagError *f) { return TalvoMP_g01gcc(F("1"), F("0"), F("0"), tol, 100, f); });
    expect_fail(NE_INT_ARG_LT, "max_iter = -4", [&](NagError *f) { return TalvoMP_g01gcc(F("1"), F("5"), F("1"), tol, -4, f); });
    expect_fail(NE_REAL_ARG_NAN, "x is undefined",
                [&](NagError *f) { return TalvoMP_g01gcc(undefined(), F("5"), F("1"), tol, 100, f); });
    expect_fail(NE_REAL_ARG_INF, "lambda = Float(infinity)",
                [&](NagError *f) { return TalvoMP_g01gcc(F("1"), F("5"), inf(), tol, 100, f); });
    expect_fail(NE_REAL_ARG_NAN, "tol is undefined",
                [&](NagError *f) { return TalvoMP_g01gcc(F("1"), F("5"), F("1"), undefined(), 100, f); });
}

// Parameters whose series would need more terms than any call may take are
// refused at once instead of running for minutes.
TEST(NumericsErrors, TooCostly)
{
    DigitsScope d(30);
    auto start = std::chrono::steady_clock::now();
    expect_fail(NE_TOO_COSTLY, "too large",
                [](NagError *f) { return TalvoMP_g01gcc(F("1e18"), F("5"), F("1e18"), TalvoFloat(), 100, f); });
    double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    EXPECT_LT(seconds, 5.0);
}

} // namespace
