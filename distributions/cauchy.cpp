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

// The probability's formula, for host floats and in place
// (correctly_rounded.hpp).
constexpr auto kProbability = [](auto x, auto a, auto b) {
    using N = decltype(x);
    N pi = stats::PiAt(x);
    auto z = (x - a) / b;
    if (z < N(-1.0))
        return -(1.0 / pi * stats::Arctan(1.0 / z));
    return N(0.5) + 1.0 / pi * stats::Arctan(z);
};
using Probability = stats::ClosedForm<decltype(kProbability), 2>;

} // namespace

TalvoFloat STATS_CauchyProbability_MP(TKernelVector, TalvoFloat x, TalvoFloat a, TalvoFloat b)
{
    return Probability(kProbability, {a, b}).Rounded(x);
}

namespace {

// The deviate's formula, for host floats and in place (correctly_rounded.hpp).
constexpr auto kQuantile = [](auto p, auto a, auto b) {
    using N = decltype(p);
    N pi = stats::PiAt(p);
    auto t = p < N(0.25)   ? -(1.0 / stats::Tan(pi * p))
             : p > N(0.75) ? 1.0 / stats::Tan(pi * (N(1.0) - p))
                           : stats::Tan(pi * (p - N(0.5)));
    return a + b * t;
};
using Quantile = stats::ClosedForm<decltype(kQuantile), 2>;

} // namespace

TalvoFloat STATS_CauchyDeviate_MP(TKernelVector, TalvoFloat p, TalvoFloat a, TalvoFloat b)
{
    return Quantile(kQuantile, {a, b}).Rounded(p);
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
    return stats::InversionSampleEntry<Quantile>(kv, args, __func__, kQuantile, [](Quantile &q, const TalvoFloat &u) { return q.Rounded(u); });
}
