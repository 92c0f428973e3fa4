// laplace_test.cpp -- the Laplace distribution (a location, b scale):
// entries, both branches, variates and their law.
#include "continuous_checks.hpp"

#include <cmath>

using namespace stats::test;

namespace {

Continuous Laplace()
{
    return {"Laplace",
            {"5", "2"},
            STATS_TalvoLaplaceProbability_MP,
            STATS_TalvoLaplaceDeviate_MP,
            STATS_TalvoLaplaceRandomVariate_MP,
            STATS_TalvoLaplaceRandomSample_MP,
            [](TalvoFloat x, const Params &v) { return STATS_LaplaceProbability_MP(kv(), x, v[0], v[1]); },
            [](TalvoFloat p, const Params &v) { return STATS_LaplaceDeviate_MP(kv(), p, v[0], v[1]); },
            [](const Params &v) { return STATS_LaplaceRandomVariate_MP(kv(), v[0], v[1]); },
            [](const TalvoFloat *v) { return STATS_LaplaceRandomVariate_MP(kv(), v); },
            [](double x) { return x < 5 ? 0.5 * std::exp(-(5 - x) / 2) : 1 - 0.5 * std::exp(-(x - 5) / 2); }};
}

} // namespace

TEST(Laplace, EntryMessages) { ExpectCountMessages(Laplace()); }

TEST(Laplace, AVariateIsTheDeviateOfOneUniform) { ExpectVariateIsDeviateOfOneUniform(Laplace()); }

TEST(Laplace, SamplesDrawInElementOrder)
{
    Continuous d = Laplace();
    ExpectSampleDrawsInElementOrder(d, [&](const char *u) { return d.dev(F(u), d.values()); });
}

TEST(Laplace, DrawsFollowTheLaw)
{
    ExpectKolmogorovSmirnov(Laplace(), 15, 100000, 20322175);
    ExpectKolmogorovSmirnov(Laplace(), 50, 100000, 20322176);
}

TEST(Laplace, EdgeCases)
{
    // p = 1/2 takes the second branch: a - b ln 1 = a.
    EXPECT_EQ(result(STATS_TalvoLaplaceDeviate_MP, "0.5, 5, 2"), "5.");
    EXPECT_EQ(result(STATS_TalvoLaplaceProbability_MP, "5, 5, 2"), "0.5");
    EXPECT_EQ(result(STATS_TalvoLaplaceDeviate_MP, "0, 5, 2"), "Float(-infinity)");
    EXPECT_EQ(result(STATS_TalvoLaplaceDeviate_MP, "1, 5, 2"), "Float(infinity)");
    // e^-1 / 2 and 1 - e^-1 / 2
    EXPECT_EQ(result(STATS_TalvoLaplaceProbability_MP, "3, 5, 2"), "0.1839397206");
    EXPECT_EQ(result(STATS_TalvoLaplaceProbability_MP, "7, 5, 2"), "0.8160602794");
}

TEST(Laplace, ParametersAreNotChecked)
{
    EXPECT_EQ(result(STATS_TalvoLaplaceProbability_MP, "1, 0, 0"), "1.");
    EXPECT_EQ(result(STATS_TalvoLaplaceDeviate_MP, "-0.5, 0, 1"), "Float(undefined)");
}

TEST(Laplace, RoundTrips)
{
    ExpectRoundTrips(Laplace(), {"1e-20", "0.01", "0.3", "0.5", "0.9"}, 2.0);
    ExpectInverseRoundTrips(Laplace(), {"-10", "3", "5.5", "9"}, 2.0);
}
