// noncentral_student_t.cpp -- the non-central t distribution with nu degrees
// of freedom and non-centrality delta.
//
// The probability is the numerics library's series, asked for the relative
// accuracy tol with the iteration limit read from the host on every call.
// There is no deviate.  A variate is a shifted normal over the root of a
// scaled chi-square, the chi-square drawn first.
#include "distributions.hpp"
#include "entry_frame.hpp"
#include "nag_call.hpp"
#include "random_sample.hpp"
#include "sampling_distributions.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"
#include "variate_algorithms.hpp"

TalvoFloat STATS_NonCentralStudentTProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat nu, TalvoFloat delta,
                                                  TalvoFloat tol)
{
    int iterations = stats::StatisticsIterations(kv);
    stats::NagCall c;
    TalvoFloat r = TalvoMP_g01gbc(x, nu, delta, tol, iterations, &c.fail);
    c.Check(kv);
    return r;
}

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

// x, nu, delta; the tolerance is 10^-Digits.
STATS_ENTRY ALGEB STATS_TalvoNonCentralStudentTProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_NonCentralStudentTProbability_MP(kv, p..., stats::DigitsTolerance(kv));
    });
}

STATS_ENTRY ALGEB STATS_TalvoNonCentralStudentTRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_NonCentralStudentTRandomVariate_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoNonCentralStudentTRandomSample_MP(TKernelVector kv, ALGEB args)
{
    return stats::SampleEntry<2>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_NonCentralStudentTRandomVariate_MP(kv, p...);
    });
}
