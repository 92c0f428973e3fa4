// logistic_test.cpp -- the logistic distribution (a location, b scale):
// entries, edge cases, variates and their law.
#include "continuous_checks.hpp"

#include <cmath>

using namespace stats::test;

namespace {

Continuous Logistic()
{
    return {"Logistic",
            {"5", "0.5"},
            STATS_TalvoLogisticProbability_MP,
            STATS_TalvoLogisticDeviate_MP,
            STATS_TalvoLogisticRandomVariate_MP,
            STATS_TalvoLogisticRandomSample_MP,
            [](TalvoFloat x, const Params &v) { return STATS_LogisticProbability_MP(kv(), x, v[0], v[1]); },
            [](TalvoFloat p, const Params &v) { return STATS_LogisticDeviate_MP(kv(), p, v[0], v[1]); },
            [](const Params &v) { return STATS_LogisticRandomVariate_MP(kv(), v[0], v[1]); },
            [](const TalvoFloat *v) { return STATS_LogisticRandomVariate_MP(kv(), v); },
            [](double x) { return 1 / (1 + std::exp(-(x - 5) / 0.5)); }};
}

} // namespace

TEST(Logistic, EntryMessages) { ExpectCountMessages(Logistic()); }

TEST(Logistic, AVariateIsTheDeviateOfOneUniform) { ExpectVariateIsDeviateOfOneUniform(Logistic()); }

TEST(Logistic, SamplesDrawInElementOrder)
{
    Continuous d = Logistic();
    ExpectSampleDrawsInElementOrder(d, [&](const char *u) { return d.dev(F(u), d.values()); });
}

TEST(Logistic, DrawsFollowTheLaw)
{
    ExpectKolmogorovSmirnov(Logistic(), 15, 100000, 20336078);
    ExpectKolmogorovSmirnov(Logistic(), 50, 100000, 20336079);
}

TEST(Logistic, EdgeCases)
{
    EXPECT_EQ(result(STATS_TalvoLogisticProbability_MP, "5, 5, 0.5"), "0.5");
    EXPECT_EQ(result(STATS_TalvoLogisticDeviate_MP, "0.5, 5, 0.5"), "5.");
    EXPECT_EQ(result(STATS_TalvoLogisticDeviate_MP, "0, 5, 0.5"), "Float(-infinity)");
    EXPECT_EQ(result(STATS_TalvoLogisticDeviate_MP, "1, 5, 0.5"), "Float(infinity)");
    EXPECT_EQ(result(STATS_TalvoLogisticProbability_MP, "-infinity, 5, 0.5"), "0.");
    EXPECT_EQ(result(STATS_TalvoLogisticProbability_MP, "infinity, 5, 0.5"), "1.");
    // 1 / (1 + e^-1)
    EXPECT_EQ(result(STATS_TalvoLogisticProbability_MP, "5.5, 5, 0.5"), "0.7310585786");
}

TEST(Logistic, ParametersAreNotChecked)
{
    EXPECT_EQ(result(STATS_TalvoLogisticProbability_MP, "1, 0, 0"), "1.");
    EXPECT_EQ(result(STATS_TalvoLogisticProbability_MP, "0, 0, 0"), "Float(undefined)");
    EXPECT_EQ(result(STATS_TalvoLogisticDeviate_MP, "1.5, 0, 1"), "Float(undefined)");
}

TEST(Logistic, RoundTrips)
{
    ExpectRoundTrips(Logistic(), {"1e-20", "0.01", "0.3", "0.5", "0.9"}, 2.0);
    ExpectInverseRoundTrips(Logistic(), {"1", "4.5", "6", "7.5"}, 2.0);
}
