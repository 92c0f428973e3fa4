// cauchy_test.cpp -- the Cauchy distribution (a location, b scale):
// entries, edge cases (Pi, arctan and tan are the host's), variates and
// their law.
#include "continuous_checks.hpp"

#include <cmath>

using namespace stats::test;

namespace {

Continuous Cauchy()
{
    return {"Cauchy",
            {"3", "0.5"},
            STATS_TalvoCauchyProbability_MP,
            STATS_TalvoCauchyDeviate_MP,
            STATS_TalvoCauchyRandomVariate_MP,
            STATS_TalvoCauchyRandomSample_MP,
            [](TalvoFloat x, const Params &v) { return STATS_CauchyProbability_MP(kv(), x, v[0], v[1]); },
            [](TalvoFloat p, const Params &v) { return STATS_CauchyDeviate_MP(kv(), p, v[0], v[1]); },
            [](const Params &v) { return STATS_CauchyRandomVariate_MP(kv(), v[0], v[1]); },
            [](const TalvoFloat *v) { return STATS_CauchyRandomVariate_MP(kv(), v); },
            [](double x) { return 0.5 + std::atan((x - 3) / 0.5) / M_PI; }};
}

} // namespace

TEST(Cauchy, EntryMessages) { ExpectCountMessages(Cauchy()); }

TEST(Cauchy, AVariateIsTheDeviateOfOneUniform) { ExpectVariateIsDeviateOfOneUniform(Cauchy()); }

TEST(Cauchy, SamplesDrawInElementOrder)
{
    Continuous d = Cauchy();
    ExpectSampleDrawsInElementOrder(d, [&](const char *u) { return d.dev(F(u), d.values()); });
}

TEST(Cauchy, DrawsFollowTheLaw)
{
    ExpectKolmogorovSmirnov(Cauchy(), 15, 100000, 20274623);
    ExpectKolmogorovSmirnov(Cauchy(), 50, 100000, 20274624);
}

TEST(Cauchy, EdgeCases)
{
    EXPECT_EQ(result(STATS_TalvoCauchyProbability_MP, "3, 3, 0.5"), "0.5");
    EXPECT_EQ(result(STATS_TalvoCauchyProbability_MP, "3.5, 3, 0.5"), "0.75");
    EXPECT_EQ(result(STATS_TalvoCauchyDeviate_MP, "0.5, 3, 0.5"), "3.");
    EXPECT_EQ(result(STATS_TalvoCauchyDeviate_MP, "0.75, 3, 0.5"), "3.5");
    EXPECT_EQ(result(STATS_TalvoCauchyProbability_MP, "infinity, 3, 0.5"), "1.");
}

TEST(Cauchy, TheDeviateAtZeroAndOneIsThePole)
{
    // tan(Pi (p - 1/2)) at p = 0 and 1 is the tangent's pole: the deviate is
    // correctly rounded, so it is the pole's limit, not 1 / (pi/2 - Pi/2) for
    // a rounded Pi.  Next to the poles it keeps every digit: -1 / (Pi 1e-300).
    EXPECT_EQ(result(STATS_TalvoCauchyDeviate_MP, "1, 0, 1"), "Float(infinity)");
    EXPECT_EQ(result(STATS_TalvoCauchyDeviate_MP, "0, 0, 1"), "Float(-infinity)");
    EXPECT_EQ(result(STATS_TalvoCauchyDeviate_MP, "1e-300, 0, 1"), "-3.183098862e+299");
    EXPECT_EQ(result(STATS_TalvoCauchyProbability_MP, "-1e300, 0, 1"), "3.183098862e-301");
    EXPECT_EQ(result(STATS_TalvoCauchyProbability_MP, "-infinity, 0, 1"), "0.");
}

TEST(Cauchy, ParametersAreNotChecked)
{
    EXPECT_EQ(result(STATS_TalvoCauchyProbability_MP, "1, 0, 0"), "1.");
    EXPECT_EQ(result(STATS_TalvoCauchyProbability_MP, "0, 0, 0"), "Float(undefined)");
    EXPECT_EQ(result(STATS_TalvoCauchyDeviate_MP, "infinity, 0, 1"), "Float(undefined)");
}

TEST(Cauchy, RoundTrips)
{
    // The probability is 1/2 plus a term; round trips are within units of
    // the last digit of 1/2 (the lower tail cancels).
    ExpectRoundTrips(Cauchy(), {"0.3", "0.5", "0.75", "0.99"}, 2.0);
    ExpectInverseRoundTrips(Cauchy(), {"2", "3.25", "5"}, 4.0);
}
