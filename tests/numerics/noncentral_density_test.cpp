// noncentral_density_test.cpp -- the densities of the non-central chi-square,
// beta, F and t laws (noncentral/noncentral_density.cpp): accuracy against
// the committed tables (data/noncentral_density/, Poisson mixtures of central
// densities and, for t, integration of the definition) at every precision,
// the central limit at lambda = 0, the ends of the support, and every
// failure.
#include "checks.hpp"

namespace {

using namespace talvo::test;

INSTANTIATE_TEST_SUITE_P(NonCentralDensity, Table, FamilyCases("noncentral_density"), CaseName);

std::string text(const TalvoFloat &x, int digits = 20) { return talvo_float_to_string(x.handle(), digits); }

// With lambda = 0 (delta = 0) each is its central density.
TEST(NonCentralDensity, CentralLimit)
{
    DigitsScope d(20);
    NagError f{};
    EXPECT_EQ(text(TalvoMP_noncentral_chi_square_pdf(F("3"), F("5"), F("0"), &f)),
              text(TalvoMP_chi_square_pdf(F("3"), F("5"), &f)));
    EXPECT_EQ(text(TalvoMP_noncentral_f_pdf(F("1.5"), F("3"), F("7"), F("0"), &f)),
              text(TalvoMP_f_pdf(F("1.5"), F("3"), F("7"), &f)));
    EXPECT_EQ(text(TalvoMP_noncentral_t_pdf(F("-1.25"), F("4"), F("0"), &f)),
              text(TalvoMP_student_t_pdf(F("-1.25"), F("4"), &f)));
    TalvoFloat pdf;
    TalvoMP_g01eec(F("0.25"), F("2"), F("3"), TalvoFloat(), nullptr, nullptr, &pdf, &f);
    EXPECT_EQ(text(TalvoMP_noncentral_beta_pdf(F("0.25"), F("2"), F("3"), F("0"), &f)), text(pdf));
    EXPECT_EQ(f.code, NE_NOERROR) << f.message;
}

TEST(NonCentralDensity, EndsOfTheSupport)
{
    DigitsScope d(10);
    NagError f{};
    EXPECT_EQ(text(TalvoMP_noncentral_chi_square_pdf(F("0"), F("1"), F("2"), &f), 10), "Float(infinity)");
    EXPECT_EQ(text(TalvoMP_noncentral_chi_square_pdf(F("0"), F("4"), F("2"), &f), 10), "0.");
    EXPECT_EQ(text(TalvoMP_noncentral_chi_square_pdf(F("0"), F("2"), F("2"), &f), 10), "0.1839397206"); // e^-1 / 2
    EXPECT_EQ(text(TalvoMP_noncentral_beta_pdf(F("0"), F("0.5"), F("2"), F("1"), &f), 10), "Float(infinity)");
    EXPECT_EQ(text(TalvoMP_noncentral_beta_pdf(F("1"), F("2"), F("3"), F("1"), &f), 10), "0.");
    EXPECT_EQ(text(TalvoMP_noncentral_beta_pdf(F("0"), F("1"), F("3"), F("2"), &f), 10), "1.103638324"); // 3 e^-1
    EXPECT_EQ(text(TalvoMP_noncentral_f_pdf(F("0"), F("2"), F("5"), F("2"), &f), 10), "0.3678794412"); // e^-1
    EXPECT_EQ(text(TalvoMP_noncentral_t_pdf(inf(), F("5"), F("1"), &f), 10), "0.");
    EXPECT_EQ(f.code, NE_NOERROR) << f.message;
}

TEST(NumericsErrors, NonCentralDensity)
{
    DigitsScope d(20);
    expect_fail(NE_REAL_ARG_LE, "df = 0.",
                [](NagError *f) { return TalvoMP_noncentral_chi_square_pdf(F("1"), F("0"), F("1"), f); });
    expect_fail(NE_REAL_ARG_LT, "lambda = -1.",
                [](NagError *f) { return TalvoMP_noncentral_chi_square_pdf(F("1"), F("3"), F("-1"), f); });
    expect_fail(NE_REAL_ARG_LT, "x = -0.5",
                [](NagError *f) { return TalvoMP_noncentral_beta_pdf(F("-0.5"), F("2"), F("3"), F("1"), f); });
    expect_fail(NE_REAL_ARG_LE, "df1 = 0.",
                [](NagError *f) { return TalvoMP_noncentral_f_pdf(F("1"), F("0"), F("3"), F("1"), f); });
    expect_fail(NE_REAL_ARG_NAN, "t is undefined",
                [](NagError *f) { return TalvoMP_noncentral_t_pdf(undefined(), F("3"), F("1"), f); });
    expect_fail(NE_REAL_ARG_INF, "delta = Float(infinity)",
                [](NagError *f) { return TalvoMP_noncentral_t_pdf(F("1"), F("3"), inf(), f); });
}

} // namespace
