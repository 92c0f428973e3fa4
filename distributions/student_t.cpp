// student_t.cpp -- Student's t distribution with nu degrees of freedom.
//
// The probability and the deviate are the numerics library's lower-tail
// routines; a variate inverts the deviate at one uniform draw.
#include "entry_frame.hpp"
#include "nag_call.hpp"
#include "probability_type.hpp"
#include "random_sample.hpp"
#include "random_stream.hpp"
#include "sampling_distributions.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

TalvoFloat STATS_StudentTProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat nu)
{
    stats::NagCall c;
    TalvoFloat r = TalvoMP_g01ebc(STATS_ToNag_TailProbability_MP(STATS_LOWER_TAIL_MP), x, nu, &c.fail);
    c.Check(kv);
    return r;
}

TalvoFloat STATS_StudentTDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat nu)
{
    stats::NagCall c;
    TalvoFloat r = TalvoMP_g01fbc(STATS_ToNag_TailProbability_MP(STATS_LOWER_TAIL_MP), p, nu, &c.fail);
    c.Check(kv);
    return r;
}

TalvoFloat STATS_StudentTRandomVariate_MP(TKernelVector kv, TalvoFloat nu)
{
    TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
    return STATS_StudentTDeviate_MP(kv, u, nu);
}

TalvoFloat STATS_StudentTRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat nu = params[0];
    return STATS_StudentTRandomVariate_MP(kv, nu);
}

STATS_ENTRY ALGEB STATS_TalvoStudentTProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_StudentTProbability_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoStudentTDeviate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_StudentTDeviate_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoStudentTRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<1>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return STATS_StudentTRandomVariate_MP(kv, p...); });
}

STATS_ENTRY ALGEB STATS_TalvoStudentTRandomSample_MP(TKernelVector kv, ALGEB args)
{
    return stats::SampleEntry<1>(kv, args, __func__,
                                 [](TKernelVector kv, auto... p) { return STATS_StudentTRandomVariate_MP(kv, p...); });
}
