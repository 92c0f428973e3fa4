// chi_square.cpp -- the chi-square distribution with nu degrees of freedom.
//
// Probability and deviate are the numerics library's chi-square routines
// (lower tail).  Variates are gamma draws of scale 2 and shape nu/2, made
// by the gamma generator.
#include "entry_frame.hpp"
#include "nag_call.hpp"
#include "probability_type.hpp"
#include "sampling_distributions.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

TalvoFloat STATS_ChiSquareProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat nu)
{
    stats::NagCall c;
    TalvoFloat r = TalvoMP_g01ecc(STATS_ToNag_TailProbability_MP(STATS_LOWER_TAIL_MP), x, nu, &c.fail);
    c.Check(kv);
    return r;
}

TalvoFloat STATS_ChiSquareDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat nu)
{
    stats::NagCall c;
    TalvoFloat r = TalvoMP_g01fcc(p, nu, &c.fail);
    c.Check(kv);
    return r;
}

STATS_ENTRY ALGEB STATS_TalvoChiSquareProbability_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 2);
    TalvoFloat x = f.real(1), nu = f.real(2);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_ChiSquareProbability_MP(kv, x, nu));
}

STATS_ENTRY ALGEB STATS_TalvoChiSquareDeviate_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 2);
    TalvoFloat p = f.real(1), nu = f.real(2);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_ChiSquareDeviate_MP(kv, p, nu));
}
