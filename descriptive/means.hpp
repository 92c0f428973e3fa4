// means.hpp -- the sum-based statistics of a data sample: four kinds of mean
// (plain, winsorized, trimmed), moments, the mean absolute deviation and the
// expected value of a function.
//
// Each family has a dispatcher that calls its weighted member when w is not
// null and its simple member otherwise.  The plain kernels only read their
// arrays; the winsorized and trimmed kernels reorder and overwrite theirs.
// Nothing checks for an empty sample or a zero total weight: the division is
// done and the float class's value (undefined) comes back.
#pragma once

#include "stats_api.h"

// The kind of mean: 1 geometric, 2 harmonic, 3 quadratic, anything else
// arithmetic.
typedef int STATS_MEAN_TYPE_MP;

STATS_API TalvoFloat STATS_SimpleMean_MP(TKernelVector kv, const TalvoFloat *x, long n, STATS_MEAN_TYPE_MP type);
STATS_API TalvoFloat STATS_WeightedMean_MP(TKernelVector kv, const TalvoFloat *x, const TalvoFloat *w, long n,
                                           STATS_MEAN_TYPE_MP type);
STATS_API TalvoFloat STATS_Mean_MP(TKernelVector kv, const TalvoFloat *x, const TalvoFloat *w, long n,
                                   STATS_MEAN_TYPE_MP type);

// low and high are fractions in [0, 1], low <= high.
STATS_API TalvoFloat STATS_SimpleWinsorizedMean_MP(TKernelVector kv, TalvoFloat *x, long n, TalvoFloat low,
                                                   TalvoFloat high, STATS_MEAN_TYPE_MP type);
STATS_API TalvoFloat STATS_WeightedWinsorizedMean_MP(TKernelVector kv, TalvoFloat *x, TalvoFloat *w, long n,
                                                     TalvoFloat low, TalvoFloat high, STATS_MEAN_TYPE_MP type);
STATS_API TalvoFloat STATS_WinsorizedMean_MP(TKernelVector kv, TalvoFloat *x, TalvoFloat *w, long n, TalvoFloat low,
                                             TalvoFloat high, STATS_MEAN_TYPE_MP type);
STATS_API TalvoFloat STATS_SimpleTrimmedMean_MP(TKernelVector kv, TalvoFloat *x, long n, TalvoFloat low,
                                                TalvoFloat high, STATS_MEAN_TYPE_MP type);
STATS_API TalvoFloat STATS_WeightedTrimmedMean_MP(TKernelVector kv, TalvoFloat *x, TalvoFloat *w, long n,
                                                  TalvoFloat low, TalvoFloat high, STATS_MEAN_TYPE_MP type);
STATS_API TalvoFloat STATS_TrimmedMean_MP(TKernelVector kv, TalvoFloat *x, TalvoFloat *w, long n, TalvoFloat low,
                                          TalvoFloat high, STATS_MEAN_TYPE_MP type);

// result[k] = the moment of order orders[k] about origin, for k < m.
STATS_API void STATS_SimpleMoment_MP(TalvoFloat *result, const TalvoFloat *x, long n, const long *orders, int m,
                                     TalvoFloat origin);
STATS_API void STATS_WeightedMoment_MP(TalvoFloat *result, const TalvoFloat *x, const TalvoFloat *w, long n,
                                       const long *orders, int m, TalvoFloat origin);
STATS_API void STATS_Moment_MP(TalvoFloat *result, const TalvoFloat *x, const TalvoFloat *w, long n,
                               const long *orders, int m, TalvoFloat origin);

STATS_API TalvoFloat STATS_SimpleAbsoluteDeviation_MP(const TalvoFloat *x, long n, TalvoFloat origin);
STATS_API TalvoFloat STATS_WeightedAbsoluteDeviation_MP(const TalvoFloat *x, const TalvoFloat *w, long n,
                                                        TalvoFloat origin);
STATS_API TalvoFloat STATS_AbsoluteDeviation_MP(const TalvoFloat *x, const TalvoFloat *w, long n, TalvoFloat origin);

using STATS_RealFunction_MP = TalvoFloat (*)(TalvoFloat);
STATS_API TalvoFloat STATS_SimpleExpectedValue_MP(STATS_RealFunction_MP f, const TalvoFloat *x, long n);
STATS_API TalvoFloat STATS_WeightedExpectedValue_MP(STATS_RealFunction_MP f, const TalvoFloat *x,
                                                    const TalvoFloat *w, long n);
STATS_API TalvoFloat STATS_ExpectedValue_MP(STATS_RealFunction_MP f, const TalvoFloat *x, const TalvoFloat *w,
                                            long n);
