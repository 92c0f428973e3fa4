// noncentral_tails.cpp -- upper tails and densities of the non-central laws:
// StudentT (nu, delta), ChiSquare (nu, lambda), FRatio (nu1, nu2, lambda) and
// Beta (a, b, lambda), with the tolerance 10^-Digits and the iteration limit
// "_EnvStatisticsIterations" (100 when unassigned) of their defined
// Probability entries.
//
// The non-central t is symmetric under (t, delta) -> (-t, -delta), so its
// upper tail is the lower tail g01gbc computes at (-t, -delta), a tail that
// routine sums directly.  The others are the numerics library's upper-tail
// routines (TalvoMP_noncentral_*_upper); the densities its TalvoMP_noncentral_*_pdf.
#include "extension_math.hpp"
#include "stats_entries.h"

using namespace stats::ext;

namespace {

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

TalvoFloat StudentTUpper(TKernelVector kv, TalvoFloat x, TalvoFloat nu, TalvoFloat delta)
{
    TalvoFloat r;
    if (Special(x, true, &r))
        return r;
    TalvoFloat tol = stats::DigitsTolerance(kv);
    int iterations = stats::StatisticsIterations(kv);
    return Nag(kv, [&](NagError *f) { return TalvoMP_g01gbc(-x, nu, -delta, tol, iterations, f); });
}

TalvoFloat StudentTDensity(TKernelVector kv, TalvoFloat x, TalvoFloat nu, TalvoFloat delta)
{
    TalvoFloat r;
    if (Special(x, false, &r))
        return r;
    return Nag(kv, [&](NagError *f) { return TalvoMP_noncentral_t_pdf(x, nu, delta, f); });
}

TalvoFloat ChiSquareUpper(TKernelVector kv, TalvoFloat x, TalvoFloat nu, TalvoFloat lambda)
{
    TalvoFloat r;
    if (Special(x, true, &r))
        return r;
    if (x < TalvoFloat(0.0))
        return TalvoFloat(1.0);
    TalvoFloat tol = stats::DigitsTolerance(kv);
    int iterations = stats::StatisticsIterations(kv);
    return Nag(kv, [&](NagError *f) { return TalvoMP_noncentral_chi_square_upper(x, nu, lambda, tol, iterations, f); });
}

TalvoFloat ChiSquareDensity(TKernelVector kv, TalvoFloat x, TalvoFloat nu, TalvoFloat lambda)
{
    TalvoFloat r;
    if (Special(x, false, &r))
        return r;
    if (x < TalvoFloat(0.0))
        return TalvoFloat(0.0);
    return Nag(kv, [&](NagError *f) { return TalvoMP_noncentral_chi_square_pdf(x, nu, lambda, f); });
}

TalvoFloat FRatioUpper(TKernelVector kv, TalvoFloat x, TalvoFloat nu1, TalvoFloat nu2, TalvoFloat lambda)
{
    TalvoFloat r;
    if (Special(x, true, &r))
        return r;
    if (x < TalvoFloat(0.0))
        return TalvoFloat(1.0);
    TalvoFloat tol = stats::DigitsTolerance(kv);
    int iterations = stats::StatisticsIterations(kv);
    return Nag(kv, [&](NagError *f) { return TalvoMP_noncentral_f_upper(x, nu1, nu2, lambda, tol, iterations, f); });
}

TalvoFloat FRatioDensity(TKernelVector kv, TalvoFloat x, TalvoFloat nu1, TalvoFloat nu2, TalvoFloat lambda)
{
    TalvoFloat r;
    if (Special(x, false, &r))
        return r;
    if (x < TalvoFloat(0.0))
        return TalvoFloat(0.0);
    return Nag(kv, [&](NagError *f) { return TalvoMP_noncentral_f_pdf(x, nu1, nu2, lambda, f); });
}

TalvoFloat BetaUpper(TKernelVector kv, TalvoFloat x, TalvoFloat a, TalvoFloat b, TalvoFloat lambda)
{
    TalvoFloat r;
    if (Special(x, true, &r))
        return r;
    if (x < TalvoFloat(0.0))
        return TalvoFloat(1.0);
    if (x > TalvoFloat(1.0))
        return TalvoFloat(0.0);
    TalvoFloat tol = stats::DigitsTolerance(kv);
    int iterations = stats::StatisticsIterations(kv);
    return Nag(kv, [&](NagError *f) { return TalvoMP_noncentral_beta_upper(x, a, b, lambda, tol, iterations, f); });
}

TalvoFloat BetaDensity(TKernelVector kv, TalvoFloat x, TalvoFloat a, TalvoFloat b, TalvoFloat lambda)
{
    TalvoFloat r;
    if (Special(x, false, &r))
        return r;
    if (x < TalvoFloat(0.0) || x > TalvoFloat(1.0))
        return TalvoFloat(0.0);
    return Nag(kv, [&](NagError *f) { return TalvoMP_noncentral_beta_pdf(x, a, b, lambda, f); });
}

} // namespace

STATS_ENTRY ALGEB STATS_TalvoNonCentralStudentTUpperProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) { return StudentTUpper(kv, p...); });
}
STATS_ENTRY ALGEB STATS_TalvoNonCentralStudentTDensity_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return StudentTDensity(kv, p...); });
}
STATS_ENTRY ALGEB STATS_TalvoNonCentralChiSquareUpperProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return ChiSquareUpper(kv, p...); });
}
STATS_ENTRY ALGEB STATS_TalvoNonCentralChiSquareDensity_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return ChiSquareDensity(kv, p...); });
}
STATS_ENTRY ALGEB STATS_TalvoNonCentralFRatioUpperProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<4>(kv, args, __func__, [](TKernelVector kv, auto... p) { return FRatioUpper(kv, p...); });
}
STATS_ENTRY ALGEB STATS_TalvoNonCentralFRatioDensity_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<4>(kv, args, __func__, [](TKernelVector kv, auto... p) { return FRatioDensity(kv, p...); });
}
STATS_ENTRY ALGEB STATS_TalvoNonCentralBetaUpperProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<4>(kv, args, __func__, [](TKernelVector kv, auto... p) { return BetaUpper(kv, p...); });
}
STATS_ENTRY ALGEB STATS_TalvoNonCentralBetaDensity_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<4>(kv, args, __func__, [](TKernelVector kv, auto... p) { return BetaDensity(kv, p...); });
}
