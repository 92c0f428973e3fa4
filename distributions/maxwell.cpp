// maxwell.cpp -- the Maxwell distribution with scale a: variates only.
//
// A variate is a sqrt(2 E) with E of gamma law (1, 3/2), made as one
// exponential (-ln u) plus Z^2 / 2 for a standard normal Z.  The half square
// is drawn as -(q1 / s) ln u' from a point (sqrt q1, sqrt q2) uniform in the
// unit quarter disc (squared uniforms kept when q1 + q2 <= 1): q1 / s is
// cos^2 of a uniform angle, and -cos^2(theta) ln u' has the law of Z^2 / 2.
// The logarithms come from balls first (stats::Log): the float library's
// values, at a fraction of the cost.
#include "correctly_rounded.hpp"
#include "random_sample.hpp"
#include "random_stream.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"
#include "variate_algorithms.hpp"

TalvoFloat STATS_MaxwellRandomVariate_MP(TKernelVector, TalvoFloat a)
{
    const TalvoFloat one(1.0);
    TalvoFloat e = -stats::Log(STATS_TalvoRandomStream_MP::NextDouble());
    TalvoFloat q1, q2, s;
    do {
        TalvoFloat u1 = STATS_TalvoRandomStream_MP::NextDouble();
        q1 = u1 * u1;
        TalvoFloat u2 = STATS_TalvoRandomStream_MP::NextDouble();
        q2 = u2 * u2;
        s = q1 + q2;
    } while (!(s <= one));
    e = e - (q1 / s) * stats::Log(STATS_TalvoRandomStream_MP::NextDouble());
    return a * sqrt(TalvoFloat(2.0) * e);
}

TalvoFloat STATS_MaxwellRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat a = params[0];
    return STATS_MaxwellRandomVariate_MP(kv, a);
}

STATS_ENTRY ALGEB STATS_TalvoMaxwellRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<1>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return STATS_MaxwellRandomVariate_MP(kv, p...); });
}

STATS_ENTRY ALGEB STATS_TalvoMaxwellRandomSample_MP(TKernelVector kv, ALGEB args)
{
    return stats::SampleEntry<1>(kv, args, __func__,
                                 [](TKernelVector kv, auto... p) { return STATS_MaxwellRandomVariate_MP(kv, p...); });
}
