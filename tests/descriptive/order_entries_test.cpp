// order_entries_test.cpp -- the Quantile, OrderStatistic, Median and
// MedianDeviation entries as a host calls them: arguments, messages, the
// copy rule, missing values, weights, empty data and every array kind.
#include "stats_support.hpp"

using namespace stats::test;

namespace {

const char *const kEmpty = "Array(1..0, [])";

std::string Q(const std::string &args) { return result(STATS_TalvoQuantile_MP, args); }
std::string OS(const std::string &args) { return result(STATS_TalvoOrderStatistic_MP, args); }
std::string Med(const std::string &args) { return result(STATS_TalvoMedian_MP, args); }
std::string MAD(const std::string &args) { return result(STATS_TalvoMedianDeviation_MP, args); }

} // namespace

TEST(QuantileEntry, NumbersAndLists)
{
    const std::string A = "Array(1..10, [3, 1, 4, 1, 5, 9, 2, 6, 5, 3])";
    EXPECT_EQ(Q(A + ", 0.5, " + kEmpty + ", false, 1, false"), "3.");
    EXPECT_EQ(Q(A + ", 1/2, " + kEmpty + ", false, 1, false"), "3.");
    EXPECT_EQ(Q(A + ", [0.1, 0.25, 0.5, 0.9], " + kEmpty + ", false, 7, false"), "[1., 1.916666667, 3.5, 7.9]");
    EXPECT_EQ(Q(A + ", [], " + kEmpty + ", false, 7, false"), "[]");
    EXPECT_EQ(Q(A + ", [0, 1], " + kEmpty + ", false, 6, false"), "[1., 9.]");
    // A single p is not range-checked.
    EXPECT_EQ(Q(A + ", 1.5, " + kEmpty + ", false, 6, false"), "9.");
    // An undefined p, alone or in a list (it is neither below 0 nor above
    // 1), gives the smallest value: its position converts to index 0.
    EXPECT_EQ(Q(A + ", undefined, " + kEmpty + ", false, 7, false"), "1.");
    EXPECT_EQ(Q(A + ", Float(undefined), " + kEmpty + ", false, 1, false"), "1.");
    EXPECT_EQ(Q(A + ", [0.5, undefined, 0.9], " + kEmpty + ", false, 7, false"), "[3.5, 1., 7.9]");
    // Weighted, h is undefined and so is the interpolation.
    EXPECT_EQ(Q(A + ", undefined, Array(1..10, [1,1,1,1,1,1,1,1,1,1]), false, 1, false"), "Float(undefined)");
    // The type is passed unchanged: 0 and 9 act as 1.
    EXPECT_EQ(Q(A + ", 0.35, " + kEmpty + ", false, 0, false"), Q(A + ", 0.35, " + kEmpty + ", false, 1, false"));
    EXPECT_EQ(Q(A + ", 0.35, " + kEmpty + ", false, 9, false"), Q(A + ", 0.35, " + kEmpty + ", false, 1, false"));
}

TEST(QuantileEntry, Messages)
{
    const std::string A = "Array(1..3, [3, 1, 2])";
    EXPECT_EQ(Q(A + ", 0.5, " + kEmpty + ", false, 1"),
              "Error: expected 6 arguments, received: Array(1..3, [3, 1, 2]), 0.5, Array(1..0, []), false, 1");
    EXPECT_EQ(Q(A + ", x, " + kEmpty + ", false, 1, false"),
              "Error: expected: numeric constant or a list of numeric constants between 0 and 1, received x");
    EXPECT_EQ(Q(A + ", \"a\", " + kEmpty + ", false, 1, false"),
              "Error: expected: numeric constant or a list of numeric constants between 0 and 1, received \"a\"");
    EXPECT_EQ(Q(A + ", [0.5, 1.5], " + kEmpty + ", false, 1, false"),
              "Error: expected: list of numeric constants between 0 and 1, received [0.5, 1.5]");
    EXPECT_EQ(Q(A + ", [-0.1], " + kEmpty + ", false, 1, false"),
              "Error: expected: list of numeric constants between 0 and 1, received [-0.1]");
    EXPECT_EQ(Q(A + ", [0.5, y], " + kEmpty + ", false, 1, false"),
              "Error: expected: list of numeric constants between 0 and 1, received [0.5, y]");
    EXPECT_EQ(Q("[3, 1, 2], 0.5, " + std::string(kEmpty) + ", false, 1, false"),
              "Error: invalid data sample, expected: rtable, received [3, 1, 2]");
    EXPECT_EQ(Q(A + ", 0.5, Array(1..2, [1, 1]), false, 1, false"),
              "Error: vector of points and vector of weights are expected to have the same size, received "
              "Array(1..3, [3, 1, 2]), Array(1..2, [1, 1])");
    EXPECT_EQ(Q("Array(1..2, [1, a]), 0.5, " + std::string(kEmpty) + ", false, 1, false"),
              "Error: unable to evaluate a to floating-point");
}

TEST(QuantileEntry, EmptyAndMissingData)
{
    EXPECT_EQ(Q(std::string(kEmpty) + ", [0.1, 0.9], " + kEmpty + ", false, 1, false"),
              "[Float(undefined), Float(undefined)]");
    EXPECT_EQ(Q(std::string(kEmpty) + ", 0.5, " + kEmpty + ", false, 1, true"), "Float(undefined)");
    // All missing and dropped: empty.
    EXPECT_EQ(Q("Array(1..2, [undefined, undefined]), [0.5], " + std::string(kEmpty) + ", true, 1, false"),
              "[Float(undefined)]");
    // Kept, missing values are the largest; dropped, they are gone.
    const std::string M = "Array(1..5, [4, undefined, 1, 3, 2])";
    EXPECT_EQ(Q(M + ", [0.2, 0.8, 1], " + kEmpty + ", false, 1, false"), "[1., 4., Float(undefined)]");
    EXPECT_EQ(Q(M + ", [0.25, 1], " + kEmpty + ", true, 1, false"), "[1., 4.]");
}

TEST(QuantileEntry, WeightsAndZeroWeights)
{
    const std::string A = "Array(1..4, [40, 10, 30, 20])";
    EXPECT_EQ(Q(A + ", 0.5, Array(1..4, [1, 1, 1, 1]), false, 1, false"), "30.");
    // 10 weighs 3 of 4.
    EXPECT_EQ(Q(A + ", 0.5, Array(1..4, [0, 3, 0, 1]), false, 3, false"), "10.");
    // A missing weight drops its pair when missing values are ignored:
    // 20, 30, 40 with h = 1.5, the running sum passes it at 30.
    EXPECT_EQ(Q(A + ", 0.5, Array(1..4, [1, undefined, 1, 1]), true, 1, false"), "30.");
    // Kept, it makes the total undefined.
    EXPECT_EQ(Q(A + ", 0.5, Array(1..4, [1, undefined, 1, 1]), false, 1, false"), "Float(undefined)");
    // All weights zero: h = 0, the first running sum does not exceed it.
    EXPECT_EQ(Q(A + ", 0.5, Array(1..4, [0, 0, 0, 0]), false, 3, false"), "40.");
}

TEST(QuantileEntry, TheCopyRule)
{
    // In place and not ignoring: the caller's float array is reordered.
    eval("QA := Array(1..5, [5., 4., 3., 2., 1.], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoQuantile_MP, "QA, 0.5, Array(1..0, []), false, 1, true"), "3.");
    EXPECT_NE(show(eval("QA")), "Array(1..5, [5., 4., 3., 2., 1.], datatype = sfloat)");
    // A copy otherwise.
    eval("QB := Array(1..5, [5., 4., 3., 2., 1.], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoQuantile_MP, "QB, 0.5, Array(1..0, []), false, 1, false"), "3.");
    EXPECT_EQ(result(STATS_TalvoQuantile_MP, "QB, 0.5, Array(1..0, []), true, 1, true"), "3.");
    EXPECT_EQ(show(eval("QB")), "Array(1..5, [5., 4., 3., 2., 1.], datatype = sfloat)");
    // Weighted in place: values and weights are sorted together.
    eval("QC := Array(1..3, [3., 1., 2.], datatype = sfloat): QW := Array(1..3, [30., 10., 20.], datatype = sfloat)");
    call(STATS_TalvoQuantile_MP, "QC, 0.5, QW, false, 1, true");
    EXPECT_EQ(show(eval("QC")), "Array(1..3, [1., 2., 3.], datatype = sfloat)");
    EXPECT_EQ(show(eval("QW")), "Array(1..3, [10., 20., 30.], datatype = sfloat)");
    // Median follows the same rule.
    eval("MA := Array(1..5, [5., 4., 3., 2., 1.], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoMedian_MP, "MA, Array(1..0, []), false, false"), "3.");
    EXPECT_EQ(show(eval("MA")), "Array(1..5, [5., 4., 3., 2., 1.], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoMedian_MP, "MA, Array(1..0, []), false, true"), "3.");
    EXPECT_NE(show(eval("MA")), "Array(1..5, [5., 4., 3., 2., 1.], datatype = sfloat)");
}

TEST(QuantileEntry, EveryArrayKind)
{
    // Every data type and a non-rectangular storage go through the data sample.
    for (const char *dt : {"anything", "sfloat", "int8", "int16", "int32", "int64", "float64", "float32",
                           "complex", "complex128"}) {
        std::string a = std::string("Array(1..5, [5, 1, 4, 2, 3], datatype = ") + dt + ")";
        EXPECT_EQ(Q(a + ", [0.5, 0.9], " + kEmpty + ", false, 6, false"), "[3., 4.6]") << dt;
        EXPECT_EQ(Med(a + ", " + kEmpty + ", false, true"), "3.") << dt;
        EXPECT_EQ(OS(a + ", -2, 0, false"), "4.") << dt;
    }
    eval("SP := Array(1..6, storage = sparse): SP[2] := 7: SP[5] := -1:");
    EXPECT_EQ(Q("SP, [0, 0.5, 1], " + std::string(kEmpty) + ", false, 1, false"), "[-1., 0., 7.]");
    EXPECT_EQ(Med("SP, " + std::string(kEmpty) + ", false, true"), "0.");
    EXPECT_EQ(Q("Array(1..2, [1 + I, 2], datatype = complex), 0.5, " + std::string(kEmpty) + ", false, 1, false"),
              "Error: unable to evaluate 1.+1.*I to floating-point");
}

TEST(OrderStatisticEntry, IndicesAndMessages)
{
    const std::string A = "Array(1..6, [50, 20, 60, 10, 40, 30])";
    EXPECT_EQ(OS(A + ", 1, 0, false"), "10.");
    EXPECT_EQ(OS(A + ", 6, 0, false"), "60.");
    EXPECT_EQ(OS(A + ", -1, 0, false"), "60.");
    EXPECT_EQ(OS(A + ", -6, 0, false"), "10.");
    EXPECT_EQ(OS(A + ", [3, 1, 3, -1, 2], anything, false"), "[30., 10., 30., 60., 20.]");
    EXPECT_EQ(OS(A + ", [], 0, false"), "[]");
    EXPECT_EQ(OS(A + ", 0, 0, false"), "Error: index out of range: 0");
    EXPECT_EQ(OS(A + ", 7, 0, false"), "Error: index out of range: 7");
    EXPECT_EQ(OS(A + ", -7, 0, false"), "Error: index out of range: -7");
    EXPECT_EQ(OS(A + ", [1, 2^40], 0, false"), "Error: index out of range: 1099511627776");
    EXPECT_EQ(OS(A + ", 1.5, 0, false"), "Error: expected: integer or list of integers, received 1.5");
    EXPECT_EQ(OS(A + ", [1, x], 0, false"), "Error: expected: integer or list of integers, received [1, x]");
    EXPECT_EQ(OS(A + ", 1, 0"), "Error: TalvoOrderStatistic expects 4 arguments, received: " + A + ", 1, 0");
    // Missing values: kept they are the largest; dropped, n shrinks and the
    // range check follows it.
    const std::string M = "Array(1..4, [2, undefined, 1, 3])";
    EXPECT_EQ(OS(M + ", -1, 0, false"), "Float(undefined)");
    EXPECT_EQ(OS(M + ", -1, 0, true"), "3.");
    EXPECT_EQ(OS(M + ", 4, 0, true"), "Error: index out of range: 4");
    // Empty: undefined, and no index is checked.
    EXPECT_EQ(OS(std::string(kEmpty) + ", 5, 0, false"), "Float(undefined)");
    EXPECT_EQ(OS(std::string(kEmpty) + ", [0, 9], 0, false"), "[Float(undefined), Float(undefined)]");
    EXPECT_EQ(OS("Array(1..1, [undefined]), [1, 2], 0, true"), "[Float(undefined), Float(undefined)]");
    // The data are copied, never reordered.
    eval("OA := Array(1..4, [4., 3., 2., 1.], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoOrderStatistic_MP, "OA, [2, 3], 0, false"), "[2., 3.]");
    EXPECT_EQ(show(eval("OA")), "Array(1..4, [4., 3., 2., 1.], datatype = sfloat)");
}

TEST(MedianEntry, ValuesAndMessages)
{
    EXPECT_EQ(Med("Array(1..4, [4, 1, 3, 2]), " + std::string(kEmpty) + ", false, false"), "2.5");
    EXPECT_EQ(Med("Array(1..5, [4, 1, 3, 2, 9]), " + std::string(kEmpty) + ", false, false"), "3.");
    // Weighted: type 1 on the weights.
    EXPECT_EQ(Med("Array(1..4, [4, 1, 3, 2]), Array(1..4, [1, 1, 1, 1]), false, false"), "3.");
    EXPECT_EQ(Med("Array(1..3, [1, 2, 3]), Array(1..3, [5, 1, 1]), false, false"), "2.");
    EXPECT_EQ(Med(std::string(kEmpty) + ", " + kEmpty + ", false, false"), "Float(undefined)");
    EXPECT_EQ(Med("Array(1..2, [undefined, undefined]), " + std::string(kEmpty) + ", true, false"),
              "Float(undefined)");
    EXPECT_EQ(Med("Array(1..3, [undefined, 5, 1]), " + std::string(kEmpty) + ", true, false"), "3.");
    EXPECT_EQ(Med("Array(1..3, [1, 2, 3]), " + std::string(kEmpty) + ", false"),
              "Error: expected 4 arguments, received: Array(1..3, [1, 2, 3]), Array(1..0, []), false");
}

TEST(MedianDeviationEntry, ValuesAndMessages)
{
    EXPECT_EQ(MAD("Array(1..5, [1, 2, 3, 4, 100]), " + std::string(kEmpty) + ", false"), "1.");
    EXPECT_EQ(MAD("Array(1..6, [1, 2, 3, 4, 100, 6]), " + std::string(kEmpty) + ", false"), "2.");
    EXPECT_EQ(MAD("Array(1..3, [1, 2, 3]), Array(1..3, [5, 1, 1]), false"), "1.");
    EXPECT_EQ(MAD(std::string(kEmpty) + ", " + kEmpty + ", true"), "Float(undefined)");
    EXPECT_EQ(MAD("Array(1..4, [1, undefined, 3, 2]), " + std::string(kEmpty) + ", true"), "1.");
    // Kept, the missing value is the largest: median (2 + 3)/2, deviations
    // 1.5, undefined, 0.5, 0.5, whose median is (0.5 + 1.5)/2.
    EXPECT_EQ(MAD("Array(1..4, [1, undefined, 3, 2]), " + std::string(kEmpty) + ", false"), "1.");
    // 1, 3, undefined: median 3, deviations 2, undefined, 0: median 2.
    EXPECT_EQ(MAD("Array(1..3, [1, undefined, 3]), " + std::string(kEmpty) + ", false"), "2.");
    EXPECT_EQ(MAD("Array(1..3, [1, undefined, undefined]), " + std::string(kEmpty) + ", false"),
              "Float(undefined)");
    EXPECT_EQ(MAD("Array(1..3, [1, 2, 3])"),
              "Error: TalvoAbsoluteDeviation expects 3 arguments, received: Array(1..3, [1, 2, 3])");
    // The caller's data are not changed.
    eval("DA := Array(1..3, [3., 1., 2.], datatype = sfloat)");
    call(STATS_TalvoMedianDeviation_MP, "DA, Array(1..0, []), false");
    EXPECT_EQ(show(eval("DA")), "Array(1..3, [3., 1., 2.], datatype = sfloat)");
}
