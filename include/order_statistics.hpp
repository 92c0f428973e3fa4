// order_statistics.hpp -- quantiles, order statistics, medians and the
// median absolute deviation of plain TalvoFloat arrays.
//
// The unweighted kernels select (STATS_QuickSelect_MP) and reorder x; only
// the quantile of a long list of probabilities (12 or more) sorts x, once,
// which gives the same results.  The weighted ones sort x with its weights.
// Results go to caller-supplied arrays of m floats.
#pragma once

#include "stats_api.h"

// Interpolation rule of a quantile, 1 to 8; any other number acts as 1.
typedef int STATS_QUANTILE_TYPE_MP;

// The constants of a rule: the quantile of probability p sits at the
// 1-based position h = a + (n + b) p, and between the order statistics
// x(floor h) and x(floor h + 1) it is x(floor h) + (x(floor h + 1) -
// x(floor h)) (c + d frac(h)).
STATS_API void STATS_SetQuantileType_MP(TalvoFloat &a, TalvoFloat &b, TalvoFloat &c, TalvoFloat &d,
                                        STATS_QUANTILE_TYPE_MP type);

// Quantiles of x[0..n-1] (weights w, or null) at p[0..m-1].
STATS_API void STATS_Quantile_MP(TalvoFloat *result, TalvoFloat *x, TalvoFloat *w, TalvoFloat *p, int n, int m,
                                 STATS_QUANTILE_TYPE_MP type);
STATS_API void STATS_SimpleQuantile_MP(TalvoFloat *result, TalvoFloat *x, TalvoFloat *p, int n, int m,
                                       STATS_QUANTILE_TYPE_MP type);
STATS_API void STATS_WeightedQuantile_MP(TalvoFloat *result, TalvoFloat *x, TalvoFloat *w, TalvoFloat *p, int n,
                                         int m, STATS_QUANTILE_TYPE_MP type);

// Order statistics of 1-based ranks[0..m-1] (each in 1..n); w is not used.
STATS_API void STATS_OrderStatistic_MP(TalvoFloat *result, TalvoFloat *x, TalvoFloat *w, int *ranks, int n, int m);
STATS_API void STATS_SimpleOrderStatistic_MP(TalvoFloat *result, TalvoFloat *x, int *ranks, int n, int m);

// The median: the middle value, or the mean of the two middle ones; with
// weights, the type 1 quantile of 0.5.  Undefined when n is 0.
STATS_API TalvoFloat STATS_Median_MP(TalvoFloat *x, TalvoFloat *w, int n);
STATS_API TalvoFloat STATS_SimpleMedian_MP(TalvoFloat *x, int n);

// The median of |x - median(x)| with the same weights; x is overwritten
// with the deviations.
STATS_API TalvoFloat STATS_MedianDeviation_MP(TalvoFloat *x, TalvoFloat *w, int n);
