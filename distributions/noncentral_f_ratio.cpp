// noncentral_f_ratio.cpp -- the non-central F distribution with nu1 and nu2
// degrees of freedom and non-centrality lambda.
//
// The probability is the numerics library's routine, asked for the
// relative accuracy tol with the iteration limit read from the host on every
// call.  The deviate inverts it with Brent's hybrid search, marching right
// from the barrier 0 with 5 as its first point, to the absolute tolerance
// tol.  A variate is (X1 nu2) / (X2 nu1): X1 a non-central chi-square draw
// by inversion, then X2 a chi-square draw.
#include "entry_frame.hpp"
#include "nag_call.hpp"
#include "random_sample.hpp"
#include "rootfinding.hpp"
#include "sampling_distributions.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"
#include "variate_algorithms.hpp"

TalvoFloat STATS_NonCentralFRatioProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat nu1, TalvoFloat nu2,
                                                TalvoFloat lambda, TalvoFloat tol)
{
    int iterations = stats::StatisticsIterations(kv);
    stats::NagCall c;
    TalvoFloat r = TalvoMP_g01gdc(x, nu1, nu2, lambda, tol, iterations, &c.fail);
    c.Check(kv);
    return r;
}

TalvoFloat _NonCentralFRatioProbabilityAdapter::Call(TalvoFloat x)
{
    return STATS_NonCentralFRatioProbability_MP(m_kv, x, m_nu1, m_nu2, m_lambda, m_tol);
}

TalvoFloat STATS_NonCentralFRatioDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat nu1, TalvoFloat nu2,
                                            TalvoFloat lambda, TalvoFloat tol)
{
    int iterations = stats::StatisticsIterations(kv);
    _NonCentralFRatioProbabilityAdapter cdf(kv, nu1, nu2, lambda, tol);
    return STATS_BrentMethodHybridLeft_MP(kv, p, cdf, TalvoFloat(0.0), TalvoFloat(1.0), TalvoFloat(0.0),
                                          TalvoFloat(5.0), tol, iterations);
}

// The numerator is a non-central chi-square by inversion, the denominator a
// chi-square, drawn in that order.
TalvoFloat STATS_NonCentralFRatioRandomVariate_MP(TKernelVector kv, TalvoFloat nu1, TalvoFloat nu2, TalvoFloat lambda)
{
    TalvoFloat x1 = STATS_NonCentralChiSquareRandomVariate_MP(kv, nu1, lambda, 0);
    TalvoFloat x2 = STATS_ChiSquareRandomVariate_MP(kv, nu2);
    return (x1 * nu2) / (x2 * nu1);
}

// x, nu1, nu2, lambda; the tolerance is 10^-Digits.
STATS_ENTRY ALGEB STATS_TalvoNonCentralFRatioProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<4>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_NonCentralFRatioProbability_MP(kv, p..., stats::DigitsTolerance(kv));
    });
}

// p, nu1, nu2, lambda; the tolerance is 10^-Digits.
STATS_ENTRY ALGEB STATS_TalvoNonCentralFRatioDeviate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<4>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_NonCentralFRatioDeviate_MP(kv, p..., stats::DigitsTolerance(kv));
    });
}

STATS_ENTRY ALGEB STATS_TalvoNonCentralFRatioRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_NonCentralFRatioRandomVariate_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoNonCentralFRatioRandomSample_MP(TKernelVector kv, ALGEB args)
{
    return stats::SampleEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_NonCentralFRatioRandomVariate_MP(kv, p...);
    });
}
