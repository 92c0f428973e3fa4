// f_ratio.cpp -- the F (variance ratio) distribution with nu1 and nu2
// degrees of freedom.
//
// Probability and deviate are the numerics library's F routines (lower
// tail).  Variates are ratios of two chi-square draws, made with the gamma
// generator.
#include "entry_frame.hpp"
#include "nag_call.hpp"
#include "probability_type.hpp"
#include "sampling_distributions.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

TalvoFloat STATS_FRatioProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat nu1, TalvoFloat nu2)
{
    stats::NagCall c;
    TalvoFloat r = TalvoMP_g01edc(STATS_ToNag_TailProbability_MP(STATS_LOWER_TAIL_MP), x, nu1, nu2, &c.fail);
    c.Check(kv);
    return r;
}

TalvoFloat STATS_FRatioDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat nu1, TalvoFloat nu2)
{
    stats::NagCall c;
    TalvoFloat r = TalvoMP_g01fdc(p, nu1, nu2, &c.fail);
    c.Check(kv);
    return r;
}

STATS_ENTRY ALGEB STATS_TalvoFRatioProbability_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    TalvoFloat x = f.real(1), nu1 = f.real(2), nu2 = f.real(3);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_FRatioProbability_MP(kv, x, nu1, nu2));
}

STATS_ENTRY ALGEB STATS_TalvoFRatioDeviate_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    TalvoFloat p = f.real(1), nu1 = f.real(2), nu2 = f.real(3);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_FRatioDeviate_MP(kv, p, nu1, nu2));
}
