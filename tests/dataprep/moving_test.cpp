// moving_test.cpp -- STATS_TalvoMoving_MP (fast and general paths, the
// outputs past the output's block, every data type), and
// STATS_TalvoMovingMedian_MP / STATS_TalvoMovingMean_MP against a direct
// computation of every window (the median by a fresh selection over each
// window, as STATS_Median_MP makes it), in place or not, with and without
// missing values and weights, offsets up to beyond the window, and every
// message.
#include "prep_support.hpp"

#include "means.hpp"
#include "order_statistics.hpp"

#include <random>

using namespace stats::test;

namespace {

#if defined(TALVO_SANITIZED)
constexpr int kRandomCases = 40;
#else
constexpr int kRandomCases = 200;
#endif

// --- Moving ----------------------------------------------------------------

TEST(DataprepMoving, FastPath)
{
    talvo::test::run("calls := 0: sum2 := proc(w) calls := calls + 1; w[1] + w[2] end proc:");
    EXPECT_EQ(result(STATS_TalvoMoving_MP, "Array([1, 2, 3, 4, 5]), 2, sum2"), "Array(1..4, [3, 5, 7, 9])");
    EXPECT_EQ(show(eval("calls")), "4");
    // k = n: once; k = 1: once per element.
    EXPECT_EQ(result(STATS_TalvoMoving_MP, "Array([1, 2, 3]), 3, w -> w[1] * w[2] * w[3]"), "Array(1..1, [6])");
    EXPECT_EQ(result(STATS_TalvoMoving_MP, "Array([1, 2, 3]), 1, w -> 10 * w[1]"), "Array(1..3, [10, 20, 30])");
    // Every data type: the window has the data's type.
    for (int code = 0; code <= 8; ++code) {
        ALGEB r = call(STATS_TalvoMoving_MP, ArrayText("1..4, [1, 2, 3, 4]", code) + ", 3, w -> w");
        std::vector<std::string> e = Elements(r);
        ASSERT_EQ(e.size(), 2u) << code;
        // The same window array is passed every time: both results are it.
        EXPECT_EQ(e[0], e[1]) << code;
        ALGEB sum = call(STATS_TalvoMoving_MP, ArrayText("1..4, [1, 2, 3, 4]", code) + ", 3, w -> w[1] + w[2] + w[3]");
        std::vector<std::string> s = Elements(sum);
        EXPECT_EQ(s[1].substr(0, 1), "9") << code << " " << s[1];
    }
    // Extra arguments follow the window; the results are not converted.
    EXPECT_EQ(result(STATS_TalvoMoving_MP, "Array([1, 2, 3]), 2, (w, a, b) -> [w[1], a, b], x, 7"),
              "Array(1..2, [[1, x, 7], [2, x, 7]])");
    // A lower bound of 0: bounds 0 .. n - k + 2, the results from the first.
    EXPECT_EQ(result(STATS_TalvoMoving_MP, "Array(0..3, [1, 2, 3, 4]), 2, w -> w[0] + w[1]"),
              "Array(0..4, [3, 5, 7, 0, 0])");
}

TEST(DataprepMoving, GeneralPathAndTheOutputsPastTheBlock)
{
    // C order and sparse storage take the general path: with lower bound 1
    // the results of windows 1 .. n-k go to outputs 2 .. n-k+1, the first
    // output keeps its 0, and the last window is evaluated but has no place.
    talvo::test::run("calls := 0: sum2 := proc(w) calls := calls + 1; w[1] + w[2] end proc:");
    EXPECT_EQ(result(STATS_TalvoMoving_MP, "Array([1, 2, 3, 4, 5], order = C_order), 2, sum2"),
              "Array(1..4, [0, 3, 5, 7], order = C_order)");
    EXPECT_EQ(show(eval("calls")), "4");
    EXPECT_EQ(result(STATS_TalvoMoving_MP, "Array([1, 0, 3, 0, 5], storage = sparse), 2, sum2"),
              "Array(1..4, [0, 1, 3, 3])");
    // A lower bound above 1 makes the output shorter than the windows are
    // many: bounds 3 .. n - k - 1 are empty; every window is evaluated and
    // nothing is written.
    talvo::test::run("calls := 0: sum34 := proc(w) calls := calls + 1; w[3] + w[4] end proc:");
    EXPECT_EQ(result(STATS_TalvoMoving_MP, "Array(3..7, [1, 2, 3, 4, 5]), 2, sum34"), "Array(3..2, [])");
    EXPECT_EQ(show(eval("calls")), "4");
    talvo::test::run("calls := 0:");
    EXPECT_EQ(result(STATS_TalvoMoving_MP, "Array(3..7, [1, 2, 3, 4, 5], storage = sparse), 2, sum34"),
              "Array(3..2, [])");
    EXPECT_EQ(show(eval("calls")), "4");
    EXPECT_EQ(result(STATS_TalvoMoving_MP, "Array(2..7, [1, 2, 3, 4, 5, 6]), 2, w -> w[2] + w[3]"),
              "Array(2..4, [3, 5, 7])");
    EXPECT_EQ(result(STATS_TalvoMoving_MP, "Array(2..7, [1, 2, 3, 4, 5, 6], storage = sparse), 2, w -> w[2] + w[3]"),
              "Array(2..4, [0, 0, 3])");
    // A negative lower bound: the general path's first windows would go
    // before the block; the windows from index 0 on fill it from its start.
    EXPECT_EQ(result(STATS_TalvoMoving_MP, "Array(-2..2, [1, 2, 3, 4, 5], storage = sparse), 2, w -> w[-2] + w[-1]"),
              "Array(-2..7, [7, 9, 0, 0, 0, 0, 0, 0, 0, 0])");
}

TEST(DataprepMoving, Messages)
{
    EXPECT_EQ(result(STATS_TalvoMoving_MP, "Array([1, 2]), 2"),
              "Error: TalvoMoving expects at least 3 arguments, received: Array(1..2, [1, 2]), 2");
    EXPECT_EQ(result(STATS_TalvoMoving_MP, "[1, 2], 1, w -> w"),
              "Error: invalid data sample, expected: one-dimensional array, received [1, 2]");
    EXPECT_EQ(result(STATS_TalvoMoving_MP, "Array(1..2, 1..2), 1, w -> w"),
              "Error: invalid data sample, expected: one-dimensional array, received Array(1..2, 1..2, [[0, 0], [0, 0]])");
    EXPECT_EQ(result(STATS_TalvoMoving_MP, "Array([1, 2]), 3, w -> w"),
              "Error: invalid size of the moving window, expected: integer between 1 and 2, received: 3");
    EXPECT_EQ(result(STATS_TalvoMoving_MP, "Array([1, 2]), 0, w -> w"),
              "Error: invalid size of the moving window, expected: integer between 1 and 2, received: 0");
    EXPECT_EQ(result(STATS_TalvoMoving_MP, "Array([1, 2]), 1, proc(w) error \"no %1\", w[1] end proc"), "Error: no 1");
}

// --- MovingMedian and MovingMean ----------------------------------------------

bool Same(const TalvoFloat &a, const TalvoFloat &b)
{
    bool na = IsTalvoFloatUndefined(a), nb = IsTalvoFloatUndefined(b);
    if (na || nb)
        return na && nb;
    return mpfr_equal_p(a.mpfr(), b.mpfr()) != 0;
}

// The defined steps, directly: every window by a fresh STATS_Median_MP (or
// STATS_Mean_MP) on a copy.
std::vector<TalvoFloat> Reference(std::vector<TalvoFloat> x, long k, long o, const std::vector<TalvoFloat> &w,
                                  bool inplace, bool median, int type = 0)
{
    long m = long(x.size()), s = o + m - k + 1;
    long room = std::max(m, s);
    x.resize(size_t(room), TalvoFloatUndefined());
    std::vector<TalvoFloat> out(size_t(std::max(s, 0L)));
    for (long i = 0; i < std::min(o, long(out.size())); ++i)
        out[size_t(i)] = x[size_t(i)];
    for (long j = 0; j + k <= m; ++j) {
        std::vector<TalvoFloat> win(x.begin() + j, x.begin() + j + k), ww = w;
        TalvoFloat v = median ? STATS_Median_MP(win.data(), w.empty() ? nullptr : ww.data(), int(k))
                              : STATS_Mean_MP(kv(), win.data(), w.empty() ? nullptr : ww.data(), k, type);
        out[size_t(o + j)] = v;
        if (inplace)
            x[size_t(o + j)] = v;
    }
    if (inplace)
        for (long i = 0; i < long(out.size()); ++i)
            out[size_t(i)] = x[size_t(i)];
    return out;
}

std::vector<TalvoFloat> Floats(ALGEB a)
{
    long n = long(RTableNumElements(kv(), a));
    auto *p = static_cast<TalvoFloat *>(RTableDataBlock(kv(), a));
    return std::vector<TalvoFloat>(p, p + n);
}

std::string Text(const std::vector<TalvoFloat> &v)
{
    std::string s = "[";
    for (size_t i = 0; i < v.size(); ++i)
        s += (i ? ", " : "") + show(v[i].handle());
    return s + "]";
}

TEST(DataprepMovingMedian, IdenticalToAFreshSelectionOfEveryWindow)
{
    std::mt19937 gen(21);
    for (int c = 0; c < kRandomCases; ++c) {
        long n = 1 + long(gen() % 40);
        long k = 1 + long(gen() % n);
        long o = long(gen() % n);
        bool inplace = gen() % 2, ignore = gen() % 2, weighted = gen() % 4 == 0;
        std::vector<TalvoFloat> data;
        std::string text = "Array([";
        for (long i = 0; i < n; ++i) {
            TalvoFloat v = gen() % 9 == 0 ? TalvoFloatUndefined() : TalvoFloat(double(int(gen() % 11) - 5) / 4);
            data.push_back(v);
            text += (i ? ", " : "") + show(v.handle());
        }
        text += "], datatype = sfloat)";
        std::vector<TalvoFloat> w;
        std::string wtext = "Array([])";
        if (weighted) {
            wtext = "Array([";
            for (long i = 0; i < k; ++i) {
                w.push_back(TalvoFloat(double(1 + gen() % 3)));
                wtext += (i ? ", " : "") + show(w.back().handle());
            }
            wtext += "])";
        }
        std::vector<TalvoFloat> kept;
        for (const TalvoFloat &v : data)
            if (!ignore || !IsTalvoFloatUndefined(v))
                kept.push_back(v);
        std::vector<TalvoFloat> expected = Reference(kept, k, o, w, inplace, true);
        std::string args = text + ", " + std::to_string(k) + ", " + std::to_string(o) + ", " + wtext + ", " +
                           (ignore ? "true" : "false") + ", " + (inplace ? "true" : "false");
        std::vector<TalvoFloat> got = Floats(call(STATS_TalvoMovingMedian_MP, args));
        ASSERT_EQ(got.size(), expected.size()) << args;
        for (size_t i = 0; i < got.size(); ++i)
            ASSERT_TRUE(Same(got[i], expected[i])) << args << "\n got " << Text(got) << "\n expected " << Text(expected);
        // The mean over the same windows.
        std::vector<TalvoFloat> mean = Floats(call(
            STATS_TalvoMovingMean_MP, text + ", " + std::to_string(k) + ", " + std::to_string(o) + ", " + wtext + ", " +
                                          (ignore ? "true" : "false") + ", 0, " + (inplace ? "true" : "false")));
        std::vector<TalvoFloat> expected_mean = Reference(kept, k, o, w, inplace, false);
        ASSERT_EQ(mean.size(), expected_mean.size());
        for (size_t i = 0; i < mean.size(); ++i)
            ASSERT_TRUE(Same(mean[i], expected_mean[i])) << "mean " << args;
    }
}

TEST(DataprepMovingMedian, Cases)
{
    // o = 0 writes from the first output; o > 0 keeps the first o values.
    EXPECT_EQ(result(STATS_TalvoMovingMedian_MP, "Array([5, 1, 4, 2, 3, 9, 8]), 3, 0, Array([]), false, false"),
              "Array(1..5, [4., 2., 3., 3., 8.], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoMovingMedian_MP, "Array([5, 1, 4, 2, 3, 9, 8]), 3, 1, Array([]), false, false"),
              "Array(1..6, [5., 4., 2., 3., 3., 8.], datatype = sfloat)");
    // In place: later windows read the medians already written.
    EXPECT_EQ(result(STATS_TalvoMovingMedian_MP, "Array([5, 1, 4, 2, 3, 9, 8]), 3, 1, Array([]), false, true"),
              "Array(1..6, [5., 4., 4., 3., 3., 8.], datatype = sfloat)");
    // Even windows: the mean of the two middle values.
    EXPECT_EQ(result(STATS_TalvoMovingMedian_MP, "Array([1, 4, 2, 8]), 2, 0, Array([]), false, false"),
              "Array(1..3, [2.5, 3., 5.], datatype = sfloat)");
    // Missing values: kept (and largest) or dropped.
    EXPECT_EQ(result(STATS_TalvoMovingMedian_MP,
                     "Array([1, Float(undefined), 3, 2]), 3, 0, Array([]), false, false"),
              "Array(1..2, [3., 3.], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoMovingMedian_MP, "Array([1, Float(undefined), 3, 2]), 3, 0, Array([]), true, false"),
              "Array(1..1, [2.], datatype = sfloat)");
    // Weights for the k places: the weighted median of each window.
    EXPECT_EQ(result(STATS_TalvoMovingMedian_MP, "Array([1, 2, 3, 4]), 2, 0, Array([1, 3]), false, false"),
              "Array(1..3, [2., 3., 4.], datatype = sfloat)");
    // An offset of k or more: the output outruns the kept values, and the
    // places no value reaches are undefined.
    EXPECT_EQ(result(STATS_TalvoMovingMedian_MP, "Array([1, 2, 3]), 2, 2, Array([]), false, false"),
              "Array(1..4, [1., 2., 1.5, 2.5], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoMovingMedian_MP, "Array([1, 2, 3]), 1, 2, Array([]), false, true"),
              "Array(1..5, [1., 2., 1., 2., 1.], datatype = sfloat)");
    // Fewer kept values than the window: no window, and only as many of the
    // first values as the output holds.
    EXPECT_EQ(result(STATS_TalvoMovingMedian_MP,
                     "Array([1, Float(undefined), Float(undefined), Float(undefined), 2]), 3, 2, Array([]), true, false"),
              "Array(1..2, [1., 2.], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoMovingMedian_MP,
                     "Array([1, Float(undefined), Float(undefined), Float(undefined), 2]), 4, 0, Array([]), true, true"),
              "Array(1..-1, [], datatype = sfloat)");
}

TEST(DataprepMovingMean, CopiesOnlyWhenItMust)
{
    talvo::test::run("D := Array([1., 2., 3., 4.], datatype = sfloat):");
    EXPECT_EQ(result(STATS_TalvoMovingMean_MP, "D, 2, 0, Array([]), false, 0, false"),
              "Array(1..3, [1.5, 2.5, 3.5], datatype = sfloat)");
    EXPECT_EQ(show(eval("D")), "Array(1..4, [1., 2., 3., 4.], datatype = sfloat)") << "the caller's points unchanged";
    // In place: later windows see earlier means (on a copy of the data).
    EXPECT_EQ(result(STATS_TalvoMovingMean_MP, "D, 2, 1, Array([]), false, 0, true"),
              "Array(1..4, [1., 1.5, 2.25, 3.125], datatype = sfloat)");
    EXPECT_EQ(show(eval("D")), "Array(1..4, [1., 2., 3., 4.], datatype = sfloat)");
    // The kind of mean, and the weights.
    EXPECT_EQ(result(STATS_TalvoMovingMean_MP, "Array([1, 4, 16]), 2, 0, Array([]), false, 1, false"),
              "Array(1..2, [2., 8.], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoMovingMean_MP, "Array([1, 4, 16]), 2, 0, Array([3, 1]), false, 0, false"),
              "Array(1..2, [1.75, 7.], datatype = sfloat)");
}

TEST(DataprepMovingMedian, Messages)
{
    for (auto entry : {STATS_TalvoMovingMedian_MP, STATS_TalvoMovingMean_MP}) {
        bool mean = entry == STATS_TalvoMovingMean_MP;
        std::string tail = mean ? ", 0, false" : ", false";
        EXPECT_EQ(result(entry, "Array([1, 2, 3]), 4, 0, Array([]), false" + tail),
                  "Error: invalid size of the moving window, expected: integer between 1 and 3, received: 4");
        EXPECT_EQ(result(entry, "Array([1, 2, 3]), 0, 0, Array([]), false" + tail),
                  "Error: invalid size of the moving window, expected: integer between 1 and 3, received: 0");
        EXPECT_EQ(result(entry, "Array([1, 2, 3]), 2, 3, Array([]), false" + tail),
                  "Error: invalid offset for the moving window, expected: integer between 0 and 2, received: 3");
        EXPECT_EQ(result(entry, "Array([1, 2, 3]), 2, -1, Array([]), false" + tail),
                  "Error: invalid offset for the moving window, expected: integer between 0 and 2, received: -1");
        EXPECT_EQ(result(entry, "Array([1, 2, 3]), 2, 0, Array([1, 2, 3]), false" + tail),
                  "Error: the number of elements in the weights array must be equal to the size of the moving window");
        // Weights that are all missing, dropped with ignore: unweighted.
        EXPECT_EQ(result(entry, "Array([1, 2, 3]), 2, 0, Array([Float(undefined)]), true" + tail).substr(0, 6),
                  "Array(");
        EXPECT_EQ(result(entry, "[1, 2], 1, 0, Array([]), false" + tail),
                  "Error: invalid data sample, expected: rtable, received [1, 2]");
    }
    EXPECT_EQ(result(STATS_TalvoMovingMedian_MP, "Array([1]), 1, 0, Array([]), false"),
              "Error: TalvoMovingMedian expects 6 arguments, received: Array(1..1, [1]), 1, 0, Array(1..0, []), false");
    EXPECT_EQ(result(STATS_TalvoMovingMean_MP, "Array([1]), 1, 0, Array([]), false, false"),
              "Error: TalvoMovingMean expects 7 arguments, received: Array(1..1, [1]), 1, 0, Array(1..0, []), false, false");
    EXPECT_EQ(result(STATS_TalvoMovingMedian_MP, "Array([1, 2]), 1.5, 0, Array([]), false, false"),
              "Error: integer conversion: expecting an integer in the range of the native type, got 1.5");
}

} // namespace
