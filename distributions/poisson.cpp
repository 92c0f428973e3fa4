// poisson.cpp -- the Poisson distribution with mean mu.
//
// The probability is the numerics library's lower tail P(X <= k) with x
// truncated toward zero to k (no floor: -0.5 gives k = 0).  The deviate
// marches right from the barrier 0 with the hybrid-left discrete search,
// starting at floor(mu) (1 when that is 0), with the host's iteration limit.
#include "discrete_cdf_memo.hpp"
#include "discrete_distributions.hpp"
#include "entry_frame.hpp"
#include "nag_call.hpp"
#include "random_sample.hpp"
#include "random_stream.hpp"
#include "rootfinding.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

TalvoFloat STATS_PoissonProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat mu)
{
    long k = STATS_DoubleToInteger_MP(x);
    TalvoFloat plek, pgtk, peqk;
    stats::NagCall c;
    TalvoMP_g01bkc(mu, k, &plek, &pgtk, &peqk, &c.fail);
    c.Check(kv);
    return plek;
}

TalvoFloat _PoissonProbabilityAdapter::Call(TalvoFloat x)
{
    static stats::DiscreteCdfMemo memo;
    return memo.Value({}, {m_mu}, x, [&] { return STATS_PoissonProbability_MP(m_kv, x, m_mu); });
}

long STATS_PoissonDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat mu)
{
    int iterations = stats::StatisticsIterations(kv);
    _PoissonProbabilityAdapter cdf(kv, mu);
    long start = STATS_DoubleToInteger_MP(floor(mu));
    if (start == 0)
        start = 1;
    return STATS_DiscreteInterpolationHybridLeft_MP(kv, p, cdf, TalvoFloat(0.0), TalvoFloat(1.0), 0, start, iterations);
}

TalvoFloat STATS_PoissonRandomVariate_MP(TKernelVector kv, TalvoFloat mu)
{
    TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
    return TalvoFloat(static_cast<double>(STATS_PoissonDeviate_MP(kv, u, mu)));
}

TalvoFloat STATS_PoissonRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat mu = params[0];
    return STATS_PoissonRandomVariate_MP(kv, mu);
}

STATS_ENTRY ALGEB STATS_TalvoPoissonProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_PoissonProbability_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoPoissonDeviate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return TalvoFloat(static_cast<double>(STATS_PoissonDeviate_MP(kv, p...)));
    });
}

STATS_ENTRY ALGEB STATS_TalvoPoissonRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<1>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return STATS_PoissonRandomVariate_MP(kv, p...); });
}

STATS_ENTRY ALGEB STATS_TalvoPoissonRandomSample_MP(TKernelVector kv, ALGEB args)
{
    return stats::SampleEntry<1>(kv, args, __func__,
                                 [](TKernelVector kv, auto... p) { return STATS_PoissonRandomVariate_MP(kv, p...); });
}
