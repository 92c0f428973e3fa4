// icdf_test.cpp -- the inverse-CDF generator: its safeguarded Newton search,
// the evaluation of the caller's procedures, its stream consumption, the two
// entries' argument messages in order, and the law of its samples.
#include "law_support.hpp"

#include "distributions.hpp"
#include "icdf.hpp"
#include "talvo_utils.hpp"

#include <memory>

using namespace stats::test;

namespace {

using Callback = STATS_ICDFGenerator_MP::TalvoCallback;

std::unique_ptr<Callback> MakeCallback(const std::string &proc)
{
    return std::unique_ptr<Callback>(
        STATS_ICDFGenerator_MP::CreateTalvoCallback(kv(), eval(proc), ToTalvoName(kv(), "evalf", 1), 0));
}

std::unique_ptr<STATS_ICDFGenerator_MP> Generator(const std::string &cdf, const std::string &pdf, const char *a,
                                                  const char *b, const char *tol)
{
    return std::unique_ptr<STATS_ICDFGenerator_MP>(
        new STATS_ICDFGenerator_MP(kv(), eval(cdf), eval(pdf), eval(a), eval(b), eval(tol), 0));
}

long Count(const char *name) { return TalvoToInteger32(kv(), eval(name)); }

std::string S(const TalvoFloat &x) { return show(x.handle()); }

} // namespace

TEST(ICDFGenerator, TheIntervalsMassIsComputedOnce)
{
    eval("n_F := 0: cdfe := proc(x) global n_F; n_F := n_F + 1; 1 - exp(-x) end proc");
    auto g = Generator("cdfe", "x -> exp(-x)", "1", "3", "1e-9");
    EXPECT_EQ(Count("n_F"), 2);
    EXPECT_EQ(S(g->lower()), "1.");
    EXPECT_EQ(S(g->upper()), "3.");
    EXPECT_EQ(S(g->tolerance()), "1.e-9");
    EXPECT_EQ(S(g->cdfAtLower()), S(F("1") - exp(F("-1"))));
    EXPECT_EQ(S(g->cdfAtUpper()), S(F("1") - exp(F("-3"))));
    EXPECT_EQ(S(g->mass()), S(g->cdfAtUpper() - g->cdfAtLower()));
    // Exact rationals are taken as the interval's ends and tolerance.
    auto h = Generator("cdfe", "x -> exp(-x)", "1/2", "7/2", "1/1000");
    EXPECT_EQ(S(h->lower()), "0.5");
    EXPECT_EQ(S(h->tolerance()), "0.001");
}

TEST(ICDFGenerator, OneUniformPerDraw)
{
    // A uniform law on [0, 1]: Newton lands on p in one step and the next
    // step does not move it.
    auto g = Generator("x -> x", "x -> 1", "0", "1", "1e-8");
    ReplayStream s;
    s.uniforms({"0.5", "0.125", "0.3"});
    EXPECT_EQ(S(g->Next()), "0.5");
    EXPECT_EQ(S(g->Next()), "0.125");
    EXPECT_EQ(S(g->Next()), "0.3");
    EXPECT_EQ(s.uniforms_taken(), 3);
    EXPECT_EQ(s.ints_taken(), 0);
    // On [2, 4] with F(x) = x/4: p = 1/2 + u/2.
    auto h = Generator("x -> x/4", "x -> 1/4", "2", "4", "1e-8");
    s.uniforms({"0.5"});
    EXPECT_EQ(S(h->Next()), "3.");
}

TEST(ICDFGenerator, ProbabilitiesAtTheEndsGiveTheEnds)
{
    auto cdf = MakeCallback("x -> 1 - exp(-x)");
    auto pdf = MakeCallback("x -> exp(-x)");
    for (int digits : {15, 50}) {
        DigitsScope d(digits);
        TalvoFloat a = F("0.5"), b = F("6"), tol = stats::TenToMinusDigits(digits - 2);
        TalvoFloat Fa = F("1") - exp(-a), Fb = F("1") - exp(-b);
        TalvoFloat xa = STATS_ICDFGenerator_MP::Quantile(cdf.get(), pdf.get(), Fa, a, b, tol);
        TalvoFloat xb = STATS_ICDFGenerator_MP::Quantile(cdf.get(), pdf.get(), Fb, a, b, tol);
        EXPECT_TRUE(fabs(xa - a) <= tol) << S(xa);
        EXPECT_TRUE(fabs(xb - b) <= tol) << S(xb);
        // An inner point to the full precision.
        TalvoFloat p = F("0.9");
        TalvoFloat x = STATS_ICDFGenerator_MP::Quantile(cdf.get(), pdf.get(), p, a, b, tol);
        TalvoFloat exact = -log(F("0.1"));
        EXPECT_TRUE(fabs(x - exact) <= tol * TalvoFloat(10.0)) << S(x);
    }
}

TEST(ICDFGenerator, StepsEndByTheToleranceTheUnmovedPointOrTheCount)
{
    eval("n_F := 0: cdfu := proc(x) global n_F; n_F := n_F + 1; x end proc: flat := x -> 0");
    auto cdf = MakeCallback("cdfu");
    auto zero = MakeCallback("flat");
    auto one = MakeCallback("x -> 1");
    // A density of 0 makes every step a bisection, halving from 1/2: the
    // step falls below 1e-3 at the tenth, before its evaluation.
    eval("n_F := 0");
    STATS_ICDFGenerator_MP::Quantile(cdf.get(), zero.get(), F("0.3"), F("0"), F("1"), F("1e-3"));
    EXPECT_EQ(Count("n_F"), 10);
    {
        // A tolerance of 0 at 50 digits: about 170 halvings would be needed,
        // so the search ends after its 100 steps; no error.
        DigitsScope d(50);
        eval("n_F := 0");
        TalvoFloat x = STATS_ICDFGenerator_MP::Quantile(cdf.get(), zero.get(), F("0.3"), F("0"), F("1"), F("0"));
        EXPECT_EQ(Count("n_F"), 1 + 100);
        EXPECT_LT(fabs(x - F("0.3")).to_double(), 1e-29);
    }
    // With the true density, Newton hits p exactly, and the next step stops.
    eval("n_F := 0");
    EXPECT_EQ(S(STATS_ICDFGenerator_MP::Quantile(cdf.get(), one.get(), F("0.3"), F("0"), F("1"), F("0"))), "0.3");
    EXPECT_EQ(Count("n_F"), 2);
}

TEST(ICDFGenerator, SymbolicValuesGoThroughEvalf)
{
    auto cdf = MakeCallback("x -> (1 - exp(-x))*sqrt(2)/sqrt(2)");
    EXPECT_EQ(S(STATS_ICDFGenerator_MP::EvalfTalvoProc1(cdf.get(), F("1"))), S(F("1") - exp(F("-1"))));
    auto g = Generator("x -> (1 - exp(-x))*sqrt(2)/sqrt(2)", "x -> exp(-x)*sqrt(2)/sqrt(2)", "0", "10", "1e-9");
    ReplayStream s;
    s.uniforms({"0.5"});
    TalvoFloat p = F("0.5") * (F("1") - exp(F("-10")));
    EXPECT_LT(fabs(g->Next() + log(F("1") - p)).to_double(), 1e-8);
    // The n-argument form.
    auto sum = MakeCallback("(x, y) -> x + y*sqrt(4)");
    TalvoFloat args[2] = {F("1.5"), F("2")};
    EXPECT_EQ(S(STATS_ICDFGenerator_MP::EvalfTalvoProc(sum.get(), 2, args)), "5.5");
}

TEST(ICDFGenerator, ProceduresThatFail)
{
    auto symbol = MakeCallback("x -> y");
    EXPECT_EQ(error_of([&] { STATS_ICDFGenerator_MP::EvalfTalvoProc1(symbol.get(), F("1")); }),
              "y does not evaluate to float");
    auto raising = MakeCallback("proc(x) error \"no value at %1\", x end proc");
    EXPECT_EQ(error_of([&] { STATS_ICDFGenerator_MP::EvalfTalvoProc1(raising.get(), F("2")); }), "no value at 2.");
    TalvoFloat args[2] = {F("1"), F("2")};
    auto pair = MakeCallback("(x, y) -> x + z");
    EXPECT_EQ(error_of([&] { STATS_ICDFGenerator_MP::EvalfTalvoProc(pair.get(), 2, args); }),
              "z + 1. does not evaluate to float");
    // Undefined and infinite values are no error here.
    auto undefined = MakeCallback("x -> undefined");
    EXPECT_EQ(S(STATS_ICDFGenerator_MP::EvalfTalvoProc1(undefined.get(), F("1"))), "Float(undefined)");
    auto infinite = MakeCallback("x -> infinity");
    EXPECT_EQ(S(STATS_ICDFGenerator_MP::EvalfTalvoProc1(infinite.get(), F("1"))), "Float(infinity)");
    // A generator whose CDF fails at an end fails as it is built.
    EXPECT_EQ(error_of([] { Generator("x -> y", "x -> 1", "0", "1", "1e-9"); }), "y does not evaluate to float");
}

// ---------------------------------------------------------------------------
// The entries
// ---------------------------------------------------------------------------

TEST(InverseDistributionSampleId, ArgumentMessagesInOrder)
{
    eval("Fe := x -> 1 - exp(-x): fe := x -> exp(-x)");
    auto r = [](const std::string &args) { return result(STATS_TalvoInverseDistributionSampleId_MP, args); };
    EXPECT_EQ(r(""), "Error: expecting sample length as first argument");
    EXPECT_EQ(r("2.5"), "Error: first argument (sample length) must be positive integer, received 2.5");
    EXPECT_EQ(r("2^31, Fe"), "Error: first argument (sample length) must be positive integer, received 2147483648");
    EXPECT_EQ(r("3"), "Error: expecting probability distribution as second argument");
    EXPECT_EQ(r("3, 5"), "Error: expecting talvo procedure as second argument, received 5");
    EXPECT_EQ(r("3, Fe"), "Error: expecting probability density function as third argument");
    EXPECT_EQ(r("3, Fe, [fe]"), "Error: expecting talvo procedure as third argument, received [x -> exp(-x)]");
    EXPECT_EQ(r("3, Fe, fe"), "Error: expecting lower bound for the interval as fourth argument");
    EXPECT_EQ(r("3, Fe, fe, a"), "Error: expecting float as fourth argument, received a");
    EXPECT_EQ(r("3, Fe, fe, 0"), "Error: expecting upper bound for the interval as fifth argument");
    EXPECT_EQ(r("3, Fe, fe, 0, [1]"), "Error: expecting float as fifth argument, received [1]");
    EXPECT_EQ(r("3, Fe, fe, 0, 10"), "Error: expecting precision as sixth argument");
    EXPECT_EQ(r("3, Fe, fe, 0, 10, eps"), "Error: expecting float as sixth argument, received eps");
    EXPECT_EQ(r("3, Fe, fe, 0, 10, 1e-9, 7"), "Error: expecting true or false, got 7");
    // Every check passes: a sample.
    {
        ReplayStream s; // no draw for an empty sample
        EXPECT_EQ(r("0, Fe, fe, 0, 10, 1e-9"), "Array(1..0, [], datatype = sfloat)");
        EXPECT_EQ(r("-3, Fe, fe, 0, 10, 1e-9, true"), "Array(1..-3, [], datatype = sfloat)");
    }
    ReplayStream s;
    s.uniforms({"0.5", "0.75"});
    ALGEB a = call(STATS_TalvoInverseDistributionSampleId_MP, "2, x -> x^2, x -> 2*x, 0, 1, 1e-12, false");
    EXPECT_EQ(s.uniforms_taken(), 2);
    auto x = FloatArrayValues(a);
    EXPECT_NEAR(x[0], std::sqrt(0.5), 1e-9);
    EXPECT_NEAR(x[1], std::sqrt(0.75), 1e-9);
}

TEST(InverseDistributionSample, ArgumentMessagesInOrder)
{
    eval("Fe := x -> 1 - exp(-x): fe := x -> exp(-x)");
    auto r = [](const std::string &args) { return result(STATS_TalvoInverseDistributionSample_MP, args); };
    EXPECT_EQ(r(""), "Error: expecting sample length as first argument");
    EXPECT_EQ(r("x"), "Error: first argument (sample length) must be positive integer, received x");
    EXPECT_EQ(r("3"), "Error: expecting expression involving random variables as second argument");
    EXPECT_EQ(r("3, 4"), "Error: expecting talvo procedure as second argument, received 4");
    EXPECT_EQ(r("3, (x, y) -> x + y"), "Error: expecting list of random variables as third argument");
    EXPECT_EQ(r("3, (x, y) -> x + y, 0"), "Error: expecting list of random variables as third argument, received 0");
    // A list fails the next test: the third argument is the interval's
    // lower end as well.
    EXPECT_EQ(r("3, (x, y) -> x + y, [[X, Fe, fe], [Y, Fe, fe]]"),
              "Error: expecting float as third argument, received [[X, x -> 1 - exp(-x), x -> exp(-x)], [Y, x -> 1 - "
              "exp(-x), x -> exp(-x)]]");
    EXPECT_EQ(r("3, (x, y) -> x + y, [[X, 1, 2]], 10, 1e-9, true"),
              "Error: expecting float as third argument, received [[X, 1, 2]]");
}

TEST(InverseDistributionSample, TheSampleOfAProcedureOfSeveralVariables)
{
    // What the entry does past its checks, with the variables and the lower
    // end apart: one uniform per variable per element, in list order.
    eval("U1 := [X, x -> x, x -> 1]: U2 := [Y, x -> x^2, x -> 2*x]");
    ReplayStream s;
    s.uniforms({"0.25", "0.25", "0.5", "0.64"});
    ALGEB a = stats::InverseDistributionSample(kv(), 2, eval("(x, y) -> x + 10*y"), eval("[U1, U2]"), eval("0"),
                                               eval("1"), eval("1e-12"), 1);
    EXPECT_EQ(s.uniforms_taken(), 4);
    auto x = FloatArrayValues(a);
    ASSERT_EQ(x.size(), 2u);
    EXPECT_NEAR(x[0], 0.25 + 10 * 0.5, 1e-9);
    EXPECT_NEAR(x[1], 0.5 + 10 * 0.8, 1e-9);
    // The procedure is called untrapped: its errors reach the caller.
    s.uniforms({"0.5"});
    EXPECT_EQ(error_of([] {
                  stats::InverseDistributionSample(kv(), 1, eval("proc(x) error \"bad %1\", x end proc"), eval("[U1]"),
                                                   eval("0"), eval("1"), eval("1e-12"), 0);
              }),
              "bad 0.5");
}

void MinimumOfTwoExponentials(int seed)
{
    // min(X, Y) of exponentials of rates 1 and 2 is exponential of rate 3.
    eval("E1 := [X, x -> 1 - exp(-x), x -> exp(-x)]: E2 := [Y, x -> 1 - exp(-2*x), x -> 2*exp(-2*x)]");
    eval("randomize(" + std::to_string(seed) + ")");
    std::string tol = "1e-" + std::to_string(TalvoDigits() - 2);
    ALGEB a = stats::InverseDistributionSample(kv(), CostlyDraws(2000), eval("(x, y) -> min(x, y)"), eval("[E1, E2]"),
                                               eval("0"), eval("60"), eval(tol), 0);
    ExpectLaw("inverse CDF, min of exponentials", FloatArrayValues(a), [](double v) { return 1 - std::exp(-3 * v); });
}

TEST(InverseDistributionSampleLaw, MinimumOfTwoExponentials)
{
    DigitsScope d(15);
    MinimumOfTwoExponentials(91);
}

// ---------------------------------------------------------------------------
// Laws of single variables
// ---------------------------------------------------------------------------

namespace {

// The standard normal distribution function as a host builtin, so that a
// procedure can call it (the library's entries are not loaded by name in
// the unit tests).
ALGEB StandardNormalCdf(ALGEB args)
{
    TalvoFloat x = STATS_TalvoUtils_MP::TalvoDAGToDouble(TalvoExpseqSelect(kv(), args, 1));
    return STATS_NormalProbability_MP(kv(), x, TalvoFloat(0.0), TalvoFloat(1.0)).handle();
}

std::vector<double> IcdfSample(int seed, int n, const std::string &cdf, const std::string &pdf, const char *a,
                               const char *b)
{
    eval("randomize(" + std::to_string(seed) + ")");
    std::string tol = "1e-" + std::to_string(TalvoDigits() - 2);
    return FloatArrayValues(call(STATS_TalvoInverseDistributionSampleId_MP, std::to_string(n) + ", " + cdf + ", " +
                                                                                pdf + ", " + a + ", " + b + ", " + tol));
}

void IcdfLaws(int seed)
{
    static bool defined = false;
    if (!defined) {
        talvo::define_builtin("test_normal_cdf", StandardNormalCdf);
        defined = true;
    }
    int n = CostlyDraws(5000);
    ExpectLaw("inverse CDF, normal",
              IcdfSample(seed, n, "x -> test_normal_cdf(x)", "x -> exp(-x^2/2)/sqrt(2*Pi)",
                         "-12", "12"),
              NormalCdf);
    ExpectLaw("inverse CDF, gamma(3)",
              IcdfSample(seed + 1, n, "x -> 1 - exp(-x)*(1 + x + x^2/2)", "x -> x^2*exp(-x)/2", "0", "60"), Gamma3Cdf);
    ExpectLaw("inverse CDF, beta(2, 5)",
              IcdfSample(seed + 2, n, "x -> 1 - (1 - x)^6 - 6*x*(1 - x)^5", "x -> 30*x*(1 - x)^4", "0", "1"),
              Beta25Cdf);
}

} // namespace

TEST(InverseDistributionSampleIdLaw, NormalGammaBeta)
{
    DigitsScope d(15);
    IcdfLaws(101);
}

TEST(InverseDistributionSampleIdLaw, NormalGammaBetaAt50Digits)
{
    DigitsScope d(50);
    IcdfLaws(111);
}
