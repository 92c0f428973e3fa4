// student_t_law_test.cpp -- Student's t variates follow the t law: 100 000
// draws of a fixed seed at 15 and 50 digits against the distribution
// function (Kolmogorov-Smirnov).
#include "stats_support.hpp"

#include "sampling_distributions.hpp"

#include <algorithm>
#include <cmath>
#include <vector>

using namespace stats::test;

namespace {

constexpr int kDraws = 100000;

// Critical value of the Kolmogorov-Smirnov distance at the 0.001 level.
double KsCritical(size_t n) { return 1.9495 / std::sqrt(double(n)); }

} // namespace

class StudentTLawTest : public ::testing::TestWithParam<int> {};

TEST_P(StudentTLawTest, VariatesFollowTheDistributionFunction)
{
    const char *nu_text = "4.5";
    std::vector<TalvoFloat> draws;
    draws.reserve(kDraws);
    {
        DigitsScope d(GetParam());
        eval("randomize(" + std::to_string(20261123 + GetParam()) + ")");
        TalvoFloat nu = F(nu_text);
        for (int i = 0; i < kDraws; ++i)
            draws.push_back(STATS_StudentTRandomVariate_MP(kv(), nu));
    }
    std::sort(draws.begin(), draws.end(), [](const TalvoFloat &a, const TalvoFloat &b) { return a < b; });
    // The distribution function needs no more than 15 digits for a distance
    // of order 1e-3.
    DigitsScope d(15);
    TalvoFloat nu = F(nu_text);
    double n = kDraws, dist = 0;
    for (int i = 0; i < kDraws; ++i) {
        double f = STATS_StudentTProbability_MP(kv(), draws[i], nu).to_double();
        dist = std::max({dist, std::fabs((i + 1) / n - f), std::fabs(i / n - f)});
    }
    EXPECT_LT(dist, KsCritical(kDraws)) << "Kolmogorov-Smirnov distance at " << GetParam() << " digits";
    // The draws are not all alike: both signs, and the tails reached.
    EXPECT_LT(draws.front().to_double(), -5.0);
    EXPECT_GT(draws.back().to_double(), 5.0);
}

INSTANTIATE_TEST_SUITE_P(Digits, StudentTLawTest, ::testing::Values(15, 50));
