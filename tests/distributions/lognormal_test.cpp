// lognormal_test.cpp -- the log-normal distribution (mu, sigma of ln X):
// entries, edge cases, variates (exp of normal variates) and their law.
#include "continuous_checks.hpp"

#include <cmath>

using namespace stats::test;

namespace {

Continuous LogNormal()
{
    return {"LogNormal",
            {"1", "0.5"},
            STATS_TalvoLogNormalProbability_MP,
            STATS_TalvoLogNormalDeviate_MP,
            STATS_TalvoLogNormalRandomVariate_MP,
            STATS_TalvoLogNormalRandomSample_MP,
            [](TalvoFloat x, const Params &v) { return STATS_LogNormalProbability_MP(kv(), x, v[0], v[1]); },
            [](TalvoFloat p, const Params &v) { return STATS_LogNormalDeviate_MP(kv(), p, v[0], v[1]); },
            [](const Params &v) { return STATS_LogNormalRandomVariate_MP(kv(), v[0], v[1]); },
            [](const TalvoFloat *v) { return STATS_LogNormalRandomVariate_MP(kv(), v); },
            [](double x) { return x <= 0 ? 0.0 : 0.5 * std::erfc(-(std::log(x) - 1) / (0.5 * std::sqrt(2.0))); }};
}

} // namespace

TEST(LogNormal, EntryMessages) { ExpectCountMessages(LogNormal()); }

TEST(LogNormal, DrawsFollowTheLaw)
{
    ExpectKolmogorovSmirnov(LogNormal(), 15, 100000, 20356403);
    ExpectKolmogorovSmirnov(LogNormal(), 50, 100000, 20356404);
}

TEST(LogNormal, EdgeCases)
{
    EXPECT_EQ(result(STATS_TalvoLogNormalProbability_MP, "exp(1), 1, 0.5"), "0.5");
    EXPECT_EQ(result(STATS_TalvoLogNormalDeviate_MP, "0.5, 1, 0.5"), "2.718281828");
    // ln 0 = -infinity, whose normal probability is 0.
    EXPECT_EQ(result(STATS_TalvoLogNormalProbability_MP, "0, 1, 0.5"), "0.");
    // Below 0 the logarithm is undefined, and the normal integral refuses it.
    EXPECT_EQ(result(STATS_TalvoLogNormalProbability_MP, "-1, 1, 0.5").rfind("Error: TalvoMP_g01eac: ", 0), 0u);
    EXPECT_EQ(result(STATS_TalvoLogNormalDeviate_MP, "1, 1, 0.5").rfind("Error: TalvoMP_g01fac: ", 0), 0u);
}

TEST(LogNormal, AVariateIsExpOfANormalVariate)
{
    eval("randomize(99)");
    std::vector<TalvoFloat> z;
    for (int i = 0; i < 4; ++i)
        z.push_back(STATS_NormalRandomVariate_MP(kv(), F("1"), F("0.5")));
    eval("randomize(99)");
    EXPECT_TRUE(STATS_LogNormalRandomVariate_MP(kv(), F("1"), F("0.5")) == exp(z[0]));
    TalvoFloat params[2] = {F("1"), F("0.5")};
    EXPECT_TRUE(STATS_LogNormalRandomVariate_MP(kv(), params) == exp(z[1]));
    EXPECT_EQ(result(STATS_TalvoLogNormalRandomVariate_MP, "1, 0.5"), show(exp(z[2]).handle()));
    eval("randomize(99)");
    EXPECT_EQ(result(STATS_TalvoLogNormalRandomSample_MP, "3, 1, 0.5"),
              "Array(1..3, [" + show(exp(z[0]).handle()) + ", " + show(exp(z[1]).handle()) + ", " +
                  show(exp(z[2]).handle()) + "], datatype = sfloat)");
    ReplayStream s;
    EXPECT_EQ(result(STATS_TalvoLogNormalRandomSample_MP, "0, 1, 0.5"), "Array(1..0, [], datatype = sfloat)");
    EXPECT_EQ(s.ints_taken() + s.uniforms_taken(), 0);
}

TEST(LogNormal, RoundTrips)
{
    ExpectRoundTrips(LogNormal(), {"1e-10", "0.1", "0.5", "0.9"}, 4.0);
    ExpectInverseRoundTrips(LogNormal(), {"1", "2.5", "4"}, 4.0);
}
