// gumbel.cpp -- the Gumbel (type I extreme value, maximum) distribution:
// a location, b scale.
//
// F(x) = exp(-exp(-(x - a) / b)); the deviate is a - b ln(-ln p) and the
// variate the deviate of one uniform.  No parameter is checked.
#include "correctly_rounded.hpp"
#include "distributions.hpp"
#include "entry_frame.hpp"
#include "random_sample.hpp"
#include "random_stream.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

TalvoFloat STATS_GumbelProbability_MP(TKernelVector, TalvoFloat x, TalvoFloat a, TalvoFloat b)
{
    return stats::CorrectlyRounded([&] {
        TalvoFloat t = -(x - a) / b;
        return exp(-exp(t));
    });
}

namespace {

// The deviate's formula, for host floats and in place (correctly_rounded.hpp).
constexpr auto kQuantile = [](auto p, auto a, auto b) { return a - b * log(-log(p)); };
using Quantile = stats::ClosedForm<decltype(kQuantile), 2>;

} // namespace

TalvoFloat STATS_GumbelDeviate_MP(TKernelVector, TalvoFloat p, TalvoFloat a, TalvoFloat b)
{
    return Quantile(kQuantile, {a, b}).Rounded(p);
}

TalvoFloat STATS_GumbelRandomVariate_MP(TKernelVector kv, TalvoFloat a, TalvoFloat b)
{
    TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
    return STATS_GumbelDeviate_MP(kv, u, a, b);
}

TalvoFloat STATS_GumbelRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat a = params[0], b = params[1];
    return STATS_GumbelRandomVariate_MP(kv, a, b);
}

STATS_ENTRY ALGEB STATS_TalvoGumbelProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_GumbelProbability_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoGumbelDeviate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_GumbelDeviate_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoGumbelRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return STATS_GumbelRandomVariate_MP(kv, p...); });
}

STATS_ENTRY ALGEB STATS_TalvoGumbelRandomSample_MP(TKernelVector kv, ALGEB args)
{
    return stats::InversionSampleEntry<Quantile>(kv, args, __func__, kQuantile, [](Quantile &q, const TalvoFloat &u) { return q.Rounded(u); });
}
