// power_test.cpp -- the power-function distribution (b upper end, c
// exponent): entries, edge cases, variates and their law.
#include "continuous_checks.hpp"

#include <cmath>

using namespace stats::test;

namespace {

Continuous Power()
{
    return {"Power",
            {"2", "3"},
            STATS_TalvoPowerProbability_MP,
            STATS_TalvoPowerDeviate_MP,
            STATS_TalvoPowerRandomVariate_MP,
            STATS_TalvoPowerRandomSample_MP,
            [](TalvoFloat x, const Params &v) { return STATS_PowerProbability_MP(kv(), x, v[0], v[1]); },
            [](TalvoFloat p, const Params &v) { return STATS_PowerDeviate_MP(kv(), p, v[0], v[1]); },
            [](const Params &v) { return STATS_PowerRandomVariate_MP(kv(), v[0], v[1]); },
            [](const TalvoFloat *v) { return STATS_PowerRandomVariate_MP(kv(), v); },
            [](double x) { return x < 0 ? 0.0 : x <= 2 ? std::pow(x / 2, 3) : 1.0; }};
}

} // namespace

TEST(Power, EntryMessages) { ExpectCountMessages(Power()); }

TEST(Power, AVariateIsTheDeviateOfOneUniform) { ExpectVariateIsDeviateOfOneUniform(Power()); }

TEST(Power, SamplesDrawInElementOrder)
{
    Continuous d = Power();
    ExpectSampleDrawsInElementOrder(d, [&](const char *u) { return d.dev(F(u), d.values()); });
}

TEST(Power, DrawsFollowTheLaw)
{
    ExpectKolmogorovSmirnov(Power(), 15, 100000, 20273159);
    ExpectKolmogorovSmirnov(Power(), 50, 100000, 20273160);
}

TEST(Power, EdgeCases)
{
    EXPECT_EQ(result(STATS_TalvoPowerProbability_MP, "2, 2, 3"), "1.");
    EXPECT_EQ(result(STATS_TalvoPowerProbability_MP, "2.5, 2, 3"), "1.");
    EXPECT_EQ(result(STATS_TalvoPowerProbability_MP, "0, 2, 3"), "0.");
    EXPECT_EQ(result(STATS_TalvoPowerProbability_MP, "-0.5, 2, 3"), "0.");
    EXPECT_EQ(result(STATS_TalvoPowerProbability_MP, "1, 2, 3"), "0.125");
    EXPECT_EQ(result(STATS_TalvoPowerDeviate_MP, "0.125, 2, 3"), "1.");
    EXPECT_EQ(result(STATS_TalvoPowerDeviate_MP, "1, 2, 3"), "2.");
    EXPECT_EQ(result(STATS_TalvoPowerDeviate_MP, "0, 2, 3"), "0.");
}

TEST(Power, ParametersAreNotChecked)
{
    EXPECT_EQ(result(STATS_TalvoPowerProbability_MP, "1, 2, -1"), "2.");
    EXPECT_EQ(result(STATS_TalvoPowerDeviate_MP, "0.5, 2, 0"), "0.");
    EXPECT_EQ(result(STATS_TalvoPowerDeviate_MP, "-0.5, 2, 3"), "Float(undefined)");
}

TEST(Power, RoundTrips)
{
    ExpectRoundTrips(Power(), {"1e-6", "0.1", "0.5", "0.9", "0.999"}, 2.0);
    ExpectInverseRoundTrips(Power(), {"0.01", "0.5", "1.5", "1.99"}, 2.0);
}
