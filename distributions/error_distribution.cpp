// error_distribution.cpp -- the error distribution (exponential power
// distribution): a location, b scale, c shape, density proportional to
// exp(-|(x - a) / b|^(2/c) / 2).  c = 1 is the normal law, c = 2 the
// Laplace law of scale 2b.
//
// For other shapes the magnitude is drawn from a gamma variate: with G of
// gamma law (1, c/2), b (2G)^(c/2) has the law of |X - a|.  The sign comes
// from a uniform u drawn before G: the draw is positive whenever u > 0, so
// outside the two special shapes the variates are a + |X - a| (the
// half-distribution above a), not the symmetric law; docs/variates.md says
// so for users.
//
// The quantile has no closed form: Newton's method on the caller's
// distribution function and density, started at a + tan((2p - 1) 3.1 / 2),
// a Cauchy-like guess whose factor 3.1 (just under pi) keeps it finite as p
// nears 0 or 1.
#include "correctly_rounded.hpp"
#include "distributions.hpp"
#include "entry_frame.hpp"
#include "nag_call.hpp"
#include "random_sample.hpp"
#include "random_stream.hpp"
#include "rootfinding.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"
#include "variate_algorithms.hpp"

TalvoFloat STATS_ErrorRandomVariate_MP(TKernelVector kv, TalvoFloat a, TalvoFloat b, TalvoFloat c)
{
    const TalvoFloat zero(0.0), one(1.0), two(2.0);
    if (c == two)
        return STATS_LaplaceRandomVariate_MP(kv, a, two * b);
    if (c == one)
        return STATS_NormalRandomVariate_MP(kv, a, b);
    if (a != zero)
        return a + STATS_ErrorRandomVariate_MP(kv, zero, b, c);
    TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
    TalvoFloat e = c / two;
    TalvoFloat g = STATS_GammaRandomVariate_MP(kv, one, e);
    TalvoFloat x = (b * pow(two, e)) * pow(g, e);
    return u > 0L ? x : -x;
}

TalvoFloat STATS_ErrorRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat a = params[0], b = params[1], c = params[2];
    return STATS_ErrorRandomVariate_MP(kv, a, b, c);
}

TalvoFloat STATS_ErrorDeviate_MP(TKernelVector kv, TalvoFloat p, STATS_TalvoCallbackAdapter_MP &cdf,
                                 STATS_TalvoCallbackAdapter_MP &pdf, TalvoFloat a, TalvoFloat, TalvoFloat)
{
    int limit = stats::StatisticsIterations(kv);
    const TalvoFloat zero(0.0), one(1.0), two(2.0);
    TalvoFloat x0 = a + TalvoEvalf1("tan", (two * p - one) * TalvoFloat(3.1) / two);
    return STATS_NewtonRaphson_MP(kv, p, cdf, pdf, x0, 0, zero, 0, zero, stats::DigitsTolerance(kv), limit);
}

STATS_ENTRY ALGEB STATS_TalvoErrorRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return STATS_ErrorRandomVariate_MP(kv, p...); });
}

// Every element is the draw STATS_ErrorRandomVariate_MP makes.  Outside the
// two special shapes, what depends on the parameters only (c / 2, b 2^(c/2)
// and the gamma setup) is made once for the sample, and g^(c/2) is taken
// from a ball first (stats::PowFromBall: the same correctly rounded float as
// the float library's pow).
STATS_ENTRY ALGEB STATS_TalvoErrorRandomSample_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 4);
    int n = f.int32(1);
    TalvoFloat a = f.real(2), b = f.real(3), c = f.real(4);
    const TalvoFloat zero(0.0), one(1.0), two(2.0);
    if (c == two || c == one)
        return stats::FillRandomSample(kv, n, [&] { return STATS_ErrorRandomVariate_MP(kv, a, b, c); });
    const TalvoFloat e = c / two;
    const TalvoFloat scale = b * pow(two, e);
    TalvoFloat d, cc;
    STATS_GammaRandomVariateSetup_MP(kv, one, e, d, cc);
    const bool shifted = a != zero;
    return stats::FillRandomSample(kv, n, [&] {
        TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
        TalvoFloat g = STATS_GammaRandomVariateMain_MP(kv, one, e, d, cc);
        TalvoFloat x = scale * (mpfr_sgn(g.mpfr()) > 0 ? stats::PowFromBall(g, e) : pow(g, e));
        TalvoFloat r = u > 0L ? x : -x;
        return shifted ? a + r : r;
    });
}

// p, the distribution function and the density as host procedures of one
// argument, then a, b and c.
STATS_ENTRY ALGEB STATS_TalvoErrorDeviate_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 6);
    TalvoFloat p = f.real(1);
    ALGEB cdfProc = f.procedure(2), pdfProc = f.procedure(3);
    TalvoFloat a = f.real(4), b = f.real(5), c = f.real(6);
    STATS_TalvoProcAdapter_MP cdf(kv, cdfProc), pdf(kv, pdfProc);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_ErrorDeviate_MP(kv, p, cdf, pdf, a, b, c));
}
