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

#include <vector>

namespace {

// The steps for a shape below 1 call themselves with shape + 1 until the
// shape reaches 1 (one exponential) or passes it (the rejection loop).  That
// chain is followed here in a loop, not on the stack, but a chain longer than
// this is refused as a recursion no thread's stack would hold.
constexpr size_t kMaxShapeChain = 100000;

enum class GammaRefusal {
    None,
    Rejects,  // the rejection loop would run with c undefined: v never > 0
    Recurses, // shape + 1 no longer grows (-infinity, or beyond the
              // precision), or the chain is longer than kMaxShapeChain
};

// Whether the draw for shape a, with c from Setup, would ever finish; the
// shapes below 1 on the way up are appended to chain when it is given.
GammaRefusal Refusal(const TalvoFloat &a, const TalvoFloat &c, std::vector<TalvoFloat> *chain = nullptr)
{
    const TalvoFloat one(1.0);
    TalvoFloat top = a;
    size_t length = 0;
    while (top < one) {
        TalvoFloat next = top + one;
        if (!(next > top) || length == kMaxShapeChain)
            return GammaRefusal::Recurses;
        if (chain != nullptr)
            chain->push_back(top);
        ++length;
        top = next;
    }
    // A shape that ends at exactly 1 draws one exponential and never uses c.
    // Otherwise v = 1 + c x: an undefined c (Setup's d below 0, or an
    // undefined shape) rejects every normal; any other c, infinite included,
    // accepts with positive probability.
    if (!(top == one) && mpfr_nan_p(c.mpfr()))
        return GammaRefusal::Rejects;
    return GammaRefusal::None;
}

void RaiseGammaRefusal(TKernelVector kv, GammaRefusal why, const TalvoFloat &a)
{
    if (why == GammaRefusal::Rejects)
        TalvoRaiseError1(kv, "a gamma variate of shape %1 would reject every draw for ever",
                         STATS_DoubleToTalvoFloat_MP(kv, a));
    if (why == GammaRefusal::Recurses)
        TalvoRaiseError1(kv, "a gamma variate of shape %1 would recurse through more than 100000 shapes",
                         STATS_DoubleToTalvoFloat_MP(kv, a));
}

// The squeeze-and-reject loop for a shape above 1, with its d and c.
TalvoFloat MarsagliaTsang(TKernelVector kv, const TalvoFloat &scale, const TalvoFloat &d, const TalvoFloat &c)
{
    const TalvoFloat zero(0.0), one(1.0), sigma(1.0), squeeze(0.0331), half(0.5);
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

// For a < 1 the draw is Main(a + 1) times u^(1/a), the uniform drawn after
// the inner draw: the chain a, a + 1, ... below 1 is walked up first, the
// draw made at its top, and the uniforms then drawn on the way back down,
// innermost first, exactly as the nested calls would draw them.
TalvoFloat STATS_GammaRandomVariateMain_MP(TKernelVector kv, TalvoFloat scale, TalvoFloat a, TalvoFloat d,
                                           TalvoFloat c)
{
    const TalvoFloat one(1.0);
    if (a == one)
        return STATS_ExponentialRandomVariate_MP(kv, scale);
    std::vector<TalvoFloat> chain;
    RaiseGammaRefusal(kv, Refusal(a, c, &chain), a);
    TalvoFloat x = chain.empty() || !(chain.back() + one == one) ? MarsagliaTsang(kv, scale, d, c)
                                                                 : STATS_ExponentialRandomVariate_MP(kv, scale);
    for (auto shape = chain.rbegin(); shape != chain.rend(); ++shape) {
        TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
        x = x * pow(u, one / *shape);
    }
    return x;
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

// Gamma of scale 2 and shape nu / 2, refused in terms of its own parameter.
TalvoFloat STATS_ChiSquareRandomVariate_MP(TKernelVector kv, TalvoFloat nu)
{
    const TalvoFloat scale(2.0), shape = nu / TalvoFloat(2.0);
    TalvoFloat d, c;
    STATS_GammaRandomVariateSetup_MP(kv, scale, shape, d, c);
    GammaRefusal why = Refusal(shape, c);
    if (why == GammaRefusal::Rejects)
        TalvoRaiseError1(kv, "a chi-square variate of %1 degrees of freedom would reject every draw for ever",
                         STATS_DoubleToTalvoFloat_MP(kv, nu));
    if (why == GammaRefusal::Recurses)
        TalvoRaiseError1(kv,
                         "a chi-square variate of %1 degrees of freedom would recurse through more than 100000 shapes",
                         STATS_DoubleToTalvoFloat_MP(kv, nu));
    return STATS_GammaRandomVariateMain_MP(kv, scale, shape, d, c);
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
