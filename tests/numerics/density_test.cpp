// density_test.cpp -- the densities of the central laws (density.cpp):
// normal_pdf, student_t_pdf, chi_square_pdf, gamma_pdf and f_pdf: accuracy
// against the committed tables (data/density/) at every precision, the
// values at the lower end of the support, and every failure.
#include "checks.hpp"

namespace {

using namespace talvo::test;

INSTANTIATE_TEST_SUITE_P(Density, Table, FamilyCases("density"), CaseName);

std::string text(const TalvoFloat &x) { return talvo_float_to_string(x.handle(), 10); }

// At x = 0 a density is infinite, finite or 0 as its shape is below, at or
// above the critical value.
TEST(Density, LowerEndOfTheSupport)
{
    DigitsScope d(10);
    NagError f{};
    EXPECT_EQ(text(TalvoMP_chi_square_pdf(F("0"), F("1"), &f)), "Float(infinity)");
    EXPECT_EQ(text(TalvoMP_chi_square_pdf(F("0"), F("2"), &f)), "0.5");
    EXPECT_EQ(text(TalvoMP_chi_square_pdf(F("0"), F("3"), &f)), "0.");
    EXPECT_EQ(text(TalvoMP_gamma_pdf(F("0"), F("1"), F("4"), &f)), "0.25");
    EXPECT_EQ(text(TalvoMP_gamma_pdf(F("0"), F("0.5"), F("4"), &f)), "Float(infinity)");
    EXPECT_EQ(text(TalvoMP_f_pdf(F("0"), F("2"), F("9"), &f)), "1.");
    EXPECT_EQ(text(TalvoMP_f_pdf(F("0"), F("1"), F("9"), &f)), "Float(infinity)");
    EXPECT_EQ(text(TalvoMP_normal_pdf(inf(), &f)), "0.");
    EXPECT_EQ(text(TalvoMP_student_t_pdf(inf(), F("3"), &f)), "0.");
    EXPECT_EQ(f.code, NE_NOERROR);
}

TEST(NumericsErrors, Density)
{
    DigitsScope d(20);
    expect_fail(NE_REAL_ARG_NAN, "x is undefined", [](NagError *f) { return TalvoMP_normal_pdf(undefined(), f); });
    expect_fail(NE_REAL_ARG_LE, "df = 0.", [](NagError *f) { return TalvoMP_student_t_pdf(F("1"), F("0"), f); });
    expect_fail(NE_REAL_ARG_INF, "df = Float(infinity)", [](NagError *f) { return TalvoMP_student_t_pdf(F("1"), inf(), f); });
    expect_fail(NE_REAL_ARG_LT, "x = -1.", [](NagError *f) { return TalvoMP_chi_square_pdf(F("-1"), F("3"), f); });
    expect_fail(NE_REAL_ARG_LE, "df = -2.", [](NagError *f) { return TalvoMP_chi_square_pdf(F("1"), F("-2"), f); });
    expect_fail(NE_REAL_ARG_LT, "g = -1.", [](NagError *f) { return TalvoMP_gamma_pdf(F("-1"), F("2"), F("1"), f); });
    expect_fail(NE_REAL_ARG_LE, "a = 0.", [](NagError *f) { return TalvoMP_gamma_pdf(F("1"), F("0"), F("1"), f); });
    expect_fail(NE_REAL_ARG_LE, "b = -1.", [](NagError *f) { return TalvoMP_gamma_pdf(F("1"), F("2"), F("-1"), f); });
    expect_fail(NE_REAL_ARG_LT, "f = -1.", [](NagError *f) { return TalvoMP_f_pdf(F("-1"), F("2"), F("3"), f); });
    expect_fail(NE_REAL_ARG_LE, "df2 = 0.", [](NagError *f) { return TalvoMP_f_pdf(F("1"), F("2"), F("0"), f); });
    expect_fail(NE_TOO_COSTLY, "too small", [](NagError *f) { return TalvoMP_chi_square_pdf(F("1"), F("1e-100000000"), f); });
}

} // namespace
