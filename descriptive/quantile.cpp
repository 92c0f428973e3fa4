// quantile.cpp -- quantiles under eight interpolation rules, order
// statistics, the median and the median absolute deviation, on plain
// arrays.
//
// The unweighted kernels find each order statistic by selection.  A
// selection leaves the array partitioned around the rank it found, so the
// next, larger rank is looked for only right of it: ascending lists of
// probabilities or ranks cost little more than one selection.  A long list
// of probabilities (12 or more) is served from one sort of the values
// instead, which gives the same quantiles: each is a function of the values
// of two order statistics, not of where the selections left the others.
// (Only among values that compare equal and yet differ as floats, 0 and -0,
// or one number held at two precisions, may the two paths return a
// different one of them.)
// The weighted quantile sorts in any case, and for more than two
// probabilities finds each cut in its running weights by binary search.
#include "order_statistics.hpp"

#include "sorting.hpp"

#include <algorithm>
#include <vector>

void STATS_SetQuantileType_MP(TalvoFloat &a, TalvoFloat &b, TalvoFloat &c, TalvoFloat &d,
                              STATS_QUANTILE_TYPE_MP type)
{
    a = b = c = d = TalvoFloat(0.0);
    const TalvoFloat one(1.0);
    switch (type) {
    case 2:
        a = one / TalvoFloat(2.0);
        break;
    case 3:
        d = one;
        break;
    case 4:
        a = one / TalvoFloat(2.0);
        d = one;
        break;
    case 5:
        b = one;
        d = one;
        break;
    case 6:
        a = one;
        b = -one;
        d = one;
        break;
    case 7:
        a = one / TalvoFloat(3.0);
        b = one / TalvoFloat(3.0);
        d = one;
        break;
    case 8:
        a = TalvoFloat(3.0) / TalvoFloat(8.0);
        b = one / TalvoFloat(4.0);
        d = one;
        break;
    default: // 1, and every number outside 2..8
        c = one;
        break;
    }
}

namespace {

// Where the quantile of one probability sits: the 0-based indices of the
// order statistics below (lo) and above (hi) the position h, and frac(h).
// An undefined p makes h undefined, whose floor and ceiling convert to the
// integer 0: both indices are 0 and the quantile is the smallest value.
struct Position {
    long lo;
    long hi;
    TalvoFloat f;
};

Position Locate(const TalvoFloat &a, const TalvoFloat &b, const TalvoFloat &p, int n)
{
    Position pos{0, 0, TalvoFloat(0.0)};
    TalvoFloat h = a + (TalvoFloat(double(n)) + b) * p;
    TalvoFloat fl = floor(h);
    pos.lo = FloatToInt(fl) - 1;
    if (pos.lo < 0)
        pos.lo = 0;
    // Beyond the top: only p > 1 gets there (a single p is not checked),
    // and the top value is the answer, as it is for h = n + 1.
    if (pos.lo >= n)
        pos.lo = n - 1;
    pos.hi = FloatToInt(ceil(h)) - 1;
    if (pos.hi < 0)
        pos.hi = 0;
    pos.f = h - fl;
    return pos;
}

// From this many probabilities on, the simple quantile sorts the values
// once and reads every order statistic from the sorted array, instead of
// one selection per probability.  A selection costs a few passes over the
// part of the array it searches; a sort of n values costs about as much as
// ten selections (a million values at 15 digits: 0.09 s a selection, 0.9 s
// the sort), and far less than the hundreds a long list would make.
constexpr int kSortFromProbabilities = 12;

// The quantile of one probability from the order statistics q (at pos.lo)
// and r (the next one): the same operations as the selecting path, so the
// two give the same float.
TalvoFloat Interpolate(const TalvoFloat &q, const TalvoFloat &r, const TalvoFloat &c, const TalvoFloat &d,
                       const Position &pos)
{
    return q + (r - q) * (c + d * pos.f);
}

} // namespace

void STATS_SimpleQuantile_MP(TalvoFloat *result, TalvoFloat *x, TalvoFloat *p, int n, int m,
                             STATS_QUANTILE_TYPE_MP type)
{
    TalvoFloat a, b, c, d;
    STATS_SetQuantileType_MP(a, b, c, d, type);
    if (n <= 0) {
        for (int k = 0; k < m; ++k)
            result[k] = TalvoFloatUndefined();
        return;
    }
    if (m >= kSortFromProbabilities) {
        // Every quantile depends only on the values of two order
        // statistics, which a full sort (missing values last, as the
        // selection ranks them) puts at their own indices.
        std::sort(x, x + n, [](const TalvoFloat &u, const TalvoFloat &v) {
            if (IsTalvoFloatUndefined(u))
                return false;
            return IsTalvoFloatUndefined(v) || u < v;
        });
        for (int k = 0; k < m; ++k) {
            Position pos = Locate(a, b, p[k], n);
            TalvoFloat q = x[pos.lo];
            if (pos.lo != pos.hi && pos.lo != n - 1)
                q = Interpolate(q, x[pos.lo + 1], c, d, pos);
            result[k] = q;
        }
        return;
    }
    // start: where the previous selection left its value in place; every
    // value left of it is not greater, so a larger rank is searched right of it.
    long start = 0;
    for (int k = 0; k < m; ++k) {
        Position pos = Locate(a, b, p[k], n);
        long base = k > 0 && pos.lo >= start ? start : 0;
        TalvoFloat *sub = x + base;
        int len = static_cast<int>(n - base);
        long rank = pos.lo - base, upper = pos.hi - base;
        TalvoFloat q = STATS_QuickSelect_MP(sub, len, static_cast<int>(rank));
        if (rank != upper && rank != len - 1) {
            // The next order statistic is the smallest value right of rank.
            TalvoFloat r = STATS_QuickSelect_MP(sub + rank + 1, static_cast<int>(len - rank - 1), 0);
            q = Interpolate(q, r, c, d, pos);
        }
        result[k] = q;
        start = pos.lo;
    }
}

void STATS_WeightedQuantile_MP(TalvoFloat *result, TalvoFloat *x, TalvoFloat *w, TalvoFloat *p, int n, int m,
                               STATS_QUANTILE_TYPE_MP type)
{
    if (n <= 0) {
        for (int k = 0; k < m; ++k)
            result[k] = TalvoFloatUndefined();
        return;
    }
    TalvoFloat a, b, c, d;
    STATS_SetQuantileType_MP(a, b, c, d, type);
    TalvoFloat total(0.0);
    for (int i = 0; i < n; ++i)
        total += w[i];
    STATS_SortData_MP(x, w, n);
    // j for a position h: the element before the first one whose running
    // weight exceeds h (0 when that is the first), the last when none does.
    // For one or two probabilities the running sums are formed as the scan
    // goes.  For more they are formed once, with their running maximum
    // (over the defined sums; undefined until one is defined), which
    // exceeds h from exactly the first index whose sum does and is
    // nondecreasing, so a binary search finds that index.  The sums are
    // the same additions in the same order either way.
    std::vector<TalvoFloat> peak;
    if (m > 2) {
        peak.resize(static_cast<size_t>(n));
        TalvoFloat sum(0.0), top = TalvoFloatUndefined();
        for (int i = 0; i < n; ++i) {
            sum += w[i];
            if (!IsTalvoFloatUndefined(sum) && (IsTalvoFloatUndefined(top) || sum > top))
                top = sum;
            peak[static_cast<size_t>(i)] = top;
        }
    }
    for (int k = 0; k < m; ++k) {
        TalvoFloat h = a + (total + b) * p[k];
        int first = n; // the first index whose running sum exceeds h
        if (peak.empty()) {
            TalvoFloat sum(0.0);
            for (int i = 0; i < n; ++i) {
                sum += w[i];
                if (sum > h) {
                    first = i;
                    break;
                }
            }
        } else {
            int lo = 0, hi = n;
            while (lo < hi) {
                int mid = lo + (hi - lo) / 2;
                if (peak[static_cast<size_t>(mid)] > h)
                    hi = mid;
                else
                    lo = mid + 1;
            }
            first = lo;
        }
        int j = first == n ? n - 1 : (first > 0 ? first - 1 : 0);
        TalvoFloat lower = x[j];
        TalvoFloat upper = j < n - 1 ? x[j + 1] : x[j];
        result[k] = lower + (upper - lower) * (c + d * (h - floor(h)));
    }
}

void STATS_Quantile_MP(TalvoFloat *result, TalvoFloat *x, TalvoFloat *w, TalvoFloat *p, int n, int m,
                       STATS_QUANTILE_TYPE_MP type)
{
    if (w != nullptr)
        STATS_WeightedQuantile_MP(result, x, w, p, n, m, type);
    else
        STATS_SimpleQuantile_MP(result, x, p, n, m, type);
}

void STATS_SimpleOrderStatistic_MP(TalvoFloat *result, TalvoFloat *x, int *ranks, int n, int m)
{
    if (m <= 0)
        return;
    if (n <= 0) {
        for (int k = 0; k < m; ++k)
            result[k] = TalvoFloatUndefined();
        return;
    }
    result[0] = STATS_QuickSelect_MP(x, n, ranks[0] - 1);
    for (int k = 1; k < m; ++k) {
        int r = ranks[k], prev = ranks[k - 1];
        if (r == prev)
            result[k] = result[k - 1];
        else if (r > prev) // right of the previous one, which is in place
            result[k] = STATS_QuickSelect_MP(x + (prev - 1), n - prev + 1, r - prev);
        else // among the values left of it
            result[k] = STATS_QuickSelect_MP(x, prev - 1, r - 1);
    }
}

void STATS_OrderStatistic_MP(TalvoFloat *result, TalvoFloat *x, TalvoFloat *, int *ranks, int n, int m)
{
    STATS_SimpleOrderStatistic_MP(result, x, ranks, n, m);
}

TalvoFloat STATS_SimpleMedian_MP(TalvoFloat *x, int n)
{
    if (n <= 0)
        return TalvoFloatUndefined();
    if (n % 2 == 1)
        return STATS_QuickSelect_MP(x, n, (n - 1) / 2);
    TalvoFloat hi = STATS_QuickSelect_MP(x, n, n / 2);
    // The selection left the lower half in the first n/2 places.
    TalvoFloat lo = STATS_QuickSelect_MP(x, n / 2, n / 2 - 1);
    return (lo + hi) / TalvoFloat(2.0);
}

TalvoFloat STATS_Median_MP(TalvoFloat *x, TalvoFloat *w, int n)
{
    if (w == nullptr)
        return STATS_SimpleMedian_MP(x, n);
    TalvoFloat half(0.5), result;
    STATS_Quantile_MP(&result, x, w, &half, n, 1, 1);
    return result;
}

TalvoFloat STATS_MedianDeviation_MP(TalvoFloat *x, TalvoFloat *w, int n)
{
    TalvoFloat med = STATS_Median_MP(x, w, n);
    for (int i = 0; i < n; ++i)
        x[i] = fabs(x[i] - med);
    return STATS_Median_MP(x, w, n);
}
