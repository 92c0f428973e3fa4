// gamma_family.cpp -- gamma variates by the squeeze-and-reject method of
// Marsaglia and Tsang, "A simple method for generating gamma variables"
// (ACM TOMS 26, 2000), and the beta, chi-square and F variates built on it.
//
// For shape a >= 1 the method draws a normal x, takes v = (1 + c x)^3 with
// d = a - 1/3 and c = 1 / sqrt(9 d), and accepts d v either by the cheap
// squeeze u < 1 - 0.0331 x^4 or by the full test
// ln u < x^2 / 2 + d (1 - v + ln v).  For a < 1 it draws with shape a + 1
// and multiplies by u^(1/a).  Shape exactly 1 is scale times one exponential
// draw.  The constants 1/3 (as the double 0.3333333333333333), 9, 0.0331
// and the exponents 3 and 4 are doubles, as the method states them.
#include "distributions.hpp"
#include "entry_frame.hpp"
#include "random_sample.hpp"
#include "random_stream.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"
#include "variate_algorithms.hpp"

namespace {

// A shape that is not positive would recurse through a + 1, a + 2, ... or
// reject every normal for ever (d <= 0 makes c undefined); refuse it.
void CheckGammaShape(TKernelVector kv, const TalvoFloat &a)
{
    if (!(a > TalvoFloat(0.0)))
        TalvoRaiseError1(kv, "the shape of a gamma variate must be positive, received: %1",
                         STATS_DoubleToTalvoFloat_MP(kv, a));
}

void CheckChiSquareDegrees(TKernelVector kv, const TalvoFloat &nu)
{
    if (!(nu > TalvoFloat(0.0)))
        TalvoRaiseError1(kv, "the degrees of freedom of a chi-square variate must be positive, received: %1",
                         STATS_DoubleToTalvoFloat_MP(kv, nu));
}

} // namespace

void STATS_GammaRandomVariateSetup_MP(TKernelVector, TalvoFloat, TalvoFloat a, TalvoFloat &d, TalvoFloat &c)
{
    const TalvoFloat one(1.0);
    if (a == one)
        return;
    const TalvoFloat third(0.3333333333333333);
    if (a < one)
        d = (a + one) - third;
    else
        d = a - third;
    c = one / sqrt(TalvoFloat(9.0) * d);
}

TalvoFloat STATS_GammaRandomVariateMain_MP(TKernelVector kv, TalvoFloat scale, TalvoFloat a, TalvoFloat d,
                                           TalvoFloat c)
{
    CheckGammaShape(kv, a);
    const TalvoFloat one(1.0);
    if (a == one)
        return STATS_ExponentialRandomVariate_MP(kv, scale);
    if (a < one) {
        TalvoFloat x = STATS_GammaRandomVariateMain_MP(kv, scale, a + one, d, c);
        TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
        return x * pow(u, one / a);
    }
    const TalvoFloat zero(0.0), sigma(1.0), squeeze(0.0331), half(0.5);
    for (;;) {
        TalvoFloat x, v;
        do {
            x = STATS_NormalRandomVariate_MP(kv, zero, sigma);
            v = one + c * x;
        } while (!(v > zero));
        v = pow(v, 3.0);
        TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
        if (u < one - squeeze * pow(x, 4.0))
            return scale * (d * v);
        if (log(u) < half * x * x + d * (one - v + log(v)))
            return scale * (d * v);
    }
}

TalvoFloat STATS_GammaRandomVariate_MP(TKernelVector kv, TalvoFloat scale, TalvoFloat shape)
{
    TalvoFloat d, c;
    STATS_GammaRandomVariateSetup_MP(kv, scale, shape, d, c);
    return STATS_GammaRandomVariateMain_MP(kv, scale, shape, d, c);
}

TalvoFloat STATS_GammaRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat scale = params[0], shape = params[1];
    return STATS_GammaRandomVariate_MP(kv, scale, shape);
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

TalvoFloat STATS_ChiSquareRandomVariate_MP(TKernelVector kv, TalvoFloat nu)
{
    CheckChiSquareDegrees(kv, nu);
    return STATS_GammaRandomVariate_MP(kv, TalvoFloat(2.0), nu / TalvoFloat(2.0));
}

TalvoFloat STATS_ChiSquareRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat nu = params[0];
    return STATS_ChiSquareRandomVariate_MP(kv, nu);
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

STATS_ENTRY ALGEB STATS_TalvoGammaRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 2);
    TalvoFloat scale = f.real(1), shape = f.real(2);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_GammaRandomVariate_MP(kv, scale, shape));
}

// Setup depends on the shape only, so it is done once for the whole sample;
// every element is the same draw STATS_GammaRandomVariate_MP makes.
STATS_ENTRY ALGEB STATS_TalvoGammaRandomSample_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    int n = f.int32(1);
    TalvoFloat scale = f.real(2), shape = f.real(3);
    TalvoFloat d, c;
    STATS_GammaRandomVariateSetup_MP(kv, scale, shape, d, c);
    return stats::FillRandomSample(kv, n, [&] { return STATS_GammaRandomVariateMain_MP(kv, scale, shape, d, c); });
}

STATS_ENTRY ALGEB STATS_TalvoBetaRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 2);
    TalvoFloat a = f.real(1), b = f.real(2);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_BetaRandomVariate_MP(kv, a, b));
}

STATS_ENTRY ALGEB STATS_TalvoBetaRandomSample_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    int n = f.int32(1);
    TalvoFloat a = f.real(2), b = f.real(3);
    return stats::FillRandomSample(kv, n, [&] { return STATS_BetaRandomVariate_MP(kv, a, b); });
}

STATS_ENTRY ALGEB STATS_TalvoChiSquareRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 1);
    TalvoFloat nu = f.real(1);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_ChiSquareRandomVariate_MP(kv, nu));
}

STATS_ENTRY ALGEB STATS_TalvoChiSquareRandomSample_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 2);
    int n = f.int32(1);
    TalvoFloat nu = f.real(2);
    return stats::FillRandomSample(kv, n, [&] { return STATS_ChiSquareRandomVariate_MP(kv, nu); });
}

STATS_ENTRY ALGEB STATS_TalvoFRatioRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 2);
    TalvoFloat nu1 = f.real(1), nu2 = f.real(2);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_FRatioRandomVariate_MP(kv, nu1, nu2));
}

STATS_ENTRY ALGEB STATS_TalvoFRatioRandomSample_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    int n = f.int32(1);
    TalvoFloat nu1 = f.real(2), nu2 = f.real(3);
    return stats::FillRandomSample(kv, n, [&] { return STATS_FRatioRandomVariate_MP(kv, nu1, nu2); });
}
