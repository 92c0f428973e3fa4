// beta_test.cpp -- the beta distribution (beta.cpp): g01eec, g01fec, and their rows with whole-number shapes:
// accuracy against the committed tables (data/beta/) at every precision, and
// every failure.
#include "checks.hpp"

namespace {

using namespace talvo::test;

INSTANTIATE_TEST_SUITE_P(Beta, Table, FamilyCases("beta"), CaseName);

TEST(NumericsErrors, Beta)
{
    DigitsScope d(20);
    expect_fail3(NE_REAL_ARG_LT, "x = -0.125 is out of range: x must be >= 0", [](auto *p, auto *q, auto *r, NagError *f) {
        TalvoMP_g01eec(F("-0.125"), F("2"), F("3"), TalvoFloat(), p, q, r, f);
    });
    expect_fail3(NE_REAL_ARG_GT, "x = 1.5 is out of range: x must be <= 1", [](auto *p, auto *q, auto *r, NagError *f) {
        TalvoMP_g01eec(F("1.5"), F("2"), F("3"), TalvoFloat(), p, q, r, f);
    });
    expect_fail3(NE_REAL_ARG_LE, "a = 0. ", [](auto *p, auto *q, auto *r, NagError *f) {
        TalvoMP_g01eec(F("0.5"), F("0"), F("3"), TalvoFloat(), p, q, r, f);
    });
    expect_fail3(NE_REAL_ARG_LE, "b = -1.", [](auto *p, auto *q, auto *r, NagError *f) {
        TalvoMP_g01eec(F("0.5"), F("2"), F("-1"), TalvoFloat(), p, q, r, f);
    });
    expect_fail3(NE_REAL_ARG_NAN, "x is undefined", [](auto *p, auto *q, auto *r, NagError *f) {
        TalvoMP_g01eec(undefined(), F("2"), F("3"), TalvoFloat(), p, q, r, f);
    });
    expect_fail3(NE_REAL_ARG_NAN, "b is undefined", [](auto *p, auto *q, auto *r, NagError *f) {
        TalvoMP_g01eec(F("0.5"), F("2"), undefined(), TalvoFloat(), p, q, r, f);
    });
    expect_fail3(NE_REAL_ARG_INF, "a = Float(infinity)", [](auto *p, auto *q, auto *r, NagError *f) {
        TalvoMP_g01eec(F("0.5"), inf(), F("3"), TalvoFloat(), p, q, r, f);
    });
    expect_fail(NE_REAL_ARG_GT, "p = 1.5", [](NagError *f) { return TalvoMP_g01fec(F("1.5"), F("2"), F("3"), TalvoFloat(), f); });
    expect_fail(NE_REAL_ARG_LT, "p = -1.", [](NagError *f) { return TalvoMP_g01fec(F("-1"), F("2"), F("3"), TalvoFloat(), f); });
    expect_fail(NE_REAL_ARG_LE, "a = 0. ", [](NagError *f) { return TalvoMP_g01fec(F("0.5"), F("0"), F("3"), TalvoFloat(), f); });
    expect_fail(NE_REAL_ARG_INF, "b = Float(infinity)",
                [](NagError *f) { return TalvoMP_g01fec(F("0.5"), F("2"), inf(), TalvoFloat(), f); });
    expect_fail(NE_REAL_ARG_NAN, "tol is undefined",
                [](NagError *f) { return TalvoMP_g01fec(F("0.5"), F("2"), F("3"), undefined(), f); });
}

} // namespace
