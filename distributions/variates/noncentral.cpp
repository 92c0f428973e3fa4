// noncentral.cpp -- non-central Student's t and non-central chi-square
// variates.
//
// The t variate is a shifted normal over the root of a scaled chi-square,
// the chi-square drawn first.  The chi-square variate by the sum of squares
// adds ceil(nu) squared normals of mean sqrt(lambda / nu): for an integer nu
// that is the non-central chi-square law of nu degrees of freedom and
// non-centrality lambda; for any other nu it is the law of ceil(nu) degrees
// of freedom and non-centrality ceil(nu) * lambda / nu.
#include "distributions.hpp"
#include "entry_frame.hpp"
#include "nag_call.hpp"
#include "random_sample.hpp"
#include "random_stream.hpp"
#include "rootfinding.hpp"
#include "sampling_distributions.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"
#include "variate_algorithms.hpp"

TalvoFloat STATS_NonCentralStudentTRandomVariate_MP(TKernelVector kv, TalvoFloat nu, TalvoFloat delta)
{
    TalvoFloat y = STATS_ChiSquareRandomVariate_MP(kv, nu);
    TalvoFloat z = STATS_NormalRandomVariate_MP(kv, delta, TalvoFloat(1.0));
    return z / sqrt(y / nu);
}

TalvoFloat STATS_NonCentralStudentTRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat nu = params[0], delta = params[1];
    return STATS_NonCentralStudentTRandomVariate_MP(kv, nu, delta);
}

TalvoFloat STATS_NonCentralChiSquareRandomVariate_MP(TKernelVector kv, TalvoFloat nu, TalvoFloat lambda, int method)
{
    // Inversion: the deviate at one uniform, searched to 10^-Digits.
    if (method == 0) {
        TalvoFloat tol = stats::DigitsTolerance(kv);
        TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
        return STATS_NonCentralChiSquareDeviate_MP(kv, u, nu, lambda, tol);
    }
    // One square per integer i >= 0 below nu: an infinite nu would never end,
    // and a 32-bit count bounds the work.
    if (nu > TalvoFloat(2147483647.0))
        TalvoRaiseError1(kv,
                         "the sum of squares of a non-central chi-square variate takes at most 2147483647 terms, "
                         "received: %1",
                         STATS_DoubleToTalvoFloat_MP(kv, nu));
    const TalvoFloat one(1.0);
    TalvoFloat m = sqrt(lambda / nu), s(0.0);
    for (long i = 0; TalvoFloat(double(i)) < nu; ++i) {
        TalvoFloat z = STATS_NormalRandomVariate_MP(kv, m, one);
        s = s + z * z;
    }
    return s;
}

// The numerator is a non-central chi-square by inversion, the denominator a
// chi-square, drawn in that order.
TalvoFloat STATS_NonCentralFRatioRandomVariate_MP(TKernelVector kv, TalvoFloat nu1, TalvoFloat nu2, TalvoFloat lambda)
{
    TalvoFloat x1 = STATS_NonCentralChiSquareRandomVariate_MP(kv, nu1, lambda, 0);
    TalvoFloat x2 = STATS_ChiSquareRandomVariate_MP(kv, nu2);
    return (x1 * nu2) / (x2 * nu1);
}

STATS_ENTRY ALGEB STATS_TalvoNonCentralFRatioRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    TalvoFloat nu1 = f.real(1), nu2 = f.real(2), lambda = f.real(3);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_NonCentralFRatioRandomVariate_MP(kv, nu1, nu2, lambda));
}

STATS_ENTRY ALGEB STATS_TalvoNonCentralFRatioRandomSample_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 4);
    int n = f.int32(1);
    TalvoFloat nu1 = f.real(2), nu2 = f.real(3), lambda = f.real(4);
    return stats::FillRandomSample(kv, n,
                                   [&] { return STATS_NonCentralFRatioRandomVariate_MP(kv, nu1, nu2, lambda); });
}

// The numerator takes the sum of squares while it has at most 100 terms
// (a <= 50) and inversion beyond.
TalvoFloat STATS_NonCentralBetaRandomVariate_MP(TKernelVector kv, TalvoFloat a, TalvoFloat b, TalvoFloat lambda)
{
    const TalvoFloat two(2.0);
    int method = a <= TalvoFloat(50.0) ? 1 : 0;
    TalvoFloat x = STATS_NonCentralChiSquareRandomVariate_MP(kv, two * a, lambda, method);
    TalvoFloat y = STATS_ChiSquareRandomVariate_MP(kv, two * b);
    return x / (x + y);
}

TalvoFloat STATS_NonCentralBetaRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat a = params[0], b = params[1], lambda = params[2];
    return STATS_NonCentralBetaRandomVariate_MP(kv, a, b, lambda);
}

STATS_ENTRY ALGEB STATS_TalvoNonCentralBetaRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    TalvoFloat a = f.real(1), b = f.real(2), lambda = f.real(3);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_NonCentralBetaRandomVariate_MP(kv, a, b, lambda));
}

STATS_ENTRY ALGEB STATS_TalvoNonCentralBetaRandomSample_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 4);
    int n = f.int32(1);
    TalvoFloat a = f.real(2), b = f.real(3), lambda = f.real(4);
    return stats::FillRandomSample(kv, n, [&] { return STATS_NonCentralBetaRandomVariate_MP(kv, a, b, lambda); });
}

STATS_ENTRY ALGEB STATS_TalvoNonCentralStudentTRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 2);
    TalvoFloat nu = f.real(1), delta = f.real(2);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_NonCentralStudentTRandomVariate_MP(kv, nu, delta));
}

STATS_ENTRY ALGEB STATS_TalvoNonCentralStudentTRandomSample_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    int n = f.int32(1);
    TalvoFloat nu = f.real(2), delta = f.real(3);
    return stats::FillRandomSample(kv, n, [&] { return STATS_NonCentralStudentTRandomVariate_MP(kv, nu, delta); });
}

// nu, lambda, and a host boolean choosing the method: true for the sum of
// squares, false for inversion.
STATS_ENTRY ALGEB STATS_TalvoNonCentralChiSquareRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    TalvoFloat nu = f.real(1), lambda = f.real(2);
    int method = f.flag(3) ? 1 : 0;
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_NonCentralChiSquareRandomVariate_MP(kv, nu, lambda, method));
}

// A sample of the non-central chi-square law, in one of two forms.
//
// Four arguments: n, nu, lambda, method -- n draws of
// STATS_NonCentralChiSquareRandomVariate_MP, the host boolean method as in
// the variate entry.
//
// Six arguments: n, nu, lambda, cdf, pdf, points -- a sample by inversion at
// points the caller chooses, for stratified or quasi-random sampling and for
// distribution functions of the caller's own making.  cdf(x) and pdf(x) are
// the distribution function and density (procedures of one argument), and
// points(i) gives the probability of element i = 1 .. n, strictly between 0
// and 1.  Element i is the root x of cdf(x) = points(i) by Newton's method
// (the same search as the error distribution's quantile) from the mean
// nu + lambda, kept at or above the lower barrier 0, to the relative
// tolerance 10^-Digits within the "_EnvStatisticsIterations" limit.  No
// random draw is made.  Each procedure is checked before anything is
// computed: "procedure expected as fourth parameter to
// TalvoNonCentralChiSquareRandomSample, received: %1", and the same with
// "fifth" and "sixth".  A point outside (0, 1) raises "the sixth parameter of
// TalvoNonCentralChiSquareRandomSample must return values strictly between 0
// and 1, received: %1".
STATS_ENTRY ALGEB STATS_TalvoNonCentralChiSquareRandomSample_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, stats::ArgCount::Either(4, 6));
    if (f.count() == 4) {
        int n = f.int32(1);
        TalvoFloat nu = f.real(2), lambda = f.real(3);
        int method = f.flag(4) ? 1 : 0;
        return stats::FillRandomSample(
            kv, n, [&] { return STATS_NonCentralChiSquareRandomVariate_MP(kv, nu, lambda, method); });
    }
    for (int i = 4; i <= 6; ++i)
        if (!IsTalvoProcedure(kv, f.arg(i)))
            TalvoRaiseError1(kv,
                             ("procedure expected as " + stats::Ordinal(i) +
                              " parameter to TalvoNonCentralChiSquareRandomSample, received: %1")
                                 .c_str(),
                             f.arg(i));
    int n = f.int32(1);
    TalvoFloat nu = f.real(2), lambda = f.real(3);
    STATS_TalvoProcAdapter_MP cdf(kv, f.arg(4)), pdf(kv, f.arg(5)), points(kv, f.arg(6));
    const TalvoFloat zero(0.0), one(1.0);
    TalvoFloat tol = stats::DigitsTolerance(kv), start = nu + lambda;
    int limit = stats::StatisticsIterations(kv);
    return stats::FillRandomSample(kv, n, [&, i = 0]() mutable {
        ++i;
        TalvoFloat p = points.Call(TalvoFloat(double(i)));
        if (!(p > zero && p < one))
            TalvoRaiseError1(kv,
                             "the sixth parameter of TalvoNonCentralChiSquareRandomSample must return values "
                             "strictly between 0 and 1, received: %1",
                             STATS_DoubleToTalvoFloat_MP(kv, p));
        return STATS_NewtonRaphson_MP(kv, p, cdf, pdf, start, 1, zero, 0, zero, tol, limit);
    });
}
