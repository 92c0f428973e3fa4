// noncentral_chi_square.cpp -- the non-central chi-square distribution with
// nu degrees of freedom and non-centrality lambda.
//
// The probability is the numerics library's Poisson-weighted series, asked
// for the relative accuracy tol with the iteration limit read from the host
// on every call.  The deviate inverts that probability: Brent's hybrid
// search marches right from the barrier 0 (where the distribution function
// is 0), starting at the mean nu + lambda, until it brackets p, and then
// refines to the absolute tolerance tol.
#include "entry_frame.hpp"
#include "nag_call.hpp"
#include "rootfinding.hpp"
#include "sampling_distributions.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

TalvoFloat STATS_NonCentralChiSquareProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat nu, TalvoFloat lambda,
                                                   TalvoFloat tol)
{
    int iterations = stats::StatisticsIterations(kv);
    stats::NagCall c;
    TalvoFloat r = TalvoMP_g01gcc(x, nu, lambda, tol, iterations, &c.fail);
    c.Check(kv);
    return r;
}

TalvoFloat _NonCentralChiSquareProbabilityAdapter::Call(TalvoFloat x)
{
    return STATS_NonCentralChiSquareProbability_MP(m_kv, x, m_nu, m_lambda, m_tol);
}

TalvoFloat STATS_NonCentralChiSquareDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat nu, TalvoFloat lambda,
                                               TalvoFloat tol)
{
    int iterations = stats::StatisticsIterations(kv);
    _NonCentralChiSquareProbabilityAdapter cdf(kv, nu, lambda, tol);
    return STATS_BrentMethodHybridLeft_MP(kv, p, cdf, TalvoFloat(0.0), TalvoFloat(1.0), TalvoFloat(0.0), nu + lambda,
                                          tol, iterations);
}

// x, nu, lambda; the tolerance is 10^-Digits.
STATS_ENTRY ALGEB STATS_TalvoNonCentralChiSquareProbability_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    TalvoFloat x = f.real(1), nu = f.real(2), lambda = f.real(3);
    TalvoFloat tol = stats::DigitsTolerance(kv);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_NonCentralChiSquareProbability_MP(kv, x, nu, lambda, tol));
}

// p, nu, lambda; the tolerance is 10^-Digits.
STATS_ENTRY ALGEB STATS_TalvoNonCentralChiSquareDeviate_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    TalvoFloat p = f.real(1), nu = f.real(2), lambda = f.real(3);
    TalvoFloat tol = stats::DigitsTolerance(kv);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_NonCentralChiSquareDeviate_MP(kv, p, nu, lambda, tol));
}
