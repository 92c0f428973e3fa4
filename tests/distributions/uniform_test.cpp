// uniform_test.cpp -- the continuous uniform distribution: its entries
// (Probability and Deviate report a wrong count with the variate entry's
// message), its edge cases, its variates and their law.
#include "continuous_checks.hpp"

#include <cmath>

using namespace stats::test;

namespace {

Continuous Uniform()
{
    return {"Uniform",
            {"-1", "3"},
            STATS_TalvoUniformProbability_MP,
            STATS_TalvoUniformDeviate_MP,
            STATS_TalvoUniformRandomVariate_MP,
            STATS_TalvoUniformRandomSample_MP,
            [](TalvoFloat x, const Params &v) { return STATS_UniformProbability_MP(kv(), x, v[0], v[1]); },
            [](TalvoFloat p, const Params &v) { return STATS_UniformDeviate_MP(kv(), p, v[0], v[1]); },
            [](const Params &v) { return STATS_UniformRandomVariate_MP(kv(), v[0], v[1]); },
            [](const TalvoFloat *v) { return STATS_UniformRandomVariate_MP(kv(), v); },
            [](double x) { return x <= -1 ? 0.0 : x >= 3 ? 1.0 : (x + 1) / 4; }};
}

} // namespace

TEST(Uniform, DrawsFollowTheLaw)
{
    ExpectKolmogorovSmirnov(Uniform(), 15, 100000, 20281582);
    ExpectKolmogorovSmirnov(Uniform(), 50, 100000, 20281583);
}

TEST(Uniform, ProbabilityAndDeviateBorrowTheVariateEntrysMessage)
{
    ExpectCountMessages(Uniform(), "TalvoUniformRandomVariate", "TalvoUniformRandomVariate");
    EXPECT_EQ(result(STATS_TalvoUniformDeviate_MP, "0.5, 1"),
              "Error: TalvoUniformRandomVariate expects 3 arguments, received: 0.5, 1");
}

TEST(Uniform, TheEndsAreIncluded)
{
    EXPECT_EQ(result(STATS_TalvoUniformProbability_MP, "-1, -1, 3"), "0.");
    EXPECT_EQ(result(STATS_TalvoUniformProbability_MP, "3, -1, 3"), "1.");
    EXPECT_EQ(result(STATS_TalvoUniformProbability_MP, "-7, -1, 3"), "0.");
    EXPECT_EQ(result(STATS_TalvoUniformProbability_MP, "10^10, -1, 3"), "1.");
    EXPECT_EQ(result(STATS_TalvoUniformProbability_MP, "0.3, 0, 2"), "0.15");
    EXPECT_EQ(result(STATS_TalvoUniformDeviate_MP, "0, -1, 3"), "-1.");
    EXPECT_EQ(result(STATS_TalvoUniformDeviate_MP, "1, -1, 3"), "3.");
    EXPECT_EQ(result(STATS_TalvoUniformDeviate_MP, "0.15, 0, 2"), "0.3");
}

TEST(Uniform, ParametersAreNotChecked)
{
    // b = a: every x is at or below a or at or above b.
    EXPECT_EQ(result(STATS_TalvoUniformProbability_MP, "1, 2, 2"), "0.");
    EXPECT_EQ(result(STATS_TalvoUniformProbability_MP, "3, 2, 2"), "1.");
    EXPECT_EQ(result(STATS_TalvoUniformDeviate_MP, "1.5, 0, 2"), "3.");
    EXPECT_EQ(result(STATS_TalvoUniformProbability_MP, "undefined, 0, 1"), "Float(undefined)");
    EXPECT_EQ(result(STATS_TalvoUniformDeviate_MP, "0.5, 0, infinity"), "Float(infinity)");
}

TEST(Uniform, AVariateIsUTimesTheWidthPlusA)
{
    ReplayStream s;
    s.uniforms({"0.25", "0.75", "0.1"});
    EXPECT_EQ(show(STATS_UniformRandomVariate_MP(kv(), F("-1"), F("3")).handle()), "0.");
    TalvoFloat params[2] = {F("-1"), F("3")};
    EXPECT_EQ(show(STATS_UniformRandomVariate_MP(kv(), params).handle()), "2.");
    EXPECT_EQ(result(STATS_TalvoUniformRandomVariate_MP, "-1, 3"), "-0.6");
    EXPECT_EQ(s.uniforms_taken(), 3);
    // Computed as u * (b - a) + a (the deviate's a + p * (b - a) may round
    // differently in the last place).
    ReplayStream t;
    t.uniforms({"0.3333333333"});
    TalvoFloat a = F("1e-11"), b = F("3.00000000001");
    TalvoFloat x = STATS_UniformRandomVariate_MP(kv(), a, b);
    EXPECT_TRUE(x == F("0.3333333333") * (b - a) + a);
}

TEST(Uniform, SamplesDrawInElementOrder)
{
    Continuous d = Uniform();
    ExpectSampleDrawsInElementOrder(d, [&](const char *u) { return F(u) * (F("3") - F("-1")) + F("-1"); });
}

TEST(Uniform, RoundTrips)
{
    ExpectRoundTrips(Uniform(), {"0.001", "0.3", "0.5", "0.77", "0.999"}, 2.0);
    ExpectInverseRoundTrips(Uniform(), {"-0.999", "0.5", "1.25", "2.999"}, 2.0);
}
