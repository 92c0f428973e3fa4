// central_tails.cpp -- upper tails and densities of the laws computed by the
// numerics routines: Normal (mu, sigma), LogNormal (mu, sigma), StudentT (nu),
// ChiSquare (nu), FRatio (nu1, nu2), Gamma (scale, shape) and Beta (a, b).
//
// The upper tails are the routines' own upper tails (g01eac .. g01efc with the
// upper tail code, the complement output of g01eec), so a p-value far out
// keeps its digits: P(chi-square(5) > 200) = 2.84e-41 has all of them at
// Digits 15.  The densities are the numerics library's (TalvoMP_normal_pdf,
// ..., the density output of g01eec).  Where the point is transformed first
// ((x - mu) / sigma, ln x), the transformation and the routine run inside
// stats::CorrectlyRounded, at raised precision, so the rounding of the
// transformed point costs no digits even where the tail is steep.
#include "extension_math.hpp"
#include "stats_entries.h"

using stats::CorrectlyRounded;
using namespace stats::ext;

namespace {

// Upper tail 0 and density 0 at +infinity, upper tail 1 at -infinity;
// undefined stays undefined.
bool Special(const TalvoFloat &x, bool upper, TalvoFloat *r)
{
    if (IsUndefined(x)) {
        *r = x;
        return true;
    }
    if (IsInfinite(x)) {
        *r = (upper && x < TalvoFloat(0.0)) ? TalvoFloat(1.0) : TalvoFloat(0.0);
        return true;
    }
    return false;
}

TalvoFloat NormalUpper(TKernelVector kv, TalvoFloat x, TalvoFloat mu, TalvoFloat sigma)
{
    TalvoFloat r;
    if (Special(x, true, &r))
        return r;
    return CorrectlyRounded([&] {
        TalvoFloat z = (x - mu) / sigma;
        return Nag(kv, [&](NagError *f) { return TalvoMP_g01eac(kUpper, z, f); });
    });
}

TalvoFloat NormalDensity(TKernelVector kv, TalvoFloat x, TalvoFloat mu, TalvoFloat sigma)
{
    TalvoFloat r;
    if (Special(x, false, &r))
        return r;
    return CorrectlyRounded([&] {
        TalvoFloat z = (x - mu) / sigma;
        return Nag(kv, [&](NagError *f) { return TalvoMP_normal_pdf(z, f); }) / sigma;
    });
}

TalvoFloat LogNormalUpper(TKernelVector kv, TalvoFloat x, TalvoFloat mu, TalvoFloat sigma)
{
    TalvoFloat r;
    if (Special(x, true, &r))
        return r;
    if (x <= TalvoFloat(0.0))
        return TalvoFloat(1.0);
    return CorrectlyRounded([&] {
        TalvoFloat z = (log(x) - mu) / sigma;
        return Nag(kv, [&](NagError *f) { return TalvoMP_g01eac(kUpper, z, f); });
    });
}

TalvoFloat LogNormalDensity(TKernelVector kv, TalvoFloat x, TalvoFloat mu, TalvoFloat sigma)
{
    TalvoFloat r;
    if (Special(x, false, &r))
        return r;
    if (x <= TalvoFloat(0.0))
        return TalvoFloat(0.0);
    return CorrectlyRounded([&] {
        TalvoFloat z = (log(x) - mu) / sigma;
        return Nag(kv, [&](NagError *f) { return TalvoMP_normal_pdf(z, f); }) / (sigma * x);
    });
}

TalvoFloat StudentTUpper(TKernelVector kv, TalvoFloat x, TalvoFloat nu)
{
    TalvoFloat r;
    if (Special(x, true, &r))
        return r;
    return Nag(kv, [&](NagError *f) { return TalvoMP_g01ebc(kUpper, x, nu, f); });
}

TalvoFloat StudentTDensity(TKernelVector kv, TalvoFloat x, TalvoFloat nu)
{
    TalvoFloat r;
    if (Special(x, false, &r))
        return r;
    return Nag(kv, [&](NagError *f) { return TalvoMP_student_t_pdf(x, nu, f); });
}

TalvoFloat ChiSquareUpper(TKernelVector kv, TalvoFloat x, TalvoFloat nu)
{
    TalvoFloat r;
    if (Special(x, true, &r))
        return r;
    if (x <= TalvoFloat(0.0))
        return TalvoFloat(1.0);
    return Nag(kv, [&](NagError *f) { return TalvoMP_g01ecc(kUpper, x, nu, f); });
}

TalvoFloat ChiSquareDensity(TKernelVector kv, TalvoFloat x, TalvoFloat nu)
{
    TalvoFloat r;
    if (Special(x, false, &r))
        return r;
    if (x < TalvoFloat(0.0))
        return TalvoFloat(0.0);
    return Nag(kv, [&](NagError *f) { return TalvoMP_chi_square_pdf(x, nu, f); });
}

TalvoFloat FRatioUpper(TKernelVector kv, TalvoFloat x, TalvoFloat nu1, TalvoFloat nu2)
{
    TalvoFloat r;
    if (Special(x, true, &r))
        return r;
    if (x <= TalvoFloat(0.0))
        return TalvoFloat(1.0);
    return Nag(kv, [&](NagError *f) { return TalvoMP_g01edc(kUpper, x, nu1, nu2, f); });
}

TalvoFloat FRatioDensity(TKernelVector kv, TalvoFloat x, TalvoFloat nu1, TalvoFloat nu2)
{
    TalvoFloat r;
    if (Special(x, false, &r))
        return r;
    if (x < TalvoFloat(0.0))
        return TalvoFloat(0.0);
    return Nag(kv, [&](NagError *f) { return TalvoMP_f_pdf(x, nu1, nu2, f); });
}

// Gamma takes the scale first, as its defined entries do; the routines take
// the shape first.
TalvoFloat GammaUpper(TKernelVector kv, TalvoFloat x, TalvoFloat scale, TalvoFloat shape)
{
    TalvoFloat r;
    if (Special(x, true, &r))
        return r;
    if (x <= TalvoFloat(0.0))
        return TalvoFloat(1.0);
    return Nag(kv, [&](NagError *f) { return TalvoMP_g01efc(kUpper, x, shape, scale, f); });
}

TalvoFloat GammaDensity(TKernelVector kv, TalvoFloat x, TalvoFloat scale, TalvoFloat shape)
{
    TalvoFloat r;
    if (Special(x, false, &r))
        return r;
    if (x < TalvoFloat(0.0))
        return TalvoFloat(0.0);
    return Nag(kv, [&](NagError *f) { return TalvoMP_gamma_pdf(x, shape, scale, f); });
}

// g01eec gives the lower tail, the upper tail and the density at once; only
// the wanted one is asked for.
TalvoFloat BetaOutput(TKernelVector kv, TalvoFloat x, TalvoFloat a, TalvoFloat b, bool upper)
{
    TalvoFloat q, pdf;
    stats::NagCall c;
    TalvoMP_g01eec(x, a, b, TalvoFloat(0.0), nullptr, upper ? &q : nullptr, upper ? nullptr : &pdf, &c.fail);
    c.Check(kv);
    return upper ? q : pdf;
}

TalvoFloat BetaUpper(TKernelVector kv, TalvoFloat x, TalvoFloat a, TalvoFloat b)
{
    TalvoFloat r;
    if (Special(x, true, &r))
        return r;
    if (x <= TalvoFloat(0.0))
        return TalvoFloat(1.0);
    if (x >= TalvoFloat(1.0))
        return TalvoFloat(0.0);
    return BetaOutput(kv, x, a, b, true);
}

TalvoFloat BetaDensity(TKernelVector kv, TalvoFloat x, TalvoFloat a, TalvoFloat b)
{
    TalvoFloat r;
    if (Special(x, false, &r))
        return r;
    if (x < TalvoFloat(0.0) || x > TalvoFloat(1.0))
        return TalvoFloat(0.0);
    return BetaOutput(kv, x, a, b, false);
}

} // namespace

STATS_ENTRY ALGEB STATS_TalvoNormalUpperProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) { return NormalUpper(kv, p...); });
}
STATS_ENTRY ALGEB STATS_TalvoNormalDensity_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) { return NormalDensity(kv, p...); });
}
STATS_ENTRY ALGEB STATS_TalvoLogNormalUpperProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return LogNormalUpper(kv, p...); });
}
STATS_ENTRY ALGEB STATS_TalvoLogNormalDensity_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return LogNormalDensity(kv, p...); });
}
STATS_ENTRY ALGEB STATS_TalvoStudentTUpperProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__, [](TKernelVector kv, auto... p) { return StudentTUpper(kv, p...); });
}
STATS_ENTRY ALGEB STATS_TalvoStudentTDensity_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return StudentTDensity(kv, p...); });
}
STATS_ENTRY ALGEB STATS_TalvoChiSquareUpperProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return ChiSquareUpper(kv, p...); });
}
STATS_ENTRY ALGEB STATS_TalvoChiSquareDensity_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return ChiSquareDensity(kv, p...); });
}
STATS_ENTRY ALGEB STATS_TalvoFRatioUpperProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) { return FRatioUpper(kv, p...); });
}
STATS_ENTRY ALGEB STATS_TalvoFRatioDensity_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) { return FRatioDensity(kv, p...); });
}
STATS_ENTRY ALGEB STATS_TalvoGammaUpperProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) { return GammaUpper(kv, p...); });
}
STATS_ENTRY ALGEB STATS_TalvoGammaDensity_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) { return GammaDensity(kv, p...); });
}
STATS_ENTRY ALGEB STATS_TalvoBetaUpperProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) { return BetaUpper(kv, p...); });
}
STATS_ENTRY ALGEB STATS_TalvoBetaDensity_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) { return BetaDensity(kv, p...); });
}
