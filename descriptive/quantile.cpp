// quantile.cpp -- quantiles under eight interpolation rules, order
// statistics, the median and the median absolute deviation, on plain
// arrays.
//
// The unweighted kernels find each order statistic by selection.  A
// selection leaves the array partitioned around the rank it found, so the
// next, larger rank is looked for only right of it: ascending lists of
// probabilities or ranks cost little more than one selection.
#include "order_statistics.hpp"

#include "sorting.hpp"

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
struct Position {
    long lo;
    long hi;
    TalvoFloat f;
    bool defined;
};

Position Locate(const TalvoFloat &a, const TalvoFloat &b, const TalvoFloat &p, int n)
{
    Position pos{0, 0, TalvoFloat(0.0), !IsTalvoFloatUndefined(p)};
    if (!pos.defined)
        return pos;
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

} // namespace

void STATS_SimpleQuantile_MP(TalvoFloat *result, TalvoFloat *x, TalvoFloat *p, int n, int m,
                             STATS_QUANTILE_TYPE_MP type)
{
    TalvoFloat a, b, c, d;
    STATS_SetQuantileType_MP(a, b, c, d, type);
    // start: where the previous selection left its value in place; every
    // value left of it is not greater, so a larger rank is searched right of it.
    long start = 0;
    for (int k = 0; k < m; ++k) {
        if (n <= 0) {
            result[k] = TalvoFloatUndefined();
            continue;
        }
        Position pos = Locate(a, b, p[k], n);
        if (!pos.defined) {
            result[k] = TalvoFloatUndefined();
            start = 0; // nothing placed: the next search takes the whole array
            continue;
        }
        long base = k > 0 && pos.lo >= start ? start : 0;
        TalvoFloat *sub = x + base;
        int len = static_cast<int>(n - base);
        long rank = pos.lo - base, upper = pos.hi - base;
        TalvoFloat q = STATS_QuickSelect_MP(sub, len, static_cast<int>(rank));
        if (rank != upper && rank != len - 1) {
            // The next order statistic is the smallest value right of rank.
            TalvoFloat r = STATS_QuickSelect_MP(sub + rank + 1, static_cast<int>(len - rank - 1), 0);
            q = q + (r - q) * (c + d * pos.f);
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
    for (int k = 0; k < m; ++k) {
        TalvoFloat h = a + (total + b) * p[k];
        TalvoFloat sum(0.0);
        int j = n - 1;
        for (int i = 0; i < n; ++i) {
            sum += w[i];
            if (sum > h) {
                j = i > 0 ? i - 1 : 0;
                break;
            }
        }
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
