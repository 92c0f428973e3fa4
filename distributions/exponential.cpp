// exponential.cpp -- the exponential distribution: b scale.
//
// F(x) = 1 - exp(-x/b), with no test on the sign of x.  Variates are b * e
// with e from the ziggurat exponential generator, whose draws take the sign
// of the random integer behind them: about half of them are negative (see
// ziggurat.hpp for the law they follow).
#include "correctly_rounded.hpp"
#include "distributions.hpp"
#include "entry_frame.hpp"
#include "random_sample.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"
#include "ziggurat.hpp"

TalvoFloat STATS_ExponentialProbability_MP(TKernelVector, TalvoFloat x, TalvoFloat b)
{
    // 1 - exp(t) as -expm1(t): the same value without the cancellation at small t.
    return stats::CorrectlyRounded([&] { return stats::OneMinusExp(-x / b); });
}

TalvoFloat STATS_ExponentialDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat b)
{
    if (p < TalvoFloat(0.0) || p > 1L)
        TalvoRaiseError1(kv, "invalid value for the tail probability: %1", STATS_DoubleToTalvoFloat_MP(kv, p));
    // ln(1 - p) as log1p(-p), which keeps every digit for small p.
    return stats::CorrectlyRounded([&] { return -b * stats::LnOneMinus(p); });
}

TalvoFloat STATS_ExponentialRandomVariate_MP(TKernelVector, TalvoFloat b)
{
    STATS_ZigguratExpGenerator_MP::Reset();
    TalvoFloat e = STATS_ZigguratExpGenerator_MP::Next();
    return e * b;
}

TalvoFloat STATS_ExponentialRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat b = params[0];
    return STATS_ExponentialRandomVariate_MP(kv, b);
}

STATS_ENTRY ALGEB STATS_TalvoExponentialProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_ExponentialProbability_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoExponentialDeviate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_ExponentialDeviate_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoExponentialRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<1>(
        kv, args, __func__, [](TKernelVector kv, auto... p) { return STATS_ExponentialRandomVariate_MP(kv, p...); });
}

STATS_ENTRY ALGEB STATS_TalvoExponentialRandomSample_MP(TKernelVector kv, ALGEB args)
{
    return stats::SampleEntry<1>(
        kv, args, __func__, [](TKernelVector kv, auto... p) { return STATS_ExponentialRandomVariate_MP(kv, p...); });
}
