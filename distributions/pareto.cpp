// pareto.cpp -- the Pareto distribution: a lower end (scale), c shape.
//
// F(x) = 1 - (a / x)^c from a on and 0 below; the deviate is
// a * (1 - p)^(-1/c) and the variate the deviate of one uniform.  The
// deviate uses 1 - p, so for p below about 0.01 it keeps the digits of 1 - p
// rather than those of p.  No parameter is checked.
#include "distributions.hpp"
#include "entry_frame.hpp"
#include "random_sample.hpp"
#include "random_stream.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

TalvoFloat STATS_ParetoProbability_MP(TKernelVector, TalvoFloat x, TalvoFloat a, TalvoFloat c)
{
    if (x < a)
        return TalvoFloat(0.0);
    return TalvoFloat(1.0) - pow(a / x, c);
}

TalvoFloat STATS_ParetoDeviate_MP(TKernelVector, TalvoFloat p, TalvoFloat a, TalvoFloat c)
{
    TalvoFloat e = -1.0 / c;
    return a * pow(TalvoFloat(1.0) - p, e);
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
    stats::EntryFrame f(kv, args, __func__, 3);
    TalvoFloat x = f.real(1), a = f.real(2), c = f.real(3);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_ParetoProbability_MP(kv, x, a, c));
}

STATS_ENTRY ALGEB STATS_TalvoParetoDeviate_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    TalvoFloat p = f.real(1), a = f.real(2), c = f.real(3);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_ParetoDeviate_MP(kv, p, a, c));
}

STATS_ENTRY ALGEB STATS_TalvoParetoRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 2);
    TalvoFloat a = f.real(1), c = f.real(2);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_ParetoRandomVariate_MP(kv, a, c));
}

STATS_ENTRY ALGEB STATS_TalvoParetoRandomSample_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    int n = f.int32(1);
    TalvoFloat a = f.real(2), c = f.real(3);
    return stats::FillRandomSample(kv, n, [&] { return STATS_ParetoRandomVariate_MP(kv, a, c); });
}
