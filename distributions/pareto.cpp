// pareto.cpp -- the Pareto distribution: a lower end (scale), c shape.
//
// F(x) = 1 - (a / x)^c from a on and 0 below; the deviate is
// a * (1 - p)^(-1/c) and the variate the deviate of one uniform.  Both are
// correctly rounded values of their formula.  No parameter is checked.
#include "correctly_rounded.hpp"
#include "distributions.hpp"
#include "entry_frame.hpp"
#include "random_sample.hpp"
#include "random_stream.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

namespace {

bool IsFinite(const TalvoFloat &x) { return mpfr_number_p(x.mpfr()) != 0; }

} // namespace

TalvoFloat STATS_ParetoProbability_MP(TKernelVector, TalvoFloat x, TalvoFloat a, TalvoFloat c)
{
    if (x < a)
        return TalvoFloat(0.0);
    // For a/x > 0, 1 - (a/x)^c = -expm1(c ln(a/x)) with ln(a/x) =
    // log1p((a - x)/x): the same value, without the cancellations near x = a.
    // Any other a/x (a sign change, a zero, an infinite x) keeps the power.
    TalvoFloat zero(0.0);
    bool logs = IsFinite(x) && ((a > zero && x > zero) || (a < zero && x < zero));
    return stats::CorrectlyRounded([&] {
        if (logs)
            return stats::OneMinusExp(c * stats::Log1p((a - x) / x));
        return TalvoFloat(1.0) - pow(a / x, c);
    });
}

namespace {

// The deviate's formula, for host floats and in place (correctly_rounded.hpp).
// (1 - p)^e = exp(e log1p(-p)) for p <= 1; above 1 the power of the negative
// 1 - p stands as it is.
constexpr auto kQuantile = [](auto p, auto a, auto c) {
    using N = decltype(p);
    auto e = -1.0 / c;
    if (p <= N(1.0))
        return a * exp(e * stats::LnOneMinus(p));
    return a * pow(N(1.0) - p, e);
};
using Quantile = stats::ClosedForm<decltype(kQuantile), 2>;

} // namespace

TalvoFloat STATS_ParetoDeviate_MP(TKernelVector, TalvoFloat p, TalvoFloat a, TalvoFloat c)
{
    return Quantile(kQuantile, {a, c}).Rounded(p);
}

TalvoFloat STATS_ParetoRandomVariate_MP(TKernelVector kv, TalvoFloat a, TalvoFloat c)
{
    TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
    return STATS_ParetoDeviate_MP(kv, u, a, c);
}

TalvoFloat STATS_ParetoRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat a = params[0], c = params[1];
    return STATS_ParetoRandomVariate_MP(kv, a, c);
}

STATS_ENTRY ALGEB STATS_TalvoParetoProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_ParetoProbability_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoParetoDeviate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_ParetoDeviate_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoParetoRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return STATS_ParetoRandomVariate_MP(kv, p...); });
}

STATS_ENTRY ALGEB STATS_TalvoParetoRandomSample_MP(TKernelVector kv, ALGEB args)
{
    return stats::InversionSampleEntry<Quantile>(kv, args, __func__, kQuantile, [](Quantile &q, const TalvoFloat &u) { return q.Rounded(u); });
}
