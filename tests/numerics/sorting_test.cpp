// sorting_test.cpp -- m01cac (sorting floats) and m01dsc (ranking through a
// comparison function): order, the multiset kept, undefined values, the
// patterns that defeat a plain median of three, stability of the ranks in
// both orders, strides of either sign, and every failure.
#include "checks.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

bool IsNan(const TalvoFloat &x) { return mpfr_nan_p(x.mpfr()) != 0; }

// The total order: undefined above every number.
bool Before(const TalvoFloat &a, const TalvoFloat &b)
{
    if (IsNan(a))
        return false;
    if (IsNan(b))
        return true;
    return mpfr_less_p(a.mpfr(), b.mpfr()) != 0;
}

bool SameValue(const TalvoFloat &a, const TalvoFloat &b)
{
    if (IsNan(a) || IsNan(b))
        return IsNan(a) && IsNan(b);
    return mpfr_equal_p(a.mpfr(), b.mpfr()) != 0;
}

std::vector<TalvoFloat> Floats(const std::vector<double> &v)
{
    std::vector<TalvoFloat> r;
    for (double d : v)
        r.push_back(std::isnan(d) ? TalvoFloatUndefined() : TalvoFloat(d));
    return r;
}

// Sorts with m01cac and checks the result against std::stable_sort of the
// same values under the total order (reversed for descending).
void ExpectSorts(std::vector<TalvoFloat> v, Nag_SortOrder order, const std::string &what)
{
    std::vector<TalvoFloat> expected = v;
    std::stable_sort(expected.begin(), expected.end(), Before);
    if (order == Nag_Descending)
        std::reverse(expected.begin(), expected.end());
    NagError fail{};
    TalvoMP_m01cac(v.data(), v.size(), order, &fail);
    ASSERT_EQ(fail.code, NE_NOERROR) << fail.message;
    ASSERT_EQ(v.size(), expected.size());
    for (size_t i = 0; i < v.size(); ++i)
        ASSERT_TRUE(SameValue(v[i], expected[i])) << what << ": position " << i << " of " << v.size();
}

TEST(SortingM01cac, SmallCasesAndUndefinedLast)
{
    ExpectSorts({}, Nag_Ascending, "empty");
    ExpectSorts(Floats({3}), Nag_Ascending, "one");
    ExpectSorts(Floats({2, 1}), Nag_Ascending, "two");
    ExpectSorts(Floats({NAN, 1, NAN, -2, 0.5}), Nag_Ascending, "undefined");
    std::vector<TalvoFloat> v = Floats({NAN, 1, -3, NAN, 2});
    NagError fail{};
    TalvoMP_m01cac(v.data(), v.size(), Nag_Ascending, &fail);
    EXPECT_EQ(v[0].to_double(), -3);
    EXPECT_TRUE(IsNan(v[3]) && IsNan(v[4]));
    TalvoMP_m01cac(v.data(), v.size(), Nag_Descending, &fail);
    EXPECT_TRUE(IsNan(v[0]) && IsNan(v[1])) << "descending is the ascending order reversed";
    EXPECT_EQ(v[4].to_double(), -3);
}

TEST(SortingM01cac, RandomDataOfManySizes)
{
    std::mt19937_64 gen(7);
    std::normal_distribution<double> normal;
    for (size_t n : {2u, 3u, 15u, 16u, 17u, 31u, 100u, 1000u, 65537u}) {
        std::vector<double> d(n);
        for (double &x : d)
            x = normal(gen);
        ExpectSorts(Floats(d), Nag_Ascending, "random " + std::to_string(n));
        ExpectSorts(Floats(d), Nag_Descending, "random descending " + std::to_string(n));
        for (double &x : d)
            x = std::floor(x * 2); // many equal values
        ExpectSorts(Floats(d), Nag_Ascending, "ties " + std::to_string(n));
    }
}

TEST(SortingM01cac, PatternsThatDefeatAMedianOfThree)
{
    const size_t n = 200000;
    std::vector<double> sorted(n), reversed(n), organ(n), saw(n), equal(n, 4.0), killer(n);
    for (size_t i = 0; i < n; ++i) {
        sorted[i] = double(i);
        reversed[i] = double(n - i);
        organ[i] = double(std::min(i, n - i));
        saw[i] = double(i % 97);
    }
    // Musser's median-of-three killer: every partition of the plain
    // algorithm would split off two elements.
    size_t k = n / 2;
    for (size_t i = 1; i <= k; ++i) {
        if (i % 2 == 1) {
            killer[i - 1] = double(i);
            killer[i] = double(k + i);
        }
        killer[k + i - 1] = double(2 * i);
    }
    for (auto *p : {&sorted, &reversed, &organ, &saw, &equal, &killer})
        ExpectSorts(Floats(*p), Nag_Ascending, "pattern");
}

TEST(SortingM01cac, MixedPrecisionsAndSpecialValues)
{
    std::vector<TalvoFloat> v;
    v.push_back(TalvoFloat::from_handle(talvo_float_parse("0.1", 300)));
    v.push_back(TalvoFloat::from_handle(talvo_float_parse("0.1", 20)));
    v.push_back(TalvoFloat(-0.0));
    v.push_back(TalvoFloat(0.0));
    v.push_back(TalvoFloat(1.0) / TalvoFloat(0.0));
    v.push_back(TalvoFloat(-1.0) / TalvoFloat(0.0));
    v.push_back(TalvoFloatUndefined());
    ExpectSorts(v, Nag_Ascending, "special");
    NagError fail{};
    TalvoMP_m01cac(v.data(), v.size(), Nag_Ascending, &fail);
    EXPECT_TRUE(mpfr_inf_p(v[0].mpfr()) && mpfr_sgn(v[0].mpfr()) < 0);
    EXPECT_TRUE(mpfr_inf_p(v[5].mpfr()) && mpfr_sgn(v[5].mpfr()) > 0);
    EXPECT_TRUE(IsNan(v[6]));
}

TEST(SortingM01cac, BadOrder)
{
    std::vector<TalvoFloat> v = Floats({2, 1});
    NagError fail{};
    TalvoMP_m01cac(v.data(), v.size(), Nag_SortOrder(5), &fail);
    EXPECT_EQ(fail.code, NE_BAD_PARAM);
    EXPECT_NE(std::string(fail.message).find("TalvoMP_m01cac: order = 5"), std::string::npos) << fail.message;
    EXPECT_EQ(v[0].to_double(), 2) << "nothing is moved after a failure";
}

// --- m01dsc ----------------------------------------------------------------

struct Item {
    int key;
    int id;
};

Integer CompareItems(const Nag_Pointer a, const Nag_Pointer b)
{
    int x = static_cast<const Item *>(a)->key, y = static_cast<const Item *>(b)->key;
    return x < y ? -1 : x > y ? 1 : 0;
}

std::vector<size_t> Rank(std::vector<Item> &items, Nag_SortOrder order, NagError *fail)
{
    std::vector<size_t> ranks(items.size(), SIZE_MAX);
    TalvoMP_m01dsc(items.data(), items.size(), sizeof(Item), CompareItems, order, ranks.data(), fail);
    return ranks;
}

// The ranks must be a permutation that orders the keys and, among equal
// keys, keeps the order of the input (in both directions).
void ExpectStableRanks(const std::vector<Item> &items, const std::vector<size_t> &ranks, bool ascending)
{
    size_t n = items.size();
    std::vector<int> at(n, -1);
    for (size_t i = 0; i < n; ++i) {
        ASSERT_LT(ranks[i], n);
        ASSERT_EQ(at[ranks[i]], -1) << "rank " << ranks[i] << " given twice";
        at[ranks[i]] = int(i);
    }
    for (size_t r = 1; r < n; ++r) {
        const Item &p = items[size_t(at[r - 1])], &q = items[size_t(at[r])];
        if (ascending) {
            ASSERT_LE(p.key, q.key);
        } else {
            ASSERT_GE(p.key, q.key);
        }
        if (p.key == q.key) {
            ASSERT_LT(p.id, q.id) << "equal keys keep their order";
        }
    }
}

TEST(RankingM01dsc, StableInBothOrders)
{
    std::mt19937 gen(3);
    for (size_t n : {1u, 2u, 5u, 31u, 32u, 33u, 64u, 65u, 1000u, 100003u}) {
        std::vector<Item> items(n);
        for (size_t i = 0; i < n; ++i)
            items[i] = {int(gen() % (n / 3 + 2)), int(i)};
        for (Nag_SortOrder order : {Nag_Ascending, Nag_Descending}) {
            NagError fail{};
            std::vector<size_t> ranks = Rank(items, order, &fail);
            ASSERT_EQ(fail.code, NE_NOERROR) << fail.message;
            ExpectStableRanks(items, ranks, order == Nag_Ascending);
        }
    }
}

TEST(RankingM01dsc, KnownRanks)
{
    std::vector<Item> items = {{30, 0}, {10, 1}, {20, 2}, {10, 3}};
    NagError fail{};
    EXPECT_EQ(Rank(items, Nag_Ascending, &fail), (std::vector<size_t>{3, 0, 2, 1}));
    EXPECT_EQ(Rank(items, Nag_Descending, &fail), (std::vector<size_t>{0, 2, 1, 3}));
}

TEST(RankingM01dsc, SortedAndReversedInput)
{
    const size_t n = 50000;
    std::vector<Item> up(n), down(n);
    for (size_t i = 0; i < n; ++i) {
        up[i] = {int(i), int(i)};
        down[i] = {int(n - i), int(i)};
    }
    NagError fail{};
    std::vector<size_t> r = Rank(up, Nag_Ascending, &fail);
    for (size_t i = 0; i < n; ++i)
        ASSERT_EQ(r[i], i);
    r = Rank(down, Nag_Ascending, &fail);
    for (size_t i = 0; i < n; ++i)
        ASSERT_EQ(r[i], n - 1 - i);
}

// Objects a stride apart, and a negative stride that walks backwards from
// the last object in memory.
Integer CompareInt(const Nag_Pointer a, const Nag_Pointer b)
{
    int x, y;
    std::memcpy(&x, a, sizeof x);
    std::memcpy(&y, b, sizeof y);
    return (x > y) - (x < y);
}

TEST(RankingM01dsc, Strides)
{
    // Pairs (key, filler): stride 8 bytes over int keys.
    int block[] = {5, -1, 3, -1, 9, -1, 1, -1};
    std::vector<size_t> ranks(4);
    NagError fail{};
    TalvoMP_m01dsc(block, 4, 2 * sizeof(int), CompareInt, Nag_Ascending, ranks.data(), &fail);
    ASSERT_EQ(fail.code, NE_NOERROR) << fail.message;
    EXPECT_EQ(ranks, (std::vector<size_t>{2, 1, 3, 0}));
    // Backwards: object 0 is the last pair (key 1), object 3 the first (key 5).
    TalvoMP_m01dsc(&block[6], 4, -ptrdiff_t(2 * sizeof(int)), CompareInt, Nag_Ascending, ranks.data(), &fail);
    ASSERT_EQ(fail.code, NE_NOERROR) << fail.message;
    EXPECT_EQ(ranks, (std::vector<size_t>{0, 3, 1, 2}));
}

TEST(RankingM01dsc, Failures)
{
    int block[] = {2, 1};
    std::vector<size_t> ranks(2, 77);
    NagError fail{};
    TalvoMP_m01dsc(block, 2, sizeof(int), CompareInt, Nag_SortOrder(0), ranks.data(), &fail);
    EXPECT_EQ(fail.code, NE_BAD_PARAM);
    TalvoMP_m01dsc(block, 2, 0, CompareInt, Nag_Ascending, ranks.data(), &fail);
    EXPECT_EQ(fail.code, NE_INT_ARG_EQ);
    EXPECT_NE(std::string(fail.message).find("TalvoMP_m01dsc: stride = 0"), std::string::npos) << fail.message;
    TalvoMP_m01dsc(block, 2, sizeof(int), nullptr, Nag_Ascending, ranks.data(), &fail);
    EXPECT_EQ(fail.code, NE_NULL_ARGUMENT);
    TalvoMP_m01dsc(block, SIZE_MAX / 2, PTRDIFF_MAX / 4, CompareInt, Nag_Ascending, ranks.data(), &fail);
    EXPECT_EQ(fail.code, NE_INT_ARG_GT);
    EXPECT_EQ(ranks, (std::vector<size_t>{77, 77})) << "a failed call writes no rank";
    // No objects: nothing to do and no failure.
    TalvoMP_m01dsc(block, 0, sizeof(int), CompareInt, Nag_Ascending, ranks.data(), &fail);
    EXPECT_EQ(fail.code, NE_NOERROR);
}

} // namespace
