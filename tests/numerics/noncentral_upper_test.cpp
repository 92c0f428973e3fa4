// noncentral_upper_test.cpp -- the upper tails of the non-central chi-square,
// beta and F laws (noncentral/noncentral_upper.cpp): accuracy against the
// committed tables (data/noncentral_upper/) at every precision, the
// complement of the lower-tail routines, and every failure.
#include "checks.hpp"

namespace {

using namespace talvo::test;

INSTANTIATE_TEST_SUITE_P(NonCentralUpper, Table, FamilyCases("noncentral_upper"), CaseName);

// Lower tail plus upper tail is 1; a small upper tail keeps its relative
// accuracy where 1 minus the lower tail would be 0.
TEST(NonCentralUpper, ComplementsTheLowerTail)
{
    DigitsScope d(30);
    NagError f{};
    TalvoFloat tol;
    TalvoFloat s1 = TalvoMP_g01gcc(F("7"), F("5"), F("2"), tol, 1000, &f) +
                    TalvoMP_noncentral_chi_square_upper(F("7"), F("5"), F("2"), tol, 1000, &f);
    TalvoFloat s2 = TalvoMP_g01gec(F("0.375"), F("2.5"), F("3.5"), F("4"), tol, 1000, &f) +
                    TalvoMP_noncentral_beta_upper(F("0.375"), F("2.5"), F("3.5"), F("4"), tol, 1000, &f);
    TalvoFloat s3 = TalvoMP_g01gdc(F("2.5"), F("5"), F("7"), F("3"), tol, 1000, &f) +
                    TalvoMP_noncentral_f_upper(F("2.5"), F("5"), F("7"), F("3"), tol, 1000, &f);
    ASSERT_EQ(f.code, NE_NOERROR) << f.message;
    for (const TalvoFloat &s : {s1, s2, s3})
        EXPECT_LT(fabs(s - TalvoFloat(1.0)).to_double(), 1e-29);
    TalvoFloat far = TalvoMP_noncentral_chi_square_upper(F("400"), F("5"), F("2"), tol, 1000, &f);
    EXPECT_GT(far.to_double(), 1e-80);
    EXPECT_LT(far.to_double(), 1e-70);
    EXPECT_EQ(talvo_float_to_string(TalvoMP_g01gcc(F("400"), F("5"), F("2"), tol, 1000, &f).handle(), 30), "1.");
}

TEST(NumericsErrors, NonCentralUpper)
{
    DigitsScope d(20);
    TalvoFloat tol;
    expect_fail(NE_REAL_ARG_LT, "x = -1.",
                [&](NagError *f) { return TalvoMP_noncentral_chi_square_upper(F("-1"), F("5"), F("1"), tol, 100, f); });
    expect_fail(NE_ARG_COMBINATION, "lambda must be > 0 when df = 0",
                [&](NagError *f) { return TalvoMP_noncentral_chi_square_upper(F("1"), F("0"), F("0"), tol, 100, f); });
    expect_fail(NE_REAL_ARG_GT, "x = 1.5",
                [&](NagError *f) { return TalvoMP_noncentral_beta_upper(F("1.5"), F("2"), F("3"), F("1"), tol, 100, f); });
    expect_fail(NE_REAL_ARG_LE, "df2 = 0.",
                [&](NagError *f) { return TalvoMP_noncentral_f_upper(F("1"), F("2"), F("0"), F("1"), tol, 100, f); });
    expect_fail(NE_REAL_ARG_LT, "lambda = -1.",
                [&](NagError *f) { return TalvoMP_noncentral_f_upper(F("1"), F("2"), F("3"), F("-1"), tol, 100, f); });
    expect_fail(NE_INT_ARG_LT, "max_iter = 0",
                [&](NagError *f) { return TalvoMP_noncentral_beta_upper(F("0.5"), F("2"), F("3"), F("1"), tol, 0, f); });
    // Too few terms: NE_CONV with the partial sum, and the terms needed.
    NagError f{};
    TalvoFloat r = TalvoMP_noncentral_chi_square_upper(F("300"), F("4"), F("200"), tol, 2, &f);
    EXPECT_EQ(f.code, NE_CONV) << f.message;
    EXPECT_GT(f.iterations, 2);
    EXPECT_FALSE(IsTalvoFloatUndefined(r));
}

} // namespace
