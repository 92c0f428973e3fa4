// hypergeometric.cpp -- the hypergeometric distribution: marked items in a
// sample of i2 drawn without replacement from a population of i1 holding i3
// marked items.
//
// The probability is 0 below 0 and 1 above i2 or i3; in between it is the
// numerics library's lower tail at floor(x) (population i1, sample i2,
// marked i3).  Below the support's lower end i2 + i3 - i1 the point is
// outside the routine's domain and its error is raised.  The deviate is
// min(i2, i3) at p = 1 and otherwise the plain discrete search on 0..i2 with
// the host's iteration limit.
#include "discrete_cdf_memo.hpp"
#include "discrete_distributions.hpp"
#include "entry_frame.hpp"
#include "nag_call.hpp"
#include "random_sample.hpp"
#include "random_stream.hpp"
#include "rootfinding.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

#include <algorithm>

TalvoFloat STATS_HypergeometricProbability_MP(TKernelVector kv, TalvoFloat x, long i1, long i2, long i3)
{
    if (x < TalvoFloat(0.0))
        return TalvoFloat(0.0);
    if (x > i2 || x > i3)
        return TalvoFloat(1.0);
    long k = STATS_DoubleToInteger_MP(floor(x));
    TalvoFloat plek, pgtk, peqk;
    stats::NagCall c;
    TalvoMP_g01blc(i1, i2, i3, k, &plek, &pgtk, &peqk, &c.fail);
    c.Check(kv);
    return plek;
}

TalvoFloat _HypergeometricProbabilityAdapter::Call(TalvoFloat x)
{
    static stats::DiscreteCdfMemo memo;
    return memo.Value({m_i1, m_i2, m_i3}, {}, x,
                      [&] { return STATS_HypergeometricProbability_MP(m_kv, x, m_i1, m_i2, m_i3); });
}

long STATS_HypergeometricDeviate_MP(TKernelVector kv, TalvoFloat p, long i1, long i2, long i3)
{
    if (p == TalvoFloat(1.0))
        return std::min(i2, i3);
    int iterations = stats::StatisticsIterations(kv);
    _HypergeometricProbabilityAdapter cdf(kv, i1, i2, i3);
    return STATS_DiscreteInterpolation_MP(kv, p, cdf, 0, i2, iterations);
}

TalvoFloat STATS_HypergeometricRandomVariate_MP(TKernelVector kv, long i1, long i2, long i3)
{
    TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
    return TalvoFloat(static_cast<double>(STATS_HypergeometricDeviate_MP(kv, u, i1, i2, i3)));
}

TalvoFloat STATS_HypergeometricRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    long i1 = STATS_DoubleToInteger_MP(params[0]), i2 = STATS_DoubleToInteger_MP(params[1]),
         i3 = STATS_DoubleToInteger_MP(params[2]);
    return STATS_HypergeometricRandomVariate_MP(kv, i1, i2, i3);
}

// x, then the population, sample and marked counts (truncated to integers).
STATS_ENTRY ALGEB STATS_TalvoHypergeometricProbability_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 4);
    TalvoFloat x = f.real(1);
    long i1 = f.integer(2), i2 = f.integer(3), i3 = f.integer(4);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_HypergeometricProbability_MP(kv, x, i1, i2, i3));
}

STATS_ENTRY ALGEB STATS_TalvoHypergeometricDeviate_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 4);
    TalvoFloat p = f.real(1);
    long i1 = f.integer(2), i2 = f.integer(3), i3 = f.integer(4);
    return STATS_DoubleToTalvoFloat_MP(
        kv, TalvoFloat(static_cast<double>(STATS_HypergeometricDeviate_MP(kv, p, i1, i2, i3))));
}

STATS_ENTRY ALGEB STATS_TalvoHypergeometricRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    long i1 = f.integer(1), i2 = f.integer(2), i3 = f.integer(3);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_HypergeometricRandomVariate_MP(kv, i1, i2, i3));
}

STATS_ENTRY ALGEB STATS_TalvoHypergeometricRandomSample_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 4);
    int n = f.int32(1);
    long i1 = f.integer(2), i2 = f.integer(3), i3 = f.integer(4);
    return stats::FillRandomSample(kv, n, [&] { return STATS_HypergeometricRandomVariate_MP(kv, i1, i2, i3); });
}
