// shuffle_test.cpp -- STATS_TalvoShuffle_MP and STATS_Shuffle_MP: the exact
// use of the random stream (the rejection draws), every permutation of three
// and four elements equally likely (chi-square, fixed seed), the multiset
// kept for 10^6 elements of every width, every data type code through the
// entry, and the data left unchanged.
#include "prep_support.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <numeric>

using namespace stats::test;

namespace {

#if defined(TALVO_SANITIZED)
constexpr int kTrials = 12000;       // the sanitizer builds are about ten times slower
constexpr unsigned kLarge = 100000;
#else
constexpr int kTrials = 60000;
constexpr unsigned kLarge = 1000000;
#endif

// Fisher-Yates from the end with rejection: n = 5.
//   i = 4: mask 7 (k = 3): 0xE0000000 >> 29 = 7 rejected, 0x60000000 -> 3;
//   i = 3: mask 3 (k = 2): 0x40000000 >> 30 = 1;
//   i = 2: mask 3: 0xC0000000 -> 3 rejected, 0 -> 0;
//   i = 1: mask 1 (k = 1): 0x80000000 >> 31 = 1.
TEST(DataprepShuffle, ExactUseOfTheStream)
{
    ReplayStream replay;
    replay.ints({int32_t(0xE0000000u), int32_t(0x60000000u), int32_t(0x40000000u), int32_t(0xC0000000u), 0,
                 int32_t(0x80000000u)});
    int32_t v[5] = {10, 11, 12, 13, 14};
    STATS_Shuffle_MP(kv(), reinterpret_cast<char *>(v), 5, 4);
    // [10 11 12 13 14] -> swap 4,3 -> [10 11 12 14 13] -> swap 3,1 -> [10 14 12 11 13]
    // -> swap 2,0 -> [12 14 10 11 13] -> swap 1,1.
    EXPECT_EQ(std::vector<int32_t>(v, v + 5), (std::vector<int32_t>{12, 14, 10, 11, 13}));
    EXPECT_EQ(replay.ints_taken(), 6);
    EXPECT_TRUE(replay.exhausted());
}

TEST(DataprepShuffle, NothingDrawnForFewerThanTwo)
{
    ReplayStream replay;
    double v = 3;
    STATS_Shuffle_MP(kv(), reinterpret_cast<char *>(&v), 1, 8);
    STATS_Shuffle_MP(kv(), nullptr, 0, 8);
    EXPECT_EQ(replay.ints_taken(), 0);
    EXPECT_EQ(v, 3);
}

// The masks of a long shuffle: the stream is used exactly as the plain loop
// uses it, however far the draws run ahead of the exchanges, for every
// element width (the fixed ones and the general path) and lengths whose runs
// of draws cross the powers of two, where the mask changes within a run.
void ExpectThePlainLoop(unsigned n, unsigned width)
{
    std::vector<int32_t> ints;
    std::vector<unsigned> expected(n);
    std::iota(expected.begin(), expected.end(), 0u);
    uint32_t state = 12345 + n + width;
    for (unsigned i = n - 1; i >= 1; --i) {
        int k = 32 - __builtin_clz(i);
        for (;;) {
            state = state * 1664525u + 1013904223u;
            ints.push_back(int32_t(state));
            uint32_t j = state >> (32 - k);
            if (j <= i) {
                std::swap(expected[i], expected[j]);
                break;
            }
        }
    }
    ReplayStream replay;
    replay.ints(ints);
    // Element e holds e's low bytes in its first four bytes (as many as fit)
    // and bytes made from e after them.
    std::vector<char> block(size_t(n) * width);
    auto label = [&](unsigned e, char *at) {
        for (unsigned b = 0; b < width; ++b)
            at[b] = b < 4 ? char(e >> (8 * b)) : char(e * 31 + b);
    };
    for (unsigned e = 0; e < n; ++e)
        label(e, &block[size_t(e) * width]);
    STATS_Shuffle_MP(kv(), block.data(), n, width);
    std::vector<char> want(width);
    unsigned wrong = 0;
    for (unsigned i = 0; i < n; ++i) {
        label(expected[i], want.data());
        wrong += std::memcmp(&block[size_t(i) * width], want.data(), width) != 0;
    }
    EXPECT_EQ(wrong, 0u) << "n " << n << ", width " << width;
    EXPECT_TRUE(replay.exhausted()) << "n " << n << ", width " << width;
}

TEST(DataprepShuffle, DrawsAheadUseTheStreamInOrder)
{
    for (unsigned width : {1u, 2u, 3u, 4u, 8u, 16u, 24u})
        for (unsigned n : {2u, 3u, 65u, 66u, 129u, 1000u, 70000u})
            if (width >= 4 || n <= (1u << (8 * width)))
                ExpectThePlainLoop(n, width);
}

// Pearson's statistic of the counts of the k! permutations.
double ChiSquare(const std::map<std::vector<int>, int> &counts, int perms, int trials)
{
    double e = double(trials) / perms, x2 = 0;
    for (const auto &[p, c] : counts)
        x2 += (c - e) * (c - e) / e;
    x2 += (perms - int(counts.size())) * e; // permutations never seen
    return x2;
}

TEST(DataprepShuffle, EveryPermutationEquallyLikely)
{
    eval("randomize(20240617)");
    // 0.001 critical values of chi-square with 5 and 23 degrees of freedom.
    const struct {
        int k, perms;
        double critical;
    } cases[] = {{3, 6, 20.515}, {4, 24, 49.728}};
    for (const auto &c : cases) {
        std::map<std::vector<int>, int> counts;
        for (int t = 0; t < kTrials; ++t) {
            std::vector<int> v(size_t(c.k));
            std::iota(v.begin(), v.end(), 0);
            STATS_Shuffle_MP(kv(), reinterpret_cast<char *>(v.data()), unsigned(c.k), sizeof(int));
            ++counts[v];
        }
        EXPECT_EQ(int(counts.size()), c.perms) << "every permutation of " << c.k << " is reached";
        double x2 = ChiSquare(counts, c.perms, kTrials);
        std::printf("shuffle of %d: chi-square %.2f with %d degrees of freedom over %d shuffles\n", c.k, x2,
                    c.perms - 1, kTrials);
        EXPECT_LT(x2, c.critical);
    }
}

// A shuffle of kLarge elements of each width keeps the multiset and moves
// most elements.
template <class T>
void LargeShuffle(unsigned width)
{
    std::vector<T> v(kLarge);
    for (unsigned i = 0; i < kLarge; ++i)
        v[i] = T(i % 251);
    std::vector<T> before = v;
    STATS_Shuffle_MP(kv(), reinterpret_cast<char *>(v.data()), kLarge, width);
    size_t moved = 0;
    for (unsigned i = 0; i < kLarge; ++i)
        moved += v[i] != before[i];
    EXPECT_GT(moved, kLarge / 2) << width;
    std::sort(v.begin(), v.end());
    std::sort(before.begin(), before.end());
    EXPECT_TRUE(v == before) << "width " << width;
}

struct Wide {
    int64_t a, b;
    bool operator==(const Wide &o) const { return a == o.a && b == o.b; }
    bool operator!=(const Wide &o) const { return !(*this == o); }
    bool operator<(const Wide &o) const { return a < o.a || (a == o.a && b < o.b); }
    explicit Wide(long v = 0) : a(v), b(-v) {}
};

struct Odd {
    char c[3];
    bool operator==(const Odd &o) const { return std::memcmp(c, o.c, 3) == 0; }
    bool operator!=(const Odd &o) const { return !(*this == o); }
    bool operator<(const Odd &o) const { return std::memcmp(c, o.c, 3) < 0; }
    explicit Odd(long v = 0) : c{char(v), char(v >> 8), char(v * 7)} {}
};

TEST(DataprepShuffle, LargeArraysKeepTheirElements)
{
    eval("randomize(5)");
    LargeShuffle<int8_t>(1);
    LargeShuffle<int16_t>(2);
    LargeShuffle<int32_t>(4);
    LargeShuffle<int64_t>(8);
    LargeShuffle<Wide>(16);
    LargeShuffle<Odd>(3);
}

TEST(DataprepShuffle, EveryDataTypeThroughTheEntry)
{
    eval("randomize(9)");
    for (int code = 0; code <= 8; ++code) {
        std::string values = "1..40, [" + [] {
            std::string s;
            for (int i = 1; i <= 40; ++i)
                s += (i > 1 ? ", " : "") + std::to_string(i % 7);
            return s;
        }() + "]";
        std::string data = ArrayText(values, code);
        talvo::test::run("D := " + data + ":");
        ALGEB s = call(STATS_TalvoShuffle_MP, "D");
        EXPECT_EQ(DataType(s), code);
        EXPECT_EQ(show(eval("D")), show(eval(data))) << "the data are not changed";
        std::vector<std::string> a = Elements(s), b = Elements(eval("D"));
        EXPECT_NE(a, b) << DataTypeNames()[size_t(code)];
        std::sort(a.begin(), a.end());
        std::sort(b.begin(), b.end());
        EXPECT_EQ(a, b) << DataTypeNames()[size_t(code)];
    }
}

TEST(DataprepShuffle, EntryCases)
{
    // One element: an equal copy.
    EXPECT_EQ(result(STATS_TalvoShuffle_MP, "Array(3..3, [x], datatype = anything)"), "Array(3..3, [x])");
    EXPECT_EQ(result(STATS_TalvoShuffle_MP, "Array(1..0, [])"), "Array(1..0, [])");
    // A sparse array comes back dense, with its bounds.
    eval("randomize(1)");
    ALGEB s = call(STATS_TalvoShuffle_MP, "Array(0..3, [0, 5, 0, 0], storage = sparse)");
    RTableSettings st;
    RTableGetSettings(kv(), &st, s);
    EXPECT_EQ(st.storage, RTABLE_RECT);
    EXPECT_EQ(RTableLowerBound(kv(), s, 1), 0);
    std::vector<std::string> e = Elements(s);
    EXPECT_EQ(std::count(e.begin(), e.end(), "5"), 1);
    EXPECT_EQ(result(STATS_TalvoShuffle_MP, "Array([1]), 2"),
              "Error: TalvoShuffle expects 1 argument, received: Array(1..1, [1]), 2");
    EXPECT_EQ(result(STATS_TalvoShuffle_MP, "Array(1..2, 1..2)"),
              "Error: invalid data sample, expected: one-dimensional array, received Array(1..2, 1..2, [[0, 0], [0, 0]])");
    EXPECT_EQ(result(STATS_TalvoShuffle_MP, "[1, 2]"),
              "Error: invalid data sample, expected: one-dimensional array, received [1, 2]");
}

} // namespace
