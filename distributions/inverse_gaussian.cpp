// inverse_gaussian.cpp -- the inverse Gaussian distribution with mean mu
// and shape lambda: variates only.
//
// A variate is the transformation of Michael, Schucany and Haas,
// "Generating random variates using transformations with multiple roots"
// (The American Statistician 30, 1976).  With y a chi-square(1) draw and
// w = mu y, the smaller root of lambda (x - mu)^2 / (mu^2 x) = y is
// x = (mu / (2 lambda)) (w + 2 lambda - sqrt(w^2 + 4 w lambda)); it is kept
// with probability mu / (mu + x), else the other root mu^2 / x is returned.
#include "random_sample.hpp"
#include "random_stream.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"
#include "variate_algorithms.hpp"

TalvoFloat STATS_InverseGaussianRandomVariate_MP(TKernelVector kv, TalvoFloat mu, TalvoFloat lambda)
{
    TalvoFloat y = STATS_ChiSquareRandomVariate_MP(kv, TalvoFloat(1.0));
    TalvoFloat w = mu * y;
    TalvoFloat s = sqrt(w * w + TalvoFloat(4.0) * w * lambda);
    TalvoFloat x = (TalvoFloat(0.5) * mu / lambda) * (w + TalvoFloat(2.0) * lambda - s);
    TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
    if (u * (mu + x) > mu)
        return mu * mu / x;
    return x;
}

TalvoFloat STATS_InverseGaussianRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat mu = params[0], lambda = params[1];
    return STATS_InverseGaussianRandomVariate_MP(kv, mu, lambda);
}

STATS_ENTRY ALGEB STATS_TalvoInverseGaussianRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_InverseGaussianRandomVariate_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoInverseGaussianRandomSample_MP(TKernelVector kv, ALGEB args)
{
    return stats::SampleEntry<2>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_InverseGaussianRandomVariate_MP(kv, p...);
    });
}
