// gamma.cpp -- the gamma distribution, parameters in the order scale, shape.
//
// The numerics routines take shape before scale; the entries' first
// parameter is passed as the routines' scale and the second as their shape,
// so Gamma(2, 3) has mean 6.  A deviate tolerance of 0 asks the routine for
// the full precision.  Variates come from the gamma generator.
#include "entry_frame.hpp"
#include "nag_call.hpp"
#include "probability_type.hpp"
#include "sampling_distributions.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

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

STATS_ENTRY ALGEB STATS_TalvoGammaProbability_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    TalvoFloat x = f.real(1), scale = f.real(2), shape = f.real(3);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_GammaProbability_MP(kv, x, scale, shape));
}

STATS_ENTRY ALGEB STATS_TalvoGammaDeviate_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    TalvoFloat p = f.real(1), scale = f.real(2), shape = f.real(3);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_GammaDeviate_MP(kv, p, scale, shape));
}
