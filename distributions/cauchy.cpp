// cauchy.cpp -- the Cauchy distribution: a location, b scale.
//
// F(x) = 1/2 + arctan((x - a) / b) / Pi; the deviate is
// a + b tan(Pi (p - 1/2)) and the variate the deviate of one uniform.  Pi is
// the host's constant and the arctangent and the tangent are the host's own
// functions (the float library has neither), all at the working precision;
// both functions are correctly rounded values of their formula, evaluated at
// a raised working precision (so that Pi tends to the exact constant).  Where the
// formula cancels in the limit (the lower tail of the probability, p near 0
// or 1 for the deviate, at the tangent's poles) it is evaluated in an
// identical form that does not cancel:
//   1/2 + arctan(z)/Pi = -arctan(1/z)/Pi            for z < -1,
//   tan(Pi (p - 1/2))  = -1/tan(Pi p)                for p < 1/4,
//                      =  1/tan(Pi (1 - p))          for p > 3/4,
// so that p = 0 and p = 1 give the poles' limits -infinity and infinity.
// No parameter is checked.
#include "correctly_rounded.hpp"
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

TalvoFloat Arctan(const TalvoFloat &x) { return TalvoEvalf1("arctan", x); }
TalvoFloat Tan(const TalvoFloat &x) { return TalvoEvalf1("tan", x); }

} // namespace

TalvoFloat STATS_CauchyProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat a, TalvoFloat b)
{
    return stats::CorrectlyRounded([&] {
        TalvoFloat pi = HostPi(kv);
        TalvoFloat z = (x - a) / b;
        if (z < TalvoFloat(-1.0))
            return -(1.0 / pi * Arctan(1.0 / z));
        return TalvoFloat(0.5) + 1.0 / pi * Arctan(z);
    });
}

TalvoFloat STATS_CauchyDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat a, TalvoFloat b)
{
    return stats::CorrectlyRounded([&] {
        TalvoFloat pi = HostPi(kv);
        TalvoFloat t;
        if (p < TalvoFloat(0.25))
            t = -(1.0 / Tan(pi * p));
        else if (p > TalvoFloat(0.75))
            t = 1.0 / Tan(pi * (TalvoFloat(1.0) - p));
        else
            t = Tan(pi * (p - TalvoFloat(0.5)));
        return a + b * t;
    });
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
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_CauchyProbability_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoCauchyDeviate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_CauchyDeviate_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoCauchyRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return STATS_CauchyRandomVariate_MP(kv, p...); });
}

STATS_ENTRY ALGEB STATS_TalvoCauchyRandomSample_MP(TKernelVector kv, ALGEB args)
{
    return stats::SampleEntry<2>(kv, args, __func__,
                                 [](TKernelVector kv, auto... p) { return STATS_CauchyRandomVariate_MP(kv, p...); });
}
