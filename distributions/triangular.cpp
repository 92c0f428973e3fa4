// triangular.cpp -- the triangular distribution: a lower end, b upper end,
// c mode (a <= c <= b).
//
// F(x) = (x - a)^2 / (b - a) / (c - a) below the mode and
// 1 - (b - x)^2 / (b - a) / (b - c) above it; 0 below a and 1 from b on.
// The deviate inverts each piece; the variate is the deviate of one uniform.
// Nothing is checked: ends or a mode out of order give the float library's
// value.
#include "correctly_rounded.hpp"
#include "distributions.hpp"
#include "entry_frame.hpp"
#include "random_sample.hpp"
#include "random_stream.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

TalvoFloat STATS_TriangularProbability_MP(TKernelVector, TalvoFloat x, TalvoFloat a, TalvoFloat b, TalvoFloat c)
{
    if (x < a)
        return TalvoFloat(0.0);
    if (x < c) {
        return stats::CorrectlyRounded([&] {
            TalvoFloat d = x - a;
            return d * d / (b - a) / (c - a);
        });
    }
    if (x < b) {
        return stats::CorrectlyRounded([&] {
            TalvoFloat d = b - x;
            return TalvoFloat(1.0) - d * d / (b - a) / (b - c);
        });
    }
    return TalvoFloat(1.0);
}

namespace {

// The deviate's branch test, at the working precision: p * (b - a) < c - a is
// p < F(c) without a division.
constexpr auto kBelowMode = [](auto p, auto a, auto b, auto c) { return p * (b - a) < c - a; };

// The deviate's formula on each side of the mode, for host floats and in
// place (correctly_rounded.hpp).
constexpr auto kQuantile = [](auto p, auto a, auto b, auto c, bool below_mode) {
    using N = decltype(p);
    if (below_mode)
        return a + sqrt(p * (b - a) * (c - a));
    return b - sqrt((N(1.0) - p) * (b - a) * (b - c));
};
using Quantile = stats::ClosedForm<decltype(kQuantile), 3>;

TalvoFloat Deviate(Quantile &q, const TalvoFloat &p) { return q.Rounded(p, q.Test(kBelowMode, p)); }

} // namespace

TalvoFloat STATS_TriangularDeviate_MP(TKernelVector, TalvoFloat p, TalvoFloat a, TalvoFloat b, TalvoFloat c)
{
    Quantile q(kQuantile, {a, b, c});
    return Deviate(q, p);
}

TalvoFloat STATS_TriangularRandomVariate_MP(TKernelVector kv, TalvoFloat a, TalvoFloat b, TalvoFloat c)
{
    TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
    return STATS_TriangularDeviate_MP(kv, u, a, b, c);
}

TalvoFloat STATS_TriangularRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat a = params[0], b = params[1], c = params[2];
    return STATS_TriangularRandomVariate_MP(kv, a, b, c);
}

STATS_ENTRY ALGEB STATS_TalvoTriangularProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<4>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_TriangularProbability_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoTriangularDeviate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<4>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_TriangularDeviate_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoTriangularRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(
        kv, args, __func__, [](TKernelVector kv, auto... p) { return STATS_TriangularRandomVariate_MP(kv, p...); });
}

STATS_ENTRY ALGEB STATS_TalvoTriangularRandomSample_MP(TKernelVector kv, ALGEB args)
{
    return stats::InversionSampleEntry<Quantile>(kv, args, __func__, kQuantile, Deviate);
}
