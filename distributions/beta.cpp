// beta.cpp -- the beta distribution with shapes a and b.
//
// The probability asks the numerics routine for its lower tail only (it can
// also return the upper tail and the density); the deviate asks the routine for
// its full precision (tolerance 0).  Variates come from the gamma generator.
#include "entry_frame.hpp"
#include "nag_call.hpp"
#include "sampling_distributions.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

TalvoFloat STATS_BetaProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat a, TalvoFloat b)
{
    stats::NagCall c;
    TalvoFloat lower;
    TalvoMP_g01eec(x, a, b, TalvoFloat(), &lower, nullptr, nullptr, &c.fail); // tol 0: ignored
    c.Check(kv);
    return lower;
}

TalvoFloat STATS_BetaDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat a, TalvoFloat b)
{
    stats::NagCall c;
    TalvoFloat r = TalvoMP_g01fec(p, a, b, TalvoFloat(0.0), &c.fail);
    c.Check(kv);
    return r;
}

STATS_ENTRY ALGEB STATS_TalvoBetaProbability_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    TalvoFloat x = f.real(1), a = f.real(2), b = f.real(3);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_BetaProbability_MP(kv, x, a, b));
}

STATS_ENTRY ALGEB STATS_TalvoBetaDeviate_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    TalvoFloat p = f.real(1), a = f.real(2), b = f.real(3);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_BetaDeviate_MP(kv, p, a, b));
}
