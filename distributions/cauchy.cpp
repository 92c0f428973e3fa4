// cauchy.cpp -- the Cauchy distribution: a location, b scale.
//
// F(x) = 1/2 + arctan((x - a) / b) / Pi; the deviate is
// a + b tan(Pi (p - 1/2)) and the variate the deviate of one uniform.  Pi is
// the host's constant at the current "Digits", and the arctangent and the
// tangent are the host's own functions (the float library has neither).
// No parameter is checked.
#include "distributions.hpp"
#include "entry_frame.hpp"
#include "random_sample.hpp"
#include "random_stream.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

namespace {

TalvoFloat HostPi(TKernelVector kv)
{
    return STATS_TalvoUtils_MP::TalvoDAGToDouble(ToTalvoName(kv, "Pi", 1));
}

} // namespace

TalvoFloat STATS_CauchyProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat a, TalvoFloat b)
{
    TalvoFloat pi = HostPi(kv);
    TalvoFloat t = TalvoEvalf1("arctan", (x - a) / b);
    return TalvoFloat(0.5) + 1.0 / pi * t;
}

TalvoFloat STATS_CauchyDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat a, TalvoFloat b)
{
    TalvoFloat pi = HostPi(kv);
    TalvoFloat t = TalvoEvalf1("tan", pi * (p - TalvoFloat(0.5)));
    return a + b * t;
}

TalvoFloat STATS_CauchyRandomVariate_MP(TKernelVector kv, TalvoFloat a, TalvoFloat b)
{
    TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
    return STATS_CauchyDeviate_MP(kv, u, a, b);
}

TalvoFloat STATS_CauchyRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat a = params[0], b = params[1];
    return STATS_CauchyRandomVariate_MP(kv, a, b);
}

STATS_ENTRY ALGEB STATS_TalvoCauchyProbability_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    TalvoFloat x = f.real(1), a = f.real(2), b = f.real(3);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_CauchyProbability_MP(kv, x, a, b));
}

STATS_ENTRY ALGEB STATS_TalvoCauchyDeviate_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    TalvoFloat p = f.real(1), a = f.real(2), b = f.real(3);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_CauchyDeviate_MP(kv, p, a, b));
}

STATS_ENTRY ALGEB STATS_TalvoCauchyRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 2);
    TalvoFloat a = f.real(1), b = f.real(2);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_CauchyRandomVariate_MP(kv, a, b));
}

STATS_ENTRY ALGEB STATS_TalvoCauchyRandomSample_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    int n = f.int32(1);
    TalvoFloat a = f.real(2), b = f.real(3);
    return stats::FillRandomSample(kv, n, [&] { return STATS_CauchyRandomVariate_MP(kv, a, b); });
}
