// noncentral_beta.cpp -- the non-central beta distribution with shapes a, b
// and non-centrality lambda.
//
// The probability is the numerics library's Poisson-weighted series, asked
// for the relative accuracy tol with the iteration limit read from the host
// on every call.  The deviate inverts it with Brent's method on the whole
// support [0, 1], to the absolute tolerance tol.
#include "entry_frame.hpp"
#include "nag_call.hpp"
#include "rootfinding.hpp"
#include "sampling_distributions.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

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

// x, a, b, lambda; the tolerance is 10^-Digits.
STATS_ENTRY ALGEB STATS_TalvoNonCentralBetaProbability_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 4);
    TalvoFloat x = f.real(1), a = f.real(2), b = f.real(3), lambda = f.real(4);
    TalvoFloat tol = stats::DigitsTolerance(kv);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_NonCentralBetaProbability_MP(kv, x, a, b, lambda, tol));
}

// p, a, b, lambda; the tolerance is 10^-Digits.
STATS_ENTRY ALGEB STATS_TalvoNonCentralBetaDeviate_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 4);
    TalvoFloat p = f.real(1), a = f.real(2), b = f.real(3), lambda = f.real(4);
    TalvoFloat tol = stats::DigitsTolerance(kv);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_NonCentralBetaDeviate_MP(kv, p, a, b, lambda, tol));
}
