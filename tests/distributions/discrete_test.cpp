// discrete_test.cpp -- the integer-valued distributions: argument counts
// and messages of every entry, probabilities against mpmath, round trips of
// the deviates, the edge cases of the closed-form deviates and of the
// searches, and parameters outside every domain.
#include "stats_support.hpp"

#include "discrete_distributions.hpp"
#include "nag_call.hpp"
#include "reference_table.hpp"
#include "rootfinding.hpp"
#include "talvo_mp.h"

#include <climits>
#include <functional>
#include <map>

using namespace stats::test;

namespace {

struct EntryCount {
    const char *name;
    TalvoEntry entry;
    int count;
};

#define ENTRY(D, K, N) {#D #K, STATS_Talvo##D##K##_MP, N}

const EntryCount kEntries[] = {
    ENTRY(Bernoulli, Probability, 2),        ENTRY(Bernoulli, Deviate, 2),
    ENTRY(Bernoulli, RandomVariate, 1),      ENTRY(Bernoulli, RandomSample, 2),
    ENTRY(DiscreteUniform, Probability, 3),  ENTRY(DiscreteUniform, Deviate, 3),
    ENTRY(DiscreteUniform, RandomVariate, 2), ENTRY(DiscreteUniform, RandomSample, 3),
    ENTRY(Geometric, Probability, 2),        ENTRY(Geometric, Deviate, 2),
    ENTRY(Geometric, RandomVariate, 1),      ENTRY(Geometric, RandomSample, 2),
    ENTRY(Poisson, Probability, 2),          ENTRY(Poisson, Deviate, 2),
    ENTRY(Poisson, RandomVariate, 1),        ENTRY(Poisson, RandomSample, 2),
    ENTRY(Binomial, Probability, 3),         ENTRY(Binomial, Deviate, 3),
    ENTRY(Binomial, RandomVariate, 2),       ENTRY(Binomial, RandomSample, 3),
    ENTRY(NegativeBinomial, Probability, 3), ENTRY(NegativeBinomial, Deviate, 3),
    ENTRY(NegativeBinomial, RandomVariate, 2), ENTRY(NegativeBinomial, RandomSample, 3),
    ENTRY(Hypergeometric, Probability, 4),   ENTRY(Hypergeometric, Deviate, 4),
    ENTRY(Hypergeometric, RandomVariate, 3), ENTRY(Hypergeometric, RandomSample, 4),
};

#undef ENTRY

std::string Ones(int n)
{
    std::string s;
    for (int i = 0; i < n; ++i)
        s += i ? ", 1" : "1";
    return s;
}

double D(const TalvoFloat &x) { return x.to_double(); }

using Function = std::function<TalvoFloat(const std::vector<std::string> &)>;

long L(const std::string &s) { return std::stol(s); }

const std::map<std::string, Function> &Functions()
{
    static const std::map<std::string, Function> f = {
        {"BinomialProbability",
         [](auto &a) { return STATS_BinomialProbability_MP(kv(), F(a[0].c_str()), L(a[1]), F(a[2].c_str())); }},
        {"PoissonProbability",
         [](auto &a) { return STATS_PoissonProbability_MP(kv(), F(a[0].c_str()), F(a[1].c_str())); }},
        {"NegativeBinomialProbability",
         [](auto &a) {
             return STATS_NegativeBinomialProbability_MP(kv(), F(a[0].c_str()), F(a[1].c_str()), F(a[2].c_str()));
         }},
        {"HypergeometricProbability",
         [](auto &a) {
             return STATS_HypergeometricProbability_MP(kv(), F(a[0].c_str()), L(a[1]), L(a[2]), L(a[3]));
         }},
        {"GeometricProbability",
         [](auto &a) { return STATS_GeometricProbability_MP(kv(), F(a[0].c_str()), F(a[1].c_str())); }},
    };
    return f;
}

} // namespace

TEST(Discrete, EveryEntryChecksItsArgumentCount)
{
    for (const EntryCount &e : kEntries) {
        std::string name = std::string("Talvo") + e.name;
        std::string word = e.count == 1 ? " argument" : " arguments";
        std::string expected = "Error: " + name + " expects " + std::to_string(e.count) + word + ", received: ";
        EXPECT_EQ(result(e.entry, Ones(e.count + 1)), expected + Ones(e.count + 1)) << e.name;
        if (e.count > 1) {
            EXPECT_EQ(result(e.entry, Ones(e.count - 1)), expected + Ones(e.count - 1)) << e.name;
        }
    }
    EXPECT_EQ(result(STATS_TalvoPoissonRandomVariate_MP, "1, 2"),
              "Error: TalvoPoissonRandomVariate expects 1 argument, received: 1, 2");
    EXPECT_EQ(result(STATS_TalvoHypergeometricDeviate_MP, "0.5, 20, 5"),
              "Error: TalvoHypergeometricDeviate expects 4 arguments, received: 0.5, 20, 5");
}

TEST(Discrete, ProbabilitiesAgreeWithMpmathToTheLastDigit)
{
    auto cases = ReadReferenceTable(TALVO_TEST_DATA "/discrete.tsv");
    ASSERT_GE(cases.size(), 60u);
    double worst = 0;
    for (const ReferenceCase &c : cases) {
        DigitsScope d(c.digits);
        std::vector<std::string> args(c.args.begin(), c.args.end());
        TalvoFloat x = Functions().at(c.function)(args);
        // 1 - (1 - p)^(k + 1) is computed in that order: its error is a unit
        // of the last digit of 1 when the value is small.
        bool absolute = c.function == "GeometricProbability";
        double err = ErrorInLastDigits(x, c.value, c.digits, absolute);
        worst = std::max(worst, err);
        EXPECT_LT(err, 1.0) << c.function << " at " << c.digits << " digits, x = " << c.args[0] << ": "
                            << show(x.handle()) << " against " << c.value;
    }
    RecordProperty("worst_error_in_last_digits", std::to_string(worst));
}

TEST(Discrete, ClosedFormProbabilities)
{
    EXPECT_TRUE(STATS_BernoulliProbability_MP(kv(), 0, F("0.3")) == F("0.7"));
    EXPECT_TRUE(STATS_BernoulliProbability_MP(kv(), 1, F("0.3")) == F("0.3"));
    EXPECT_EQ(D(STATS_BernoulliProbability_MP(kv(), 2, F("0.3"))), 0.0);
    EXPECT_EQ(D(STATS_BernoulliProbability_MP(kv(), -1, F("0.3"))), 0.0);
    // The entry truncates its outcome: 1.7 is the outcome 1.
    EXPECT_EQ(result(STATS_TalvoBernoulliProbability_MP, "1.7, 0.25"), "0.25");
    EXPECT_EQ(D(STATS_DiscreteUniformProbability_MP(kv(), F("2.9"), 3, 7)), 0.0);
    EXPECT_TRUE(STATS_DiscreteUniformProbability_MP(kv(), F("3"), 3, 7) == F("0.2"));
    EXPECT_TRUE(STATS_DiscreteUniformProbability_MP(kv(), F("5.5"), 3, 7) == F("0.6"));
    EXPECT_EQ(D(STATS_DiscreteUniformProbability_MP(kv(), F("7"), 3, 7)), 1.0);
    EXPECT_EQ(D(STATS_DiscreteUniformProbability_MP(kv(), F("1e30"), 3, 7)), 1.0);
    EXPECT_EQ(D(STATS_DiscreteUniformProbability_MP(kv(), F("-1e30"), 3, 7)), 0.0);
    EXPECT_EQ(D(STATS_HypergeometricProbability_MP(kv(), F("-0.5"), 20, 5, 8)), 0.0);
    EXPECT_EQ(D(STATS_HypergeometricProbability_MP(kv(), F("5.5"), 20, 5, 8)), 1.0);
    EXPECT_EQ(D(STATS_HypergeometricProbability_MP(kv(), F("5"), 20, 8, 5)), 1.0);
    // The Poisson truncates toward zero: -0.5 is the point 0.
    EXPECT_EQ(D(STATS_PoissonProbability_MP(kv(), F("-0.5"), F("2"))),
              D(STATS_PoissonProbability_MP(kv(), F("0"), F("2"))));
}

TEST(Discrete, DeviatesInvertTheirProbabilities)
{
    for (int digits : {15, 30, 50}) {
        DigitsScope d(digits);
        // Deviate(Probability(k)) is k wherever the probability rises at k.
        for (long k = 1; k <= 10; ++k) {
            TalvoFloat x(static_cast<double>(k));
            EXPECT_EQ(STATS_BinomialDeviate_MP(kv(), STATS_BinomialProbability_MP(kv(), x, 10, F("0.3")), 10, F("0.3")), k);
            EXPECT_EQ(STATS_PoissonDeviate_MP(kv(), STATS_PoissonProbability_MP(kv(), x, F("2.5")), F("2.5")), k);
            EXPECT_EQ(STATS_PoissonDeviate_MP(kv(), STATS_PoissonProbability_MP(kv(), x, F("0.3")), F("0.3")), k);
            EXPECT_EQ(STATS_NegativeBinomialDeviate_MP(
                          kv(), STATS_NegativeBinomialProbability_MP(kv(), x, F("3"), F("0.4")), F("3"), F("0.4")),
                      k);
            // The geometric deviate is a closed form: at a probability equal
            // to a step it may round either way, so it is asked between steps.
            TalvoFloat mid = (STATS_GeometricProbability_MP(kv(), x, F("0.2")) +
                              STATS_GeometricProbability_MP(kv(), x - F("1"), F("0.2"))) /
                             F("2");
            EXPECT_EQ(STATS_GeometricDeviate_MP(kv(), mid, F("0.2")), k);
            if (k <= 5) {
                EXPECT_EQ(STATS_HypergeometricDeviate_MP(
                              kv(), STATS_HypergeometricProbability_MP(kv(), x, 20, 5, 8), 20, 5, 8),
                          k);
            }
            if (k >= 3 && k <= 7) {
                EXPECT_EQ(STATS_DiscreteUniformDeviate_MP(
                              kv(), STATS_DiscreteUniformProbability_MP(kv(), x, 3, 7), 3, 7),
                          k);
            }
        }
        for (long k : {380L, 450L, 500L, 531L, 620L})
            EXPECT_EQ(STATS_BinomialDeviate_MP(
                          kv(), STATS_BinomialProbability_MP(kv(), TalvoFloat(double(k)), 1000, F("0.5")), 1000, F("0.5")),
                      k);
        for (long k : {60L, 100L, 140L})
            EXPECT_EQ(STATS_PoissonDeviate_MP(kv(), STATS_PoissonProbability_MP(kv(), TalvoFloat(double(k)), F("100")),
                                              F("100")),
                      k);
        // Just above and below a step.
        TalvoFloat f3 = STATS_BinomialProbability_MP(kv(), F("3"), 10, F("0.3"));
        EXPECT_EQ(STATS_BinomialDeviate_MP(kv(), f3 + F("1e-10"), 10, F("0.3")), 4);
        EXPECT_EQ(STATS_BinomialDeviate_MP(kv(), f3 - F("1e-10"), 10, F("0.3")), 3);
    }
}

TEST(Discrete, BinomialDeviateIsThePlainSearchOverZeroToN)
{
    // The deviate may locate its answer from a double-precision start and
    // replay the search on the integers; whatever it does, it returns what
    // the bisection over 0..n returns, also at probabilities equal to a step
    // of the function, one unit of the last digit either side of it, deep in
    // either tail and next to 1.
#if defined(TALVO_SANITIZED)
    // The plain search at Digits 50 is slow under the sanitizers.
    const std::vector<int> all_digits = {10, 15, 30};
#else
    const std::vector<int> all_digits = {10, 15, 30, 50};
#endif
    for (int digits : all_digits) {
        DigitsScope d(digits);
        const TalvoFloat ulp = TalvoFloat(1.0) / F(("1e" + std::to_string(digits)).c_str());
        for (long n : {2L, 3L, 10L, 57L, 1000L, 1001L, 123457L}) {
            for (const char *ps : {"0.5", "0.3", "0.999", "1e-6", "0.0001234"}) {
                const TalvoFloat prob = F(ps);
                _BinomialProbabilityAdapter cdf(kv(), n, prob);
                std::vector<TalvoFloat> ys;
                for (const char *y : {"1e-300", "1e-20", "0.001", "0.025", "0.3", "0.5", "0.7", "0.975", "0.999999",
                                      "0.9999999999999999", "0.99999999999999999999999999999"})
                    ys.push_back(F(y));
                // Steps of the function near the middle and in both tails.
                const double mean = static_cast<double>(n) * prob.to_double();
                for (double x : {0.0, 1.0, std::floor(mean), std::floor(mean) + 1, std::floor(mean * 1.5 + 3)}) {
                    if (x > static_cast<double>(n))
                        continue;
                    const TalvoFloat f = STATS_BinomialProbability_MP(kv(), TalvoFloat(x), n, prob);
                    ys.push_back(f);
                    ys.push_back(f + f * ulp);
                    ys.push_back(f - f * ulp);
                }
                for (const TalvoFloat &y : ys) {
                    long expected = -1, got = -2;
                    const std::string plain_error = error_of(
                        [&] { expected = STATS_DiscreteInterpolation_MP(kv(), y, cdf, 0, n, 100); });
                    const std::string error = error_of([&] { got = STATS_BinomialDeviate_MP(kv(), y, n, prob); });
                    EXPECT_EQ(error, plain_error) << n << " " << ps << " " << D(y) << " at Digits " << digits;
                    if (plain_error.empty()) {
                        EXPECT_EQ(got, expected) << n << " " << ps << " " << D(y) << " at Digits " << digits;
                    }
                }
            }
        }
    }
}

TEST(Discrete, BinomialDeviateKeepsTheSearchsIterationLimit)
{
    // n = 1000 takes about ten halvings of 0..1000: around that limit the
    // deviate raises the search's message exactly when the search does.
    const char *message = "maximum number of iterations exceeded in discrete root finding.";
    int raised = 0, returned = 0;
    for (int limit = 0; limit <= 12; ++limit) {
        eval("_EnvStatisticsIterations := " + std::to_string(limit));
        for (const char *y : {"0.5", "0.975", "0.001", "0.6"}) {
            _BinomialProbabilityAdapter cdf(kv(), 1000, F("0.5"));
            long expected = -1, got = -2;
            const std::string plain = error_of([&] { expected = STATS_DiscreteInterpolation_MP(kv(), F(y), cdf, 0, 1000, limit); });
            const std::string ours = error_of([&] { got = STATS_BinomialDeviate_MP(kv(), F(y), 1000, F("0.5")); });
            EXPECT_EQ(ours, plain) << y << " with limit " << limit;
            if (plain.empty()) {
                EXPECT_EQ(got, expected) << y << " with limit " << limit;
                ++returned;
            } else {
                EXPECT_EQ(plain, message);
                ++raised;
            }
        }
    }
    EXPECT_GT(raised, 8);
    EXPECT_GE(returned, 8);
    eval("unassign('_EnvStatisticsIterations')");
    EXPECT_EQ(STATS_BinomialDeviate_MP(kv(), F("0.975"), 1000, F("0.5")), 531);
}

TEST(Discrete, AProbabilityEqualToTheFirstValueOfAPlainSearchReturnsTheNextPoint)
{
    // The plain search stops at its lower end only when the value there is
    // strictly above p: at p = F(0) it returns the point above.
    TalvoFloat f0 = STATS_BinomialProbability_MP(kv(), F("0"), 10, F("0.3"));
    EXPECT_EQ(STATS_BinomialDeviate_MP(kv(), f0, 10, F("0.3")), 1);
    EXPECT_EQ(STATS_BinomialDeviate_MP(kv(), f0 - F("1e-12"), 10, F("0.3")), 0);
    EXPECT_EQ(STATS_BinomialDeviate_MP(kv(), F("0"), 10, F("0.3")), 0);
    EXPECT_EQ(STATS_BinomialDeviate_MP(kv(), F("1"), 10, F("0.3")), 10);
    TalvoFloat g0 = STATS_PoissonProbability_MP(kv(), F("0"), F("2.5"));
    EXPECT_EQ(STATS_PoissonDeviate_MP(kv(), g0, F("2.5")), 1);
}

TEST(Discrete, ClosedFormDeviates)
{
    EXPECT_EQ(STATS_BernoulliDeviate_MP(kv(), F("0.7"), F("0.3")), 0);
    EXPECT_EQ(STATS_BernoulliDeviate_MP(kv(), F("0.70001"), F("0.3")), 1);
    EXPECT_EQ(STATS_BernoulliDeviate_MP(kv(), F("0"), F("0.3")), 0);
    EXPECT_EQ(STATS_DiscreteUniformDeviate_MP(kv(), F("0"), 3, 7), 3);
    EXPECT_EQ(STATS_DiscreteUniformDeviate_MP(kv(), F("1"), 3, 7), 7);
    EXPECT_EQ(STATS_DiscreteUniformDeviate_MP(kv(), F("0.2"), 3, 7), 3);
    EXPECT_EQ(STATS_DiscreteUniformDeviate_MP(kv(), F("0.21"), 3, 7), 4);
    // p (b - a + 1) + a - 1 is summed in that order: a p this small is lost
    // in the sum, which gives a - 1.
    EXPECT_EQ(STATS_DiscreteUniformDeviate_MP(kv(), F("1e-30"), 3, 7), 2);
    // Geometric: p = 0 gives 0 without a logarithm; the formula itself gives
    // -1 there when prob = 1 (ln(1) / ln(0) = -0).
    EXPECT_EQ(STATS_GeometricDeviate_MP(kv(), F("0"), F("1")), 0);
    EXPECT_EQ(STATS_GeometricDeviate_MP(kv(), F("1e-30"), F("1")), -1);
    EXPECT_EQ(STATS_GeometricDeviate_MP(kv(), F("0.2"), F("0.2")), 0);
    EXPECT_EQ(STATS_GeometricDeviate_MP(kv(), F("0.5"), F("0.2")), 3);
    EXPECT_EQ(result(STATS_TalvoGeometricDeviate_MP, "0.5, 0.2"), "3.");
    EXPECT_EQ(result(STATS_TalvoDiscreteUniformDeviate_MP, "1, 3, 7"), "7.");
    EXPECT_EQ(result(STATS_TalvoBernoulliDeviate_MP, "0.9, 0.3"), "1.");
}

TEST(Discrete, HypergeometricDeviateAtOneTakesTheSmallerCountWithoutASearch)
{
    EXPECT_EQ(STATS_HypergeometricDeviate_MP(kv(), F("1"), 20, 5, 8), 5);
    EXPECT_EQ(STATS_HypergeometricDeviate_MP(kv(), F("1"), 20, 8, 5), 5);
    // Population 10, sample 8, 6 marked: at least 4 marked are drawn, and the
    // routine refuses the points 0..3, so a search fails with its message;
    // p = 1 returns at once.
    EXPECT_EQ(STATS_HypergeometricDeviate_MP(kv(), F("1"), 10, 8, 6), 6);
    stats::NagCall c;
    TalvoFloat a, b, e;
    TalvoMP_g01blc(10, 8, 6, 0, &a, &b, &e, &c.fail);
    ASSERT_NE(c.fail.code, 0);
    EXPECT_EQ(result(STATS_TalvoHypergeometricDeviate_MP, "0.5, 10, 8, 6"), std::string("Error: ") + c.fail.message);
}

TEST(Discrete, PoissonWithAMeanBelowOneStartsItsSearchAtOne)
{
    // A start at floor(0.3) = 0 would sit on the barrier and be refused.
    EXPECT_EQ(STATS_PoissonDeviate_MP(kv(), F("0.5"), F("0.3")), 0);
    EXPECT_EQ(STATS_PoissonDeviate_MP(kv(), F("0.99"), F("0.3")), 2);
    // The negative binomial's start is n truncated: below 1 it is refused.
    EXPECT_EQ(error_of([] { STATS_NegativeBinomialDeviate_MP(kv(), F("0.5"), F("0.5"), F("0.4")); }),
              "the specified initial point must be greater than the left barrier.");
}

TEST(Discrete, SearchesReadTheIterationLimitOnEveryCall)
{
    eval("_EnvStatisticsIterations := 2");
    const char *message = "maximum number of iterations exceeded in discrete root finding.";
    EXPECT_EQ(error_of([] { STATS_BinomialDeviate_MP(kv(), F("0.5"), 1000, F("0.5")); }), message);
    EXPECT_EQ(error_of([] { STATS_HypergeometricDeviate_MP(kv(), F("0.5"), 1000, 400, 300); }), message);
    EXPECT_NE(error_of([] { STATS_PoissonDeviate_MP(kv(), F("0.999999"), F("100")); }), "");
    // The negative binomial keeps its own limit of 100.
    EXPECT_EQ(STATS_NegativeBinomialDeviate_MP(kv(), F("0.5"), F("3"), F("0.4")),
              STATS_NegativeBinomialDeviate_MP(kv(), F("0.5"), F("3"), F("0.4")));
    EXPECT_EQ(error_of([] { STATS_NegativeBinomialDeviate_MP(kv(), F("0.999"), F("3"), F("0.1")); }), "");
    eval("_EnvStatisticsIterations := 100");
    EXPECT_EQ(STATS_BinomialDeviate_MP(kv(), F("0.5"), 1000, F("0.5")), 500);
    EXPECT_EQ(STATS_PoissonDeviate_MP(kv(), F("0.999999"), F("100")), 151);
    eval("unassign('_EnvStatisticsIterations')");
    EXPECT_EQ(STATS_HypergeometricDeviate_MP(kv(), F("0.5"), 1000, 400, 300), 120);
}

TEST(Discrete, BinomialVariateUsesTheNormalApproximationOnlyAboveItsThresholds)
{
    {
        // n = 100: inversion, one uniform.
        ReplayStream s;
        s.uniforms({"0.5"});
        EXPECT_EQ(D(STATS_BinomialRandomVariate_MP(kv(), 100, F("0.5"))), 50.0);
        EXPECT_EQ(s.uniforms_taken(), 1);
        EXPECT_EQ(s.ints_taken(), 0);
    }
    {
        // n = 1000, p = 0.5: one normal draw (a small integer of layer 2 is
        // accepted at once, a value near 0), rounded from 500.
        ReplayStream s;
        s.ints({2});
        EXPECT_EQ(D(STATS_BinomialRandomVariate_MP(kv(), 1000, F("0.5"))), 500.0);
        EXPECT_EQ(s.ints_taken(), 1);
        EXPECT_EQ(s.uniforms_taken(), 0);
    }
    {
        // n p = 10 exactly is not above 10: inversion.
        ReplayStream s;
        s.uniforms({"0.5"});
        EXPECT_EQ(D(STATS_BinomialRandomVariate_MP(kv(), 200, F("0.05"))), 10.0);
        EXPECT_EQ(s.ints_taken(), 0);
    }
    {
        // The array overloads read the same parameters.
        ReplayStream s;
        s.uniforms({"0.5", "0.5"});
        TalvoFloat params[] = {F("100"), F("0.5")};
        EXPECT_EQ(D(STATS_BinomialRandomVariate_MP(kv(), params)), 50.0);
        TalvoFloat hyper[] = {F("20"), F("5"), F("8")};
        EXPECT_EQ(D(STATS_HypergeometricRandomVariate_MP(kv(), hyper)),
                  double(STATS_HypergeometricDeviate_MP(kv(), F("0.5"), 20, 5, 8)));
    }
}

TEST(Discrete, VariatesInvertOneUniform)
{
    ReplayStream s;
    s.uniforms({"0.5", "0.5", "0.5", "0.5", "0.5", "0.5", "0.3", "0.31"});
    EXPECT_EQ(D(STATS_PoissonRandomVariate_MP(kv(), F("2.5"))), 2.0);
    EXPECT_EQ(D(STATS_GeometricRandomVariate_MP(kv(), F("0.2"))), 3.0);
    EXPECT_EQ(D(STATS_NegativeBinomialRandomVariate_MP(kv(), F("3"), F("0.4"))),
              double(STATS_NegativeBinomialDeviate_MP(kv(), F("0.5"), F("3"), F("0.4"))));
    EXPECT_EQ(D(STATS_HypergeometricRandomVariate_MP(kv(), 20, 5, 8)),
              double(STATS_HypergeometricDeviate_MP(kv(), F("0.5"), 20, 5, 8)));
    EXPECT_EQ(D(STATS_DiscreteUniformRandomVariate_MP(kv(), 3, 7)), 5.0);
    TalvoFloat du[] = {F("3"), F("7")};
    EXPECT_EQ(D(STATS_DiscreteUniformRandomVariate_MP(kv(), du)), 5.0);
    // Bernoulli: 1 when the uniform is at most p.
    EXPECT_EQ(D(STATS_BernoulliRandomVariate_MP(kv(), F("0.3"))), 1.0);
    EXPECT_EQ(D(STATS_BernoulliRandomVariate_MP(kv(), F("0.3"))), 0.0);
    EXPECT_TRUE(s.exhausted());
}

TEST(Discrete, SamplesDrawElementByElement)
{
    eval("randomize(11)");
    ALGEB a = call(STATS_TalvoPoissonRandomSample_MP, "5, 2.5");
    eval("randomize(11)");
    std::string singles;
    for (int i = 0; i < 5; ++i)
        singles += (i ? ", " : "") + show(call(STATS_TalvoPoissonRandomVariate_MP, "2.5"));
    EXPECT_EQ(show(a), "Array(1..5, [" + singles + "], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoBinomialRandomSample_MP, "0, 10, 0.5"), "Array(1..0, [], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoHypergeometricRandomSample_MP, "-2, 20, 5, 8"), "Array(1..-2, [], datatype = sfloat)");
}

TEST(Discrete, RoutineFailuresRaiseTheRoutinesMessage)
{
    auto message = [](auto routine) {
        stats::NagCall c;
        TalvoFloat a, b, e;
        routine(&a, &b, &e, &c.fail);
        return std::string("Error: ") + c.fail.message;
    };
    EXPECT_EQ(result(STATS_TalvoBinomialProbability_MP, "-1, 10, 0.3"),
              message([](auto a, auto b, auto e, auto f) { TalvoMP_g01bjc(10, F("0.3"), -1, a, b, e, f); }));
    EXPECT_EQ(result(STATS_TalvoBinomialProbability_MP, "11, 10, 0.3"),
              message([](auto a, auto b, auto e, auto f) { TalvoMP_g01bjc(10, F("0.3"), 11, a, b, e, f); }));
    EXPECT_EQ(result(STATS_TalvoBinomialProbability_MP, "3, 10, 1.5"),
              message([](auto a, auto b, auto e, auto f) { TalvoMP_g01bjc(10, F("1.5"), 3, a, b, e, f); }));
    EXPECT_EQ(result(STATS_TalvoPoissonProbability_MP, "3, -2"),
              message([](auto a, auto b, auto e, auto f) { TalvoMP_g01bkc(F("-2"), 3, a, b, e, f); }));
    EXPECT_EQ(result(STATS_TalvoPoissonProbability_MP, "-3, 2"),
              message([](auto a, auto b, auto e, auto f) { TalvoMP_g01bkc(F("2"), -3, a, b, e, f); }));
    EXPECT_EQ(result(STATS_TalvoHypergeometricProbability_MP, "2, 5, 8, 3"),
              message([](auto a, auto b, auto e, auto f) { TalvoMP_g01blc(5, 8, 3, 2, a, b, e, f); }));
}

TEST(Discrete, BadParametersGiveAValueOrAnErrorButNeverACrash)
{
    // No parameter of the closed forms is checked.
    EXPECT_EQ(D(STATS_GeometricProbability_MP(kv(), F("3"), F("0"))), 0.0);
    EXPECT_EQ(STATS_GeometricDeviate_MP(kv(), F("0.5"), F("0")), LONG_MIN);
    EXPECT_EQ(STATS_GeometricDeviate_MP(kv(), F("1"), F("0.5")), LONG_MAX);
    EXPECT_EQ(D(STATS_BernoulliProbability_MP(kv(), 0, F("1.5"))), -0.5);
    EXPECT_EQ(D(STATS_DiscreteUniformProbability_MP(kv(), F("5"), 7, 3)), 0.0);
    EXPECT_EQ(D(STATS_DiscreteUniformProbability_MP(kv(), F("8"), 7, 3)), 1.0);
    EXPECT_EQ(STATS_DiscreteUniformDeviate_MP(kv(), F("0.5"), 7, 3), 5);
    // 0.5 (2^64 + 1) - 2^63 - 1 = -1/2 exactly (the upper bound is the double
    // 2^63), whose ceiling is 0.
    EXPECT_EQ(STATS_DiscreteUniformDeviate_MP(kv(), F("0.5"), LONG_MIN, LONG_MAX), 0);
    for (const char *args : {"0.5, -10, 0.5", "0.5, 10, 0", "0.5, 10, undefined", "undefined, 10, 0.5",
                             "0.5, 10^30, 0.5", "2, 10, 0.5", "-1, 10, 0.5"}) {
        std::string r = result(STATS_TalvoBinomialDeviate_MP, args);
        EXPECT_FALSE(r.empty()) << args;
    }
    for (const char *args : {"0.5, 0", "0.5, -1", "0.5, undefined", "1, 2.5", "2, 2.5", "0.5, 1e7"})
        EXPECT_FALSE(result(STATS_TalvoPoissonDeviate_MP, args).empty()) << args;
    for (const char *args : {"0.5, 3, 0", "0.5, 3, 1", "0.5, -3, 0.4", "1, 3, 0.4", "-0.5, 3, 0.4"})
        EXPECT_FALSE(result(STATS_TalvoNegativeBinomialDeviate_MP, args).empty()) << args;
    for (const char *args : {"0.5, -1, 5, 8", "0.5, 20, -5, 8", "0.5, 20, 5, 30", "0.5, 20, 30, 8"})
        EXPECT_FALSE(result(STATS_TalvoHypergeometricDeviate_MP, args).empty()) << args;
    for (const char *args : {"3, 10, 0.5", "3, -1, 0.5", "3, 1000, 2"})
        EXPECT_FALSE(result(STATS_TalvoBinomialRandomSample_MP, args).empty()) << args;
    EXPECT_FALSE(result(STATS_TalvoPoissonRandomVariate_MP, "-1").empty());
    EXPECT_FALSE(result(STATS_TalvoGeometricRandomVariate_MP, "0").empty());
}

TEST(Empirical, EntriesCheckTheirArgumentCounts)
{
    EXPECT_EQ(result(STATS_TalvoEmpiricalDeviate_MP, "0.5, Array([1, 2]), Array([])"),
              "Error: TalvoEmpiricalDeviate expects 4 arguments, received: 0.5, Array(1..2, [1, 2]), Array(1..0, [])");
    EXPECT_EQ(result(STATS_TalvoEmpiricalRandomVariate_MP, "Array([1, 2])"),
              "Error: TalvoEmpiricalRandomVariate expects 3 arguments, received: Array(1..2, [1, 2])");
    EXPECT_EQ(result(STATS_TalvoEmpiricalRandomSample_MP, "3, Array([1, 2]), Array([])"),
              "Error: TalvoEmpiricalRandomSample expects 4 arguments, received: 3, Array(1..2, [1, 2]), Array(1..0, [])");
}

TEST(Empirical, DeviateIsTheInverseOfTheSamplesDistributionFunction)
{
    const char *data = "Array([3, 1, 4, 1, 5, 9, 2, 6]), Array([]), false";
    auto at = [&](const char *p) { return result(STATS_TalvoEmpiricalDeviate_MP, std::string(p) + ", " + data); };
    EXPECT_EQ(at("0"), "1.");
    EXPECT_EQ(at("0.25"), "1.");
    EXPECT_EQ(at("0.2501"), "2.");
    EXPECT_EQ(at("0.5"), "3.");
    EXPECT_EQ(at("0.51"), "4.");
    EXPECT_EQ(at("0.875"), "6.");
    EXPECT_EQ(at("0.9"), "9.");
    EXPECT_EQ(at("1"), "9.");
    // The caller's array is not reordered.
    eval("Xe := Array([3, 1, 4, 1, 5])");
    EXPECT_EQ(result(STATS_TalvoEmpiricalDeviate_MP, "0.5, Xe, Array([]), false"), "3.");
    EXPECT_EQ(show(eval("Xe")), "Array(1..5, [3, 1, 4, 1, 5])");
}

TEST(Empirical, WeightedDeviateFollowsTheWeightedQuantileRule)
{
    // Sorted points 1, 2, 3 with weights 1, 1, 8 (W = 10): the point at the
    // first running weight above 10 p, the first index moved to the second.
    auto at = [](const char *p) {
        return result(STATS_TalvoEmpiricalDeviate_MP, std::string(p) + ", Array([3, 1, 2]), Array([8, 1, 1]), false");
    };
    EXPECT_EQ(at("0"), "2.");
    EXPECT_EQ(at("0.05"), "2.");
    EXPECT_EQ(at("0.15"), "2.");
    EXPECT_EQ(at("0.25"), "3.");
    EXPECT_EQ(at("1"), "3.");
}

TEST(Empirical, MissingValuesAndBadArguments)
{
    EXPECT_EQ(result(STATS_TalvoEmpiricalDeviate_MP, "0.5, Array([1, undefined, 3, 4]), Array([]), true"), "3.");
    EXPECT_EQ(result(STATS_TalvoEmpiricalDeviate_MP, "0.5, Array([undefined, undefined]), Array([]), true"),
              "Float(undefined)");
    EXPECT_EQ(result(STATS_TalvoEmpiricalDeviate_MP, "0.5, Array([]), Array([]), false"), "Float(undefined)");
    EXPECT_EQ(result(STATS_TalvoEmpiricalRandomSample_MP, "2, Array([]), Array([]), false"),
              "Array(1..2, [Float(undefined), Float(undefined)], datatype = sfloat)");
    // Kept missing values take part in the comparisons without harm.
    EXPECT_FALSE(result(STATS_TalvoEmpiricalDeviate_MP, "0.5, Array([1, undefined, 3, 4]), Array([]), false").empty());
    EXPECT_FALSE(
        result(STATS_TalvoEmpiricalRandomSample_MP, "20, Array([undefined, 2, undefined, 1, 5]), Array([]), false")
            .empty());
    EXPECT_EQ(result(STATS_TalvoEmpiricalDeviate_MP, "0.5, [1, 2], Array([]), false"),
              "Error: invalid data sample, expected: rtable, received [1, 2]");
    EXPECT_EQ(result(STATS_TalvoEmpiricalDeviate_MP, "0.5, Array([1, 2, 3]), Array([1, 2]), false"),
              "Error: vector of points and vector of weights are expected to have the same size, received "
              "Array(1..3, [1, 2, 3]), Array(1..2, [1, 2])");
    // p outside [0, 1] is not checked: the ends of the data.
    EXPECT_EQ(result(STATS_TalvoEmpiricalDeviate_MP, "-1, Array([4, 2, 7]), Array([]), false"), "2.");
    EXPECT_EQ(result(STATS_TalvoEmpiricalDeviate_MP, "2, Array([4, 2, 7]), Array([]), false"), "7.");
}

TEST(Empirical, VariateAndSampleDrawOneUniformEach)
{
    ReplayStream s;
    s.uniforms({"0.3", "0.3", "0.9", "0.1"});
    EXPECT_EQ(result(STATS_TalvoEmpiricalRandomVariate_MP, "Array([3, 1, 4, 1, 5, 9, 2, 6]), Array([]), false"), "2.");
    EXPECT_EQ(result(STATS_TalvoEmpiricalRandomSample_MP, "3, Array([3, 1, 4, 1, 5, 9, 2, 6]), Array([]), false"),
              "Array(1..3, [2., 9., 1.], datatype = sfloat)");
    EXPECT_TRUE(s.exhausted());
}
