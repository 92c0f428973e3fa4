// power.cpp -- the power-function distribution on [0, b]: b upper end,
// c exponent.
//
// F(x) = (x / b)^c on [0, b] (b itself included), 0 below 0 and 1 above b;
// the deviate is b * p^(1/c) and the variate the deviate of one uniform.
// No parameter is checked.
#include "correctly_rounded.hpp"
#include "distributions.hpp"
#include "entry_frame.hpp"
#include "random_sample.hpp"
#include "random_stream.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

TalvoFloat STATS_PowerProbability_MP(TKernelVector, TalvoFloat x, TalvoFloat b, TalvoFloat c)
{
    if (x < TalvoFloat(0.0))
        return TalvoFloat(0.0);
    if (x <= b)
        return stats::CorrectlyRounded([&] { return pow(x / b, c); });
    return TalvoFloat(1.0);
}

namespace {

// The deviate's formula, for host floats and in place (correctly_rounded.hpp).
constexpr auto kQuantile = [](auto p, auto b, auto c) {
    auto e = 1.0 / c;
    return b * pow(p, e);
};
using Quantile = stats::ClosedForm<decltype(kQuantile), 2>;

} // namespace

TalvoFloat STATS_PowerDeviate_MP(TKernelVector, TalvoFloat p, TalvoFloat b, TalvoFloat c)
{
    return Quantile(kQuantile, {b, c}).Rounded(p);
}

TalvoFloat STATS_PowerRandomVariate_MP(TKernelVector kv, TalvoFloat b, TalvoFloat c)
{
    TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
    return STATS_PowerDeviate_MP(kv, u, b, c);
}

TalvoFloat STATS_PowerRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat b = params[0], c = params[1];
    return STATS_PowerRandomVariate_MP(kv, b, c);
}

STATS_ENTRY ALGEB STATS_TalvoPowerProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_PowerProbability_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoPowerDeviate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_PowerDeviate_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoPowerRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return STATS_PowerRandomVariate_MP(kv, p...); });
}

STATS_ENTRY ALGEB STATS_TalvoPowerRandomSample_MP(TKernelVector kv, ALGEB args)
{
    return stats::InversionSampleEntry<Quantile>(kv, args, __func__, kQuantile, [](Quantile &q, const TalvoFloat &u) { return q.Rounded(u); });
}
