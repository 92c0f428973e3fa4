// shapiro_wilk_test.cpp -- STATS_TalvoShapiroWilk_MP and
// STATS_ShapiroWilk_MP: the list [W, p], the caller's float array sorted in
// place (and other arrays left alone), the numerical routines' failures
// raised with their messages, and the count message.  W and p themselves are
// tested against published values in tests/numerics/shapiro_wilk_test.cpp.
#include "prep_support.hpp"

using namespace stats::test;

namespace {

TEST(DataprepShapiroWilk, ListOfTwoFloats)
{
    // R 4.2.2 shapiro.test: W = 0.94137, p-value = 0.6702.
    ALGEB r = call(STATS_TalvoShapiroWilk_MP, "Array([2.1, 3.4, 1.9, 5.6, 4.4, 3.3]), Array([]), false");
    ASSERT_TRUE(IsTalvoList(kv(), r));
    ASSERT_EQ(TalvoListLength(kv(), r), 2);
    TalvoFloat w(TalvoListSelect(kv(), r, 1)), p(TalvoListSelect(kv(), r, 2));
    EXPECT_NEAR(w.to_double(), 0.94137, 5e-6);
    EXPECT_NEAR(p.to_double(), 0.6702, 5e-5);
    EXPECT_EQ(show(r), "[0.9413672115, 0.6702338645]");
    // The weights and the flag are not used; the flag is read as a boolean.
    EXPECT_EQ(show(call(STATS_TalvoShapiroWilk_MP, "Array([2.1, 3.4, 1.9, 5.6, 4.4, 3.3]), Array([1, 2, 3, 4, 5, 6]), true")),
              show(r));
    EXPECT_EQ(result(STATS_TalvoShapiroWilk_MP, "Array([2.1, 3.4, 1.9]), Array([]), 17"),
              "Error: expecting true or false, got 17");
}

TEST(DataprepShapiroWilk, SortsAFloatArrayInPlace)
{
    talvo::test::run("X := Array([3., 1., 2., 5.], datatype = sfloat): Y := Array([3., 1., 2., 5.], datatype = float64):");
    EXPECT_EQ(show(call(STATS_TalvoShapiroWilk_MP, "X, Array([]), true")),
              show(call(STATS_TalvoShapiroWilk_MP, "Y, Array([]), true")));
    EXPECT_EQ(show(eval("X")), "Array(1..4, [1., 2., 3., 5.], datatype = sfloat)");
    EXPECT_EQ(show(eval("Y")), "Array(1..4, [3., 1., 2., 5.], datatype = float64)");
}

TEST(DataprepShapiroWilk, Failures)
{
    EXPECT_EQ(result(STATS_TalvoShapiroWilk_MP, "Array([1, 2]), Array([]), false"),
              "Error: TalvoMP_g01ddc: n = 2 is out of range: n must be >= 3.");
    EXPECT_EQ(result(STATS_TalvoShapiroWilk_MP, "Array([]), Array([]), false"),
              "Error: TalvoMP_g01ddc: n = 0 is out of range: n must be >= 3.");
    EXPECT_EQ(result(STATS_TalvoShapiroWilk_MP, "Array([2, 2, 2]), Array([]), false"),
              "Error: TalvoMP_g01ddc: all 3 values of x are equal to 2.: W is not defined for a sample without spread.");
    EXPECT_EQ(result(STATS_TalvoShapiroWilk_MP, "Array([1, 2, Float(undefined)]), Array([]), false"),
              "Error: TalvoMP_g01ddc: x[2] is undefined; a number is required.");
    EXPECT_EQ(result(STATS_TalvoShapiroWilk_MP, "Array(1..5001), Array([]), false"),
              "Error: TalvoMP_g01ddc: n = 5001 is out of range: n must be <= 5000.");
    EXPECT_EQ(result(STATS_TalvoShapiroWilk_MP, "Array([1, 2, 3]), Array([])"),
              "Error: TalvoShapiroWilk expects 3 arguments, received: Array(1..3, [1, 2, 3]), Array(1..0, [])");
    EXPECT_EQ(result(STATS_TalvoShapiroWilk_MP, "Array([1, 2, 3]), Array([1, 2]), false"),
              "Error: vector of points and vector of weights are expected to have the same size, received "
              "Array(1..3, [1, 2, 3]), Array(1..2, [1, 2])");
}

TEST(DataprepShapiroWilk, KernelSortsAndTests)
{
    std::vector<TalvoFloat> x = {TalvoFloat(3.0), TalvoFloat(1.0), TalvoFloat(2.0)};
    TalvoFloat w, p;
    STATS_ShapiroWilk_MP(kv(), 3, x.data(), &w, &p);
    EXPECT_EQ(x[0].to_double(), 1);
    EXPECT_EQ(x[2].to_double(), 3);
    EXPECT_EQ(w.to_double(), 1);
    EXPECT_EQ(p.to_double(), 1);
}

} // namespace
