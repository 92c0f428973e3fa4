// rayleigh.cpp -- the Rayleigh distribution: b scale.
//
// F(x) = 1 - exp(-x^2 / (2 b^2)) for x >= 0 and 0 below; the deviate is
// (-2 b^2 ln(1 - p))^(1/2) and the variate the deviate of one uniform.  Both
// are correctly rounded values of their formula; 1 - exp(-t) and ln(1 - p),
// which cancel for tiny t and p, are taken as -expm1(-t) and log1p(-p).  No
// parameter is checked.
#include "correctly_rounded.hpp"
#include "distributions.hpp"
#include "entry_frame.hpp"
#include "random_sample.hpp"
#include "random_stream.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

TalvoFloat STATS_RayleighProbability_MP(TKernelVector, TalvoFloat x, TalvoFloat b)
{
    if (x < TalvoFloat(0.0))
        return TalvoFloat(0.0);
    return stats::CorrectlyRounded([&] {
        TalvoFloat t = -x * x / (TalvoFloat(2.0) * b * b);
        return stats::OneMinusExp(t); // 1 - exp(t)
    });
}

namespace {

// The deviate's formula, for host floats and in place (correctly_rounded.hpp).
constexpr auto kQuantile = [](auto p, auto b) {
    using N = decltype(p);
    auto t = N(-2.0) * b * b * stats::LnOneMinus(p); // ln(1 - p)
    return pow(t, 0.5);
};
using Quantile = stats::ClosedForm<decltype(kQuantile), 1>;

} // namespace

TalvoFloat STATS_RayleighDeviate_MP(TKernelVector, TalvoFloat p, TalvoFloat b)
{
    return Quantile(kQuantile, {b}).Rounded(p);
}

TalvoFloat STATS_RayleighRandomVariate_MP(TKernelVector kv, TalvoFloat b)
{
    TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
    return STATS_RayleighDeviate_MP(kv, u, b);
}

TalvoFloat STATS_RayleighRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat b = params[0];
    return STATS_RayleighRandomVariate_MP(kv, b);
}

STATS_ENTRY ALGEB STATS_TalvoRayleighProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_RayleighProbability_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoRayleighDeviate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_RayleighDeviate_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoRayleighRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<1>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return STATS_RayleighRandomVariate_MP(kv, p...); });
}

STATS_ENTRY ALGEB STATS_TalvoRayleighRandomSample_MP(TKernelVector kv, ALGEB args)
{
    return stats::InversionSampleEntry<Quantile>(kv, args, __func__, kQuantile, [](Quantile &q, const TalvoFloat &u) { return q.Rounded(u); });
}
