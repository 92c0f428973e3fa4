// negative_binomial.cpp -- the negative binomial distribution: failures
// before the n-th success of trials with success probability p (n real).
//
// P(X <= k) = I_p(n, k + 1), the beta distribution function at the point p
// with parameters n and floor(x) + 1; a point below 0 makes the second
// parameter non-positive and raises the beta routine's error.  The deviate
// marches right from the barrier 0 with the hybrid-left discrete search,
// starting at n truncated to an integer, with a fixed limit of 100 rounds
// (the host's iteration limit is not read); n < 1 therefore starts on the
// barrier and the search refuses it.
#include "discrete_cdf_memo.hpp"
#include "discrete_distributions.hpp"
#include "entry_frame.hpp"
#include "random_sample.hpp"
#include "random_stream.hpp"
#include "rootfinding.hpp"
#include "sampling_distributions.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

namespace {

constexpr int kNegativeBinomialIterations = 100;

} // namespace

TalvoFloat STATS_NegativeBinomialProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat n, TalvoFloat p)
{
    return STATS_BetaProbability_MP(kv, p, n, floor(x) + TalvoFloat(1.0));
}

TalvoFloat _NegativeBinomialProbabilityAdapter::Call(TalvoFloat x)
{
    static stats::DiscreteCdfMemo memo;
    return memo.Value({}, {m_n, m_p}, x, [&] { return STATS_NegativeBinomialProbability_MP(m_kv, x, m_n, m_p); });
}

long STATS_NegativeBinomialDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat n, TalvoFloat prob)
{
    _NegativeBinomialProbabilityAdapter cdf(kv, n, prob);
    long start = STATS_DoubleToInteger_MP(n);
    return STATS_DiscreteInterpolationHybridLeft_MP(kv, p, cdf, TalvoFloat(0.0), TalvoFloat(1.0), 0, start,
                                                    kNegativeBinomialIterations);
}

TalvoFloat STATS_NegativeBinomialRandomVariate_MP(TKernelVector kv, TalvoFloat n, TalvoFloat p)
{
    TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
    return TalvoFloat(static_cast<double>(STATS_NegativeBinomialDeviate_MP(kv, u, n, p)));
}

TalvoFloat STATS_NegativeBinomialRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat n = params[0], p = params[1];
    return STATS_NegativeBinomialRandomVariate_MP(kv, n, p);
}

STATS_ENTRY ALGEB STATS_TalvoNegativeBinomialProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_NegativeBinomialProbability_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoNegativeBinomialDeviate_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    TalvoFloat p = f.real(1), n = f.real(2), prob = f.real(3);
    return STATS_DoubleToTalvoFloat_MP(kv,
                                       TalvoFloat(static_cast<double>(STATS_NegativeBinomialDeviate_MP(kv, p, n, prob))));
}

STATS_ENTRY ALGEB STATS_TalvoNegativeBinomialRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_NegativeBinomialRandomVariate_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoNegativeBinomialRandomSample_MP(TKernelVector kv, ALGEB args)
{
    return stats::SampleEntry<2>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_NegativeBinomialRandomVariate_MP(kv, p...);
    });
}
