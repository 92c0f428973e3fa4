// trim_test.cpp -- STATS_TalvoTrim_MP, STATS_TalvoWinsorize_MP and the
// partitioning of data blocks of every element size: the ranks each keeps
// (Trim k1..k2-1, Winsorize k1..k2), the cuts from the exact percentages,
// every data type through Winsorize, the cuts at the ends, and the shared
// messages.
#include "prep_support.hpp"

#include <algorithm>
#include <random>

using namespace stats::test;

namespace {

std::vector<double> Numbers(ALGEB a)
{
    std::vector<double> v;
    for (const std::string &s : Elements(a))
        v.push_back(std::stod(s));
    return v;
}

// The partition guarantee at k, for blocks of every integer width.
template <class T>
void ExpectPartition(int code)
{
    std::mt19937 gen{static_cast<unsigned>(code)};
    for (long n : {1L, 2L, 7L, 100L, 1001L}) {
        for (long k : {-1L, 0L, 1L, n / 2, n - 1, n, n + 3}) {
            std::vector<T> v(static_cast<size_t>(n));
            for (T &x : v)
                x = T(int(gen() % 50) - 25);
            std::vector<T> sorted = v;
            std::sort(sorted.begin(), sorted.end());
            STATS_SplitByNumericValue_MP(kv(), reinterpret_cast<char *>(v.data()), n, k, code, int(sizeof(T)));
            std::vector<T> after = v;
            std::sort(after.begin(), after.end());
            ASSERT_EQ(after, sorted) << "the block keeps its elements";
            if (k < 0 || k >= n)
                continue;
            ASSERT_EQ(v[size_t(k)], sorted[size_t(k)]) << "n " << n << " k " << k;
            for (long i = 0; i < k; ++i)
                ASSERT_LE(v[size_t(i)], v[size_t(k)]);
            for (long i = k + 1; i < n; ++i)
                ASSERT_GE(v[size_t(i)], v[size_t(k)]);
        }
    }
}

TEST(DataprepTrim, SplitByNumericValueOnEveryWidth)
{
    ExpectPartition<int8_t>(RTABLE_INTEGER8);
    ExpectPartition<int16_t>(RTABLE_INTEGER16);
    ExpectPartition<int32_t>(RTABLE_INTEGER32);
    ExpectPartition<int64_t>(RTABLE_INTEGER64);
    ExpectPartition<double>(RTABLE_FLOAT64);
    ExpectPartition<float>(RTABLE_FLOAT32);
    // Complex data have no order.
    double c[4] = {1, 0, 2, 0};
    EXPECT_EQ(error_of([&] { STATS_SplitByNumericValue_MP(kv(), reinterpret_cast<char *>(c), 2, 1, RTABLE_COMPLEX, 16); }),
              "unable to compare complex numbers");
}

const std::string kTen = "Array([7, 100, 3, 9, 1, 5, 2, 8, 6, 4])";

TEST(DataprepTrim, TrimKeepsRanksK1ToK2MinusOne)
{
    // 10 values, 10 and 90 percent: ranks 1..8 (2 .. 9 on sorted data).
    std::vector<double> v = Numbers(call(STATS_TalvoTrim_MP, kTen + ", 10, 90"));
    std::sort(v.begin(), v.end());
    EXPECT_EQ(v, (std::vector<double>{2, 3, 4, 5, 6, 7, 8, 9}));
    // lo = hi: nothing; 0 and 100: every value.
    EXPECT_EQ(result(STATS_TalvoTrim_MP, kTen + ", 30, 30"), "Array(1..0, [], datatype = sfloat)");
    EXPECT_EQ(Numbers(call(STATS_TalvoTrim_MP, kTen + ", 0, 100")).size(), 10u);
    // The cut is trunc(N p / 100) of the exact percentage: 10 values at 10
    // and 20 percent cut exactly 1 and 2 (a binary 0.01 rounded down at a
    // low precision would cut 0 and 1).
    for (int digits : {5, 10, 11, 15, 30}) {
        DigitsScope d(digits);
        EXPECT_EQ(Numbers(call(STATS_TalvoTrim_MP, kTen + ", 10, 20")), (std::vector<double>{2})) << digits;
    }
    // Undefined values are the largest.
    EXPECT_EQ(result(STATS_TalvoTrim_MP, "Array([Float(undefined), 2, 1, 3]), 0, 75"),
              "Array(1..3, [1., 2., 3.], datatype = sfloat)");
    // Any data type and storage, through the data sample's conversion.
    for (int code : {0, 2, 3, 4, 5, 6, 8}) {
        std::vector<double> v = Numbers(call(STATS_TalvoTrim_MP, ArrayText("1..4, [4, 1, 3, 2]", code) + ", 25, 75"));
        std::sort(v.begin(), v.end());
        EXPECT_EQ(v, (std::vector<double>{2, 3})) << code;
        v = Numbers(call(STATS_TalvoTrim_MP, ArrayText("1..4, [4, 1, 3, 2]", code, ", storage = sparse") + ", 25, 75"));
        std::sort(v.begin(), v.end());
        EXPECT_EQ(v, (std::vector<double>{2, 3})) << code << " sparse";
    }
    EXPECT_EQ(result(STATS_TalvoTrim_MP, "Array([1, 2+I]), 25, 75"), "Error: unable to evaluate 2+I to floating-point");
    // An undefined upper percentile cuts at 0 and keeps nothing.
    EXPECT_EQ(result(STATS_TalvoTrim_MP, kTen + ", 50, Float(undefined)"), "Array(1..0, [], datatype = sfloat)");
}

TEST(DataprepTrim, WinsorizeKeepsRanksK1ToK2)
{
    // 10 values, 10 and 80 percent: k1 = 1, k2 = 8: position 0 takes rank 1,
    // position 9 rank 8; ranks 1..8 stay.
    for (int code : {0, 2, 3, 4, 5, 6, 8}) {
        ALGEB w = call(STATS_TalvoWinsorize_MP, ArrayText("1..10, [7, 100, 3, 9, 1, 5, 2, 8, 6, 4]", code) + ", 10, 80");
        EXPECT_EQ(DataType(w), code);
        std::vector<double> v = Numbers(w);
        ASSERT_EQ(v.size(), 10u);
        EXPECT_EQ(v[0], 2) << code;
        EXPECT_EQ(v[9], 9) << code;
        std::sort(v.begin(), v.end());
        EXPECT_EQ(v, (std::vector<double>{2, 2, 3, 4, 5, 6, 7, 8, 9, 9})) << code;
    }
    // 0 and 100: unchanged values.
    std::vector<double> all = Numbers(call(STATS_TalvoWinsorize_MP, kTen + ", 0, 100"));
    std::sort(all.begin(), all.end());
    EXPECT_EQ(all, (std::vector<double>{1, 2, 3, 4, 5, 6, 7, 8, 9, 100}));
    // 100 and 100: every value the largest; 0 and 0: position 0 keeps the
    // smallest and every other takes it.
    EXPECT_EQ(Numbers(call(STATS_TalvoWinsorize_MP, kTen + ", 100, 100")), std::vector<double>(10, 100));
    EXPECT_EQ(Numbers(call(STATS_TalvoWinsorize_MP, kTen + ", 0, 0")), std::vector<double>(10, 1));
    // Bounds and settings of the data are kept; the data are not changed.
    talvo::test::run("W := Array(3..6, [4, 1, 3, 2], datatype = int16, storage = sparse):");
    ALGEB w = call(STATS_TalvoWinsorize_MP, "W, 25, 50");
    EXPECT_EQ(RTableLowerBound(kv(), w, 1), 3);
    EXPECT_EQ(show(eval("W")), "Array(3..6, [4, 1, 3, 2], datatype = int16, storage = sparse)");
    EXPECT_EQ(result(STATS_TalvoWinsorize_MP, "Array([1, 2], datatype = complex), 10, 90"),
              "Error: unable to compare complex numbers");
}

TEST(DataprepTrim, Messages)
{
    for (auto entry : {STATS_TalvoTrim_MP, STATS_TalvoWinsorize_MP}) {
        EXPECT_EQ(result(entry, kTen + ", 10"), "Error: TalvoTrim expects 3 arguments, received: " + show(eval(kTen)) + ", 10");
        EXPECT_EQ(result(entry, kTen + ", 120, 130"),
                  "Error: expected second argument (lower percentile) to be a numeric constant between 0 and 100, "
                  "received: 120");
        EXPECT_EQ(result(entry, kTen + ", -1, 50"),
                  "Error: expected second argument (lower percentile) to be a numeric constant between 0 and 100, "
                  "received: -1");
        EXPECT_EQ(result(entry, kTen + ", 10, 100.5"),
                  "Error: expected third argument (upper percentile) to be a numeric constant between 0 and 100, "
                  "received: 100.5");
        EXPECT_EQ(result(entry, kTen + ", 60, 40"),
                  "Error: the value of lower percentile is expected to be smaller than the value of upper "
                  "percentile, received: 60, 40");
        EXPECT_EQ(result(entry, "[1, 2], 10, 20"),
                  "Error: invalid data sample, expected: one-dimensional array, received [1, 2]");
        EXPECT_EQ(result(entry, "Array(1..2, 1..1), 10, 20"),
                  "Error: invalid data sample, expected: one-dimensional array, received Array(1..2, 1..1, [[0], [0]])");
        EXPECT_EQ(result(entry, kTen + ", p, 20"), "Error: unable to evaluate p to floating-point");
    }
    // Equal percentiles pass.
    EXPECT_EQ(result(STATS_TalvoWinsorize_MP, "Array([3, 1, 2]), 50, 50").substr(0, 6), "Array(");
}

} // namespace
