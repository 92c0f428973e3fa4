// distributions.hpp -- the inner functions of the distributions: cumulative
// probability, deviate (quantile) and random variate, on TalvoFloat values.
//
// Parameters come in the order of the distribution's host entries.  Every
// RandomVariate has an overload that reads the same parameters from an array,
// for generators that hold a distribution's parameters that way.
#pragma once

#include "stats_api.h"

// Weibull: a scale, b shape.  F(x) = 1 - exp(-(x/a)^b) for x >= 0, else 0.
STATS_API TalvoFloat STATS_WeibullProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat a, TalvoFloat b);
STATS_API TalvoFloat STATS_WeibullDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat a, TalvoFloat b);
STATS_API TalvoFloat STATS_WeibullRandomVariate_MP(TKernelVector kv, TalvoFloat a, TalvoFloat b);
STATS_API TalvoFloat STATS_WeibullRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// Normal: mu, sigma.  The probability is the numerics library's normal
// integral at (x - mu) / sigma; the deviate mu + sigma z with z its quantile,
// refined by Newton steps when "Digits" exceeds 14; both correctly rounded
// values of those formulas.  Variates are mu + sigma * z with z from the
// ziggurat normal generator (see ziggurat.hpp for the law z follows).
STATS_API TalvoFloat STATS_NormalProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat mu, TalvoFloat sigma);
STATS_API TalvoFloat STATS_NormalDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat mu, TalvoFloat sigma);
namespace stats {
// The two standard functions the normal and log-normal formulas are built
// on, at the working precision: the lower tail at z, and the quantile z of
// p (the numerics library's, refined by Newton steps above 14 digits).
TalvoFloat StandardNormalLowerTail(TKernelVector kv, TalvoFloat z);
TalvoFloat StandardNormalDeviate(TKernelVector kv, TalvoFloat p);
} // namespace stats
STATS_API TalvoFloat STATS_NormalRandomVariate_MP(TKernelVector kv, TalvoFloat mu, TalvoFloat sigma);
STATS_API TalvoFloat STATS_NormalRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);
// A rational approximation of the standard normal quantile, within about
// 7e-4 for p <= 1/2.  Every p < 1 is folded onto the formula at p itself, so
// above 1/2 the result has the wrong size (0.975 gives about 1.80, not 1.96).
STATS_API TalvoFloat STATS_NormalDeviateApprox_MP(TKernelVector kv, TalvoFloat p);
// The auxiliary w of the beta-quantile approximation built on the former;
// A = 1/2 or B = 1/2 raise an error.
STATS_API TalvoFloat STATS_NormalWApprox_MP(TKernelVector kv, TalvoFloat x, TalvoFloat A, TalvoFloat B);

// Exponential: b scale.  F(x) = 1 - exp(-x/b), with no test on the sign of
// x.  The deviate refuses p outside [0, 1] ("invalid value for the tail
// probability: %1").  Variates are b * e with e from the ziggurat
// exponential generator (see ziggurat.hpp: about half of them are negative).
STATS_API TalvoFloat STATS_ExponentialProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat b);
STATS_API TalvoFloat STATS_ExponentialDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat b);
STATS_API TalvoFloat STATS_ExponentialRandomVariate_MP(TKernelVector kv, TalvoFloat b);
STATS_API TalvoFloat STATS_ExponentialRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// The closed forms below compute their formulas in the order written in
// their source files and check no parameter: a bad one gives the float
// library's value.  Every variate except Uniform's and LogNormal's is the
// deviate of one uniform draw.

// Uniform on [a, b]: F(x) = (x - a) / (b - a) inside, 0 at or below a, 1 at or above b.
// The variate is u * (b - a) + a.
STATS_API TalvoFloat STATS_UniformProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat a, TalvoFloat b);
STATS_API TalvoFloat STATS_UniformDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat a, TalvoFloat b);
STATS_API TalvoFloat STATS_UniformRandomVariate_MP(TKernelVector kv, TalvoFloat a, TalvoFloat b);
STATS_API TalvoFloat STATS_UniformRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// Triangular: a lower end, b upper end, c mode.
STATS_API TalvoFloat STATS_TriangularProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat a, TalvoFloat b, TalvoFloat c);
STATS_API TalvoFloat STATS_TriangularDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat a, TalvoFloat b, TalvoFloat c);
STATS_API TalvoFloat STATS_TriangularRandomVariate_MP(TKernelVector kv, TalvoFloat a, TalvoFloat b, TalvoFloat c);
STATS_API TalvoFloat STATS_TriangularRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// Rayleigh: b scale.  F(x) = 1 - exp(-x^2 / (2 b^2)) for x >= 0, else 0.
STATS_API TalvoFloat STATS_RayleighProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat b);
STATS_API TalvoFloat STATS_RayleighDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat b);
STATS_API TalvoFloat STATS_RayleighRandomVariate_MP(TKernelVector kv, TalvoFloat b);
STATS_API TalvoFloat STATS_RayleighRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// Power function: b upper end, c exponent.  F(x) = (x / b)^c on [0, b].
STATS_API TalvoFloat STATS_PowerProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat b, TalvoFloat c);
STATS_API TalvoFloat STATS_PowerDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat b, TalvoFloat c);
STATS_API TalvoFloat STATS_PowerRandomVariate_MP(TKernelVector kv, TalvoFloat b, TalvoFloat c);
STATS_API TalvoFloat STATS_PowerRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// Pareto: a lower end, c shape.  F(x) = 1 - (a / x)^c from a on, else 0.
STATS_API TalvoFloat STATS_ParetoProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat a, TalvoFloat c);
STATS_API TalvoFloat STATS_ParetoDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat a, TalvoFloat c);
STATS_API TalvoFloat STATS_ParetoRandomVariate_MP(TKernelVector kv, TalvoFloat a, TalvoFloat c);
STATS_API TalvoFloat STATS_ParetoRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// Logistic: a location, b scale.  F(x) = 1 / (1 + exp(-(x - a) / b)).
STATS_API TalvoFloat STATS_LogisticProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat a, TalvoFloat b);
STATS_API TalvoFloat STATS_LogisticDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat a, TalvoFloat b);
STATS_API TalvoFloat STATS_LogisticRandomVariate_MP(TKernelVector kv, TalvoFloat a, TalvoFloat b);
STATS_API TalvoFloat STATS_LogisticRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// Laplace: a location, b scale.
STATS_API TalvoFloat STATS_LaplaceProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat a, TalvoFloat b);
STATS_API TalvoFloat STATS_LaplaceDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat a, TalvoFloat b);
STATS_API TalvoFloat STATS_LaplaceRandomVariate_MP(TKernelVector kv, TalvoFloat a, TalvoFloat b);
STATS_API TalvoFloat STATS_LaplaceRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// Gumbel (largest extreme value): a location, b scale.  F(x) = exp(-exp(-(x - a) / b)).
STATS_API TalvoFloat STATS_GumbelProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat a, TalvoFloat b);
STATS_API TalvoFloat STATS_GumbelDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat a, TalvoFloat b);
STATS_API TalvoFloat STATS_GumbelRandomVariate_MP(TKernelVector kv, TalvoFloat a, TalvoFloat b);
STATS_API TalvoFloat STATS_GumbelRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// Cauchy: a location, b scale.  Uses the host's Pi, arctan and tan.
STATS_API TalvoFloat STATS_CauchyProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat a, TalvoFloat b);
STATS_API TalvoFloat STATS_CauchyDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat a, TalvoFloat b);
STATS_API TalvoFloat STATS_CauchyRandomVariate_MP(TKernelVector kv, TalvoFloat a, TalvoFloat b);
STATS_API TalvoFloat STATS_CauchyRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// Log-normal: mu, sigma of ln X.  Built on the normal functions; variates
// are exp of normal variates (the ziggurat law, see ziggurat.hpp).
STATS_API TalvoFloat STATS_LogNormalProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat mu, TalvoFloat sigma);
STATS_API TalvoFloat STATS_LogNormalDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat mu, TalvoFloat sigma);
STATS_API TalvoFloat STATS_LogNormalRandomVariate_MP(TKernelVector kv, TalvoFloat mu, TalvoFloat sigma);
STATS_API TalvoFloat STATS_LogNormalRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);
