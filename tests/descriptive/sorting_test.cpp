// sorting_test.cpp -- the sorting and selection kernels: the order with
// missing values at the top, weights that follow their values, the
// quicksort's cutoff and double index step, selection and its clamp, and
// the heap sort's first child.
#include "stats_support.hpp"

#include "sorting.hpp"

#include <algorithm>
#include <random>
#include <vector>

using namespace stats::test;

namespace {

const TalvoFloat U = TalvoFloatUndefined();

std::vector<TalvoFloat> Floats(std::initializer_list<double> v)
{
    std::vector<TalvoFloat> out;
    for (double x : v)
        out.push_back(std::isnan(x) ? TalvoFloatUndefined() : TalvoFloat(x));
    return out;
}

// Weights 0, 1, ..., n-1: after a sort, w[i] says where a[i] came from.
std::vector<TalvoFloat> Indices(size_t n)
{
    std::vector<TalvoFloat> w;
    for (size_t i = 0; i < n; ++i)
        w.push_back(TalvoFloat(double(i)));
    return w;
}

std::vector<double> Doubles(const std::vector<TalvoFloat> &v)
{
    std::vector<double> out;
    for (const TalvoFloat &x : v)
        out.push_back(IsTalvoFloatUndefined(x) ? NAN : x.to_double());
    return out;
}

std::vector<int> Ints(const std::vector<TalvoFloat> &v)
{
    std::vector<int> out;
    for (const TalvoFloat &x : v)
        out.push_back(int(x.to_double()));
    return out;
}

// Random values on a coarse grid (many ties) with about one in eight missing.
std::vector<TalvoFloat> RandomData(int n, unsigned seed, int grid = 50)
{
    std::mt19937 g(seed);
    std::vector<TalvoFloat> a;
    for (int i = 0; i < n; ++i)
        a.push_back(g() % 8 == 0 ? TalvoFloatUndefined() : TalvoFloat(double(int(g() % grid) - grid / 2) / 4));
    return a;
}

// a is ascending in the order where undefined is above everything.
bool Ascending(const std::vector<TalvoFloat> &a)
{
    for (size_t i = 1; i < a.size(); ++i) {
        if (IsTalvoFloatUndefined(a[i]))
            continue;
        if (IsTalvoFloatUndefined(a[i - 1]) || a[i - 1] > a[i])
            return false;
    }
    return true;
}

bool Same(const TalvoFloat &x, const TalvoFloat &y)
{
    return IsTalvoFloatUndefined(x) ? IsTalvoFloatUndefined(y) : x == y;
}

} // namespace

TEST(QuickSort, RangesOfFiveOrFewerAreLeftAlone)
{
    auto a = Floats({5, 4, 3, 2, 1});
    STATS_QuickSort_MP(a.data(), 0, 4);
    EXPECT_EQ(Doubles(a), (std::vector<double>{5, 4, 3, 2, 1}));
    auto w = Indices(5);
    STATS_QuickSort_MP(a.data(), w.data(), 0, 4);
    EXPECT_EQ(Ints(w), (std::vector<int>{0, 1, 2, 3, 4}));
    // Six elements are partitioned.
    auto b = Floats({6, 5, 4, 3, 2, 1});
    STATS_QuickSort_MP(b.data(), 0, 5);
    EXPECT_NE(Doubles(b), (std::vector<double>{6, 5, 4, 3, 2, 1}));
    // Inside a larger array only the given range is touched.
    auto c = Floats({9, 8, 7, 6, 5, 4, 3});
    STATS_QuickSort_MP(c.data(), 1, 5);
    EXPECT_EQ(Doubles(c), (std::vector<double>{9, 8, 7, 6, 5, 4, 3}));
    // Empty and one-element ranges.
    STATS_QuickSort_MP(c.data(), 3, 2);
    STATS_QuickSort_MP(c.data(), 3, 3);
    STATS_SortData_MP(c.data(), 0);
    STATS_SortData_MP(c.data(), 1);
    EXPECT_EQ(Doubles(c), (std::vector<double>{9, 8, 7, 6, 5, 4, 3}));
}

TEST(QuickSort, TheDoubleIndexStepDecidesTheOrderOfEqualValuesWeights)
{
    // Six equal values: the median of three moves weight 2 to the pivot
    // place 4; the up scan tests 1 for undefined and compares 2, the down
    // scan tests 3 and compares 2; both stop at 2 (exchanged with itself),
    // then at 4 and 0, and the pivot stays.  A scan that compared every
    // element would exchange 1 and 3 and give 0 3 4 2 1 5.
    auto a = Floats({2, 2, 2, 2, 2, 2});
    auto w = Indices(6);
    STATS_QuickSort_MP(a.data(), w.data(), 0, 5);
    EXPECT_EQ(Ints(w), (std::vector<int>{0, 1, 4, 3, 2, 5}));
    a = Floats({2, 2, 2, 2, 2, 2});
    w = Indices(6);
    STATS_SortData_MP(a.data(), w.data(), 6);
    EXPECT_EQ(Ints(w), (std::vector<int>{0, 1, 4, 3, 2, 5}));
}

TEST(SortData, SortsRandomDataWithMissingValuesAndWeightsFollow)
{
    for (int n : {2, 6, 7, 50, 1000, 20000}) {
        for (unsigned seed : {1u, 2u, 3u}) {
            auto orig = RandomData(n, seed);
            auto a = orig;
            auto w = Indices(size_t(n));
            STATS_SortData_MP(a.data(), w.data(), n);
            EXPECT_TRUE(Ascending(a)) << n;
            std::vector<bool> seen(static_cast<size_t>(n), false);
            for (int i = 0; i < n; ++i) {
                int from = int(w[size_t(i)].to_double());
                ASSERT_TRUE(from >= 0 && from < n && !seen[size_t(from)]);
                seen[size_t(from)] = true;
                EXPECT_TRUE(Same(a[size_t(i)], orig[size_t(from)])) << "value " << i << " lost its weight";
            }
            auto b = orig;
            STATS_SortData_MP(b.data(), n);
            for (int i = 0; i < n; ++i)
                EXPECT_TRUE(Same(a[size_t(i)], b[size_t(i)]));
            // The missing values are the top ones.
            int missing = int(std::count_if(orig.begin(), orig.end(), IsTalvoFloatUndefined));
            for (int i = 0; i < n; ++i)
                EXPECT_EQ(IsTalvoFloatUndefined(a[size_t(i)]), i >= n - missing);
        }
    }
}

TEST(SortData, GivesWhatTheQuicksortAndAnInsertionPassGive)
{
    // The final pass is a stable merge; it must leave exactly what the
    // insertion sort leaves, weights of equal and of missing values included.
    for (unsigned seed : {4u, 5u, 6u, 7u}) {
        const int n = 3000;
        auto orig = RandomData(n, seed, 20);
        auto a = orig, b = orig;
        auto wa = Indices(n), wb = Indices(n);
        STATS_SortData_MP(a.data(), wa.data(), n);
        STATS_QuickSort_MP(b.data(), wb.data(), 0, n - 1);
        STATS_InsertionSort_MP(b.data(), wb.data(), 0, n - 1);
        EXPECT_EQ(Ints(wa), Ints(wb)) << seed;
    }
}

namespace {

// The quicksort's steps written out literally on doubles (NaN for a missing
// value), recursing on (lo, j) and then (i + 1, hi), with the down scan
// stopped at the bottom of its range.  The library's quicksort must move
// exactly the same elements, weights included.
void ReferenceQuickSort(std::vector<double> &a, std::vector<int> &w, int lo, int hi)
{
    if (hi - lo <= 4)
        return;
    auto swap = [&](int l, int r) {
        std::swap(a[size_t(l)], a[size_t(r)]);
        std::swap(w[size_t(l)], w[size_t(r)]);
    };
    auto order = [&](int l, int r) {
        if (!std::isnan(a[size_t(r)]) && (std::isnan(a[size_t(l)]) || a[size_t(l)] > a[size_t(r)]))
            swap(l, r);
    };
    int mid = (lo + hi) / 2;
    order(lo, mid);
    order(lo, hi);
    order(mid, hi);
    swap(mid, hi - 1);
    double p = a[size_t(hi - 1)];
    int i = lo, j = hi - 1;
    for (;;) {
        for (;;) {
            ++i;
            if (std::isnan(a[size_t(i)]))
                break;
            if (std::isnan(p))
                continue;
            ++i;
            if (!(a[size_t(i)] < p))
                break;
        }
        for (;;) {
            if (std::isnan(p))
                break;
            if (j - 1 < lo) {
                j = lo - 1;
                break;
            }
            --j;
            if (std::isnan(a[size_t(j)]))
                continue;
            if (j - 1 < lo) {
                j = lo - 1;
                break;
            }
            --j;
            if (!(a[size_t(j)] > p))
                break;
        }
        if (i <= j) {
            swap(i, j);
            continue;
        }
        swap(i, hi - 1);
        ReferenceQuickSort(a, w, lo, j);
        ReferenceQuickSort(a, w, i + 1, hi);
        return;
    }
}

} // namespace

TEST(QuickSort, AMissingPivotIsPartitionedAsItStands)
{
    // A range whose median of three is missing is partitioned around the
    // missing pivot, which exchanges missing values among themselves and
    // takes one element off the top.  Small inputs only: k missing values
    // cost about k^2/2 steps.
    for (int n : {6, 7, 12, 40, 300}) {
        for (int every : {1, 2, 3, 5}) { // all missing, half, a third, a fifth
            for (unsigned seed : {11u, 12u}) {
                auto orig = RandomData(n, seed, 10);
                for (int i = 0; i < n; i += every)
                    orig[size_t(i)] = U;
                auto a = orig;
                auto w = Indices(size_t(n));
                STATS_QuickSort_MP(a.data(), w.data(), 0, n - 1);
                std::vector<double> ra = Doubles(orig);
                std::vector<int> rw(static_cast<size_t>(n));
                for (int i = 0; i < n; ++i)
                    rw[size_t(i)] = i;
                ReferenceQuickSort(ra, rw, 0, n - 1);
                ASSERT_EQ(Ints(w), rw) << n << " every " << every << " seed " << seed;
                // The full sort is the stable pass over that.
                auto b = orig;
                auto wb = Indices(size_t(n));
                STATS_SortData_MP(b.data(), wb.data(), n);
                EXPECT_TRUE(Ascending(b));
            }
        }
    }
    // All missing: nothing but the order of the weights changes.
    auto a = Floats({NAN, NAN, NAN, NAN, NAN, NAN, NAN});
    auto w = Indices(7);
    STATS_QuickSort_MP(a.data(), w.data(), 0, 6);
    std::vector<double> ra(7, NAN);
    std::vector<int> rw{0, 1, 2, 3, 4, 5, 6};
    ReferenceQuickSort(ra, rw, 0, 6);
    EXPECT_EQ(Ints(w), rw);
}

TEST(InsertionSort, IsStableAndKeepsMissingValuesAtTheTop)
{
    auto a = Floats({3, NAN, 1, 3, NAN, 2, 1});
    auto w = Indices(7);
    STATS_InsertionSort_MP(a.data(), w.data(), 0, 6);
    EXPECT_EQ(Ints(w), (std::vector<int>{2, 6, 5, 0, 3, 1, 4}));
    auto b = Floats({3, NAN, 1, 3, NAN, 2, 1});
    STATS_InsertionSort_MP(b.data(), 2, 5); // range only
    EXPECT_EQ(Doubles(b)[0], 3);
    EXPECT_EQ(Doubles(b)[2], 1);
    EXPECT_EQ(Doubles(b)[3], 2);
    EXPECT_EQ(Doubles(b)[4], 3);
    EXPECT_TRUE(std::isnan(Doubles(b)[5]));
    EXPECT_EQ(Doubles(b)[6], 1);
}

TEST(QuickSelect, FindsEveryRankAndLeavesAPartialOrder)
{
    for (int n : {1, 2, 3, 7, 100, 1001}) {
        auto orig = RandomData(n, unsigned(n));
        auto sorted = orig;
        STATS_SortData_MP(sorted.data(), n);
        for (int k = 0; k < n; k += std::max(1, n / 37)) {
            auto a = orig;
            TalvoFloat q = STATS_QuickSelect_MP(a.data(), n, k);
            EXPECT_TRUE(Same(q, sorted[size_t(k)])) << n << " " << k;
            for (int i = 0; i < n; ++i) {
                const TalvoFloat &x = a[size_t(i)];
                bool below = !IsTalvoFloatUndefined(x) && (IsTalvoFloatUndefined(q) || x < q);
                bool above = !IsTalvoFloatUndefined(q) && (IsTalvoFloatUndefined(x) || x > q);
                if (i < k) {
                    EXPECT_FALSE(above) << i;
                } else if (i > k) {
                    EXPECT_FALSE(below) << i;
                }
            }
        }
    }
}

TEST(QuickSelect, ARankPastTheEndPartitionsAndReadsNothing)
{
    // Rank n of n values: the partitioning narrows onto the top and leaves
    // the two largest values there in order; nothing is read past the end.
    std::mt19937 g(3);
    for (int n : {1, 2, 3, 5, 8, 13, 40}) {
        for (int round = 0; round < 20; ++round) {
            std::vector<TalvoFloat> a;
            for (int i = 0; i < n; ++i)
                a.push_back(TalvoFloat(double(g() % 100)));
            auto sorted = a;
            std::sort(sorted.begin(), sorted.end(), [](const TalvoFloat &x, const TalvoFloat &y) { return x < y; });
            EXPECT_TRUE(IsTalvoFloatUndefined(STATS_QuickSelect_MP(a.data(), n, n)));
            EXPECT_TRUE(a[size_t(n - 1)] == sorted[size_t(n - 1)]) << n;
            if (n >= 2) {
                EXPECT_TRUE(a[size_t(n - 2)] == sorted[size_t(n - 2)]) << n;
            }
        }
    }
}

TEST(QuickSelect, MissingValuesCountAsTheLargest)
{
    auto a = Floats({3, NAN, 1, NAN, 2});
    EXPECT_EQ(STATS_QuickSelect_MP(a.data(), 5, 5 / 2).to_double(), 3);
    a = Floats({3, NAN, 1, NAN, 2});
    EXPECT_TRUE(IsTalvoFloatUndefined(STATS_QuickSelect_MP(a.data(), 5, 3)));
    a = Floats({NAN, NAN, NAN, 4});
    EXPECT_EQ(STATS_QuickSelect_MP(a.data(), 4, 0).to_double(), 4);
    a = Floats({NAN, 4});
    EXPECT_EQ(STATS_QuickSelect_MP(a.data(), 2, 0).to_double(), 4);
}

TEST(QuickSelect, TheWeightedFormClampsTheRankAndWeightsFollow)
{
    auto a = Floats({5, 2, 9, 1, 7, 3});
    auto w = Indices(6);
    EXPECT_EQ(STATS_QuickSelect_MP(a.data(), w.data(), 6, -3).to_double(), 1);
    EXPECT_EQ(STATS_QuickSelect_MP(a.data(), w.data(), 6, 6 + 2).to_double(), 9);
    EXPECT_EQ(STATS_QuickSelect_MP(a.data(), w.data(), 6, 6).to_double(), 9);
    auto orig = Floats({5, 2, 9, 1, 7, 3});
    for (int i = 0; i < 6; ++i)
        EXPECT_TRUE(a[size_t(i)] == orig[size_t(int(w[size_t(i)].to_double()))]);
    EXPECT_EQ(STATS_QuickSelect_MP(a.data(), w.data(), 6, 2).to_double(), 3);
    // Nothing to select from: nothing is read.
    EXPECT_TRUE(IsTalvoFloatUndefined(STATS_QuickSelect_MP(a.data(), w.data(), 0, 0)));
    EXPECT_TRUE(IsTalvoFloatUndefined(STATS_QuickSelect_MP(a.data(), 0, 0)));
}

TEST(HeapSort, TheSiftDownStartsAtLoPlusOne)
{
    // The children of 1 are taken to be 2 and 3: 9 moves up from index 2.
    auto a = Floats({0, 1, 9, 5});
    auto w = Indices(4);
    STATS_Shift_MP(a.data(), w.data(), 1, 3);
    EXPECT_EQ(Doubles(a), (std::vector<double>{0, 9, 1, 5}));
    EXPECT_EQ(Ints(w), (std::vector<int>{0, 2, 1, 3}));
    // From the root it is the usual sift-down.
    a = Floats({1, 4, 7, 2, 3});
    w = Indices(5);
    STATS_Shift_MP(a.data(), w.data(), 0, 4);
    EXPECT_EQ(Doubles(a), (std::vector<double>{7, 4, 1, 2, 3}));
    EXPECT_EQ(Ints(w), (std::vector<int>{2, 1, 0, 3, 4}));
}

TEST(HeapSort, BuildsItsHeapWithThatChildAndSoNeedNotSort)
{
    // 1 2 3 4 5: building from s = 1 compares 2 with 3 and 4 (not 4 and 5),
    // so the heap is not one and the last two come out exchanged.
    auto a = Floats({1, 2, 3, 4, 5});
    auto w = Indices(5);
    STATS_HeapSort_MP(a.data(), w.data(), 5);
    EXPECT_EQ(Doubles(a), (std::vector<double>{1, 2, 3, 5, 4}));
    EXPECT_EQ(Ints(w), (std::vector<int>{0, 1, 2, 4, 3}));
    a = Floats({5, 4, 3, 2, 1, 0});
    w = Indices(6);
    STATS_HeapSort_MP(a.data(), w.data(), 6);
    EXPECT_EQ(Doubles(a), (std::vector<double>{0, 1, 2, 3, 4, 5}));
    EXPECT_EQ(Ints(w), (std::vector<int>{5, 4, 3, 2, 1, 0}));
    a = Floats({7});
    w = Indices(1);
    STATS_HeapSort_MP(a.data(), w.data(), 1);
    STATS_HeapSort_MP(a.data(), w.data(), 0);
    EXPECT_EQ(Doubles(a), (std::vector<double>{7}));
}
