// tally_test.cpp -- tallies, counts into bins, frequency data, discretize,
// counts, cumulative results and evaluation to float.
#include "stats_support.hpp"

#include "tally.hpp"
#include "talvo_utils.hpp"
#include "reference_table.hpp"

#include <vector>

using namespace stats::test;

namespace {

const std::string kNone = "Array(1..0)";
std::string Arr(const std::string &values) { return "Array([" + values + "])"; }

} // namespace

// ---------------------------------------------------------------------------
// Tally and the sorted tally
// ---------------------------------------------------------------------------

TEST(Tally, CountsDistinctValuesByValue)
{
    EXPECT_EQ(result(STATS_TalvoTally_MP, Arr("3, 1, 3, 2, 3, 1") + ", " + kNone), "table([3 = 3, 1 = 2, 2 = 1])");
    // Floats and exact numbers of a host-value array are compared by value:
    // two separately written 2.5 are one key.
    EXPECT_EQ(result(STATS_TalvoTally_MP, Arr("2.5, x, 2.5, x, 1/2") + ", " + kNone),
              "table([2.5 = 2, x = 2, 1/2 = 1])");
    EXPECT_EQ(result(STATS_TalvoTally_MP, kNone + ", " + kNone), "table([])");
}

TEST(Tally, WeightsAddAsFloats)
{
    EXPECT_EQ(result(STATS_TalvoTally_MP, Arr("1, 2, 1") + ", " + Arr("0.5, 2, 1/4")), "table([1 = 0.75, 2 = 2.])");
    EXPECT_EQ(result(STATS_TalvoTally_MP, Arr("1, 2") + ", " + Arr("undefined, 0")),
              "table([1 = Float(undefined), 2 = 0.])");
}

TEST(Tally, EveryDataTypeGivesKeysOfItsKind)
{
    struct Case {
        const char *type, *expected;
    } cases[] = {
        {"int8", "table([2 = 2, -1 = 1])"},
        {"int16", "table([2 = 2, -1 = 1])"},
        {"int32", "table([2 = 2, -1 = 1])"},
        {"int64", "table([2 = 2, -1 = 1])"},
        {"float64", "table([2. = 2, -1. = 1])"},
        {"float32", "table([2. = 2, -1. = 1])"},
        {"sfloat", "table([2. = 2, -1. = 1])"},
        {"anything", "table([2 = 2, -1 = 1])"},
    };
    for (const Case &c : cases)
        for (const char *storage : {"rectangular", "sparse"}) {
            std::string a = std::string("Array(1..3, [2, -1, 2], datatype = ") + c.type + ", storage = " + storage + ")";
            EXPECT_EQ(result(STATS_TalvoTally_MP, a + ", " + kNone), c.expected) << c.type << " " << storage;
        }
    EXPECT_EQ(result(STATS_TalvoTally_MP, "Array(1..3, [2, 1 + I, 2], datatype = complex128), " + kNone),
              "table([2.+0.*I = 2, 1.+1.*I = 1])");
    EXPECT_EQ(result(STATS_TalvoTally_MP, "Array(0..2, [5, 5, 5], storage = sparse), " + Arr("1, 2, 3")),
              "table([5 = 6.])");
}

TEST(Tally, Messages)
{
    EXPECT_EQ(result(STATS_TalvoTally_MP, Arr("1")), "Error: expected 2 arguments, received: Array(1..1, [1])");
    EXPECT_EQ(result(TalvoTallySorted, Arr("1")), "Error: expected 2 arguments, received: Array(1..1, [1])");
    for (TalvoEntry e : {STATS_TalvoTally_MP, TalvoTallySorted}) {
        EXPECT_EQ(result(e, "[1, 2], " + kNone), "Error: invalid data sample, expected: one-dimensional ray, received [1, 2]");
        EXPECT_EQ(result(e, "Array(1..2, 1..2, [[1, 2], [3, 4]]), " + kNone),
                  "Error: invalid data sample, expected: one-dimensional ray, received Array(1..2, 1..2, [[1, 2], [3, 4]])");
        EXPECT_EQ(result(e, Arr("1, 2") + ", " + Arr("1")),
                  "Error: vector of points and vector of weights are expected to have the same size, received "
                  "Array(1..2, [1, 2]), Array(1..1, [1])");
        EXPECT_EQ(result(e, Arr("1, 2") + ", 3"), "Error: invalid data sample, expected: rtable, received 3");
    }
}

TEST(TallySorted, TheLastRunIsNeverStored)
{
    EXPECT_EQ(result(TalvoTallySorted, Arr("1, 1, 2") + ", " + kNone), "table([1 = 2])");
    EXPECT_EQ(result(TalvoTallySorted, Arr("1, 1, 2, 2, 2, 3, 7, 7") + ", " + kNone), "table([1 = 2, 2 = 3, 3 = 1])");
    EXPECT_EQ(result(TalvoTallySorted, Arr("4, 4, 4") + ", " + kNone), "table([])");
    EXPECT_EQ(result(TalvoTallySorted, Arr("4") + ", " + kNone), "table([])");
    EXPECT_EQ(result(TalvoTallySorted, kNone + ", " + kNone), "table([])");
    EXPECT_EQ(result(TalvoTallySorted, Arr("1, 1, 2, 2, 3") + ", " + Arr("1, 2, 3, 4, 5")), "table([1 = 3., 2 = 7.])");
}

TEST(TallySorted, RunsAreOfIdenticalExpressions)
{
    // Integers are immediate, hence identical when equal; separately written
    // floats are distinct objects, so each is its own run, and so are the
    // floats a copy of a float64 array makes.
    EXPECT_EQ(result(TalvoTallySorted, "Array([1, 1, 2, 3], datatype = int8), " + kNone), "table([1 = 2, 2 = 1])");
    EXPECT_EQ(result(TalvoTallySorted, "Array([1, 1, 2], datatype = float64), " + kNone), "table([1. = 1])");
    EXPECT_EQ(result(TalvoTallySorted, "Array([1, 1, 2, 3], storage = sparse), " + kNone), "table([1 = 2, 2 = 1])");
    EXPECT_EQ(result(TalvoTallySorted, Arr("1.5, 1.5, 2") + ", " + kNone), "table([1.5 = 1])");
    EXPECT_EQ(result(TalvoTallySorted, "proc() local a; a := 1.5; Array([a, a, 2]) end proc(), " + kNone),
              "table([1.5 = 2])");
}

// ---------------------------------------------------------------------------
// Bins
// ---------------------------------------------------------------------------

TEST(TallyIntoFindBin, BoundariesGoToTheBinOnTheirRight)
{
    std::vector<TalvoFloat> b;
    for (int i = 0; i <= 5; ++i)
        b.push_back(TalvoFloat(2.0 * i)); // 0 2 4 6 8 10
    EXPECT_EQ(STATS_TallyIntoFindBin_MP(b.data(), 5, F("0")), 0);
    EXPECT_EQ(STATS_TallyIntoFindBin_MP(b.data(), 5, F("1.99")), 0);
    EXPECT_EQ(STATS_TallyIntoFindBin_MP(b.data(), 5, F("2")), 1);
    EXPECT_EQ(STATS_TallyIntoFindBin_MP(b.data(), 5, F("5.5")), 2);
    EXPECT_EQ(STATS_TallyIntoFindBin_MP(b.data(), 5, F("6")), 3);
    EXPECT_EQ(STATS_TallyIntoFindBin_MP(b.data(), 5, F("9.999")), 4);
    EXPECT_EQ(STATS_TallyIntoFindBin_MP(b.data(), 1, F("7")), 0);
    // Every bin of many is found, whatever the count.
    for (int m : {1, 2, 3, 7, 8, 100}) {
        std::vector<TalvoFloat> bb;
        for (int i = 0; i <= m; ++i)
            bb.push_back(TalvoFloat(static_cast<double>(i)));
        for (int i = 0; i < m; ++i) {
            EXPECT_EQ(STATS_TallyIntoFindBin_MP(bb.data(), m, TalvoFloat(i + 0.0)), i) << m;
            EXPECT_EQ(STATS_TallyIntoFindBin_MP(bb.data(), m, TalvoFloat(i + 0.5)), i) << m;
        }
    }
}

TEST(TallyInto, KernelsCountOverSeveralRanges)
{
    TalvoFloat x[6] = {F("0"), F("1"), F("2"), F("3"), F("4"), F("-1")};
    TalvoFloat w[6] = {F("1"), F("2"), F("3"), F("4"), F("5"), F("6")};
    // Range 0..4 and range 1..3, two bins each.
    TalvoFloat bounds[6] = {F("0"), F("2"), F("4"), F("1"), F("2"), F("3")};
    int counts[4] = {9, 9, 9, 9};
    STATS_SimpleTallyInto_MP(counts, x, 6, bounds, 2, 2);
    EXPECT_EQ(counts[0], 2); // 0, 1
    EXPECT_EQ(counts[1], 3); // 2, 3, and 4 on the top boundary
    EXPECT_EQ(counts[2], 1); // 1
    EXPECT_EQ(counts[3], 2); // 2, and 3 on the top boundary
    TalvoFloat sums[4];
    STATS_WeightedTallyInto_MP(sums, x, w, 6, bounds, 2, 2);
    EXPECT_EQ(sums[0], F("3"));
    EXPECT_EQ(sums[1], F("12"));
    EXPECT_EQ(sums[2], F("2"));
    EXPECT_EQ(sums[3], F("7"));
}

TEST(TallyInto, EquationsOfBinsAndCounts)
{
    EXPECT_EQ(result(STATS_TalvoTallyInto_MP, Arr("0, 1, 2, 3, 4, 5") + ", " + kNone + ", false, [0..4, 1..2], 2"),
              "[0. .. 2. = 2, 2. .. 4. = 3, 1. .. 1.5 = 1, 1.5 .. 2. = 1]");
    EXPECT_EQ(result(STATS_TalvoTallyInto_MP, Arr("0, 1, 2, 3, 4") + ", " + Arr("1, 1, 1, 1, 0.5") + ", false, [0..4], 2"),
              "[0. .. 2. = 2., 2. .. 4. = 2.5]");
    EXPECT_EQ(result(STATS_TalvoTallyInto_MP, Arr("0, 1") + ", " + kNone + ", false, [], 3"), "[]");
    // Inner boundaries a + ((b - a)/m)*i.
    EXPECT_EQ(result(STATS_TalvoTallyInto_MP, Arr("0.5") + ", " + kNone + ", false, [0..1], 3"),
              "[0. .. 0.3333333333 = 0, 0.3333333333 .. 0.6666666667 = 1, 0.6666666667 .. 1. = 0]");
}

TEST(TallyInto, InfiniteEndsMakeOneBinOnly)
{
    EXPECT_EQ(result(STATS_TalvoTallyInto_MP, Arr("-5, 0, 7, 10^30") + ", " + kNone + ", false, [0..infinity], 1"),
              "[0. .. Float(infinity) = 3]");
    EXPECT_EQ(result(STATS_TalvoTallyInto_MP, Arr("-5, 0") + ", " + kNone + ", false, [-infinity..infinity], 1"),
              "[Float(-infinity) .. Float(infinity) = 2]");
    EXPECT_EQ(result(STATS_TalvoTallyInto_MP, Arr("1") + ", " + kNone + ", false, [0..infinity], 2"),
              "Error: unable to split the range 0 .. infinity");
    EXPECT_EQ(result(STATS_TalvoTallyInto_MP, Arr("1") + ", " + kNone + ", false, [0..1, -infinity..0], 2"),
              "Error: unable to split the range -infinity .. 0");
}

TEST(TallyInto, MissingValues)
{
    // An undefined value lies in no bin; an undefined weight makes its bin
    // undefined unless missing data are ignored.
    EXPECT_EQ(result(STATS_TalvoTallyInto_MP, Arr("1, undefined, 3") + ", " + kNone + ", false, [0..4], 2"),
              "[0. .. 2. = 1, 2. .. 4. = 1]");
    EXPECT_EQ(result(STATS_TalvoTallyInto_MP, Arr("1, 2, 3") + ", " + Arr("1, 1, undefined") + ", false, [0..4], 2"),
              "[0. .. 2. = 1., 2. .. 4. = Float(undefined)]");
    EXPECT_EQ(result(STATS_TalvoTallyInto_MP, Arr("1, 2, 3") + ", " + Arr("1, 1, undefined") + ", true, [0..4], 2"),
              "[0. .. 2. = 1., 2. .. 4. = 1.]");
}

TEST(TallyInto, Messages)
{
    std::string x = Arr("1, 2");
    EXPECT_EQ(result(STATS_TalvoTallyInto_MP, x + ", " + kNone + ", false, [0..4]"),
              "Error: expected 5 arguments, received: Array(1..2, [1, 2]), Array(1..0, []), false, [0 .. 4]");
    EXPECT_EQ(result(STATS_TalvoTallyInto_MP, x + ", " + kNone + ", false, 0..4, 2"),
              "Error: expected 4th argument to be of type list(range), received: 0 .. 4");
    EXPECT_EQ(result(STATS_TalvoTallyInto_MP, x + ", " + kNone + ", false, [0..4, 7], 2"),
              "Error: invalid argument; expected a positive integer or a list of ranges, received: 7");
    // Fewer than one bin is refused (the bin search would never end).
    EXPECT_EQ(result(STATS_TalvoTallyInto_MP, x + ", " + kNone + ", false, [0..4], 0"),
              "Error: invalid argument; expected a positive integer or a list of ranges, received: 0");
    EXPECT_EQ(result(STATS_TalvoTallyInto_MP, x + ", " + kNone + ", false, [0..4], -3"),
              "Error: invalid argument; expected a positive integer or a list of ranges, received: -3");
    // The bin count is a count argument: anything but a 32-bit integer
    // meets the host's own conversion error.
    EXPECT_EQ(result(STATS_TalvoTallyInto_MP, x + ", " + kNone + ", false, [0..4], 2.5"),
              "Error: integer conversion: expecting an integer in the range of the native type, got 2.5");
    EXPECT_EQ(result(STATS_TalvoTallyInto_MP, x + ", " + kNone + ", false, [0..4], 2."),
              "Error: integer conversion: expecting an integer in the range of the native type, got 2.");
    EXPECT_EQ(result(STATS_TalvoTallyInto_MP, x + ", " + kNone + ", false, [0..4], 2^40"),
              "Error: integer conversion: expecting an integer in the range of the native type, got "
              "1099511627776");
    EXPECT_EQ(result(STATS_TalvoTallyInto_MP, x + ", " + kNone + ", false, [0..a], 2"),
              "Error: unable to evaluate a to floating-point");
    EXPECT_EQ(result(STATS_TalvoTallyInto_MP, "[1], " + kNone + ", false, [0..1], 2"),
              "Error: invalid data sample, expected: rtable, received [1]");
}

TEST(FrequencyData, BinsCountsAndRunningCounts)
{
    EXPECT_EQ(result(STATS_TalvoFrequencyData_MP, Arr("0, 1, 1.5, 2, 4, 9") + ", " + kNone + ", false, 0..4, 4"),
              "[Array(1..4, [0. .. 1., 1. .. 2., 2. .. 3., 3. .. 4.]), Array(1..4, [1, 2, 1, 1], datatype = int32), "
              "Array(1..4, [1, 3, 4, 5], datatype = int32)]");
    EXPECT_EQ(result(STATS_TalvoFrequencyData_MP, Arr("0, 1, 3") + ", " + Arr("0.5, 2, 1") + ", false, 0..4, 2"),
              "[Array(1..2, [0. .. 2., 2. .. 4.]), Array(1..2, [2.5, 1.], datatype = sfloat), "
              "Array(1..2, [2.5, 3.5], datatype = sfloat)]");
    EXPECT_EQ(result(STATS_TalvoFrequencyData_MP, kNone + ", " + kNone + ", false, 0..1, 1"),
              "[Array(1..1, [0. .. 1.]), Array(1..1, [0], datatype = int32), Array(1..1, [0], datatype = int32)]");
}

TEST(FrequencyData, Messages)
{
    std::string x = Arr("1, 2");
    EXPECT_EQ(result(STATS_TalvoFrequencyData_MP, x + ", " + kNone + ", false, 0..1"),
              "Error: expected 5 arguments, received: Array(1..2, [1, 2]), Array(1..0, []), false, 0 .. 1");
    EXPECT_EQ(result(STATS_TalvoFrequencyData_MP, x + ", " + kNone + ", false, [0..1], 2"),
              "Error: expected 4th argument to be of type range, received: [0 .. 1]");
    EXPECT_EQ(result(STATS_TalvoFrequencyData_MP, x + ", " + kNone + ", false, 0..infinity, 2"),
              "Error: unable to split the range 0 .. infinity");
    EXPECT_EQ(result(STATS_TalvoFrequencyData_MP, x + ", " + kNone + ", false, 0..1, -1"),
              "Error: invalid argument; expected a positive integer or a list of ranges, received: -1");
    EXPECT_EQ(result(STATS_TalvoFrequencyData_MP, x + ", " + kNone + ", false, 0..1, 0"),
              "Error: invalid argument; expected a positive integer or a list of ranges, received: 0");
    EXPECT_EQ(result(STATS_TalvoFrequencyData_MP, x + ", " + kNone + ", false, 0..1, b"),
              "Error: integer conversion: expecting an integer in the range of the native type, got b");
}

// ---------------------------------------------------------------------------
// Discretize
// ---------------------------------------------------------------------------

TEST(Discretize, LinearBinningShares)
{
    // Grid 0, 0.5, 1.  0.25 lies halfway between the first two points; 1 is
    // on the last point.  Scale 1: fractions of the total weight 3.
    EXPECT_EQ(result(STATS_TalvoDiscretize_MP, Arr("0, 0.25, 1") + ", 3, 0, 1, " + kNone + ", false, 1"),
              "Array(1..3, [0.5, 0.1666666667, 0.3333333333], datatype = sfloat)");
    // Scale 0 means 1/spacing = 2: a density.
    EXPECT_EQ(result(STATS_TalvoDiscretize_MP, Arr("0, 0.25, 1") + ", 3, 0, 1, " + kNone + ", false, 0"),
              "Array(1..3, [1., 0.3333333333, 0.6666666667], datatype = sfloat)");
    // Any other scale multiplies the fractions.
    EXPECT_EQ(result(STATS_TalvoDiscretize_MP, Arr("0.1") + ", 2, 0, 1, " + kNone + ", false, 10"),
              "Array(1..2, [9., 1.], datatype = sfloat)");
}

TEST(Discretize, AValueOnAGridPointPutsItsWholeWeightThere)
{
    EXPECT_EQ(result(STATS_TalvoDiscretize_MP, Arr("2, 3") + ", 5, 0, 4, " + kNone + ", false, 1"),
              "Array(1..5, [0., 0., 0.5, 0.5, 0.], datatype = sfloat)");
    DigitsScope d(30);
    EXPECT_EQ(result(STATS_TalvoDiscretize_MP, Arr("1/3") + ", 4, 0, 1, " + kNone + ", false, 1"),
              "Array(1..4, [0., 1., 0., 0.], datatype = sfloat)");
}

TEST(Discretize, WeightsOutsideValuesAndMissingData)
{
    // Weights 3 and 1 at the ends; the value outside [0, 1] is skipped and
    // its weight counts nowhere; an undefined weight counts as 1.
    EXPECT_EQ(result(STATS_TalvoDiscretize_MP, Arr("0, 1, 2") + ", 2, 0, 1, " + Arr("3, 1, 5") + ", false, 1"),
              "Array(1..2, [0.75, 0.25], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoDiscretize_MP, Arr("0, 1") + ", 2, 0, 1, " + Arr("undefined, 3") + ", false, 1"),
              "Array(1..2, [0.25, 0.75], datatype = sfloat)");
    // Undefined values are skipped; no value inside divides 0 by 0.
    EXPECT_EQ(result(STATS_TalvoDiscretize_MP, Arr("undefined, 0") + ", 2, 0, 1, " + kNone + ", true, 1"),
              "Array(1..2, [1., 0.], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoDiscretize_MP, Arr("5") + ", 2, 0, 1, " + kNone + ", false, 1"),
              "Array(1..2, [Float(undefined), Float(undefined)], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoDiscretize_MP, kNone + ", 2, 0, 1, " + kNone + ", false, 1"),
              "Array(1..2, [Float(undefined), Float(undefined)], datatype = sfloat)");
    // Fewer than one point: an empty grid; one point takes every value.
    EXPECT_EQ(result(STATS_TalvoDiscretize_MP, Arr("0.5") + ", 0, 0, 1, " + kNone + ", false, 1"),
              "Array(1..0, [], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoDiscretize_MP, Arr("0.5") + ", -3, 0, 1, " + kNone + ", false, 1"),
              "Array(1..0, [], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoDiscretize_MP, Arr("0.5, 1") + ", 1, 0, 1, " + kNone + ", false, 1"),
              "Array(1..1, [1.], datatype = sfloat)");
}

TEST(Discretize, TheKernelReportsMissingValues)
{
    TalvoFloat x[4] = {F("0.5"), STATS_FloatUndefined_MP(kv()), F("2"), STATS_FloatUndefined_MP(kv())};
    TalvoFloat grid[3];
    EXPECT_EQ(STATS_Discretize_MP(grid, 3, F("0"), F("1"), x, nullptr, 4, F("1")), 2);
    EXPECT_EQ(grid[0], F("0"));
    EXPECT_EQ(grid[1], F("1"));
    EXPECT_EQ(grid[2], F("0"));
    // Values a hair inside the right end stay on the grid.
    TalvoFloat y[1] = {F("0.99999999999999999999999999")};
    TalvoFloat g2[7];
    STATS_Discretize_MP(g2, 7, F("-1e-30"), F("1"), y, nullptr, 1, F("1"));
    EXPECT_GT(g2[6], TalvoFloat(0.99));
}

TEST(Discretize, Messages)
{
    EXPECT_EQ(result(STATS_TalvoDiscretize_MP, Arr("0") + ", 2, 0, 1, " + kNone + ", false"),
              "Error: expected 7 arguments, received: Array(1..1, [0]), 2, 0, 1, Array(1..0, []), false");
    EXPECT_EQ(result(STATS_TalvoDiscretize_MP, Arr("0") + ", 2, 1, 1, " + kNone + ", false, 1"),
              "Error: left boundary must be smaller than right boundary, received: 1 and 1");
    EXPECT_EQ(result(STATS_TalvoDiscretize_MP, Arr("0") + ", 2, 2, 1/2, " + kNone + ", false, 1"),
              "Error: left boundary must be smaller than right boundary, received: 2 and 1/2");
    EXPECT_EQ(result(STATS_TalvoDiscretize_MP, Arr("0") + ", 2, undefined, 1, " + kNone + ", false, 1"),
              "Error: left boundary must be smaller than right boundary, received: undefined and 1");
}

// ---------------------------------------------------------------------------
// Counts
// ---------------------------------------------------------------------------

TEST(Count, AllValuesOrTheDefinedOnes)
{
    std::string x = Arr("1, undefined, 2, undefined, 5");
    EXPECT_EQ(result(STATS_TalvoCount_MP, x + ", " + kNone + ", true"), "3");
    EXPECT_EQ(result(STATS_TalvoCount_MP, x + ", " + kNone + ", false"), "5");
    EXPECT_EQ(result(STATS_TalvoCount_MP, x + ", " + Arr("1, 2, 3, 4, 0.5") + ", false"), "10.5");
    EXPECT_EQ(result(STATS_TalvoCount_MP, x + ", " + Arr("1, 2, 3, 4, 0.5") + ", true"), "4.5");
    EXPECT_EQ(result(STATS_TalvoCount_MP, Arr("1, 2") + ", " + Arr("undefined, 2") + ", true"), "2.");
    EXPECT_EQ(result(STATS_TalvoCount_MP, Arr("1, 2") + ", " + Arr("0, 0") + ", false"), "0.");
    EXPECT_EQ(result(STATS_TalvoCount_MP, kNone + ", " + kNone + ", true"), "0");
    EXPECT_EQ(result(STATS_TalvoCount_MP, "Array(1..3, [1, 2, 3], datatype = int8), " + kNone + ", true"), "3");
    EXPECT_EQ(result(STATS_TalvoCount_MP, x + ", " + kNone), "Error: expected 3 arguments, received: " +
                                                                   show(eval(x)) + ", Array(1..0, [])");
}

TEST(CountMissing, NumberOrWeightOfTheUndefined)
{
    std::string x = Arr("1, undefined, 2, undefined, 5");
    EXPECT_EQ(result(STATS_TalvoCountMissing_MP, x + ", " + kNone), "2");
    EXPECT_EQ(result(STATS_TalvoCountMissing_MP, x + ", " + Arr("1, 2, 3, 4, 5")), "6.");
    EXPECT_EQ(result(STATS_TalvoCountMissing_MP, x + ", " + Arr("1, undefined, 3, 4, 5")), "4.");
    EXPECT_EQ(result(STATS_TalvoCountMissing_MP, Arr("1, 2") + ", " + kNone), "0");
    EXPECT_EQ(result(STATS_TalvoCountMissing_MP, Arr("1, 2") + ", " + Arr("1, 1")), "0.");
    EXPECT_EQ(result(STATS_TalvoCountMissing_MP, kNone + ", " + kNone), "0");
    EXPECT_EQ(result(STATS_TalvoCountMissing_MP, x), "Error: expected 2 arguments, received: " + show(eval(x)));
}

// ---------------------------------------------------------------------------
// Cumulative and evaluation to float
// ---------------------------------------------------------------------------

TEST(Cumulative, RunningSumsAndProducts)
{
    std::string x = "Array(0..3, [1, 2, 3, 4])";
    EXPECT_EQ(result(STATS_TalvoCumulative_MP, x + ", " + kNone + ", " + kNone + ", 0"),
              "Array(0..3, [1., 3., 6., 10.], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoCumulative_MP, x + ", " + kNone + ", " + kNone + ", 7"),
              "Array(0..3, [1., 3., 6., 10.], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoCumulative_MP, x + ", " + kNone + ", " + kNone + ", 1"),
              "Array(0..3, [1., 2., 6., 24.], datatype = sfloat)");
    // A weight is a multiplicity: w*x to a sum, x^w to a product.
    EXPECT_EQ(result(STATS_TalvoCumulative_MP, x + ", " + Arr("2, 1, 0, 0.5") + ", " + kNone + ", 0"),
              "Array(0..3, [2., 4., 4., 6.], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoCumulative_MP, x + ", " + Arr("2, 1, 0, 0.5") + ", " + kNone + ", 1"),
              "Array(0..3, [1., 2., 2., 4.], datatype = sfloat)");
    // An undefined value makes the rest undefined.
    EXPECT_EQ(result(STATS_TalvoCumulative_MP, Arr("1, undefined, 3") + ", " + kNone + ", " + kNone + ", 0"),
              "Array(1..3, [1., Float(undefined), Float(undefined)], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoCumulative_MP, kNone + ", " + kNone + ", " + kNone + ", 0"),
              "Array(1..0, [], datatype = sfloat)");
}

TEST(Cumulative, IntoAGivenArray)
{
    ALGEB out = eval("Array(5..9, datatype = sfloat)");
    ALGEB args = eval(std::string("Array([1, 2, 3]), ") + kNone + ", 0, 0");
    TalvoExpseqAssign(kv(), args, 3, out);
    ALGEB r = STATS_TalvoCumulative_MP(kv(), args);
    EXPECT_EQ(r, out);
    EXPECT_EQ(show(out), "Array(5..9, [1., 3., 6., 0., 0.], datatype = sfloat)");
}

TEST(Cumulative, Messages)
{
    std::string x = Arr("1, 2, 3");
    EXPECT_EQ(result(STATS_TalvoCumulative_MP, x + ", " + kNone + ", " + kNone),
              "Error: expected 4 arguments, received: Array(1..3, [1, 2, 3]), Array(1..0, []), Array(1..0, [])");
    EXPECT_EQ(result(STATS_TalvoCumulative_MP, x + ", " + kNone + ", [1, 2, 3], 0"),
              "Error: invalid 3rd argument, expected rtable, received: [1, 2, 3]");
    EXPECT_EQ(result(STATS_TalvoCumulative_MP, x + ", " + kNone + ", Array(1..2, 1..2), 0"),
              "Error: invalid 3rd argument, expected one-dimensional rtable, received: Array(1..2, 1..2, [[0, 0], [0, 0]])");
    EXPECT_EQ(result(STATS_TalvoCumulative_MP, x + ", " + kNone + ", Array(1..2, datatype = sfloat), 0"),
              "Error: output array has insufficient number of elements: 2");
    EXPECT_EQ(result(STATS_TalvoCumulative_MP, x + ", " + kNone + ", Array(1..3, datatype = float64), 0"),
              "Error: output array has invalid data type: float64");
    EXPECT_EQ(result(STATS_TalvoCumulative_MP, x + ", " + kNone + ", Array(1..3), 0"),
              "Error: output array has invalid data type: anything");
    EXPECT_EQ(result(STATS_TalvoCumulative_MP, x + ", " + kNone + ", Array(1..3, datatype = sfloat, storage = sparse), 0"),
              "Error: output array has invalid storage type: sparse");
    EXPECT_EQ(result(STATS_TalvoCumulative_MP, "[1, 2], " + kNone + ", " + kNone + ", 0"),
              "Error: invalid data sample, expected: rtable, received [1, 2]");
}

TEST(EvaluateToFloat, SameBoundsFloatElements)
{
    EXPECT_EQ(result(STATS_TalvoEvaluateToFloat_MP, "Array(-1..1, [1, 1/4, Pi])"),
              "Array(-1..1, [1., 0.25, 3.141592654], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoEvaluateToFloat_MP, "Array(1..2, 0..1, [[1, 2], [3, 4]], datatype = int16)"),
              "Array(1..2, 0..1, [[1., 2.], [3., 4.]], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoEvaluateToFloat_MP, "Array(1..3, [7, 0, undefined], storage = sparse)"),
              "Array(1..3, [7., 0., Float(undefined)], datatype = sfloat)");
    for (const char *t : {"int8", "int32", "int64", "float64", "float32", "complex", "complex128", "sfloat"})
        EXPECT_EQ(result(STATS_TalvoEvaluateToFloat_MP, std::string("Array(1..2, [5, -2], datatype = ") + t + ")"),
                  "Array(1..2, [5., -2.], datatype = sfloat)")
            << t;
    EXPECT_EQ(result(STATS_TalvoEvaluateToFloat_MP, "Array(1..0)"), "Array(1..0, [], datatype = sfloat)");
}

TEST(EvaluateToFloat, Messages)
{
    EXPECT_EQ(result(STATS_TalvoEvaluateToFloat_MP, "Array(1..0), 2"),
              "Error: expected one argument, received: Array(1..0, []), 2");
    EXPECT_EQ(result(STATS_TalvoEvaluateToFloat_MP, "[1, 2]"),
              "Error: invalid data sample, expected: rtable, received [1, 2]");
    EXPECT_EQ(result(STATS_TalvoEvaluateToFloat_MP, "Array([1, q])"), "Error: unable to evaluate q to floating-point");
}
