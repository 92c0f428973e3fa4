// The error record, iteration limit and tolerance shared by the
// distributions that call the numerics library.
#include "nag_call.hpp"
#include "stats_support.hpp"

#include <gtest/gtest.h>

using namespace stats::test;

TEST(NagCall, IterationLimitIsReadOnEveryCall)
{
    eval("unassign('_EnvStatisticsIterations')");
    EXPECT_EQ(stats::StatisticsIterations(kv()), 100);
    eval("_EnvStatisticsIterations := 7");
    EXPECT_EQ(stats::StatisticsIterations(kv()), 7);
    eval("_EnvStatisticsIterations := 250");
    EXPECT_EQ(stats::StatisticsIterations(kv()), 250);
    eval("unassign('_EnvStatisticsIterations')");
    EXPECT_EQ(stats::StatisticsIterations(kv()), 100);
}

TEST(NagCall, ToleranceFollowsDigits)
{
    DigitsScope digits(30);
    EXPECT_DOUBLE_EQ(stats::DigitsTolerance(kv()).to_double(), 1e-30);
}

TEST(NagCall, FailureRaisesTheRoutinesMessage)
{
    stats::NagCall ok;
    TalvoMP_g01eac(Nag_LowerTail, TalvoFloat(0.5), &ok.fail);
    EXPECT_EQ(error_of([&] { ok.Check(kv()); }), "");
    stats::NagCall bad;
    TalvoMP_g01fac(Nag_LowerTail, TalvoFloat(1.5), &bad.fail);
    EXPECT_NE(bad.fail.code, NE_NOERROR);
    EXPECT_EQ(error_of([&] { bad.Check(kv()); }), bad.fail.message);
}
