// chi_square.cpp -- the chi-square distribution with nu degrees of freedom.
//
// Probability and deviate are the numerics library's chi-square routines
// (lower tail).  Variates are gamma draws of scale 2 and shape nu/2, made
// by the gamma squeeze (variates/gamma_squeeze.cpp), with a nu whose draw
// would never finish refused in terms of nu.
#include "entry_frame.hpp"
#include "nag_call.hpp"
#include "probability_type.hpp"
#include "random_sample.hpp"
#include "sampling_distributions.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"
#include "variate_algorithms.hpp"

TalvoFloat STATS_ChiSquareProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat nu)
{
    stats::NagCall c;
    TalvoFloat r = TalvoMP_g01ecc(STATS_ToNag_TailProbability_MP(STATS_LOWER_TAIL_MP), x, nu, &c.fail);
    c.Check(kv);
    return r;
}

TalvoFloat STATS_ChiSquareDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat nu)
{
    stats::NagCall c;
    TalvoFloat r = TalvoMP_g01fcc(p, nu, &c.fail);
    c.Check(kv);
    return r;
}

// Gamma of scale 2 and shape nu / 2, refused in terms of its own parameter.
TalvoFloat stats::ChiSquareDrawer::operator()()
{
    const TalvoFloat scale(2.0);
    if (!m_ready) {
        m_shape = m_nu / TalvoFloat(2.0);
        STATS_GammaRandomVariateSetup_MP(m_kv, scale, m_shape, m_d, m_c);
        stats::GammaRefusal why = stats::GammaDrawRefusal(m_shape, m_c);
        if (why == stats::GammaRefusal::Rejects)
            TalvoRaiseError1(m_kv, "a chi-square variate of %1 degrees of freedom would reject every draw for ever",
                             STATS_DoubleToTalvoFloat_MP(m_kv, m_nu));
        if (why == stats::GammaRefusal::Recurses)
            TalvoRaiseError1(
                m_kv, "a chi-square variate of %1 degrees of freedom would recurse through more than 100000 shapes",
                STATS_DoubleToTalvoFloat_MP(m_kv, m_nu));
        m_ready = true;
    }
    return STATS_GammaRandomVariateMain_MP(m_kv, scale, m_shape, m_d, m_c);
}

TalvoFloat STATS_ChiSquareRandomVariate_MP(TKernelVector kv, TalvoFloat nu)
{
    return stats::ChiSquareDrawer(kv, nu)();
}

TalvoFloat STATS_ChiSquareRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat nu = params[0];
    return STATS_ChiSquareRandomVariate_MP(kv, nu);
}

STATS_ENTRY ALGEB STATS_TalvoChiSquareProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_ChiSquareProbability_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoChiSquareDeviate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_ChiSquareDeviate_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoChiSquareRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<1>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_ChiSquareRandomVariate_MP(kv, p...);
    });
}

// The draws of STATS_ChiSquareRandomVariate_MP, set up once.
STATS_ENTRY ALGEB STATS_TalvoChiSquareRandomSample_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 2);
    int n = f.int32(1);
    stats::ChiSquareDrawer draw(kv, f.real(2));
    return stats::FillRandomSample(kv, n, [&] { return draw(); });
}
