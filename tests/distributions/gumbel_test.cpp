// gumbel_test.cpp -- the Gumbel distribution (a location, b scale):
// entries, edge cases, variates and their law.
#include "continuous_checks.hpp"

#include <cmath>

using namespace stats::test;

namespace {

Continuous Gumbel()
{
    return {"Gumbel",
            {"10", "2"},
            STATS_TalvoGumbelProbability_MP,
            STATS_TalvoGumbelDeviate_MP,
            STATS_TalvoGumbelRandomVariate_MP,
            STATS_TalvoGumbelRandomSample_MP,
            [](TalvoFloat x, const Params &v) { return STATS_GumbelProbability_MP(kv(), x, v[0], v[1]); },
            [](TalvoFloat p, const Params &v) { return STATS_GumbelDeviate_MP(kv(), p, v[0], v[1]); },
            [](const Params &v) { return STATS_GumbelRandomVariate_MP(kv(), v[0], v[1]); },
            [](const TalvoFloat *v) { return STATS_GumbelRandomVariate_MP(kv(), v); },
            [](double x) { return std::exp(-std::exp(-(x - 10) / 2)); }};
}

} // namespace

TEST(Gumbel, EntryMessages) { ExpectCountMessages(Gumbel()); }

TEST(Gumbel, AVariateIsTheDeviateOfOneUniform) { ExpectVariateIsDeviateOfOneUniform(Gumbel()); }

TEST(Gumbel, SamplesDrawInElementOrder)
{
    Continuous d = Gumbel();
    ExpectSampleDrawsInElementOrder(d, [&](const char *u) { return d.dev(F(u), d.values()); });
}

TEST(Gumbel, DrawsFollowTheLaw)
{
    ExpectKolmogorovSmirnov(Gumbel(), 15, 100000, 20292108);
    ExpectKolmogorovSmirnov(Gumbel(), 50, 100000, 20292109);
}

TEST(Gumbel, EdgeCases)
{
    EXPECT_EQ(result(STATS_TalvoGumbelProbability_MP, "10, 10, 2"), "0.3678794412");
    EXPECT_EQ(result(STATS_TalvoGumbelDeviate_MP, "exp(-1), 10, 2"), "10.");
    EXPECT_EQ(result(STATS_TalvoGumbelDeviate_MP, "0, 10, 2"), "Float(-infinity)");
    EXPECT_EQ(result(STATS_TalvoGumbelDeviate_MP, "1, 10, 2"), "Float(infinity)");
    EXPECT_EQ(result(STATS_TalvoGumbelProbability_MP, "-infinity, 10, 2"), "0.");
}

TEST(Gumbel, ParametersAreNotChecked)
{
    EXPECT_EQ(result(STATS_TalvoGumbelProbability_MP, "1, 0, 0"), "1.");
    EXPECT_EQ(result(STATS_TalvoGumbelDeviate_MP, "1.5, 0, 1"), "Float(undefined)");
}

TEST(Gumbel, RoundTrips)
{
    ExpectRoundTrips(Gumbel(), {"1e-6", "0.1", "0.5", "0.9"}, 2.0);
    ExpectInverseRoundTrips(Gumbel(), {"7", "10", "12", "20"}, 2.0);
}
