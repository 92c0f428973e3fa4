// laplace.cpp -- the Laplace (double exponential) distribution: a location,
// b scale.
//
// F(x) = exp(-(a - x) / b) / 2 below a and 1 - exp(-(x - a) / b) / 2 from a
// on.  The deviate is a + b ln(2p) for p < 1/2 and a - b ln(2(1 - p))
// otherwise (p = 1/2 gives a); the variate is the deviate of one uniform.
// No parameter is checked.
#include "correctly_rounded.hpp"
#include "distributions.hpp"
#include "entry_frame.hpp"
#include "random_sample.hpp"
#include "random_stream.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

TalvoFloat STATS_LaplaceProbability_MP(TKernelVector, TalvoFloat x, TalvoFloat a, TalvoFloat b)
{
    if (x < a)
        return stats::CorrectlyRounded([&] { return TalvoFloat(0.5) * exp(-(a - x) / b); });
    return stats::CorrectlyRounded([&] { return TalvoFloat(1.0) - TalvoFloat(0.5) * exp(-(x - a) / b); });
}

namespace {

// The deviate's formula, for host floats and in place (correctly_rounded.hpp).
constexpr auto kQuantile = [](auto p, auto a, auto b) {
    using N = decltype(p);
    if (p < N(0.5))
        return a + b * log(N(2.0) * p);
    return a - b * log(N(2.0) * (N(1.0) - p));
};
using Quantile = stats::ClosedForm<decltype(kQuantile), 2>;

} // namespace

TalvoFloat STATS_LaplaceDeviate_MP(TKernelVector, TalvoFloat p, TalvoFloat a, TalvoFloat b)
{
    return Quantile(kQuantile, {a, b}).Rounded(p);
}

TalvoFloat STATS_LaplaceRandomVariate_MP(TKernelVector kv, TalvoFloat a, TalvoFloat b)
{
    TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
    return STATS_LaplaceDeviate_MP(kv, u, a, b);
}

TalvoFloat STATS_LaplaceRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat a = params[0], b = params[1];
    return STATS_LaplaceRandomVariate_MP(kv, a, b);
}

STATS_ENTRY ALGEB STATS_TalvoLaplaceProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_LaplaceProbability_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoLaplaceDeviate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_LaplaceDeviate_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoLaplaceRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return STATS_LaplaceRandomVariate_MP(kv, p...); });
}

STATS_ENTRY ALGEB STATS_TalvoLaplaceRandomSample_MP(TKernelVector kv, ALGEB args)
{
    return stats::InversionSampleEntry<Quantile>(kv, args, __func__, kQuantile, [](Quantile &q, const TalvoFloat &u) { return q.Rounded(u); });
}
