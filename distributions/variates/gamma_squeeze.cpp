// gamma_squeeze.cpp -- the squeeze-and-reject method of Marsaglia and
// Tsang, "A simple method for generating gamma variables" (ACM TOMS 26,
// 2000): the setup and the draw that the gamma, beta and chi-square variates
// share (the F, non-central and other variates reach it through chi-square
// draws).
//
// For shape a >= 1 the method draws a normal x, takes v = (1 + c x)^3 with
// d = a - 1/3 and c = 1 / sqrt(9 d), and accepts d v either by the cheap
// squeeze u < 1 - 0.0331 x^4 or by the full test
// ln u < x^2 / 2 + d (1 - v + ln v).  For a < 1 it draws with shape a + 1
// and multiplies by u^(1/a).  Shape exactly 1 is scale times one exponential
// draw.  The constants 1/3 (as the double 0.3333333333333333), 9, 0.0331
// and the exponents 3 and 4 are doubles, as the method states them.
#include "correctly_rounded.hpp"
#include "distributions.hpp"
#include "random_stream.hpp"
#include "talvo_utils.hpp"
#include "variate_algorithms.hpp"

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

// The steps for a shape below 1 call themselves with shape + 1 until the
// shape reaches 1 (one exponential) or passes it (the rejection loop).  That
// chain is followed here in a loop, not on the stack, but a chain longer than
// this is refused as a recursion no thread's stack would hold.
constexpr size_t kMaxShapeChain = 100000;

using stats::GammaRefusal;

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

// The two tests of a trial judged in doubles (stats::DecideInDoubles): each
// side's magnitude bounds what the roundings of either computation can move
// it by, with a factor 8 of room.
struct TrialInDoubles {
    double e; // stats::Roundoff()

    // u < 1 - 0.0331 x^4
    int Squeeze(double u, double x) const
    {
        const double x4 = (x * x) * (x * x), q = 1 - 0.0331 * x4;
        return stats::DecideInDoubles(q - u, 8 * 8 * e * (1 + 0.0331 * x4));
    }
    // ln u < x^2 / 2 + d (1 - v + ln v)
    int Full(double u, double x, double d, double v) const
    {
        if (!(u > 0) || !(v > 0) || !std::isfinite(v) || !std::isfinite(d))
            return -1;
        const double lu = std::log(u), lv = std::log(v);
        const double r = 0.5 * x * x + d * (1 - v + lv);
        const double bound = 8 * 8 * e * (std::fabs(lu) + 0.5 * x * x + std::fabs(d) * (1 + v + std::fabs(lv)) +
                                          std::fabs(r));
        return stats::DecideInDoubles(r - lu, bound);
    }
};

// The squeeze-and-reject loop for a shape above 1, with its d and c.  Each
// test is judged in doubles first and computed in floats only where the
// doubles cannot tell (the same outcome either way); v^3 and x^4 are the
// correctly rounded powers pow gives.
TalvoFloat MarsagliaTsang(TKernelVector kv, const TalvoFloat &scale, const TalvoFloat &d, const TalvoFloat &c)
{
    const TalvoFloat zero(0.0), one(1.0), sigma(1.0);
    const TrialInDoubles doubles{stats::Roundoff()};
    const double dd = d.to_double();
    for (;;) {
        TalvoFloat x, v;
        do {
            x = STATS_NormalRandomVariate_MP(kv, zero, sigma);
            v = one + c * x;
        } while (!(v > zero));
        v = stats::SmallPower(v, 3);
        TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
        const double ud = u.to_double(), xd = x.to_double();
        int squeezed = doubles.Squeeze(ud, xd);
        if (squeezed < 0)
            squeezed = u < one - TalvoFloat(0.0331) * stats::SmallPower(x, 4);
        if (squeezed == 1)
            return scale * (d * v);
        int accepted = doubles.Full(ud, xd, dd, v.to_double());
        if (accepted < 0)
            accepted = log(u) < TalvoFloat(0.5) * x * x + d * (one - v + log(v));
        if (accepted == 1)
            return scale * (d * v);
    }
}

} // namespace

stats::GammaRefusal stats::GammaDrawRefusal(const TalvoFloat &shape, const TalvoFloat &c)
{
    return Refusal(shape, c);
}

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
        // u^(1/a) from a ball first (by exact products when 1/a is 2, 3 or
        // 4): the float library's pow, correctly rounded, so the same float.
        x = x * stats::PowFromBall(u, one / *shape);
    }
    return x;
}
