// noncentral_chi_square.cpp -- the non-central chi-square distribution with
// nu degrees of freedom and non-centrality lambda.
//
// The probability is the numerics library's Poisson-weighted series, asked
// for the relative accuracy tol with the iteration limit read from the host
// on every call.  The deviate inverts that probability: Brent's hybrid
// search marches right from the barrier 0 (where the distribution function
// is 0), starting at the mean nu + lambda, until it brackets p, and then
// refines to the absolute tolerance tol.
//
// A variate is either that deviate at one uniform draw (inversion) or the
// sum of squares of ceil(nu) normals of mean sqrt(lambda / nu): for an
// integer nu that is the non-central chi-square law of nu degrees of freedom
// and non-centrality lambda; for any other nu it is the law of ceil(nu)
// degrees of freedom and non-centrality ceil(nu) * lambda / nu.
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

TalvoFloat STATS_NonCentralChiSquareProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat nu, TalvoFloat lambda,
                                                   TalvoFloat tol)
{
    int iterations = stats::StatisticsIterations(kv);
    stats::NagCall c;
    TalvoFloat r = TalvoMP_g01gcc(x, nu, lambda, tol, iterations, &c.fail);
    c.Check(kv);
    return r;
}

TalvoFloat _NonCentralChiSquareProbabilityAdapter::Call(TalvoFloat x)
{
    return STATS_NonCentralChiSquareProbability_MP(m_kv, x, m_nu, m_lambda, m_tol);
}

TalvoFloat STATS_NonCentralChiSquareDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat nu, TalvoFloat lambda,
                                               TalvoFloat tol)
{
    int iterations = stats::StatisticsIterations(kv);
    _NonCentralChiSquareProbabilityAdapter cdf(kv, nu, lambda, tol);
    return STATS_BrentMethodHybridLeft_MP(kv, p, cdf, TalvoFloat(0.0), TalvoFloat(1.0), TalvoFloat(0.0), nu + lambda,
                                          tol, iterations);
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

// x, nu, lambda; the tolerance is 10^-Digits.
STATS_ENTRY ALGEB STATS_TalvoNonCentralChiSquareProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_NonCentralChiSquareProbability_MP(kv, p..., stats::DigitsTolerance(kv));
    });
}

// p, nu, lambda; the tolerance is 10^-Digits.
STATS_ENTRY ALGEB STATS_TalvoNonCentralChiSquareDeviate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_NonCentralChiSquareDeviate_MP(kv, p..., stats::DigitsTolerance(kv));
    });
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
