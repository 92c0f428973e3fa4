// law_support.hpp -- goodness-of-fit helpers for the sampling tests:
// Kolmogorov-Smirnov against a distribution function known in closed form,
// Pearson's chi-square for cell counts, and the sizes the tests draw (smaller
// under the sanitizers, whose builds run ten times slower; the assertions
// are the same).
#pragma once

#include "stats_support.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace stats::test {

#if defined(TALVO_SANITIZED)
inline constexpr int kSanitizerDivisor = 10;
inline constexpr int kCostlySanitizerDivisor = 20;
#else
inline constexpr int kSanitizerDivisor = 1;
inline constexpr int kCostlySanitizerDivisor = 1;
#endif

// n draws in the optimised build, n / 10 under the sanitizers; draws that
// each cost many host evaluations (the inverse-CDF search) take n / 20.
constexpr int Draws(int n) { return n / kSanitizerDivisor; }
constexpr int CostlyDraws(int n) { return n / kCostlySanitizerDivisor; }

using Cdf = std::function<double(double)>;

// Kolmogorov's limiting distribution, P(sqrt(n) D > t), with Stephens'
// correction for finite n.
inline double KsPValue(double d, size_t n)
{
    double rn = std::sqrt(double(n));
    double t = (rn + 0.12 + 0.11 / rn) * d, p = 0;
    for (int k = 1; k < 100; ++k)
        p += 2 * ((k & 1) ? 1 : -1) * std::exp(-2.0 * k * k * t * t);
    return std::clamp(p, 0.0, 1.0);
}

// The statistic D of the sample against cdf, evaluated at every point.
inline double KsStatistic(std::vector<double> x, const Cdf &cdf)
{
    std::sort(x.begin(), x.end());
    double n = double(x.size()), d = 0;
    for (size_t i = 0; i < x.size(); ++i) {
        double f = cdf(x[i]);
        d = std::max({d, double(i + 1) / n - f, f - double(i) / n});
    }
    return d;
}

// Asserts that the sample follows cdf at the 0.001 level (critical value
// 1.9495 / sqrt(n)), printing the statistic.
inline void ExpectLaw(const std::string &what, const std::vector<double> &x, const Cdf &cdf)
{
    double d = KsStatistic(x, cdf);
    std::printf("  [law] %-40s Digits %3d  n = %6zu  D = %.5f  p = %.3f\n", what.c_str(), TalvoDigits(), x.size(), d,
                KsPValue(d, x.size()));
    EXPECT_LT(d, 1.9495 / std::sqrt(double(x.size()))) << what;
}

// Upper 0.001 point of chi-square with df degrees of freedom
// (Wilson-Hilferty).
inline double ChiSquareCritical(int df)
{
    const double z = 3.090232;
    double a = 2.0 / (9.0 * df);
    return df * std::pow(1 - a + z * std::sqrt(a), 3);
}

// Pearson's statistic of observed counts against expected counts (every
// expected count is at least 5 in these tests).
inline double ChiSquare(const std::vector<double> &expected, const std::vector<double> &observed)
{
    double chi = 0;
    for (size_t i = 0; i < expected.size(); ++i)
        chi += (observed[i] - expected[i]) * (observed[i] - expected[i]) / expected[i];
    return chi;
}

// Asserts that counts follow probabilities p (summing to 1) at the 0.001
// level.
inline void ExpectCells(const std::string &what, const std::vector<double> &counts, const std::vector<double> &p)
{
    double total = 0;
    for (double c : counts)
        total += c;
    std::vector<double> expected(p.size());
    for (size_t i = 0; i < p.size(); ++i)
        expected[i] = p[i] * total;
    double chi = ChiSquare(expected, counts);
    int df = int(p.size()) - 1;
    std::printf("  [cells] %-38s Digits %3d  n = %8.0f  chi2 = %.2f (df %d, critical %.2f)\n", what.c_str(),
                TalvoDigits(), total, chi, df, ChiSquareCritical(df));
    EXPECT_LT(chi, ChiSquareCritical(df)) << what;
}

// The elements of a one-dimensional float array as doubles.
inline std::vector<double> FloatArrayValues(ALGEB a)
{
    long n = long(RTableNumElements(kv(), a));
    auto *data = static_cast<TalvoFloat *>(RTableDataBlock(kv(), a));
    std::vector<double> x(size_t(std::max(n, 0L)));
    for (long i = 0; i < n; ++i)
        x[size_t(i)] = data[i].to_double();
    return x;
}

// Closed-form distribution functions of the test laws.
inline double NormalCdf(double x) { return 0.5 * std::erfc(-x / std::sqrt(2.0)); }
// Gamma of shape 3, scale 1.
inline double Gamma3Cdf(double x) { return x <= 0 ? 0 : 1 - std::exp(-x) * (1 + x + x * x / 2); }
// Beta(2, 5): P(Binomial(6, x) >= 2).
inline double Beta25Cdf(double x)
{
    if (x <= 0)
        return 0;
    if (x >= 1)
        return 1;
    return 1 - std::pow(1 - x, 6) - 6 * x * std::pow(1 - x, 5);
}

} // namespace stats::test
