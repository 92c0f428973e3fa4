// geometric.cpp -- the geometric distribution: the number of failures
// before the first success of trials with success probability p.
//
// F(x) = 1 - (1 - p)^(floor(x) + 1); the deviate is
// ceil(ln(1 - u) / ln(1 - p)) - 1, and 0 at u = 0 without a logarithm.  p is
// not checked: p = 0 divides by ln(1) = 0 and the float library's value
// (an infinity, saturated to the long range) stands.
#include "correctly_rounded.hpp"
#include "discrete_distributions.hpp"
#include "entry_frame.hpp"
#include "random_sample.hpp"
#include "random_stream.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

TalvoFloat STATS_GeometricProbability_MP(TKernelVector, TalvoFloat x, TalvoFloat p)
{
    // For p < 1 and a finite k, 1 - (1 - p)^k = -expm1(k log1p(-p)): the same
    // value without the cancellations at small p.  Anything else keeps the
    // power (a negative 1 - p with a whole k, 0^0, 1^infinity).
    TalvoFloat k = floor(x) + TalvoFloat(1.0);
    bool logs = p < TalvoFloat(1.0) && p != TalvoFloat(0.0) && mpfr_number_p(k.mpfr()) != 0;
    return stats::CorrectlyRounded([&] {
        TalvoFloat kk = floor(x) + TalvoFloat(1.0);
        if (logs)
            return stats::OneMinusExp(kk * stats::LnOneMinus(p));
        return TalvoFloat(1.0) - pow(TalvoFloat(1.0) - p, kk);
    });
}

namespace {

// ln(1 - u) / ln(1 - p), for host floats and in place (correctly_rounded.hpp).
constexpr auto kQuotient = [](auto u, auto prob) { return stats::LnOneMinus(u) / stats::LnOneMinus(prob); };
using Quotient = stats::ClosedForm<decltype(kQuotient), 1>;

// ceil of the correctly rounded quotient, minus 1: the loop ends as soon as
// that integer is known, so a quotient that is a whole number (u = 0.75 with
// p = 0.5) does not climb to the last precision.
long Deviate(Quotient &q, const TalvoFloat &p)
{
    if (p == TalvoFloat(0.0))
        return 0;
    // The subtraction is made on the float so that a saturated value cannot
    // overflow the long.
    return FloatToInt(q.Ceiling(p) - TalvoFloat(1.0));
}

TalvoFloat Variate(Quotient &q, const TalvoFloat &u) { return TalvoFloat(static_cast<double>(Deviate(q, u))); }

} // namespace

long STATS_GeometricDeviate_MP(TKernelVector, TalvoFloat p, TalvoFloat prob)
{
    Quotient q(kQuotient, {prob});
    return Deviate(q, p);
}

TalvoFloat STATS_GeometricRandomVariate_MP(TKernelVector, TalvoFloat p)
{
    TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
    Quotient q(kQuotient, {p});
    return Variate(q, u);
}

TalvoFloat STATS_GeometricRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat p = params[0];
    return STATS_GeometricRandomVariate_MP(kv, p);
}

STATS_ENTRY ALGEB STATS_TalvoGeometricProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_GeometricProbability_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoGeometricDeviate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return TalvoFloat(static_cast<double>(STATS_GeometricDeviate_MP(kv, p...)));
    });
}

STATS_ENTRY ALGEB STATS_TalvoGeometricRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<1>(
        kv, args, __func__, [](TKernelVector kv, auto... p) { return STATS_GeometricRandomVariate_MP(kv, p...); });
}

STATS_ENTRY ALGEB STATS_TalvoGeometricRandomSample_MP(TKernelVector kv, ALGEB args)
{
    return stats::InversionSampleEntry<Quotient>(kv, args, __func__, kQuotient, Variate);
}
