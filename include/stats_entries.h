// stats_entries.h -- the host entries of the statistics library.
//
// Every entry takes the kernel vector of the call and the expression sequence
// of its arguments, and returns a host value or raises a host error.  The
// host must call STATS_StatsInitialize_MP before any other entry.
#pragma once

#include "stats_api.h"

#define STATS_DECLARE_ENTRY(name) STATS_ENTRY ALGEB name(TKernelVector kv, ALGEB args)

// Lifecycle: both return true.  Initialisation happens once until terminated.
STATS_DECLARE_ENTRY(STATS_StatsInitialize_MP);
STATS_DECLARE_ENTRY(STATS_StatsTerminate_MP);

// Weibull (x or p, scale, shape; a sample takes its length first).
STATS_DECLARE_ENTRY(STATS_TalvoWeibullProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoWeibullDeviate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoWeibullRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoWeibullRandomSample_MP);

// Normal (mu, sigma).  The sample's first argument is a length or an existing
// array of rectangular storage and host-value elements, filled in place.
STATS_DECLARE_ENTRY(STATS_TalvoNormalRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNormalRandomSample_MP);

// Exponential (scale).
STATS_DECLARE_ENTRY(STATS_TalvoExponentialProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoExponentialDeviate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoExponentialRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoExponentialRandomSample_MP);

// Root finding.  Brent (y, procedure, a, b or the four floats of the hybrid
// form, k, maxIterations) and Newton-Raphson (y, f, f', ...) search at
// "Digits" + 3 with tolerance k * 10^-Digits and return the root at the
// caller's "Digits"; the discrete search (y, procedure, bounds, integer
// points, maxIterations) returns an integer.
STATS_DECLARE_ENTRY(STATS_TalvoBrentMethod_MP);
STATS_DECLARE_ENTRY(STATS_TalvoBrentMethodHybridLeft_MP);
STATS_DECLARE_ENTRY(STATS_TalvoBrentMethodHybridRight_MP);
STATS_DECLARE_ENTRY(STATS_TalvoBrentMethodHybridUnbound_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNewtonRaphson_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNewtonRaphsonSafe_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNewtonRaphsonHybrid_MP);
STATS_DECLARE_ENTRY(STATS_TalvoDiscreteInterpolation_MP);
STATS_DECLARE_ENTRY(STATS_TalvoDiscreteInterpolationHybridLeft_MP);
STATS_DECLARE_ENTRY(STATS_TalvoDiscreteInterpolationHybridRight_MP);
STATS_DECLARE_ENTRY(STATS_TalvoDiscreteInterpolationHybridUnbound_MP);

// Means, moments and deviations of a data sample with optional weights (an
// empty weights array: unweighted) and a flag telling whether pairs holding
// an undefined value are dropped.
//   Mean (data, weights, ignore, meantype)
//   WinsorizedMean, TrimmedMean (data, lower percentile, upper percentile,
//     weights, ignore, meantype)
//   Moment (data, order or list of orders, origin, weights, ignore)
//   AbsoluteDeviation (data, origin, weights, ignore)
//   ExpectedValue (procedure, data, weights, ignore)
STATS_DECLARE_ENTRY(STATS_TalvoMean_MP);
STATS_DECLARE_ENTRY(STATS_TalvoWinsorizedMean_MP);
STATS_DECLARE_ENTRY(STATS_TalvoTrimmedMean_MP);
STATS_DECLARE_ENTRY(STATS_TalvoMoment_MP);
STATS_DECLARE_ENTRY(STATS_TalvoAbsoluteDeviation_MP);
STATS_DECLARE_ENTRY(STATS_TalvoExpectedValue_MP);

// Tallies, counts into bins, discretisation, counts and running results.
//   Tally, TalvoTallySorted (data, weights): a table value = count
//   TallyInto (data, weights, ignore, list of ranges, bins per range)
//   FrequencyData (data, weights, ignore, range, bins)
//   Discretize (data, grid points, left, right, weights, ignore, scale)
//   Cumulative (data, weights, output array, mode)
//   CountMissing (data, weights); Count (data, weights, ignore)
//   EvaluateToFloat (array)
STATS_DECLARE_ENTRY(STATS_TalvoTally_MP);
STATS_DECLARE_ENTRY(TalvoTallySorted);
STATS_DECLARE_ENTRY(STATS_TalvoTallyInto_MP);
STATS_DECLARE_ENTRY(STATS_TalvoFrequencyData_MP);
STATS_DECLARE_ENTRY(STATS_TalvoDiscretize_MP);
STATS_DECLARE_ENTRY(STATS_TalvoCumulative_MP);
STATS_DECLARE_ENTRY(STATS_TalvoCountMissing_MP);
STATS_DECLARE_ENTRY(STATS_TalvoCount_MP);
STATS_DECLARE_ENTRY(STATS_TalvoEvaluateToFloat_MP);

// Covariance (x, y, weights, missing-data mode): the list [Sxy, Sxx, Syy,
// total weight] of centred sums.
STATS_DECLARE_ENTRY(STATS_TalvoCovariance_MP);

// Order-based statistics of a data sample (an array, with an optional
// array of weights; an empty weights array means none).  `ignore` drops
// missing (undefined) values; `inplace` lets the entry reorder the caller's
// array instead of a copy.
//   Quantile(data, p, weights, ignore, type, inplace): p a number or a list
//     of numbers in [0, 1]; type 1..8 (anything else acts as 1).
//   OrderStatistic(data, index, unused, ignore): index an integer or a list
//     of them, 1..n or -n..-1 (counted from the top).
//   Median(data, weights, ignore, inplace); MedianDeviation(data, weights, ignore).
//   FivePointSummary(data, ignore): minimum, hinges, median, maximum.
//   StatisticSummary(data, weights, ignore): mean, standard deviation,
//     skewness, kurtosis, minimum, maximum, sum of weights.
STATS_DECLARE_ENTRY(STATS_TalvoQuantile_MP);
STATS_DECLARE_ENTRY(STATS_TalvoOrderStatistic_MP);
STATS_DECLARE_ENTRY(STATS_TalvoMedian_MP);
STATS_DECLARE_ENTRY(STATS_TalvoMedianDeviation_MP);
STATS_DECLARE_ENTRY(STATS_TalvoFivePointSummary_MP);
STATS_DECLARE_ENTRY(STATS_TalvoStatisticSummary_MP);
