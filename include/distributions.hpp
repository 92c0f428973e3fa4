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

// Normal: mu, sigma.  Variates are mu + sigma * z with z from the ziggurat
// normal generator (see ziggurat.hpp for the law z follows).
STATS_API TalvoFloat STATS_NormalRandomVariate_MP(TKernelVector kv, TalvoFloat mu, TalvoFloat sigma);
STATS_API TalvoFloat STATS_NormalRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// Exponential: b scale.  F(x) = 1 - exp(-x/b), with no test on the sign of
// x.  The deviate refuses p outside [0, 1] ("invalid value for the tail
// probability: %1").  Variates are b * e with e from the ziggurat
// exponential generator (see ziggurat.hpp: about half of them are negative).
STATS_API TalvoFloat STATS_ExponentialProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat b);
STATS_API TalvoFloat STATS_ExponentialDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat b);
STATS_API TalvoFloat STATS_ExponentialRandomVariate_MP(TKernelVector kv, TalvoFloat b);
STATS_API TalvoFloat STATS_ExponentialRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);
