// exponential_test.cpp -- the exponential distribution's closed forms, the
// deviate's check, and its variates.
#include "stats_support.hpp"

#include "distributions.hpp"
#include "ziggurat.hpp"

using namespace stats::test;

TEST(Exponential, DeviateRefusesProbabilitiesOutsideTheUnitInterval)
{
    EXPECT_EQ(result(STATS_TalvoExponentialDeviate_MP, "1.5, 2"), "Error: invalid value for the tail probability: 1.5");
    EXPECT_EQ(result(STATS_TalvoExponentialDeviate_MP, "-0.1, 2"),
              "Error: invalid value for the tail probability: -0.1");
    EXPECT_EQ(result(STATS_TalvoExponentialDeviate_MP, "1.000001, 2"),
              "Error: invalid value for the tail probability: 1.000001");
    EXPECT_EQ(result(STATS_TalvoExponentialDeviate_MP, "0, 2"), "-0.");
    EXPECT_EQ(result(STATS_TalvoExponentialDeviate_MP, "1, 2"), "Float(infinity)");
    EXPECT_EQ(result(STATS_TalvoExponentialDeviate_MP, "0.5, 2"), "1.386294361");
    // An undefined p passes both comparisons.
    EXPECT_EQ(result(STATS_TalvoExponentialDeviate_MP, "undefined, 2"), "Float(undefined)");
}

TEST(Exponential, ProbabilityDoesNotTestTheSignOfX)
{
    EXPECT_EQ(result(STATS_TalvoExponentialProbability_MP, "-1.5, 2"), "-1.117000017");
    EXPECT_EQ(result(STATS_TalvoExponentialProbability_MP, "0, 2"), "0.");
    EXPECT_EQ(result(STATS_TalvoExponentialProbability_MP, "infinity, 2"), "1.");
}

TEST(Exponential, EntryMessages)
{
    EXPECT_EQ(result(STATS_TalvoExponentialProbability_MP, "1"),
              "Error: TalvoExponentialProbability expects 2 arguments, received: 1");
    EXPECT_EQ(result(STATS_TalvoExponentialDeviate_MP, "1, 2, 3"),
              "Error: TalvoExponentialDeviate expects 2 arguments, received: 1, 2, 3");
    EXPECT_EQ(result(STATS_TalvoExponentialRandomVariate_MP, "1, 2"),
              "Error: TalvoExponentialRandomVariate expects 1 argument, received: 1, 2");
    EXPECT_EQ(result(STATS_TalvoExponentialRandomSample_MP, "1"),
              "Error: TalvoExponentialRandomSample expects 2 arguments, received: 1");
    EXPECT_EQ(result(STATS_TalvoExponentialRandomVariate_MP, "b"), "Error: unable to evaluate b to floating-point");
}

TEST(Exponential, AVariateIsTheScaleTimesAZigguratDraw)
{
    STATS_ZigguratExpGenerator_MP::Reset();
    ReplayStream s;
    s.ints({1000 * 256 + 7, -(1000 * 256 + 7)});
    TalvoFloat e = STATS_ExponentialRandomVariate_MP(kv(), F("2.5"));
    TalvoFloat w = STATS_ZigguratExpGenerator_MP::gW[7];
    EXPECT_TRUE(e == TalvoFloat(256007.0) * w * F("2.5"));
    TalvoFloat params[1] = {F("2.5")};
    TalvoFloat w247 = STATS_ZigguratExpGenerator_MP::gW[-256007 & 255];
    EXPECT_TRUE(STATS_ExponentialRandomVariate_MP(kv(), params) == -(TalvoFloat(256007.0) * w247 * F("2.5")));
    EXPECT_TRUE(s.exhausted());
}

TEST(Exponential, SamplesAndEmptySamples)
{
    {
        ReplayStream s;
        EXPECT_EQ(result(STATS_TalvoExponentialRandomSample_MP, "-1, 3"), "Array(1..-1, [], datatype = sfloat)");
    }
    eval("randomize(11)");
    ALGEB a = call(STATS_TalvoExponentialRandomSample_MP, "1000, 1");
    EXPECT_EQ(RTableNumElements(kv(), a), 1000);
    eval("randomize(11)");
    ALGEB b = call(STATS_TalvoExponentialRandomSample_MP, "1000, 1");
    EXPECT_EQ(show(a), show(b)); // the host's seed governs the sample
}
