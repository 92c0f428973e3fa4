// closed_form_tails.cpp -- upper tails and densities of the closed-form laws:
// Weibull, Uniform, Triangular, Rayleigh, Power, Pareto, Exponential,
// Logistic, Laplace, Gumbel and Cauchy (parameters in the order of their
// defined entries).
//
// Each upper tail is its own formula, never 1 minus the distribution function:
//   Weibull (a, b)      exp(-(x/a)^b)
//   Uniform (a, b)      (b - x) / (b - a)
//   Triangular (a,b,c)  ((b - a)(c - a) - (x - a)^2) / ((b - a)(c - a)) below c,
//                       (b - x)^2 / ((b - a)(b - c)) from c on
//   Rayleigh (b)        exp(-x^2 / (2 b^2))
//   Power (b, c)        1 - (x/b)^c = -expm1(c log1p((x - b)/b))
//   Pareto (a, c)       (a/x)^c
//   Exponential (b)     exp(-x/b)
//   Logistic (a, b)     1 / (1 + exp((x - a)/b))
//   Laplace (a, b)      1 - exp(-(a - x)/b)/2 below a, exp(-(x - a)/b)/2 from a on
//   Gumbel (a, b)       -expm1(-exp(-(x - a)/b))
//   Cauchy (a, b)       arctan(1/z)/Pi for z = (x - a)/b > 1, else 1/2 - arctan(z)/Pi
// Outside the support an upper tail is 1 (below) or 0 (above) and a density
// 0; at an end where the density's power has a negative exponent it is
// infinite.  Every formula is evaluated through stats::CorrectlyRounded.
#include "extension_math.hpp"
#include "stats_entries.h"

using stats::CorrectlyRounded;
using namespace stats::ext;

namespace {


// Upper tails and densities at infinite or undefined points.
bool SpecialUpper(const TalvoFloat &x, TalvoFloat *r)
{
    if (IsUndefined(x)) {
        *r = x;
        return true;
    }
    if (IsInfinite(x)) {
        *r = x > TalvoFloat(0.0) ? TalvoFloat(0.0) : TalvoFloat(1.0);
        return true;
    }
    return false;
}

bool SpecialDensity(const TalvoFloat &x, TalvoFloat *r)
{
    if (IsUndefined(x)) {
        *r = x;
        return true;
    }
    if (IsInfinite(x)) {
        *r = TalvoFloat(0.0);
        return true;
    }
    return false;
}

// c x^(e) at x = 0 for a density: infinity, c or 0 as e < 0, = 0, > 0.
TalvoFloat AtZero(const TalvoFloat &e, const std::function<TalvoFloat()> &c)
{
    if (e < TalvoFloat(0.0))
        return Infinity();
    if (e > TalvoFloat(0.0))
        return TalvoFloat(0.0);
    return CorrectlyRounded(c);
}

TalvoFloat WeibullUpper(TalvoFloat x, TalvoFloat a, TalvoFloat b)
{
    TalvoFloat r;
    if (SpecialUpper(x, &r))
        return r;
    if (x < TalvoFloat(0.0))
        return TalvoFloat(1.0);
    return CorrectlyRounded([&] { return exp(-pow(x / a, b)); });
}

TalvoFloat WeibullDensity(TalvoFloat x, TalvoFloat a, TalvoFloat b)
{
    TalvoFloat r;
    if (SpecialDensity(x, &r))
        return r;
    if (x < TalvoFloat(0.0))
        return TalvoFloat(0.0);
    if (IsZero(x))
        return AtZero(b - TalvoFloat(1.0), [&] { return TalvoFloat(1.0) / a; });
    return CorrectlyRounded([&] {
        TalvoFloat u = x / a;
        return b / a * pow(u, b - TalvoFloat(1.0)) * exp(-pow(u, b));
    });
}

TalvoFloat UniformUpper(TalvoFloat x, TalvoFloat a, TalvoFloat b)
{
    TalvoFloat r;
    if (SpecialUpper(x, &r))
        return r;
    if (x <= a)
        return TalvoFloat(1.0);
    if (x >= b)
        return TalvoFloat(0.0);
    return CorrectlyRounded([&] { return (b - x) / (b - a); });
}

TalvoFloat UniformDensity(TalvoFloat x, TalvoFloat a, TalvoFloat b)
{
    TalvoFloat r;
    if (SpecialDensity(x, &r))
        return r;
    if (x < a || x > b)
        return TalvoFloat(0.0);
    return CorrectlyRounded([&] { return TalvoFloat(1.0) / (b - a); });
}

TalvoFloat TriangularUpper(TalvoFloat x, TalvoFloat a, TalvoFloat b, TalvoFloat c)
{
    TalvoFloat r;
    if (SpecialUpper(x, &r))
        return r;
    if (x < a)
        return TalvoFloat(1.0);
    if (x < c)
        return CorrectlyRounded([&] {
            TalvoFloat d = (b - a) * (c - a);
            return (d - (x - a) * (x - a)) / d;
        });
    if (x < b)
        return CorrectlyRounded([&] { return (b - x) * (b - x) / ((b - a) * (b - c)); });
    return TalvoFloat(0.0);
}

TalvoFloat TriangularDensity(TalvoFloat x, TalvoFloat a, TalvoFloat b, TalvoFloat c)
{
    TalvoFloat r;
    if (SpecialDensity(x, &r))
        return r;
    if (x < a || x > b)
        return TalvoFloat(0.0);
    if (x == c)
        return CorrectlyRounded([&] { return TalvoFloat(2.0) / (b - a); });
    if (x < c)
        return CorrectlyRounded([&] { return TalvoFloat(2.0) * (x - a) / ((b - a) * (c - a)); });
    return CorrectlyRounded([&] { return TalvoFloat(2.0) * (b - x) / ((b - a) * (b - c)); });
}

TalvoFloat RayleighUpper(TalvoFloat x, TalvoFloat b)
{
    TalvoFloat r;
    if (SpecialUpper(x, &r))
        return r;
    if (x < TalvoFloat(0.0))
        return TalvoFloat(1.0);
    return CorrectlyRounded([&] { return exp(-(x * x) / (TalvoFloat(2.0) * b * b)); });
}

TalvoFloat RayleighDensity(TalvoFloat x, TalvoFloat b)
{
    TalvoFloat r;
    if (SpecialDensity(x, &r))
        return r;
    if (x < TalvoFloat(0.0))
        return TalvoFloat(0.0);
    return CorrectlyRounded([&] {
        TalvoFloat b2 = b * b;
        return x / b2 * exp(-(x * x) / (TalvoFloat(2.0) * b2));
    });
}

TalvoFloat PowerUpper(TalvoFloat x, TalvoFloat b, TalvoFloat c)
{
    TalvoFloat r;
    if (SpecialUpper(x, &r))
        return r;
    if (x < TalvoFloat(0.0))
        return TalvoFloat(1.0);
    if (x >= b)
        return TalvoFloat(0.0);
    return CorrectlyRounded([&] { return stats::OneMinusExp(c * stats::Log1p((x - b) / b)); });
}

TalvoFloat PowerDensity(TalvoFloat x, TalvoFloat b, TalvoFloat c)
{
    TalvoFloat r;
    if (SpecialDensity(x, &r))
        return r;
    if (x < TalvoFloat(0.0) || x > b)
        return TalvoFloat(0.0);
    if (IsZero(x))
        return AtZero(c - TalvoFloat(1.0), [&] { return TalvoFloat(1.0) / b; });
    return CorrectlyRounded([&] { return c / b * pow(x / b, c - TalvoFloat(1.0)); });
}

TalvoFloat ParetoUpper(TalvoFloat x, TalvoFloat a, TalvoFloat c)
{
    TalvoFloat r;
    if (SpecialUpper(x, &r))
        return r;
    if (x < a)
        return TalvoFloat(1.0);
    return CorrectlyRounded([&] { return pow(a / x, c); });
}

TalvoFloat ParetoDensity(TalvoFloat x, TalvoFloat a, TalvoFloat c)
{
    TalvoFloat r;
    if (SpecialDensity(x, &r))
        return r;
    if (x < a)
        return TalvoFloat(0.0);
    return CorrectlyRounded([&] { return c / a * pow(a / x, c + TalvoFloat(1.0)); });
}

TalvoFloat ExponentialUpper(TalvoFloat x, TalvoFloat b)
{
    TalvoFloat r;
    if (SpecialUpper(x, &r))
        return r;
    if (x < TalvoFloat(0.0))
        return TalvoFloat(1.0);
    return CorrectlyRounded([&] { return exp(-(x / b)); });
}

TalvoFloat ExponentialDensity(TalvoFloat x, TalvoFloat b)
{
    TalvoFloat r;
    if (SpecialDensity(x, &r))
        return r;
    if (x < TalvoFloat(0.0))
        return TalvoFloat(0.0);
    return CorrectlyRounded([&] { return exp(-(x / b)) / b; });
}

TalvoFloat LogisticUpper(TalvoFloat x, TalvoFloat a, TalvoFloat b)
{
    TalvoFloat r;
    if (SpecialUpper(x, &r))
        return r;
    return CorrectlyRounded([&] { return TalvoFloat(1.0) / (TalvoFloat(1.0) + exp((x - a) / b)); });
}

TalvoFloat LogisticDensity(TalvoFloat x, TalvoFloat a, TalvoFloat b)
{
    TalvoFloat r;
    if (SpecialDensity(x, &r))
        return r;
    return CorrectlyRounded([&] {
        TalvoFloat e = exp(-fabs((x - a) / b)); // symmetric: e^-|z| / (b (1 + e^-|z|)^2)
        TalvoFloat d = TalvoFloat(1.0) + e;
        return e / (b * d * d);
    });
}

TalvoFloat LaplaceUpper(TalvoFloat x, TalvoFloat a, TalvoFloat b)
{
    TalvoFloat r;
    if (SpecialUpper(x, &r))
        return r;
    if (x < a)
        return CorrectlyRounded([&] { return TalvoFloat(1.0) - TalvoFloat(0.5) * exp(-((a - x) / b)); });
    return CorrectlyRounded([&] { return TalvoFloat(0.5) * exp(-((x - a) / b)); });
}

TalvoFloat LaplaceDensity(TalvoFloat x, TalvoFloat a, TalvoFloat b)
{
    TalvoFloat r;
    if (SpecialDensity(x, &r))
        return r;
    return CorrectlyRounded([&] { return exp(-(fabs(x - a) / b)) / (TalvoFloat(2.0) * b); });
}

TalvoFloat GumbelUpper(TalvoFloat x, TalvoFloat a, TalvoFloat b)
{
    TalvoFloat r;
    if (SpecialUpper(x, &r))
        return r;
    return CorrectlyRounded([&] { return stats::OneMinusExp(-exp(-((x - a) / b))); });
}

TalvoFloat GumbelDensity(TalvoFloat x, TalvoFloat a, TalvoFloat b)
{
    TalvoFloat r;
    if (SpecialDensity(x, &r))
        return r;
    return CorrectlyRounded([&] {
        TalvoFloat z = (x - a) / b;
        return exp(-z - exp(-z)) / b;
    });
}

TalvoFloat CauchyUpper(TalvoFloat x, TalvoFloat a, TalvoFloat b)
{
    TalvoFloat r;
    if (SpecialUpper(x, &r))
        return r;
    return CorrectlyRounded([&] {
        TalvoFloat z = (x - a) / b;
        if (z > TalvoFloat(1.0))
            return Atan(TalvoFloat(1.0) / z) / Pi();
        return TalvoFloat(0.5) - Atan(z) / Pi();
    });
}

TalvoFloat CauchyDensity(TalvoFloat x, TalvoFloat a, TalvoFloat b)
{
    TalvoFloat r;
    if (SpecialDensity(x, &r))
        return r;
    return CorrectlyRounded([&] {
        TalvoFloat z = (x - a) / b;
        return TalvoFloat(1.0) / (Pi() * b * (TalvoFloat(1.0) + z * z));
    });
}

} // namespace

// The entries: x first, then the law's parameters in the defined order.

STATS_ENTRY ALGEB STATS_TalvoWeibullUpperProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector, auto... p) { return WeibullUpper(p...); });
}
STATS_ENTRY ALGEB STATS_TalvoWeibullDensity_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector, auto... p) { return WeibullDensity(p...); });
}
STATS_ENTRY ALGEB STATS_TalvoUniformUpperProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector, auto... p) { return UniformUpper(p...); });
}
STATS_ENTRY ALGEB STATS_TalvoUniformDensity_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector, auto... p) { return UniformDensity(p...); });
}
STATS_ENTRY ALGEB STATS_TalvoTriangularUpperProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<4>(kv, args, __func__, [](TKernelVector, auto... p) { return TriangularUpper(p...); });
}
STATS_ENTRY ALGEB STATS_TalvoTriangularDensity_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<4>(kv, args, __func__, [](TKernelVector, auto... p) { return TriangularDensity(p...); });
}
STATS_ENTRY ALGEB STATS_TalvoRayleighUpperProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__, [](TKernelVector, auto... p) { return RayleighUpper(p...); });
}
STATS_ENTRY ALGEB STATS_TalvoRayleighDensity_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__, [](TKernelVector, auto... p) { return RayleighDensity(p...); });
}
STATS_ENTRY ALGEB STATS_TalvoPowerUpperProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector, auto... p) { return PowerUpper(p...); });
}
STATS_ENTRY ALGEB STATS_TalvoPowerDensity_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector, auto... p) { return PowerDensity(p...); });
}
STATS_ENTRY ALGEB STATS_TalvoParetoUpperProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector, auto... p) { return ParetoUpper(p...); });
}
STATS_ENTRY ALGEB STATS_TalvoParetoDensity_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector, auto... p) { return ParetoDensity(p...); });
}
STATS_ENTRY ALGEB STATS_TalvoExponentialUpperProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__, [](TKernelVector, auto... p) { return ExponentialUpper(p...); });
}
STATS_ENTRY ALGEB STATS_TalvoExponentialDensity_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__,
                                [](TKernelVector, auto... p) { return ExponentialDensity(p...); });
}
STATS_ENTRY ALGEB STATS_TalvoLogisticUpperProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector, auto... p) { return LogisticUpper(p...); });
}
STATS_ENTRY ALGEB STATS_TalvoLogisticDensity_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector, auto... p) { return LogisticDensity(p...); });
}
STATS_ENTRY ALGEB STATS_TalvoLaplaceUpperProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector, auto... p) { return LaplaceUpper(p...); });
}
STATS_ENTRY ALGEB STATS_TalvoLaplaceDensity_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector, auto... p) { return LaplaceDensity(p...); });
}
STATS_ENTRY ALGEB STATS_TalvoGumbelUpperProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector, auto... p) { return GumbelUpper(p...); });
}
STATS_ENTRY ALGEB STATS_TalvoGumbelDensity_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector, auto... p) { return GumbelDensity(p...); });
}
STATS_ENTRY ALGEB STATS_TalvoCauchyUpperProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector, auto... p) { return CauchyUpper(p...); });
}
STATS_ENTRY ALGEB STATS_TalvoCauchyDensity_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector, auto... p) { return CauchyDensity(p...); });
}
