// extensions_test.cpp -- the extension entries (distributions/extensions/):
// upper tails, densities and point probabilities against the mpmath table of
// scripts/reference/extensions.py at 15, 30 and 50 digits, and the
// identities between them and the defined entries.
#include "stats_support.hpp"

#include "reference_table.hpp"
#include "stats_entries.h"

#include <map>
#include <string>

using namespace stats::test;

namespace {

const std::map<std::string, TalvoEntry> &Entries()
{
#define E(name) {#name, STATS_Talvo##name##_MP}
    static const std::map<std::string, TalvoEntry> entries = {
        E(WeibullUpperProbability), E(WeibullDensity), E(UniformUpperProbability), E(UniformDensity),
        E(TriangularUpperProbability), E(TriangularDensity), E(RayleighUpperProbability), E(RayleighDensity),
        E(PowerUpperProbability), E(PowerDensity), E(ParetoUpperProbability), E(ParetoDensity),
        E(ExponentialUpperProbability), E(ExponentialDensity), E(LogisticUpperProbability), E(LogisticDensity),
        E(LaplaceUpperProbability), E(LaplaceDensity), E(GumbelUpperProbability), E(GumbelDensity),
        E(CauchyUpperProbability), E(CauchyDensity), E(NormalUpperProbability), E(NormalDensity),
        E(LogNormalUpperProbability), E(LogNormalDensity), E(StudentTUpperProbability), E(StudentTDensity),
        E(ChiSquareUpperProbability), E(ChiSquareDensity), E(FRatioUpperProbability), E(FRatioDensity),
        E(GammaUpperProbability), E(GammaDensity), E(BetaUpperProbability), E(BetaDensity),
        E(MaxwellLowerProbability), E(MaxwellUpperProbability), E(MaxwellDensity), E(MoyalLowerProbability),
        E(MoyalUpperProbability), E(MoyalDensity), E(ErrorLowerProbability), E(ErrorUpperProbability),
        E(ErrorDensity), E(InverseGaussianLowerProbability), E(InverseGaussianUpperProbability),
        E(InverseGaussianDensity), E(NonCentralStudentTUpperProbability), E(NonCentralStudentTDensity),
        E(NonCentralChiSquareUpperProbability), E(NonCentralChiSquareDensity),
        E(NonCentralFRatioUpperProbability), E(NonCentralFRatioDensity), E(NonCentralBetaUpperProbability),
        E(NonCentralBetaDensity), E(BinomialUpperProbability), E(BinomialPointProbability),
        E(PoissonUpperProbability), E(PoissonPointProbability), E(HypergeometricUpperProbability),
        E(HypergeometricPointProbability), E(NegativeBinomialUpperProbability),
        E(NegativeBinomialPointProbability), E(GeometricUpperProbability), E(GeometricPointProbability),
    };
#undef E
    return entries;
}

// |x - ref| in units of the last of `digits` significant digits of ref,
// computed in MPFR (the values reach far below the range of doubles).
double LastDigitError(const TalvoFloat &x, const std::string &ref, int digits)
{
    mpfr_prec_t prec = talvo_float_precision_bits(digits + 30);
    mpfr_t r, d, u;
    mpfr_inits2(prec, r, d, u, (mpfr_ptr) nullptr);
    mpfr_set_str(r, ref.c_str(), 10, MPFR_RNDN);
    double err;
    if (mpfr_zero_p(r)) {
        err = mpfr_zero_p(x.mpfr()) ? 0 : HUGE_VAL;
    } else if (!mpfr_number_p(x.mpfr())) {
        err = HUGE_VAL;
    } else {
        // u = 10^(floor(log10 |r|) - digits + 1)
        mpfr_abs(u, r, MPFR_RNDN);
        mpfr_log10(u, u, MPFR_RNDN);
        mpfr_floor(u, u);
        mpfr_sub_si(u, u, digits - 1, MPFR_RNDN);
        mpfr_exp10(u, u, MPFR_RNDN);
        mpfr_sub(d, x.mpfr(), r, MPFR_RNDN);
        mpfr_abs(d, d, MPFR_RNDN);
        mpfr_div(d, d, u, MPFR_RNDN);
        err = mpfr_get_d(d, MPFR_RNDN);
    }
    mpfr_clears(r, d, u, (mpfr_ptr) nullptr);
    return err;
}

TalvoFloat Call(const char *entry, const std::string &args)
{
    return TalvoFloat(call(Entries().at(entry), args));
}

} // namespace

// Every extension entry has rows in the table, and every row is right to
// within one unit in the last digit at 15, 30 and 50 digits.
TEST(Extensions, AgreeWithMpmathToTheLastDigit)
{
    auto cases = ReadReferenceTable(TALVO_TEST_DATA "/extensions.tsv");
    ASSERT_GE(cases.size(), 400u);
    std::map<std::string, double> worst;
    for (const ReferenceCase &c : cases) {
        DigitsScope d(c.digits);
        std::string args;
        for (const std::string &a : c.args)
            args += (args.empty() ? "" : ", ") + a;
        TalvoFloat x = Call(c.function.c_str(), args);
        double err = LastDigitError(x, c.value, c.digits);
        worst[c.function] = std::max(worst[c.function], err);
        EXPECT_LT(err, 1.0) << c.function << "(" << args << ") at " << c.digits << " digits: " << show(x.handle())
                            << " against " << c.value;
    }
    for (const auto &[name, entry] : Entries())
        EXPECT_TRUE(worst.count(name)) << name << " has no row in extensions.tsv";
    for (auto &[name, err] : worst)
        RecordProperty("worst_" + name, std::to_string(err));
}

// The p-value of a chi-square statistic of 200 with 5 degrees of freedom has
// all its digits at Digits 15 (1 minus the distribution function would be 0).
TEST(Extensions, FarUpperTailKeepsItsDigits)
{
    DigitsScope d(15);
    EXPECT_EQ(show(call(STATS_TalvoChiSquareUpperProbability_MP, "200, 5")), "2.84062289864153e-41");
    EXPECT_EQ(show(call(STATS_TalvoChiSquareProbability_MP, "200, 5")), "1.");
    EXPECT_EQ(show(call(STATS_TalvoNormalUpperProbability_MP, "40, 0, 1")), "3.65589354091503e-350");
}

// The two tails add up to 1 (to within two units of the last digit), for
// every law with a lower tail among the defined or the extension entries:
// the lower entry, its upper extension, the arguments.
TEST(Extensions, TailsAddUpToOne)
{
    struct Case {
        TalvoEntry lower;
        const char *upper;
        const char *args;
    };
    const std::vector<Case> cases = {
        {STATS_TalvoNormalProbability_MP, "NormalUpperProbability", "0.3, 0, 1"},
        {STATS_TalvoLogNormalProbability_MP, "LogNormalUpperProbability", "1.7, 0, 1"},
        {STATS_TalvoStudentTProbability_MP, "StudentTUpperProbability", "-0.7, 3"},
        {STATS_TalvoChiSquareProbability_MP, "ChiSquareUpperProbability", "4.5, 5"},
        {STATS_TalvoFRatioProbability_MP, "FRatioUpperProbability", "1.25, 3, 7"},
        {STATS_TalvoGammaProbability_MP, "GammaUpperProbability", "3, 2, 2.5"},
        {STATS_TalvoBetaProbability_MP, "BetaUpperProbability", "0.4, 2, 3"},
        {STATS_TalvoWeibullProbability_MP, "WeibullUpperProbability", "1.5, 2, 3"},
        {STATS_TalvoCauchyProbability_MP, "CauchyUpperProbability", "0.7, 0, 2"},
        {STATS_TalvoLaplaceProbability_MP, "LaplaceUpperProbability", "-0.5, 0, 2"},
        {STATS_TalvoGumbelProbability_MP, "GumbelUpperProbability", "0.25, 0, 2"},
        {STATS_TalvoParetoProbability_MP, "ParetoUpperProbability", "1.5, 1, 2.5"},
        {STATS_TalvoNonCentralChiSquareProbability_MP, "NonCentralChiSquareUpperProbability", "3, 4, 2"},
        {STATS_TalvoNonCentralBetaProbability_MP, "NonCentralBetaUpperProbability", "0.3, 2, 3, 1.5"},
        {STATS_TalvoNonCentralFRatioProbability_MP, "NonCentralFRatioUpperProbability", "2, 3, 7, 1.5"},
        {STATS_TalvoNonCentralStudentTProbability_MP, "NonCentralStudentTUpperProbability", "2, 5, 1"},
        {STATS_TalvoMaxwellLowerProbability_MP, "MaxwellUpperProbability", "1.2, 1"},
        {STATS_TalvoMoyalLowerProbability_MP, "MoyalUpperProbability", "0.5, 0, 1"},
        {STATS_TalvoErrorLowerProbability_MP, "ErrorUpperProbability", "-0.75, 0, 1, 3"},
        {STATS_TalvoInverseGaussianLowerProbability_MP, "InverseGaussianUpperProbability", "0.8, 1, 2"},
        {STATS_TalvoBinomialProbability_MP, "BinomialUpperProbability", "4, 10, 0.25"},
        {STATS_TalvoPoissonProbability_MP, "PoissonUpperProbability", "3, 2.5"},
        {STATS_TalvoHypergeometricProbability_MP, "HypergeometricUpperProbability", "2, 20, 7, 5"},
        {STATS_TalvoNegativeBinomialProbability_MP, "NegativeBinomialUpperProbability", "3, 2.5, 0.375"},
        {STATS_TalvoGeometricProbability_MP, "GeometricUpperProbability", "3, 0.25"},
    };
    for (int digits : {15, 40}) {
        DigitsScope d(digits);
        for (const Case &c : cases) {
            TalvoFloat sum = TalvoFloat(call(c.lower, c.args)) + Call(c.upper, c.args);
            EXPECT_LT(LastDigitError(sum, "1", digits), 2.0) << c.upper << "(" << c.args << ") at " << digits;
        }
    }
}

// A density agrees with the slope of its distribution function (a central
// difference at 40 digits, which the density itself never uses): to about
// 15 digits with a step of 10^-12.
TEST(Extensions, DensitiesAreSlopesOfTheDistributionFunctions)
{
    DigitsScope d(40);
    struct Case {
        const char *density;
        TalvoEntry lower;
        std::string rest; // the parameters after x
        std::string x;
    };
    const std::vector<Case> cases = {
        {"NormalDensity", STATS_TalvoNormalProbability_MP, "0.5, 2", "1.25"},
        {"StudentTDensity", STATS_TalvoStudentTProbability_MP, "3", "-1.5"},
        {"ChiSquareDensity", STATS_TalvoChiSquareProbability_MP, "5", "3"},
        {"FRatioDensity", STATS_TalvoFRatioProbability_MP, "3, 7", "1.5"},
        {"GammaDensity", STATS_TalvoGammaProbability_MP, "2, 2.5", "3"},
        {"BetaDensity", STATS_TalvoBetaProbability_MP, "2, 3", "0.25"},
        {"WeibullDensity", STATS_TalvoWeibullProbability_MP, "2, 3", "1.5"},
        {"NonCentralChiSquareDensity", STATS_TalvoNonCentralChiSquareProbability_MP, "4, 2", "3"},
        {"NonCentralBetaDensity", STATS_TalvoNonCentralBetaProbability_MP, "2, 3, 1.5", "0.25"},
        {"NonCentralFRatioDensity", STATS_TalvoNonCentralFRatioProbability_MP, "3, 7, 1.5", "2"},
        {"NonCentralStudentTDensity", STATS_TalvoNonCentralStudentTProbability_MP, "5, 1", "-2"},
        {"MaxwellDensity", STATS_TalvoMaxwellLowerProbability_MP, "1", "1.5"},
        {"MoyalDensity", STATS_TalvoMoyalLowerProbability_MP, "0, 1", "1.5"},
        {"ErrorDensity", STATS_TalvoErrorLowerProbability_MP, "0, 1, 3", "1.5"},
        {"InverseGaussianDensity", STATS_TalvoInverseGaussianLowerProbability_MP, "1, 2", "1.5"},
    };
    for (const Case &c : cases) {
        TalvoFloat f = Call(c.density, c.x + ", " + c.rest);
        TalvoFloat hi(call(c.lower, c.x + " + 1e-12, " + c.rest));
        TalvoFloat lo(call(c.lower, c.x + " - 1e-12, " + c.rest));
        TalvoFloat slope = (hi - lo) / TalvoFloat(2e-12);
        TalvoFloat rel = fabs(slope - f) / f;
        EXPECT_LT(rel.to_double(), 1e-15) << c.density << " at " << c.x;
    }
}

// The point probabilities of a discrete law add up to 1, and its upper tail
// is the sum of the point probabilities above.
TEST(Extensions, PointProbabilitiesAddUp)
{
    DigitsScope d(30);
    TalvoFloat total(0.0), above(0.0);
    for (int k = 0; k <= 20; ++k) {
        TalvoFloat p = Call("BinomialPointProbability", std::to_string(k) + ", 20, 0.375");
        total += p;
        if (k > 7)
            above += p;
    }
    EXPECT_LT(LastDigitError(total, "1", 30), 20.0);
    TalvoFloat upper = Call("BinomialUpperProbability", "7.5, 20, 0.375");
    EXPECT_LT(fabs(upper - above).to_double(), 1e-28);
    TalvoFloat hyper(0.0);
    for (int k = 0; k <= 5; ++k)
        hyper += Call("HypergeometricPointProbability", std::to_string(k) + ", 20, 7, 5");
    EXPECT_LT(LastDigitError(hyper, "1", 30), 20.0);
}

// Negative binomial point probabilities that are exactly floats: the rounding
// loop climbs to its last precision on them, which took minutes through
// lgamma (found by fuzzing); the coefficient is now exact or a short product.
TEST(Extensions, ExactNegativeBinomialPointProbabilities)
{
    for (int digits : {10, 30}) {
        DigitsScope d(digits);
        EXPECT_EQ(Call("NegativeBinomialPointProbability", "3, 3, 0.5").to_double(), 0.15625);   // C(5,3)/2^6
        EXPECT_EQ(Call("NegativeBinomialPointProbability", "2, 0.5, 0.25").to_double(), 0.10546875); // 3/8 * 1/2 * 9/16
        EXPECT_EQ(Call("NegativeBinomialPointProbability", "0, 3, 0.5").to_double(), 0.125);
        TalvoFloat tiny = Call("NegativeBinomialPointProbability", "20000, 1, 0.5"); // 2^-20001
        EXPECT_EQ(mpfr_cmp_si_2exp(tiny.mpfr(), 1, -20001), 0) << show(tiny.handle());
    }
    // A negative n (no law): ln|Gamma| as before, so the value stays positive:
    // |Gamma(1/2) / Gamma(-1/2)| 2^(1/2) / 2.
    DigitsScope d(15);
    EXPECT_LT(LastDigitError(Call("NegativeBinomialPointProbability", "1, -0.5, 0.5"), "0.353553390593273762200422181052", 15),
              1.0); // sqrt(2) / 4
}

// Outside the support: an upper tail is 1 below and 0 above, a density or a
// point probability 0; at the infinities the same; undefined stays undefined.
TEST(Extensions, OutsideTheSupport)
{
    DigitsScope d(10);
    EXPECT_EQ(result(STATS_TalvoExponentialUpperProbability_MP, "-1, 2"), "1.");
    EXPECT_EQ(result(STATS_TalvoExponentialDensity_MP, "-1, 2"), "0.");
    EXPECT_EQ(result(STATS_TalvoBetaUpperProbability_MP, "1.5, 2, 3"), "0.");
    EXPECT_EQ(result(STATS_TalvoBetaDensity_MP, "-0.5, 2, 3"), "0.");
    EXPECT_EQ(result(STATS_TalvoNormalUpperProbability_MP, "Float(infinity), 0, 1"), "0.");
    EXPECT_EQ(result(STATS_TalvoNormalUpperProbability_MP, "-Float(infinity), 0, 1"), "1.");
    EXPECT_EQ(result(STATS_TalvoNormalDensity_MP, "Float(infinity), 0, 1"), "0.");
    EXPECT_EQ(result(STATS_TalvoNormalDensity_MP, "Float(undefined), 0, 1"), "Float(undefined)");
    EXPECT_EQ(result(STATS_TalvoPoissonPointProbability_MP, "2.5, 3"), "0.");
    EXPECT_EQ(result(STATS_TalvoPoissonPointProbability_MP, "-1, 3"), "0.");
    EXPECT_EQ(result(STATS_TalvoPoissonUpperProbability_MP, "-1, 3"), "1.");
    EXPECT_EQ(result(STATS_TalvoBinomialUpperProbability_MP, "10, 10, 0.5"), "0.");
    EXPECT_EQ(result(STATS_TalvoBinomialPointProbability_MP, "10, 10, 1"), "1.");
    EXPECT_EQ(result(STATS_TalvoBinomialUpperProbability_MP, "9, 10, 1"), "1.");
    EXPECT_EQ(result(STATS_TalvoHypergeometricUpperProbability_MP, "2, 10, 5, 8"), "1."); // lowest value is 3
    EXPECT_EQ(result(STATS_TalvoHypergeometricPointProbability_MP, "2, 10, 5, 8"), "0.");
    EXPECT_EQ(result(STATS_TalvoGeometricPointProbability_MP, "0, 1"), "1.");
    EXPECT_EQ(result(STATS_TalvoMaxwellLowerProbability_MP, "-1, 1"), "0.");
    EXPECT_EQ(result(STATS_TalvoInverseGaussianUpperProbability_MP, "0, 1, 2"), "1.");
    EXPECT_EQ(result(STATS_TalvoNonCentralChiSquareUpperProbability_MP, "-1, 4, 2"), "1.");
    EXPECT_EQ(result(STATS_TalvoChiSquareDensity_MP, "0, 2"), "0.5");
    EXPECT_EQ(result(STATS_TalvoChiSquareDensity_MP, "0, 1"), "Float(infinity)");
    EXPECT_EQ(result(STATS_TalvoGammaDensity_MP, "0, 2, 1"), "0.5");
    EXPECT_EQ(result(STATS_TalvoWeibullDensity_MP, "0, 2, 0.5"), "Float(infinity)");
    EXPECT_EQ(result(STATS_TalvoErrorLowerProbability_MP, "0, 0, 1, 3"), "0.5");
}

// The entries' frame: the argument count message, and the numerics
// routines' failures raised as host errors.
TEST(Extensions, Messages)
{
    DigitsScope d(10);
    EXPECT_EQ(result(STATS_TalvoNormalUpperProbability_MP, "1, 0"),
              "Error: TalvoNormalUpperProbability expects 3 arguments, received: 1, 0");
    EXPECT_EQ(result(STATS_TalvoPoissonPointProbability_MP, "1"),
              "Error: TalvoPoissonPointProbability expects 2 arguments, received: 1");
    EXPECT_EQ(result(STATS_TalvoStudentTDensity_MP, "1, -2"),
              "Error: TalvoMP_student_t_pdf: df = -2. is out of range: df must be > 0.");
    eval("_EnvStatisticsIterations := 2");
    std::string m = result(STATS_TalvoNonCentralChiSquareUpperProbability_MP, "300, 4, 200");
    eval("unassign('_EnvStatisticsIterations')");
    EXPECT_NE(m.find("TalvoMP_noncentral_chi_square_upper"), std::string::npos) << m;
}
