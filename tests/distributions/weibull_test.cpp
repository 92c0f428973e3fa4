// weibull_test.cpp -- the Weibull distribution against mpmath, its edge
// cases, and its variates' use of the random stream.
#include "stats_support.hpp"

#include "distributions.hpp"
#include "reference_table.hpp"

using namespace stats::test;

TEST(Weibull, TheNinetyFifthPercentilePrintsTheCorrectlyRoundedValue)
{
    // a * (-ln(1 - p))^(1/b) for p = 0.95, a = 2, b = 3, by mpmath at 60 digits:
    // 2.88313068558090650344065574886953546516883276623206302979238...
    EXPECT_EQ(result(STATS_TalvoWeibullDeviate_MP, "0.95, 2, 3"), "2.883130686");
    DigitsScope d(50);
    EXPECT_EQ(result(STATS_TalvoWeibullDeviate_MP, "0.95, 2, 3"),
              "2.8831306855809065034406557488695354651688327662321");
}

TEST(Weibull, ProbabilityOfTheDeviateGivesBackP)
{
    // Below about 0.05, 1 - p and 1 - exp(-t) cancel: p comes back within a
    // unit of the last digit of 1 rather than of its own size.
    for (int digits : {10, 15, 30, 50, 100}) {
        DigitsScope d(digits);
        for (const char *p : {"0.001", "0.01", "0.05", "0.3", "0.5", "0.95", "0.999"}) {
            bool small = std::string(p) < "0.05";
            for (auto [a, b] : {std::pair{"2", "3"}, {"0.5", "1.5"}, {"10", "0.75"}}) {
                TalvoFloat x = STATS_WeibullDeviate_MP(kv(), F(p), F(a), F(b));
                TalvoFloat q = STATS_WeibullProbability_MP(kv(), x, F(a), F(b));
                EXPECT_LT(ErrorInLastDigits(q, p, digits, small), 1.0) << p << " at " << digits << " digits";
            }
        }
    }
}

TEST(Weibull, ProbabilityIsZeroBelowTheOrigin)
{
    EXPECT_EQ(result(STATS_TalvoWeibullProbability_MP, "0, 2, 3"), "0.");
    EXPECT_EQ(result(STATS_TalvoWeibullProbability_MP, "-0.5, 2, 3"), "0.");
    EXPECT_EQ(result(STATS_TalvoWeibullProbability_MP, "-10^10, 2, 3"), "0.");
}

TEST(Weibull, ParametersAreNotChecked)
{
    // A bad parameter gives the float library's value, not an error.
    EXPECT_EQ(result(STATS_TalvoWeibullProbability_MP, "1, 0, 2"), "1.");
    EXPECT_EQ(result(STATS_TalvoWeibullDeviate_MP, "1.5, 2, 3"), "Float(undefined)");
    EXPECT_EQ(result(STATS_TalvoWeibullDeviate_MP, "1, 2, 3"), "Float(infinity)");
    EXPECT_EQ(result(STATS_TalvoWeibullDeviate_MP, "undefined, 2, 3"), "Float(undefined)");
    EXPECT_EQ(result(STATS_TalvoWeibullProbability_MP, "infinity, 2, 3"), "1.");
    EXPECT_EQ(result(STATS_TalvoWeibullProbability_MP, "1, -2, 0.5"), "Float(undefined)");
}

TEST(Weibull, TheClosedFormsKeepEveryDigitWhereTheyCancel)
{
    // 1 - exp(-t) for t = 1.25e-16 (1e-5 rounded to binary, by mpmath) is
    // correctly rounded at every precision, not a unit of the last digit of 1.
    EXPECT_EQ(result(STATS_TalvoWeibullProbability_MP, "1e-5, 2, 3"), "1.25e-16");
    DigitsScope d(30);
    EXPECT_EQ(result(STATS_TalvoWeibullProbability_MP, "1e-5, 2, 3"), "1.249999999999999921875e-16");
}

TEST(Weibull, EntryMessages)
{
    EXPECT_EQ(result(STATS_TalvoWeibullProbability_MP, "1, 2"),
              "Error: TalvoWeibullProbability expects 3 arguments, received: 1, 2");
    EXPECT_EQ(result(STATS_TalvoWeibullDeviate_MP, "1, 2, 3, 4"),
              "Error: TalvoWeibullDeviate expects 3 arguments, received: 1, 2, 3, 4");
    EXPECT_EQ(result(STATS_TalvoWeibullRandomVariate_MP, "1"),
              "Error: TalvoWeibullRandomVariate expects 2 arguments, received: 1");
    EXPECT_EQ(result(STATS_TalvoWeibullRandomSample_MP, "1, 2"),
              "Error: TalvoWeibullRandomSample expects 3 arguments, received: 1, 2");
    EXPECT_EQ(result(STATS_TalvoWeibullDeviate_MP, "0.5, s, 3"), "Error: unable to evaluate s to floating-point");
    EXPECT_EQ(result(STATS_TalvoWeibullRandomVariate_MP, "[1], 3"), "Error: unable to evaluate [1] to floating-point");
    EXPECT_NE(result(STATS_TalvoWeibullRandomSample_MP, "2.5, 1, 1").find("Error: "), std::string::npos);
}

TEST(Weibull, AVariateIsTheDeviateOfOneUniform)
{
    ReplayStream s;
    s.uniforms({"0.5", "0.95", "0.25"});
    TalvoFloat x = STATS_WeibullRandomVariate_MP(kv(), F("2"), F("3"));
    EXPECT_TRUE(x == STATS_WeibullDeviate_MP(kv(), F("0.5"), F("2"), F("3")));
    TalvoFloat params[2] = {F("2"), F("3")};
    EXPECT_TRUE(STATS_WeibullRandomVariate_MP(kv(), params) == STATS_WeibullDeviate_MP(kv(), F("0.95"), F("2"), F("3")));
    EXPECT_EQ(result(STATS_TalvoWeibullRandomVariate_MP, "2, 3"), "1.320284714");
    EXPECT_EQ(s.uniforms_taken(), 3);
    EXPECT_EQ(s.ints_taken(), 0);
}

TEST(Weibull, SamplesDrawInElementOrder)
{
    ReplayStream s;
    s.uniforms({"0.5", "0.95", "0.25"});
    EXPECT_EQ(result(STATS_TalvoWeibullRandomSample_MP, "3, 2, 3"),
              "Array(1..3, [1.769994089, 2.883130686, 1.320284714], datatype = sfloat)");
    EXPECT_TRUE(s.exhausted());
}

TEST(Weibull, EmptySamplesDrawNothing)
{
    ReplayStream s; // nothing queued: any draw would fail the test
    EXPECT_EQ(result(STATS_TalvoWeibullRandomSample_MP, "0, 2, 3"), "Array(1..0, [], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoWeibullRandomSample_MP, "-3, 2, 3"), "Array(1..-3, [], datatype = sfloat)");
    EXPECT_EQ(s.uniforms_taken(), 0);
}
