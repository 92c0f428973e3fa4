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
STATS_DECLARE_ENTRY(STATS_TalvoNormalProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNormalDeviate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNormalRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNormalRandomSample_MP);
// Approximations: DeviateApprox(p) the rational approximation of the
// standard normal quantile; WApprox accepts exactly one argument (with the
// DeviateApprox count message) and then reads three, x, A and B.
STATS_DECLARE_ENTRY(STATS_TalvoNormalDeviateApprox_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNormalWApprox_MP);

// Exponential (scale).
STATS_DECLARE_ENTRY(STATS_TalvoExponentialProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoExponentialDeviate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoExponentialRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoExponentialRandomSample_MP);

// Closed-form continuous distributions (x or p, then the parameters; a
// sample takes its length first).  Uniform's Probability and Deviate
// report a wrong count with the variate entry's message.
// Uniform (a, b).
STATS_DECLARE_ENTRY(STATS_TalvoUniformProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoUniformDeviate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoUniformRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoUniformRandomSample_MP);
// Triangular (a lower end, b upper end, c mode).
STATS_DECLARE_ENTRY(STATS_TalvoTriangularProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoTriangularDeviate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoTriangularRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoTriangularRandomSample_MP);
// Rayleigh (scale).
STATS_DECLARE_ENTRY(STATS_TalvoRayleighProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoRayleighDeviate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoRayleighRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoRayleighRandomSample_MP);
// Power (b upper end, c exponent).
STATS_DECLARE_ENTRY(STATS_TalvoPowerProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoPowerDeviate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoPowerRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoPowerRandomSample_MP);
// Pareto (a lower end, c shape).
STATS_DECLARE_ENTRY(STATS_TalvoParetoProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoParetoDeviate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoParetoRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoParetoRandomSample_MP);
// Logistic (location, scale).
STATS_DECLARE_ENTRY(STATS_TalvoLogisticProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoLogisticDeviate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoLogisticRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoLogisticRandomSample_MP);
// Laplace (location, scale).
STATS_DECLARE_ENTRY(STATS_TalvoLaplaceProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoLaplaceDeviate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoLaplaceRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoLaplaceRandomSample_MP);
// Gumbel (location, scale).
STATS_DECLARE_ENTRY(STATS_TalvoGumbelProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoGumbelDeviate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoGumbelRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoGumbelRandomSample_MP);
// Cauchy (location, scale).
STATS_DECLARE_ENTRY(STATS_TalvoCauchyProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoCauchyDeviate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoCauchyRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoCauchyRandomSample_MP);
// LogNormal (mu, sigma).
STATS_DECLARE_ENTRY(STATS_TalvoLogNormalProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoLogNormalDeviate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoLogNormalRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoLogNormalRandomSample_MP);

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

// Discrete distributions: Bernoulli (p; the probability at an integer
// outcome), DiscreteUniform (integers a, b), Geometric (p), Poisson (mu),
// Binomial (integer n, p), NegativeBinomial (n, p) and Hypergeometric
// (population, sample and marked counts).  Deviates return the smallest
// integer whose cumulative probability reaches p, as a float.
STATS_DECLARE_ENTRY(STATS_TalvoBernoulliProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoBernoulliDeviate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoBernoulliRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoBernoulliRandomSample_MP);
STATS_DECLARE_ENTRY(STATS_TalvoDiscreteUniformProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoDiscreteUniformDeviate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoDiscreteUniformRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoDiscreteUniformRandomSample_MP);
STATS_DECLARE_ENTRY(STATS_TalvoGeometricProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoGeometricDeviate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoGeometricRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoGeometricRandomSample_MP);
STATS_DECLARE_ENTRY(STATS_TalvoPoissonProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoPoissonDeviate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoPoissonRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoPoissonRandomSample_MP);
STATS_DECLARE_ENTRY(STATS_TalvoBinomialProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoBinomialDeviate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoBinomialRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoBinomialRandomSample_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNegativeBinomialProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNegativeBinomialDeviate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNegativeBinomialRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNegativeBinomialRandomSample_MP);
STATS_DECLARE_ENTRY(STATS_TalvoHypergeometricProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoHypergeometricDeviate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoHypergeometricRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoHypergeometricRandomSample_MP);
// Empirical: (p,) data, weights (an empty array: unweighted), ignore
// (drop undefined points); the deviate is the type 1 quantile of the data.
STATS_DECLARE_ENTRY(STATS_TalvoEmpiricalDeviate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoEmpiricalRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoEmpiricalRandomSample_MP);

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
//   Quantile(data, p, weights, ignore, type, inplace): p a number (not
//     range-checked) or a list of numbers in [0, 1]; an undefined p gives
//     the smallest value (unweighted); type 1..8 (anything else acts as 1).
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
STATS_DECLARE_ENTRY(STATS_TalvoNonCentralFRatioRandomVariate_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNonCentralFRatioRandomSample_MP);
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

// Sampling engines.  RandomSample(output, procedure or NULL, [[kind, spec],
// ...], flag) fills the output array from generators: kind 1 the adaptive
// rejection generator, spec [density, derivative, base points, maximum
// pieces, flag]; any other kind a distribution by type code, spec
// [typecode, [parameters]].  InverseDistributionSampleId(n, cdf, pdf, a, b,
// tol[, flag]) inverts a CDF given as a procedure; InverseDistributionSample
// takes a procedure of several such variables.  AliasUrnSample(n, weights)
// draws 0-based cell indices; BootstrapSample(data, r, c, weights),
// BootstrapStatistic(data, weights, statistic, m, R) and
// BootstrapStatisticRV(sampler, statistic, n, R) resample.
STATS_DECLARE_ENTRY(STATS_TalvoRandomSample_MP);
STATS_DECLARE_ENTRY(STATS_TalvoInverseDistributionSample_MP);
STATS_DECLARE_ENTRY(STATS_TalvoInverseDistributionSampleId_MP);
STATS_DECLARE_ENTRY(STATS_TalvoAliasUrnSample_MP);
STATS_DECLARE_ENTRY(STATS_TalvoBootstrapSample_MP);
STATS_DECLARE_ENTRY(STATS_TalvoBootstrapStatistic_MP);
STATS_DECLARE_ENTRY(STATS_TalvoBootstrapStatisticRV_MP);
// Kernel density (sampling/kernel_density.cpp).
//   KernelDensity(data, weights, kernel, h, M, flag, a, b): the estimate at M
//     evenly spaced points from a to b, as a float Array 1..M; kernel 0
//     Gaussian, 1 triangular, 2 rectangular, 3 Epanechnikov, 4 biweight
//     (unit variance, h their standard deviation); flag true drops undefined
//     points silently.  "expected 8 arguments, received: %1"; "invalid
//     kernel, received: %1".
//   KernelBounds(data): the list [min, max].  "expected 1 arguments,
//     received: %1" for more than one argument.
//   KernelDensitySample(f, a, b, n): n draws from the density with values
//     f at evenly spaced points from a to b.  "expected 4 arguments,
//     received: %1" for more than four.
STATS_DECLARE_ENTRY(STATS_TalvoKernelDensity_MP);
STATS_DECLARE_ENTRY(STATS_TalvoKernelBounds_MP);
STATS_DECLARE_ENTRY(STATS_TalvoKernelDensitySample_MP);
// Data preparation (dataprep/; docs/dataprep.md).  Arrays are worked on
// through their own data blocks, element by element of their data type.
//   Sort(data, ascending, uniquify), RankSort(data, mode, order),
//   Order(source, ranks, target, uniquify), Shuffle(data),
//   Sharpen(x, y, h, sorted): reorder and rank (sort.cpp, shuffle.cpp,
//   sharpen.cpp).
//   SelectRemove(data, predicate, mode, extra...), SelectRemoveInRange(data,
//   lower, upper, mode), SelectRemoveNonNumeric(data, infinities, undefined,
//   mode), RemoveNULL(data), Trim(data, lo, hi), Winsorize(data, lo, hi):
//   filter and cut (select_remove.cpp, trim.cpp).
//   Moving(data, k, proc, extra...), MovingMedian(data, k, offset, weights,
//   ignore, inplace), MovingMean(data, k, offset, weights, ignore, meantype,
//   inplace), LinearFilter(data, coefficients, initial, recursive, ignore),
//   ShapiroWilk(data, weights, flag) -> [W, p] (moving.cpp,
//   linear_filter.cpp, shapiro_wilk.cpp).
STATS_DECLARE_ENTRY(STATS_TalvoSort_MP);
STATS_DECLARE_ENTRY(STATS_TalvoRankSort_MP);
STATS_DECLARE_ENTRY(STATS_TalvoOrder_MP);
STATS_DECLARE_ENTRY(STATS_TalvoShuffle_MP);
STATS_DECLARE_ENTRY(STATS_TalvoSharpen_MP);
STATS_DECLARE_ENTRY(STATS_TalvoSelectRemove_MP);
STATS_DECLARE_ENTRY(STATS_TalvoSelectRemoveInRange_MP);
STATS_DECLARE_ENTRY(STATS_TalvoSelectRemoveNonNumeric_MP);
STATS_DECLARE_ENTRY(STATS_TalvoRemoveNULL_MP);
STATS_DECLARE_ENTRY(STATS_TalvoTrim_MP);
STATS_DECLARE_ENTRY(STATS_TalvoWinsorize_MP);
STATS_DECLARE_ENTRY(STATS_TalvoMoving_MP);
STATS_DECLARE_ENTRY(STATS_TalvoMovingMedian_MP);
STATS_DECLARE_ENTRY(STATS_TalvoMovingMean_MP);
STATS_DECLARE_ENTRY(STATS_TalvoLinearFilter_MP);
STATS_DECLARE_ENTRY(STATS_TalvoShapiroWilk_MP);
// Regression wrappers, in the argument-array convention of the solver
// wrappers: args[0] is the number of arguments as a host integer, args[1..n]
// the arguments; an output argument is a quoted name the wrapper assigns to.
// The layouts are in docs/regression.md.
#define STATS_DECLARE_ARRAY_ENTRY(name) STATS_ENTRY ALGEB name(TKernelVector kv, ALGEB *args)
// Multiple linear regression fit: 24 arguments; returns the failure indicator.
STATS_DECLARE_ARRAY_ENTRY(STATS_g02daf_MP);
// Standardised residuals and influence statistics: 7 arguments; returns NULL.
STATS_DECLARE_ARRAY_ENTRY(STATS_g02fac_MP);
// Durbin-Watson statistic and bound probabilities: 7 arguments; returns the
// failure indicator.
STATS_DECLARE_ARRAY_ENTRY(STATS_g02fcc_MP);
// Optimisation wrappers (layouts in docs/solvers.md); each returns the
// routine's failure indicator.
STATS_DECLARE_ARRAY_ENTRY(sw_e04aba); // one variable on an interval: 13 arguments
STATS_DECLARE_ARRAY_ENTRY(sw_e04cca); // Nelder-Mead simplex: 23 arguments
STATS_DECLARE_ARRAY_ENTRY(sw_e04dga); // limited-memory quasi-Newton: 18 arguments
STATS_DECLARE_ARRAY_ENTRY(sw_e04dka); // an option of sw_e04dga: 9 arguments
STATS_DECLARE_ARRAY_ENTRY(sw_e04fcf); // nonlinear least squares: 28 arguments
STATS_DECLARE_ARRAY_ENTRY(sw_e04kdf); // bound-constrained modified Newton: 32 arguments
STATS_DECLARE_ARRAY_ENTRY(sw_e04wbf); // save arrays at their defaults: 7 arguments
// Nonlinear programming by SQP (solvers/nonlinear_programming_wrappers.cpp).
STATS_DECLARE_ARRAY_ENTRY(sw_e04uca); // nonlinear constraints, general objective: 40 arguments
STATS_DECLARE_ARRAY_ENTRY(sw_e04uea); // an option of sw_e04uca: 9 arguments
STATS_DECLARE_ARRAY_ENTRY(sw_e04usa); // nonlinear constraints, sum of squares: 45 arguments
STATS_DECLARE_ARRAY_ENTRY(sw_e04ura); // an option of sw_e04usa: 9 arguments
// Linear, quadratic and integer programming wrappers
// (solvers/linear_programming_wrappers.cpp; layouts in docs/solvers.md).
STATS_DECLARE_ARRAY_ENTRY(sw_e04mfa); // linear program or feasible point: 23 arguments
STATS_DECLARE_ARRAY_ENTRY(sw_e04mha); // an option of sw_e04mfa: 9 arguments
STATS_DECLARE_ARRAY_ENTRY(sw_e04nca); // convex QP or constrained least squares: 27 arguments
STATS_DECLARE_ARRAY_ENTRY(sw_e04nea); // an option of sw_e04nca: 9 arguments
STATS_DECLARE_ARRAY_ENTRY(sw_e04nfa); // QP with a Hessian product procedure: 28 arguments
STATS_DECLARE_ARRAY_ENTRY(sw_e04nha); // an option of sw_e04nfa: 9 arguments
STATS_DECLARE_ARRAY_ENTRY(sw_h02bbf); // integer LP by branch and bound: 26 arguments
STATS_DECLARE_ARRAY_ENTRY(sw_h02wbf); // save arrays of sw_h02bbf at their defaults: 7 arguments

// ---------------------------------------------------------------------------
// Extensions: entries beyond the defined interface, for the statistics
// package's commands (distributions/extensions/, docs/distributions.md,
// "Extensions").  x first, then the law's parameters in the order of its
// defined entries.  UpperProbability is P(X > x), never computed as 1 minus
// the distribution function; Density the density; PointProbability
// P(X = x) of a discrete law; LowerProbability P(X <= x) for the laws that
// have no defined Probability entry.  Parameters are not checked.
// ---------------------------------------------------------------------------
// Closed forms.
STATS_DECLARE_ENTRY(STATS_TalvoWeibullUpperProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoWeibullDensity_MP);
STATS_DECLARE_ENTRY(STATS_TalvoUniformUpperProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoUniformDensity_MP);
STATS_DECLARE_ENTRY(STATS_TalvoTriangularUpperProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoTriangularDensity_MP);
STATS_DECLARE_ENTRY(STATS_TalvoRayleighUpperProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoRayleighDensity_MP);
STATS_DECLARE_ENTRY(STATS_TalvoPowerUpperProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoPowerDensity_MP);
STATS_DECLARE_ENTRY(STATS_TalvoParetoUpperProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoParetoDensity_MP);
STATS_DECLARE_ENTRY(STATS_TalvoExponentialUpperProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoExponentialDensity_MP);
STATS_DECLARE_ENTRY(STATS_TalvoLogisticUpperProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoLogisticDensity_MP);
STATS_DECLARE_ENTRY(STATS_TalvoLaplaceUpperProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoLaplaceDensity_MP);
STATS_DECLARE_ENTRY(STATS_TalvoGumbelUpperProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoGumbelDensity_MP);
STATS_DECLARE_ENTRY(STATS_TalvoCauchyUpperProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoCauchyDensity_MP);
// Laws computed by the numerics routines.
STATS_DECLARE_ENTRY(STATS_TalvoNormalUpperProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNormalDensity_MP);
STATS_DECLARE_ENTRY(STATS_TalvoLogNormalUpperProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoLogNormalDensity_MP);
STATS_DECLARE_ENTRY(STATS_TalvoStudentTUpperProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoStudentTDensity_MP);
STATS_DECLARE_ENTRY(STATS_TalvoChiSquareUpperProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoChiSquareDensity_MP);
STATS_DECLARE_ENTRY(STATS_TalvoFRatioUpperProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoFRatioDensity_MP);
STATS_DECLARE_ENTRY(STATS_TalvoGammaUpperProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoGammaDensity_MP);
STATS_DECLARE_ENTRY(STATS_TalvoBetaUpperProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoBetaDensity_MP);
// Laws with variates only among the defined entries: Maxwell (a), Moyal (mu,
// sigma), Error (a, b, c), InverseGaussian (mu, lambda).
STATS_DECLARE_ENTRY(STATS_TalvoMaxwellLowerProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoMaxwellUpperProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoMaxwellDensity_MP);
STATS_DECLARE_ENTRY(STATS_TalvoMoyalLowerProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoMoyalUpperProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoMoyalDensity_MP);
STATS_DECLARE_ENTRY(STATS_TalvoErrorLowerProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoErrorUpperProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoErrorDensity_MP);
STATS_DECLARE_ENTRY(STATS_TalvoInverseGaussianLowerProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoInverseGaussianUpperProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoInverseGaussianDensity_MP);
// Non-central laws (tolerance and iteration limit as their Probability entries).
STATS_DECLARE_ENTRY(STATS_TalvoNonCentralStudentTUpperProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNonCentralStudentTDensity_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNonCentralChiSquareUpperProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNonCentralChiSquareDensity_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNonCentralFRatioUpperProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNonCentralFRatioDensity_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNonCentralBetaUpperProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNonCentralBetaDensity_MP);
// Discrete laws: P(X > floor(x)) and P(X = x).
STATS_DECLARE_ENTRY(STATS_TalvoBinomialUpperProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoBinomialPointProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoPoissonUpperProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoPoissonPointProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoHypergeometricUpperProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoHypergeometricPointProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNegativeBinomialUpperProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoNegativeBinomialPointProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoGeometricUpperProbability_MP);
STATS_DECLARE_ENTRY(STATS_TalvoGeometricPointProbability_MP);
// Sparse linear systems (solvers/sparse_wrappers.cpp; layouts in
// docs/solvers.md, "Sparse linear systems").  Each returns the routine's
// failure indicator.
STATS_DECLARE_ARRAY_ENTRY(sw_f11bdf);
STATS_DECLARE_ARRAY_ENTRY(sw_f11bef);
STATS_DECLARE_ARRAY_ENTRY(sw_f11bff);
STATS_DECLARE_ARRAY_ENTRY(sw_f11daf);
STATS_DECLARE_ARRAY_ENTRY(sw_f11dbf);
STATS_DECLARE_ARRAY_ENTRY(sw_f11dcf);
STATS_DECLARE_ARRAY_ENTRY(sw_f11ddf);
STATS_DECLARE_ARRAY_ENTRY(sw_f11def);
STATS_DECLARE_ARRAY_ENTRY(sw_f11dnf);
STATS_DECLARE_ARRAY_ENTRY(sw_f11dpf);
STATS_DECLARE_ARRAY_ENTRY(sw_f11dqf);
STATS_DECLARE_ARRAY_ENTRY(sw_f11dsf);
STATS_DECLARE_ARRAY_ENTRY(sw_f11xaf);
STATS_DECLARE_ARRAY_ENTRY(sw_f11zaf);
STATS_DECLARE_ARRAY_ENTRY(sw_f11znf);
STATS_DECLARE_ARRAY_ENTRY(sw_f11zpf);
STATS_DECLARE_ARRAY_ENTRY(sw_f11grstf);
