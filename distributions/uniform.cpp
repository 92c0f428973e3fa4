// uniform.cpp -- the continuous uniform distribution on [a, b].
//
// F(x) = (x - a) / (b - a) between the ends, 0 at or below a and 1 at or
// above b.  The variate is u * (b - a) + a from one uniform draw, written
// out rather than through the deviate (a + p * (b - a)), so the two round
// differently in the last place.  Nothing is checked: b <= a gives the float
// library's value.
#include "correctly_rounded.hpp"
#include "distributions.hpp"
#include "entry_frame.hpp"
#include "random_sample.hpp"
#include "random_stream.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

TalvoFloat STATS_UniformProbability_MP(TKernelVector, TalvoFloat x, TalvoFloat a, TalvoFloat b)
{
    if (x <= a)
        return TalvoFloat(0.0);
    if (x >= b)
        return TalvoFloat(1.0);
    return stats::CorrectlyRounded([&] { return (x - a) / (b - a); });
}

TalvoFloat STATS_UniformDeviate_MP(TKernelVector, TalvoFloat p, TalvoFloat a, TalvoFloat b)
{
    return stats::CorrectlyRounded([&] { return a + p * (b - a); });
}

TalvoFloat STATS_UniformRandomVariate_MP(TKernelVector, TalvoFloat a, TalvoFloat b)
{
    TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
    return u * (b - a) + a;
}

TalvoFloat STATS_UniformRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat a = params[0], b = params[1];
    return STATS_UniformRandomVariate_MP(kv, a, b);
}

// The Probability and Deviate entries share the variate entry's count
// message ("TalvoUniformRandomVariate expects 3 arguments"); see
// kIrregularCounts in entry_frame.cpp.
STATS_ENTRY ALGEB STATS_TalvoUniformProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_UniformProbability_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoUniformDeviate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_UniformDeviate_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoUniformRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return STATS_UniformRandomVariate_MP(kv, p...); });
}

STATS_ENTRY ALGEB STATS_TalvoUniformRandomSample_MP(TKernelVector kv, ALGEB args)
{
    return stats::SampleEntry<2>(kv, args, __func__,
                                 [](TKernelVector kv, auto... p) { return STATS_UniformRandomVariate_MP(kv, p...); });
}
