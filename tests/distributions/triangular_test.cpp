// triangular_test.cpp -- the triangular distribution (a lower end, b upper
// end, c mode): entries, the pieces and their joins, variates and their law.
#include "continuous_checks.hpp"

#include <cmath>

using namespace stats::test;

namespace {

Continuous Triangular()
{
    return {"Triangular",
            {"1", "4", "2"},
            STATS_TalvoTriangularProbability_MP,
            STATS_TalvoTriangularDeviate_MP,
            STATS_TalvoTriangularRandomVariate_MP,
            STATS_TalvoTriangularRandomSample_MP,
            [](TalvoFloat x, const Params &v) { return STATS_TriangularProbability_MP(kv(), x, v[0], v[1], v[2]); },
            [](TalvoFloat p, const Params &v) { return STATS_TriangularDeviate_MP(kv(), p, v[0], v[1], v[2]); },
            [](const Params &v) { return STATS_TriangularRandomVariate_MP(kv(), v[0], v[1], v[2]); },
            [](const TalvoFloat *v) { return STATS_TriangularRandomVariate_MP(kv(), v); },
            [](double x) { return x < 1 ? 0.0 : x < 2 ? (x - 1) * (x - 1) / 3 / 1 : x < 4 ? 1 - (4 - x) * (4 - x) / 3 / 2 : 1.0; }};
}

} // namespace

TEST(Triangular, EntryMessages) { ExpectCountMessages(Triangular()); }

TEST(Triangular, AVariateIsTheDeviateOfOneUniform) { ExpectVariateIsDeviateOfOneUniform(Triangular()); }

TEST(Triangular, SamplesDrawInElementOrder)
{
    Continuous d = Triangular();
    ExpectSampleDrawsInElementOrder(d, [&](const char *u) { return d.dev(F(u), d.values()); });
}

TEST(Triangular, DrawsFollowTheLaw)
{
    ExpectKolmogorovSmirnov(Triangular(), 15, 100000, 20272640);
    ExpectKolmogorovSmirnov(Triangular(), 50, 100000, 20272641);
}

TEST(Triangular, ThePiecesJoin)
{
    EXPECT_EQ(result(STATS_TalvoTriangularProbability_MP, "1, 1, 4, 2"), "0.");
    EXPECT_EQ(result(STATS_TalvoTriangularProbability_MP, "0.5, 1, 4, 2"), "0.");
    // At the mode both pieces give 1/3.
    EXPECT_EQ(result(STATS_TalvoTriangularProbability_MP, "2, 1, 4, 2"), "0.3333333333");
    EXPECT_EQ(result(STATS_TalvoTriangularProbability_MP, "1.999999999, 1, 4, 2"), "0.3333333327");
    EXPECT_EQ(result(STATS_TalvoTriangularProbability_MP, "4, 1, 4, 2"), "1.");
    EXPECT_EQ(result(STATS_TalvoTriangularProbability_MP, "5, 1, 4, 2"), "1.");
    EXPECT_EQ(result(STATS_TalvoTriangularDeviate_MP, "0, 1, 4, 2"), "1.");
    EXPECT_EQ(result(STATS_TalvoTriangularDeviate_MP, "1, 1, 4, 2"), "4.");
    // The branch test p * (b - a) < c - a: p = 1/3 at the mode.
    EXPECT_EQ(result(STATS_TalvoTriangularDeviate_MP, "1/3, 1, 4, 2"), "2.");
}

TEST(Triangular, AModeAtAnEndTakesOnePiece)
{
    // c = a: no lower piece, and no division by c - a.
    EXPECT_EQ(result(STATS_TalvoTriangularProbability_MP, "0.5, 0, 2, 0"), "0.4375");
    EXPECT_EQ(result(STATS_TalvoTriangularDeviate_MP, "0.4375, 0, 2, 0"), "0.5");
    // c = b: no upper piece.
    EXPECT_EQ(result(STATS_TalvoTriangularProbability_MP, "1.5, 0, 2, 2"), "0.5625");
    EXPECT_EQ(result(STATS_TalvoTriangularDeviate_MP, "0.5625, 0, 2, 2"), "1.5");
}

TEST(Triangular, ParametersAreNotChecked)
{
    // A mode beyond b: the lower piece's root.
    EXPECT_EQ(result(STATS_TalvoTriangularDeviate_MP, "0.5, 0, 2, 3"), "1.732050808");
    EXPECT_EQ(result(STATS_TalvoTriangularDeviate_MP, "1.5, 0, 2, 1"), "Float(undefined)");
    // a = b = c: no comparison holds, so 1.
    EXPECT_EQ(result(STATS_TalvoTriangularProbability_MP, "0.5, 0, 0, 0"), "1.");
    EXPECT_EQ(result(STATS_TalvoTriangularProbability_MP, "undefined, 0, 1, 0.5"), "1.");
}

TEST(Triangular, RoundTrips)
{
    ExpectRoundTrips(Triangular(), {"0.001", "0.2", "0.5", "0.9", "0.999"}, 2.0);
    ExpectInverseRoundTrips(Triangular(), {"1.1", "1.5", "2.5", "3.9"}, 2.0);
}
