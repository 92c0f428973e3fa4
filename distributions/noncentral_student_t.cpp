// noncentral_student_t.cpp -- the non-central t distribution with nu degrees
// of freedom and non-centrality delta.
//
// The probability is the numerics library's series, asked for the relative
// accuracy tol with the iteration limit read from the host on every call.
// There is no deviate.  Variates (a normal over the root of a scaled
// chi-square) come from the special variate algorithms.
#include "entry_frame.hpp"
#include "nag_call.hpp"
#include "sampling_distributions.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

TalvoFloat STATS_NonCentralStudentTProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat nu, TalvoFloat delta,
                                                  TalvoFloat tol)
{
    int iterations = stats::StatisticsIterations(kv);
    stats::NagCall c;
    TalvoFloat r = TalvoMP_g01gbc(x, nu, delta, tol, iterations, &c.fail);
    c.Check(kv);
    return r;
}

// x, nu, delta; the tolerance is 10^-Digits.
STATS_ENTRY ALGEB STATS_TalvoNonCentralStudentTProbability_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    TalvoFloat x = f.real(1), nu = f.real(2), delta = f.real(3);
    TalvoFloat tol = stats::DigitsTolerance(kv);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_NonCentralStudentTProbability_MP(kv, x, nu, delta, tol));
}
