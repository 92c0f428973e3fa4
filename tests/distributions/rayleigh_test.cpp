// rayleigh_test.cpp -- the Rayleigh distribution (b scale): entries, edge
// cases, variates and their law.
#include "continuous_checks.hpp"

#include <cmath>

using namespace stats::test;

namespace {

Continuous Rayleigh()
{
    return {"Rayleigh",
            {"2"},
            STATS_TalvoRayleighProbability_MP,
            STATS_TalvoRayleighDeviate_MP,
            STATS_TalvoRayleighRandomVariate_MP,
            STATS_TalvoRayleighRandomSample_MP,
            [](TalvoFloat x, const Params &v) { return STATS_RayleighProbability_MP(kv(), x, v[0]); },
            [](TalvoFloat p, const Params &v) { return STATS_RayleighDeviate_MP(kv(), p, v[0]); },
            [](const Params &v) { return STATS_RayleighRandomVariate_MP(kv(), v[0]); },
            [](const TalvoFloat *v) { return STATS_RayleighRandomVariate_MP(kv(), v); },
            [](double x) { return x < 0 ? 0.0 : 1 - std::exp(-x * x / 8); }};
}

} // namespace

TEST(Rayleigh, EntryMessages) { ExpectCountMessages(Rayleigh()); }

TEST(Rayleigh, AVariateIsTheDeviateOfOneUniform) { ExpectVariateIsDeviateOfOneUniform(Rayleigh()); }

TEST(Rayleigh, SamplesDrawInElementOrder)
{
    Continuous d = Rayleigh();
    ExpectSampleDrawsInElementOrder(d, [&](const char *u) { return d.dev(F(u), d.values()); });
}

TEST(Rayleigh, DrawsFollowTheLaw)
{
    ExpectKolmogorovSmirnov(Rayleigh(), 15, 100000, 20342997);
    ExpectKolmogorovSmirnov(Rayleigh(), 50, 100000, 20342998);
}

TEST(Rayleigh, EdgeCases)
{
    EXPECT_EQ(result(STATS_TalvoRayleighProbability_MP, "0, 2"), "0.");
    EXPECT_EQ(result(STATS_TalvoRayleighProbability_MP, "-0.5, 2"), "0.");
    EXPECT_EQ(result(STATS_TalvoRayleighDeviate_MP, "0, 2"), "0.");
    // The median b sqrt(2 ln 2) = 2.354820045... for b = 2.
    EXPECT_EQ(result(STATS_TalvoRayleighDeviate_MP, "0.5, 2"), "2.354820045");
    EXPECT_EQ(result(STATS_TalvoRayleighProbability_MP, "2.354820045, 2"), "0.5");
}

TEST(Rayleigh, ParametersAreNotChecked)
{
    EXPECT_EQ(result(STATS_TalvoRayleighProbability_MP, "1, 0"), "1.");
    EXPECT_EQ(result(STATS_TalvoRayleighDeviate_MP, "1.5, 1"), "Float(undefined)");
    EXPECT_EQ(result(STATS_TalvoRayleighDeviate_MP, "1, 1"), "Float(infinity)");
    EXPECT_EQ(result(STATS_TalvoRayleighProbability_MP, "undefined, 1"), "Float(undefined)");
}

TEST(Rayleigh, RoundTrips)
{
    // Below about 0.05 both 1 - p and 1 - exp(-t) cancel.
    ExpectRoundTrips(Rayleigh(), {"0.1", "0.5", "0.9", "0.999"}, 2.0);
    ExpectInverseRoundTrips(Rayleigh(), {"1", "2.5", "5"}, 2.0);
}
