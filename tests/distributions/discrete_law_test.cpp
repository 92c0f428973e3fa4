// discrete_law_test.cpp -- 100 000 draws of every discrete variate at 15
// and 50 digits with a fixed seed, tested with Pearson's chi-square statistic at
// the 0.001 level against the law its algorithm defines.
//
// The point probabilities are computed here in double precision from their
// textbook formulas (log-gamma for the binomial coefficients), independent
// of the library.  Cells whose expected count is below 5 are pooled with
// their neighbours toward the centre; the critical value of chi-square is
// the Wilson-Hilferty approximation.
//
// The binomial's normal approximation is tested against the law it defines:
// the normal draw rounded to the nearest integer and clamped to 0..n.  Its
// normal draws come from the ziggurat generator, whose law departs from the
// normal's below -3.654 and between -0.215 and 1 (ziggurat.hpp,
// docs/distributions.md); the cells
// covering those stretches are pooled into one lower cell and one central
// cell, whose probabilities the departures leave unchanged.
#include "stats_support.hpp"

#include "discrete_distributions.hpp"

#include <cmath>
#include <cstdio>
#include <functional>
#include <map>
#include <vector>

using namespace stats::test;

namespace {

constexpr int kDraws = 100000;

// Cells: probabilities of consecutive outcomes first..first+size-1, and the
// mass of everything below and above (which joins the end cells).
struct Law {
    long first;
    std::vector<double> p;
};

// Upper 0.001 point of chi-square with df degrees of freedom.
double Critical(int df)
{
    const double z = 3.090232;
    double a = 2.0 / (9.0 * df);
    return df * std::pow(1 - a + z * std::sqrt(a), 3);
}

// Pools cells of expected count below 5 into their inner neighbours and
// returns the statistic and its degrees of freedom.
std::pair<double, int> ChiSquare(const std::vector<double> &expected, const std::vector<double> &observed)
{
    std::vector<double> e, o;
    double ae = 0, ao = 0;
    for (size_t i = 0; i < expected.size(); ++i) {
        ae += expected[i];
        ao += observed[i];
        if (ae >= 5) {
            e.push_back(ae);
            o.push_back(ao);
            ae = ao = 0;
        }
    }
    if (ae > 0 || ao > 0) {
        e.back() += ae;
        o.back() += ao;
    }
    double chi = 0;
    for (size_t i = 0; i < e.size(); ++i)
        chi += (o[i] - e[i]) * (o[i] - e[i]) / e[i];
    return {chi, int(e.size()) - 1};
}

// Draws kDraws values and tests them against law; outcomes outside the
// law's range fail the test.
void ExpectLaw(const char *what, int seed, const std::function<TalvoFloat()> &draw, const Law &law,
               const std::vector<std::pair<long, long>> &pools = {})
{
    eval("randomize(" + std::to_string(seed) + ")");
    std::vector<double> count(law.p.size(), 0.0);
    long outside = 0;
    for (int i = 0; i < kDraws; ++i) {
        double x = draw().to_double();
        long k = std::lround(x);
        ASSERT_EQ(double(k), x) << what << ": not an integer";
        if (k < law.first || k >= law.first + long(law.p.size()))
            ++outside;
        else
            count[k - law.first] += 1;
    }
    EXPECT_EQ(outside, 0) << what;
    std::vector<double> expected(law.p.size());
    for (size_t i = 0; i < law.p.size(); ++i)
        expected[i] = law.p[i] * kDraws;
    // Pooled stretches [lo, hi] become one cell at lo.
    for (auto [lo, hi] : pools) {
        size_t a = lo - law.first, b = hi - law.first;
        for (size_t i = a + 1; i <= b; ++i) {
            expected[a] += expected[i];
            count[a] += count[i];
            expected[i] = count[i] = 0;
        }
    }
    std::vector<double> e, o;
    for (size_t i = 0; i < expected.size(); ++i)
        if (expected[i] > 0 || count[i] > 0) {
            e.push_back(expected[i]);
            o.push_back(count[i]);
        }
    auto [chi, df] = ChiSquare(e, o);
    std::printf("  [law] %-40s chi2 = %8.2f  df = %3d  critical = %7.2f\n", what, chi, df, Critical(df));
    EXPECT_LT(chi, Critical(df)) << what;
}

double LogChoose(double n, double k) { return std::lgamma(n + 1) - std::lgamma(k + 1) - std::lgamma(n - k + 1); }

Law Binomial(long n, double p)
{
    Law l{0, {}};
    for (long k = 0; k <= n; ++k)
        l.p.push_back(std::exp(LogChoose(n, k) + k * std::log(p) + (n - k) * std::log1p(-p)));
    return l;
}

Law Poisson(double mu, long last)
{
    Law l{0, {}};
    for (long k = 0; k <= last; ++k)
        l.p.push_back(std::exp(-mu + k * std::log(mu) - std::lgamma(k + 1.0)));
    return l;
}

Law NegativeBinomial(double n, double p, long last)
{
    Law l{0, {}};
    for (long k = 0; k <= last; ++k)
        l.p.push_back(std::exp(std::lgamma(n + k) - std::lgamma(n) - std::lgamma(k + 1.0) + n * std::log(p) +
                               k * std::log1p(-p)));
    return l;
}

Law Hypergeometric(long population, long sample, long marked)
{
    Law l{0, {}};
    for (long k = 0; k <= std::min(sample, marked); ++k) {
        bool possible = sample - k <= population - marked;
        l.p.push_back(possible ? std::exp(LogChoose(marked, k) + LogChoose(population - marked, sample - k) -
                                          LogChoose(population, sample))
                               : 0.0);
    }
    return l;
}

double Phi(double z) { return 0.5 * std::erfc(-z / std::sqrt(2.0)); }

// round(N(np, npq)) clamped to 0..n.
Law RoundedNormal(long n, double p)
{
    double mu = n * p, sigma = std::sqrt(n * p * (1 - p));
    Law l{0, {}};
    for (long k = 0; k <= n; ++k) {
        double lo = k == 0 ? 0 : Phi((k - 0.5 - mu) / sigma);
        double hi = k == n ? 1 : Phi((k + 0.5 - mu) / sigma);
        l.p.push_back(hi - lo);
    }
    return l;
}

// The cells the ziggurat's departures touch: below mu - 3.654 sigma, and
// mu - 0.215 sigma to mu + sigma (each with a margin).
std::vector<std::pair<long, long>> ZigguratPools(long n, double p)
{
    double mu = n * p, sigma = std::sqrt(n * p * (1 - p));
    long low = std::lround(std::floor(mu - 3.3 * sigma + 0.5));
    long c0 = std::lround(std::floor(mu - 0.35 * sigma + 0.5)), c1 = std::lround(std::floor(mu + 1.1 * sigma + 0.5));
    return {{0, low}, {c0, c1}};
}

struct DiscreteLaw : ::testing::TestWithParam<int> {
    DigitsScope d{GetParam()};
};

} // namespace

TEST_P(DiscreteLaw, BernoulliDrawsFollowTheirLaw)
{
    ExpectLaw("Bernoulli(0.3)", 101, [] { return STATS_BernoulliRandomVariate_MP(kv(), F("0.3")); },
              Law{0, {0.7, 0.3}});
}

TEST_P(DiscreteLaw, DiscreteUniformDrawsFollowTheirLaw)
{
    ExpectLaw("DiscreteUniform(3, 12)", 102, [] { return STATS_DiscreteUniformRandomVariate_MP(kv(), 3, 12); },
              Law{3, std::vector<double>(10, 0.1)});
}

TEST_P(DiscreteLaw, GeometricDrawsFollowTheirLaw)
{
    Law g{0, {}};
    for (long k = 0; k <= 200; ++k)
        g.p.push_back(0.2 * std::pow(0.8, double(k)));
    ExpectLaw("Geometric(0.2)", 103, [] { return STATS_GeometricRandomVariate_MP(kv(), F("0.2")); }, g);
}

TEST_P(DiscreteLaw, PoissonDrawsBelowMeanOneFollowTheirLaw)
{
    ExpectLaw("Poisson(0.3)", 201, [] { return STATS_PoissonRandomVariate_MP(kv(), F("0.3")); }, Poisson(0.3, 30));
}

TEST_P(DiscreteLaw, PoissonDrawsFollowTheirLaw)
{
    ExpectLaw("Poisson(2.5)", 202, [] { return STATS_PoissonRandomVariate_MP(kv(), F("2.5")); }, Poisson(2.5, 60));
}

TEST_P(DiscreteLaw, PoissonDrawsOfALargeMeanFollowTheirLaw)
{
    ExpectLaw("Poisson(40)", 203, [] { return STATS_PoissonRandomVariate_MP(kv(), F("40")); }, Poisson(40, 200));
}

TEST_P(DiscreteLaw, BinomialInversionDrawsFollowTheirLaw)
{
    ExpectLaw("Binomial(10, 0.3)", 301, [] { return STATS_BinomialRandomVariate_MP(kv(), 10, F("0.3")); },
              Binomial(10, 0.3));
}

TEST_P(DiscreteLaw, BinomialNormalApproximationDrawsFollowTheirLaw)
{
    ExpectLaw("Binomial(1000, 0.5) approximation", 401,
              [] { return STATS_BinomialRandomVariate_MP(kv(), 1000, F("0.5")); }, RoundedNormal(1000, 0.5),
              ZigguratPools(1000, 0.5));
}

TEST_P(DiscreteLaw, BinomialNormalApproximationDrawsOfAnUnevenPFollowTheirLaw)
{
    ExpectLaw("Binomial(500, 0.3) approximation", 402,
              [] { return STATS_BinomialRandomVariate_MP(kv(), 500, F("0.3")); }, RoundedNormal(500, 0.3),
              ZigguratPools(500, 0.3));
}

TEST_P(DiscreteLaw, NegativeBinomialDrawsFollowTheirLaw)
{
    ExpectLaw("NegativeBinomial(2.5, 0.6)", 502,
              [] { return STATS_NegativeBinomialRandomVariate_MP(kv(), F("2.5"), F("0.6")); },
              NegativeBinomial(2.5, 0.6, 100));
}

TEST_P(DiscreteLaw, HypergeometricDrawsFollowTheirLaw)
{
    ExpectLaw("Hypergeometric(50, 10, 25)", 601,
              [] { return STATS_HypergeometricRandomVariate_MP(kv(), 50, 10, 25); }, Hypergeometric(50, 10, 25));
}

TEST_P(DiscreteLaw, HypergeometricDrawsOfALargerUrnFollowTheirLaw)
{
    ExpectLaw("Hypergeometric(100, 30, 40)", 602,
              [] { return STATS_HypergeometricRandomVariate_MP(kv(), 100, 30, 40); }, Hypergeometric(100, 30, 40));
}

TEST_P(DiscreteLaw, EmpiricalDrawsFollowTheirLaw)
{
    // Every point with probability 1/8 (1 twice).
    ExpectLaw("Empirical(3, 1, 4, 1, 5, 9, 2, 6)", 701,
              [] {
                  TalvoFloat x[] = {F("3"), F("1"), F("4"), F("1"), F("5"), F("9"), F("2"), F("6")};
                  return STATS_EmpiricalRandomVariate_MP(kv(), x, nullptr, 8);
              },
              Law{1, {0.25, 0.125, 0.125, 0.125, 0.125, 0.125, 0, 0, 0.125}});
}

TEST_P(DiscreteLaw, WeightedEmpiricalDrawsFollowTheLawOfTheWeightedQuantile)
{
    // Points 1..4 with weights 1..4: the smallest point's weight goes to the
    // second (discrete_distributions.hpp).
    ExpectLaw("Empirical(1, 2, 3, 4; weights 1, 2, 3, 4)", 702,
              [] {
                  TalvoFloat x[] = {F("4"), F("2"), F("3"), F("1")}, w[] = {F("4"), F("2"), F("3"), F("1")};
                  return STATS_EmpiricalRandomVariate_MP(kv(), x, w, 4);
              },
              Law{2, {0.3, 0.3, 0.4}});
}

INSTANTIATE_TEST_SUITE_P(Digits, DiscreteLaw, ::testing::Values(15, 50));
