// lognormal.cpp -- the log-normal distribution: mu, sigma of the logarithm.
//
// F(x) is the normal probability of ln x, the deviate exp of the normal
// deviate, and the variate exp of a normal variate: it inherits the ziggurat
// normal generator's law (see ziggurat.hpp), whose atom at 0 becomes an atom
// at exp(mu).  x <= 0 gives the normal probability of ln x as the float
// library returns it (-infinity for 0, undefined below).
#include "correctly_rounded.hpp"
#include "distributions.hpp"
#include "entry_frame.hpp"
#include "random_sample.hpp"
#include "random_stream.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

TalvoFloat STATS_LogNormalProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat mu, TalvoFloat sigma)
{
    return stats::CorrectlyRounded([&] { return stats::StandardNormalLowerTail(kv, (log(x) - mu) / sigma); });
}

TalvoFloat STATS_LogNormalDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat mu, TalvoFloat sigma)
{
    return stats::CorrectlyRounded([&] { return exp(mu + sigma * stats::StandardNormalDeviate(kv, p)); });
}

TalvoFloat STATS_LogNormalRandomVariate_MP(TKernelVector kv, TalvoFloat mu, TalvoFloat sigma)
{
    return exp(STATS_NormalRandomVariate_MP(kv, mu, sigma));
}

TalvoFloat STATS_LogNormalRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat mu = params[0], sigma = params[1];
    return STATS_LogNormalRandomVariate_MP(kv, mu, sigma);
}

STATS_ENTRY ALGEB STATS_TalvoLogNormalProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_LogNormalProbability_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoLogNormalDeviate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_LogNormalDeviate_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoLogNormalRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(
        kv, args, __func__, [](TKernelVector kv, auto... p) { return STATS_LogNormalRandomVariate_MP(kv, p...); });
}

STATS_ENTRY ALGEB STATS_TalvoLogNormalRandomSample_MP(TKernelVector kv, ALGEB args)
{
    return stats::SampleEntry<2>(kv, args, __func__,
                                 [](TKernelVector kv, auto... p) { return STATS_LogNormalRandomVariate_MP(kv, p...); });
}
