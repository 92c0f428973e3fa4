// sampling_distributions_test.cpp -- Student's t, chi-square, F, gamma and
// beta, central and non-central: accuracy against the reference table made
// by scripts/reference/sampling_distributions.py, round trips, argument
// counts, the numerics routines' failures and the deviate searches'.
#include "stats_support.hpp"

#include "nag_call.hpp"
#include "reference_table.hpp"
#include "sampling_distributions.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>

using namespace stats::test;

namespace {

using Fn = std::function<TalvoFloat(const std::vector<TalvoFloat> &)>;

// 10^-Digits, as the host entries pass it.
TalvoFloat Tol() { return stats::DigitsTolerance(kv()); }

const std::map<std::string, Fn> &Functions()
{
    static const std::map<std::string, Fn> fns = {
        {"StudentTProbability", [](auto &a) { return STATS_StudentTProbability_MP(kv(), a[0], a[1]); }},
        {"StudentTDeviate", [](auto &a) { return STATS_StudentTDeviate_MP(kv(), a[0], a[1]); }},
        {"ChiSquareProbability", [](auto &a) { return STATS_ChiSquareProbability_MP(kv(), a[0], a[1]); }},
        {"ChiSquareDeviate", [](auto &a) { return STATS_ChiSquareDeviate_MP(kv(), a[0], a[1]); }},
        {"FRatioProbability", [](auto &a) { return STATS_FRatioProbability_MP(kv(), a[0], a[1], a[2]); }},
        {"FRatioDeviate", [](auto &a) { return STATS_FRatioDeviate_MP(kv(), a[0], a[1], a[2]); }},
        {"GammaProbability", [](auto &a) { return STATS_GammaProbability_MP(kv(), a[0], a[1], a[2]); }},
        {"GammaDeviate", [](auto &a) { return STATS_GammaDeviate_MP(kv(), a[0], a[1], a[2]); }},
        {"BetaProbability", [](auto &a) { return STATS_BetaProbability_MP(kv(), a[0], a[1], a[2]); }},
        {"BetaDeviate", [](auto &a) { return STATS_BetaDeviate_MP(kv(), a[0], a[1], a[2]); }},
        {"NonCentralStudentTProbability",
         [](auto &a) { return STATS_NonCentralStudentTProbability_MP(kv(), a[0], a[1], a[2], Tol()); }},
        {"NonCentralChiSquareProbability",
         [](auto &a) { return STATS_NonCentralChiSquareProbability_MP(kv(), a[0], a[1], a[2], Tol()); }},
        {"NonCentralChiSquareDeviate",
         [](auto &a) { return STATS_NonCentralChiSquareDeviate_MP(kv(), a[0], a[1], a[2], Tol()); }},
        {"NonCentralFRatioProbability",
         [](auto &a) { return STATS_NonCentralFRatioProbability_MP(kv(), a[0], a[1], a[2], a[3], Tol()); }},
        {"NonCentralFRatioDeviate",
         [](auto &a) { return STATS_NonCentralFRatioDeviate_MP(kv(), a[0], a[1], a[2], a[3], Tol()); }},
        {"NonCentralBetaProbability",
         [](auto &a) { return STATS_NonCentralBetaProbability_MP(kv(), a[0], a[1], a[2], a[3], Tol()); }},
        {"NonCentralBetaDeviate",
         [](auto &a) { return STATS_NonCentralBetaDeviate_MP(kv(), a[0], a[1], a[2], a[3], Tol()); }},
    };
    return fns;
}

bool IsSearch(const std::string &fn) { return fn.rfind("NonCentral", 0) == 0 && fn.find("Deviate") != std::string::npos; }

std::string Args(const ReferenceCase &c)
{
    std::string s;
    for (const std::string &a : c.args)
        s += (s.empty() ? "" : ", ") + a;
    return s;
}

std::vector<ReferenceCase> Table()
{
    static const std::vector<ReferenceCase> cases = ReadReferenceTable(TALVO_TEST_DATA "/sampling_distributions.tsv");
    return cases;
}

} // namespace

// The probabilities and the deviates that the numerics library computes
// directly, within one unit of the last digit of mpmath's value.
TEST(SamplingDistributions, RoutinesAgreeWithMpmathToTheLastDigit)
{
    auto cases = Table();
    ASSERT_GE(cases.size(), 300u);
    std::map<std::string, double> worst;
    for (const ReferenceCase &c : cases) {
        if (IsSearch(c.function))
            continue;
        DigitsScope d(c.digits);
        std::vector<TalvoFloat> args;
        for (const std::string &a : c.args)
            args.push_back(F(a.c_str()));
        TalvoFloat x = Functions().at(c.function)(args);
        double err = ErrorInLastDigits(x, c.value, c.digits);
        worst[c.function] = std::max(worst[c.function], err);
        EXPECT_LT(err, 1.0) << c.function << "(" << Args(c) << ") at " << c.digits << " digits: " << show(x.handle())
                            << " against " << c.value << " (" << err << " units)";
    }
    for (auto &[fn, w] : worst)
        RecordProperty("worst_" + fn, std::to_string(w));
}

// The non-central deviates stop when Brent's bracket is within
// tol1 = 2 tol |x| + tol/2 of the root of the computed distribution
// function (tol = 10^-Digits).  That root is itself off the true quantile by
// the probability's error (one unit in its last digit) over the density f,
// which matters in the far tails where f is small.  Both together, and half
// a unit for the rounding of the iterate, bound the error; f is estimated by
// a central difference of the probability.
TEST(SamplingDistributions, NonCentralDeviatesAgreeWithMpmathWithinTheSearchTolerance)
{
    int checked = 0;
    double worst = 0;
    for (const ReferenceCase &c : Table()) {
        if (!IsSearch(c.function))
            continue;
        DigitsScope d(c.digits);
        std::vector<TalvoFloat> args;
        for (const std::string &a : c.args)
            args.push_back(F(a.c_str()));
        const Fn &deviate = Functions().at(c.function);
        std::string probability_name = c.function.substr(0, c.function.find("Deviate")) + "Probability";
        const Fn &probability = Functions().at(probability_name);
        TalvoFloat x = deviate(args);
        double xd = std::fabs(x.to_double());
        double unit = std::pow(10.0, std::floor(std::log10(xd)) - c.digits + 1);
        double tol = std::pow(10.0, -c.digits);
        double p = args[0].to_double();
        double p_unit = std::pow(10.0, std::floor(std::log10(p)) - c.digits + 1);
        std::vector<TalvoFloat> lo = args, hi = args;
        TalvoFloat h = x * TalvoFloat(1e-6);
        lo[0] = x - h;
        hi[0] = x + h;
        double density = ((probability(hi) - probability(lo)) / (h + h)).to_double();
        double bound = (2 * tol * xd + 0.5 * tol + p_unit / density) / unit + 0.5;
        double units = ErrorInLastDigits(x, c.value, c.digits);
        worst = std::max(worst, units);
        // SHOW_UNITS=1 lists every case's error and bound.
        if (std::getenv("SHOW_UNITS"))
            printf("%s(%s) at %d: %.3g units, bound %.3g\n", c.function.c_str(), Args(c).c_str(), c.digits, units, bound);
        EXPECT_LE(units, bound) << c.function << "(" << Args(c) << ") at " << c.digits
                                << " digits: " << show(x.handle()) << " against " << c.value;
        ++checked;
    }
    EXPECT_GE(checked, 40);
    RecordProperty("worst_units", std::to_string(worst));
}

// Deviate(Probability(x)) = x.  p = F(x) carries half a unit of rounding and
// up to one of the routine; at these points the quantile's condition
// F / (x f) is below 2, so the round trip is within 4 units (the searches:
// within their absolute tolerance, as above, plus that).
TEST(SamplingDistributions, DeviateOfProbabilityRoundTrips)
{
    struct Trip {
        const char *name;
        std::function<TalvoFloat(TalvoFloat)> cdf, quantile;
        const char *x;
        bool search;
    };
    std::vector<Trip> trips = {
        {"StudentT", [](TalvoFloat x) { return STATS_StudentTProbability_MP(kv(), x, F("7")); },
         [](TalvoFloat p) { return STATS_StudentTDeviate_MP(kv(), p, F("7")); }, "1.7", false},
        {"ChiSquare", [](TalvoFloat x) { return STATS_ChiSquareProbability_MP(kv(), x, F("5")); },
         [](TalvoFloat p) { return STATS_ChiSquareDeviate_MP(kv(), p, F("5")); }, "6.5", false},
        {"FRatio", [](TalvoFloat x) { return STATS_FRatioProbability_MP(kv(), x, F("4"), F("9")); },
         [](TalvoFloat p) { return STATS_FRatioDeviate_MP(kv(), p, F("4"), F("9")); }, "1.3", false},
        {"Gamma", [](TalvoFloat x) { return STATS_GammaProbability_MP(kv(), x, F("2"), F("3")); },
         [](TalvoFloat p) { return STATS_GammaDeviate_MP(kv(), p, F("2"), F("3")); }, "7.25", false},
        {"Beta", [](TalvoFloat x) { return STATS_BetaProbability_MP(kv(), x, F("2"), F("3")); },
         [](TalvoFloat p) { return STATS_BetaDeviate_MP(kv(), p, F("2"), F("3")); }, "0.45", false},
        {"NonCentralChiSquare",
         [](TalvoFloat x) { return STATS_NonCentralChiSquareProbability_MP(kv(), x, F("4"), F("3"), Tol()); },
         [](TalvoFloat p) { return STATS_NonCentralChiSquareDeviate_MP(kv(), p, F("4"), F("3"), Tol()); }, "8.5",
         true},
        {"NonCentralFRatio",
         [](TalvoFloat x) { return STATS_NonCentralFRatioProbability_MP(kv(), x, F("3"), F("12"), F("2"), Tol()); },
         [](TalvoFloat p) { return STATS_NonCentralFRatioDeviate_MP(kv(), p, F("3"), F("12"), F("2"), Tol()); },
         "2.2", true},
        {"NonCentralBeta",
         [](TalvoFloat x) { return STATS_NonCentralBetaProbability_MP(kv(), x, F("2"), F("3"), F("1.5"), Tol()); },
         [](TalvoFloat p) { return STATS_NonCentralBetaDeviate_MP(kv(), p, F("2"), F("3"), F("1.5"), Tol()); },
         "0.55", true},
    };
    for (int digits : {15, 30, 50}) {
        DigitsScope d(digits);
        for (const Trip &t : trips) {
            TalvoFloat x = F(t.x);
            TalvoFloat back = t.quantile(t.cdf(x));
            double unit = std::pow(10.0, std::floor(std::log10(x.to_double())) - digits + 1);
            double tol = std::pow(10.0, -digits);
            double bound = 4 + (t.search ? (2 * tol * x.to_double() + 0.5 * tol) / unit : 0);
            double units = ErrorInLastDigits(back, t.x, digits);
            EXPECT_LE(units, bound) << t.name << " at " << digits << " digits: " << show(back.handle());
        }
    }
}

TEST(SamplingDistributions, GammaTakesScaleFirst)
{
    DigitsScope d(15);
    // Gamma(scale 2, shape 3) has mean 6 and median 5.348...; with the
    // parameters the other way round (scale 3, shape 2) the median is 5.035...
    EXPECT_EQ(result(STATS_TalvoGammaDeviate_MP, "0.5, 2, 3"), "5.34812062744712");
    EXPECT_EQ(result(STATS_TalvoGammaDeviate_MP, "0.5, 3, 2"), "5.03504097004998");
    // Chi-square with nu degrees of freedom is the gamma of scale 2, shape nu/2.
    EXPECT_EQ(result(STATS_TalvoChiSquareProbability_MP, "5.5, 6"), result(STATS_TalvoGammaProbability_MP, "5.5, 2, 3"));
}

TEST(SamplingDistributions, EntriesReturnTheInnerValuesAtTheCallersDigits)
{
    {
        DigitsScope d(10);
        EXPECT_EQ(result(STATS_TalvoStudentTDeviate_MP, "0.975, 10"), "2.228138852");
        EXPECT_EQ(result(STATS_TalvoStudentTProbability_MP, "0, 3"), "0.5");
        EXPECT_EQ(result(STATS_TalvoChiSquareDeviate_MP, "0.95, 1"), "3.841458821");
        EXPECT_EQ(result(STATS_TalvoFRatioDeviate_MP, "0.95, 1, 1"), "161.4476388");
        EXPECT_EQ(result(STATS_TalvoBetaProbability_MP, "0.5, 2, 2"), "0.5");
        EXPECT_EQ(result(STATS_TalvoBetaDeviate_MP, "0.5, 3, 3"), "0.5");
        EXPECT_EQ(result(STATS_TalvoNonCentralStudentTProbability_MP, "0, 10, 0"), "0.5");
        EXPECT_EQ(result(STATS_TalvoNonCentralChiSquareProbability_MP, "3, 4, 0"),
                  result(STATS_TalvoChiSquareProbability_MP, "3, 4"));
        EXPECT_EQ(result(STATS_TalvoNonCentralFRatioProbability_MP, "2, 3, 7, 0"),
                  result(STATS_TalvoFRatioProbability_MP, "2, 3, 7"));
        EXPECT_EQ(result(STATS_TalvoNonCentralBetaProbability_MP, "0.3, 2, 5, 0"),
                  result(STATS_TalvoBetaProbability_MP, "0.3, 2, 5"));
    }
    {
        DigitsScope d(30);
        EXPECT_EQ(result(STATS_TalvoStudentTDeviate_MP, "0.975, 10"), "2.2281388519862747483954906632");
    }
}

// The non-central entries pass 10^-Digits as the tolerance of both the
// series and the search.
TEST(SamplingDistributions, NonCentralEntriesUseTheDigitsTolerance)
{
    DigitsScope d(20);
    TalvoFloat tol = stats::DigitsTolerance(kv());
    EXPECT_EQ(result(STATS_TalvoNonCentralChiSquareDeviate_MP, "0.9, 3, 2"),
              show(STATS_NonCentralChiSquareDeviate_MP(kv(), F("0.9"), F("3"), F("2"), tol).handle()));
    EXPECT_EQ(result(STATS_TalvoNonCentralFRatioDeviate_MP, "0.9, 3, 8, 2"),
              show(STATS_NonCentralFRatioDeviate_MP(kv(), F("0.9"), F("3"), F("8"), F("2"), tol).handle()));
    EXPECT_EQ(result(STATS_TalvoNonCentralBetaDeviate_MP, "0.9, 2, 3, 2"),
              show(STATS_NonCentralBetaDeviate_MP(kv(), F("0.9"), F("2"), F("3"), F("2"), tol).handle()));
    EXPECT_EQ(result(STATS_TalvoNonCentralStudentTProbability_MP, "1.5, 4, 0.5"),
              show(STATS_NonCentralStudentTProbability_MP(kv(), F("1.5"), F("4"), F("0.5"), tol).handle()));
    // A coarser tolerance gives a coarser search: the entry's answer is not
    // the one searched to 10^-5.
    EXPECT_NE(result(STATS_TalvoNonCentralBetaDeviate_MP, "0.9, 2, 3, 2"),
              show(STATS_NonCentralBetaDeviate_MP(kv(), F("0.9"), F("2"), F("3"), F("2"), F("1e-5")).handle()));
}

TEST(SamplingDistributions, ArgumentCountMessages)
{
    struct Case {
        TalvoEntry entry;
        const char *args;
        const char *message;
    };
    const Case cases[] = {
        {STATS_TalvoStudentTProbability_MP, "1", "TalvoStudentTProbability expects 2 arguments, received: 1"},
        {STATS_TalvoStudentTDeviate_MP, "1, 2, 3", "TalvoStudentTDeviate expects 2 arguments, received: 1, 2, 3"},
        {STATS_TalvoStudentTRandomVariate_MP, "", "TalvoStudentTRandomVariate expects 1 argument, received: "},
        {STATS_TalvoStudentTRandomVariate_MP, "1, 2", "TalvoStudentTRandomVariate expects 1 argument, received: 1, 2"},
        {STATS_TalvoStudentTRandomSample_MP, "1", "TalvoStudentTRandomSample expects 2 arguments, received: 1"},
        {STATS_TalvoChiSquareProbability_MP, "1", "TalvoChiSquareProbability expects 2 arguments, received: 1"},
        {STATS_TalvoChiSquareDeviate_MP, "1, 2, 3", "TalvoChiSquareDeviate expects 2 arguments, received: 1, 2, 3"},
        {STATS_TalvoFRatioProbability_MP, "1, 2", "TalvoFRatioProbability expects 3 arguments, received: 1, 2"},
        {STATS_TalvoFRatioDeviate_MP, "1, 2, 3, 4", "TalvoFRatioDeviate expects 3 arguments, received: 1, 2, 3, 4"},
        {STATS_TalvoGammaProbability_MP, "1, 2", "TalvoGammaProbability expects 3 arguments, received: 1, 2"},
        {STATS_TalvoGammaDeviate_MP, "1", "TalvoGammaDeviate expects 3 arguments, received: 1"},
        {STATS_TalvoBetaProbability_MP, "1, 2", "TalvoBetaProbability expects 3 arguments, received: 1, 2"},
        {STATS_TalvoBetaDeviate_MP, "1, 2, 3, 4", "TalvoBetaDeviate expects 3 arguments, received: 1, 2, 3, 4"},
        {STATS_TalvoNonCentralStudentTProbability_MP, "1, 2",
         "TalvoNonCentralStudentTProbability expects 3 arguments, received: 1, 2"},
        {STATS_TalvoNonCentralChiSquareProbability_MP, "1, 2, 3, 4",
         "TalvoNonCentralChiSquareProbability expects 3 arguments, received: 1, 2, 3, 4"},
        {STATS_TalvoNonCentralChiSquareDeviate_MP, "1, 2",
         "TalvoNonCentralChiSquareDeviate expects 3 arguments, received: 1, 2"},
        {STATS_TalvoNonCentralFRatioProbability_MP, "1, 2, 3",
         "TalvoNonCentralFRatioProbability expects 4 arguments, received: 1, 2, 3"},
        {STATS_TalvoNonCentralFRatioDeviate_MP, "1, 2, 3, 4, 5",
         "TalvoNonCentralFRatioDeviate expects 4 arguments, received: 1, 2, 3, 4, 5"},
        {STATS_TalvoNonCentralBetaProbability_MP, "1, 2, 3",
         "TalvoNonCentralBetaProbability expects 4 arguments, received: 1, 2, 3"},
        {STATS_TalvoNonCentralBetaDeviate_MP, "1", "TalvoNonCentralBetaDeviate expects 4 arguments, received: 1"},
    };
    for (const Case &c : cases)
        EXPECT_EQ(result(c.entry, c.args), std::string("Error: ") + c.message);
}

// A routine's failure reaches the host as its own message, unchanged.
TEST(SamplingDistributions, RoutineFailuresBecomeHostErrors)
{
    DigitsScope d(15);
    auto routine_message = [](auto routine) {
        stats::NagCall c;
        routine(&c.fail);
        EXPECT_NE(c.fail.code, NE_NOERROR);
        return std::string("Error: ") + c.fail.message;
    };
    EXPECT_EQ(result(STATS_TalvoStudentTProbability_MP, "1, -2"),
              routine_message([](NagError *e) { TalvoMP_g01ebc(Nag_LowerTail, F("1"), F("-2"), e); }));
    EXPECT_EQ(result(STATS_TalvoStudentTDeviate_MP, "1.5, 3"),
              routine_message([](NagError *e) { TalvoMP_g01fbc(Nag_LowerTail, F("1.5"), F("3"), e); }));
    EXPECT_EQ(result(STATS_TalvoChiSquareProbability_MP, "-1, 3"),
              routine_message([](NagError *e) { TalvoMP_g01ecc(Nag_LowerTail, F("-1"), F("3"), e); }));
    EXPECT_EQ(result(STATS_TalvoChiSquareDeviate_MP, "1, 3"),
              routine_message([](NagError *e) { TalvoMP_g01fcc(F("1"), F("3"), e); }));
    EXPECT_EQ(result(STATS_TalvoFRatioProbability_MP, "1, 0, 3"),
              routine_message([](NagError *e) { TalvoMP_g01edc(Nag_LowerTail, F("1"), F("0"), F("3"), e); }));
    EXPECT_EQ(result(STATS_TalvoFRatioDeviate_MP, "-0.5, 2, 3"),
              routine_message([](NagError *e) { TalvoMP_g01fdc(F("-0.5"), F("2"), F("3"), e); }));
    // Gamma(scale, shape): a bad shape (the second parameter) is reported as
    // the routine's shape argument.
    EXPECT_EQ(result(STATS_TalvoGammaProbability_MP, "1, 2, -3"),
              routine_message([](NagError *e) { TalvoMP_g01efc(Nag_LowerTail, F("1"), F("-3"), F("2"), e); }));
    EXPECT_EQ(result(STATS_TalvoGammaDeviate_MP, "2, 2, 3"),
              routine_message([](NagError *e) { TalvoMP_g01ffc(F("2"), F("3"), F("2"), F("0"), e); }));
    EXPECT_EQ(result(STATS_TalvoBetaProbability_MP, "1.5, 2, 3"), routine_message([](NagError *e) {
                  TalvoFloat p, q, pdf;
                  TalvoMP_g01eec(F("1.5"), F("2"), F("3"), F("0"), &p, &q, &pdf, e);
              }));
    EXPECT_EQ(result(STATS_TalvoBetaDeviate_MP, "0.5, 0, 3"),
              routine_message([](NagError *e) { TalvoMP_g01fec(F("0.5"), F("0"), F("3"), F("0"), e); }));
    TalvoFloat tol(1e-15);
    EXPECT_EQ(result(STATS_TalvoNonCentralStudentTProbability_MP, "1, -1, 2"),
              routine_message([&](NagError *e) { TalvoMP_g01gbc(F("1"), F("-1"), F("2"), tol, 100, e); }));
    EXPECT_EQ(result(STATS_TalvoNonCentralChiSquareProbability_MP, "-1, 2, 3"),
              routine_message([&](NagError *e) { TalvoMP_g01gcc(F("-1"), F("2"), F("3"), tol, 100, e); }));
    EXPECT_EQ(result(STATS_TalvoNonCentralFRatioProbability_MP, "1, 2, 3, -1"),
              routine_message([&](NagError *e) { TalvoMP_g01gdc(F("1"), F("2"), F("3"), F("-1"), tol, 100, e); }));
    EXPECT_EQ(result(STATS_TalvoNonCentralBetaProbability_MP, "2, 2, 3, 1"),
              routine_message([&](NagError *e) { TalvoMP_g01gec(F("2"), F("2"), F("3"), F("1"), tol, 100, e); }));
}

// The non-central routines get the iteration limit from the host on every
// call: 100 by default, the value of "_EnvStatisticsIterations" when it is
// assigned.  A series that needs more terms fails with the routine's message.
TEST(SamplingDistributions, IterationLimitReachesTheNonCentralRoutines)
{
    DigitsScope d(30);
    eval("unassign('_EnvStatisticsIterations')");
    const char *args = "60, 6, 50";
    std::string value = result(STATS_TalvoNonCentralChiSquareProbability_MP, args);
    EXPECT_EQ(value.rfind("0.", 0), 0u) << value;
    eval("_EnvStatisticsIterations := 7");
    stats::NagCall c;
    TalvoMP_g01gcc(F("60"), F("6"), F("50"), stats::DigitsTolerance(kv()), 7, &c.fail);
    EXPECT_EQ(c.fail.code, NE_CONV);
    EXPECT_EQ(result(STATS_TalvoNonCentralChiSquareProbability_MP, args), std::string("Error: ") + c.fail.message);
    // The search's probabilities fail the same way.
    EXPECT_EQ(result(STATS_TalvoNonCentralChiSquareDeviate_MP, "0.5, 6, 50").rfind("Error: TalvoMP_g01gcc", 0), 0u);
    eval("_EnvStatisticsIterations := 1000");
    EXPECT_EQ(result(STATS_TalvoNonCentralChiSquareProbability_MP, args), value);
    eval("unassign('_EnvStatisticsIterations')");
}

// The searches' own failures: the root finders' messages.
TEST(SamplingDistributions, NonCentralSearchFailures)
{
    DigitsScope d(15);
    eval("unassign('_EnvStatisticsIterations')");
    // The hybrid march needs the target between the bounds 0 and 1 of a
    // distribution function.
    EXPECT_EQ(result(STATS_TalvoNonCentralChiSquareDeviate_MP, "1.5, 3, 2"),
              "Error: the specified approximation point must be between function bounds.");
    EXPECT_EQ(result(STATS_TalvoNonCentralChiSquareDeviate_MP, "-0.5, 3, 2"),
              "Error: the specified approximation point must be between function bounds.");
    EXPECT_EQ(result(STATS_TalvoNonCentralFRatioDeviate_MP, "1.5, 3, 8, 2"),
              "Error: the specified approximation point must be between function bounds.");
    // The march starts at the mean nu + lambda, which must lie right of the
    // barrier 0.
    EXPECT_EQ(result(STATS_TalvoNonCentralChiSquareDeviate_MP, "0.5, 2, -3"),
              "Error: the specified initial point must be greater than the left barrier.");
    // The plain search on [0, 1] needs the target bracketed by F(0) = 0 and
    // F(1) = 1.
    EXPECT_EQ(result(STATS_TalvoNonCentralBetaDeviate_MP, "1.5, 2, 3, 1"),
              "Error: root must be bracketed by lower and upper boundaries.");
    EXPECT_EQ(result(STATS_TalvoNonCentralBetaDeviate_MP, "-0.5, 2, 3, 1"),
              "Error: root must be bracketed by lower and upper boundaries.");
    // The same limit bounds the series and the searches.  With lambda = 0
    // the series is a single term, so a small limit runs out in the search:
    // in the refinement, or already in the march.
    eval("_EnvStatisticsIterations := 3");
    EXPECT_EQ(result(STATS_TalvoNonCentralBetaDeviate_MP, "0.3, 2, 3, 0"),
              "Error: maximum number of iterations exceeded in Brent root finding.");
    EXPECT_EQ(result(STATS_TalvoNonCentralChiSquareDeviate_MP, "0.999999, 3, 0"),
              "Error: BrentMethodHybrid was not able to converge on the specified root.");
    EXPECT_EQ(result(STATS_TalvoNonCentralFRatioDeviate_MP, "0.3, 3, 8, 0"),
              "Error: maximum number of iterations exceeded in Brent root finding.");
    // With lambda > 0 the series runs out first, with the routine's message.
    eval("_EnvStatisticsIterations := 2");
    EXPECT_EQ(result(STATS_TalvoNonCentralBetaDeviate_MP, "0.3, 2, 3, 1").rfind("Error: TalvoMP_g01gec: ", 0), 0u);
    eval("unassign('_EnvStatisticsIterations')");
}

TEST(SamplingDistributions, AdaptersEvaluateTheProbabilityWithTheirParameters)
{
    DigitsScope d(30);
    TalvoFloat tol = Tol();
    _NonCentralChiSquareProbabilityAdapter chi(kv(), F("4"), F("3"), tol);
    _NonCentralFRatioProbabilityAdapter fr(kv(), F("3"), F("12"), F("2"), tol);
    _NonCentralBetaProbabilityAdapter beta(kv(), F("2"), F("3"), F("1.5"), tol);
    STATS_TalvoCallbackAdapter_MP *as[] = {&chi, &fr, &beta};
    TalvoFloat expect[] = {STATS_NonCentralChiSquareProbability_MP(kv(), F("5"), F("4"), F("3"), tol),
                           STATS_NonCentralFRatioProbability_MP(kv(), F("0.7"), F("3"), F("12"), F("2"), tol),
                           STATS_NonCentralBetaProbability_MP(kv(), F("0.4"), F("2"), F("3"), F("1.5"), tol)};
    const char *at[] = {"5", "0.7", "0.4"};
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(as[i]->Call(F(at[i])) == expect[i]) << i;
}

// Student's t variates invert the deviate at one uniform each, in order.
TEST(SamplingDistributions, StudentTVariatesInvertTheDeviate)
{
    DigitsScope d(20);
    ReplayStream s;
    s.uniforms({"0.975", "0.25", "0.5", "0.9"});
    TalvoFloat params[] = {F("10")};
    EXPECT_TRUE(STATS_StudentTRandomVariate_MP(kv(), F("10")) == STATS_StudentTDeviate_MP(kv(), F("0.975"), F("10")));
    EXPECT_TRUE(STATS_StudentTRandomVariate_MP(kv(), params) == STATS_StudentTDeviate_MP(kv(), F("0.25"), F("10")));
    ALGEB sample = call(STATS_TalvoStudentTRandomSample_MP, "2, 10");
    EXPECT_EQ(show(sample), "Array(1..2, [0., " + show(STATS_TalvoStudentTDeviate_MP(kv(), eval("0.9, 10"))) +
                                "], datatype = sfloat)");
    EXPECT_EQ(s.uniforms_taken(), 4);
    EXPECT_TRUE(s.exhausted());
}

// p at the ends of [0, 1]: the routines' own rules for the central deviates,
// the searches' for the non-central ones (the distribution function is 0 at
// the barrier 0 and never reaches 1 on the way right).
TEST(SamplingDistributions, DeviatesAtTheEndsOfTheRange)
{
    DigitsScope d(10);
    EXPECT_EQ(result(STATS_TalvoStudentTDeviate_MP, "0, 3"),
              "Error: TalvoMP_g01fbc: p = 0. is out of range: p must be > 0.");
    EXPECT_EQ(result(STATS_TalvoStudentTDeviate_MP, "1, 3"),
              "Error: TalvoMP_g01fbc: p = 1. is out of range: p must be < 1.");
    EXPECT_EQ(result(STATS_TalvoChiSquareDeviate_MP, "0, 3"), "0.");
    EXPECT_EQ(result(STATS_TalvoFRatioDeviate_MP, "0, 3, 4"), "0.");
    EXPECT_EQ(result(STATS_TalvoGammaDeviate_MP, "0, 2, 3"), "0.");
    EXPECT_EQ(result(STATS_TalvoGammaDeviate_MP, "1, 2, 3"),
              "Error: TalvoMP_g01ffc: p = 1. is out of range: p must be < 1.");
    EXPECT_EQ(result(STATS_TalvoBetaDeviate_MP, "0, 2, 3"), "0.");
    EXPECT_EQ(result(STATS_TalvoBetaDeviate_MP, "1, 2, 3"), "1.");
    EXPECT_EQ(result(STATS_TalvoNonCentralChiSquareDeviate_MP, "0, 4, 2"), "0.");
    EXPECT_EQ(result(STATS_TalvoNonCentralFRatioDeviate_MP, "0, 3, 10, 2"), "0.");
    EXPECT_EQ(result(STATS_TalvoNonCentralBetaDeviate_MP, "0, 2, 3, 1"), "0.");
    EXPECT_EQ(result(STATS_TalvoNonCentralBetaDeviate_MP, "1, 2, 3, 1"), "1.");
    EXPECT_EQ(result(STATS_TalvoNonCentralChiSquareDeviate_MP, "1, 4, 2"),
              "Error: BrentMethodHybrid was not able to converge on the specified root.");
    EXPECT_EQ(result(STATS_TalvoNonCentralFRatioDeviate_MP, "1, 3, 10, 2"),
              "Error: BrentMethodHybrid was not able to converge on the specified root.");
}

// Small non-central quantiles are searched to an absolute tolerance: at 10
// digits the 1e-20 quantile of the chi-square (4, 2), about 4.66e-10 (the
// leading term e^-1 x^2 / 8 of the series), is found within 10^-10 / 2 of it
// and no closer than the search needs.
TEST(SamplingDistributions, SmallNonCentralQuantilesAreAbsolutelyAccurate)
{
    DigitsScope d(10);
    TalvoFloat x = STATS_NonCentralChiSquareDeviate_MP(kv(), F("1e-20"), F("4"), F("2"), Tol());
    EXPECT_LT(std::fabs(x.to_double() - 4.6632880e-10), 0.5e-10 + 1e-14) << show(x.handle());
    DigitsScope d30(30);
    x = STATS_NonCentralChiSquareDeviate_MP(kv(), F("1e-20"), F("4"), F("2"), Tol());
    EXPECT_NEAR(x.to_double(), 4.6632880e-10, 1e-14) << show(x.handle());
}
