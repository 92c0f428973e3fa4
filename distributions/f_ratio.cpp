// f_ratio.cpp -- the F (variance ratio) distribution with nu1 and nu2
// degrees of freedom.
//
// Probability and deviate are the numerics library's F routines (lower
// tail).  A variate is (X1 nu2) / (X2 nu1) for two chi-square draws, X1 of
// nu1 degrees of freedom drawn first.
#include "entry_frame.hpp"
#include "nag_call.hpp"
#include "probability_type.hpp"
#include "random_sample.hpp"
#include "sampling_distributions.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"
#include "variate_algorithms.hpp"

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

TalvoFloat STATS_FRatioRandomVariate_MP(TKernelVector kv, TalvoFloat nu1, TalvoFloat nu2)
{
    TalvoFloat x1 = STATS_ChiSquareRandomVariate_MP(kv, nu1);
    TalvoFloat x2 = STATS_ChiSquareRandomVariate_MP(kv, nu2);
    return (x1 * nu2) / (x2 * nu1);
}

TalvoFloat STATS_FRatioRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat nu1 = params[0], nu2 = params[1];
    return STATS_FRatioRandomVariate_MP(kv, nu1, nu2);
}

STATS_ENTRY ALGEB STATS_TalvoFRatioProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_FRatioProbability_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoFRatioDeviate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_FRatioDeviate_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoFRatioRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return STATS_FRatioRandomVariate_MP(kv, p...); });
}

// The draws of STATS_FRatioRandomVariate_MP, the two chi-square setups made
// once.
STATS_ENTRY ALGEB STATS_TalvoFRatioRandomSample_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    int n = f.int32(1);
    TalvoFloat nu1 = f.real(2), nu2 = f.real(3);
    stats::ChiSquareDrawer first(kv, nu1), second(kv, nu2);
    return stats::FillRandomSample(kv, n, [&] {
        TalvoFloat x1 = first();
        TalvoFloat x2 = second();
        return (x1 * nu2) / (x2 * nu1);
    });
}
