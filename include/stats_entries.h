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

// Student's t (nu), chi-square (nu), F (nu1, nu2), gamma (scale, shape) and
// beta (a, b): probability and deviate; Student's t also its variate and
// sample (inversion of the deviate).
STATS_DECLARE_ENTRY(STATS_TalvoStudentTProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoStudentTDeviate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoStudentTRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoStudentTRandomSample_MP);
STATS_DECLARE_ENTRY(STATS_TalvoChiSquareProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoChiSquareDeviate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoFRatioProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoFRatioDeviate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoGammaProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoGammaDeviate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoBetaProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoBetaDeviate_MP);

// Non-central t (x, nu, delta), chi-square (nu, lambda), F (nu1, nu2, lambda)
// and beta (a, b, lambda): probabilities at the relative accuracy
// 10^-Digits; the deviates (none for t) search for the root of the
// probability to the absolute tolerance 10^-Digits.
STATS_DECLARE_ENTRY(STATS_TalvoNonCentralStudentTProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNonCentralChiSquareProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNonCentralChiSquareDeviate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNonCentralFRatioProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNonCentralFRatioDeviate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNonCentralBetaProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNonCentralBetaDeviate_MP);

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
