// weibull.cpp -- the Weibull distribution: a scale, b shape.
//
// F(x) = 1 - exp(-(x/a)^b) for x >= 0 and 0 below; the deviate and the
// variate invert it in closed form.  No parameter is checked: a bad one gives
// the float library's value (undefined, an infinity, a probability out of
// range).
#include "correctly_rounded.hpp"
#include "distributions.hpp"
#include "entry_frame.hpp"
#include "random_sample.hpp"
#include "random_stream.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

TalvoFloat STATS_WeibullProbability_MP(TKernelVector, TalvoFloat x, TalvoFloat a, TalvoFloat b)
{
    if (x < TalvoFloat(0.0))
        return TalvoFloat(0.0);
    return stats::CorrectlyRounded([&] {
        TalvoFloat t = pow(x / a, b);
        return stats::OneMinusExp(-t); // 1 - exp(-t)
    });
}

namespace {

// The deviate's formula, for host floats and in place (correctly_rounded.hpp).
constexpr auto kQuantile = [](auto p, auto a, auto b) {
    auto e = 1.0 / b;
    auto t = -stats::LnOneMinus(p); // -ln(1 - p)
    return a * pow(t, e);
};
using Quantile = stats::ClosedForm<decltype(kQuantile), 2>;

} // namespace

TalvoFloat STATS_WeibullDeviate_MP(TKernelVector, TalvoFloat p, TalvoFloat a, TalvoFloat b)
{
    return Quantile(kQuantile, {a, b}).Rounded(p);
}

TalvoFloat STATS_WeibullRandomVariate_MP(TKernelVector kv, TalvoFloat a, TalvoFloat b)
{
    TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
    return STATS_WeibullDeviate_MP(kv, u, a, b);
}

TalvoFloat STATS_WeibullRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat a = params[0], b = params[1];
    return STATS_WeibullRandomVariate_MP(kv, a, b);
}

STATS_ENTRY ALGEB STATS_TalvoWeibullProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_WeibullProbability_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoWeibullDeviate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_WeibullDeviate_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoWeibullRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return STATS_WeibullRandomVariate_MP(kv, p...); });
}

STATS_ENTRY ALGEB STATS_TalvoWeibullRandomSample_MP(TKernelVector kv, ALGEB args)
{
    return stats::InversionSampleEntry<Quantile>(kv, args, __func__, kQuantile, [](Quantile &q, const TalvoFloat &u) { return q.Rounded(u); });
}
