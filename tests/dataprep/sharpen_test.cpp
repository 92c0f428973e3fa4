// sharpen_test.cpp -- STATS_Sharpen_MP against a direct count over all
// pairs, the walk that stops at the first point outside the x window, and
// the entry: unsorted points counted in the order given, strides, messages.
#include "prep_support.hpp"

#include <cmath>
#include <random>

using namespace stats::test;

namespace {

TEST(DataprepSharpen, KernelCountsTheSquareWindow)
{
    std::mt19937 gen(4);
    std::uniform_real_distribution<double> u(0, 10);
    const int n = 300;
    std::vector<double> xs(n), ys(n);
    for (int i = 0; i < n; ++i) {
        xs[size_t(i)] = std::round(u(gen) * 4) / 4; // ties in x, and distances exactly h/2
        ys[size_t(i)] = std::round(u(gen) * 4) / 4;
    }
    std::sort(xs.begin(), xs.end());
    std::vector<TalvoFloat> x, y;
    for (int i = 0; i < n; ++i) {
        x.push_back(TalvoFloat(xs[size_t(i)]));
        y.push_back(TalvoFloat(ys[size_t(i)]));
    }
    std::vector<unsigned> counts(n);
    STATS_Sharpen_MP(kv(), n, x.data(), y.data(), 1, 1, counts.data(), TalvoFloat(1.0));
    for (int i = 0; i < n; ++i) {
        unsigned expected = 0;
        for (int j = 0; j < n; ++j)
            if (j != i && std::fabs(xs[size_t(i)] - xs[size_t(j)]) <= 0.5 && std::fabs(ys[size_t(i)] - ys[size_t(j)]) <= 0.5)
                ++expected;
        ASSERT_EQ(counts[size_t(i)], expected) << i;
    }
}

TEST(DataprepSharpen, StridesAndTheWalk)
{
    // Points interleaved (x, y, x, y, ...): stride 2.
    std::vector<TalvoFloat> xy = {TalvoFloat(0.0), TalvoFloat(0.0), TalvoFloat(1.0), TalvoFloat(5.0),
                                  TalvoFloat(2.0), TalvoFloat(0.5)};
    unsigned counts[3];
    STATS_Sharpen_MP(kv(), 3, xy.data(), xy.data() + 1, 2, 2, counts, TalvoFloat(4.0));
    // d = 2: the middle point is within x of both but far in y.
    EXPECT_EQ(counts[0], 1u);
    EXPECT_EQ(counts[1], 0u);
    EXPECT_EQ(counts[2], 1u);
    // Unsorted x: each walk stops at the first point outside the window
    // (x[j] - x[i] > d upwards, x[i] - x[j] > d downwards) and counts what
    // it met before: point 0 stops at 9 at once; point 1 meets 0.5 upwards
    // (0.5 - 9 <= d) and stops at 0 downwards; point 2 meets both below it.
    std::vector<TalvoFloat> x = {TalvoFloat(0.0), TalvoFloat(9.0), TalvoFloat(0.5)}, y(3, TalvoFloat(0.0));
    STATS_Sharpen_MP(kv(), 3, x.data(), y.data(), 1, 1, counts, TalvoFloat(2.0));
    EXPECT_EQ(counts[0], 0u);
    EXPECT_EQ(counts[1], 1u);
    EXPECT_EQ(counts[2], 2u);
}

TEST(DataprepSharpen, Entry)
{
    // Given unsorted; counts in the order of the points.
    EXPECT_EQ(result(STATS_TalvoSharpen_MP, "Array([10, 3, 1, 2.]), Array([0, 0, 0, 0.5]), 2.5, false"),
              "Array(1..4, [0, 1, 1, 2])");
    // Declared sorted: taken as they come.
    EXPECT_EQ(result(STATS_TalvoSharpen_MP, "Array([1, 2, 3, 10]), Array([0, 0.5, 0, 0]), 2.5, true"),
              "Array(1..4, [1, 2, 1, 0])");
    // Any data type; an undefined coordinate counts nothing and is counted by none.
    EXPECT_EQ(result(STATS_TalvoSharpen_MP, "Array([1, 1, 1], datatype = int8), "
                                            "Array([0, Float(undefined), 0], datatype = float64), 0, false"),
              "Array(1..3, [1, 0, 1])");
    EXPECT_EQ(result(STATS_TalvoSharpen_MP, "Array([1, 2]), Array([1, 2]), -1, false"), "Array(1..2, [0, 0])");
    EXPECT_EQ(result(STATS_TalvoSharpen_MP, "Array([]), Array([]), 1, false"), "Array(1..0, [])");
    EXPECT_EQ(result(STATS_TalvoSharpen_MP, "Array([1]), Array([1]), 1"),
              "Error: TalvoSharpen expects 4 arguments, received: Array(1..1, [1]), Array(1..1, [1]), 1");
    EXPECT_EQ(result(STATS_TalvoSharpen_MP, "Array([1, 2]), Array([1]), 1, false"),
              "Error: the x and y coordinates are expected to have the same number of elements, received "
              "Array(1..2, [1, 2]), Array(1..1, [1])");
    EXPECT_EQ(result(STATS_TalvoSharpen_MP, "[1], Array([1]), 1, false"),
              "Error: invalid data sample, expected: rtable, received [1]");
    EXPECT_EQ(result(STATS_TalvoSharpen_MP, "Array([1]), Array([1]), h, false"),
              "Error: unable to evaluate h to floating-point");
}

} // namespace
