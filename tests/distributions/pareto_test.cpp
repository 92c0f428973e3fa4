// pareto_test.cpp -- the Pareto distribution (a lower end, c shape):
// entries, edge cases, variates and their law.
#include "continuous_checks.hpp"

#include <cmath>

using namespace stats::test;

namespace {

Continuous Pareto()
{
    return {"Pareto",
            {"1", "3"},
            STATS_TalvoParetoProbability_MP,
            STATS_TalvoParetoDeviate_MP,
            STATS_TalvoParetoRandomVariate_MP,
            STATS_TalvoParetoRandomSample_MP,
            [](TalvoFloat x, const Params &v) { return STATS_ParetoProbability_MP(kv(), x, v[0], v[1]); },
            [](TalvoFloat p, const Params &v) { return STATS_ParetoDeviate_MP(kv(), p, v[0], v[1]); },
            [](const Params &v) { return STATS_ParetoRandomVariate_MP(kv(), v[0], v[1]); },
            [](const TalvoFloat *v) { return STATS_ParetoRandomVariate_MP(kv(), v); },
            [](double x) { return x < 1 ? 0.0 : 1 - std::pow(1 / x, 3); }};
}

} // namespace

TEST(Pareto, EntryMessages) { ExpectCountMessages(Pareto()); }

TEST(Pareto, AVariateIsTheDeviateOfOneUniform) { ExpectVariateIsDeviateOfOneUniform(Pareto()); }

TEST(Pareto, SamplesDrawInElementOrder)
{
    Continuous d = Pareto();
    ExpectSampleDrawsInElementOrder(d, [&](const char *u) { return d.dev(F(u), d.values()); });
}

TEST(Pareto, DrawsFollowTheLaw)
{
    ExpectKolmogorovSmirnov(Pareto(), 15, 100000, 20330033);
    ExpectKolmogorovSmirnov(Pareto(), 50, 100000, 20330034);
}

TEST(Pareto, EdgeCases)
{
    EXPECT_EQ(result(STATS_TalvoParetoProbability_MP, "0.5, 1, 3"), "0.");
    EXPECT_EQ(result(STATS_TalvoParetoProbability_MP, "1, 1, 3"), "0.");
    EXPECT_EQ(result(STATS_TalvoParetoProbability_MP, "2, 1, 3"), "0.875");
    EXPECT_EQ(result(STATS_TalvoParetoDeviate_MP, "0.875, 1, 3"), "2.");
    EXPECT_EQ(result(STATS_TalvoParetoDeviate_MP, "0, 1, 3"), "1.");
    EXPECT_EQ(result(STATS_TalvoParetoProbability_MP, "infinity, 1, 3"), "1.");
}

TEST(Pareto, ParametersAreNotChecked)
{
    EXPECT_EQ(result(STATS_TalvoParetoProbability_MP, "2, 1, -3"), "-7.");
    EXPECT_EQ(result(STATS_TalvoParetoDeviate_MP, "1, 1, 3"), "Float(infinity)");
    EXPECT_EQ(result(STATS_TalvoParetoDeviate_MP, "0.5, 1, 0"), "Float(infinity)");
    EXPECT_EQ(result(STATS_TalvoParetoDeviate_MP, "1.5, 1, 3"), "Float(undefined)");
}

TEST(Pareto, RoundTrips)
{
    // Below about 0.05 the deviate's 1 - p keeps the digits of 1 - p, not of p.
    ExpectRoundTrips(Pareto(), {"0.1", "0.5", "0.9", "0.999999"}, 2.0);
    // Far out, the deviate's 1 - p is ill-conditioned: x = 3 already loses
    // a digit and a half, so the points stay near a.
    ExpectInverseRoundTrips(Pareto(), {"1.2", "1.5", "2"}, 4.0);
}
