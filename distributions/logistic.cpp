// logistic.cpp -- the logistic distribution: a location, b scale.
//
// F(x) = 1 / (1 + exp(-(x - a) / b)); the deviate is a + b ln(p / (1 - p))
// and the variate the deviate of one uniform.  No parameter is checked.
#include "correctly_rounded.hpp"
#include "distributions.hpp"
#include "entry_frame.hpp"
#include "random_sample.hpp"
#include "random_stream.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

TalvoFloat STATS_LogisticProbability_MP(TKernelVector, TalvoFloat x, TalvoFloat a, TalvoFloat b)
{
    return stats::CorrectlyRounded([&] {
        TalvoFloat t = -(x - a) / b;
        return 1.0 / (TalvoFloat(1.0) + exp(t));
    });
}

namespace {

// The deviate's formula, for host floats and in place (correctly_rounded.hpp).
constexpr auto kQuantile = [](auto p, auto a, auto b) {
    using N = decltype(p);
    return a + b * log(p / (N(1.0) - p));
};
using Quantile = stats::ClosedForm<decltype(kQuantile), 2>;

} // namespace

TalvoFloat STATS_LogisticDeviate_MP(TKernelVector, TalvoFloat p, TalvoFloat a, TalvoFloat b)
{
    return Quantile(kQuantile, {a, b}).Rounded(p);
}

TalvoFloat STATS_LogisticRandomVariate_MP(TKernelVector kv, TalvoFloat a, TalvoFloat b)
{
    TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
    return STATS_LogisticDeviate_MP(kv, u, a, b);
}

TalvoFloat STATS_LogisticRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat a = params[0], b = params[1];
    return STATS_LogisticRandomVariate_MP(kv, a, b);
}

STATS_ENTRY ALGEB STATS_TalvoLogisticProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_LogisticProbability_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoLogisticDeviate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_LogisticDeviate_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoLogisticRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return STATS_LogisticRandomVariate_MP(kv, p...); });
}

STATS_ENTRY ALGEB STATS_TalvoLogisticRandomSample_MP(TKernelVector kv, ALGEB args)
{
    return stats::InversionSampleEntry<Quantile>(kv, args, __func__, kQuantile, [](Quantile &q, const TalvoFloat &u) { return q.Rounded(u); });
}
