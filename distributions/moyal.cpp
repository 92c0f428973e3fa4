// moyal.cpp -- the Moyal distribution with location mu and scale sigma:
// variates only.
//
// z has density exp(-(z + exp(-z)) / 2) / sqrt(2 pi).  Put z = tan(theta)
// with theta uniform on (-pi/2, pi/2): theta then has density
// g(theta) = exp(-(z + exp(-z)) / 2) / sqrt(2 pi) / cos^2(theta), which is
// below 0.912 everywhere (its maximum, near theta = 1.315, is about
// 0.91109); accepting theta when 0.912 u <= g(theta) gives z that law, and
// the variate is sigma z + mu.
#include "random_sample.hpp"
#include "random_stream.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"
#include "variate_algorithms.hpp"

TalvoFloat STATS_MoyalRandomVariate_MP(TKernelVector kv, TalvoFloat mu, TalvoFloat sigma)
{
    TalvoFloat pi = STATS_TalvoUtils_MP::TalvoDAGToDouble(ToTalvoName(kv, "Pi", 1));
    const TalvoFloat two(2.0), bound(0.912);
    TalvoFloat halfPi = pi / two, root = sqrt(two * pi), z;
    for (;;) {
        TalvoFloat theta = pi * STATS_TalvoRandomStream_MP::NextDouble() - halfPi;
        TalvoFloat y = bound * STATS_TalvoRandomStream_MP::NextDouble();
        z = TalvoEvalf1("tan", theta);
        TalvoFloat c = TalvoEvalf1("cos", theta);
        TalvoFloat g = exp(-(z + exp(-z)) / two) / root / (c * c);
        if (y <= g)
            break;
    }
    return sigma * z + mu;
}

TalvoFloat STATS_MoyalRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat mu = params[0], sigma = params[1];
    return STATS_MoyalRandomVariate_MP(kv, mu, sigma);
}

STATS_ENTRY ALGEB STATS_TalvoMoyalRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return STATS_MoyalRandomVariate_MP(kv, p...); });
}

STATS_ENTRY ALGEB STATS_TalvoMoyalRandomSample_MP(TKernelVector kv, ALGEB args)
{
    return stats::SampleEntry<2>(kv, args, __func__,
                                 [](TKernelVector kv, auto... p) { return STATS_MoyalRandomVariate_MP(kv, p...); });
}
