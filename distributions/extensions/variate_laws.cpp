// variate_laws.cpp -- distribution functions (lower and upper tails) and
// densities of the laws whose defined entries are only variates and samples:
// Maxwell (a), Moyal (mu, sigma), the error distribution (a, b, c) and the
// inverse Gaussian (mu, lambda).  Each tail is a central tail of the numerics
// library at a transformed point, evaluated through stats::CorrectlyRounded:
//   Maxwell      a chi law of 3 degrees of freedom:
//                P(X <= x) = P(3/2, x^2 / (2 a^2)), the gamma tail of shape 3/2
//                and scale 2 a^2 at x^2; density sqrt(2/Pi) x^2 e^(-x^2/(2a^2)) / a^3;
//   Moyal        with z = (x - mu)/sigma and w = e^-z:
//                P(X <= x) = P(chi-square(1) > w), P(X > x) = P(chi-square(1) <= w);
//                density e^(-(z + w)/2) / (sigma sqrt(2 Pi));
//   Error        density exp(-|z|^(2/c) / 2) / (b 2^(c/2 + 1) Gamma(1 + c/2)),
//                z = (x - a)/b; with t = |z|^(2/c) and the gamma tails P, Q of
//                shape c/2 and scale 2 at t, the tail on the side of x is Q/2
//                and the other 1/2 + P/2;
//   InverseGaussian  with r = sqrt(lambda/x), u = r (x/mu - 1), v = r (x/mu + 1)
//                and the normal tails Phi, Qn:
//                P(X <= x) = Phi(u) + e^(2 lambda/mu) Qn(v),
//                P(X > x) = Qn(u) - e^(2 lambda/mu) Qn(v)  (the terms cancel far
//                out; the raised precision of CorrectlyRounded absorbs it);
//                density sqrt(lambda / (2 Pi x^3)) exp(-lambda (x - mu)^2 / (2 mu^2 x)).
#include "extension_math.hpp"
#include "stats_entries.h"

using stats::CorrectlyRounded;
using namespace stats::ext;

namespace {

// Points at the ends of the real line and undefined points.
bool Special(const TalvoFloat &x, int kind, TalvoFloat *r) // kind: -1 lower, 1 upper, 0 density
{
    if (IsUndefined(x)) {
        *r = x;
        return true;
    }
    if (IsInfinite(x)) {
        bool positive = x > TalvoFloat(0.0);
        *r = TalvoFloat(kind == 0 ? 0.0 : (kind < 0) == positive ? 1.0 : 0.0);
        return true;
    }
    return false;
}

TalvoFloat GammaTail(TKernelVector kv, Nag_TailProbability tail, const TalvoFloat &g, const TalvoFloat &shape,
                     const TalvoFloat &scale)
{
    return Nag(kv, [&](NagError *f) { return TalvoMP_g01efc(tail, g, shape, scale, f); });
}

TalvoFloat NormalTail(TKernelVector kv, Nag_TailProbability tail, const TalvoFloat &z)
{
    return Nag(kv, [&](NagError *f) { return TalvoMP_g01eac(tail, z, f); });
}

// Maxwell ---------------------------------------------------------------------

TalvoFloat MaxwellTail(TKernelVector kv, TalvoFloat x, TalvoFloat a, bool upper)
{
    TalvoFloat r;
    if (Special(x, upper ? 1 : -1, &r))
        return r;
    if (x <= TalvoFloat(0.0))
        return TalvoFloat(upper ? 1.0 : 0.0);
    return CorrectlyRounded(
        [&] { return GammaTail(kv, upper ? kUpper : kLower, x * x, TalvoFloat(1.5), TalvoFloat(2.0) * a * a); });
}

TalvoFloat MaxwellDensity(TKernelVector, TalvoFloat x, TalvoFloat a)
{
    TalvoFloat r;
    if (Special(x, 0, &r))
        return r;
    if (x <= TalvoFloat(0.0))
        return TalvoFloat(0.0);
    return CorrectlyRounded([&] {
        TalvoFloat u = x / a;
        return sqrt(TalvoFloat(2.0) / Pi()) * u * u * exp(-(u * u) / TalvoFloat(2.0)) / a;
    });
}

// Moyal -----------------------------------------------------------------------

TalvoFloat MoyalTail(TKernelVector kv, TalvoFloat x, TalvoFloat mu, TalvoFloat sigma, bool upper)
{
    TalvoFloat r;
    if (Special(x, upper ? 1 : -1, &r))
        return r;
    return CorrectlyRounded([&] {
        TalvoFloat w = exp(-((x - mu) / sigma));
        return Nag(kv, [&](NagError *f) { return TalvoMP_g01ecc(upper ? kLower : kUpper, w, TalvoFloat(1.0), f); });
    });
}

TalvoFloat MoyalDensity(TKernelVector, TalvoFloat x, TalvoFloat mu, TalvoFloat sigma)
{
    TalvoFloat r;
    if (Special(x, 0, &r))
        return r;
    return CorrectlyRounded([&] {
        TalvoFloat z = (x - mu) / sigma;
        return exp(-(z + exp(-z)) / TalvoFloat(2.0)) / (sigma * sqrt(TalvoFloat(2.0) * Pi()));
    });
}

// Error distribution ------------------------------------------------------------

TalvoFloat ErrorTail(TKernelVector kv, TalvoFloat x, TalvoFloat a, TalvoFloat b, TalvoFloat c, bool upper)
{
    TalvoFloat r;
    if (Special(x, upper ? 1 : -1, &r))
        return r;
    // The tail on the side of x (the upper one for x >= a) is Q/2.
    bool near_side = upper == (x >= a);
    return CorrectlyRounded([&] {
        TalvoFloat t = pow(fabs((x - a) / b), TalvoFloat(2.0) / c);
        TalvoFloat shape = c / TalvoFloat(2.0);
        if (near_side)
            return GammaTail(kv, kUpper, t, shape, TalvoFloat(2.0)) / TalvoFloat(2.0);
        return TalvoFloat(0.5) + GammaTail(kv, kLower, t, shape, TalvoFloat(2.0)) / TalvoFloat(2.0);
    });
}

TalvoFloat ErrorDensity(TKernelVector, TalvoFloat x, TalvoFloat a, TalvoFloat b, TalvoFloat c)
{
    TalvoFloat r;
    if (Special(x, 0, &r))
        return r;
    return CorrectlyRounded([&] {
        TalvoFloat h = c / TalvoFloat(2.0);
        TalvoFloat t = pow(fabs((x - a) / b), TalvoFloat(2.0) / c);
        TalvoFloat ln = -t / TalvoFloat(2.0) - (h + TalvoFloat(1.0)) * log(TalvoFloat(2.0)) - LnGamma(h + TalvoFloat(1.0));
        return exp(ln) / b;
    });
}

// Inverse Gaussian --------------------------------------------------------------

TalvoFloat InverseGaussianTail(TKernelVector kv, TalvoFloat x, TalvoFloat mu, TalvoFloat lambda, bool upper)
{
    TalvoFloat r;
    if (Special(x, upper ? 1 : -1, &r))
        return r;
    if (x <= TalvoFloat(0.0))
        return TalvoFloat(upper ? 1.0 : 0.0);
    return CorrectlyRounded([&] {
        TalvoFloat rt = sqrt(lambda / x);
        TalvoFloat u = rt * (x / mu - TalvoFloat(1.0));
        TalvoFloat v = rt * (x / mu + TalvoFloat(1.0));
        TalvoFloat second = exp(TalvoFloat(2.0) * lambda / mu) * NormalTail(kv, kUpper, v);
        if (upper)
            return NormalTail(kv, kUpper, u) - second;
        return NormalTail(kv, kLower, u) + second;
    });
}

TalvoFloat InverseGaussianDensity(TKernelVector, TalvoFloat x, TalvoFloat mu, TalvoFloat lambda)
{
    TalvoFloat r;
    if (Special(x, 0, &r))
        return r;
    if (x <= TalvoFloat(0.0))
        return TalvoFloat(0.0);
    return CorrectlyRounded([&] {
        TalvoFloat d = x - mu;
        return sqrt(lambda / (TalvoFloat(2.0) * Pi() * x * x * x)) * exp(-(lambda * d * d) / (TalvoFloat(2.0) * mu * mu * x));
    });
}

} // namespace

STATS_ENTRY ALGEB STATS_TalvoMaxwellLowerProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return MaxwellTail(kv, p..., false); });
}
STATS_ENTRY ALGEB STATS_TalvoMaxwellUpperProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return MaxwellTail(kv, p..., true); });
}
STATS_ENTRY ALGEB STATS_TalvoMaxwellDensity_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__, [](TKernelVector kv, auto... p) { return MaxwellDensity(kv, p...); });
}
STATS_ENTRY ALGEB STATS_TalvoMoyalLowerProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return MoyalTail(kv, p..., false); });
}
STATS_ENTRY ALGEB STATS_TalvoMoyalUpperProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return MoyalTail(kv, p..., true); });
}
STATS_ENTRY ALGEB STATS_TalvoMoyalDensity_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) { return MoyalDensity(kv, p...); });
}
STATS_ENTRY ALGEB STATS_TalvoErrorLowerProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<4>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return ErrorTail(kv, p..., false); });
}
STATS_ENTRY ALGEB STATS_TalvoErrorUpperProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<4>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return ErrorTail(kv, p..., true); });
}
STATS_ENTRY ALGEB STATS_TalvoErrorDensity_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<4>(kv, args, __func__, [](TKernelVector kv, auto... p) { return ErrorDensity(kv, p...); });
}
STATS_ENTRY ALGEB STATS_TalvoInverseGaussianLowerProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return InverseGaussianTail(kv, p..., false); });
}
STATS_ENTRY ALGEB STATS_TalvoInverseGaussianUpperProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return InverseGaussianTail(kv, p..., true); });
}
STATS_ENTRY ALGEB STATS_TalvoInverseGaussianDensity_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return InverseGaussianDensity(kv, p...); });
}
