// gamma.cpp -- the gamma distribution, parameters in the order scale, shape.
//
// The numerics routines take shape before scale; the entries' first
// parameter is passed as the routines' scale and the second as their shape,
// so Gamma(2, 3) has mean 6.  A deviate tolerance of 0 asks the routine for
// the full precision.  Variates are the squeeze-and-reject draws of
// variates/gamma_squeeze.cpp: Setup once for the shape, then Main.
#include "entry_frame.hpp"
#include "nag_call.hpp"
#include "probability_type.hpp"
#include "random_sample.hpp"
#include "sampling_distributions.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"
#include "variate_algorithms.hpp"

TalvoFloat STATS_GammaProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat scale, TalvoFloat shape)
{
    stats::NagCall c;
    TalvoFloat r = TalvoMP_g01efc(STATS_ToNag_TailProbability_MP(STATS_LOWER_TAIL_MP), x, shape, scale, &c.fail);
    c.Check(kv);
    return r;
}

TalvoFloat STATS_GammaDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat scale, TalvoFloat shape)
{
    stats::NagCall c;
    TalvoFloat r = TalvoMP_g01ffc(p, shape, scale, TalvoFloat(0.0), &c.fail);
    c.Check(kv);
    return r;
}

TalvoFloat STATS_GammaRandomVariate_MP(TKernelVector kv, TalvoFloat scale, TalvoFloat shape)
{
    TalvoFloat d, c;
    STATS_GammaRandomVariateSetup_MP(kv, scale, shape, d, c);
    return STATS_GammaRandomVariateMain_MP(kv, scale, shape, d, c);
}

TalvoFloat STATS_GammaRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat scale = params[0], shape = params[1];
    return STATS_GammaRandomVariate_MP(kv, scale, shape);
}

STATS_ENTRY ALGEB STATS_TalvoGammaProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_GammaProbability_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoGammaDeviate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_GammaDeviate_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoGammaRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return STATS_GammaRandomVariate_MP(kv, p...); });
}

// Setup depends on the shape only, so it is done once for the whole sample;
// every element is the same draw STATS_GammaRandomVariate_MP makes.
STATS_ENTRY ALGEB STATS_TalvoGammaRandomSample_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    int n = f.int32(1);
    TalvoFloat scale = f.real(2), shape = f.real(3);
    TalvoFloat d, c;
    STATS_GammaRandomVariateSetup_MP(kv, scale, shape, d, c);
    return stats::FillRandomSample(kv, n, [&] { return STATS_GammaRandomVariateMain_MP(kv, scale, shape, d, c); });
}
