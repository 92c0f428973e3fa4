// beta.cpp -- the beta distribution with shapes a and b.
//
// The probability asks the numerics routine for its lower tail only (it can
// also return the upper tail and the density); the deviate asks the routine for
// its full precision (tolerance 0).  A variate is X / (X + Y) for two
// unit-scale gamma draws of shapes a and b: both setups first, then X, then
// Y.
#include "entry_frame.hpp"
#include "nag_call.hpp"
#include "random_sample.hpp"
#include "sampling_distributions.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"
#include "variate_algorithms.hpp"

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

TalvoFloat STATS_BetaRandomVariate_MP(TKernelVector kv, TalvoFloat a, TalvoFloat b)
{
    const TalvoFloat one(1.0);
    TalvoFloat d1, c1, d2, c2;
    STATS_GammaRandomVariateSetup_MP(kv, one, a, d1, c1);
    STATS_GammaRandomVariateSetup_MP(kv, one, b, d2, c2);
    TalvoFloat x = STATS_GammaRandomVariateMain_MP(kv, one, a, d1, c1);
    TalvoFloat y = STATS_GammaRandomVariateMain_MP(kv, one, b, d2, c2);
    return x / (x + y);
}

TalvoFloat STATS_BetaRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat a = params[0], b = params[1];
    return STATS_BetaRandomVariate_MP(kv, a, b);
}

STATS_ENTRY ALGEB STATS_TalvoBetaProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_BetaProbability_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoBetaDeviate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_BetaDeviate_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoBetaRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return STATS_BetaRandomVariate_MP(kv, p...); });
}

// The two gamma setups depend on the shapes only, so they are made once for
// the whole sample; every element is the same draw STATS_BetaRandomVariate_MP
// makes.
STATS_ENTRY ALGEB STATS_TalvoBetaRandomSample_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    int n = f.int32(1);
    TalvoFloat a = f.real(2), b = f.real(3);
    const TalvoFloat one(1.0);
    TalvoFloat d1, c1, d2, c2;
    STATS_GammaRandomVariateSetup_MP(kv, one, a, d1, c1);
    STATS_GammaRandomVariateSetup_MP(kv, one, b, d2, c2);
    return stats::FillRandomSample(kv, n, [&] {
        TalvoFloat x = STATS_GammaRandomVariateMain_MP(kv, one, a, d1, c1);
        TalvoFloat y = STATS_GammaRandomVariateMain_MP(kv, one, b, d2, c2);
        return x / (x + y);
    });
}
