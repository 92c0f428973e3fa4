// normal.cpp -- the normal distribution: mu, sigma.
//
// Variates are mu + sigma * z with z from the ziggurat normal generator;
// ziggurat.hpp says what law z follows (the normal law with a few defined
// departures, among them an atom at 0 of about 0.26%).
#include "distributions.hpp"
#include "entry_frame.hpp"
#include "random_sample.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"
#include "ziggurat.hpp"

TalvoFloat STATS_NormalRandomVariate_MP(TKernelVector, TalvoFloat mu, TalvoFloat sigma)
{
    STATS_ZigguratNormalGenerator_MP::Reset();
    TalvoFloat z = STATS_ZigguratNormalGenerator_MP::Next();
    // mu + sigma * z, product and sum each rounded, written into one new
    // float: a sample's cost is then one allocation beyond the draw's.
    ALGEB r = talvo_float_new(0);
    mpfr_ptr v = talvo_float_mpfr(r);
    mpfr_mul(v, sigma.mpfr(), z.mpfr(), MPFR_RNDN);
    mpfr_add(v, v, mu.mpfr(), MPFR_RNDN);
    return TalvoFloat::from_handle(r);
}

TalvoFloat STATS_NormalRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat mu = params[0], sigma = params[1];
    return STATS_NormalRandomVariate_MP(kv, mu, sigma);
}

STATS_ENTRY ALGEB STATS_TalvoNormalRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 2);
    TalvoFloat mu = f.real(1), sigma = f.real(2);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_NormalRandomVariate_MP(kv, mu, sigma));
}

// The first argument is a length or an existing array, filled in place; as
// many elements are drawn as the array holds, its element count read again
// before every element.
STATS_ENTRY ALGEB STATS_TalvoNormalRandomSample_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    ALGEB spec = f.arg(1);
    TalvoFloat mu = f.real(2), sigma = f.real(3);
    ALGEB sample = STATS_CreateRandomSample_MP(kv, spec);
    auto *out = static_cast<TalvoFloat *>(RTableDataBlock(kv, sample));
    for (M_INT i = 0; i < RTableNumElements(kv, sample); ++i)
        out[i] = STATS_NormalRandomVariate_MP(kv, mu, sigma);
    return sample;
}
