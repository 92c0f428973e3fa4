// normal_test.cpp -- the normal probability and deviate (the numerics
// library's start, refined above 14 digits), the rational quantile
// approximation and the beta-quantile auxiliary w, with their entries.
// (The variates and samples are tested with the ziggurat generator.)
#include "stats_support.hpp"

#include "distributions.hpp"
#include "reference_table.hpp"
#include "talvo_mp.h"

#include <cmath>

using namespace stats::test;

TEST(Normal, EntryMessages)
{
    EXPECT_EQ(result(STATS_TalvoNormalProbability_MP, "1, 2"),
              "Error: TalvoNormalProbability expects 3 arguments, received: 1, 2");
    EXPECT_EQ(result(STATS_TalvoNormalProbability_MP, "1, 2, 3, 4"),
              "Error: TalvoNormalProbability expects 3 arguments, received: 1, 2, 3, 4");
    EXPECT_EQ(result(STATS_TalvoNormalDeviate_MP, "0.5"),
              "Error: TalvoNormalDeviate expects 3 arguments, received: 0.5");
    EXPECT_EQ(result(STATS_TalvoNormalDeviate_MP, "0.5, 0, 1, 2"),
              "Error: TalvoNormalDeviate expects 3 arguments, received: 0.5, 0, 1, 2");
    EXPECT_EQ(result(STATS_TalvoNormalDeviate_MP, "0.5, m, 1"), "Error: unable to evaluate m to floating-point");
    EXPECT_EQ(result(STATS_TalvoNormalDeviateApprox_MP, "0.5, 1"),
              "Error: TalvoNormalDeviateApprox expects 1 arguments, received: 0.5, 1");
    // WApprox speaks with DeviateApprox's message.
    EXPECT_EQ(result(STATS_TalvoNormalWApprox_MP, "0.5, 1"),
              "Error: TalvoNormalDeviateApprox expects 1 arguments, received: 0.5, 1");
    EXPECT_EQ(result(STATS_TalvoNormalWApprox_MP, "0.9, 2, 3"),
              "Error: TalvoNormalDeviateApprox expects 1 arguments, received: 0.9, 2, 3");
}

TEST(Normal, WApproxPassesTheCountWithOneArgumentAndThenReadsThree)
{
    // The count check passes; selecting the missing second argument is the
    // host's error.
    EXPECT_EQ(result(STATS_TalvoNormalWApprox_MP, "0.9"),
              "Error: ExpseqSelect: index 2 out of range 1 .. 1");
}

TEST(Normal, ProbabilityStandardisesTheArgument)
{
    EXPECT_EQ(result(STATS_TalvoNormalProbability_MP, "3, 3, 2"), "0.5");
    // Phi(1) = 0.8413447460685429...
    EXPECT_EQ(result(STATS_TalvoNormalProbability_MP, "5, 3, 2"), "0.8413447461");
    EXPECT_EQ(result(STATS_TalvoNormalProbability_MP, "-infinity, 0, 1"), "0.");
    EXPECT_EQ(result(STATS_TalvoNormalProbability_MP, "infinity, 0, 1"), "1.");
    // sigma = 0: (x - mu) / 0 is an infinity.
    EXPECT_EQ(result(STATS_TalvoNormalProbability_MP, "1, 0, 0"), "1.");
}

TEST(Normal, TheNumericsRoutinesErrorsAreRaised)
{
    EXPECT_EQ(result(STATS_TalvoNormalDeviate_MP, "0, 0, 1").rfind("Error: TalvoMP_g01fac: ", 0), 0u);
    EXPECT_EQ(result(STATS_TalvoNormalDeviate_MP, "1.5, 0, 1").rfind("Error: TalvoMP_g01fac: ", 0), 0u);
    EXPECT_EQ(result(STATS_TalvoNormalProbability_MP, "undefined, 0, 1").rfind("Error: TalvoMP_g01eac: ", 0), 0u);
}

TEST(Normal, UpToFourteenDigitsTheDeviateIsTheRoutinesStart)
{
    for (int digits : {10, 14}) {
        DigitsScope d(digits);
        for (const char *p : {"0.975", "0.3", "1e-20"}) {
            NagError fail{};
            TalvoFloat z = TalvoMP_g01fac(Nag_LowerTail, F(p), &fail);
            ASSERT_EQ(fail.code, NE_NOERROR);
            EXPECT_TRUE(STATS_NormalDeviate_MP(kv(), F(p), F("0"), F("1")) == z) << p << " at " << digits;
        }
    }
}

// mu + sigma z is rounded once: the value of the formula with z carried 40
// digits further, rounded to the working precision.  Rounding the product
// and the sum in turn at the working precision would leave the cancelling
// case (the result about 3e-10 for mu = 1, sigma = 1) with two correct
// digits, and the others a unit off now and then.
TEST(Normal, ShiftedAndScaledDeviateIsRoundedOnce)
{
    struct Case {
        const char *p, *mu, *sigma;
    } cases[] = {{"0.975", "2", "3"}, {"0.3", "-1", "0.7"}, {"1e-20", "5", "0.5"}, {"0.158655254", "1", "1"}};
    for (int digits : {10, 14, 15, 30}) {
        DigitsScope d(digits);
        const mpfr_prec_t prec = talvo_float_precision();
        for (const Case &c : cases) {
            TalvoFloat p = F(c.p), mu = F(c.mu), sigma = F(c.sigma);
            TalvoFloat got = STATS_NormalDeviate_MP(kv(), p, mu, sigma);
            TalvoFloat wide;
            {
                DigitsScope more(digits + 40);
                wide = mu + sigma * STATS_NormalDeviate_MP(kv(), p, F("0"), F("1"));
            }
            TalvoFloat want = TalvoFloat::from_handle(talvo_float_from_mpfr(wide.mpfr(), prec));
            EXPECT_TRUE(got == want) << c.p << ", " << c.mu << ", " << c.sigma << " at " << digits << ": "
                                     << show(got.handle()) << " against " << show(want.handle());
        }
    }
}

TEST(Normal, TheRefinedDeviateIsCorrectToTheLastDigit)
{
    // 1.95996398454005423552459443052055152795555007786954954175760874...
    DigitsScope d(50);
    EXPECT_EQ(result(STATS_TalvoNormalDeviate_MP, "0.975, 0, 1"), "1.9599639845400542355245944305205515279555500778695");
}

TEST(Normal, RoundTrips)
{
    for (int digits : {15, 30, 50}) {
        DigitsScope d(digits);
        for (const char *p : {"1e-50", "1e-8", "0.01", "0.3", "0.5", "0.8", "0.999"}) {
            TalvoFloat x = STATS_NormalDeviate_MP(kv(), F(p), F("1"), F("2"));
            TalvoFloat q = STATS_NormalProbability_MP(kv(), x, F("1"), F("2"));
            EXPECT_LT(ErrorInLastDigits(q, p, digits), 2.0) << p << " at " << digits;
        }
        for (const char *x : {"-20", "-3", "0.25", "2", "4"}) {
            TalvoFloat p = STATS_NormalProbability_MP(kv(), F(x), F("0"), F("1"));
            TalvoFloat y = STATS_NormalDeviate_MP(kv(), p, F("0"), F("1"));
            // The upper tail is conditioned by 1 - p: x = 4 keeps all but
            // about four digits of p's last unit.
            double units = std::string(x) == "4" ? 2e4 : 4.0;
            EXPECT_LT(ErrorInLastDigits(y, x, digits), units) << x << " at " << digits;
        }
    }
}

namespace {

// The refinement written out plainly: the probability and the density are
// evaluated at every iterate, the last one included.
TalvoFloat EagerNewtonDeviate(const TalvoFloat &p)
{
    NagError fail{};
    TalvoFloat z = TalvoMP_g01fac(Nag_LowerTail, p, &fail);
    EXPECT_EQ(fail.code, NE_NOERROR);
    int digits = TalvoDigits();
    if (digits <= 14)
        return z;
    auto phi = [&](const TalvoFloat &x) {
        NagError e{};
        TalvoFloat v = TalvoMP_g01eac(Nag_LowerTail, x, &e);
        EXPECT_EQ(e.code, NE_NOERROR);
        return v;
    };
    TalvoFloat tol = pow(10.0, TalvoFloat(-double(digits)));
    TalvoFloat f = phi(z) - p;
    TalvoFloat g = TalvoFloat(0.3989422804014327) * exp(TalvoFloat(-0.5) * z * z);
    for (int i = 0; i < digits; ++i) {
        EXPECT_FALSE(g == TalvoFloat(0.0));
        TalvoFloat step = f / g;
        z = z - step;
        f = phi(z) - p;
        g = TalvoFloat(0.3989422804014327) * exp(TalvoFloat(-0.5) * z * z);
        TalvoFloat size = fabs(z);
        if (size < TalvoFloat(1.0))
            size = TalvoFloat(1.0);
        if (!(fabs(step) >= tol * size))
            break;
    }
    return z;
}

bool SameFloat(const TalvoFloat &a, const TalvoFloat &b)
{
    return mpfr_equal_p(a.mpfr(), b.mpfr()) && mpfr_signbit(a.mpfr()) == mpfr_signbit(b.mpfr()) &&
           mpfr_get_prec(a.mpfr()) == mpfr_get_prec(b.mpfr());
}

} // namespace

TEST(Normal, TheDeviateIsTheEagerNewtonIterationBitForBit)
{
    // The deviate skips the probability at the final iterate; every value
    // must still be the one the plain iteration gives, at and around the
    // precision where the refinement starts, in both tails and at the centre.
    const char *points[] = {"1e-300", "1e-100", "1e-20", "1e-8", "0.001", "0.025", "0.3",
                            "0.4999999999999999", "0.5", "0.5000000000000001", "0.6", "0.975",
                            "0.999999", "0.9999999999", "0.999999999999999", "0.99999999999999999999"};
    for (int digits : {10, 14, 15, 16, 20, 30, 50}) {
        DigitsScope d(digits);
        for (const char *text : points) {
            TalvoFloat p = F(text);
            if (!(p < TalvoFloat(1.0)))
                continue; // rounds to 1 at this precision: the routine's error
            TalvoFloat z = STATS_NormalDeviate_MP(kv(), p, F("0"), F("1"));
            EXPECT_TRUE(SameFloat(z, EagerNewtonDeviate(p))) << text << " at " << digits;
        }
        // A sweep of probabilities k / 1021 and of lower tails 3^-k.
        for (int k = 1; k < 1021; k += 7) {
            TalvoFloat p = TalvoFloat(double(k)) / TalvoFloat(1021.0);
            EXPECT_TRUE(SameFloat(STATS_NormalDeviate_MP(kv(), p, F("0"), F("1")), EagerNewtonDeviate(p)))
                << k << "/1021 at " << digits;
        }
        for (int k = 1; k < 600; k += 13) {
            TalvoFloat tail = pow(3.0, TalvoFloat(-double(k)));
            EXPECT_TRUE(SameFloat(STATS_NormalDeviate_MP(kv(), tail, F("0"), F("1")), EagerNewtonDeviate(tail)))
                << "3^-" << k << " at " << digits;
        }
    }
}

TEST(Normal, DeviateValuesAtTheEdgesOfTheRefinement)
{
    // Values of the entry (mu = 0, sigma = 1) as the host prints them, from
    // the plain iteration; each is within a quarter unit in its last digit of
    // mpmath's quantile of p rounded to the working precision (so
    // 0.5000000000000001 is 0.5 at 10 digits and 1/2 + 2^-53 at 15).
    struct Case {
        int digits;
        const char *p, *x;
    } cases[] = {
        {10, "1e-300", "-37.0470963"},
        {10, "1e-20", "-9.26234009"},
        {10, "1e-8", "-5.612001244"},
        {10, "0.025", "-1.959963985"},
        {10, "0.5", "0."},
        {10, "0.5000000000000001", "0."},
        {10, "0.975", "1.959963985"},
        {10, "0.999999999999999", "Error: TalvoMP_g01fac: p = 1. is out of range: p must be < 1."},
        {10, "0.9999999999999999999", "Error: TalvoMP_g01fac: p = 1. is out of range: p must be < 1."},
        {15, "1e-300", "-37.0470962993612"},
        {15, "1e-20", "-9.26234008979841"},
        {15, "1e-8", "-5.61200124417479"},
        {15, "0.025", "-1.95996398454005"},
        {15, "0.5", "0."},
        {15, "0.5000000000000001", "2.78291642467177e-16"},
        {15, "0.975", "1.95996398454005"},
        {15, "0.999999999999999", "7.94144448741598"},
        {15, "0.9999999999999999999", "Error: TalvoMP_g01fac: p = 1. is out of range: p must be < 1."},
        {16, "1e-300", "-37.0470962993612"},
        {16, "1e-20", "-9.262340089798408"},
        {16, "1e-8", "-5.612001244174789"},
        {16, "0.025", "-1.959963984540054"},
        {16, "0.5", "0."},
        {16, "0.5000000000000001", "2.522018009858789e-16"},
        {16, "0.975", "1.959963984540054"},
        {16, "0.999999999999999", "7.941444487415979"},
        {16, "0.9999999999999999999", "Error: TalvoMP_g01fac: p = 1. is out of range: p must be < 1."},
        {20, "1e-300", "-37.047096299361199237"},
        {20, "1e-20", "-9.2623400897984075737"},
        {20, "1e-8", "-5.6120012441747887316"},
        {20, "0.025", "-1.9599639845400542355"},
        {20, "0.5", "0."},
        {20, "0.5000000000000001", "2.506624833529084252e-16"},
        {20, "0.975", "1.9599639845400542355"},
        {20, "0.999999999999999", "7.941345338851703311"},
        {20, "0.9999999999999999999", "9.0133261044578243613"},
        {30, "1e-300", "-37.0470962993611992372229625079"},
        {30, "1e-20", "-9.26234008979840757371735697788"},
        {30, "1e-8", "-5.6120012441747887315497253314"},
        {30, "0.025", "-1.95996398454005423552459443052"},
        {30, "0.5", "0."},
        {30, "0.5000000000000001", "2.50662827463100045002168648491e-16"},
        {30, "0.975", "1.95996398454005423552459443052"},
        {30, "0.999999999999999", "7.94134532617099678355892555338"},
        {30, "0.9999999999999999999", "9.01327115312668331014200276687"},
        {50, "1e-300", "-37.047096299361199237222962507860436844345288438012"},
        {50, "1e-20", "-9.2623400897984075737173569778753251175358395118478"},
        {50, "1e-8", "-5.612001244174788731549725331398069375845134265148"},
        {50, "0.025", "-1.9599639845400542355245944305205515279555500778695"},
        {50, "0.5", "0."},
        {50, "0.5000000000000001", "2.5066282746310005024157652848110714987932388701221e-16"},
        {50, "0.975", "1.9599639845400542355245944305205515279555500778695"},
        {50, "0.999999999999999", "7.9413453261709967809667435722936129339485169299531"},
        {50, "0.9999999999999999999", "9.0132711531266742812563787468772793027413688798147"},
    };
    for (const Case &c : cases) {
        DigitsScope d(c.digits);
        EXPECT_EQ(result(STATS_TalvoNormalDeviate_MP, std::string(c.p) + ", 0, 1"), c.x)
            << c.p << " at " << c.digits;
    }
}

TEST(NormalDeviateApprox, TheLowerHalfIsGoodToAboutThreeDigits)
{
    // Hastings' form; with the coefficients 0.80253 and 0.01028 (where the
    // published ones are 0.802853 and 0.010328) the error reaches about
    // 7e-4 instead of the published 4.5e-4.
    DigitsScope d(15);
    EXPECT_NEAR(STATS_NormalDeviateApprox_MP(kv(), F("0.025")).to_double(), -1.959964, 1e-3);
    for (const char *p : {"1e-10", "1e-5", "0.001", "0.01", "0.1", "0.25", "0.4", "0.5"}) {
        double approx = STATS_NormalDeviateApprox_MP(kv(), F(p)).to_double();
        double exact = STATS_NormalDeviate_MP(kv(), F(p), F("0"), F("1")).to_double();
        EXPECT_NEAR(approx, exact, 1e-3) << p;
        EXPECT_LT(approx, 1e-3) << p;
    }
}

TEST(NormalDeviateApprox, TheUpperHalfIsFoldedOntoTheFormulaAtP)
{
    // 1 - p > 0 for every p < 1, so p comes back and the result is the
    // formula at p with its sign turned: about 1.80 at 0.975, not 1.96.
    EXPECT_EQ(result(STATS_TalvoNormalDeviateApprox_MP, "0.975"), "1.799455364");
    EXPECT_NEAR(STATS_NormalDeviateApprox_MP(kv(), F("0.975")).to_double(), 1.80, 0.005);
    EXPECT_EQ(result(STATS_TalvoNormalDeviateApprox_MP, "0.025"), "-1.960589944");
    // p = 1: ln 0 makes t infinite and t - num/den undefined; p = 0 the same.
    EXPECT_EQ(result(STATS_TalvoNormalDeviateApprox_MP, "1"), "Float(undefined)");
    EXPECT_EQ(result(STATS_TalvoNormalDeviateApprox_MP, "0"), "Float(undefined)");
    EXPECT_EQ(result(STATS_TalvoNormalDeviateApprox_MP, "1.5"), "Float(undefined)");
}

TEST(NormalWApprox, ParametersOneHalfAreRefused)
{
    EXPECT_EQ(error_of([] { STATS_NormalWApprox_MP(kv(), F("0.9"), F("0.5"), F("3")); }),
              "Error: Parameter A is 0.5, a disallowed value.");
    EXPECT_EQ(error_of([] { STATS_NormalWApprox_MP(kv(), F("0.9"), F("2"), F("0.5")); }),
              "Error: Parameter B is 0.5, a disallowed value.");
    // A is checked first.
    EXPECT_EQ(error_of([] { STATS_NormalWApprox_MP(kv(), F("0.9"), F("0.5"), F("0.5")); }),
              "Error: Parameter A is 0.5, a disallowed value.");
}

TEST(NormalWApprox, GivesTheBetaQuantileApproximately)
{
    // A / (A + B exp(2w)) approximates the x-quantile of Beta(A, B) where
    // the normal approximation is good (1 - x <= 1/2), to about 0.01 (a
    // little more for small A or B).  Quantiles by mpmath.
    struct Case {
        const char *x, *a, *b;
        double quantile;
    } cases[] = {{"0.9", "2", "3", 0.679539416278},
                 {"0.5", "4", "1.5", 0.756135560954},
                 {"0.95", "10", "20", 0.479011910007},
                 {"0.75", "3", "3", 0.64056383521}};
    DigitsScope d(15);
    for (const Case &c : cases) {
        double w = STATS_NormalWApprox_MP(kv(), F(c.x), F(c.a), F(c.b)).to_double();
        double a = std::atof(c.a), b = std::atof(c.b);
        EXPECT_NEAR(a / (a + b * std::exp(2 * w)), c.quantile, 0.02) << c.x << ", " << c.a << ", " << c.b;
    }
}
