// bernoulli.cpp -- the Bernoulli distribution: 1 with probability p, else 0.
//
// The probability takes an integer outcome: 1 - p at 0, p at 1, 0 anywhere
// else (it is the point probability there, not a cumulative one).  The
// deviate is 0 up to 1 - p and 1 above; the variate is 1 when its uniform is
// at most p.  p is not checked.
#include "discrete_distributions.hpp"
#include "entry_frame.hpp"
#include "random_sample.hpp"
#include "random_stream.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

TalvoFloat STATS_BernoulliProbability_MP(TKernelVector, long k, TalvoFloat p)
{
    if (k == 0)
        return TalvoFloat(1.0) - p;
    if (k == 1)
        return p;
    return TalvoFloat(0.0);
}

long STATS_BernoulliDeviate_MP(TKernelVector, TalvoFloat p, TalvoFloat prob)
{
    return p <= TalvoFloat(1.0) - prob ? 0 : 1;
}

TalvoFloat STATS_BernoulliRandomVariate_MP(TKernelVector, TalvoFloat p)
{
    TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
    return TalvoFloat(u <= p ? 1.0 : 0.0);
}

TalvoFloat STATS_BernoulliRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat p = params[0];
    return STATS_BernoulliRandomVariate_MP(kv, p);
}

// k (truncated to an integer), p.
STATS_ENTRY ALGEB STATS_TalvoBernoulliProbability_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 2);
    long k = f.integer(1);
    TalvoFloat p = f.real(2);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_BernoulliProbability_MP(kv, k, p));
}

STATS_ENTRY ALGEB STATS_TalvoBernoulliDeviate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return TalvoFloat(double(STATS_BernoulliDeviate_MP(kv, p...)));
    });
}

STATS_ENTRY ALGEB STATS_TalvoBernoulliRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<1>(
        kv, args, __func__, [](TKernelVector kv, auto... p) { return STATS_BernoulliRandomVariate_MP(kv, p...); });
}

STATS_ENTRY ALGEB STATS_TalvoBernoulliRandomSample_MP(TKernelVector kv, ALGEB args)
{
    return stats::SampleEntry<1>(kv, args, __func__,
                                 [](TKernelVector kv, auto... p) { return STATS_BernoulliRandomVariate_MP(kv, p...); });
}
