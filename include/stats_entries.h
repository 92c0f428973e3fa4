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

// Variates drawn by their own algorithms (variate_algorithms.hpp).  Gamma
// takes (scale, shape); a sample takes its length first.  The non-central
// chi-square variate takes nu, lambda and a host boolean (true: sum of
// squares).  The error distribution's deviate takes p, its distribution
// function and density as procedures, then a, b and c.
//
// NonCentralChiSquareRandomSample takes 4 or 6 arguments
// ("TalvoNonCentralChiSquareRandomSample expects 4 or 6 arguments,
// received: %1"):
//   (n, nu, lambda, method)          n draws of the variate, method the
//                                    host boolean as above;
//   (n, nu, lambda, cdf, pdf, points) no random draw: element i = 1..n is
//                                    the root of cdf(x) = points(i), by
//                                    Newton's method with the density pdf,
//                                    from nu + lambda with the lower barrier
//                                    0, to the relative tolerance 10^-Digits
//                                    within "_EnvStatisticsIterations" rounds
//                                    (100 when unset).  For stratified or
//                                    quasi-random samples, or for a
//                                    distribution function of the caller's.
//   The three procedures are checked before anything else is done:
//   "procedure expected as fourth parameter to
//   TalvoNonCentralChiSquareRandomSample, received: %1" (and "fifth",
//   "sixth"); a point outside (0, 1) raises "the sixth parameter of
//   TalvoNonCentralChiSquareRandomSample must return values strictly between
//   0 and 1, received: %1".
STATS_DECLARE_ENTRY(STATS_TalvoGammaRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoGammaRandomSample_MP);
STATS_DECLARE_ENTRY(STATS_TalvoBetaRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoBetaRandomSample_MP);
STATS_DECLARE_ENTRY(STATS_TalvoChiSquareRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoChiSquareRandomSample_MP);
STATS_DECLARE_ENTRY(STATS_TalvoFRatioRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoFRatioRandomSample_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNonCentralStudentTRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNonCentralStudentTRandomSample_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNonCentralChiSquareRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNonCentralChiSquareRandomSample_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNonCentralBetaRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNonCentralBetaRandomSample_MP);
STATS_DECLARE_ENTRY(STATS_TalvoInverseGaussianRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoInverseGaussianRandomSample_MP);
STATS_DECLARE_ENTRY(STATS_TalvoMaxwellRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoMaxwellRandomSample_MP);
STATS_DECLARE_ENTRY(STATS_TalvoMoyalRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoMoyalRandomSample_MP);
STATS_DECLARE_ENTRY(STATS_TalvoErrorRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoErrorRandomSample_MP);
STATS_DECLARE_ENTRY(STATS_TalvoErrorDeviate_MP);
