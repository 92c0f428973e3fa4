// sort_test.cpp -- STATS_TalvoSort_MP, STATS_TalvoRankSort_MP,
// STATS_TalvoOrder_MP and their kernels, on every data type code: order,
// uniquify, undefined values last, stable ranks, the rank table's
// convention for ties, reordering rows of one- and two-dimensional arrays
// in either storage order, and every message.
#include "prep_support.hpp"

#include "elements.hpp"

#include <algorithm>
#include <numeric>
#include <random>

using namespace stats::test;

namespace {

const std::string kValues = "[3, -1, 7, 3, 0, -5, 7, 2]";

std::string Sorted(int code, bool ascending, bool uniquify)
{
    return result(STATS_TalvoSort_MP, ArrayText("1..8, " + kValues, code) + (ascending ? ", true" : ", false") +
                                          (uniquify ? ", true" : ", false"));
}

TEST(DataprepSort, EveryRealDataType)
{
    for (int code : {0, 2, 3, 4, 5, 6, 8}) {
        ALGEB a = call(STATS_TalvoSort_MP, ArrayText("1..8, " + kValues, code) + ", true, false");
        EXPECT_EQ(DataType(a), code);
        std::vector<std::string> e = Elements(a);
        std::vector<std::string> expected = {"-5", "-1", "0", "2", "3", "3", "7", "7"};
        if (code == 6 || code == 8)
            for (std::string &s : expected)
                s += ".";
        EXPECT_EQ(e, expected) << DataTypeNames()[size_t(code)];
        ALGEB d = call(STATS_TalvoSort_MP, ArrayText("1..8, " + kValues, code) + ", false, false");
        std::reverse(expected.begin(), expected.end());
        EXPECT_EQ(Elements(d), expected) << DataTypeNames()[size_t(code)];
        ALGEB u = call(STATS_TalvoSort_MP, ArrayText("1..8, " + kValues, code) + ", 1, true");
        EXPECT_EQ(Elements(u).size(), 6u) << "uniquified " << DataTypeNames()[size_t(code)];
        EXPECT_EQ(RTableUpperBound(kv(), u, 1), 6);
    }
}

TEST(DataprepSort, ComplexDataCannotBeCompared)
{
    EXPECT_EQ(Sorted(1, true, false), "Error: unable to compare complex numbers");
    EXPECT_EQ(Sorted(7, true, false), "Error: unable to compare complex numbers");
    EXPECT_EQ(result(STATS_TalvoRankSort_MP, ArrayText("1..2, [1, 2]", 7) + ", 1, true"),
              "Error: unable to compare complex numbers");
}

TEST(DataprepSort, UndefinedLast)
{
    // A float[8] array holding NaN puts them last in ascending order.
    EXPECT_EQ(result(STATS_TalvoSort_MP,
                     "Array(1..5, [2., Float(undefined), -1., Float(undefined), 0.5], datatype = float64), true, false"),
              "Array(1..5, [-1., 0.5, 2., Float(undefined), Float(undefined)], datatype = float64)");
    EXPECT_EQ(result(STATS_TalvoSort_MP,
                     "Array(1..4, [2., Float(undefined), -1., 0.5], datatype = float32), true, false"),
              "Array(1..4, [-1., 0.5, 2., Float(undefined)], datatype = float32)");
    EXPECT_EQ(result(STATS_TalvoSort_MP, "Array(1..4, [2, Float(undefined), 1/2, -Pi]), true, false"),
              "Array(1..4, [-Pi, 1/2, 2, Float(undefined)])");
    // Descending order is the reverse: undefined first.
    EXPECT_EQ(result(STATS_TalvoSort_MP, "Array(1..3, [2., Float(undefined), 5.], datatype = float64), false, false"),
              "Array(1..3, [Float(undefined), 5., 2.], datatype = float64)");
    // Uniquify keeps one of several undefined values.
    EXPECT_EQ(result(STATS_TalvoSort_MP,
                     "Array(1..4, [Float(undefined), 1., Float(undefined), 1.], datatype = float64), true, true"),
              "Array(1..2, [1., Float(undefined)], datatype = float64)");
}

TEST(DataprepSort, BoundsAndSettingsKept)
{
    EXPECT_EQ(result(STATS_TalvoSort_MP, "Array(5..8, [4, 1, 3, 1], datatype = int32), true, false"),
              "Array(5..8, [1, 1, 3, 4], datatype = int32)");
    EXPECT_EQ(result(STATS_TalvoSort_MP, "Array(5..8, [4, 1, 3, 1], datatype = int32), true, true"),
              "Array(5..7, [1, 3, 4], datatype = int32)");
    EXPECT_EQ(result(STATS_TalvoSort_MP, "Array(1..3, [2., 1., 3.], datatype = sfloat), true, false"),
              "Array(1..3, [1., 2., 3.], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoSort_MP, "Array(1..0, []), true, true"), "Array(1..0, [])");
    // The data are not changed.
    ALGEB a = eval("Array(1..3, [3, 2, 1], datatype = int8)");
    ALGEB seq = talvo::make_expseq(std::vector<ALGEB>{a, eval("true"), eval("false")}.data(), 3);
    STATS_TalvoSort_MP(kv(), seq);
    EXPECT_EQ(show(a), "Array(1..3, [3, 2, 1], datatype = int8)");
}

TEST(DataprepSort, Messages)
{
    EXPECT_EQ(result(STATS_TalvoSort_MP, "Array([1, 2]), true"), "Error: expected 3 arguments, received: Array(1..2, [1, 2]), true");
    EXPECT_EQ(result(STATS_TalvoSort_MP, "[1, 2], true, false"),
              "Error: invalid data sample, expected: one-dimensional array, received [1, 2]");
    EXPECT_EQ(result(STATS_TalvoSort_MP, "Array(1..2, 1..2), true, false"),
              "Error: invalid data sample, expected: one-dimensional array, received Array(1..2, 1..2, [[0, 0], [0, 0]])");
    EXPECT_EQ(result(STATS_TalvoSort_MP, "Array(1..3, [1, 0, 2], storage = sparse), true, false"),
              "Error: invalid storage type, expected: dense array, received Array(1..3, [1, 0, 2], storage = sparse)");
    EXPECT_EQ(result(STATS_TalvoSort_MP, "Array([1, x]), true, false"), "Error: unable to evaluate x to floating-point");
    EXPECT_EQ(result(STATS_TalvoRankSort_MP, "Array([1, 2])"),
              "Error: expected 3 arguments, received: Array(1..2, [1, 2])");
}

TEST(DataprepRankSort, RanksAreStableAndOneBased)
{
    EXPECT_EQ(result(STATS_TalvoRankSort_MP, "Array(0..5, [30, 10, 20, 10, 40, 20]), 1, true"),
              "Array(0..5, [5, 1, 3, 2, 6, 4])");
    EXPECT_EQ(result(STATS_TalvoRankSort_MP, "Array(0..5, [30, 10, 20, 10, 40, 20]), 1, false"),
              "Array(0..5, [2, 5, 3, 6, 1, 4])");
    // The order argument as an integer: 1 ascending, anything else descending.
    EXPECT_EQ(result(STATS_TalvoRankSort_MP, "Array([3, 1, 2], datatype = int64), 7, 1"), "Array(1..3, [3, 1, 2])");
    EXPECT_EQ(result(STATS_TalvoRankSort_MP, "Array([3, 1, 2], datatype = int64), 7, 0"), "Array(1..3, [1, 3, 2])");
    // Sparse data are ranked through a dense copy.
    EXPECT_EQ(result(STATS_TalvoRankSort_MP, "Array(1..4, [0, 5, 0, -1], storage = sparse), 1, true"),
              "Array(1..4, [2, 4, 3, 1])");
}

TEST(DataprepRankSort, TableOfRunsTakesTheCompetitionRank)
{
    // Sorted: -1, 2, 2, 2, 5, 7, 7: a run shares the rank of its first element.
    EXPECT_EQ(result(STATS_TalvoRankSort_MP, "Array([7, 2, -1, 2, 5, 7, 2], datatype = int16), 0, true"),
              "table([-1 = 1, 2 = 2, 5 = 5, 7 = 6])");
    EXPECT_EQ(result(STATS_TalvoRankSort_MP, "Array([7, 2, -1, 2, 5, 7, 2], datatype = int16), 0, false"),
              "table([7 = 1, 5 = 3, 2 = 4, -1 = 7])");
    EXPECT_EQ(result(STATS_TalvoRankSort_MP, "Array([0.5, 0.25, 0.5], datatype = float64), 0, true"),
              "table([0.25 = 1, 0.5 = 2])");
    EXPECT_EQ(result(STATS_TalvoRankSort_MP, "Array([]), 0, true"), "table([])");
    // Every key must be numeric.
    EXPECT_EQ(result(STATS_TalvoRankSort_MP, "Array([Pi]), 0, true"), "Error: expected: numeric data, received: Pi");
    EXPECT_EQ(result(STATS_TalvoRankSort_MP, "Array([sqrt(2), 1]), 0, true"),
              "Error: expected: numeric data, received: sqrt(2)");
    EXPECT_EQ(result(STATS_TalvoRankSort_MP, "Array([1, y]), 0, true"), "Error: unable to evaluate y to floating-point");
}

// Ranks agree with sorting: element i of the data is element rank(i) of the
// sorted array, for random data of every real type.
TEST(DataprepRankSort, AgreesWithSort)
{
    std::mt19937 gen(11);
    for (int code : {0, 2, 3, 4, 5, 6, 8}) {
        std::string values = "[";
        for (int i = 0; i < 200; ++i)
            values += (i ? ", " : "") + std::to_string(int(gen() % 41) - 20);
        values += "]";
        std::string data = ArrayText("1..200, " + values, code);
        std::vector<std::string> sorted = Elements(call(STATS_TalvoSort_MP, data + ", true, false"));
        std::vector<std::string> ranks = Elements(call(STATS_TalvoRankSort_MP, data + ", 1, true"));
        std::vector<std::string> elements = Elements(eval(data));
        for (size_t i = 0; i < elements.size(); ++i)
            ASSERT_EQ(sorted[size_t(std::stoi(ranks[i]) - 1)], elements[i]) << DataTypeNames()[size_t(code)];
        ALGEB ordered = call(STATS_TalvoOrder_MP, data + ", " + show(call(STATS_TalvoRankSort_MP, data + ", 1, true")) +
                                                      ", " + ArrayText("1..200", code) + ", false");
        EXPECT_EQ(Elements(ordered), sorted);
    }
}

// Arrays of floats are ranked through order keys (sign, exponent and the
// leading 32 bits of the mantissa) with the exact comparison for equal
// keys: the ranks must be those of the exact order, stable, for values that
// share their leading bits, exponents near the ends of the float range,
// zeros of both signs, infinities and undefined values, in both directions.
TEST(DataprepRankSort, FloatKeysGiveTheExactOrder)
{
    DigitsScope digits(30);
    std::mt19937 gen(5);
    std::vector<std::string> pool = {"0.", "-0.", "Float(infinity)", "Float(-infinity)", "Float(undefined)",
                                     "1.000000000000000000000000000001", "1.000000000000000000000000000002", "1.",
                                     "-1.000000000000000000000000000001", "-1.", "Float(3, -300000000)",
                                     "Float(5, -300000000)", "Float(-3, -300000000)", "Float(7, 300000000)",
                                     "Float(9, 300000000)", "Float(-9, 300000000)", "2.5", "2.5000000001", "-2.5", "1/3", "0.3333333333"};
    std::string values = "[";
    std::vector<TalvoFloat> floats;
    for (int i = 0; i < 300; ++i) {
        std::string t = gen() % 3 == 0 ? pool[gen() % pool.size()]
                                       : std::to_string(int(gen() % 1000) - 500) + "." + std::to_string(gen() % 1000);
        ALGEB f = eval("evalf(" + t + ")");
        floats.push_back(TalvoFloat::from_handle(f));
        values += (i ? ", evalf(" : "evalf(") + t + ")";
    }
    values += "]";
    talvo::test::run("K := Array(1..300, " + values + ", datatype = sfloat):");
    for (bool ascending : {true, false}) {
        std::vector<size_t> order(300);
        std::iota(order.begin(), order.end(), 0);
        std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) {
            return ascending ? stats::prep::FloatBefore(floats[a], floats[b])
                             : stats::prep::FloatBefore(floats[b], floats[a]);
        });
        std::vector<std::string> ranks = Elements(call(STATS_TalvoRankSort_MP, std::string("K, 1, ") + (ascending ? "true" : "false")));
        for (size_t k = 0; k < 300; ++k)
            ASSERT_EQ(ranks[order[k]], std::to_string(k + 1)) << (ascending ? "ascending" : "descending") << " rank " << k + 1;
    }
}

TEST(DataprepOrder, OneAndTwoDimensions)
{
    EXPECT_EQ(result(STATS_TalvoOrder_MP, "Array([10, 20, 30]), Array([2, 3, 1]), Array(1..3), false"),
              "Array(1..3, [30, 10, 20])");
    // Ranks of any data type.
    EXPECT_EQ(result(STATS_TalvoOrder_MP,
                     "Array([1.5, 2.5], datatype = float32), Array([2., 1.], datatype = float64), "
                     "Array(1..2, datatype = float32), false"),
              "Array(1..2, [2.5, 1.5], datatype = float32)");
    const std::string rows = "Array(1..3, 1..2, [[1, 2], [3, 4], [5, 6]]";
    for (std::string order : {"Fortran_order", "C_order"}) {
        for (std::string target_order : {"Fortran_order", "C_order"}) {
            ALGEB r = call(STATS_TalvoOrder_MP, rows + ", order = " + order + "), Array([3, 1, 2], datatype = int8), " +
                                                    "Array(1..3, 1..2, order = " + target_order + "), false");
            EXPECT_EQ(show(eval(show(r) + "[1, 1]")), "3") << order << " -> " << target_order;
            EXPECT_EQ(show(eval(show(r) + "[1, 2]")), "4");
            EXPECT_EQ(show(eval(show(r) + "[2, 1]")), "5");
            EXPECT_EQ(show(eval(show(r) + "[3, 2]")), "2");
        }
    }
    // A sparse target is filled in its own storage.
    EXPECT_EQ(result(STATS_TalvoOrder_MP, "Array([7, 0, 9]), Array([3, 2, 1]), Array(1..3, storage = sparse), false"),
              "Array(1..3, [9, 0, 7], storage = sparse)");
    // The source as its own target.
    talvo::test::run("S := Array(1..4, [4, 3, 2, 1], datatype = int32):");
    EXPECT_EQ(result(STATS_TalvoOrder_MP, "S, Array([4, 3, 2, 1]), S, false"), "Array(1..4, [1, 2, 3, 4], datatype = int32)");
    EXPECT_EQ(show(eval("S")), "Array(1..4, [1, 2, 3, 4], datatype = int32)");
}

TEST(DataprepOrder, Uniquify)
{
    talvo::test::run("T := Array(1..5, datatype = float64):");
    EXPECT_EQ(result(STATS_TalvoOrder_MP, "Array([2., 1., 2., 3., 1.], datatype = float64), Array([3, 1, 4, 5, 2]), T, true"),
              "Array(1..3, [1., 2., 3.], datatype = float64)");
    EXPECT_EQ(show(eval("T")), "Array(1..5, [1., 1., 2., 2., 3.], datatype = float64)") << "the target keeps every element";
}

TEST(DataprepOrder, Messages)
{
    EXPECT_EQ(result(STATS_TalvoOrder_MP, "Array([1]), Array([1]), Array(1..1)"),
              "Error: expected 4 arguments, received: Array(1..1, [1]), Array(1..1, [1]), Array(1..1, [0])");
    EXPECT_EQ(result(STATS_TalvoOrder_MP, "[1], Array([1]), Array(1..1), false"),
              "Error: expected rtables as the source, received: [1]");
    EXPECT_EQ(result(STATS_TalvoOrder_MP, "Array([1]), Array([1]), 5, false"),
              "Error: expected rtables as the target, received: 5");
    EXPECT_EQ(result(STATS_TalvoOrder_MP, "Array([1]), [1], Array(1..1), false"),
              "Error: invalid ranks data, expected: one-dimensional array, received [1]");
    EXPECT_EQ(result(STATS_TalvoOrder_MP, "Array([1]), Array(1..1, 1..1), Array(1..1), false"),
              "Error: invalid ranks data, expected: one-dimensional array, received Array(1..1, 1..1, [[0]])");
    const std::string size = "Error: data sample and ranks table are expected to have the same number of rows/elements";
    EXPECT_EQ(result(STATS_TalvoOrder_MP, "Array([1, 2]), Array([1]), Array(1..2), false"), size);
    EXPECT_EQ(result(STATS_TalvoOrder_MP, "Array([1, 2]), Array([1, 2]), Array(1..3), false"), size);
    EXPECT_EQ(result(STATS_TalvoOrder_MP, "Array(1..2, 1..2), Array([1, 2]), Array(1..2, 1..3), false"), size);
    EXPECT_EQ(result(STATS_TalvoOrder_MP, "Array([1, 2]), Array([1, 2]), Array(1..2, datatype = int8), false"),
              "Error: the source and the target must have the same datatype");
    EXPECT_EQ(result(STATS_TalvoOrder_MP, "Array(1..2, 1..2), Array([1, 2]), Array(1..2, 1..2), true"),
              "Error: only one-dimensional rtabled can be uniquified");
    EXPECT_EQ(result(STATS_TalvoOrder_MP, "Array([1, 2]), Array([1, 3]), Array(1..2), false"), "Error: invalid rank: 3");
    EXPECT_EQ(result(STATS_TalvoOrder_MP, "Array([1, 2]), Array([0, 1]), Array(1..2), false"), "Error: invalid rank: 0");
    EXPECT_EQ(result(STATS_TalvoOrder_MP, "Array([1, 2]), Array([1.5, 1.]), Array(1..2), false"),
              "Error: invalid rank: 1.5");
    EXPECT_EQ(result(STATS_TalvoOrder_MP, "Array([1, 2]), Array([x, 1]), Array(1..2), false"), "Error: invalid rank: x");
    EXPECT_EQ(result(STATS_TalvoOrder_MP, "Array([1, 2, 3]), Array([2, 1, 2], datatype = int8), Array(1..3), false"),
              "Error: duplicate rank: 2");
    EXPECT_EQ(result(STATS_TalvoOrder_MP, "Array([1, 2], datatype = complex), Array([2, 1]), "
                                          "Array(1..2, datatype = complex), true"),
              "Error: unable to compare complex numbers");
}

TEST(DataprepRankKernels, RankOrderDataBlockStrides)
{
    // Two rows of three 2-byte elements in C order, moved to swapped rows of
    // a Fortran-order target.
    int16_t source[6] = {1, 2, 3, 4, 5, 6}, target[6] = {0};
    unsigned ranks[2] = {1, 0};
    STATS_RankOrderDataBlock_MP(kv(), reinterpret_cast<const char *>(source), 3 * 2, 2,
                                reinterpret_cast<char *>(target), 2, 2 * 2, ranks, 2, 3, 2);
    // Target (Fortran, 2 x 3): row 0 = source row 1, row 1 = source row 0.
    int16_t expected[6] = {4, 1, 5, 2, 6, 3};
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(target[i], expected[i]) << i;
    unsigned r[4];
    int64_t block[4] = {5, -3, 5, 0};
    STATS_RankSortDataBlock_MP(kv(), block, r, 4, RTABLE_INTEGER64, 1);
    EXPECT_EQ(std::vector<unsigned>(r, r + 4), (std::vector<unsigned>{2, 0, 3, 1}));
    STATS_RankSortDataBlock_MP(kv(), block, r, 4, RTABLE_INTEGER64, 2);
    EXPECT_EQ(std::vector<unsigned>(r, r + 4), (std::vector<unsigned>{0, 3, 1, 2}));
}

} // namespace
