// noncentral_beta.cpp -- the non-central beta distribution with shapes a, b
// and non-centrality lambda.
//
// The probability is the numerics library's Poisson-weighted series, asked
// for the relative accuracy tol with the iteration limit read from the host
// on every call.  The deviate inverts it with Brent's method on the whole
// support [0, 1], to the absolute tolerance tol.  A variate is X / (X + Y):
// X a non-central chi-square draw of 2a degrees of freedom, then Y a
// chi-square draw of 2b.
#include "entry_frame.hpp"
#include "nag_call.hpp"
#include "random_sample.hpp"
#include "rootfinding.hpp"
#include "sampling_distributions.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"
#include "variate_algorithms.hpp"

TalvoFloat STATS_NonCentralBetaProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat a, TalvoFloat b,
                                              TalvoFloat lambda, TalvoFloat tol)
{
    int iterations = stats::StatisticsIterations(kv);
    stats::NagCall c;
    TalvoFloat r = TalvoMP_g01gec(x, a, b, lambda, tol, iterations, &c.fail);
    c.Check(kv);
    return r;
}

TalvoFloat _NonCentralBetaProbabilityAdapter::Call(TalvoFloat x)
{
    return STATS_NonCentralBetaProbability_MP(m_kv, x, m_a, m_b, m_lambda, m_tol);
}

TalvoFloat STATS_NonCentralBetaDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat a, TalvoFloat b,
                                          TalvoFloat lambda, TalvoFloat tol)
{
    int iterations = stats::StatisticsIterations(kv);
    _NonCentralBetaProbabilityAdapter cdf(kv, a, b, lambda, tol);
    return STATS_BrentMethod_MP(kv, p, cdf, TalvoFloat(0.0), TalvoFloat(1.0), tol, iterations);
}

// The numerator takes the sum of squares while it has at most 100 terms
// (a <= 50) and inversion beyond.
TalvoFloat STATS_NonCentralBetaRandomVariate_MP(TKernelVector kv, TalvoFloat a, TalvoFloat b, TalvoFloat lambda)
{
    const TalvoFloat two(2.0);
    int method = a <= TalvoFloat(50.0) ? 1 : 0;
    TalvoFloat x = STATS_NonCentralChiSquareRandomVariate_MP(kv, two * a, lambda, method);
    TalvoFloat y = STATS_ChiSquareRandomVariate_MP(kv, two * b);
    return x / (x + y);
}

TalvoFloat STATS_NonCentralBetaRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat a = params[0], b = params[1], lambda = params[2];
    return STATS_NonCentralBetaRandomVariate_MP(kv, a, b, lambda);
}

// x, a, b, lambda; the tolerance is 10^-Digits.
STATS_ENTRY ALGEB STATS_TalvoNonCentralBetaProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<4>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_NonCentralBetaProbability_MP(kv, p..., stats::DigitsTolerance(kv));
    });
}

// p, a, b, lambda; the tolerance is 10^-Digits.
STATS_ENTRY ALGEB STATS_TalvoNonCentralBetaDeviate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<4>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_NonCentralBetaDeviate_MP(kv, p..., stats::DigitsTolerance(kv));
    });
}

STATS_ENTRY ALGEB STATS_TalvoNonCentralBetaRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(
        kv, args, __func__, [](TKernelVector kv, auto... p) { return STATS_NonCentralBetaRandomVariate_MP(kv, p...); });
}

STATS_ENTRY ALGEB STATS_TalvoNonCentralBetaRandomSample_MP(TKernelVector kv, ALGEB args)
{
    return stats::SampleEntry<3>(
        kv, args, __func__, [](TKernelVector kv, auto... p) { return STATS_NonCentralBetaRandomVariate_MP(kv, p...); });
}
