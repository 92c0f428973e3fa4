// series_test.cpp -- the index searches of special/series.hpp that choose
// where a sum peaks and where it starts.  A search that starts from a guess
// (the peak or start of the call before, in a root search or a sample) finds
// the index the search without a guess finds, whatever the guess, on
// sequences of the shapes the estimates have: rising strictly to a top that
// may be flat, then falling strictly; predicates false up to one index and
// true from it.
#include "special/series.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace {

using talvo::mp::argmax_climbing;
using talvo::mp::argmax_unimodal;
using talvo::mp::first_true_from;
using talvo::mp::first_true_near;

// A unimodal sequence over [0, n): strictly rising to `top`, `flat` equal
// values there, strictly falling after.
std::vector<double> Unimodal(std::mt19937_64 &g, slong n, slong top, slong flat)
{
    std::uniform_real_distribution<double> step(1e-12, 3.0);
    std::vector<double> v(static_cast<size_t>(n));
    double x = -50;
    for (slong j = 0; j < n; ++j) {
        if (j > 0 && !(j > top && j < top + flat))
            x += j <= top ? step(g) : -step(g);
        v[static_cast<size_t>(j)] = x;
    }
    return v;
}

TEST(SeriesSearch, ClimbingFindsThePeakOfTheTernarySearchFromAnyGuess)
{
    std::mt19937_64 g(11);
    for (int trial = 0; trial < 3000; ++trial) {
        const slong n = 1 + static_cast<slong>(g() % 120);
        const slong top = static_cast<slong>(g() % static_cast<uint64_t>(n));
        const slong flat = 1 + static_cast<slong>(g() % 4);
        const std::vector<double> v = Unimodal(g, n, top, flat);
        int calls = 0;
        auto f = [&](slong j) {
            ++calls;
            return v[static_cast<size_t>(j)];
        };
        const slong want = argmax_unimodal(0, n - 1, f);
        EXPECT_EQ(want, top) << "n " << n << " flat " << flat;
        for (slong h = -2; h <= n + 1; ++h) {
            calls = 0;
            ASSERT_EQ(argmax_climbing(0, n - 1, h, f), want) << "n " << n << " top " << top << " guess " << h;
            if (h == want) {
                EXPECT_LE(calls, 3);
            }
        }
    }
}

// Over a range of 10^8 indices (the estimates search up to 4 x 10^7 past a
// huge non-centrality), a guess far from the peak or the first true index
// costs a few dozen evaluations, not one per index in between.
TEST(SeriesSearch, FarGuessesOverHugeRangesCostFewEvaluations)
{
    const slong n = 100000000;
    for (slong top : {slong(0), slong(12345), slong(50000000), n - 1})
        for (slong h : {slong(0), slong(7), top - 3, top + 5, slong(77777777), n - 1}) {
            int calls = 0;
            auto f = [&](slong j) {
                ++calls;
                return -std::fabs(static_cast<double>(j - top)); // peak at top, strictly unimodal
            };
            EXPECT_EQ(argmax_climbing(0, n - 1, h, f), top) << "top " << top << " guess " << h;
            EXPECT_LE(calls, 200) << "top " << top << " guess " << h;
            calls = 0;
            auto ok = [&](slong j) {
                ++calls;
                return j >= top;
            };
            EXPECT_EQ(first_true_near(0, n - 1, h, ok), top) << "top " << top << " guess " << h;
            EXPECT_LE(calls, 200) << "top " << top << " guess " << h;
        }
}

TEST(SeriesSearch, FirstTrueNearFindsTheFirstTrueIndexFromAnyGuess)
{
    std::mt19937_64 g(12);
    for (int trial = 0; trial < 2000; ++trial) {
        const slong lo = static_cast<slong>(g() % 50);
        const slong limit = lo + static_cast<slong>(g() % 200);
        // The first true index; past the limit when none is in range.
        const slong first = lo + static_cast<slong>(g() % static_cast<uint64_t>(limit - lo + 3));
        int calls = 0;
        auto ok = [&](slong j) {
            ++calls;
            return j >= first;
        };
        const slong want = first_true_from(lo, limit, ok);
        EXPECT_EQ(want, first <= limit ? first : -1);
        for (slong h = lo - 3; h <= limit + 3; ++h) {
            calls = 0;
            ASSERT_EQ(first_true_near(lo, limit, h, ok), want)
                << "lo " << lo << " limit " << limit << " first " << first << " guess " << h;
            if (h == want && h > lo) {
                EXPECT_EQ(calls, 2);
            }
        }
    }
}

} // namespace
