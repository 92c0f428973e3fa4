// probability_type_test.cpp -- the tail selector and its codes.
#include "stats_support.hpp"

#include "probability_type.hpp"

TEST(ProbabilityType, ForwardMapping)
{
    EXPECT_EQ(STATS_ToNag_TailProbability_MP(1), 1329);
    EXPECT_EQ(STATS_ToNag_TailProbability_MP(2), 1330);
    EXPECT_EQ(STATS_ToNag_TailProbability_MP(3), 1331);
    EXPECT_EQ(STATS_ToNag_TailProbability_MP(4), 1332);
    for (int other : {0, 5, -1, 1329, 1000000})
        EXPECT_EQ(STATS_ToNag_TailProbability_MP(other), 1329) << other;
}

TEST(ProbabilityType, BackwardMapping)
{
    EXPECT_EQ(ToPROBABILITY_TYPE(1329), STATS_LOWER_TAIL_MP);
    EXPECT_EQ(ToPROBABILITY_TYPE(1330), STATS_UPPER_TAIL_MP);
    EXPECT_EQ(ToPROBABILITY_TYPE(1331), STATS_TWO_TAIL_SIGNIFICANCE_MP);
    EXPECT_EQ(ToPROBABILITY_TYPE(1332), STATS_TWO_TAIL_CONFIDENCE_MP);
    for (int other : {0, 1, 2, 1328, 1333, -1330})
        EXPECT_EQ(ToPROBABILITY_TYPE(other), STATS_LOWER_TAIL_MP) << other;
    for (int t = 1; t <= 4; ++t)
        EXPECT_EQ(ToPROBABILITY_TYPE(STATS_ToNag_TailProbability_MP(t)), t);
}
